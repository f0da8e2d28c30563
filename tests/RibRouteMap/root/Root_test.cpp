#include "RibRouteMap/root/Root.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RibRouteMap/mio/Mio.h"
#include "tests/support/Agent.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::Agent;

const std::vector<std::string> kStartUp = testing_support::emptyStartUp();

// Records the root's notifications and what the VRF state was when each arrived.
struct RootWatcher : RibRouteMap::Root::Notifiee {
  std::vector<std::string> seen;
  void note(const char* what) {
    seen.push_back(std::string(what) + (notifier()->vrfStatusSm() ? " built" : " none"));
  }
  void onVrfName() override { note("vrfName"); }
  void onRouteMapConfig() override { note("routeMapConfig"); }
  void onPolicyMap() override { note("policyMap"); }
};

class RootTest : public testing::Test {
 protected:
  void TearDown() override { RibRouteMap::rmRoot = nullptr; }
};

// The root's start-up makes the tracking entity, marks itself initialized and becomes rmRoot.
TEST_F(RootTest, FactoryStartsTheRoot) {
  auto root = RibRouteMap::rootFactory("r1");
  EXPECT_TRUE(root->initialized());
  ASSERT_TRUE(root->commListUsers());
  EXPECT_EQ(root->commListUsers()->name(), "comm-list-users");
  EXPECT_EQ(RibRouteMap::rmRoot, root);
  EXPECT_FALSE(root->vrfStatusSm());
}

// A second root replaces the first as the library-wide root.
TEST_F(RootTest, SecondRootReplacesFirst) {
  auto first = RibRouteMap::rootFactory("r1");
  auto second = RibRouteMap::rootFactory("r2");
  EXPECT_EQ(RibRouteMap::rmRoot, second);
  EXPECT_NE(RibRouteMap::rmRoot, first);
}

// Partial inputs build nothing and send nothing; the last input builds the VRF state at once.
TEST_F(RootTest, LastInputBuildsVrfState) {
  Agent agent("default", /*attach=*/false);
  auto& root = *agent.root;
  root.routeMapConfigIs(agent.routeMapConfig);
  root.peerFilterConfigIs(agent.peerFilterConfig);
  root.aclListConfigIs(agent.aclListConfig);
  root.aclConfigIs(agent.aclConfig);
  root.dynPfxListConfigIs(agent.dplConfig);
  EXPECT_FALSE(root.vrfStatusSm());
  EXPECT_THAT(agent.take(), IsEmpty());
  root.policyMapIs(agent.policyMap);
  ASSERT_TRUE(root.vrfStatusSm());
  EXPECT_TRUE(root.vrfStatusSm()->initialized());
  EXPECT_EQ(agent.take(), kStartUp);
}

// Clearing any one input deletes the VRF state; setting it again rebuilds it and re-sends.
TEST_F(RootTest, ClearingAnInputDeletesVrfState) {
  Agent agent;
  agent.take();
  agent.root->aclConfigIs(nullptr);
  EXPECT_FALSE(agent.root->vrfStatusSm());
  agent.root->aclConfigIs(agent.aclConfig);
  EXPECT_TRUE(agent.root->vrfStatusSm());
  EXPECT_EQ(agent.take(), kStartUp);
}

// A setter stores and builds before it notifies; an unchanged value notifies nobody.
TEST_F(RootTest, SettersNotifyAfterBuildingAndOnlyOnChange) {
  Agent agent("default", /*attach=*/false);
  RootWatcher watcher;
  watcher.notifierIs(agent.root);
  agent.attachAll();
  agent.root->policyMapIs(agent.policyMap);
  agent.root->vrfNameIs("default");
  agent.root->routeMapConfigIs(nullptr);
  EXPECT_THAT(watcher.seen,
              ElementsAre("routeMapConfig none", "policyMap built", "routeMapConfig none"));
}

