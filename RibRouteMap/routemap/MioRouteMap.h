// The route-map commands of the command channel: route maps, their sequences and
// sub-route-maps, the whole insertion of a map and the VRF's route-map operation mode.
//
// A map is always written whole: its caller deletes it, commits, sends it again with
// doInsertRouteMap and commits. None of these commands commits.
#pragma once

#include "RibRouteMap/mio/MioChannel.h"
#include "framework/config/AclTypes.h"
#include "framework/config/RouteMapConfig.h"

namespace RibRouteMap {

class MioRouteMap : public virtual MioChannel {
 public:
  void doDeleteRouteMap(const String& name) const;
  void doDeleteMapSequence(const String& name, U32 seqno) const;
  void doAddMapSequence(const String& name, Acl::MatchPermit permit, U32 seqno) const;
  void doAddSubRouteMap(const String& name, U32 seqno, const String& subRm) const;
  // Sends the whole map `map` under the engine name `name`, sequence by sequence: each
  // sequence's match rules, sub-route-map and set clauses, with the community clauses and
  // their community-list users.
  void doInsertRouteMap(const Vox::Ptr<Routing::RouteMap::Map const>& map,
                        const String& name) const;
  // The mode, as a scalar of the VRF's global policy node.
  void doRouteMapOpConfig(Routing::RouteMap::RouteMapOpModeType mode) const;

 protected:
  MioRouteMap() = default;
};

}  // namespace RibRouteMap
