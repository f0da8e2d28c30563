#include "RibRouteMap/routemap/MioRouteMap.h"

#include <map>

#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "framework/vox/Assert.h"

namespace RibRouteMap {

namespace {

RibPath routeMapPath(const MioChannel& mio, const Vox::String& name) {
  RibPath path = mio.ribPathIs(Tag::policyRoot);
  path->doPushString(Tag::routeMap, name);
  return path;
}

// Some configured actions are signed 64-bit while the engine's integer actions are 32 bits
// wide: a negative value is sent as 0, any other as its low 32 bits.
U32 clampAction(S64 value) {
  return value < 0 ? 0 : static_cast<U32>(value);
}

[[noreturn]] void invalidSetClause() {
  Vox::assertionFailed("0");
}

// The whole channel that this part belongs to: a map's insertion takes the match, set and
// community commands as well.
const Mio& channelOf(const MioRouteMap& part) {
  return static_cast<const Mio&>(part);
}

}  // namespace

void MioRouteMap::doDeleteRouteMap(const String& name) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doDeleteRouteMap(Vox::String)"
                             << ": map=" << name);
  ribExecute("deleteRouteMap", routeMapPath(*this, name), nullptr, true);
}

void MioRouteMap::doDeleteMapSequence(const String& name, U32 seqno) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doDeleteMapSequence(Vox::String, U32)"
                             << "(" << name << "," << seqno << ")");
  // Same operation as a whole map: the longer path is what limits it to one sequence.
  ribExecute("deleteRouteMap", ribMapSeqPathIs(name, seqno), nullptr, true);
}

void MioRouteMap::doAddMapSequence(const String& name, Acl::MatchPermit permit, U32 seqno) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMapSequence(Vox::String, Acl::MatchPermit, "
           "U32)"
               << name << "," << permit << "," << seqno);
  // The map node is asserted with every sequence, so a sequence never arrives before its map.
  RibValue mapValues = ribValueIs();
  mapValues->doPushString(Tag::RouteMapValue::name, name);
  ribExecute("routeMap", routeMapPath(*this, name), mapValues);

  RibValue seqValues = ribValueIs();
  seqValues->doPushU32(Tag::RouteMapValue::seqno, seqno);
  seqValues->doPushFlag(Tag::RouteMapValue::permit, permit == Acl::permit);
  ribExecute("routeMapSeq", ribMapSeqPathIs(name, seqno), seqValues);
}

void MioRouteMap::doAddSubRouteMap(const String& name, U32 seqno, const String& subRm) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doAddSubRouteMap(Vox::String, U32, Vox::String)"
                             << name << ", " << seqno << ", " << subRm << " ) ");
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushString(Tag::subRouteMap, subRm);
  RibValue v = ribValueIs();
  v->doPushString(Tag::RouteMapValue::subRouteMap, subRm);
  ribExecute("subRouteMap", path, v);
}

