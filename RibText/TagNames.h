// What the numbers of an engine operation mean, for the text that people read: path tags by
// node name, value tags by what the command sends under them, communities in their usual
// forms and packed AS paths as AS numbers.
//
//   numeric:   512/576="RM1"/577/578=10/601            {18:str="\xf0\xfb\x00\x00" 1:u32=100}
//   readable:  policy/route-map="RM1"/seqs/seq=10/set  {as-path-prepend=[64496] metric=100}
//
// Nothing is lost: a path tag without a name, or a value tag that its node does not define,
// keeps its number (`9:u32=7`); a value's type shows in its form (quoted string, true/false,
// dotted or colon address, [list], plain number for u32) and is written out where the form
// cannot tell it (`origin:u8=1`, `lbw-option:reset`); a packed string that does not hold whole
// AS numbers stays a quoted string, and a word list that does not hold whole communities
// stays a list of numbers.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "framework/rib/MioSink.h"

namespace RibText {

// The node name of a path tag ("route-map" for 576), or nothing for a tag the library does
// not use.
std::optional<std::string_view> pathTagName(U32 tag);
// The name of value tag `valueTag` under a node whose path ends in `nodeTag`, or nothing.
std::optional<std::string_view> valueTagName(U32 nodeTag, U32 valueTag);
// The name of an operation scalar ("as-path-regex-mode" for 16), or nothing.
std::optional<std::string_view> scalarTagName(U32 tag);

// 65535:666 for 0xffff029a.
std::string standardCommunity(U32 value);
// An extended community from its upper and lower word: route targets and sites of origin of
// the three transitive kinds (rt:64496:100, rt:192.0.2.1:7, soo:4200000000:9), any other as
// 0x followed by sixteen hex digits. A four-byte AS that would fit two bytes is written in hex,
// so that every text stands for one value.
std::string extendedCommunity(U32 upper, U32 lower);
// 64496:1:100.
std::string largeCommunity(U32 global, U32 local1, U32 local2);
// The AS numbers of a packed AS path (four bytes each, the machine's byte order), as
// "[64496 64496]"; nothing when the length is not a multiple of four.
std::optional<std::string> packedAsPath(std::string_view bytes);

// The AS numbers of a packed AS path, or nothing as above.
std::optional<std::vector<U32>> packedAsNumbers(std::string_view bytes);
// Whether value tag `tag` under node `nodeTag` holds a packed AS path.
bool isPackedAsPath(U32 nodeTag, U32 tag);
// The communities of a community set's value list, one text each, or nothing when `tag` is not
// a set's values or the words do not divide into whole communities of the set's kind.
std::optional<std::vector<std::string>> communityTexts(U32 nodeTag, U32 tag,
                                                       const std::vector<U32>& words);

// The dictionary itself, for programs that print names of their own: every path tag (node 0),
// every value tag with the node that defines it, and the global scalars (under the global
// node, where the engine keeps them as values), in table order.
struct TagName {
  U32 node = 0;
  U32 tag = 0;
  std::string_view name;
};
std::vector<TagName> pathTagNames();
std::vector<TagName> valueTagNames();
std::vector<TagName> scalarTagNames();

// The readable text of a path, and of a value that travels to the node at its end.
std::string readablePath(const std::vector<Rib::PathEntry>& path);
std::string readableValue(U32 nodeTag, const Rib::TaggedValue& value);
std::string readableScalar(const Rib::OpScalar& scalar);
// One whole operation, as Rib::opText writes it with numbers:
//   routeMapSeq policy/route-map="RM1"/seqs/seq=10 {seq=10 permit=true}
//   RouteMapSetOpMode global scalars{route-map-op-mode=0}
//   deleteRouteMap policy/route-map="RM1" del
std::string readableOp(const Rib::OpRecord& op);
// The tag of the node a path ends at (0 for an empty path).
U32 nodeTagOf(const std::vector<Rib::PathEntry>& path);

}  // namespace RibText
