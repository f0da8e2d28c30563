// The match commands of the command channel: the match clauses of a route-map sequence.
//
// Every command addresses a match node below the sequence path; a negated match carries flag
// 0 = true ahead of its other values, a plain match carries no flag at all. Nothing here
// commits: the caller commits the whole map.
#pragma once

#include "RibRouteMap/mio/MioChannel.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/vela/Address.h"

namespace RibRouteMap {

class MioMatch : public virtual MioChannel {
 public:
  // One rule, through the command of its option (or the option tables); an option this
  // library does not know is traced and skipped.
  void doAddMatchRule(const String& mapName, U32 seqno,
                      const Routing::RouteMap::MatchRule& rule) const;
  void doAddMatchIntValue(const String& name, U32 seqno, U32 pathTag, U32 valueTag, U32 value,
                          bool invert) const;
  void doAddMatchStrValue(const String& name, U32 seqno, U32 pathTag, U32 valueTag,
                          const String& value, bool invert) const;
  void doAddMatchAccessList(const String& name, U32 seqno, const String& list, bool invert) const;
  void doAddMatchPrefixList(const String& name, U32 seqno, const String& list, bool invert,
                            bool isIpv6) const;
  void doAddMatchNextHopPrefixList(const String& name, U32 seqno, const String& list, bool invert,
                                   bool isIpv6) const;
  void doAddMatchResolvedNextHopPrefixList(const String& name, U32 seqno, const String& list,
                                           bool invert, bool isIpv6) const;
  void doAddMatchMetricType(const String& name, U32 seqno, U32 type, bool invert) const;
  void doAddMatchRouteType(const String& name, U32 seqno, U32 type, bool invert) const;
  void doAddMatchInterface(const String& name, U32 seqno, const String& intf, bool invert) const;
  void doAddMatchProto(const String& name, U32 seqno, U32 proto, bool invert) const;
  void doAddMatchAsRange(const String& name, U32 seqno, U32 low, U32 high, bool invert) const;
  void doAddMatchAsPathLength(const String& name, U32 seqno, U32 first, U32 second,
                              bool invert) const;
  void doAddMatchCommInst(const String& name, U32 seqno, U32 first, U32 second, bool invert) const;
  void doAddMatchDynamicPrefixList(const String& name, U32 seqno, const String& list,
                                   bool isIpv6) const;
  void doAddMatchContribAggAttr(const String& name, U32 seqno, const String& mapName,
                                bool invert) const;
  void doAddMatchGateway(const String& name, U32 seqno, Vela::IpAddr gateway, bool invert) const;
  void doAddMatchNextHop(const String& name, U32 seqno, Vela::IpAddr nextHop,
                         const Vela::Ip6Addr& ipv6NextHop, bool isIpv6, bool invert) const;

 protected:
  MioMatch() = default;
};

}  // namespace RibRouteMap
