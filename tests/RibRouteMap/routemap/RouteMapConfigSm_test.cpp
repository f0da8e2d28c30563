#include "RibRouteMap/routemap/RouteMapConfigSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Agent.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::Agent;
using testing_support::entry;
using testing_support::join;
using testing_support::seqCommCleanup;
namespace RM = Routing::RouteMap;

RM::MatchRule prefixListMatch(const std::string& list) {
  RM::MatchRule r;
  r.option = RM::matchPrefixList;
  r.stringValue = list;
  return r;
}

RM::MatchRule dplMatch(const std::string& list, bool ipv6 = false) {
  RM::MatchRule r;
  r.option = ipv6 ? RM::matchIpv6DynamicPrefixList : RM::matchDynamicPrefixList;
  r.stringValue = list;
  return r;
}

// Sets the metric clause (med type 0) of an entry.
void setMetric(RM::MapEntry& e, S64 metric) {
  RM::SetClauses c;
  c.flags = 1u << RM::setMetric;
  c.metric = metric;
  e.setClauseIs(RM::setMetric, c);
}

std::string seq(const std::string& map, U32 s) {
  return "512/576=\"" + map + "\"/577/578=" + std::to_string(s);
}

std::vector<std::string> insertSeq(const std::string& map, U32 s, bool permit = true) {
  return {"routeMap 512/576=\"" + map + "\" {0:str=\"" + map + "\"}",
          "routeMapSeq " + seq(map, s) + " {0:u32=" + std::to_string(s) +
              " 1:flag=" + (permit ? "true" : "false") + "}"};
}

std::vector<std::string> deleteMap(const std::string& map) {
  return {"deleteRouteMap 512/576=\"" + map + "\" del", "commit"};
}

// The match and set clauses of RM1's sequence 10, as inserted.
std::vector<std::string> rm1Seq10Clauses() {
  return {"prefixList " + seq("RM1", 10) + "/587=\"PL1\" {8:u8=1 7:str=\"PL1\"}",
          "setIntValue " + seq("RM1", 10) + "/601 {1:u32=100}",
          "setIntValue " + seq("RM1", 10) + "/601 {17:u32=100}"};
}

// Builds RM1 the way an agent adds a map: empty, then its entries, then version 1.
Vox::Ptr<RM::Map> addRm1(Agent& agent) {
  auto map = agent.addMap("RM1");
  auto e10 = entry(10);
  e10->matchRuleIs(prefixListMatch("PL1"));
  setMetric(*e10, 100);
  map->mapEntryIs(e10);
  map->mapEntryIs(entry(20, Acl::deny));
  map->versionIs(1);
  return map;
}

// What the filter-list state machine, built after the route maps, sends on an empty
// configuration.
const std::vector<std::string> kFilterListStartUp = testing_support::filterListStartUp();

class RouteMapConfigSmTest : public testing::Test {
 protected:
  Agent agent;
};

// A new map is deleted and committed empty, then each sequence is sent whole on its version.
TEST_F(RouteMapConfigSmTest, AddingAMapSendsItWhole) {
  agent.take();
  addRm1(agent);
  EXPECT_EQ(agent.take(), join({deleteMap("RM1"),
                                {"commit"},
                                seqCommCleanup("RM1", 10),
                                seqCommCleanup("RM1", 20),
                                deleteMap("RM1"),
                                insertSeq("RM1", 10),
                                rm1Seq10Clauses(),
                                insertSeq("RM1", 20, false),
                                {"commit"}}));
}

// Changing one clause of a sequence refreshes the whole map: delete, commit, insert, commit.
TEST_F(RouteMapConfigSmTest, ChangedSequenceRefreshesWholeMap) {
  auto map = addRm1(agent);
  agent.take();
  auto e20 = Vox::Ptr<RM::MapEntry>(map->mapEntry().at(20));
  setMetric(*e20, -5);
  EXPECT_THAT(agent.take(), IsEmpty());
  map->versionIs(2);
  EXPECT_EQ(agent.take(), join({seqCommCleanup("RM1", 10),
                                seqCommCleanup("RM1", 20),
                                deleteMap("RM1"),
                                insertSeq("RM1", 10),
                                rm1Seq10Clauses(),
                                insertSeq("RM1", 20, false),
                                {"setIntValue " + seq("RM1", 20) + "/601 {1:u32=0}",
                                 "setIntValue " + seq("RM1", 20) + "/601 {17:u32=0}", "commit"}}));
}

// Removing one of two sequences deletes that sequence, then its community objects.
TEST_F(RouteMapConfigSmTest, RemovingOneSequence) {
  auto map = addRm1(agent);
  agent.take();
  map->mapEntryDel(20);
  EXPECT_EQ(agent.take(), join({{"deleteRouteMap " + seq("RM1", 20) + " del", "commit"},
                                seqCommCleanup("RM1", 20)}));
  map->versionIs(2);
  EXPECT_EQ(agent.take(), join({seqCommCleanup("RM1", 10),
                                deleteMap("RM1"),
                                insertSeq("RM1", 10),
                                rm1Seq10Clauses(),
                                {"commit"}}));
}

