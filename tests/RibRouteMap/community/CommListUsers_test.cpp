#include "RibRouteMap/community/CommListUsers.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
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
