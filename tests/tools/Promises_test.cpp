// What the convergence checker holds the library to after each step. A promise that comes out
// weaker than it should hides real divergences from the random run; one that comes out stronger
// reports failures the library never promised to avoid. Each case is a small scenario and the
// promise after each of its steps.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/converge/Promises.h"
#include "tools/ribpolicy/format/ScenarioParser.h"

namespace {

// "exact", "detached", or the weaker promises in a fixed order: "held", "stale:LIST",
// "leftovers", "cycle:MAP", "cycle-dpl:LIST".
std::string summary(const converge::StepPromise& p) {
  if (!p.attached) return "detached";
  std::string out;
  auto add = [&out](const std::string& s) { out += (out.empty() ? "" : " ") + s; };
  if (p.heldBack) add("held");
  for (const std::string& n : p.staleAsPathLists) add("stale:" + n);
  if (p.leftovers) add("leftovers");
  for (const std::string& n : p.cycleRouteMaps) add("cycle:" + n);
  for (const std::string& n : p.cycleDynamicPrefixLists) add("cycle-dpl:" + n);
  EXPECT_EQ(out.empty(), p.exact()) << out;
  return out.empty() ? "exact" : out;
}

struct Case {
  const char* what;
  const char* yaml;
  std::vector<std::string> promises;  // one per step
};

const Case kCases[] = {
    {"a change is held back until its version moves",
     R"(
steps:
  - config: {prefix-lists: {P1: {version: 1, entries: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}}
  - config: {prefix-lists: {P1: {version: 1, entries: [{seq: 10, action: deny, prefix: 10.0.0.0/8}]}}}
  - config: {prefix-lists: {P1: {version: 1, entries: [{seq: 10, action: deny, prefix: 10.0.0.0/8}]}}}
  - config: {prefix-lists: {P1: {version: 2, entries: [{seq: 10, action: deny, prefix: 10.0.0.0/8}]}}}
)",
     {"exact", "held", "held", "exact"}},
    {"an automatic version moves with every change",
     R"(
steps:
  - config: {route-maps: {RA: [{seq: 10, action: permit}]}}
  - config: {route-maps: {RA: [{seq: 10, action: deny}]}}
)",
     {"exact", "exact"}},
    {"an object left at version 0 is incomplete until announced, where a fresh start says 1",
     R"(
steps:
  - config: {route-maps: {RA: {version: 0, entries: [{seq: 10, action: permit}]}}}
  - config: {route-maps: {RA: [{seq: 10, action: permit}]}}
  - config: {route-maps: {RA: {version: 3, entries: [{seq: 10, action: permit}]}}}
)",
     {"exact", "held", "exact"}},
    {"a community entry carries its own version",
     R"(
steps:
  - config: {community-lists: {C1: [{seq: 10, action: permit, type: standard, communities: ["1:1"], version: 1}]}}
  - config: {community-lists: {C1: [{seq: 10, action: permit, type: standard, communities: ["1:2"], version: 1}]}}
  - config: {community-lists: {C1: [{seq: 10, action: permit, type: standard, communities: ["1:2"], version: 2}]}}
)",
     {"exact", "held", "exact"}},
    {"a held change is forgotten with its object",
     R"(
steps:
  - config: {prefix-lists: {P1: {version: 1, entries: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}}
  - config: {prefix-lists: {P1: {version: 1, entries: []}}}
  - config: {}
)",
     {"exact", "held", "exact"}},
    {"an entry that turns valid leaves its list stale until the mode changes",
     R"(
steps:
  - config:
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_", valid: [false, true]}]}
  - config:
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_"}]}
  - config:
      as-path-regex-mode: 1
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_"}]}
)",
     {"exact", "stale:A1", "exact"}},
    {"removing the inapplicable entry reactivates the list",
     R"(
steps:
  - config:
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_", valid: [false, false]},
                           {seq: 20, action: permit, regex: "^2_"}]}
  - config:
      as-path-lists: {A1: [{seq: 20, action: permit, regex: "^2_"}]}
)",
     {"exact", "exact"}},
    {"a restart reads AS-path lists as they stand",
     R"(
steps:
  - config: &before
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_", valid: [false, true]}]}
  - config:
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_"}]}
    inputs: [route-map-config, peer-filter-config, acl-config, dynamic-prefix-list-config, policy-map]
  - config:
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_"}]}
)",
     {"exact", "detached", "exact"}},
    {"only additions while detached leave nothing behind",
     R"(
steps:
  - config: {prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}
  - config: {prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}
    inputs: []
  - config:
      prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8},
                          {seq: 20, action: deny, prefix: 10.1.0.0/16}],
                     P2: [{seq: 10, action: permit, prefix: 10.2.0.0/16}]}
      policy-map: {route-maps: [RA]}
)",
     {"exact", "detached", "exact"}},
    {"a removal while detached leaves leftovers for good",
     R"(
steps:
  - config: {prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}
  - config: {prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}
    inputs: [route-map-config]
  - config: {}
  - config: {prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}
)",
     {"exact", "detached", "leftovers", "leftovers"}},
    {"a change still held back when the inputs go is left over",
     R"(
steps:
  - config: {prefix-lists: {P1: {version: 1, entries: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}}}
  - config: {prefix-lists: {P1: {version: 1, entries: []}}}
  - config: {prefix-lists: {P1: {version: 1, entries: []}}}
    inputs: []
  - config: {prefix-lists: {P1: {version: 1, entries: []}}}
)",
     {"exact", "held", "detached", "leftovers"}},
    {"maps on a cycle and what it reaches stay marked after the cycle goes",
     R"(
steps:
  - config:
      route-maps:
        RA: [{seq: 10, action: permit, sub-route-map: RB}]
        RB: [{seq: 10, action: permit, sub-route-map: RA}, {seq: 20, action: permit, sub-route-map: RD}]
        RC: [{seq: 10, action: permit, sub-route-map: RA}]
        RD: [{seq: 10, action: permit}]
  - config:
      route-maps:
        RA: [{seq: 10, action: permit}]
)",
     {"cycle:RA cycle:RB cycle:RD", "cycle:RA cycle:RB cycle:RD"}},
    {"a dynamic prefix list closes a cycle through its match map",
     R"(
steps:
  - config:
      dynamic-prefix-lists: {D1: {match-map: RA}, D2: {match-map: RB}}
      route-maps:
        RA: [{seq: 10, action: permit, match: [{option: ipv6-dynamic-prefix-list, value: D1}]}]
        RB: [{seq: 10, action: permit, match: [{option: dynamic-prefix-list, value: D1}]}]
)",
     {"cycle:RA cycle-dpl:D1"}},
};