// The map leaves the engine with its last sequence.
TEST_F(RouteMapConfigSmTest, RemovingTheLastSequenceDeletesTheMap) {
  auto map = agent.addMap("RM2");
  map->mapEntryIs(entry(5));
  map->versionIs(1);
  agent.take();
  map->mapEntryDel(5);
  EXPECT_EQ(agent.take(), join({deleteMap("RM2"), seqCommCleanup("RM2", 5)}));
  map->versionIs(2);
  EXPECT_EQ(agent.take(), join({deleteMap("RM2"), {"commit"}}));
}

// A removed map is deleted and committed before its reactor goes and cleans up.
TEST_F(RouteMapConfigSmTest, RemovingAMap) {
  addRm1(agent);
  agent.take();
  agent.routeMapConfig->routeMapDel("RM1");
  EXPECT_EQ(agent.take(),
            join({deleteMap("RM1"), seqCommCleanup("RM1", 10), seqCommCleanup("RM1", 20)}));
  EXPECT_FALSE(agent.root->vrfStatusSm()->routeMapConfigSm()->routeMap().find("RM1"));
}

// The operation mode is sent at start-up and again, with a commit, on every change.
TEST_F(RouteMapConfigSmTest, OperationMode) {
  agent.take();
  agent.routeMapConfig->routeMapOpModeIs(2);
  EXPECT_THAT(agent.take(), ElementsAre("RouteMapSetOpMode 256 scalars{18:u32=2}", "commit"));
}

// After changes the engine holds what a fresh start on the same configuration produces.
TEST_F(RouteMapConfigSmTest, IncrementalEqualsFreshStart) {
  auto map = addRm1(agent);
  map->mapEntryDel(20);
  auto e30 = entry(30);
  e30->subRouteMapIs("RM9");
  map->mapEntryIs(e30);
  map->versionIs(2);
  agent.routeMapConfig->routeMapOpModeIs(1);
  const Rib::EngineModel::Node incremental = agent.model.committed();

  Agent fresh("default", /*attach=*/false);
  fresh.routeMapConfig = agent.routeMapConfig;
  fresh.attachAll();
  EXPECT_TRUE(Rib::EngineModel::equivalent(incremental, fresh.model.committed()))
      << testing::PrintToString(
             Rib::EngineModel::differences(incremental, fresh.model.committed()));
  fresh.root->routeMapConfigIs(nullptr);
  RibRouteMap::rmRoot = agent.root;
}

// Starting on maps that exist sends each map whole, in name order, after the operation mode.
TEST(RouteMapConfigSmStartTest, StartUpSendsExistingMaps) {
  Agent agent("default", /*attach=*/false);
  auto b = Vox::make<RM::Map>("B");
  b->mapEntryIs(entry(1));
  auto a = Vox::make<RM::Map>("A");
  a->mapEntryIs(entry(2, Acl::deny));
  agent.routeMapConfig->routeMapIs(b);
  agent.routeMapConfig->routeMapIs(a);
  agent.attachAll();
  EXPECT_EQ(agent.take(), join({{"RouteMapSetOpMode 256 scalars{18:u32=0}", "commit"},
                                deleteMap("A"),
                                insertSeq("A", 2, false),
                                {"commit"},
                                deleteMap("B"),
                                insertSeq("B", 1),
                                {"commit"},
                                kFilterListStartUp}));
}

// Starting on existing maps gives the engine state of adding the same maps after start-up.
TEST(RouteMapConfigSmStartTest, StartOnExistingEqualsAddingLater) {
  Agent later;
  addRm1(later);
  const Rib::EngineModel::Node added = later.model.committed();

  Agent early("default", /*attach=*/false);
  early.routeMapConfig = later.routeMapConfig;
  early.attachAll();
  EXPECT_TRUE(Rib::EngineModel::equivalent(added, early.model.committed()))
      << testing::PrintToString(Rib::EngineModel::differences(added, early.model.committed()));
  early.root->routeMapConfigIs(nullptr);
  RibRouteMap::rmRoot = later.root;
}

// A null map or sequence is refused by the collection mutators, naming the collection.
TEST_F(RouteMapConfigSmTest, NullEntitiesRefused) {
  auto* sm = agent.root->vrfStatusSm()->routeMapConfigSm();
  EXPECT_DEATH(sm->routeMap().is(nullptr),
               "null _routeMap parameter to mutator for RibRouteMap::RouteMapConfigSm::routeMap "
               "not allowed");
}

// --- Policy-reference map ---------------------------------------------------------------

// Records the policy map's notifications in order.
struct PolicyWatcher : RoutingPolicyMap::PolicyMap::Notifiee {
  std::vector<std::string> seen;
  void onRouteMap(const std::string& n) override {
    seen.push_back("rm " + n + (notifier()->routeMap(n) ? " +" : " -"));
  }
  void onDynamicPrefixList(const std::string& n) override {
    seen.push_back("dpl " + n + (notifier()->dynamicPrefixList(n) ? " +" : " -"));
  }
};

void addExternal(RoutingPolicyMap::PolicyMap& pm, const std::string& rm) {
  pm.routeMapIs(rm)->reasonIs({0, 0, "external", "scenario"}, true);
}

