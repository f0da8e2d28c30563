#include "tests/tools/frr/live/Live.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

namespace test_support {

namespace {

std::unique_ptr<Bgpd> shared;
std::string reason;

class SharedBgpd : public ::testing::Environment {
 public:
  void SetUp() override {
    if (auto why = Bgpd::whyNot()) {
      reason = *why;
      return;
    }
    shared = std::make_unique<Bgpd>("ribpolicy-test-" + std::to_string(::getpid()));
    if (shared->failure()) {
      // A machine that has FRR must be able to run it: that is a failure, not a skip.
      ADD_FAILURE() << *shared->failure();
      reason = *shared->failure();
      shared.reset();
    }
  }
  void TearDown() override { shared.reset(); }
};

[[maybe_unused]] const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new SharedBgpd);

}  // namespace

Bgpd* liveBgpd() {
  return shared.get();
}

std::string skipReason() {
  return reason;
}

}  // namespace test_support
