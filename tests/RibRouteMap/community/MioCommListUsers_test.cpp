#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/RibRouteMap/community/CommunityTestSupport.h"

namespace RibRouteMap::test {
namespace {

class CommListTrackingTest : public CommunityStreamTest {
 protected:
  void SetUp() override {
    CommunityStreamTest::SetUp();
    root_ = makeRoot();
  }

  CommListUsers& users() { return *root_->commListUsers(); }

  // Every list's records as (list name -> clauses), for whole comparisons.
  std::map<std::string, std::vector<MapEntryCommSetClause>> recorded() {
    std::map<std::string, std::vector<MapEntryCommSetClause>> out;
    for (const auto& [name, coll] : users().commListUser()) {
      auto& clauses = out[name];
      for (const auto& [clause, record] : coll->commSetClause()) clauses.push_back(clause);
      std::sort(clauses.begin(), clauses.end());
    }
    return out;
  }

  Vox::Ptr<Root> root_;
};

using Recorded = std::map<std::string, std::vector<MapEntryCommSetClause>>;

// A clause is recorded under each list it names, once per (map, sequence, flag).
TEST_F(CommListTrackingTest, RecordsClauseUnderEveryList) {
  const auto ar = listSet({"A", "B"}, Acl::commSetAdditive_);
  const auto del = listSet({"A"}, Acl::commSetDelete_);
  mio_->addRmClauseToCommListUsers("RM", 10, ar);
  mio_->addRmClauseToCommListUsers("RM", 10, del);
  mio_->addRmClauseToCommListUsers("RM", 20, ar);

  const MapEntryCommSetClause rm10ar("RM", 10, Acl::commSetAdditive_);
  const MapEntryCommSetClause rm10del("RM", 10, Acl::commSetDelete_);
  const MapEntryCommSetClause rm20ar("RM", 20, Acl::commSetAdditive_);
  EXPECT_EQ(recorded(), (Recorded{{"A", {rm10del, rm10ar, rm20ar}}, {"B", {rm10ar, rm20ar}}}));
  EXPECT_EQ(users().commListUser("A")->commSetClause().at(rm10del).commSet, del);
  EXPECT_TRUE(lines().empty());
}

// Recording a clause again replaces its record with the newest set.
TEST_F(CommListTrackingTest, ReAddReplacesRecord) {
  const auto first = listSet({"A"}, Acl::commSetReplace_);
  const auto second = listSet({"A", "C"}, Acl::commSetReplace_);
  mio_->addRmClauseToCommListUsers("RM", 10, first);
  mio_->addRmClauseToCommListUsers("RM", 10, second);

  const MapEntryCommSetClause clause("RM", 10, Acl::commSetReplace_);
  EXPECT_EQ(recorded(), (Recorded{{"A", {clause}}, {"C", {clause}}}));
  EXPECT_EQ(users().commListUser("A")->commSetClause().at(clause).commSet, second);
}

// A clause that names no list records nothing.
TEST_F(CommListTrackingTest, ClauseWithoutListsRecordsNothing) {
  mio_->addRmClauseToCommListUsers("RM", 10, standardSet({1}, Acl::commSetAdditive_));
  EXPECT_TRUE(users().commListUser().empty());
}

// Forgetting a map entry removes its records from every list and drops a list left unused.
TEST_F(CommListTrackingTest, ForgettingEntryDropsUnusedList) {
  mio_->addRmClauseToCommListUsers("RM", 10, listSet({"A", "B"}, Acl::commSetAdditive_));
  mio_->addRmClauseToCommListUsers("RM", 10, listSet({"B"}, Acl::commSetDelete_));
  mio_->addRmClauseToCommListUsers("RM", 20, listSet({"A"}, Acl::commSetAdditive_));
  mio_->addRmClauseToCommListUsers("RM1", 0, listSet({"A"}, Acl::commSetAdditive_));
  captureTraces();

  mio_->delRmFromCommListUsers("RM", 10);
  EXPECT_EQ(recorded(), (Recorded{{"A",
                                   {MapEntryCommSetClause("RM", 20, Acl::commSetAdditive_),
                                    MapEntryCommSetClause("RM1", 0, Acl::commSetAdditive_)}}}));
  EXPECT_NE(traces_.str().find(
                "      void RibRouteMap::Mio::delRmFromCommListUsers(Vox::String, U32) "
                "community-list is not longer used by any route-map:B removing from the tracking "
                "structure\n"),
            std::string::npos);
  EXPECT_EQ(traces_.str().find("route-map:A"), std::string::npos);
  EXPECT_TRUE(lines().empty());
}

// With the tracking entity gone (or no root at all) forgetting an entry only traces.
TEST_F(CommListTrackingTest, ForgettingWithoutTrackingOnlyTraces) {
  const std::string earlyReturn =
      "delRmFromCommListUsers commListUsers is empty. RibRouteMap SMs are getting deleted in a "
      "test. Return early\n";
  mio_->addRmClauseToCommListUsers("RM", 10, listSet({"A"}, Acl::commSetAdditive_));
  root_->commListUsersDel();
  captureTraces();
  mio_->delRmFromCommListUsers("RM", 10);
  EXPECT_EQ(traces_.str(), earlyReturn);

  traces_.str("");
  rmRoot = nullptr;
  mio_->delRmFromCommListUsers("RM", 10);
  EXPECT_EQ(traces_.str(), earlyReturn);
  EXPECT_TRUE(lines().empty());
}

// A refresh re-issues every clause using the list (both flavours of one entry) and no other.
TEST_F(CommListTrackingTest, RefreshReissuesEveryUser) {
  const auto ar = standardSet({1}, Acl::commSetAdditive_);
  auto arWithList = Vox::make<Routing::RouteMap::CommunitySet>(*ar);
  arWithList->communityListName = {"A"};
  const auto del = listSet({"A"}, Acl::commSetDelete_);
  mio_->addRmClauseToCommListUsers("RM", 10, arWithList);
  mio_->addRmClauseToCommListUsers("RM", 10, del);
  mio_->addRmClauseToCommListUsers("RM", 20, listSet({"B"}, Acl::commSetAdditive_));

  const Lines arLines = linesOf([&] { mio_->doSetCommunity("RM", 10, arWithList); });
  const Lines delLines = linesOf([&] { mio_->doSetCommunity("RM", 10, del); });
  ASSERT_NE(arLines, delLines);
  const Lines got = linesOf([&] { mio_->refreshCommListUsersOf("A"); });
  // Records are kept in a hash map: either order of the two clauses is correct.
  EXPECT_TRUE(got == concat({arLines, delLines}) || got == concat({delLines, arLines}))
      << ::testing::PrintToString(got);
}

// A refresh of a list nobody uses sends nothing.
TEST_F(CommListTrackingTest, RefreshOfUnusedListSendsNothing) {
  mio_->addRmClauseToCommListUsers("RM", 10, listSet({"A"}, Acl::commSetAdditive_));
  mio_->refreshCommListUsersOf("B");
  rmRoot = nullptr;
  mio_->refreshCommListUsersOf("A");
  EXPECT_TRUE(lines().empty());
}

}  // namespace
}  // namespace RibRouteMap::test
