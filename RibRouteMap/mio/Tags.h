// The engine's path tags used by the route-map library, by node.
#pragma once

#include "framework/vox/Types.h"

namespace RibRouteMap::Tag {

inline constexpr U32 globalPolicy = 256;  // global policy options of the VRF
inline constexpr U32 policyRoot = 512;    // first entry of every other path
inline constexpr U32 prefixListKey = 515;
inline constexpr U32 prefixListEntry = 516;
inline constexpr U32 stdAcl = 517;
inline constexpr U32 stdAclEntry = 518;
inline constexpr U32 commSetStandard = 524;
inline constexpr U32 commSetStandardKey = 525;
inline constexpr U32 commSetExtended = 526;
inline constexpr U32 commSetExtendedKey = 527;
inline constexpr U32 commLists = 528;
inline constexpr U32 commListKey = 529;
inline constexpr U32 commListEntries = 530;
inline constexpr U32 commListEntryKey = 531;
inline constexpr U32 asPathLists = 534;
inline constexpr U32 asPathListKey = 535;
inline constexpr U32 asPathEntries = 536;
inline constexpr U32 asPathEntryKey = 537;
inline constexpr U32 matchProtocol = 575;
inline constexpr U32 routeMap = 576;
inline constexpr U32 routeMapSeqs = 577;
inline constexpr U32 routeMapSeq = 578;
// Match nodes reached only through the option tables, named after their match option.
inline constexpr U32 matchOption100 = 581;
inline constexpr U32 matchOption101 = 582;
inline constexpr U32 matchOption102 = 583;
inline constexpr U32 matchCommList = 585;
inline constexpr U32 matchPrefixList = 587;
inline constexpr U32 matchAccessList = 588;
inline constexpr U32 matchOption115 = 589;
inline constexpr U32 matchOption108 = 590;
inline constexpr U32 matchInterface = 591;
inline constexpr U32 matchInterfaceEntry = 592;
inline constexpr U32 matchGateway = 593;
inline constexpr U32 matchGatewayEntry = 594;
inline constexpr U32 matchNextHop = 595;
inline constexpr U32 matchNextHopEntry = 596;
inline constexpr U32 matchOption105 = 600;
inline constexpr U32 setActions = 601;
inline constexpr U32 stdAcls = 602;
inline constexpr U32 prefixLists = 603;
inline constexpr U32 matchOption111 = 606;
inline constexpr U32 matchOption110 = 608;
inline constexpr U32 matchOption109 = 609;
inline constexpr U32 matchMetricType = 613;
inline constexpr U32 matchNextHopPrefixList = 619;
inline constexpr U32 matchResolvedNextHopPrefixList = 620;
inline constexpr U32 matchOption120 = 621;
inline constexpr U32 subRouteMap = 622;
inline constexpr U32 matchAsRange = 623;
inline constexpr U32 matchRouteType = 624;
inline constexpr U32 matchCommInstances = 625;
inline constexpr U32 matchDynamicPrefixList = 626;
inline constexpr U32 dynamicPrefixLists = 627;
inline constexpr U32 dynamicPrefixList = 628;
inline constexpr U32 matchExtCommList = 629;
inline constexpr U32 matchAsPathLength = 630;
inline constexpr U32 commSetLarge = 631;
inline constexpr U32 commSetLargeKey = 632;
inline constexpr U32 matchLargeCommList = 634;
inline constexpr U32 matchContribAggAttr = 635;

// Value tags of the community commands. A number means different things to different
// operations (tag 2 is the value array of a set but the exact-copy flag of a list entry), so
// each is named for the operation that carries it.
namespace CommValue {
// Community lists, their entries and community sets.
inline constexpr U32 name = 0;         // string: the list's or set's name (an entry: its set's)
inline constexpr U32 entryKind = 1;    // U32 in an entry: 0 standard, 1 extended, 2 large
inline constexpr U32 setAdditive = 1;  // flag in a set made for an additive clause
inline constexpr U32 setValues = 2;    // 32-bit word array in a set
inline constexpr U32 entryExact = 2;   // flag in an entry of a ".exact." list
inline constexpr U32 entryPermit = 4;  // flag in an entry
inline constexpr U32 setRegex = 4;     // string in a set made from an expression entry
inline constexpr U32 entrySeqno = 5;   // U32 in an entry
// Community set clauses under a sequence's set-action node.
inline constexpr U32 stdListAdd = 12;      // string: internal list whose communities are set
inline constexpr U32 stdListKeep = 11;     // flag: false replaces the route's communities
inline constexpr U32 stdListDelete = 14;   // string: internal list whose communities go
inline constexpr U32 extSetAdd = 13;       // string: the sequence's extended set
inline constexpr U32 extSetDelete = 15;    // string: the sequence's extended set, to delete
inline constexpr U32 extSetMode = 24;      // flag false (replace) or U8 2 (additive)
inline constexpr U32 largeSetAdd = 36;     // string: the sequence's large set
inline constexpr U32 largeSetDelete = 37;  // string: the sequence's large set, to delete
inline constexpr U32 largeSetMode = 38;    // flag false (replace) or U8 4 (additive)
inline constexpr U32 lbwOption = 29;       // U8 option bit of the link-bandwidth community
inline constexpr U32 lbwBandwidth = 30;    // string: the bandwidth of the value option
// Community matches.
inline constexpr U32 matchInvert = 0;      // flag true: the rule's first flag
inline constexpr U32 matchStdList = 13;    // string: standard list names
inline constexpr U32 matchExtList = 14;    // string: extended list names
inline constexpr U32 matchLargeList = 35;  // string: large list names
}  // namespace CommValue

// Value tags of the prefix-list commands.
namespace PrefixListValue {
inline constexpr U32 name = 0;         // string in a list: its prefix-list id
inline constexpr U32 ipv4Address = 0;  // address of an IPv4 entry
inline constexpr U32 ipv6Address = 1;  // address of an IPv6 entry
inline constexpr U32 ipv4Length = 2;   // prefix length of an IPv4 entry
inline constexpr U32 ipv6Length = 3;   // prefix length of an IPv6 entry
inline constexpr U32 ge = 6;           // shortest length matched
inline constexpr U32 le = 7;           // longest length matched
inline constexpr U32 permit = 8;       // flag: the entry permits
inline constexpr U32 seqno = 9;        // U32: the entry's sequence number
}  // namespace PrefixListValue

// Value tags of the standard access-list commands.
namespace StdAclValue {
inline constexpr U32 name = 0;     // string in a list
inline constexpr U32 address = 0;  // source address of an entry
inline constexpr U32 mask = 4;     // source mask of an entry, as an address
inline constexpr U32 permit = 8;   // flag: the entry permits
inline constexpr U32 seqno = 9;    // U32: the entry's sequence number
}  // namespace StdAclValue

// Value tags of the AS-path commands.
namespace AsPathValue {
inline constexpr U32 name = 0;         // string in a list: its configured name
inline constexpr U32 entrySeqno = 0;   // U32 in an entry
inline constexpr U32 entryRegex = 1;   // string: the expression as configured
inline constexpr U32 entryOrigin = 2;  // U32: the origin mask
inline constexpr U32 entryPermit = 3;  // flag, present only for a permit entry
}  // namespace AsPathValue

// Value tags of the route-map and sequence commands.
namespace RouteMapValue {
inline constexpr U32 name = 0;         // string in a route map: its engine name
inline constexpr U32 seqno = 0;        // U32 in a sequence
inline constexpr U32 permit = 1;       // flag in a sequence: it permits
inline constexpr U32 subRouteMap = 1;  // string under a sub-route-map node
}  // namespace RouteMapValue

// Value tags of the match commands, under their match node.
namespace MatchValue {
inline constexpr U32 invert = 0;              // flag true: the match is negated
inline constexpr U32 interface = 1;           // string: one matched interface
inline constexpr U32 ipv4Address = 0;         // gateway or IPv4 next hop
inline constexpr U32 ipv6Address = 1;         // IPv6 next hop
inline constexpr U32 listName = 7;            // string: the matched list
inline constexpr U32 listKind = 8;            // U8: 1 IPv4 prefix list, 2 access list, 6 IPv6
inline constexpr U32 protocol = 24;           // U32: the engine's protocol number
inline constexpr U32 metricType = 26;         // U32: the engine's metric type
inline constexpr U32 routeType = 30;          // U32: the route type
inline constexpr U32 asRangeLow = 28;         // U32
inline constexpr U32 asRangeHigh = 29;        // U32
inline constexpr U32 commInstancesLow = 31;   // U32
inline constexpr U32 commInstancesHigh = 32;  // U32
inline constexpr U32 asPathLengthLow = 33;    // U32
inline constexpr U32 asPathLengthHigh = 34;   // U32
inline constexpr U32 contribAggMap = 36;      // string: the route map, when one is named
}  // namespace MatchValue

// Scalars set on an operation.
inline constexpr U32 scalarAsPathRegexMode = 16;
inline constexpr U32 scalarRouteMapOpMode = 18;

}  // namespace RibRouteMap::Tag

