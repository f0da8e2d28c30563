#include "RibRouteMap/routemap/MioMatch.h"

#include <iterator>
#include <string_view>

#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "RibRouteMap/routemap/RibRouteMapUtil.h"
#include "framework/vox/Assert.h"

namespace RibRouteMap {

namespace {

// The kinds of list a list match names (value tag 8).
constexpr U8 ipv4PrefixListKind = 1;
constexpr U8 accessListKind = 2;
constexpr U8 ipv6PrefixListKind = 6;

// A fresh value list that starts with the negation flag when the match is inverted.
RibValue matchValues(const MioChannel& mio, bool invert) {
  RibValue v = mio.ribValueIs();
  if (invert) v->doPushFlag(Tag::MatchValue::invert, true);
  return v;
}

Mio::PrefixListFamily familyOf(bool isIpv6) {
  return isIpv6 ? Mio::PrefixListFamily::ipv6 : Mio::PrefixListFamily::ipv4;
}

// The three prefix-list matches differ only in their node and operation name.
void addPrefixListMatch(const MioChannel& mio, std::string_view opName, U32 nodeTag,
                        const Vox::String& name, U32 seqno, const Vox::String& list, bool invert,
                        bool isIpv6) {
  const Vox::String id = Mio::prefixListId(list, familyOf(isIpv6));
  RibPath path = mio.ribMapSeqPathIs(name, seqno);
  path->doPushString(nodeTag, id);
  RibValue v = matchValues(mio, invert);
  v->doPushU8(Tag::MatchValue::listKind, isIpv6 ? ipv6PrefixListKind : ipv4PrefixListKind);
  v->doPushString(Tag::MatchValue::listName, id);
  mio.ribExecute(opName, path, v);
}

// The list nodes of interface, gateway and next-hop matches hold the negation; their entries
// are added one per command below the node. A plain match leaves the node's flag unset.
void addListNodeInvert(const MioChannel& mio, std::string_view opName, U32 nodeTag,
                       const Vox::String& name, U32 seqno, bool invert) {
  if (!invert) return;
  RibPath path = mio.ribMapSeqPathIs(name, seqno);
  path->doPushPath(nodeTag);
  RibValue v = mio.ribValueIs();
  v->doPushFlag(Tag::MatchValue::invert, true);
  mio.ribExecute(opName, path, v);
}

}  // namespace

void MioMatch::doAddMatchRule(const String& mapName, U32 seqno,
                              const Routing::RouteMap::MatchRule& rule) const {
  using namespace Routing::RouteMap;
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchRule(Vox::String, U32, "
           "const Routing::RouteMap::MatchRule&)"
               << " rmName: " << mapName << " seqno: " << seqno << " option: " << rule.option
               << " invert: " << rule.invert);
  // Community matches are commands of the community part of the channel.
  const Mio& mio = static_cast<const Mio&>(*this);
  const MatchOption option = rule.option;
  const String& str = rule.stringValue;
  const bool invert = rule.invert;
  U32 pathTag = 0;
  U32 valueTag = 0;
  // Options with a command of their own come before the tables, so that a community option
  // listed in the string table still goes through the community command.
  if (option == matchGateway) {
    doAddMatchGateway(mapName, seqno, rule.ipAddr, invert);
  } else if (option == matchNextHop || option == matchIpv6NextHop) {
    doAddMatchNextHop(mapName, seqno, rule.ipAddr, rule.ip6Addr, option == matchIpv6NextHop,
                      invert);
  } else if (option == matchAccessList) {
    doAddMatchAccessList(mapName, seqno, str, invert);
  } else if (option == matchPrefixList || option == matchIpv6PrefixList) {
    doAddMatchPrefixList(mapName, seqno, str, invert, option == matchIpv6PrefixList);
  } else if (option == matchNextHopPrefixList || option == matchIpv6NextHopPrefixList) {
    doAddMatchNextHopPrefixList(mapName, seqno, str, invert, option == matchIpv6NextHopPrefixList);
  } else if (option == matchResolvedNextHopPrefixList ||
             option == matchIpv6ResolvedNextHopPrefixList) {
    doAddMatchResolvedNextHopPrefixList(mapName, seqno, str, invert,
                                        option == matchIpv6ResolvedNextHopPrefixList);
  } else if (option == matchMetricType) {
    doAddMatchMetricType(mapName, seqno, rule.intValue, invert);
  } else if (option == matchRouteType) {
    doAddMatchRouteType(mapName, seqno, rule.intValue, invert);
  } else if (option == matchInterface) {
    doAddMatchInterface(mapName, seqno, str, invert);
  } else if (option == matchCommunity) {
    mio.doAddMatchCommunity(mapName, seqno, rule.commListSet, invert, rule.exact,
                            Acl::communityStandard);
  } else if (option == matchExtCommunity) {
    mio.doAddMatchCommunity(mapName, seqno, rule.commListSet, invert, rule.exact,
                            Acl::communityExtended);
  } else if (option == matchLargeCommunity) {
    mio.doAddMatchCommunity(mapName, seqno, rule.commListSet, invert, rule.exact,
                            Acl::communityLarge);
  } else if (option == matchProtocol) {
    doAddMatchProto(mapName, seqno, rule.intValue, invert);
  } else if (option == matchAsRange) {
    doAddMatchAsRange(mapName, seqno, rule.intValue, rule.upper, invert);
  } else if (option == matchAsPathLength) {
    doAddMatchAsPathLength(mapName, seqno, rule.asPathLength.first, rule.asPathLength.second,
                           invert);
  } else if (ribIsMatchOptionInt(option, &pathTag, &valueTag)) {
    doAddMatchIntValue(mapName, seqno, pathTag, valueTag, rule.intValue, invert);
  } else if (ribIsMatchOptionStr(option, &pathTag, &valueTag)) {
    doAddMatchStrValue(mapName, seqno, pathTag, valueTag, str, invert);
  } else if (option == matchCommInstances) {
    doAddMatchCommInst(mapName, seqno, rule.intValue, rule.upper, invert);
  } else if (option == matchDynamicPrefixList || option == matchIpv6DynamicPrefixList) {
    doAddMatchDynamicPrefixList(mapName, seqno, str, option == matchIpv6DynamicPrefixList);
  } else if (option == matchContribAggAttr) {
    doAddMatchContribAggAttr(mapName, seqno, str, invert);
  } else {
    // A newer configuration may carry options this library does not know yet: the rest of
    // the sequence is still worth sending.
    RM_TRACE(traceError, "Error: add match option not implemented: " << option);
  }
}

void MioMatch::doAddMatchIntValue(const String& name, U32 seqno, U32 pathTag, U32 valueTag,
                                  U32 value, bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchIntValue(Vox::String, U32, U32, U32, "
           "U32, bool)"
               << " rmName: " << name << " seqno: " << seqno << " pathTag: " << pathTag
               << " valueTag: " << valueTag << " value: " << value << " invert: " << invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushU32(pathTag, value);
  RibValue v = matchValues(*this, invert);
  v->doPushU32(valueTag, value);
  ribExecute("matchIntValue", path, v);
}

void MioMatch::doAddMatchStrValue(const String& name, U32 seqno, U32 pathTag, U32 valueTag,
                                  const String& value, bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchStrValue(Vox::String, U32, U32, U32, "
           "Vox::String, bool)"
               << " rmName: " << name << " seqno: " << seqno << " pathTag: " << pathTag
               << " valueTag: " << valueTag << " value: " << value << " invert: " << invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushString(pathTag, value);
  RibValue v = matchValues(*this, invert);
  v->doPushString(valueTag, value);
  ribExecute("matchstrValue", path, v);
}

void MioMatch::doAddMatchAccessList(const String& name, U32 seqno, const String& list,
                                    bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchAccessList(Vox::String, U32, "
           "Vox::String, bool)"
               << " rmName: " << name << " seqno: " << seqno << " list: " << list
               << " invert: " << invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushString(Tag::matchAccessList, list);
  RibValue v = matchValues(*this, invert);
  v->doPushU8(Tag::MatchValue::listKind, accessListKind);
  v->doPushString(Tag::MatchValue::listName, list);
  ribExecute("accessList", path, v);
}

void MioMatch::doAddMatchPrefixList(const String& name, U32 seqno, const String& list, bool invert,
                                    bool isIpv6) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchPrefixList(Vox::String, U32, "
           "Vox::String, bool, bool)"
               << " rmName: " << name << " seqno: " << seqno << " list: " << list
               << " invert: " << invert << " isIpv6: " << isIpv6);
  addPrefixListMatch(*this, "prefixList", Tag::matchPrefixList, name, seqno, list, invert, isIpv6);
}

void MioMatch::doAddMatchNextHopPrefixList(const String& name, U32 seqno, const String& list,
                                           bool invert, bool isIpv6) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchNextHopPrefixList(Vox::String, U32, "
           "Vox::String, bool, bool)"
               << " rmName: " << name << " seqno: " << seqno << " list: " << list
               << " invert: " << invert << " isIpv6: " << isIpv6);
  addPrefixListMatch(*this, "nextHopPrefixList", Tag::matchNextHopPrefixList, name, seqno, list,
                     invert, isIpv6);
}

void MioMatch::doAddMatchResolvedNextHopPrefixList(const String& name, U32 seqno,
                                                   const String& list, bool invert,
                                                   bool isIpv6) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchResolvedNextHopPrefixList("
           "Vox::String, U32, Vox::String, bool, bool)"
               << " rmName: " << name << " seqno: " << seqno << " list: " << list
               << " invert: " << invert << " isIpv6: " << isIpv6);
  addPrefixListMatch(*this, "resolvedNextHopPrefixList", Tag::matchResolvedNextHopPrefixList, name,
                     seqno, list, invert, isIpv6);
}

void MioMatch::doAddMatchMetricType(const String& name, U32 seqno, U32 type, bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchMetricType(Vox::String, U32, U32, "
           "bool)"
               << " rmName: " << name << " seqno: " << seqno << " type: " << type
               << " invert: " << invert);
  U32 engineType = 0;
  switch (type) {
    case 1:
      engineType = 3;
      break;
    case 2:
      engineType = 4;
      break;
    default:
      Vox::assertionFailed("0 && \"Unsupported metric type\"");
  }
  doAddMatchIntValue(name, seqno, Tag::matchMetricType, Tag::MatchValue::metricType, engineType,
                     invert);
}

void MioMatch::doAddMatchRouteType(const String& name, U32 seqno, U32 type, bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchRouteType(Vox::String, U32, U32, "
           "bool)"
               << " rmName: " << name << " seqno: " << seqno << " type: " << type
               << " invert: " << invert);
  // The engine numbers route types as the configuration does; anything else has no meaning.
  VOX_ASSERT_MSG(type >= 1 && type <= 4, "0 && \"Unsupported route type\"");
  doAddMatchIntValue(name, seqno, Tag::matchRouteType, Tag::MatchValue::routeType, type, invert);
}

void MioMatch::doAddMatchInterface(const String& name, U32 seqno, const String& intf,
                                   bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchInterface(Vox::String, U32, "
           "Vox::String, bool)"
               << " rmName: " << name << " seqno: " << seqno << " intf: " << intf
               << " invert: " << invert);
  // The engine knows interfaces by their kernel names only.
  const String kernelIntf = Vela::orbIntfToKernelIntf(intf);
  RM_TRACE(traceCommand, "ribAddMatchInterface " << kernelIntf);
  addListNodeInvert(*this, "iflist", Tag::matchInterface, name, seqno, invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushPath(Tag::matchInterface);
  path->doPushString(Tag::matchInterfaceEntry, kernelIntf);
  RibValue v = ribValueIs();
  v->doPushString(Tag::MatchValue::interface, kernelIntf);
  ribExecute("ifname", path, v);
}

void MioMatch::doAddMatchProto(const String& name, U32 seqno, U32 proto, bool invert) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doAddMatchProto(Vox::String, U32, U32, bool)"
                             << " rmName: " << name << " seqno: " << seqno << " proto: " << proto
                             << " invert: " << invert);
  // The engine's protocol numbers, indexed by the configuration's protocol 1 to 9.
  static constexpr U32 engineProto[] = {1, 24, 31, 10, 4, 9, 15, 49, 52};
  if (proto < 1 || proto > std::size(engineProto)) {
    Vox::assertionFailed("0 && \"Unsupported protocol\"");
  }
  doAddMatchIntValue(name, seqno, Tag::matchProtocol, Tag::MatchValue::protocol,
                     engineProto[proto - 1], invert);
}

