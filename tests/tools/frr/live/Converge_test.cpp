// Random scenarios of the subset of equal meaning on a live bgpd, from fixed seeds: after
// every step bgpd holds the translation, and what it reaches equals a fresh start on it. Two
// halves, so that CTest runs them side by side on their own daemons.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

#include "tests/tools/frr/live/Live.h"
#include "tools/converge/Generator.h"
#include "tools/converge/Isolation.h"

namespace {

constexpr std::uint64_t kScenarios = 60;
constexpr std::size_t kSteps = 3;  // after the first

void checkSeeds(std::uint64_t first) {
  const frr::Vtysh vtysh(test_support::liveBgpd()->pathspace(), std::chrono::seconds(60));
  frr::Follower follower(vtysh, true);
  converge::GeneratorOptions options;
  options.steps = kSteps;
  options.frrSubset = true;
  for (std::uint64_t seed = first; seed < first + kScenarios; ++seed) {
    const converge::CheckResult r =
        converge::checkInChild(converge::generateScenario(seed, options), &follower);
    ASSERT_FALSE(r.failure) << "seed " << seed << " step " << r.failure->step << ": "
                            << r.failure->signature() << "\n  "
                            << (r.failure->differences.empty() ? "" : r.failure->differences[0]);
    EXPECT_EQ(r.steps, kSteps + 1) << "seed " << seed;
  }
}

TEST(FrrConvergeTest, SeedsFrom1) {
  REQUIRE_BGPD();
  checkSeeds(1);
}

TEST(FrrConvergeTest, SeedsFrom1001) {
  REQUIRE_BGPD();
  checkSeeds(1001);
}

}  // namespace