void dropExternal(RoutingPolicyMap::PolicyMap& pm, const std::string& rm) {
  auto r = pm.routeMap(rm);
  r->reasonDel({0, 0, "external", "scenario"});
  if (r->empty()) pm.routeMapDel(rm);
}

class PolicyReferenceTest : public RouteMapConfigSmTest {
 protected:
  // TOP seq 10 -> sub MID; MID seq 10 -> sub LEAF and DPL D4; LEAF seq 10 and 20 -> DPL D6.
  void SetUp() override {
    top = agent.addMap("TOP");
    t10 = entry(10);
    t10->subRouteMapIs("MID");
    top->mapEntryIs(t10);
    auto mid = agent.addMap("MID");
    m10 = entry(10);
    m10->subRouteMapIs("LEAF");
    m10->matchRuleIs(dplMatch("D4"));
    mid->mapEntryIs(m10);
    leaf = agent.addMap("LEAF");
    for (U32 s : {10u, 20u}) {
      auto e = entry(s);
      e->matchRuleIs(dplMatch("D6", true));
      leaf->mapEntryIs(e);
      leafEntries.push_back(e);
    }
    watcher.notifierIs(agent.policyMap);
  }
  Vox::Ptr<RM::Map> top, leaf;
  Vox::Ptr<RM::MapEntry> t10, m10;
  std::vector<Vox::Ptr<RM::MapEntry>> leafEntries;
  PolicyWatcher watcher;
};

// A referenced map makes what it refers to referenced, through any depth of nesting.
TEST_F(PolicyReferenceTest, ReferencePropagatesThroughNesting) {
  addExternal(*agent.policyMap, "TOP");
  // One notification at a time: a map's own references come before those of the maps it
  // brought in.
  EXPECT_THAT(watcher.seen,
              ElementsAre("rm MID +", "dpl D4 +", "rm LEAF +", "dpl D6 +", "rm TOP +"));
  const auto& d6 = agent.policyMap->dynamicPrefixList("D6")->reason();
  EXPECT_EQ(d6.size(), 2u);
  EXPECT_EQ(d6.begin()->configKey, "LEAF seqNo 10");
  EXPECT_EQ(d6.begin()->configCli, "match ipv6 address dynamic prefix-list");
}

// Withdrawing the reference withdraws everything it brought in.
TEST_F(PolicyReferenceTest, WithdrawalPropagates) {
  addExternal(*agent.policyMap, "TOP");
  watcher.seen.clear();
  dropExternal(*agent.policyMap, "TOP");
  EXPECT_THAT(watcher.seen,
              ElementsAre("rm MID -", "dpl D4 -", "rm LEAF -", "dpl D6 -", "rm TOP -"));
  EXPECT_TRUE(agent.policyMap->routeMap().empty());
  EXPECT_TRUE(agent.policyMap->dynamicPrefixList().empty());
}

// Two sequences on one dynamic prefix list keep it until both have withdrawn.
TEST_F(PolicyReferenceTest, SharedListStaysUntilLastReason) {
  addExternal(*agent.policyMap, "LEAF");
  leafEntries[0]->matchRuleDel(RM::matchIpv6DynamicPrefixList);
  ASSERT_TRUE(agent.policyMap->dynamicPrefixList("D6"));
  EXPECT_EQ(agent.policyMap->dynamicPrefixList("D6")->reason().size(), 1u);
  leaf->mapEntryDel(20);
  EXPECT_FALSE(agent.policyMap->dynamicPrefixList("D6"));
}

// A new sub-route-map is entered before the old one is withdrawn.
TEST_F(PolicyReferenceTest, SubRouteMapChangeEntersNewFirst) {
  addExternal(*agent.policyMap, "TOP");
  watcher.seen.clear();
  t10->subRouteMapIs("LEAF");
  // LEAF gains TOP's reason before MID (and with it MID's reason for LEAF) goes.
  EXPECT_THAT(watcher.seen, ElementsAre("dpl D4 -", "rm MID -"));
  ASSERT_TRUE(agent.policyMap->routeMap("LEAF"));
  EXPECT_EQ(agent.policyMap->routeMap("LEAF")->reason().begin()->configKey, "TOP seqNo 10");
}

// An unreferenced map's sequences change nothing in the policy map.
TEST_F(PolicyReferenceTest, UnreferencedMapChangesNothing) {
  m10->subRouteMapIs("OTHER");
  m10->matchRuleIs(dplMatch("D9"));
  EXPECT_THAT(watcher.seen, IsEmpty());
}

// A map referenced before it is configured gains its references when it arrives.
TEST_F(PolicyReferenceTest, ReferenceBeforeConfiguration) {
  addExternal(*agent.policyMap, "LATER");
  auto later = agent.addMap("LATER");
  auto e = entry(1);
  e->subRouteMapIs("LEAF");
  later->mapEntryIs(e);
  EXPECT_TRUE(agent.policyMap->routeMap("LEAF"));
  EXPECT_TRUE(agent.policyMap->dynamicPrefixList("D6"));
}

}  // namespace
