// The root's own contract, which the operation streams do not show: what its factory sets up,
// which root the library uses, when its setters notify and when the VRF state is replaced.
#include "RibRouteMap/root/Root.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RibDynamicPrefixList/Mio.h"
#include "RibRouteMap/community/CommListUsers.h"
#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/root/VrfStatusSm.h"
#include "tests/support/Harness.h"

namespace {

// The factory starts the root: the tracking entity made, initialized, the library-wide root;
// a second root replaces the first as the library-wide one.
TEST(RootTest, FactoryStartsTheLibraryWideRoot) {
  ribpolicy::LibraryRootGuard keepRoot;
  auto first = RibRouteMap::rootFactory("r1");
  EXPECT_TRUE(first->initialized());
  ASSERT_TRUE(first->commListUsers());
  EXPECT_EQ(first->commListUsers()->name(), "comm-list-users");
  EXPECT_FALSE(first->vrfStatusSm());
  EXPECT_EQ(RibRouteMap::rmRoot, first);
  auto second = RibRouteMap::rootFactory("r2");
  EXPECT_EQ(RibRouteMap::rmRoot, second);
}

// Records the root's notifications and whether the VRF state existed when each arrived.
struct RootWatcher : RibRouteMap::Root::Notifiee {
  std::vector<std::string> seen;
  void note(const char* what) {
    seen.push_back(std::string(what) + (notifier()->vrfStatusSm() ? " built" : " none"));
  }
  void onVrfName() override { note("vrfName"); }
  void onRouteMapConfig() override { note("routeMapConfig"); }
  void onPolicyMap() override { note("policyMap"); }
};

// A setter stores and builds before it notifies; setting the value in force notifies nobody.
TEST(RootTest, SettersNotifyAfterBuildingAndOnlyOnChange) {
  test_support::LibraryAgent agent;
  auto& root = *agent.agent.root();
  RootWatcher watcher;
  watcher.notifierIs(agent.agent.root());
  root.routeMapConfigIs(nullptr);
  root.routeMapConfigIs(agent.agent.routeMapConfig());
  root.policyMapIs(agent.agent.policyMap());
  root.vrfNameIs("default");
  EXPECT_EQ(watcher.seen,
            (std::vector<std::string>{"routeMapConfig none", "routeMapConfig built"}));
}

// The same inputs keep the VRF state; another entity for an input replaces it, and the old
// state is left a zombie.
TEST(RootTest, VrfStateKeptForSameInputsReplacedForNewOnes) {
  test_support::LibraryAgent library;
  const ribpolicy::Agent& a = library.agent;
  const Vox::Ptr<RibRouteMap::VrfStatusSm> before = a.root()->vrfStatusSm();
  a.root()->vrfStatusSmIs(a.root()->vrfName(), a.root()->inputs());
  EXPECT_EQ(a.root()->vrfStatusSm(), before);
  a.root()->routeMapConfigIs(Vox::make<Routing::RouteMap::Config>());
  EXPECT_NE(a.root()->vrfStatusSm(), before);
  EXPECT_TRUE(before->zombie());
  a.root()->routeMapConfigIs(a.routeMapConfig());
}

// The inputs in one call: the VRF state is built once they are all there, before any input
// notifies; each input that changed notifies once; clearing them all deletes the state.
TEST(RootTest, InputsInOneCallBuildOnceThenNotify) {
  ribpolicy::LibraryRootGuard keepRoot;
  Rib::DiscardingSink engine;
  Rib::ScopedSink sink(&engine);
  const RibRouteMap::VrfInputs inputs{Vox::make<Routing::RouteMap::Config>(),
                                      Vox::make<Routing::RouteMap::PeerFilterConfig>(),
                                      Vox::make<Acl::AclListConfig>(),
                                      Vox::make<Acl::Config>(),
                                      Vox::make<Routing::DynamicPrefixList::Config>(),
                                      Vox::make<RoutingPolicyMap::PolicyMap>()};
  auto root = RibRouteMap::rootFactory("r");
  RootWatcher watcher;
  watcher.notifierIs(root);
  RibRouteMap::VrfInputs partial = inputs;
  partial.policyMap = nullptr;
  root->inputsIs(partial);
  EXPECT_FALSE(root->vrfStatusSm());
  root->inputsIs(inputs);
  ASSERT_TRUE(root->vrfStatusSm());
  const Vox::Ptr<RibRouteMap::VrfStatusSm> built = root->vrfStatusSm();
  root->inputsIs(inputs);
  EXPECT_EQ(root->vrfStatusSm(), built);
  root->inputsIs({});
  EXPECT_FALSE(root->vrfStatusSm());
  EXPECT_EQ(watcher.seen, (std::vector<std::string>{"routeMapConfig none", "policyMap built",
                                                    "routeMapConfig none", "policyMap none"}));
}

// With no sink installed, every operation of either channel is dropped and traced at level 1.
TEST(RootTest, OperationsWithoutSinkAreTracedAtLevelOne) {
  ribpolicy::LibraryRootGuard keepRoot;
  RibRouteMap::rmRoot = nullptr;
  Rib::ScopedSink none(nullptr);
  test_support::TraceCapture trace(1);  // both handles write to its stream
  Vox::traceLevelIs("RibDynamicPrefixList", 1);
  RibRouteMap::mioFactory("default")->doDeleteRouteMap("RM");
  RibDynamicPrefixList::mioFactory()->doDelDynamicPrefixList("D");
  Vox::traceLevelIs("RibDynamicPrefixList", -1);
  EXPECT_EQ(trace.lines(),
            (std::vector<std::string>{"Mio: no sink installed, operation dropped: deleteRouteMap",
                                      "Mio: no sink installed, operation dropped: "
                                      "delDynamicPrefixList"}));
}

}  // namespace
