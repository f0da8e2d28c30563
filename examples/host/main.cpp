// A host agent in miniature: it owns the configuration entities, starts the library on them
// for one VRF, changes a route map and prints what the routing engine received.
#include <iostream>

#include "RibRouteMap/root/Root.h"
#include "framework/rib/MioSink.h"

int main() {
  // The engine side. A real host installs its own MioSink here; the recorder keeps every
  // operation and commit in order.
  Rib::Recorder engine;
  Rib::ScopedSink sink(&engine);

  // The configuration the host keeps; the library only watches it.
  auto routeMaps = Vox::make<Routing::RouteMap::Config>();
  auto peerFilters = Vox::make<Routing::RouteMap::PeerFilterConfig>();
  auto prefixLists = Vox::make<Acl::AclListConfig>();
  auto accessLists = Vox::make<Acl::Config>();
  accessLists->configIs(Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp));
  auto dynamicPrefixLists = Vox::make<Routing::DynamicPrefixList::Config>();
  auto policyMap = Vox::make<RoutingPolicyMap::PolicyMap>();

  // The VRF name first, then the inputs: the last one builds the VRF state, which sends the
  // whole configuration.
  Vox::Ptr<RibRouteMap::Root> root = RibRouteMap::rootFactory("host");
  root->vrfNameIs(L3::VrfName("default"));
  root->routeMapConfigIs(routeMaps);
  root->peerFilterConfigIs(peerFilters);
  root->aclListConfigIs(prefixLists);
  root->aclConfigIs(accessLists);
  root->dynPfxListConfigIs(dynamicPrefixLists);
  root->policyMapIs(policyMap);
  std::cout << "start-up: " << engine.entries().size() << " operations and commits\n";
  engine.clear();

  // A route map that the rest of the host refers to, added empty, given a sequence, then
  // versioned: the version is what makes the library send it.
  policyMap->routeMapIs("HOST-RM")->reasonIs({0, 0, "host", "example"}, true);
  auto map = Vox::make<Routing::RouteMap::Map>("HOST-RM");
  routeMaps->routeMapIs(map);
  auto entry = Vox::make<Routing::RouteMap::MapEntry>(10);
  entry->permitIs(Acl::deny);
  map->mapEntryIs(entry);
  map->versionIs(map->version() + 1);
  for (const std::string& line : engine.lines()) std::cout << line << '\n';

  // Clearing one input tears the VRF state down while the sink is still there; the library
  // also holds the root as rmRoot, which the host lets go of last.
  root->routeMapConfigIs(nullptr);
  root = nullptr;
  RibRouteMap::rmRoot = nullptr;
  return 0;
}
