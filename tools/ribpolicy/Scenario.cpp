#include "tools/ribpolicy/Scenario.h"

namespace ribpolicy {

bool MapEntryDef::sameAs(const MapEntryDef& o) const {
  if (permit != o.permit || match != o.match || subRouteMap != o.subRouteMap) return false;
  for (Routing::RouteMap::SetFlagBit bit : Routing::RouteMap::SetClauses::allBits()) {
    if (!set.sameClause(bit, o.set)) return false;
  }
  return true;
}

}  // namespace ribpolicy
