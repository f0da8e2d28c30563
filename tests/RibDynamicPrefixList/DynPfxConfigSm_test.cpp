#include "RibDynamicPrefixList/DynPfxConfigSm.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "framework/rib/MioSink.h"
#include "tests/support/Agent.h"

namespace {

using Lines = std::vector<std::string>;
using RibDynamicPrefixList::DynPfxConfigSm;
using Entry = Routing::DynamicPrefixList::DynamicPrefixListEntry;

const RoutingPolicyMap::Requester kExternal{0, 0, "external", "test"};

// The reason a list named `list` gives for its match map.
RoutingPolicyMap::Requester matchMapReason(const std::string& list) {
  return {3, 7, "dynamic prefix-list match-map", list};
}

Vox::Ptr<Entry> dpl(const std::string& name, const std::string& matchMap,
                    const std::string& ipv4 = "", U32 version = 1) {
  auto e = Vox::make<Entry>(name);
  e->matchMapIs(matchMap);
  e->ipv4PrefixListIs(ipv4);
  e->versionIs(version);
  return e;
}

Lines sent(const std::string& name, const std::string& matchMap) {
  return {"addDynamicPrefixList 512/627/628=\"" + name + "\" {0:str=\"" + name + "\"}",
          "match_map 512/627/628=\"" + name + "\" {3:str=\"" + matchMap + "\"}", "commit"};
}

// Records the route maps entering ("+") and leaving ("-") the policy map, in order.
class RouteMapLog : public RoutingPolicyMap::PolicyMap::Notifiee {
 public:
  explicit RouteMapLog(const Vox::Ptr<RoutingPolicyMap::PolicyMap>& map) { notifierIs(map); }
  void onRouteMap(const std::string& name) override {
    log.push_back((notifier()->routeMap(name) ? "+" : "-") + name);
  }
  Lines log;
};

class DynPfxConfigSmTest : public testing::Test {
 protected:
  void start() {
    sm_ = RibDynamicPrefixList::dynPfxConfigSmFactory(config_, policyMap_);
    sm_->hasNotificationActiveIs(true);
  }
  void hold(const std::string& name) {
    policyMap_->dynamicPrefixListIs(name)->reasonIs(kExternal, true);
  }
  // The reasons recorded for route map `name`; empty when it is not in the policy map.
  std::set<RoutingPolicyMap::Requester> reasons(const std::string& name) const {
    auto r = policyMap_->routeMap(name);
    return r ? r->reason() : std::set<RoutingPolicyMap::Requester>{};
  }
  Lines take() {
    Lines lines = recorder_.lines();
    recorder_.clear();
    return lines;
  }

