// The route-map library's command channel to the routing engine, one per VRF.
//
// Mio gathers the commands of every kind of policy object, each set declared beside its kind's
// state machine (routemap/MioRouteMap.h, MioMatch.h, MioSet.h, community/MioCommunity.h,
// filterlist/MioPrefixList.h, filterlist/MioAsPath.h, acl/MioAcl.h), over the common part of
// MioChannel.h: a state machine reaches every command through it, and one kind reaches another
// kind's commands only through it. A Mio holds its VRF name and what the root handed it, and
// keeps nothing between commands, so `mioFactory` may be called in every handler.
#pragma once

#include "RibRouteMap/acl/MioAcl.h"
#include "RibRouteMap/community/MioCommunity.h"
#include "RibRouteMap/filterlist/MioAsPath.h"
#include "RibRouteMap/filterlist/MioPrefixList.h"
#include "RibRouteMap/mio/MioChannel.h"
#include "RibRouteMap/routemap/MioMatch.h"
#include "RibRouteMap/routemap/MioRouteMap.h"
#include "RibRouteMap/routemap/MioSet.h"
#include "framework/l3/VrfName.h"

namespace RibRouteMap {

// What a channel takes from the library's root when it is made: whether the root serves another
// VRF (every path of the channel is then refused), and, for the community commands, the root's
// community-list user tracking and its configured filter lists.
struct MioContext {
  bool rootVrfDiffers = false;
  Vox::Ptr<CommListUsers> commListUsers;
  MioCommunity::AclListConfigPtr aclListConfig;
};

class Mio final : public MioRouteMap,
                  public MioMatch,
                  public MioSet,
                  public MioCommunity,
                  public MioPrefixList,
                  public MioAsPath,
                  public MioAcl {
 public:
  explicit Mio(L3::VrfName vrfName, MioContext context = {})
      : MioChannel(std::move(vrfName), context.rootVrfDiffers),
        MioCommunity(std::move(context.commListUsers), std::move(context.aclListConfig)) {}
};

// The VRF's command channel, with what the library-wide root (rmRoot) hands down; without a
// root the channel checks nothing and has no tracking and no configured lists. Defined by the
// root, so that the channel and the kinds never need the root's type. A null allocation is the
// framework's range error.
Vox::Ptr<Mio> mioFactory(const L3::VrfName& vrfName);

}  // namespace RibRouteMap
