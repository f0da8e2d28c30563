// The convergence checker's comparison, fed states that do differ from a fresh start. The random
// run only ever shows it a converging library, so without these a checker that leaves out too
// much would pass every run and hide the divergences it exists to find.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tools/converge/Checker.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/agent/Verify.h"
#include "tools/ribpolicy/format/ScenarioParser.h"

namespace {

using converge::StepPromise;
using Node = Rib::EngineModel::Node;

// The configurations of the cases, by name: each is what a fresh start turns into the
// incremental state, the step checked, or a snapshot of the engine at a re-attach.
constexpr const char* kConfigs = R"(
steps:
  - name: P1
    config:
      prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}
  - name: P1 P2
    config:
      prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}],
                     P2: [{seq: 10, action: deny, prefix: 10.2.0.0/16}]}
  - name: P1 D1
    config:
      prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}
      dynamic-prefix-lists: {D1: {ipv4-prefix-list: P1}}
      policy-map: {dynamic-prefix-lists: [D1]}
  - name: A1 valid
    config:
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_"}]}
  - name: A1 inapplicable
    config:
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_", valid: [false, false]}]}
  - name: RA
    config:
      route-maps: {RA: [{seq: 10, action: permit}]}
  - name: RA referenced
    config:
      route-maps: {RA: [{seq: 10, action: permit}]}
      policy-map: {route-maps: [RA]}
  - name: every kind
    config:
      prefix-lists: {P1: [{seq: 10, action: permit, prefix: 10.0.0.0/8}],
                     P2: [{seq: 10, action: deny, prefix: 10.2.0.0/16}]}
      ipv6-prefix-lists: {V6: [{seq: 10, action: permit, prefix: "2001:db8::/32"}]}
      as-path-lists: {A1: [{seq: 10, action: permit, regex: "^1_"}]}
      community-lists: {C1: [{seq: 10, action: permit, type: standard, communities: ["1:1"]}]}
      access-lists: {L1: [{seq: 10, action: permit, source: 10.0.0.0/8}]}
      route-maps: {RB: [{seq: 10, action: deny}]}
      peer-filters: {F1: [{seq: 10, action: permit}]}
)";

struct Case {
  const char* what;
  const char* engine;  // the configuration whose fresh start stands for the incremental state
  const char* step;    // the configuration checked
  std::function<void(StepPromise&)> promise;
  std::vector<const char*> snapshots;  // engine states the leftovers may come from
  const char* area;                    // where the first difference lies; "" when none
};

void exact(StepPromise&) {}
void leftovers(StepPromise& p) {
  p.leftovers = true;
}

const Case kCases[] = {
    {"an extra list differs under the exact promise", "P1 P2", "P1", exact, {}, "engine 512/603"},
    {"a missing list differs under the exact promise", "P1", "P1 P2", exact, {}, "engine 512/603"},
    {"equal states do not differ", "P1 P2", "P1 P2", exact, {}, ""},
    {"what the engine held at a re-attach may stay", "P1 P2", "P1", leftovers, {"P1 P2"}, ""},
    {"what no re-attach found may not", "P1 P2", "P1", leftovers, {"P1"}, "engine 512/603"},
    {"leftovers never excuse a missing list",
     "P1",
     "P1 P2",
     leftovers,
     {"P1 P2"},
     "engine 512/603"},
    {"a dynamic prefix list on a cycle is left out",
     "P1 D1",
     "P1",
     [](StepPromise& p) { p.cycleDynamicPrefixLists = {"D1"}; },
     {},
     ""},
    {"a dynamic prefix list off the cycle is not",
     "P1 D1",
     "P1",
     [](StepPromise& p) { p.cycleDynamicPrefixLists = {"D9"}; },
     {},
     "engine 512/627"},
    {"a stale AS-path list must hold no entries",
     "A1 valid",
     "A1 valid",
     [](StepPromise& p) { p.staleAsPathLists = {"A1"}; },
     {},
     "AS-path deactivation"},
    {"a stale AS-path list without entries passes",
     "A1 inapplicable",
     "A1 valid",
     [](StepPromise& p) { p.staleAsPathLists = {"A1"}; },
     {},
     ""},
    {"a deactivated list differs under the exact promise",
     "A1 inapplicable",
     "A1 valid",
     exact,
     {},
     "engine 512/534"},
    {"a reference the fresh start lacks differs",
     "RA referenced",
     "RA",
     exact,
     {},
     "policy-map route-maps"},
    {"a reference entered before the state went may stay",
     "RA referenced",
     "RA",
     leftovers,
     {"RA"},
     ""},
    {"a reference missing is never a leftover",
     "RA",
     "RA referenced",
     leftovers,
     {"RA"},
     "policy-map route-maps"},
    {"references of a map on a cycle are left out",
     "RA referenced",
     "RA",
     [](StepPromise& p) { p.cycleRouteMaps = {"RA"}; },
     {},
     ""},
};

