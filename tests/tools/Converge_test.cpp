// Random convergence testing: a short run over fixed seeds, the scenario writer's round trip,
// the weaker promises the checker holds the library to, and the shrinker.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/converge/Checker.h"
#include "tools/converge/Generator.h"
#include "tools/converge/ScenarioWriter.h"
#include "tools/converge/Shrinker.h"
#include "tools/ribpolicy/agent/Verify.h"
#include "tools/ribpolicy/format/ScenarioParser.h"

namespace {

using converge::GeneratorOptions;
using ribpolicy::Scenario;

// A short run: every step of every scenario converges as promised. A failure names the seed
// and shows the scenario, which `ribpolicy verify` replays.
TEST(ConvergeTest, ShortRunConverges) {
  for (const bool unpromised : {false, true}) {
    for (std::uint64_t seed = 1; seed <= (unpromised ? 80u : 120u); ++seed) {
      const Scenario sc = converge::generateScenario(seed, GeneratorOptions{10, unpromised});
      const converge::CheckResult r = converge::checkScenario(sc);
      ASSERT_FALSE(r.failure) << "seed " << seed << (unpromised ? " (unpromised)" : "") << ": step "
                              << r.failure->step << ": " << r.failure->what << "\n  "
                              << ::testing::PrintToString(r.failure->differences) << "\n"
                              << converge::writeScenario(sc);
      EXPECT_GT(r.compared, 0u) << "seed " << seed;
    }
  }
}

// Generated scenarios of both kinds are valid and read back as they were written.
TEST(ConvergeTest, WrittenScenariosReadBackEqual) {
  for (const bool unpromised : {false, true}) {
    for (std::uint64_t seed = 1000; seed < 1025; ++seed) {
      const Scenario sc = converge::generateScenario(seed, GeneratorOptions{10, unpromised});
      const std::string yaml = converge::writeScenario(sc);
      Scenario back;
      ASSERT_NO_THROW(back = ribpolicy::parseScenario(yaml)) << "seed " << seed << "\n" << yaml;
      EXPECT_TRUE(converge::sameScenario(sc, back)) << "seed " << seed << "\n" << yaml;
    }
  }
}

// Each scenario shows one change the library does not promise to converge: a fresh start
// differs at the given step, and the checker holds the library to the weaker promise instead.
TEST(ConvergeTest, UnpromisedChangesMeetTheWeakerPromise) {
  struct Case {
    const char* what;
    std::size_t differingStep;
    const char* yaml;
  };
  const std::vector<Case> cases = {
      {"a prefix-list entry held back until version 2", 2, R"(
steps:
  - config:
      prefix-lists:
        P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]
  - config:
      prefix-lists:
        P1: {version: 1, entries: [{seq: 10, action: permit, prefix: 10.0.0.0/8},
                                   {seq: 20, action: deny, prefix: 10.1.0.0/16}]}
  - config:
      prefix-lists:
        P1: {version: 2, entries: [{seq: 10, action: permit, prefix: 10.0.0.0/8},
                                   {seq: 20, action: deny, prefix: 10.1.0.0/16}]}
)"},
      {"an AS-path entry turns valid in a deactivated list, then the mode changes", 2, R"(
steps:
  - config:
      as-path-lists:
        A1: [{seq: 10, action: permit, regex: "^1_", valid: [false, true]},
             {seq: 20, action: deny, regex: "_2$"}]
  - config:
      as-path-lists:
        A1: [{seq: 10, action: permit, regex: "^1_"}, {seq: 20, action: deny, regex: "_2$"}]
  - config:
      as-path-regex-mode: 1
      as-path-lists:
        A1: [{seq: 10, action: permit, regex: "^1_"}, {seq: 20, action: deny, regex: "_2$"}]
)"},
      {"a prefix list and a route map removed while an input is detached", 3, R"(
steps:
  - config: &before
      prefix-lists:
        P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]
        P2: [{seq: 10, action: deny, prefix: 10.2.0.0/16, le: 24}]
      route-maps:
        RA: [{seq: 10, action: permit, match: [{option: prefix-list, value: P2}]}]
  - config: *before
    inputs: [route-map-config, peer-filter-config, acl-config, dynamic-prefix-list-config,
             policy-map]
  - config:
      prefix-lists:
        P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]
)"},
      {"maps and a dynamic prefix list on a cycle lose their outside references", 2, R"(
steps:
  - config:
      dynamic-prefix-lists:
        D1: {match-map: RA}
      route-maps:
        RA: [{seq: 10, action: permit, sub-route-map: RB}]
        RB: [{seq: 10, action: permit, match: [{option: dynamic-prefix-list, value: D1}],
              sub-route-map: RA}]
      policy-map: {route-maps: [RA], dynamic-prefix-lists: [D1]}
  - config:
      dynamic-prefix-lists:
        D1: {match-map: RA}
      route-maps:
        RA: [{seq: 10, action: permit, sub-route-map: RB}]
        RB: [{seq: 10, action: permit, match: [{option: dynamic-prefix-list, value: D1}],
              sub-route-map: RA}]
)"},
  };
  for (const Case& c : cases) {
    const Scenario sc = ribpolicy::parseScenario(c.yaml);
    std::vector<std::size_t> differing;
    for (const ribpolicy::StepVerdict& v : ribpolicy::verifyScenario(sc)) {
      if (!v.differences.empty()) differing.push_back(v.step);
    }
    EXPECT_EQ(differing, std::vector<std::size_t>{c.differingStep}) << c.what;
    const converge::CheckResult r = converge::checkScenario(sc);
    EXPECT_FALSE(r.failure) << c.what << ": step " << r.failure->step << ": "
                            << ::testing::PrintToString(r.failure->differences);
  }
}

// Shrinking keeps the failure and removes everything it does not need: here, a failure that
// needs RB referenced from the policy map and holding a sub-route-map.
TEST(ConvergeTest, ShrinkerKeepsOnlyWhatTheFailureNeeds) {
  auto fails = [](const Scenario& sc) {
    for (const ribpolicy::Step& s : sc.steps) {
      auto rb = s.config.routeMaps.find("RB");
      if (rb == s.config.routeMaps.end() || !s.config.policyMap.routeMaps.contains("RB")) continue;
      for (const auto& [seq, e] : rb->second.entries) {
        if (!e.subRouteMap.empty()) return true;
      }
    }
    return false;
  };
  Scenario failing;
  for (std::uint64_t seed = 1; failing.steps.empty(); ++seed) {
    Scenario sc = converge::generateScenario(seed, GeneratorOptions{20, false});
    if (fails(sc)) failing = std::move(sc);
  }
  const Scenario small = converge::shrinkScenario(failing, fails);
  ASSERT_TRUE(fails(small));
  ASSERT_EQ(small.steps.size(), 1u);
  const ribpolicy::ScenarioConfig& c = small.steps[0].config;
  EXPECT_EQ(c.routeMaps.size(), 1u);
  ASSERT_EQ(c.routeMaps.at("RB").entries.size(), 1u);
  const ribpolicy::MapEntryDef& e = c.routeMaps.at("RB").entries.begin()->second;
  EXPECT_TRUE(e.match.empty());
  EXPECT_EQ(e.set.flags, 0u);
  EXPECT_EQ(c.policyMap.routeMaps, std::set<std::string>{"RB"});
  EXPECT_TRUE(c.prefixLists.empty() && c.communityLists.empty() && c.peerFilters.empty() &&
              c.dynamicPrefixLists.empty() && c.asPathLists.empty() && c.accessLists.empty());
}

}  // namespace
