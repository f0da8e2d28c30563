// The agent's side of the library's inputs: which notifications the configuration entities
// give when a step changes them, and in which order. Steps here run with the inputs
// detached unless the test is about the library's answer, so that the notifications seen
// are the agent's alone.
#include "tools/ribpolicy/Agent.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/ScenarioParser.h"
#include "tools/ribpolicy/Verify.h"

namespace {

using ribpolicy::Agent;
using ribpolicy::InputSet;
using ribpolicy::ScenarioConfig;
using Log = std::vector<std::string>;

ScenarioConfig configOf(const std::string& config) {
  return ribpolicy::parseScenario("steps:\n  - config:\n" + config).steps.at(0).config;
}

// --- Watchers: each records its entity's notifications into one shared log ---------------

template <class Entity>
class Watcher : public Entity::Notifiee {
 public:
  Watcher(Log& log, std::string label, const Vox::Ptr<Entity const>& entity)
      : log_(log), label_(std::move(label)) {
    this->notifierIs(entity);
  }

 protected:
  void record(const std::string& what) { log_.push_back(label_ + ' ' + what); }
  Log& log_;
  std::string label_;
};

class MapWatch : public Watcher<Routing::RouteMap::Map> {
 public:
  using Watcher::Watcher;
  void onMapEntry(U32 seq) override { record("entry " + std::to_string(seq)); }
  void onVersion() override { record("version " + std::to_string(notifier()->version())); }
};

class EntryWatch : public Watcher<Routing::RouteMap::MapEntry> {
 public:
  using Watcher::Watcher;
  void onMatchRule(Routing::RouteMap::MatchOption o) override {
    record("match " + std::to_string(o));
  }
  void onSubRouteMap() override { record("sub-route-map"); }
  void onPermit() override { record("permit"); }
  void onSetClause(Routing::RouteMap::SetFlagBit bit) override {
    record("set " + std::to_string(bit));
  }
};

// Watches the route-map collection and every map that appears in it, so that a new map's
// own notifications are seen from the moment it is added.
class RouteMapConfigWatch : public Watcher<Routing::RouteMap::Config> {
 public:
  using Watcher::Watcher;
  void onRouteMap(const std::string& name) override {
    auto m = notifier()->routeMap(name);
    record("routeMap " + name +
           (m ? " entries=" + std::to_string(m->mapEntry().size()) +
                    " version=" + std::to_string(m->version())
              : " removed"));
    if (m) maps_.push_back(std::make_unique<MapWatch>(log_, name, m));
  }
  void onRouteMapOpMode() override { record("opMode"); }

 private:
  std::vector<std::unique_ptr<MapWatch>> maps_;
};

class PrefixListWatch : public Watcher<Acl::PrefixList> {
 public:
  using Watcher::Watcher;
  void onEntry(U32 seq) override { record("entry " + std::to_string(seq)); }
  void onVersion() override { record("version " + std::to_string(notifier()->version())); }
};

class AclListWatch : public Watcher<Acl::AclListConfig> {
 public:
  using Watcher::Watcher;
  void onPrefixList(const std::string& n) override { record("prefixList " + n); }
  void onIpv6PrefixList(const std::string& n) override { record("ipv6PrefixList " + n); }
  void onPathList(const std::string& n) override { record("pathList " + n); }
  void onCommunityList(const std::string& n) override { record("communityList " + n); }
  void onRegexMode() override { record("regexMode"); }
};

class CommunityListWatch : public Watcher<Acl::CommunityList> {
 public:
  using Watcher::Watcher;
  void onCommunityListEntry(U32 seq) override { record("entry " + std::to_string(seq)); }
};

class CommunityEntryWatch : public Watcher<Acl::CommunityListEntry> {
 public:
  using Watcher::Watcher;
  void onVersion() override { record("version " + std::to_string(notifier()->version())); }
};

class AclTypeWatch : public Watcher<Acl::AclTypeConfig> {
 public:
  using Watcher::Watcher;
  void onAcl(const std::string& n) override { record("acl " + n); }
};

class AclWatch : public Watcher<Acl::AclConfig> {
 public:
  using Watcher::Watcher;
  void onCurrCfg() override { record("currCfg"); }
  void onStandard() override { record("standard"); }
};

class DplConfigWatch : public Watcher<Routing::DynamicPrefixList::Config> {
 public:
  using Watcher::Watcher;
  void onDynamicPrefixList(const std::string& n) override { record("dynamicPrefixList " + n); }
};

class DplWatch : public Watcher<Routing::DynamicPrefixList::DynamicPrefixListEntry> {
 public:
  using Watcher::Watcher;
  void onVersion() override { record("version " + std::to_string(notifier()->version())); }
};

class PeerFilterWatch : public Watcher<Routing::RouteMap::PeerFilterConfig> {
 public:
  using Watcher::Watcher;
  void onPeerFilter(const std::string& n) override { record("peerFilter " + n); }
};

class PolicyMapWatch : public Watcher<RoutingPolicyMap::PolicyMap> {
 public:
  using Watcher::Watcher;
  void onRouteMap(const std::string& n) override { record("routeMap " + n); }
  void onDynamicPrefixList(const std::string& n) override { record("dynamicPrefixList " + n); }
};

class RequesterWatch : public Watcher<RoutingPolicyMap::PolicyRequester> {
 public:
  using Watcher::Watcher;
  void onReason(const RoutingPolicyMap::Requester& r) override { record("reason " + r.configCli); }
};

class RootWatch : public Watcher<RibRouteMap::Root> {
 public:
  using Watcher::Watcher;
  void onRouteMapConfig() override { record("routeMapConfig"); }
  void onPolicyMap() override { record("policyMap"); }
};

// A fixture whose agent starts with the inputs detached (so the library stays out of the
// way) and whose library-wide root is given back after each test.
class AgentDriverTest : public ::testing::Test {
 protected:
  void step(const std::string& config, InputSet inputs = InputSet{}) {
    agent_.applyStep(configOf(config), inputs);
  }

