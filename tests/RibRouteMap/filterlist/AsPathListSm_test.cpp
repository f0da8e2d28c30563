#include <gtest/gtest.h>

#include "tests/RibRouteMap/filterlist/FilterListTestSupport.h"

namespace filterlist_test {
namespace {

class AsPathListTest : public FilterListTest {
 protected:
  // List "P" with three entries valid in both dialects, announced with version 1.
  Vox::Ptr<Acl::AsPathList> addValidList() {
    auto list = Vox::make<Acl::AsPathList>("P");
    config().pathListIs(list);
    list->pathEntryIs(pathEntry(10, "^10$"));
    list->pathEntryIs(pathEntry(20, "^20$"));
    list->pathEntryIs(pathEntry(30, "^30$"));
    list->versionIs(1);
    agent.take();
    return list;
  }

  // "P" after a fourth entry, valid in neither dialect, has deactivated it.
  Vox::Ptr<Acl::AsPathList> addDeactivatedList() {
    auto list = addValidList();
    list->pathEntryIs(pathEntry(40, "[", false, false));
    agent.take();
    return list;
  }

  const RibRouteMap::AclListConfigSm::VoxPathList& reactor() { return *sm().pathList().find("P"); }
};

Lines addAllThree() {
  return {addPathEntry("P", 10, "^10$"), addPathEntry("P", 20, "^20$"),
          addPathEntry("P", 30, "^30$")};
}

// A new list is added and committed, its reactor only commits, entries are sent as they
// arrive and the version commits them.
TEST_F(AsPathListTest, NewListEntriesSentAsTheyArrive) {
  auto list = Vox::make<Acl::AsPathList>("P");
  config().pathListIs(list);
  EXPECT_EQ(agent.take(), (Lines{addPathList("P"), "commit", "commit"}));
  list->pathEntryIs(pathEntry(10, "^10$"));
  list->pathEntryIs(pathEntry(20, "^20$"));
  list->versionIs(1);
  EXPECT_EQ(agent.take(),
            (Lines{addPathEntry("P", 10, "^10$"), addPathEntry("P", 20, "^20$"), "commit"}));
}

// An invalid fourth entry deletes every configured entry and commits; removing it re-adds
// the three and commits.
TEST_F(AsPathListTest, InvalidEntryDeactivatesAndItsRemovalReactivates) {
  auto list = addValidList();
  list->pathEntryIs(pathEntry(40, "[", false, false));
  EXPECT_EQ(agent.take(), (Lines{delPathEntry("P", 10), delPathEntry("P", 20),
                                 delPathEntry("P", 30), delPathEntry("P", 40), "commit"}));
  EXPECT_FALSE(reactor().active());

  list->pathEntryDel(40);
  EXPECT_EQ(agent.take(), join({addAllThree(), {"commit"}}));
  EXPECT_TRUE(reactor().active());
}

// A second invalid entry of a deactivated list sends nothing.
TEST_F(AsPathListTest, SecondInvalidEntrySendsNothing) {
  auto list = addDeactivatedList();
  list->pathEntryIs(pathEntry(50, "(", false, false));
  EXPECT_EQ(agent.take(), Lines{});
  EXPECT_EQ(reactor().inapplicableSeqno().size(), 2u);
}

// The only invalid entry notified again repeats the deletion of the entries.
TEST_F(AsPathListTest, OnlyInvalidEntryChangedAgainRepeatsDeletion) {
  auto list = addDeactivatedList();
  list->pathEntryIs(pathEntry(40, "[[", false, false));
  EXPECT_EQ(agent.take(), (Lines{delPathEntry("P", 10), delPathEntry("P", 20),
                                 delPathEntry("P", 30), delPathEntry("P", 40), "commit"}));
}

// In a deactivated list a valid entry is not sent, a removed valid one is still deleted, and
// the list comes back whole once its invalid entry goes.
TEST_F(AsPathListTest, DeactivatedListKeepsValidChangesForLater) {
  auto list = addDeactivatedList();
  list->pathEntryIs(pathEntry(35, "^35$"));
  list->pathEntryDel(20);
  EXPECT_EQ(agent.take(), Lines{delPathEntry("P", 20)});
  list->pathEntryDel(40);
  EXPECT_EQ(agent.take(), (Lines{addPathEntry("P", 10, "^10$"), addPathEntry("P", 30, "^30$"),
                                 addPathEntry("P", 35, "^35$"), "commit"}));
}

// An entry that becomes valid keeps the list deactivated until the list is reevaluated.
TEST_F(AsPathListTest, RepairedEntryWaitsForReevaluation) {
  auto list = addDeactivatedList();
  list->pathEntryIs(pathEntry(40, "^40$"));
  EXPECT_EQ(agent.take(), Lines{});
  EXPECT_FALSE(reactor().active());
  sm().handleRegexMode();
  EXPECT_EQ(agent.take(), join({{deletePathList("P")},
                                regexModeSwitch(1),
                                {addPathList("P")},
                                addAllThree(),
                                {addPathEntry("P", 40, "^40$"), "commit"}}));
  EXPECT_TRUE(reactor().active());
}

// A mode change with no AS-path list: the sync delete and commits around the mode only.
TEST_F(AsPathListTest, ModeChangeWithoutLists) {
  config().regexModeIs(1);
  EXPECT_EQ(agent.take(), join({regexModeSwitch(2), {"commit"}}));
}

// A mode change deletes every list, switches, and re-adds each list, with its entries only
// where all of them are valid in the new dialect.
TEST_F(AsPathListTest, ModeChangeReaddsOnlyValidLists) {
  addValidList();
  auto q = Vox::make<Acl::AsPathList>("Q");
  config().pathListIs(q);
  q->pathEntryIs(pathEntry(5, "^5$", true, false));
  q->versionIs(1);
  agent.take();

  config().regexModeIs(1);
  EXPECT_EQ(agent.take(), join({{deletePathList("P"), deletePathList("Q")},
                                regexModeSwitch(2),
                                {addPathList("P")},
                                addAllThree(),
                                {addPathList("Q"), "commit"}}));
  EXPECT_FALSE(sm().pathList().find("Q")->active());
}

// Under a dialect other than 0 and 1 no entry is valid: every non-empty list is deactivated.
TEST_F(AsPathListTest, UnknownModeDeactivatesNonEmptyLists) {
  addValidList();
  config().pathListIs(Vox::make<Acl::AsPathList>("E"));
  agent.take();
  config().regexModeIs(7);
  EXPECT_EQ(agent.take(), join({{deletePathList("E"), deletePathList("P")},
                                regexModeSwitch(1),
                                {addPathList("E"), addPathList("P"), "commit"}}));
  EXPECT_FALSE(reactor().active());
  EXPECT_TRUE(sm().pathList().find("E")->active());
}

}  // namespace
}  // namespace filterlist_test
