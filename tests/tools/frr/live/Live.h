// The bgpd that the live tests share: one for the test program, started before the first test
// and stopped after the last. Each test that uses it takes it over with --frr-replace (or
// adopts what it holds), so tests do not depend on each other's leftovers.
#pragma once

#include <string>

#include "tests/tools/frr/live/Bgpd.h"

namespace test_support {

// The shared daemon, or null when the tests cannot have one (then `skipReason` says why).
Bgpd* liveBgpd();
std::string skipReason();

}  // namespace test_support

// Skips the test, with the reason, when there is no daemon to test on.
#define REQUIRE_BGPD()                                                         \
  do {                                                                         \
    if (!test_support::liveBgpd()) GTEST_SKIP() << test_support::skipReason(); \
  } while (false)