void MioRouteMap::doInsertRouteMap(const Vox::Ptr<Routing::RouteMap::Map const>& map,
                                   const String& name) const {
  const Mio& mio = channelOf(*this);
  using namespace Routing::RouteMap;
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doInsertRouteMap(const PtrConst&, Vox::String)"
                             << ": map=" << name);
  for (const auto& [seqno, entryPtr] : Vox::validPtr(map)->mapEntry()) {
    const MapEntry& entry = *Vox::validPtr(entryPtr);
    mio.doAddMapSequence(name, entry.permit(), seqno);
    for (const auto& [option, rule] : entry.matchRule()) mio.doAddMatchRule(name, seqno, rule);
    if (!entry.subRouteMap().empty()) mio.doAddSubRouteMap(name, seqno, entry.subRouteMap());

    // The set clauses go in one fixed order, not in bit order, so that the same entry always
    // produces the same stream.
    const SetClauses& set = entry.setClauses();
    if (set.has(setAsPathPrepend)) {
      doSetAsPathPrepend_(vrfName(), name, seqno, set.asPathPrepend,
                          static_cast<U32>(set.asPathPrepend.size()));
    }
    if (set.has(setAsPathPrependLastAs)) {
      mio.doSetIntValue(name, seqno, SetAction::asPathPrependLastAs, set.asPathPrependLastAs);
    }
    if (set.has(setAsPathReplace)) {
      doSetAsPathReplace_(vrfName(), name, seqno, set.asPathReplace,
                          static_cast<U32>(set.asPathReplace.size()));
    }
    if (set.has(setNextHop) || set.has(setIpv6NextHop)) {
      // One next hop per sequence: the IPv6 one wins when both are configured.
      mio.doSetNextHop(name, seqno, set.nextHop, set.ipv6NextHop, set.has(setIpv6NextHop));
    }
    if (set.has(setAction19)) {
      mio.doSetIntValue(name, seqno, SetAction::action19, clampAction(set.action19));
    }
    if (set.has(setAction26)) {
      mio.doSetIntValue(name, seqno, SetAction::action26, clampAction(set.action26));
    }
    if (set.has(setOrigin)) {
      if (set.origin < 1 || set.origin > 3) {
        RM_TRACE(traceError, "doInsertRouteMap invalid origin " << set.origin);
        invalidSetClause();
      }
      mio.doSetU8Value(name, seqno, SetAction::origin, static_cast<U8>(set.origin));
    }
    if (set.has(setMetric)) mio.doSetMetric(name, seqno, clampAction(set.metric), set.medType);
    if (set.has(setOspfMetricType)) {
      switch (set.ospfMetricType) {
        case 1:
          mio.doSetIntValue(name, seqno, SetAction::ospfMetricType, 3);
          break;
        case 2:
          mio.doSetIntValue(name, seqno, SetAction::ospfMetricType, 4);
          break;
        default:
          RM_TRACE(traceError, "doInsertRouteMap invalid metric type: " << set.ospfMetricType);
          invalidSetClause();
      }
    }
    if (set.has(setIsisLevel)) {
      if (set.isisLevel > 2) {
        RM_TRACE(traceError, "doInsertRouteMap invalid level: " << set.isisLevel);
        invalidSetClause();
      }
      mio.doSetIntValue(name, seqno, SetAction::isisLevel, set.isisLevel);
    }
    if (set.has(setAction2)) mio.doSetIntValue(name, seqno, SetAction::action2, set.action2);
    if (set.has(setCommunityAddReplace)) {
      const MioCommunity::CommunitySetPtr& comm = Vox::validPtr(set.communityAddReplace);
      VOX_ASSERT_MSG(comm->flag != Acl::commSetDelete_,
                     "entryPtr->communityAddReplace()->flag() != Acl::commSetDelete_");
      mio.addRmClauseToCommListUsers(name, seqno, comm);
      mio.doSetCommunity(name, seqno, comm);
    }
    if (set.has(setCommunityDelete)) {
      const MioCommunity::CommunitySetPtr& comm = Vox::validPtr(set.communityDelete);
      VOX_ASSERT_MSG(comm->flag == Acl::commSetDelete_,
                     "entryPtr->communityDelete()->flag() == Acl::commSetDelete_");
      mio.addRmClauseToCommListUsers(name, seqno, comm);
      mio.doSetCommunity(name, seqno, comm);
    }
    if (set.has(setExtCommunity)) {
      mio.doSetExtCommunity(name, seqno, set.extCommunity);
      mio.doSetExtCommunityLbwOpts(name, seqno, set.extCommLbwFlag, set.extCommLbwBandwidth);
    }
    if (set.has(setLargeCommunity)) mio.doSetLargeCommunity(name, seqno, set.largeCommunity);
    if (set.has(setAction3)) {
      mio.doSetIntValue(name, seqno, SetAction::action3, clampAction(set.action3));
    }
    if (set.has(setAction25)) mio.doSetIntValue(name, seqno, SetAction::action25, set.action25);
    if (set.has(setNextHopPeerAddr)) {
      mio.doSetNextHopPeerAddr(name, seqno, SetAction::nextHopPeerAddr, set.nextHopPeerAddr);
    }
    if (set.has(setIpv6NextHopPeerAddr)) {
      mio.doSetNextHopPeerAddr(name, seqno, SetAction::ipv6NextHopPeerAddr,
                               set.ipv6NextHopPeerAddr);
    }
    if (set.has(setNextHopUnchanged)) {
      mio.doSetNextHopUnchanged(name, seqno, SetAction::nextHopUnchanged, set.nextHopUnchanged);
    }
    if (set.has(setIpv6NextHopUnchanged)) {
      mio.doSetNextHopUnchanged(name, seqno, SetAction::ipv6NextHopUnchanged,
                                set.ipv6NextHopUnchanged);
    }
    if (set.has(setAction35)) {
      mio.doSetIntValue(name, seqno, SetAction::action35, clampAction(set.action35));
    }
  }
}

void MioRouteMap::doRouteMapOpConfig(Routing::RouteMap::RouteMapOpModeType mode) const {
  RM_TRACE(traceHandler,
           "void RibRouteMap::Mio::doRouteMapOpConfig("
           "Routing::RouteMap::RouteMapOpModeType)"
               << " vrf: " << vrfName() << " config: " << mode);
  // The global options node is addressed directly: no VRF trace and no root check.
  RibPath path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(Tag::globalPolicy);
  RibOp op = ribOpIs("RouteMapSetOpMode", path);
  op->doSetU32(Tag::scalarRouteMapOpMode, mode, 0);
  op->doExecute();
}

}  // namespace RibRouteMap