// After changes while detached, the engine may keep the objects of everything removed
// meanwhile, of every kind, even when no re-attach found them; without that record they differ.
TEST(CheckerTest, ObjectsRemovedWhileDetachedMayStay) {
  const ribpolicy::Scenario configs = ribpolicy::parseScenario(kConfigs);
  const ribpolicy::Step& kept = configs.steps.front();  // P1
  const ribpolicy::Step& all = configs.steps.back();    // every kind
  ASSERT_EQ(all.name, "every kind");
  ribpolicy::LibraryRootGuard keepRoot;
  StepPromise promise;
  promise.attached = true;
  promise.leftovers = true;
  converge::Leftovers held;
  held.removedObjects = converge::removedObjectPaths("default", kept.config, all.config);
  // P1, P2, V6, A1, L1, RB, F1, and C1 as two lists and a set.
  EXPECT_EQ(held.removedObjects.size(), 10u);
  ribpolicy::withFreshStart(
      "default", all.config, [&](const Node& engine, const RoutingPolicyMap::PolicyMap& map) {
        EXPECT_EQ(converge::compareAsPromised("default", kept, promise, engine, map, held).area,
                  "");
        EXPECT_EQ(converge::compareAsPromised("default", kept, promise, engine, map, {}).area,
                  "engine 512/524");
      });
}

// Each case compares as its promise says: a difference where one is due, none where the
// promise leaves it out.
TEST(CheckerTest, ComparesAsEachPromiseSays) {
  const ribpolicy::Scenario configs = ribpolicy::parseScenario(kConfigs);
  auto config = [&](const std::string& name) -> const ribpolicy::Step& {
    for (const ribpolicy::Step& s : configs.steps) {
      if (s.name == name) return s;
    }
    ADD_FAILURE() << "no configuration " << name;
    return configs.steps.front();
  };
  ribpolicy::LibraryRootGuard keepRoot;
  for (const Case& c : kCases) {
    converge::Leftovers held;
    for (const char* s : c.snapshots) {
      ribpolicy::withFreshStart("default", config(s).config,
                                [&](const Node& engine, const RoutingPolicyMap::PolicyMap&) {
                                  held.snapshots.push_back(engine);
                                });
    }
    StepPromise promise;
    promise.attached = true;
    c.promise(promise);
    converge::Comparison result;
    ribpolicy::withFreshStart(
        "default", config(c.engine).config,
        [&](const Node& engine, const RoutingPolicyMap::PolicyMap& policyMap) {
          result = converge::compareAsPromised("default", config(c.step), promise, engine,
                                               policyMap, held);
        });
    EXPECT_EQ(result.area, c.area) << c.what;
    EXPECT_EQ(result.differences.empty(), std::string(c.area).empty())
        << c.what << ": " << ::testing::PrintToString(result.differences);
  }
}

}  // namespace
