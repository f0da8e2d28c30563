// What the library's benchmarks share: a root for one VRF and every input it starts on.
#pragma once

#include "RibRouteMap/Host.h"

namespace bench {

// Every input of a VRF, each the entity given or a new empty one, so that a benchmark cannot
// leave one out and measure a library that never starts.
inline RibRouteMap::VrfInputs vrfInputs(
    Vox::Ptr<Routing::RouteMap::Config> routeMaps = nullptr,
    Vox::Ptr<Acl::AclListConfig> filterLists = nullptr,
    Vox::Ptr<Routing::DynamicPrefixList::Config> dynamicPrefixLists = nullptr,
    Vox::Ptr<RoutingPolicyMap::PolicyMap> policyMap = nullptr) {
  const auto orNew = [](auto entity) {
    using Entity = typename decltype(entity)::element_type;
    return entity ? entity : Vox::make<Entity>();
  };
  return {orNew(std::move(routeMaps)),          Vox::make<Routing::RouteMap::PeerFilterConfig>(),
          orNew(std::move(filterLists)),        Vox::make<Acl::Config>(),
          orNew(std::move(dynamicPrefixLists)), orNew(std::move(policyMap))};
}

// A new root for the VRF "default", with no input yet.
inline Vox::Ptr<RibRouteMap::Root> makeRoot() {
  auto root = RibRouteMap::rootFactory("bench");
  root->vrfNameIs("default");
  return root;
}

// Tears the VRF state down and lets the root go, the library-wide pointer too.
inline void dropRoot(Vox::Ptr<RibRouteMap::Root>& root) {
  if (root) root->inputsIs({});
  root = nullptr;
  RibRouteMap::rmRoot = nullptr;
}

}  // namespace bench