// Set-action numbers under a sequence's set-action node (601). The number is also the value
// tag under which the action's value travels.
namespace RibRouteMap::SetAction {

inline constexpr U32 origin = 0;  // U8
inline constexpr U32 metric = 1;
inline constexpr U32 action2 = 2;
inline constexpr U32 action3 = 3;
inline constexpr U32 isisLevel = 6;
inline constexpr U32 ospfMetricType = 10;
inline constexpr U32 medType = 16;  // how the metric applies
inline constexpr U32 metricSecond = 17;
inline constexpr U32 asPathPrepend = 18;  // packed AS numbers
inline constexpr U32 action19 = 19;
inline constexpr U32 action25 = 25;
inline constexpr U32 action26 = 26;
inline constexpr U32 nextHopPeerAddr = 27;  // flags from here to 32
inline constexpr U32 ipv6NextHopPeerAddr = 28;
inline constexpr U32 nextHopUnchanged = 31;
inline constexpr U32 ipv6NextHopUnchanged = 32;
inline constexpr U32 asPathPrependLastAs = 33;  // the 8-bit action
inline constexpr U32 asPathReplace = 34;        // packed AS numbers
inline constexpr U32 action35 = 35;
// Value tags of the next-hop action, which is not numbered by a set flag.
inline constexpr U32 nextHopIpv4 = 7;
inline constexpr U32 nextHopIpv6 = 8;

}  // namespace RibRouteMap::SetAction
