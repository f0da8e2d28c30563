#include "framework/l3/VrfName.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A name of exactly the maximum length is kept as given.
TEST(VrfNameTest, AcceptsMaximumLength) {
  const std::string longest(L3::VrfName::maxLength, 'v');
  EXPECT_EQ(L3::VrfName(longest).string(), longest);
}

// One byte more is refused with a fatal error.
TEST(VrfNameDeathTest, RefusesOverMaximumLength) {
  const std::string tooLong(L3::VrfName::maxLength + 1, 'v');
  EXPECT_DEATH(L3::VrfName{tooLong}, "VrfName::bytes > VrfName::maxLength not allowed");
}

}  // namespace
