// The set commands of the command channel: the set clauses of a route-map sequence.
//
// Every command addresses the sequence's set-action node and carries one value under the tag
// of its set-action number. None of them commits.
#pragma once

#include <map>

#include "RibRouteMap/mio/MioChannel.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/vela/Address.h"

namespace RibRouteMap {

class MioSet : public virtual MioChannel {
 public:
  void doSetIntValue(const String& name, U32 seqno, U32 action, U32 value) const;
  void doSetU8Value(const String& name, U32 seqno, U32 action, U8 value) const;
  void doSetStrValue(const String& name, U32 seqno, U32 action, const String& value) const;
  void doSetNextHop(const String& name, U32 seqno, Vela::IpAddr nextHop,
                    const Vela::Ip6Addr& ipv6NextHop, bool isIpv6) const;
  void doSetNextHopPeerAddr(const String& name, U32 seqno, U32 action, bool on) const;
  void doSetNextHopUnchanged(const String& name, U32 seqno, U32 action, bool on) const;
  void doSetMetric(const String& name, U32 seqno, U32 metric,
                   Routing::RouteMap::MedType medType) const;
  void doSetMetricType(const String& name, U32 seqno, const String& type) const;
  void doSetAsPathPrependLastAs(const String& name, U32 seqno, U8 count) const;
  // `asPath` is AS numbers separated by single spaces.
  void doSetAsPathPrepend(const String& name, U32 seqno, const String& asPath) const;
  void doSetAsPathReplace(const String& name, U32 seqno, const String& asPath) const;

 protected:
  MioSet() = default;
};

// AS-path prepend and replace of a sequence: at most `count` AS numbers of `list`, in position
// order, packed as native-order 32-bit words into a string of four bytes per number.
void doSetAsPathPrepend_(const L3::VrfName& vrf, const Vox::String& name, U32 seqno,
                         const std::map<U32, U32>& list, U32 count);
void doSetAsPathReplace_(const L3::VrfName& vrf, const Vox::String& name, U32 seqno,
                         const std::map<U32, U32>& list, U32 count);

}  // namespace RibRouteMap