// Every case's promises, step by step.
TEST(PromisesTest, FollowsEachStepOfTheTable) {
  for (const Case& c : kCases) {
    const ribpolicy::Scenario sc = ribpolicy::parseScenario(c.yaml);
    std::vector<std::string> got;
    for (const converge::StepPromise& p : converge::promisesOf(sc)) got.push_back(summary(p));
    EXPECT_EQ(got, c.promises) << c.what;
  }
}

// Objects removed while detached are kept as they were, so that their engine objects may stay.
TEST(PromisesTest, KeepsObjectsRemovedWhileDetachedAsTheyWere) {
  const ribpolicy::Scenario sc = ribpolicy::parseScenario(R"(
steps:
  - config: &both
      prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}
      route-maps: {RA: [{seq: 10, action: deny}]}
  - config: *both
    inputs: []
  - config: {route-maps: {RA: [{seq: 10, action: deny}]}}
  - config: {}
)");
  const std::vector<converge::StepPromise> p = converge::promisesOf(sc);
  ASSERT_EQ(p.size(), 4u);
  EXPECT_TRUE(p[1].removedWhileDetached.prefixLists.empty());
  EXPECT_EQ(p[2].removedWhileDetached.prefixLists.count("P1"), 1u);
  EXPECT_TRUE(p[2].removedWhileDetached.routeMaps.empty());
  EXPECT_EQ(p[3].removedWhileDetached.prefixLists.count("P1"), 1u);
  EXPECT_TRUE(p[3].removedWhileDetached.routeMaps.empty())
      << "removed after the re-attach, which the library saw";
}

}  // namespace
