#include "RibRouteMap/community/CommListUsers.h"

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

// --- CommSetClauseMapEntryColl ------------------------------------------------------------

struct ClauseWatcher : CommSetClauseMapEntryColl::Notifiee {
  void onCommSetClause(const MapEntryCommSetClause& c) override { seen.push_back(c); }
  std::vector<MapEntryCommSetClause> seen;
};

// A record is stored under its clause; storing the same key again replaces it.
TEST(CommSetClauseMapEntryCollTest, SameClauseReplacesRecord) {
  auto coll = commSetClauseMapEntryCollFactory("A");
  ClauseWatcher w;
  w.notifierIs(coll);
  const MapEntryCommSetClause c("RM", 10, Acl::commSetAdditive_);
  const SetPtr first = makeSet({1}, {}, {}, true, {"A"}, Acl::commSetAdditive_);
  const SetPtr second = makeSet({2}, {}, {}, true, {"A"}, Acl::commSetAdditive_);

  coll->commSetClauseIs({c, first});
  coll->commSetClauseIs({c, second});
  ASSERT_EQ(coll->commSetClause().size(), 1u);
  EXPECT_EQ(coll->commSetClause().at(c).commSet, second);
  EXPECT_EQ(w.seen, (std::vector<MapEntryCommSetClause>{c, c}));
}

// Re-storing unchanged contents keeps the newest set object but tells nobody.
TEST(CommSetClauseMapEntryCollTest, UnchangedRecordNotifiesNobody) {
  auto coll = commSetClauseMapEntryCollFactory("A");
  ClauseWatcher w;
  w.notifierIs(coll);
  const MapEntryCommSetClause c("RM", 10, Acl::commSetDelete_);
  coll->commSetClauseIs({c, makeSet({1}, {}, {}, true, {"A"}, Acl::commSetDelete_)});
  const SetPtr again = makeSet({1}, {}, {}, true, {"A"}, Acl::commSetDelete_);
  coll->commSetClauseIs({c, again});
  EXPECT_EQ(coll->commSetClause().at(c).commSet, again);
  EXPECT_EQ(w.seen.size(), 1u);
}

// Deleting a stored clause removes it and notifies; an absent one changes nothing.
TEST(CommSetClauseMapEntryCollTest, DeleteRemovesOnlyThatClause) {
  auto coll = commSetClauseMapEntryCollFactory("A");
  const MapEntryCommSetClause ar("RM", 10, Acl::commSetAdditive_);
  const MapEntryCommSetClause del("RM", 10, Acl::commSetDelete_);
  coll->commSetClauseIs({ar, makeSet({}, {}, {}, true, {"A"}, Acl::commSetAdditive_)});
  coll->commSetClauseIs({del, makeSet({}, {}, {}, true, {"A"}, Acl::commSetDelete_)});
  ClauseWatcher w;
  w.notifierIs(coll);

  coll->commSetClauseDel({"RM", 20, Acl::commSetAdditive_});
  coll->commSetClauseDel(coll->commSetClause().find(ar)->first);  // the stored key itself
  EXPECT_EQ(coll->commSetClause().count(ar), 0u);
  EXPECT_EQ(coll->commSetClause().count(del), 1u);
  EXPECT_EQ(w.seen, (std::vector<MapEntryCommSetClause>{ar}));
  EXPECT_EQ(coll->name(), "A");
}

// --- CommListUsers ------------------------------------------------------------------------

struct UserWatcher : CommListUsers::Notifiee {
  void onCommListUser(const Vox::Name& n) override { seen.push_back(n); }
  std::vector<Vox::Name> seen;
};

// A list's collection is made on first use, then found again; only the making notifies.
TEST(CommListUsersTest, CollectionMadeOnceAndFound) {
  auto users = Vox::make<CommListUsers>("comm-list-users");
  UserWatcher w;
  w.notifierIs(users);
  EXPECT_FALSE(users->commListUser("A"));

  auto made = users->commListUserIs("A");
  ASSERT_TRUE(made);
  EXPECT_EQ(made->name(), "A");
  EXPECT_EQ(users->commListUserIs("A"), made);
  EXPECT_EQ(users->commListUser("A"), made);
  EXPECT_EQ(w.seen, (std::vector<Vox::Name>{"A"}));
}

// Deleting one list's collection leaves the others; deleting all notifies for each.
TEST(CommListUsersTest, DeleteAndDeleteAll) {
  auto users = Vox::make<CommListUsers>("comm-list-users");
  for (const char* n : {"C", "A", "B"}) users->commListUserIs(n);
  UserWatcher w;
  w.notifierIs(users);

  users->commListUserDel("B");
  users->commListUserDel("missing");
  EXPECT_FALSE(users->commListUser("B"));
  EXPECT_TRUE(users->commListUser("A"));
  users->commListUserDelAll();
  EXPECT_TRUE(users->commListUser().empty());
  EXPECT_EQ(w.seen, (std::vector<Vox::Name>{"B", "A", "C"}));
}

}  // namespace
}  // namespace RibRouteMap