// Start-up sends route maps, then peer filters, then filter lists, then access lists.
TEST_F(RootTest, StartUpOrder) {
  Agent agent("default", /*attach=*/false);
  auto map = Vox::make<Routing::RouteMap::Map>("M");
  map->mapEntryIs(testing_support::entry(1));
  agent.routeMapConfig->routeMapIs(map);
  auto filter = Vox::make<Routing::RouteMap::Map>("F");
  filter->mapEntryIs(testing_support::entry(2));
  agent.peerFilterConfig->peerFilterIs(filter);
  auto ip = Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp);
  auto acl = Vox::make<Acl::AclConfig>("L");
  acl->standardIs(true);
  acl->currCfgIs(Vox::make<Acl::RuleSet>());
  ip->aclIs(acl);
  agent.aclConfig->configIs(ip);
  agent.attachAll();
  using testing_support::join;
  EXPECT_EQ(
      agent.take(),
      join({{kStartUp[0], kStartUp[1], R"(deleteRouteMap 512/576="M" del)", "commit",
             R"(routeMap 512/576="M" {0:str="M"})",
             R"(routeMapSeq 512/576="M"/577/578=1 {0:u32=1 1:flag=true})", "commit",
             R"(deleteRouteMap 512/576=".PEER_FILTER.F" del)", "commit",
             R"(routeMap 512/576=".PEER_FILTER.F" {0:str=".PEER_FILTER.F"})",
             R"(routeMapSeq 512/576=".PEER_FILTER.F"/577/578=2 {0:u32=2 1:flag=true})", "commit"},
            testing_support::filterListStartUp(),
            {R"(doDelIpStdAcl 512/602/517="L" del)", "commit"}}));
}

// The same inputs keep the existing VRF state; a different entity replaces it.
TEST_F(RootTest, VrfStatusSmKeptForSameInputs) {
  Agent agent;
  const Vox::Ptr<RibRouteMap::VrfStatusSm> before = agent.root->vrfStatusSm();
  agent.root->vrfStatusSmIs(agent.root->vrfName(), agent.root->inputs());
  EXPECT_EQ(agent.root->vrfStatusSm(), before);
  agent.root->routeMapConfigIs(Vox::make<Routing::RouteMap::Config>());
  EXPECT_FALSE(agent.root->vrfStatusSm() == before);
  EXPECT_TRUE(before->zombie());
}

// The global options and the sync commit, each as its whole stream.
TEST_F(RootTest, GlobalOptionsAndSyncCommit) {
  Rib::Recorder rec;
  Rib::ScopedSink sink(&rec);
  auto mio = RibRouteMap::mioFactory("default");
  mio->doRouteMapOpConfig(3);
  mio->doAsPathRegexMode(0);
  mio->doAsPathRegexMode(1);
  mio->doAsPathRegexMode(7);
  mio->doSyncCommit();
  mio->doCommit();
  EXPECT_THAT(
      rec.lines(),
      ElementsAre("RouteMapSetOpMode 256 scalars{18:u32=3}",
                  "AsPathRegexMode 256 scalars{16:u32=1}", "AsPathRegexMode 256 scalars{16:u32=2}",
                  "AsPathRegexMode 256 scalars{16:u32=1}",
                  "deleteAsPathList 512/534/535=\"/policy/asplist not_a_funny_name\" del",
                  "commit op", "commit"));
}

// A command channel of another VRF than the root's stops at its first path.
TEST_F(RootTest, MioOfAnotherVrfIsFatal) {
  auto root = RibRouteMap::rootFactory("r1");
  root->vrfNameIs("red");
  auto mio = RibRouteMap::mioFactory("blue");
  EXPECT_DEATH(mio->ribPathIs(512), "rmRoot->vrfName\\(\\) == vrfName");
  // The global options node is addressed without that check.
  Rib::Recorder rec;
  Rib::ScopedSink sink(&rec);
  mio->doRouteMapOpConfig(0);
  EXPECT_EQ(rec.lines().size(), 1u);
}

// Sequence and route-map paths differ exactly by the sequence entries.
TEST_F(RootTest, MapAndSequencePaths) {
  auto mio = RibRouteMap::mioFactory("default");
  EXPECT_EQ(Rib::pathText(mio->ribMapSeqPathIs("RM", 10)->entries()), "512/576=\"RM\"/577/578=10");
  EXPECT_EQ(Rib::pathText(mio->ribSetPathIs("RM", 10)->entries()), "512/576=\"RM\"/577/578=10/601");
}

// Prefix-list ids keep the two families apart.
TEST_F(RootTest, PrefixListIds) {
  using F = RibRouteMap::Mio::PrefixListFamily;
  EXPECT_EQ(RibRouteMap::Mio::prefixListId("A", F::ipv4), "A");
  EXPECT_EQ(RibRouteMap::Mio::prefixListId("A", F::ipv6), ".ipv6.A");
  EXPECT_EQ(RibRouteMap::Mio::prefixListFamily("ipv6"), F::ipv6);
  EXPECT_EQ(RibRouteMap::Mio::prefixListFamily(2U), std::nullopt);
  EXPECT_DEATH(RibRouteMap::Mio::prefixListId("A", static_cast<F>(2)), "prefixListId");
}

}  // namespace
