#include "framework/rib/ValueSet.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "framework/rib/MioSink.h"

namespace {

using Vox::U32;
using Vox::U8;

using Rib::TaggedValue;
using Rib::ValueData;
using Rib::ValueSet;

// One change: set a value (a Reset removes), or erase the tag when there is no value.
struct Change {
  U32 tag;
  std::optional<ValueData> value;
};

struct Case {
  const char* name;
  std::vector<Change> changes;
  std::vector<std::string> contents;  // valueText of each value, in iteration order
  std::vector<U32> absent;            // tags that find() must not find
  friend void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }
};

ValueSet made(const std::vector<Change>& changes) {
  ValueSet set;
  for (const Change& c : changes) {
    if (c.value) {
      set.set(c.tag, *c.value);
    } else {
      set.erase(c.tag);
    }
  }
  return set;
}

std::vector<std::string> contents(const ValueSet& set) {
  std::vector<std::string> out;
  for (const TaggedValue& v : set) out.push_back(Rib::valueText(v));
  return out;
}

class ValueSetTest : public testing::TestWithParam<Case> {};

// The set holds exactly the expected values in tag order, finds each of them and no other.
TEST_P(ValueSetTest, HoldsExpectedValues) {
  const ValueSet set = made(GetParam().changes);
  EXPECT_EQ(contents(set), GetParam().contents);
  EXPECT_EQ(set.size(), GetParam().contents.size());
  EXPECT_EQ(set.empty(), GetParam().contents.empty());
  for (const TaggedValue& v : set) {
    const auto it = set.find(v.tag);
    ASSERT_NE(it, set.end()) << v.tag;
    EXPECT_EQ(*it, v);
  }
  for (const U32 tag : GetParam().absent) {
    EXPECT_EQ(set.find(tag), set.end()) << tag;
    EXPECT_FALSE(set.contains(tag)) << tag;
  }
}

const std::string kLong(300, 'z');

INSTANTIATE_TEST_SUITE_P(
    ValueSet, ValueSetTest,
    testing::Values(
        Case{"Empty", {}, {}, {0, 7}},
        // Values come out by tag, whatever order they were set in.
        Case{"OrderedByTag",
             {{9, U32{9}}, {0, U32{0}}, {70000, U32{7}}, {5, U32{5}}},
             {"0:u32=0", "5:u32=5", "9:u32=9", "70000:u32=7"},
             {1, 6, 10, 69999, 70001}},
        // A later value of a tag replaces the earlier one, whatever its type or size.
        Case{"LaterValueReplaces",
             {{3, std::string("long enough to need the heap")}, {4, U8{1}}, {3, true}},
             {"3:flag=true", "4:u8=1"},
             {}},
        // Erasing a tag leaves its neighbours; erasing a missing one changes nothing.
        Case{"EraseKeepsNeighbours",
             {{1, U32{1}}, {2, U32{2}}, {3, U32{3}}, {2, std::nullopt}, {8, std::nullopt}},
             {"1:u32=1", "3:u32=3"},
             {2, 8}},
        // A reset removes its tag as erase does; erasing the last value empties the set.
        Case{"ResetAndEraseEmpty",
             {{4, U32{4}}, {5, U32{5}}, {4, Rib::Reset{}}, {5, std::nullopt}},
             {},
             {4, 5}},
        // Tags and numbers of every width keep their value and their order.
        Case{"NumbersOfEveryWidth",
             {{4294967295u, U32{128}},
              {16, U32{16383}},
              {15, U32{127}},
              {128, U32{4294967295u}},
              {16384, std::vector<U32>{0, 127, 128, 16384, 2097152, 268435456}}},
             {"15:u32=127", "16:u32=16383", "128:u32=4294967295",
              "16384:words=[0,127,128,16384,2097152,268435456]", "4294967295:u32=128"},
             {0, 14, 17, 127, 129, 16383, 4294967294u}},
        // Every type comes back as it went in, strings with any byte and of any length.
        Case{"EveryTypeRoundTrips",
             {{0, U32{4294967295u}},
              {1, U8{255}},
              {2, std::string("a\0b\xff", 4)},
              {3, false},
              {4, *Vela::IpAddr::parse("10.1.2.3")},
              {5, *Vela::Ip6Addr::parse("2001:db8::ff")},
              {6, std::vector<U32>{65001, 0, 4294967295u}},
              {7, std::vector<U32>{}},
              {8, std::string()},
              {9, kLong}},
             {"0:u32=4294967295", "1:u8=255", "2:str=\"a\\x00b\\xff\"", "3:flag=false",
              "4:ipv4=10.1.2.3", "5:ipv6=2001:db8::ff", "6:words=[65001,0,4294967295]",
              "7:words=[]", "8:str=\"\"", "9:str=\"" + kLong + "\""},
             {10}}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

// Sets with the same values are equal, however they were made; a copy is equal and apart.
TEST(ValueSetEquality, SameValuesEqualCopiesIndependent) {
  const ValueSet a = made({{1, U32{1}}, {2, std::string("x")}});
  const ValueSet b =
      made({{2, U32{0}}, {1, U32{1}}, {2, std::string("x")}, {3, U8{3}}, {3, std::nullopt}});
  EXPECT_EQ(a, b);
  EXPECT_NE(a, made({{1, U32{1}}, {2, std::string("y")}}));
  EXPECT_NE(a, made({{1, U32{1}}}));
  EXPECT_NE(a, ValueSet());
  ValueSet copy = a;
  copy.set(1, U32{2});
  EXPECT_EQ(a, b);
  EXPECT_NE(copy, a);
}

// Encoded values apply in order, after clearing the set when asked to.
TEST(ValueSetEquality, ApplyEncodedInOrderAndReplacing) {
  std::string encoded;
  ValueSet::encode(encoded, 9, U32{1});
  ValueSet::encode(encoded, 1, Rib::Reset{});
  ValueSet::encode(encoded, 9, U32{2});
  ValueSet merged = made({{1, U32{1}}, {5, U8{5}}});
  ValueSet replaced = merged;
  merged.applyEncoded(encoded, 3, false);
  replaced.applyEncoded(encoded, 3, true);
  EXPECT_EQ(contents(merged), (std::vector<std::string>{"5:u8=5", "9:u32=2"}));
  EXPECT_EQ(contents(replaced), (std::vector<std::string>{"9:u32=2"}));
}

}  // namespace
