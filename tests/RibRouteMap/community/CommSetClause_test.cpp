#include "RibRouteMap/community/CommSetClause.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <unordered_set>
#include <vector>

namespace RibRouteMap {
namespace {

using Vox::U32;

using Routing::RouteMap::CommunitySet;
using SetPtr = Vox::Ptr<CommunitySet const>;

SetPtr makeSet(std::vector<U32> standard, std::vector<std::uint64_t> extended,
               std::vector<Routing::RouteMap::LargeCommunity> large, bool useCL,
               std::set<std::string> names, Acl::CommSetFlag flag) {
  auto s = Vox::make<CommunitySet>();
  s->standard = std::move(standard);
  s->extended = std::move(extended);
  s->large = std::move(large);
  s->useCL = useCL;
  s->communityListName = std::move(names);
  s->flag = flag;
  return s;
}

// --- MapEntryCommSetClause ----------------------------------------------------------------

// The clause's text names the type and every field, the flag by its symbolic name.
TEST(MapEntryCommSetClauseTest, TextForm) {
  EXPECT_EQ(MapEntryCommSetClause("RM", 10, Acl::commSetAdditive_).toString(),
            "Value('RibRouteMap::MapEntryCommSetClause', ** {'mapName': RM, 'mapSeqno': 10, "
            "'flag': commSetAdditive})");
}

// Every clause comes back from its text unchanged, whatever its map name holds.
TEST(MapEntryCommSetClauseTest, TextRoundTrips) {
  const std::vector<MapEntryCommSetClause> clauses = {
      {"RM", 10, Acl::commSetNone_},
      {"", 0, Acl::commSetDelete_},
      {"RM-2", 4294967295u, Acl::commSetReplace_},
      {"a, 'mapSeqno': 5, 'flag': commSetNone", 7, Acl::commSetAdditive_},
      {"odd})", 1, Acl::commSetDelete_},
      {"RM", 3, static_cast<Acl::CommSetFlag>(9)},
  };
  for (const MapEntryCommSetClause& c : clauses) {
    SCOPED_TRACE(c.toString());
    const auto back = MapEntryCommSetClause::fromString(c.toString());
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(*back, c);
  }
}

// Text that is not a clause's form is refused rather than half read.
TEST(MapEntryCommSetClauseTest, MalformedTextIsRefused) {
  const std::string head = "Value('RibRouteMap::MapEntryCommSetClause', ** {'mapName': RM, ";
  const std::vector<std::string> texts = {
      "",
      "Value('Other', ** {'mapName': RM, 'mapSeqno': 10, 'flag': commSetNone})",
      head + "'mapSeqno': 10, 'flag': commSetNone}",
      head + "'mapSeqno': , 'flag': commSetNone})",
      head + "'mapSeqno': 1x, 'flag': commSetNone})",
      head + "'mapSeqno': 4294967296, 'flag': commSetNone})",
      head + "'mapSeqno': -1, 'flag': commSetNone})",
      head + "'mapSeqno': 10, 'flag': commSetSometimes})",
      head + "'mapSeqno': 10})",
  };
  for (const std::string& t : texts) {
    SCOPED_TRACE(t);
    EXPECT_FALSE(MapEntryCommSetClause::fromString(t).has_value());
  }
}

// Clauses order by map name (byte order), then sequence, then flag.
TEST(MapEntryCommSetClauseTest, Order) {
  const std::vector<std::pair<MapEntryCommSetClause, MapEntryCommSetClause>> lessThan = {
      {{"A", 20, Acl::commSetReplace_}, {"B", 10, Acl::commSetNone_}},
      {{"B", 10, Acl::commSetNone_}, {"a", 10, Acl::commSetNone_}},
      {{"RM", 9, Acl::commSetReplace_}, {"RM", 10, Acl::commSetNone_}},
      {{"RM", 10, Acl::commSetDelete_}, {"RM", 10, Acl::commSetAdditive_}},
      {{"RM", 10, Acl::commSetNone_}, {"RM1", 0, Acl::commSetNone_}},
  };
  for (const auto& [a, b] : lessThan) {
    SCOPED_TRACE(a.toString() + " < " + b.toString());
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a == b);
  }
  const MapEntryCommSetClause c("RM", 10, Acl::commSetDelete_);
  EXPECT_FALSE(c < c);
}

// Equal clauses hash alike; a change of any one field (or of a name's tail bytes) changes it.
TEST(MapEntryCommSetClauseTest, HashFollowsEveryField) {
  const MapEntryCommSetClause base("route-map-1", 10, Acl::commSetAdditive_);
  EXPECT_EQ(base.hash(), MapEntryCommSetClause("route-map-1", 10, Acl::commSetAdditive_).hash());
  const std::vector<MapEntryCommSetClause> others = {
      {"route-map-2", 10, Acl::commSetAdditive_},
      {"route-map-1x", 10, Acl::commSetAdditive_},
      {"route-map-1", 11, Acl::commSetAdditive_},
      {"route-map-1", 10, Acl::commSetReplace_},
      {"", 10, Acl::commSetAdditive_},
  };
  std::unordered_set<U32> seen = {base.hash()};
  for (const MapEntryCommSetClause& o : others) {
    SCOPED_TRACE(o.toString());
    EXPECT_TRUE(seen.insert(o.hash()).second);
  }
  // The fields are mixed in order, not summed: swapping sequence and flag values differs.
  EXPECT_NE(MapEntryCommSetClause("RM", 1, static_cast<Acl::CommSetFlag>(2)).hash(),
            MapEntryCommSetClause("RM", 2, static_cast<Acl::CommSetFlag>(1)).hash());
  EXPECT_EQ(std::hash<MapEntryCommSetClause>()(base), base.hash());
}

// --- CommSetClauseInMapEntry --------------------------------------------------------------

// The record's text holds the clause's text and a self-describing text of the set.
TEST(CommSetClauseInMapEntryTest, TextForm) {
  CommSetClauseInMapEntry r{{"RM", 10, Acl::commSetReplace_},
                            makeSet({100, 65536}, {0x0004fde800000064ull}, {{1, 2, 3}}, true,
                                    {"A", "it's"}, Acl::commSetReplace_)};
  EXPECT_EQ(r.toString(),
            "Value('RibRouteMap::CommSetClauseInMapEntry', ** {'mapEntryClause': "
            "Value('RibRouteMap::MapEntryCommSetClause', ** {'mapName': RM, 'mapSeqno': 10, "
            "'flag': commSetReplace}), 'commSet': Value('Routing::RouteMap::CommunitySet', ** "
            "{'standard': [100, 65536], 'extended': [1405072781082724], 'large': [1:2:3], "
            "'useCL': True, 'communityListName': ['A', 'it\\'s'], 'flag': commSetReplace})})");
}

// Every record comes back from its text with the same clause and set contents.
TEST(CommSetClauseInMapEntryTest, TextRoundTrips) {
  const std::vector<CommSetClauseInMapEntry> records = {
      {{"RM", 10, Acl::commSetNone_}, makeSet({}, {}, {}, false, {}, Acl::commSetNone_)},
      {{"RM", 10, Acl::commSetAdditive_},
       makeSet({1, 4294967295u}, {0, 0xffffffffffffffffull}, {{0, 0, 0}, {7, 8, 9}}, false, {},
               Acl::commSetAdditive_)},
      {{"RM", 20, Acl::commSetDelete_},
       makeSet({}, {}, {}, true, {"A", "B B", "q'uote", "back\\slash", "ctl\x01\x7f\xff"},
               Acl::commSetDelete_)},
      // A map or list name holding the separators of the record's own form.
      {{"x}), 'commSet': None", 1, Acl::commSetReplace_},
       makeSet({5}, {}, {}, true, {"}), 'commSet': None", "], 'flag': commSetNone})"},
               Acl::commSetReplace_)},
      {{"RM", 30, Acl::commSetReplace_}, nullptr},
  };
  for (const CommSetClauseInMapEntry& r : records) {
    SCOPED_TRACE(r.toString());
    const auto back = CommSetClauseInMapEntry::fromString(r.toString());
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(*back, r);
    EXPECT_EQ(back->toString(), r.toString());
  }
}

// Text that is not a record's form is refused.
TEST(CommSetClauseInMapEntryTest, MalformedTextIsRefused) {
  const std::string clause =
      "Value('RibRouteMap::MapEntryCommSetClause', ** {'mapName': RM, 'mapSeqno': 10, 'flag': "
      "commSetNone})";
  const std::string head = "Value('RibRouteMap::CommSetClauseInMapEntry', ** {'mapEntryClause': ";
  const std::string setHead = "Value('Routing::RouteMap::CommunitySet', ** {'standard': [";
  const std::string setTail = "'useCL': False, 'communityListName': [], 'flag': commSetNone})";
  const std::vector<std::string> texts = {
      "",
      head + clause + "})",
      head + "garbage, 'commSet': None})",
      head + clause + ", 'commSet': Nothing})",
      head + clause + ", 'commSet': " + setHead + "1 2], 'extended': [], 'large': [], " + setTail +
          "})",
      head + clause + ", 'commSet': " + setHead + "], 'extended': [], 'large': [1:2], " + setTail +
          "})",
      head + clause + ", 'commSet': " + setHead +
          "], 'extended': [], 'large': [], 'useCL': Maybe, 'communityListName': [], 'flag': "
          "commSetNone})})",
      head + clause + ", 'commSet': " + setHead +
          "], 'extended': [], 'large': [], 'useCL': True, 'communityListName': ['open], 'flag': "
          "commSetNone})})",
      head + clause + ", 'commSet': " + setHead +
          "], 'extended': [], 'large': [], 'useCL': True, 'communityListName': ['\\q'], "
          "'flag': commSetNone})})",
      head + clause + ", 'commSet': " + setHead +
          "], 'extended': [], 'large': [], 'useCL': True, 'communityListName': [], 'flag': "
          "bogus})})",
  };
  for (const std::string& t : texts) {
    SCOPED_TRACE(t);
    EXPECT_FALSE(CommSetClauseInMapEntry::fromString(t).has_value());
  }
}

// Records are equal when clause and set contents agree, whichever set objects hold them.
TEST(CommSetClauseInMapEntryTest, EqualityComparesContents) {
  const MapEntryCommSetClause c("RM", 10, Acl::commSetAdditive_);
  const auto set = [](std::vector<U32> v) {
    return makeSet(std::move(v), {}, {}, false, {}, Acl::commSetAdditive_);
  };
  const CommSetClauseInMapEntry a{c, set({1, 2})};
  EXPECT_EQ(a, (CommSetClauseInMapEntry{c, set({1, 2})}));
  EXPECT_FALSE(a == (CommSetClauseInMapEntry{c, set({1, 3})}));
  EXPECT_FALSE(a == (CommSetClauseInMapEntry{{"RM", 11, Acl::commSetAdditive_}, set({1, 2})}));
  EXPECT_FALSE(a == (CommSetClauseInMapEntry{c, nullptr}));
  EXPECT_EQ((CommSetClauseInMapEntry{c, nullptr}), (CommSetClauseInMapEntry{c, nullptr}));
}

}  // namespace
}  // namespace RibRouteMap
