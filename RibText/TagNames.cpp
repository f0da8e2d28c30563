#include "RibText/TagNames.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <type_traits>
#include <variant>

#include "RibRouteMap/mio/Tags.h"

namespace RibText {

namespace {

namespace T = RibRouteMap::Tag;
namespace A = RibRouteMap::SetAction;
namespace C = RibRouteMap::Tag::CommValue;

struct PathName {
  U32 tag;
  std::string_view name;
};

// Every name is unique, so that a readable path names the same nodes as its numbers.
constexpr std::array kPathNames = {
    PathName{T::globalPolicy, "global"},
    PathName{T::policyRoot, "policy"},
    PathName{T::prefixListKey, "prefix-list"},
    PathName{T::prefixListEntry, "pl-entry"},
    PathName{T::stdAcl, "access-list"},
    PathName{T::stdAclEntry, "acl-entry"},
    PathName{T::commSetStandard, "comm-sets"},
    PathName{T::commSetStandardKey, "comm-set"},
    PathName{T::commSetExtended, "ext-comm-sets"},
    PathName{T::commSetExtendedKey, "ext-comm-set"},
    PathName{T::commLists, "comm-lists"},
    PathName{T::commListKey, "comm-list"},
    PathName{T::commListEntries, "cl-entries"},
    PathName{T::commListEntryKey, "cl-entry"},
    PathName{T::asPathLists, "as-path-lists"},
    PathName{T::asPathListKey, "as-path-list"},
    PathName{T::asPathEntries, "asp-entries"},
    PathName{T::asPathEntryKey, "asp-entry"},
    PathName{T::matchProtocol, "match-protocol"},
    PathName{T::routeMap, "route-map"},
    PathName{T::routeMapSeqs, "seqs"},
    PathName{T::routeMapSeq, "seq"},
    PathName{T::matchOption100, "match-100"},
    PathName{T::matchOption101, "match-101"},
    PathName{T::matchOption102, "match-102"},
    PathName{T::matchCommList, "match-community"},
    PathName{T::matchPrefixList, "match-prefix-list"},
    PathName{T::matchAccessList, "match-access-list"},
    PathName{T::matchOption115, "match-115"},
    PathName{T::matchOption108, "match-108"},
    PathName{T::matchInterface, "match-interface"},
    PathName{T::matchInterfaceEntry, "interface"},
    PathName{T::matchGateway, "match-gateway"},
    PathName{T::matchGatewayEntry, "gateway"},
    PathName{T::matchNextHop, "match-next-hop"},
    PathName{T::matchNextHopEntry, "next-hop"},
    PathName{T::matchOption105, "match-105"},
    PathName{T::setActions, "set"},
    PathName{T::stdAcls, "access-lists"},
    PathName{T::prefixLists, "prefix-lists"},
    PathName{T::matchOption111, "match-111"},
    PathName{T::matchOption110, "match-110"},
    PathName{T::matchOption109, "match-109"},
    PathName{T::matchMetricType, "match-metric-type"},
    PathName{T::matchNextHopPrefixList, "match-next-hop-prefix-list"},
    PathName{T::matchResolvedNextHopPrefixList, "match-resolved-next-hop-prefix-list"},
    PathName{T::matchOption120, "match-120"},
    PathName{T::subRouteMap, "sub-route-map"},
    PathName{T::matchAsRange, "match-as-range"},
    PathName{T::matchRouteType, "match-route-type"},
    PathName{T::matchCommInstances, "match-community-instances"},
    PathName{T::matchDynamicPrefixList, "match-dynamic-prefix-list"},
    PathName{T::dynamicPrefixLists, "dynamic-prefix-lists"},
    PathName{T::dynamicPrefixList, "dynamic-prefix-list"},
    PathName{T::matchExtCommList, "match-ext-community"},
    PathName{T::matchAsPathLength, "match-as-path-length"},
    PathName{T::commSetLarge, "large-comm-sets"},
    PathName{T::commSetLargeKey, "large-comm-set"},
    PathName{T::matchLargeCommList, "match-large-community"},
    PathName{T::matchContribAggAttr, "match-contributing-aggregate"},
};

struct ValueName {
  U32 node;
  U32 tag;
  std::string_view name;
};

// The value tags of the dynamic prefix-list commands, which name them where they send them.
constexpr U32 kDplName = 0;
constexpr U32 kDplIpv4PrefixList = 1;
constexpr U32 kDplIpv6PrefixList = 2;
constexpr U32 kDplMatchMap = 3;

namespace PL = RibRouteMap::Tag::PrefixListValue;
namespace ACL = RibRouteMap::Tag::StdAclValue;
namespace ASP = RibRouteMap::Tag::AsPathValue;
namespace RM = RibRouteMap::Tag::RouteMapValue;
namespace M = RibRouteMap::Tag::MatchValue;

// The value tags of the nodes that define them. A match node's matched value travels under
// the tag of its match option's table row; every match node carries the invert flag as 0.
constexpr std::array kValueNames = {
    ValueName{T::prefixListKey, PL::name, "name"},
    ValueName{T::prefixListEntry, PL::ipv4Address, "address"},
    ValueName{T::prefixListEntry, PL::ipv6Address, "ipv6-address"},
    ValueName{T::prefixListEntry, PL::ipv4Length, "length"},
    ValueName{T::prefixListEntry, PL::ipv6Length, "ipv6-length"},
    ValueName{T::prefixListEntry, PL::ge, "ge"},
    ValueName{T::prefixListEntry, PL::le, "le"},
    ValueName{T::prefixListEntry, PL::permit, "permit"},
    ValueName{T::prefixListEntry, PL::seqno, "seq"},
    ValueName{T::stdAcl, ACL::name, "name"},
    ValueName{T::stdAclEntry, ACL::address, "address"},
    ValueName{T::stdAclEntry, ACL::mask, "mask"},
    ValueName{T::stdAclEntry, ACL::permit, "permit"},
    ValueName{T::stdAclEntry, ACL::seqno, "seq"},
    ValueName{T::commSetStandardKey, C::name, "name"},
    ValueName{T::commSetStandardKey, C::setAdditive, "additive"},
    ValueName{T::commSetStandardKey, C::setValues, "values"},
    ValueName{T::commSetStandardKey, C::setRegex, "regex"},
    ValueName{T::commSetExtendedKey, C::name, "name"},
    ValueName{T::commSetExtendedKey, C::setAdditive, "additive"},
    ValueName{T::commSetExtendedKey, C::setValues, "values"},
    ValueName{T::commSetExtendedKey, C::setRegex, "regex"},
    ValueName{T::commListKey, C::name, "name"},
    ValueName{T::commListEntryKey, C::name, "set"},
    ValueName{T::commListEntryKey, C::entryKind, "kind"},
    ValueName{T::commListEntryKey, C::entryExact, "exact"},
    ValueName{T::commListEntryKey, C::entryPermit, "permit"},
    ValueName{T::commListEntryKey, C::entrySeqno, "seq"},
    ValueName{T::asPathListKey, ASP::name, "name"},
    ValueName{T::asPathEntryKey, ASP::entrySeqno, "seq"},
    ValueName{T::asPathEntryKey, ASP::entryRegex, "regex"},
    ValueName{T::asPathEntryKey, ASP::entryOrigin, "origin"},
    ValueName{T::asPathEntryKey, ASP::entryPermit, "permit"},
    ValueName{T::matchProtocol, M::invert, "invert"},
    ValueName{T::matchProtocol, M::protocol, "protocol"},
    ValueName{T::routeMap, RM::name, "name"},
    ValueName{T::routeMapSeq, RM::seqno, "seq"},
    ValueName{T::routeMapSeq, RM::permit, "permit"},
    ValueName{T::matchOption100, M::invert, "invert"},
    ValueName{T::matchOption100, 2, "value"},
    ValueName{T::matchOption101, M::invert, "invert"},
    ValueName{T::matchOption101, 9, "value"},
    ValueName{T::matchOption102, M::invert, "invert"},
    ValueName{T::matchOption102, 10, "value"},
    ValueName{T::matchCommList, C::matchInvert, "invert"},
    ValueName{T::matchCommList, C::matchStdList, "lists"},
    ValueName{T::matchPrefixList, M::invert, "invert"},
    ValueName{T::matchPrefixList, M::listName, "list"},
    ValueName{T::matchPrefixList, M::listKind, "list-kind"},
    ValueName{T::matchAccessList, M::invert, "invert"},
    ValueName{T::matchAccessList, M::listName, "list"},
    ValueName{T::matchAccessList, M::listKind, "list-kind"},
    ValueName{T::matchOption115, M::invert, "invert"},
    ValueName{T::matchOption115, 3, "value"},
    ValueName{T::matchOption108, M::invert, "invert"},
    ValueName{T::matchOption108, 4, "value"},
    ValueName{T::matchInterface, M::invert, "invert"},
    ValueName{T::matchInterfaceEntry, M::interface, "interface"},
    ValueName{T::matchGateway, M::invert, "invert"},
    ValueName{T::matchGatewayEntry, M::ipv4Address, "address"},
    ValueName{T::matchNextHop, M::invert, "invert"},
    ValueName{T::matchNextHopEntry, M::ipv4Address, "address"},
    ValueName{T::matchNextHopEntry, M::ipv6Address, "ipv6-address"},
    ValueName{T::matchOption105, M::invert, "invert"},
    ValueName{T::matchOption105, 21, "value"},
    ValueName{T::setActions, A::origin, "origin"},
    ValueName{T::setActions, A::metric, "metric"},
    ValueName{T::setActions, A::action2, "action-2"},
    ValueName{T::setActions, A::action3, "action-3"},
    ValueName{T::setActions, A::isisLevel, "isis-level"},
    ValueName{T::setActions, A::nextHopIpv4, "next-hop"},
    ValueName{T::setActions, A::nextHopIpv6, "ipv6-next-hop"},
    ValueName{T::setActions, A::ospfMetricType, "ospf-metric-type"},
    ValueName{T::setActions, C::stdListKeep, "community-additive"},
    ValueName{T::setActions, C::stdListAdd, "community-list"},
    ValueName{T::setActions, C::extSetAdd, "ext-community-set"},
    ValueName{T::setActions, C::stdListDelete, "community-delete-list"},
    ValueName{T::setActions, C::extSetDelete, "ext-community-delete-set"},
    ValueName{T::setActions, A::medType, "med-type"},
    ValueName{T::setActions, A::metricSecond, "metric-2"},
    ValueName{T::setActions, A::asPathPrepend, "as-path-prepend"},
    ValueName{T::setActions, A::action19, "action-19"},
    ValueName{T::setActions, C::extSetMode, "ext-community-mode"},
    ValueName{T::setActions, A::action25, "action-25"},
    ValueName{T::setActions, A::action26, "action-26"},
    ValueName{T::setActions, A::nextHopPeerAddr, "next-hop-peer-address"},
    ValueName{T::setActions, A::ipv6NextHopPeerAddr, "ipv6-next-hop-peer-address"},
    ValueName{T::setActions, C::lbwOption, "lbw-option"},
    ValueName{T::setActions, C::lbwBandwidth, "lbw-bandwidth"},
    ValueName{T::setActions, A::nextHopUnchanged, "next-hop-unchanged"},
    ValueName{T::setActions, A::ipv6NextHopUnchanged, "ipv6-next-hop-unchanged"},
    ValueName{T::setActions, A::asPathPrependLastAs, "as-path-prepend-last-as"},
    ValueName{T::setActions, A::asPathReplace, "as-path-replace"},
    ValueName{T::setActions, A::action35, "action-35"},
    ValueName{T::setActions, C::largeSetAdd, "large-community-set"},
    ValueName{T::setActions, C::largeSetDelete, "large-community-delete-set"},
    ValueName{T::setActions, C::largeSetMode, "large-community-mode"},
    ValueName{T::matchOption111, M::invert, "invert"},
    ValueName{T::matchOption111, 26, "value"},
    ValueName{T::matchOption110, M::invert, "invert"},
    ValueName{T::matchOption110, 17, "value"},
    ValueName{T::matchOption109, M::invert, "invert"},
    ValueName{T::matchOption109, 18, "value"},
    ValueName{T::matchMetricType, M::invert, "invert"},
    ValueName{T::matchMetricType, M::metricType, "metric-type"},
    ValueName{T::matchNextHopPrefixList, M::invert, "invert"},
    ValueName{T::matchNextHopPrefixList, M::listName, "list"},
    ValueName{T::matchNextHopPrefixList, M::listKind, "list-kind"},
    ValueName{T::matchResolvedNextHopPrefixList, M::invert, "invert"},
    ValueName{T::matchResolvedNextHopPrefixList, M::listName, "list"},
    ValueName{T::matchResolvedNextHopPrefixList, M::listKind, "list-kind"},
    ValueName{T::matchOption120, M::invert, "invert"},
    ValueName{T::matchOption120, 27, "value"},
    ValueName{T::subRouteMap, RM::subRouteMap, "name"},
    ValueName{T::matchAsRange, M::invert, "invert"},
    ValueName{T::matchAsRange, M::asRangeLow, "low"},
    ValueName{T::matchAsRange, M::asRangeHigh, "high"},
    ValueName{T::matchRouteType, M::invert, "invert"},
    ValueName{T::matchRouteType, M::routeType, "route-type"},
    ValueName{T::matchCommInstances, M::invert, "invert"},
    ValueName{T::matchCommInstances, M::commInstancesLow, "low"},
    ValueName{T::matchCommInstances, M::commInstancesHigh, "high"},
    ValueName{T::matchDynamicPrefixList, M::listName, "list"},
    ValueName{T::matchDynamicPrefixList, M::listKind, "list-kind"},
    ValueName{T::dynamicPrefixList, kDplName, "name"},
    ValueName{T::dynamicPrefixList, kDplIpv4PrefixList, "ipv4-prefix-list"},
    ValueName{T::dynamicPrefixList, kDplIpv6PrefixList, "ipv6-prefix-list"},
    ValueName{T::dynamicPrefixList, kDplMatchMap, "match-map"},
    ValueName{T::matchExtCommList, C::matchInvert, "invert"},
    ValueName{T::matchExtCommList, C::matchExtList, "lists"},
    ValueName{T::matchAsPathLength, M::invert, "invert"},
    ValueName{T::matchAsPathLength, M::asPathLengthLow, "low"},
    ValueName{T::matchAsPathLength, M::asPathLengthHigh, "high"},
    ValueName{T::commSetLargeKey, C::name, "name"},
    ValueName{T::commSetLargeKey, C::setAdditive, "additive"},
    ValueName{T::commSetLargeKey, C::setValues, "values"},
    ValueName{T::commSetLargeKey, C::setRegex, "regex"},
    ValueName{T::matchLargeCommList, C::matchInvert, "invert"},
    ValueName{T::matchLargeCommList, C::matchLargeList, "lists"},
    ValueName{T::matchContribAggAttr, M::invert, "invert"},
    ValueName{T::matchContribAggAttr, M::contribAggMap, "route-map"},
};

std::string dotted(U32 v) {
  return std::to_string(v >> 24) + '.' + std::to_string((v >> 16) & 0xff) + '.' +
         std::to_string((v >> 8) & 0xff) + '.' + std::to_string(v & 0xff);
}

std::string hex64(U32 upper, U32 lower) {
  char buf[19];
  std::snprintf(buf, sizeof buf, "0x%08" PRIx32 "%08" PRIx32, upper, lower);
  return buf;
}

// The communities of a word list under a community set, or nothing when the words do not
// divide into whole communities of the set's kind.
std::optional<std::string> communities(U32 nodeTag, const std::vector<U32>& words) {
  const auto texts = communityTexts(nodeTag, C::setValues, words);
  if (!texts) return std::nullopt;
  std::string out = "[";
  for (const std::string& t : *texts) {
    if (out.size() > 1) out += ' ';
    out += t;
  }
  return out + ']';
}

}  // namespace

bool isPackedAsPath(U32 nodeTag, U32 tag) {
  return nodeTag == T::setActions && (tag == A::asPathPrepend || tag == A::asPathReplace);
}

std::optional<std::vector<std::string>> communityTexts(U32 nodeTag, U32 tag,
                                                       const std::vector<U32>& words) {
  std::size_t width = 0;
  if (nodeTag == T::commSetStandardKey) width = 1;
  if (nodeTag == T::commSetExtendedKey) width = 2;
  if (nodeTag == T::commSetLargeKey) width = 3;
  if (tag != C::setValues || width == 0 || words.size() % width != 0) return std::nullopt;
  std::vector<std::string> out;
  out.reserve(words.size() / width);
  for (std::size_t i = 0; i < words.size(); i += width) {
    if (width == 1) out.push_back(standardCommunity(words[i]));
    if (width == 2) out.push_back(extendedCommunity(words[i], words[i + 1]));
    if (width == 3) out.push_back(largeCommunity(words[i], words[i + 1], words[i + 2]));
  }
  return out;
}

std::vector<TagName> pathTagNames() {
  std::vector<TagName> out;
  out.reserve(kPathNames.size());
  for (const PathName& p : kPathNames) out.push_back({0, p.tag, p.name});
  return out;
}

std::vector<TagName> valueTagNames() {
  std::vector<TagName> out;
  out.reserve(kValueNames.size());
  for (const ValueName& v : kValueNames) out.push_back({v.node, v.tag, v.name});
  return out;
}

std::vector<TagName> scalarTagNames() {
  return {{T::globalPolicy, T::scalarAsPathRegexMode, *scalarTagName(T::scalarAsPathRegexMode)},
          {T::globalPolicy, T::scalarRouteMapOpMode, *scalarTagName(T::scalarRouteMapOpMode)}};
}

std::optional<std::string_view> pathTagName(U32 tag) {
  for (const PathName& p : kPathNames) {
    if (p.tag == tag) return p.name;
  }
  return std::nullopt;
}

std::optional<std::string_view> valueTagName(U32 nodeTag, U32 valueTag) {
  // The engine keeps the global options' scalars as the values of their node.
  if (nodeTag == T::globalPolicy) return scalarTagName(valueTag);
  for (const ValueName& v : kValueNames) {
    if (v.node == nodeTag && v.tag == valueTag) return v.name;
  }
  return std::nullopt;
}

std::optional<std::string_view> scalarTagName(U32 tag) {
  if (tag == T::scalarAsPathRegexMode) return "as-path-regex-mode";
  if (tag == T::scalarRouteMapOpMode) return "route-map-op-mode";
  return std::nullopt;
}

std::string standardCommunity(U32 value) {
  return std::to_string(value >> 16) + ':' + std::to_string(value & 0xffff);
}

std::string extendedCommunity(U32 upper, U32 lower) {
  const U32 type = upper >> 24;
  const U32 subType = (upper >> 16) & 0xff;
  const char* kind = subType == 2 ? "rt:" : subType == 3 ? "soo:" : nullptr;
  if (kind == nullptr) return hex64(upper, lower);
  switch (type) {
    case 0x00:  // two-byte AS : four-byte number
      return kind + std::to_string(upper & 0xffff) + ':' + std::to_string(lower);
    case 0x01:  // IPv4 address : two-byte number
      return kind + dotted(((upper & 0xffff) << 16) | (lower >> 16)) + ':' +
             std::to_string(lower & 0xffff);
    case 0x02: {  // four-byte AS : two-byte number
      const U32 as = ((upper & 0xffff) << 16) | (lower >> 16);
      if (as <= 0xffff) break;
      return kind + std::to_string(as) + ':' + std::to_string(lower & 0xffff);
    }
    default:
      break;
  }
  return hex64(upper, lower);
}

std::string largeCommunity(U32 global, U32 local1, U32 local2) {
  return std::to_string(global) + ':' + std::to_string(local1) + ':' + std::to_string(local2);
}

std::optional<std::vector<U32>> packedAsNumbers(std::string_view bytes) {
  if (bytes.size() % sizeof(U32) != 0) return std::nullopt;
  std::vector<U32> out(bytes.size() / sizeof(U32));
  for (std::size_t i = 0; i < out.size(); ++i) {
    std::memcpy(&out[i], bytes.data() + i * sizeof(U32), sizeof(U32));
  }
  return out;
}

std::optional<std::string> packedAsPath(std::string_view bytes) {
  const auto numbers = packedAsNumbers(bytes);
  if (!numbers) return std::nullopt;
  std::string out = "[";
  for (const U32 as : *numbers) {
    if (out.size() > 1) out += ' ';
    out += std::to_string(as);
  }
  return out + ']';
}

U32 nodeTagOf(const std::vector<Rib::PathEntry>& path) {
  return path.empty() ? 0 : path.back().tag;
}

std::string readablePath(const std::vector<Rib::PathEntry>& path) {
  std::string out;
  for (const Rib::PathEntry& e : path) {
    if (!out.empty()) out += '/';
    const auto name = pathTagName(e.tag);
    out += name ? std::string(*name) : std::to_string(e.tag);
    switch (e.kind) {
      case Rib::PathEntry::Kind::none:
        break;
      case Rib::PathEntry::Kind::string:
        out += '=';
        Rib::appendQuoted(out, e.str);
        break;
      case Rib::PathEntry::Kind::u32:
        out += '=' + std::to_string(e.u32);
        break;
    }
  }
  return out;
}

std::string readableValue(U32 nodeTag, const Rib::TaggedValue& value) {
  const auto name = valueTagName(nodeTag, value.tag);
  if (!name) return Rib::valueText(value);
  std::string out(*name);
  std::visit(
      [&](const auto& x) {
        using V = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<V, U32>) {
          out += '=' + std::to_string(x);
        } else if constexpr (std::is_same_v<V, U8>) {
          out += ":u8=" + std::to_string(static_cast<unsigned>(x));
        } else if constexpr (std::is_same_v<V, std::string>) {
          const auto asPath = isPackedAsPath(nodeTag, value.tag) ? packedAsPath(x) : std::nullopt;
          out += '=';
          if (asPath) {
            out += *asPath;
          } else {
            Rib::appendQuoted(out, x);
          }
        } else if constexpr (std::is_same_v<V, bool>) {
          out += x ? "=true" : "=false";
        } else if constexpr (std::is_same_v<V, Vela::IpAddr> || std::is_same_v<V, Vela::Ip6Addr>) {
          out += '=' + x.toString();
        } else if constexpr (std::is_same_v<V, std::vector<U32>>) {
          out += '=';
          const auto comms = value.tag == C::setValues ? communities(nodeTag, x) : std::nullopt;
          if (comms) {
            out += *comms;
          } else {
            out += '[';
            for (std::size_t i = 0; i < x.size(); ++i) {
              if (i) out += ' ';
              out += std::to_string(x[i]);
            }
            out += ']';
          }
        } else {
          static_assert(std::is_same_v<V, Rib::Reset>);
          out += ":reset";
        }
      },
      value.data);
  return out;
}

std::string readableScalar(const Rib::OpScalar& scalar) {
  const auto name = scalarTagName(scalar.tag);
  if (!name) return std::to_string(scalar.tag) + ":u32=" + std::to_string(scalar.value);
  return std::string(*name) + '=' + std::to_string(scalar.value);
}

std::string readableOp(const Rib::OpRecord& op) {
  std::string out = op.name + ' ' + readablePath(op.path);
  const U32 node = nodeTagOf(op.path);
  const auto items = [&](const char* open, const auto& list, const auto& text) {
    if (list.empty()) return;
    out += open;
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (i) out += ' ';
      out += text(list[i]);
    }
    out += '}';
  };
  items(" {", op.values, [&](const Rib::TaggedValue& v) { return readableValue(node, v); });
  items(" scalars{", op.scalars, readableScalar);
  if (op.del) out += " del";
  return out;
}

}  // namespace RibText
