// The readable forms of the text stream: communities, packed AS paths, and values whose tag
// or form the names do not cover, which must keep everything the numeric form says.
#include "RibText/TagNames.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "RibRouteMap/mio/Tags.h"

namespace {

using Vox::U32;
using Vox::U8;

using Rib::TaggedValue;
using RibText::readableValue;
namespace Tag = RibRouteMap::Tag;

// Standard, extended and large communities at their edges; extended kinds without a usual
// form, and four-byte ASes that would read as two-byte ones, stay hex.
TEST(TagNamesTest, Communities) {
  EXPECT_EQ(RibText::standardCommunity(0), "0:0");
  EXPECT_EQ(RibText::standardCommunity(0xffff029a), "65535:666");
  EXPECT_EQ(RibText::standardCommunity(0xffffffff), "65535:65535");
  const struct {
    U32 upper, lower;
    const char* text;
  } extended[] = {
      {0x0002fbf0, 100, "rt:64496:100"},
      {0x0003fbf0, 0xffffffff, "soo:64496:4294967295"},
      {0x0102c000, 0x02010007, "rt:192.0.2.1:7"},
      {0x0202fa56, 0xea000009, "rt:4200000000:9"},
      {0x02020000, 0xfbf00009, "0x02020000fbf00009"},
      {0x40040000, 0x00000001, "0x4004000000000001"},
      {0x00080000, 0, "0x0008000000000000"},
  };
  for (const auto& e : extended) {
    EXPECT_EQ(RibText::extendedCommunity(e.upper, e.lower), e.text) << std::hex << e.upper;
  }
  EXPECT_EQ(RibText::largeCommunity(4294967295u, 0, 1), "4294967295:0:1");
}

// AS numbers come back in order from the machine's byte order; a length that is not whole
// AS numbers gives nothing.
TEST(TagNamesTest, PackedAsPaths) {
  const U32 path[] = {64496, 4200000000u, 0};
  EXPECT_EQ(RibText::packedAsPath(std::string(reinterpret_cast<const char*>(path), 12)),
            "[64496 4200000000 0]");
  EXPECT_EQ(RibText::packedAsPath(""), "[]");
  EXPECT_EQ(RibText::packedAsPath("abcde"), std::nullopt);
}

// Each value's type shows in its text or is written out; words and strings that do not hold
// whole communities or AS numbers, and tags a node does not define, keep the numeric form.
TEST(TagNamesTest, ValuesKeepTheirTypes) {
  const U32 set = Tag::setActions;
  const struct {
    U32 node;
    TaggedValue value;
    const char* text;
  } cases[] = {
      {set, {0, U8{1}}, "origin:u8=1"},
      {set, {29, Rib::Reset{}}, "lbw-option:reset"},
      {set, {27, false}, "next-hop-peer-address=false"},
      {set, {18, std::string("\x01\x02\x03", 3)}, R"(as-path-prepend="\x01\x02\x03")"},
      {set, {99, U32{5}}, "99:u32=5"},
      {Tag::routeMap, {18, std::string("ab\"")}, R"(18:str="ab\x22")"},
      {Tag::commSetStandardKey, {2, std::vector<U32>{0x10002, 3}}, "values=[1:2 0:3]"},
      {Tag::commSetExtendedKey, {2, std::vector<U32>{1, 2, 3}}, "values=[1 2 3]"},
      {Tag::commSetLargeKey, {2, std::vector<U32>{1, 2, 3}}, "values=[1:2:3]"},
      {Tag::commSetLargeKey, {2, std::vector<U32>{}}, "values=[]"},
      {Tag::commListEntryKey, {2, true}, "exact=true"},
      {Tag::commListKey, {2, std::vector<U32>{7}}, "2:words=[7]"},
      {Tag::globalPolicy, {16, U32{2}}, "as-path-regex-mode=2"},
      {Tag::globalPolicy, {17, U32{2}}, "17:u32=2"},
  };
  for (const auto& c : cases) EXPECT_EQ(readableValue(c.node, c.value), c.text);
}

// A path names each node once: no two tags share a name, nor do two value tags of one node,
// and a tag without a name keeps its number with its key.
TEST(TagNamesTest, PathsNameEachTagOnce) {
  std::set<std::string_view> names;
  for (U32 tag = 0; tag < 1024; ++tag) {
    const auto name = RibText::pathTagName(tag);
    if (!name) continue;
    EXPECT_TRUE(names.insert(*name).second) << *name << " names two tags";
    std::set<std::string_view> values;
    for (U32 v = 0; v < 64; ++v) {
      const auto value = RibText::valueTagName(tag, v);
      if (value) {
        EXPECT_TRUE(values.insert(*value).second) << *name << ": " << *value << " names two tags";
      }
    }
  }
  Rib::PathEntry seq{Tag::routeMapSeq, Rib::PathEntry::Kind::u32, 10, ""};
  Rib::PathEntry odd{700, Rib::PathEntry::Kind::string, 0, "k\n"};
  Rib::PathEntry root{Tag::policyRoot, Rib::PathEntry::Kind::none, 0, ""};
  EXPECT_EQ(RibText::readablePath({root, seq, odd}), R"(policy/seq=10/700="k\x0a")");
}

}  // namespace
