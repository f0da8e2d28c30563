#include "tools/ribpolicy/Scenario.h"

namespace ribpolicy {

const char* inputName(Input input) {
  switch (input) {
    case Input::routeMapConfig:
      return "route-map-config";
    case Input::peerFilterConfig:
      return "peer-filter-config";
    case Input::aclListConfig:
      return "acl-list-config";
    case Input::aclConfig:
      return "acl-config";
    case Input::dynPfxListConfig:
      return "dynamic-prefix-list-config";
    case Input::policyMap:
      return "policy-map";
  }
  return "?";
}

bool MapEntryDef::sameAs(const MapEntryDef& o) const {
  if (permit != o.permit || match != o.match || subRouteMap != o.subRouteMap) return false;
  for (Routing::RouteMap::SetFlagBit bit : Routing::RouteMap::SetClauses::allBits()) {
    if (!set.sameClause(bit, o.set)) return false;
  }
  return true;
}

}  // namespace ribpolicy