void MioMatch::doAddMatchAsRange(const String& name, U32 seqno, U32 low, U32 high,
                                 bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchAsRange(Vox::String, U32, U32, U32, "
           "bool)"
               << " rmName: " << name << " seqno: " << seqno << " low: " << low << " high: " << high
               << " invert: " << invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushU32(Tag::matchAsRange, low);
  RibValue v = matchValues(*this, invert);
  v->doPushU32(Tag::MatchValue::asRangeLow, low);
  v->doPushU32(Tag::MatchValue::asRangeHigh, high);
  ribExecute("AsRangeEntry", path, v);
}

void MioMatch::doAddMatchAsPathLength(const String& name, U32 seqno, U32 first, U32 second,
                                      bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchAsPathLength(Vox::String, U32, U32, "
           "U32, bool)"
               << " rmName: " << name << " seqno: " << seqno << " first: " << first
               << " second: " << second << " invert: " << invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushU32(Tag::matchAsPathLength, first);
  RibValue v = matchValues(*this, invert);
  v->doPushU32(Tag::MatchValue::asPathLengthLow, first);
  v->doPushU32(Tag::MatchValue::asPathLengthHigh, second);
  ribExecute("AsPathLength", path, v);
}

void MioMatch::doAddMatchCommInst(const String& name, U32 seqno, U32 first, U32 second,
                                  bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchCommInst(Vox::String, U32, U32, U32, "
           "bool)"
               << " rmName: " << name << " seqno: " << seqno << " first: " << first
               << " second: " << second << " invert: " << invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushU32(Tag::matchCommInstances, first);
  RibValue v = matchValues(*this, invert);
  v->doPushU32(Tag::MatchValue::commInstancesLow, first);
  v->doPushU32(Tag::MatchValue::commInstancesHigh, second);
  ribExecute("CommInstances", path, v);
}

void MioMatch::doAddMatchDynamicPrefixList(const String& name, U32 seqno, const String& list,
                                           bool isIpv6) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchDynamicPrefixList(Vox::String, U32, "
           "Vox::String, bool)"
               << " rmName: " << name << " seqno: " << seqno << " list: " << list
               << " isIpv6: " << isIpv6);
  // A dynamic prefix list is known to the engine by its configured name, in either family,
  // and its match cannot be negated.
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushString(Tag::matchDynamicPrefixList, list);
  RibValue v = ribValueIs();
  v->doPushU8(Tag::MatchValue::listKind, isIpv6 ? ipv6PrefixListKind : ipv4PrefixListKind);
  v->doPushString(Tag::MatchValue::listName, list);
  ribExecute("dynamicPrefixList", path, v);
}

void MioMatch::doAddMatchContribAggAttr(const String& name, U32 seqno, const String& mapName,
                                        bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchContribAggAttr(Vox::String, U32, "
           "Vox::String, bool)"
               << " rmName: " << name << " seqno: " << seqno << " mapName: " << mapName
               << " invert: " << invert);
  // This node has no entry of its own to key it, so its flag is always written: a match
  // without a map name still exists in the engine, negated or not.
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushPath(Tag::matchContribAggAttr);
  RibValue v = ribValueIs();
  v->doPushFlag(Tag::MatchValue::invert, invert);
  if (!mapName.empty()) v->doPushString(Tag::MatchValue::contribAggMap, mapName);
  ribExecute("aggAttrMapName", path, v);
}

void MioMatch::doAddMatchGateway(const String& name, U32 seqno, Vela::IpAddr gateway,
                                 bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchGateway(Vox::String, U32, "
           "Vela::IpAddr, bool)"
               << " rmName: " << name << " seqno: " << seqno << " gateway: " << gateway
               << " invert: " << invert);
  addListNodeInvert(*this, "gwListInvert", Tag::matchGateway, name, seqno, invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushPath(Tag::matchGateway);
  path->doPushString(Tag::matchGatewayEntry, gateway.toString());
  RibValue v = ribValueIs();
  v->doPushIpAddr(Tag::MatchValue::ipv4Address, gateway);
  ribExecute("gwListEntry", path, v);
}

void MioMatch::doAddMatchNextHop(const String& name, U32 seqno, Vela::IpAddr nextHop,
                                 const Vela::Ip6Addr& ipv6NextHop, bool isIpv6, bool invert) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddMatchNextHop(Vox::String, U32, "
           "Vela::IpAddr, const Vela::Ip6Addr&, bool, bool)"
               << " rmName: " << name << " seqno: " << seqno << " nextHop: " << nextHop
               << " ipv6NextHop: " << ipv6NextHop << " isIpv6: " << isIpv6
               << " invert: " << invert);
  addListNodeInvert(*this, "nhListInvert", Tag::matchNextHop, name, seqno, invert);
  RibPath path = ribMapSeqPathIs(name, seqno);
  path->doPushPath(Tag::matchNextHop);
  RibValue v = ribValueIs();
  if (isIpv6) {
    path->doPushString(Tag::matchNextHopEntry, ipv6NextHop.toString());
    v->doPushIp6Addr(Tag::MatchValue::ipv6Address, ipv6NextHop);
  } else {
    path->doPushString(Tag::matchNextHopEntry, nextHop.toString());
    v->doPushIpAddr(Tag::MatchValue::ipv4Address, nextHop);
  }
  ribExecute("nhListEntry", path, v);
}

}  // namespace RibRouteMap