  Vox::Ptr<Routing::DynamicPrefixList::Config> config_ =
      Vox::make<Routing::DynamicPrefixList::Config>();
  Vox::Ptr<RoutingPolicyMap::PolicyMap> policyMap_ = Vox::make<RoutingPolicyMap::PolicyMap>();
  Rib::Recorder recorder_;
  Rib::ScopedSink sink_{&recorder_};
  Vox::Ptr<DynPfxConfigSm> sm_;
};

// A list configured and referenced before the state machine starts is sent by its start-up.
TEST_F(DynPfxConfigSmTest, ListInBothFromTheStartIsSentAtOnce) {
  config_->dynamicPrefixListIs(dpl("D", "MM", "P4"));
  hold("D");
  start();
  EXPECT_EQ(take(), (Lines{R"(addDynamicPrefixList 512/627/628="D" {0:str="D"})",
                           R"(ipv4_prefix_list_name 512/627/628="D" {1:str="P4"})",
                           R"(match_map 512/627/628="D" {3:str="MM"})", "commit"}));
  EXPECT_EQ(reasons("MM"), (std::set{matchMapReason("D")}));
}

// An unreferenced list's version change sends nothing and records no match map.
TEST_F(DynPfxConfigSmTest, VersionChangeOutsidePolicyMapIsIgnored) {
  start();
  auto e = dpl("D", "MM");
  config_->dynamicPrefixListIs(e);
  RouteMapLog log(policyMap_);
  e->versionIs(2);
  EXPECT_TRUE(take().empty());
  EXPECT_TRUE(log.log.empty());
  EXPECT_TRUE(policyMap_->routeMap().empty());
}

// A new match map is entered before the old one's reference is dropped.
TEST_F(DynPfxConfigSmTest, MatchMapChangeRecordsNewBeforeDroppingOld) {
  hold("D");
  start();
  auto e = dpl("D", "A");
  config_->dynamicPrefixListIs(e);
  take();
  RouteMapLog log(policyMap_);
  e->matchMapIs("B");
  e->versionIs(2);
  EXPECT_EQ(take(), sent("D", "B"));
  EXPECT_EQ(log.log, (Lines{"+B", "-A"}));
  EXPECT_EQ(reasons("B"), (std::set{matchMapReason("D")}));
}

// An unchanged match map is recorded again (restoring a reference lost meanwhile), dropped
// never, and the list is sent again.
TEST_F(DynPfxConfigSmTest, SameMatchMapIsRecordedAgainAndResent) {
  hold("D");
  start();
  auto e = dpl("D", "A");
  config_->dynamicPrefixListIs(e);
  take();
  policyMap_->routeMapDel("A");
  RouteMapLog log(policyMap_);
  e->versionIs(2);
  EXPECT_EQ(take(), sent("D", "A"));
  EXPECT_EQ(log.log, (Lines{"+A"}));
  EXPECT_EQ(reasons("A"), (std::set{matchMapReason("D")}));
}

// The policy map's copy going drops the match-map reference and deletes the list.
TEST_F(DynPfxConfigSmTest, PolicyMapRemovalDeletesList) {
  hold("D");
  start();
  config_->dynamicPrefixListIs(dpl("D", "A"));
  take();
  policyMap_->dynamicPrefixListDel("D");
  EXPECT_EQ(take(), (Lines{R"(delDynamicPrefixList 512/627/628="D" del)", "commit"}));
  EXPECT_TRUE(policyMap_->routeMap().empty());
}

// Another entity under a sent list's name is sent with its own fields at once.
TEST_F(DynPfxConfigSmTest, ReplacedEntryIsSentAgain) {
  hold("D");
  start();
  config_->dynamicPrefixListIs(dpl("D", "A"));
  take();
  config_->dynamicPrefixListIs(dpl("D", "B"));
  EXPECT_EQ(take(), sent("D", "B"));
  EXPECT_EQ(reasons("B"), (std::set{matchMapReason("D")}));
}

// A held list removed from the configuration leaves the engine and withdraws its match map.
TEST_F(DynPfxConfigSmTest, ConfigRemovalDeletesAHeldList) {
  hold("D");
  start();
  config_->dynamicPrefixListIs(dpl("D", "A"));
  take();
  config_->dynamicPrefixListDel("D");
  EXPECT_EQ(take(), (Lines{R"(delDynamicPrefixList 512/627/628="D" del)", "commit"}));
  EXPECT_EQ(sm_->dynamicPrefixList().find("D"), nullptr);
  EXPECT_TRUE(reasons("A").empty());
}

// The collection mutator refuses a null entry, naming the parameter and the collection.
TEST_F(DynPfxConfigSmTest, NullEntryIsRefused) {
  start();
  EXPECT_DEATH(sm_->dynamicPrefixList().is(nullptr),
               "null _dynamicPrefixList parameter to mutator for "
               "RibDynamicPrefixList::DynPfxConfigSm::dynamicPrefixList not allowed");
}

// Referencing a route map that matches on a list brings the list into the policy map, which
// sends it to the engine.
TEST(DynPfxAgentTest, RouteMapReferenceSendsList) {
  testing_support::Agent agent;
  agent.dplConfig->dynamicPrefixListIs(dpl("D", "MM", "P4"));
  auto map = agent.addMap("RM");
  auto e10 = testing_support::entry(10);
  Routing::RouteMap::MatchRule rule;
  rule.option = Routing::RouteMap::matchDynamicPrefixList;
  rule.stringValue = "D";
  e10->matchRuleIs(rule);
  map->mapEntryIs(e10);
  map->versionIs(1);
  agent.take();
  agent.policyMap->routeMapIs("RM")->reasonIs(kExternal, true);
  EXPECT_EQ(agent.take(), (Lines{R"(addDynamicPrefixList 512/627/628="D" {0:str="D"})",
                                 R"(ipv4_prefix_list_name 512/627/628="D" {1:str="P4"})",
                                 R"(match_map 512/627/628="D" {3:str="MM"})", "commit"}));
}

}  // namespace
