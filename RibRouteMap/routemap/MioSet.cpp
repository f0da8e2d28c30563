#include "RibRouteMap/routemap/MioSet.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <string_view>

#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

void MioSet::doSetIntValue(const String& name, U32 seqno, U32 action, U32 value) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetIntValue(Vox::String, U32, U32, U32)"
                             << " rmName: " << name << " seqno: " << seqno << " action: " << action
                             << " value: " << value);
  RibValue v = ribValueIs();
  v->doPushU32(action, value);
  ribExecute("setIntValue", ribSetPathIs(name, seqno), v);
}

void MioSet::doSetU8Value(const String& name, U32 seqno, U32 action, U8 value) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetU8Value(Vox::String, U32, U32, U8)"
                             << " rmName: " << name << " seqno: " << seqno << " action: " << action
                             << " value: " << static_cast<unsigned>(value));
  RibValue v = ribValueIs();
  v->doPushU8(action, value);
  ribExecute("setU8Value", ribSetPathIs(name, seqno), v);
}

void MioSet::doSetStrValue(const String& name, U32 seqno, U32 action, const String& value) const {
  // The value may be packed binary (AS-path lists), so only its size is traced.
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetStrValue(Vox::String, U32, U32, Vox::String)"
                             << " rmName: " << name << " seqno: " << seqno << " action: " << action
                             << " bytes: " << value.size());
  RibValue v = ribValueIs();
  v->doPushString(action, value);
  ribExecute("setStrValue", ribSetPathIs(name, seqno), v);
}

void MioSet::doSetNextHop(const String& name, U32 seqno, Vela::IpAddr nextHop,
                          const Vela::Ip6Addr& ipv6NextHop, bool isIpv6) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doSetNextHop(Vox::String, U32, Vela::IpAddr, "
           "const Vela::Ip6Addr&, bool)"
               << " rmName: " << name << " seqno: " << seqno << " nextHop: " << nextHop
               << " ipv6NextHop: " << ipv6NextHop << " isIpv6: " << isIpv6);
  // The node holds one next hop: the family picks the address and its tag.
  RibValue v = ribValueIs();
  if (isIpv6) {
    v->doPushIp6Addr(SetAction::nextHopIpv6, ipv6NextHop);
  } else {
    v->doPushIpAddr(SetAction::nextHopIpv4, nextHop);
  }
  ribExecute("setNextHop", ribSetPathIs(name, seqno), v);
}

void MioSet::doSetNextHopPeerAddr(const String& name, U32 seqno, U32 action, bool on) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetNextHopPeerAddr(Vox::String, U32, U32, bool)"
                             << " rmName: " << name << " seqno: " << seqno << " action: " << action
                             << " on: " << on);
  RibValue v = ribValueIs();
  v->doPushFlag(action, on);
  ribExecute("setNextHopPeerAddr", ribSetPathIs(name, seqno), v);
}

void MioSet::doSetNextHopUnchanged(const String& name, U32 seqno, U32 action, bool on) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetNextHopUnchanged(Vox::String, U32, U32, bool)"
                             << " rmName: " << name << " seqno: " << seqno << " action: " << action
                             << " on: " << on);
  RibValue v = ribValueIs();
  v->doPushFlag(action, on);
  ribExecute("setNextHopUnchanged", ribSetPathIs(name, seqno), v);
}

void MioSet::doSetMetric(const String& name, U32 seqno, U32 metric,
                         Routing::RouteMap::MedType medType) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doSetMetric(Vox::String, U32, U32, "
           "Routing::RouteMap::MedType)"
               << " metric " << metric << " med type " << medType);
  // The engine numbers its med types differently from the configuration, and some med types
  // carry no metric of their own; the mapping is irregular on purpose.
  auto metricFirst = [&] { doSetIntValue(name, seqno, SetAction::metric, metric); };
  auto metricSecond = [&] { doSetIntValue(name, seqno, SetAction::metricSecond, metric); };
  auto engineMedType = [&](U32 type) { doSetIntValue(name, seqno, SetAction::medType, type); };
  switch (medType) {
    case 0:
      metricFirst();
      metricSecond();
      return;
    case 2:
      metricFirst();
      metricSecond();
      engineMedType(2);
      return;
    case 4:
      metricFirst();
      metricSecond();
      engineMedType(5);
      return;
    case 5:
      metricSecond();
      engineMedType(6);
      return;
    case 8:
      metricSecond();
      engineMedType(8);
      return;
    case 1:
      engineMedType(1);
      return;
    case 3:
      engineMedType(4);
      return;
    case 6:
      engineMedType(3);
      return;
    case 7:
      engineMedType(7);
      return;
    default:
      break;
  }
  RM_TRACE(traceError, "Error: invalid med type " << medType);
  Vox::assertionFailed("0 && \"invalid med type\"");
}

