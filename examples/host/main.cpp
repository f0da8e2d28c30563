// A host agent in miniature: it owns the configuration entities, starts the library on them
// for one VRF, changes a route map and prints, by name, what the routing engine received.
#include <iostream>

#include "RibRouteMap/Host.h"
#include "RibText/Text.h"

int main() {
  // The engine side. A real host installs its own Rib::MioSink here; the recorder keeps every
  // operation and commit in order.
  Rib::Recorder engine;
  Rib::ScopedSink sink(&engine);

  // The configuration the host keeps; the library only watches it.
  auto routeMaps = Vox::make<Routing::RouteMap::Config>();
  auto accessLists = Vox::make<Acl::Config>();
  accessLists->configIs(Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp));
  auto policyMap = Vox::make<RoutingPolicyMap::PolicyMap>();
  const RibRouteMap::VrfInputs inputs{routeMaps,
                                      Vox::make<Routing::RouteMap::PeerFilterConfig>(),
                                      Vox::make<Acl::AclListConfig>(),
                                      accessLists,
                                      Vox::make<Routing::DynamicPrefixList::Config>(),
                                      policyMap};

  // The VRF name first, then the inputs in one call, which builds the VRF state: its start-up
  // sends the whole configuration.
  Vox::Ptr<RibRouteMap::Root> root = RibRouteMap::rootFactory("host");
  root->vrfNameIs("default");
  root->inputsIs(inputs);
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
  for (const Rib::Recorder::Entry& e : engine.entries()) {
    std::cout << (e.isCommit ? std::string("commit") : RibText::readableOp(e.op)) << '\n';
  }

  // Clearing the inputs tears the VRF state down while the sink is still there; the library
  // also holds the root as rmRoot, which the host lets go of last.
  root->inputsIs({});
  root = nullptr;
  RibRouteMap::rmRoot = nullptr;
  return 0;
}