  ribpolicy::LibraryRootGuard keepRoot_;
  Agent agent_{"default"};
  Log log_;
};

const char* kPrefixList3 =
    "      prefix-lists:\n        PL:\n"
    "          - {seq: 10, action: permit, prefix: 10.0.0.0/8}\n"
    "          - {seq: 20, action: permit, prefix: 11.0.0.0/8}\n"
    "          - {seq: 30, action: permit, prefix: 12.0.0.0/8}\n";

// A changed prefix list: one entry notification per changed, removed or added entry in
// ascending order, then one version increment; an unchanged entry says nothing.
TEST_F(AgentDriverTest, ChangedPrefixListNotifiesEntriesThenVersion) {
  step(kPrefixList3);
  PrefixListWatch watch(log_, "PL", agent_.aclListConfig()->prefixList("PL"));
  step(
      "      prefix-lists:\n        PL:\n"
      "          - {seq: 10, action: deny, prefix: 10.0.0.0/8}\n"
      "          - {seq: 25, action: permit, prefix: 13.0.0.0/8}\n"
      "          - {seq: 30, action: permit, prefix: 12.0.0.0/8}\n");
  EXPECT_EQ(log_, (Log{"PL entry 10", "PL entry 20", "PL entry 25", "PL version 2"}));
}

// A new route map is added empty with version 0, filled entry by entry in ascending order,
// and only then given version 1.
TEST_F(AgentDriverTest, NewRouteMapFilledThenVersioned) {
  step("      route-maps: {}\n");
  RouteMapConfigWatch watch(log_, "config", agent_.routeMapConfig());
  step(
      "      route-maps:\n        RM:\n"
      "          - {seq: 20, action: deny}\n"
      "          - {seq: 10, action: permit}\n");
  EXPECT_EQ(log_, (Log{"config routeMap RM entries=0 version=0", "RM entry 10", "RM entry 20",
                       "RM version 1"}));
}

// An entry that stays is changed attribute by attribute (match rules by option, the
// sub-route-map, the action, then each set clause by bit) and the map's version goes up once.
TEST_F(AgentDriverTest, StayingEntryChangedAttributeByAttribute) {
  step(
      "      route-maps:\n        RM:\n"
      "          - seq: 10\n            action: permit\n"
      "            match: [{option: prefix-list, value: A}, {option: community, lists: [C]}]\n"
      "            sub-route-map: S1\n"
      "            set: {origin: 1, metric: {value: 5}, as-path-prepend: [1]}\n");
  auto map = agent_.routeMapConfig()->routeMap("RM");
  auto entry = map->mapEntry(10);
  MapWatch mapWatch(log_, "RM", map);
  EntryWatch entryWatch(log_, "RM/10", entry);
  step(
      "      route-maps:\n        RM:\n"
      "          - seq: 10\n            action: deny\n"
      "            match: [{option: prefix-list, value: B}, {option: ipv6-prefix-list, value: C}]\n"
      "            sub-route-map: S2\n"
      "            set: {origin: 2, next-hop: 10.0.0.1, as-path-prepend: [1]}\n");
  EXPECT_EQ(log_,
            (Log{"RM/10 match 2", "RM/10 match 103", "RM/10 match 116", "RM/10 sub-route-map",
                 "RM/10 permit", "RM/10 set 2", "RM/10 set 4", "RM/10 set 7", "RM version 2"}));
  EXPECT_EQ(agent_.routeMapConfig()->routeMap("RM")->mapEntry(10), entry);
}

// Entries added to and removed from a map that stays come one by one in ascending order,
// with one version increment after them.
TEST_F(AgentDriverTest, ChangedMapAddsAndRemovesEntriesInOrder) {
  step("      route-maps:\n        RM: [{seq: 10, action: permit}, {seq: 30, action: permit}]\n");
  MapWatch watch(log_, "RM", agent_.routeMapConfig()->routeMap("RM"));
  step("      route-maps:\n        RM: [{seq: 20, action: permit}, {seq: 30, action: permit}]\n");
  EXPECT_EQ(log_, (Log{"RM entry 10", "RM entry 20", "RM version 2"}));
}

// Within a section every removal comes before the additions, names in byte order.
TEST_F(AgentDriverTest, RemovalsBeforeAdditions) {
  step("      route-maps:\n        b: []\n        D: []\n");
  RouteMapConfigWatch watch(log_, "config", agent_.routeMapConfig());
  step("      route-maps:\n        a: []\n        C: []\n");
  EXPECT_EQ(log_, (Log{"config routeMap D removed", "config routeMap b removed",
                       "config routeMap C entries=0 version=0", "C version 1",
                       "config routeMap a entries=0 version=0", "a version 1"}));
}

// The sections change in their fixed order, the op mode and the policy map last.
TEST_F(AgentDriverTest, SectionOrder) {
  step("      route-maps: {}\n");
  AclListWatch acl(log_, "acl-list", agent_.aclListConfig());
  AclTypeWatch ip(log_, "ip", agent_.ipAclConfig());
  DplConfigWatch dpl(log_, "dpl", agent_.dynPfxListConfig());
  RouteMapConfigWatch rm(log_, "rm", agent_.routeMapConfig());
  PeerFilterWatch pf(log_, "pf", agent_.peerFilterConfig());
  PolicyMapWatch pm(log_, "pm", agent_.policyMap());
  step(
      "      as-path-regex-mode: 1\n"
      "      route-map-op-mode: 2\n"
      "      policy-map: {route-maps: [R], dynamic-prefix-lists: [D]}\n"
      "      peer-filters: {F: []}\n"
      "      route-maps: {R: []}\n"
      "      dynamic-prefix-lists: {D: {}}\n"
      "      access-lists: {A: []}\n"
      "      community-lists: {C: []}\n"
      "      as-path-lists: {S: []}\n"
      "      ipv6-prefix-lists: {P6: []}\n"
      "      prefix-lists: {P: []}\n");
  EXPECT_EQ(log_,
            (Log{"acl-list regexMode", "acl-list prefixList P", "acl-list ipv6PrefixList P6",
                 "acl-list pathList S", "acl-list communityList C", "ip acl A",
                 "dpl dynamicPrefixList D", "rm routeMap R entries=0 version=0", "R version 1",
                 "pf peerFilter F", "rm opMode", "pm routeMap R", "pm dynamicPrefixList D"}));
}

// A community-list entry whose contents differ is rewritten in place and its version goes
// up; a new entry arrives complete with version 1; an unchanged one says nothing.
TEST_F(AgentDriverTest, CommunityEntriesRewrittenWhole) {
  step(
      "      community-lists:\n        C:\n"
      "          - {seq: 10, action: permit, type: standard, communities: [\"1:1\"]}\n"
      "          - {seq: 20, action: permit, type: standard-regex, regex: \"^1:\"}\n");
  auto list = agent_.aclListConfig()->communityList("C");
  auto entry10 = list->communityListEntry(10);
  CommunityListWatch listWatch(log_, "C", list);
  CommunityEntryWatch e10(log_, "C/10", entry10);
  CommunityEntryWatch e20(log_, "C/20", list->communityListEntry(20));
  step(
      "      community-lists:\n        C:\n"
      "          - {seq: 10, action: deny, type: standard, communities: [\"1:2\"]}\n"
      "          - {seq: 20, action: permit, type: standard-regex, regex: \"^1:\"}\n"
      "          - {seq: 30, action: permit, type: large, communities: [\"1:2:3\"]}\n");
  EXPECT_EQ(log_, (Log{"C/10 version 2", "C entry 30"}));
  EXPECT_EQ(list->communityListEntry(10), entry10);
  EXPECT_EQ(entry10->permit(), Acl::deny);
  EXPECT_EQ(list->communityListEntry(30)->version(), 1u);
  EXPECT_EQ(list->communityListEntry(30)->communities().size(), 1u);
}

// An explicit version is taken as it stands: the same version again changes contents
// without a version notification, and a new version alone notifies only the version.
TEST_F(AgentDriverTest, ExplicitVersion) {
  step(
      "      prefix-lists:\n        PL: {version: 5, entries: [{seq: 1, action: permit,"
      " prefix: 10.0.0.0/8}]}\n");
  auto list = agent_.aclListConfig()->prefixList("PL");
  EXPECT_EQ(list->version(), 5u);
  PrefixListWatch watch(log_, "PL", list);
  step(
      "      prefix-lists:\n        PL: {version: 5, entries: [{seq: 1, action: deny,"
      " prefix: 10.0.0.0/8}]}\n");
  EXPECT_EQ(log_, (Log{"PL entry 1"}));
  log_.clear();
  step(
      "      prefix-lists:\n        PL: {version: 6, entries: [{seq: 1, action: deny,"
      " prefix: 10.0.0.0/8}]}\n");
  EXPECT_EQ(log_, (Log{"PL version 6"}));
}

// A new object with entries and an explicit version 0 stays pending: no version
// notification at all.
TEST_F(AgentDriverTest, NewObjectWithVersionZeroStaysPending) {
  RouteMapConfigWatch watch(log_, "rm", agent_.routeMapConfig());
  step("      route-maps:\n        RM: {version: 0, entries: [{seq: 1, action: permit}]}\n");
  EXPECT_EQ(log_, (Log{"rm routeMap RM entries=0 version=0", "RM entry 1"}));
  EXPECT_EQ(agent_.routeMapConfig()->routeMap("RM")->version(), 0u);
}

// A standard access list gets a new current rule set only when its rules differ, and the IP
// type's entry is there even without any access list.
TEST_F(AgentDriverTest, AccessListRuleSets) {
  step("      access-lists: {}\n");
  ASSERT_TRUE(agent_.aclConfig()->config(Acl::aclTypeIp));
  step("      access-lists:\n        A: [{seq: 10, action: permit, source: 10.0.0.0/8}]\n");
  auto acl = agent_.ipAclConfig()->acl("A");
  ASSERT_TRUE(acl);
  EXPECT_TRUE(acl->standard());
  ASSERT_TRUE(acl->currCfg());
  EXPECT_EQ(acl->currCfg()->rules.size(), 1u);
  AclWatch watch(log_, "A", acl);
  step("      access-lists:\n        A: [{seq: 10, action: permit, source: 10.0.0.0/8}]\n");
  EXPECT_TRUE(log_.empty());
  step(
      "      access-lists:\n        A: [{seq: 10, action: deny, source: 10.0.0.0/8},"
      " {seq: 20, action: permit, source: 0.0.0.0/0}]\n");
  EXPECT_EQ(log_, (Log{"A currCfg"}));
  const auto& rules = acl->currCfg()->rules;
  ASSERT_EQ(rules.size(), 2u);
  EXPECT_EQ(acl->currCfg()->ruleConfig.at(rules.at(10)).action, Acl::deny);
  EXPECT_NE(rules.at(10), rules.at(20));
}

// A dynamic prefix list whose fields differ is updated and its version incremented.
TEST_F(AgentDriverTest, DynamicPrefixListUpdated) {
  step("      dynamic-prefix-lists:\n        D: {match-map: RM1, ipv4-prefix-list: P4}\n");
  auto d = agent_.dynPfxListConfig()->dynamicPrefixList("D");
  EXPECT_EQ(d->version(), 1u);
  DplWatch watch(log_, "D", d);
  step("      dynamic-prefix-lists:\n        D: {match-map: RM2, ipv4-prefix-list: P4}\n");
  EXPECT_EQ(log_, (Log{"D version 2"}));
  EXPECT_EQ(d->matchMap(), "RM2");
  EXPECT_EQ(d->ipv4PrefixList(), "P4");
}

// The external reference is one reason per name; withdrawing it takes the reason away and
// then the entity, unless somebody else still holds a reason for it.
TEST_F(AgentDriverTest, PolicyMapExternalReferences) {
  PolicyMapWatch pmWatch(log_, "pm", agent_.policyMap());
  step("      policy-map: {route-maps: [R1, R2], dynamic-prefix-lists: [D]}\n");
  const auto& pm = agent_.policyMap();
  EXPECT_EQ(log_, (Log{"pm routeMap R1", "pm routeMap R2", "pm dynamicPrefixList D"}));
  EXPECT_EQ(pm->routeMap("R1")->reason(),
            (std::set<RoutingPolicyMap::Requester>{ribpolicy::externalReason()}));
  EXPECT_EQ(ribpolicy::externalReason(),
            (RoutingPolicyMap::Requester{0, 0, "external", "scenario"}));
  const RoutingPolicyMap::Requester other{1, 6, "sub-route-map", "X seqNo 10"};
  pm->routeMap("R2")->reasonIs(other, true);
  RequesterWatch r1(log_, "R1", pm->routeMap("R1"));
  RequesterWatch r2(log_, "R2", pm->routeMap("R2"));
  RequesterWatch d(log_, "D", pm->dynamicPrefixList("D"));
  log_.clear();
  step("      policy-map: {route-maps: [R2, R3]}\n");
  EXPECT_EQ(log_, (Log{"R1 reason external", "pm routeMap R1", "D reason external",
                       "pm dynamicPrefixList D", "pm routeMap R3"}));
  EXPECT_FALSE(pm->routeMap("R1"));
  EXPECT_FALSE(pm->dynamicPrefixList("D"));
  log_.clear();
  step("      policy-map: {route-maps: [R3]}\n");
  EXPECT_EQ(log_, (Log{"R2 reason external"}));
  ASSERT_TRUE(pm->routeMap("R2"));
  EXPECT_EQ(pm->routeMap("R2")->reason(), (std::set<RoutingPolicyMap::Requester>{other}));
}

// The first step fills the entities before the root exists; the root then gets the VRF name
// and every listed input.
TEST(AgentStartTest, EntitiesFilledBeforeRoot) {
  ribpolicy::LibraryRootGuard keepRoot;
  Agent agent("blue");
  Log log;
  std::vector<bool> startedAtNotification;
  struct StartProbe : Watcher<Routing::RouteMap::Config> {
    StartProbe(Log& l, const Vox::Ptr<Routing::RouteMap::Config const>& c, Agent& a,
               std::vector<bool>& seen)
        : Watcher(l, "rm", c), agent(a), seen(seen) {}
    void onRouteMap(const std::string&) override { seen.push_back(agent.started()); }
    Agent& agent;
    std::vector<bool>& seen;
  } probe(log, agent.routeMapConfig(), agent, startedAtNotification);
  Rib::Recorder recorder;
  Rib::ScopedSink sink(&recorder);
  agent.applyStep(configOf("      route-maps: {RM: [{seq: 1, action: permit}]}\n"),
                  InputSet::all());
  EXPECT_EQ(startedAtNotification, (std::vector<bool>{false}));
  ASSERT_TRUE(agent.root());
  EXPECT_EQ(agent.root()->vrfName(), L3::VrfName("blue"));
  EXPECT_EQ(agent.root()->routeMapConfig(), RibRouteMap::RouteMapConfigPtr(agent.routeMapConfig()));
  EXPECT_EQ(agent.root()->policyMap(), agent.policyMap());
  EXPECT_EQ(RibRouteMap::rmRoot, agent.root());
  EXPECT_FALSE(recorder.entries().empty()) << "the library started on the filled configuration";
  agent.teardown();
}

// A step with the same configuration and inputs as before changes nothing: no entity
// notification and no engine operation.
TEST(AgentStepTest, UnchangedStepSendsNothing) {
  ribpolicy::LibraryRootGuard keepRoot;
  const std::string yaml =
      "      prefix-lists: {P: [{seq: 1, action: permit, prefix: 10.0.0.0/8}]}\n"
      "      community-lists: {C: [{seq: 1, action: permit, type: standard, communities: [1]}]}\n"
      "      access-lists: {A: [{seq: 1, action: permit, source: 10.0.0.0/8}]}\n"
      "      dynamic-prefix-lists: {D: {match-map: RM}}\n"
      "      route-maps: {RM: [{seq: 1, action: permit, match: [{option: prefix-list, value: P}],"
      " set: {community: {lists: [C]}}}]}\n"
      "      peer-filters: {F: [{seq: 1, action: deny}]}\n"
      "      policy-map: {route-maps: [RM], dynamic-prefix-lists: [D]}\n";
  Rib::Recorder recorder;
  Rib::ScopedSink sink(&recorder);
  Agent agent("default");
  agent.applyStep(configOf(yaml), InputSet::all());
  Log log;
  AclListWatch acl(log, "acl-list", agent.aclListConfig());
  RouteMapConfigWatch rm(log, "rm", agent.routeMapConfig());
  MapWatch map(log, "RM", agent.routeMapConfig()->routeMap("RM"));
  PolicyMapWatch pm(log, "pm", agent.policyMap());
  RootWatch root(log, "root", agent.root());
  recorder.clear();
  agent.applyStep(configOf(yaml), InputSet::all());
  EXPECT_TRUE(log.empty());
  EXPECT_TRUE(recorder.entries().empty());
  agent.teardown();
}

// An input left out is cleared after the step's changes; listing it again attaches the same
// entity again and the library sends its configuration anew.
TEST(AgentStepTest, InputsDetachAndReattach) {
  ribpolicy::LibraryRootGuard keepRoot;
  const std::string yaml = "      route-maps: {RM: [{seq: 1, action: permit}]}\n";
  Rib::Recorder recorder;
  Rib::ScopedSink sink(&recorder);
  Agent agent("default");
  agent.applyStep(configOf(yaml), InputSet::all());
  InputSet withoutRouteMaps = InputSet::all();
  withoutRouteMaps.set(ribpolicy::Input::routeMapConfig, false);
  Log log;
  RootWatch root(log, "root", agent.root());
  agent.applyStep(configOf(yaml), withoutRouteMaps);
  EXPECT_EQ(log, (Log{"root routeMapConfig"}));
  EXPECT_FALSE(agent.root()->routeMapConfig());
  EXPECT_FALSE(agent.root()->vrfStatusSm());
  recorder.clear();
  agent.applyStep(configOf(yaml), InputSet::all());
  EXPECT_EQ(agent.root()->routeMapConfig(), RibRouteMap::RouteMapConfigPtr(agent.routeMapConfig()));
  EXPECT_TRUE(agent.root()->vrfStatusSm());
  bool resent = false;
  for (const auto& op : recorder.ops()) resent = resent || op.name == "routeMapSeq";
  EXPECT_TRUE(resent);
  agent.teardown();
}

// A fresh start beside a running agent gives the library-wide root back to the running one,
// and agrees with it when both hold the same configuration.
TEST(FreshStartTest, RestoresRootAndAgrees) {
  ribpolicy::LibraryRootGuard keepRoot;
  const auto config = configOf(
      "      route-maps: {RM: [{seq: 1, action: permit, set: {origin: 2}}]}\n"
      "      policy-map: {route-maps: [RM]}\n");
  Rib::EngineModel model;
  Rib::ScopedSink sink(&model);
  Agent agent("default");
  agent.applyStep(config, InputSet::all());
  ASSERT_TRUE(model.committed().meaningful());
  EXPECT_TRUE(
      ribpolicy::compareWithFreshStart("default", config, model.committed(), *agent.policyMap())
          .empty());
  EXPECT_EQ(RibRouteMap::rmRoot, agent.root());
  agent.teardown();
}

// A state that misses what a fresh start sends is reported, engine and policy map alike.
TEST(FreshStartTest, ReportsDifferences) {
  ribpolicy::LibraryRootGuard keepRoot;
  const auto config = configOf(
      "      route-maps: {RM: [{seq: 1, action: permit}]}\n"
      "      policy-map: {route-maps: [RM]}\n");
  // A state that holds another route map where the fresh start has RM.
  Rib::EngineModel::Node stale;
  stale.children[{512, Rib::PathEntry::Kind::none, 0, {}}]
      .children[{576, Rib::PathEntry::Kind::string, 0, "OLD"}]
      .values[0] = std::string("OLD");
  RoutingPolicyMap::PolicyMap emptyMap;
  const auto diffs = ribpolicy::compareWithFreshStart("default", config, stale, emptyMap);
  auto has = [&](const std::string& line) {
    return std::find(diffs.begin(), diffs.end(), line) != diffs.end();
  };
  EXPECT_TRUE(has("only in right: 512/576=\"RM\"")) << ::testing::PrintToString(diffs);
  EXPECT_TRUE(has("only in left: 512/576=\"OLD\""));
  EXPECT_TRUE(has("policy-map route-maps \"RM\": absent vs [[0,0,\"external\",\"scenario\"]]"));
}

}  // namespace