void MioSet::doSetMetricType(const String& name, U32 seqno, const String& type) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetMetricType(Vox::String, U32, Vox::String)"
                             << " rmName: " << name << " seqno: " << seqno << " type: " << type);
  if (type == "type-1") {
    doSetIntValue(name, seqno, SetAction::ospfMetricType, 3);
  } else if (type == "type-2") {
    doSetIntValue(name, seqno, SetAction::ospfMetricType, 4);
  } else {
    RM_TRACE(traceError, "Error: ribAddMatchMetricType invalid type " << type);
  }
}

void MioSet::doSetAsPathPrependLastAs(const String& name, U32 seqno, U8 count) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetAsPathPrependLastAs(Vox::String, U32, U8)"
                             << " rmName: " << name << " seqno: " << seqno
                             << " count: " << static_cast<unsigned>(count));
  doSetIntValue(name, seqno, SetAction::asPathPrependLastAs, count);
}

namespace {

// AS numbers separated by single spaces, in order and keyed by position. Every piece counts,
// so the list has as many numbers as the text has pieces; a piece that is not a decimal
// number in range counts as 0. An empty text holds no piece.
std::map<U32, U32> parseAsPath(std::string_view text) {
  std::map<U32, U32> list;
  if (text.empty()) return list;
  U32 position = 0;
  while (true) {
    const auto space = text.find(' ');
    const std::string_view piece = text.substr(0, space);
    U32 as = 0;
    std::from_chars(piece.data(), piece.data() + piece.size(), as);
    list.emplace(position++, as);
    if (space == std::string_view::npos) break;
    text.remove_prefix(space + 1);
  }
  return list;
}

// At most `count` AS numbers as native-order 32-bit words, four bytes each: the engine reads
// the string as an array of words, so it is binary and may hold zero bytes.
Vox::String packAsPath(const std::map<U32, U32>& list, U32 count) {
  Vox::String packed;
  packed.reserve(std::min<std::size_t>(list.size(), count) * sizeof(U32));
  U32 taken = 0;
  for (const auto& [position, as] : list) {
    if (taken == count) break;
    char word[sizeof(U32)];
    std::memcpy(word, &as, sizeof word);
    packed.append(word, sizeof word);
    ++taken;
  }
  return packed;
}

}  // namespace

void MioSet::doSetAsPathPrepend(const String& name, U32 seqno, const String& asPath) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetAsPathPrepend(Vox::String, U32, Vox::String)"
                             << " rmName: " << name << " seqno: " << seqno
                             << " asPath: " << asPath);
  const std::map<U32, U32> list = parseAsPath(asPath);
  doSetAsPathPrepend_(vrfName(), name, seqno, list, static_cast<U32>(list.size()));
}

void MioSet::doSetAsPathReplace(const String& name, U32 seqno, const String& asPath) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doSetAsPathReplace(Vox::String, U32, Vox::String)"
                             << " rmName: " << name << " seqno: " << seqno
                             << " asPath: " << asPath);
  const std::map<U32, U32> list = parseAsPath(asPath);
  doSetAsPathReplace_(vrfName(), name, seqno, list, static_cast<U32>(list.size()));
}

void doSetAsPathPrepend_(const L3::VrfName& vrf, const Vox::String& name, U32 seqno,
                         const std::map<U32, U32>& list, U32 count) {
  RM_TRACE(traceCommand,
           "void RibRouteMap::doSetAsPathPrepend_(L3::VrfName, Vox::String, U32, "
           "const std::map<U32, U32>&, U32)"
               << " vrf: " << vrf << " rmName: " << name << " seqno: " << seqno
               << " count: " << count);
  mioFactory(vrf)->doSetStrValue(name, seqno, SetAction::asPathPrepend, packAsPath(list, count));
}

void doSetAsPathReplace_(const L3::VrfName& vrf, const Vox::String& name, U32 seqno,
                         const std::map<U32, U32>& list, U32 count) {
  RM_TRACE(traceCommand,
           "void RibRouteMap::doSetAsPathReplace_(L3::VrfName, Vox::String, U32, "
           "const std::map<U32, U32>&, U32)"
               << " vrf: " << vrf << " rmName: " << name << " seqno: " << seqno
               << " count: " << count);
  mioFactory(vrf)->doSetStrValue(name, seqno, SetAction::asPathReplace, packAsPath(list, count));
}

}  // namespace RibRouteMap
