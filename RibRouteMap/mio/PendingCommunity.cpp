// Stand-ins for the community commands that the route-map commands call, so that the
// route-map commands link before the community commands exist. Remove this file when the
// community commands arrive: a static library would otherwise be free to keep these weak
// stand-ins instead of the real definitions. Reaching one of them is a fault.
#include "RibRouteMap/mio/Mio.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

__attribute__((weak)) void Mio::doAddMatchCommunity(const String&, U32,
                                                    const Routing::RouteMap::CommListSet&, bool,
                                                    bool, Acl::CommunityType) const {
  Vox::fatal("not linked");
}

__attribute__((weak)) void Mio::doSetCommunity(const String&, U32, const CommunitySetPtr&) const {
  Vox::fatal("not linked");
}

__attribute__((weak)) void Mio::doSetExtCommunity(const String&, U32,
                                                  const CommunitySetPtr&) const {
  Vox::fatal("not linked");
}

__attribute__((weak)) void Mio::doSetLargeCommunity(const String&, U32,
                                                    const CommunitySetPtr&) const {
  Vox::fatal("not linked");
}

__attribute__((weak)) void Mio::doSetExtCommunityLbwOpts(const String&, U32,
                                                         Acl::ExtCommLinkBandwidthSetFlag,
                                                         float) const {
  Vox::fatal("not linked");
}

__attribute__((weak)) void Mio::addRmClauseToCommListUsers(const String&, U32,
                                                           const CommunitySetPtr&) const {
  Vox::fatal("not linked");
}

}  // namespace RibRouteMap
