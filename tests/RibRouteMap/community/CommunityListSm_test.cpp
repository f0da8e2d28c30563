#include <gtest/gtest.h>

#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "tests/support/Agent.h"

namespace {

using Lines = std::vector<std::string>;
using testing_support::join;
namespace RM = Routing::RouteMap;

const std::string kListL = R"(512/528/529="/policy/commlist L")";
const std::string kExactL = R"(512/528/529="/policy/commlist .exact.L")";

Lines setDeletes(const std::string& setName) {
  const std::string key = "=\"/policy/commset " + setName + "\" del";
  return {"delCommunitySet 512/524/525" + key, "commit",
          "delCommunitySet 512/526/527" + key, "commit",
          "delCommunitySet 512/631/632" + key, "commit"};
}

// The engine lines of writing entry `seqno` of list L holding one standard community.
Lines entryAdded(U32 seqno, U32 community) {
  const std::string set = ".L" + std::to_string(seqno);
  const std::string entry = "/530/531=\"/commlist/entry " + set + "\" {0:str=\"" + set +
                            "\" 5:u32=" + std::to_string(seqno) + " 1:u32=0 4:flag=true";
  return join({setDeletes(set),
               {"addCommunitySet 512/524/525=\"/policy/commset " + set + "\" {0:str=\"" + set +
                    "\" 2:words=[" + std::to_string(community) + "]}",
                "commit", "addCommunityListEntry " + kListL + entry + "}",
                "addCommunityListEntryExact " + kExactL + entry + " 2:flag=true}"}});
}

Vox::Ptr<Acl::CommunityListEntry> entry(U32 seqno, U32 community, U32 version) {
  auto e = Vox::make<Acl::CommunityListEntry>(seqno);
  e->communitiesIs({Acl::CommunityValue::standard(community)});
  e->versionIs(version);
  return e;
}

class CommunityListSmTest : public testing::Test {
 protected:
  void SetUp() override { agent.take(); }

  // List L with entry 10 (community 7, version 1), added the way the agent adds a list.
  Vox::Ptr<Acl::CommunityList> addListL() {
    auto list = Vox::make<Acl::CommunityList>("L");
    agent.aclListConfig->communityListIs(list);
    e10 = entry(10, 7, 1);
    list->communityListEntryIs(e10);
    agent.take();
    return list;
  }

  RibRouteMap::AclListConfigSm::VoxCommunityList& reactor() {
    return *agent.root->vrfStatusSm()->aclListConfigSm()->communityList().find("L");
  }

  testing_support::Agent agent;
  Vox::Ptr<Acl::CommunityListEntry> e10;
};

// A list whose entries are not complete sends only its two copies; each entry follows once
// its version is set.
TEST_F(CommunityListSmTest, IncompleteEntriesWaitForTheirVersion) {
  auto list = Vox::make<Acl::CommunityList>("L");
  auto e = entry(10, 7, 0);
  list->communityListEntryIs(e);
  agent.aclListConfig->communityListIs(list);
  EXPECT_EQ(agent.take(),
            (Lines{"addCommunityList " + kListL + R"( {0:str="L"})",
                   "addCommunityList " + kExactL + R"( {0:str=".exact.L"})", "commit"}));
  EXPECT_EQ(reactor().commSetName().count(10), 1u);
  e->versionIs(1);
  EXPECT_EQ(agent.take(), join({entryAdded(10, 7), {"commit"}}));
}

// Every version of an entry rewrites it whole, clearing its set of every kind first.
TEST_F(CommunityListSmTest, EachVersionRewritesTheEntry) {
  addListL();
  e10->communitiesIs({Acl::CommunityValue::standard(8)});
  e10->versionIs(2);
  e10->communitiesIs({Acl::CommunityValue::standard(9)});
  e10->versionIs(3);
  EXPECT_EQ(agent.take(), join({entryAdded(10, 8), {"commit"}, entryAdded(10, 9), {"commit"}}));
}

// A removed entry loses its sets and both entries, is committed and forgotten.
TEST_F(CommunityListSmTest, RemovedEntry) {
  auto list = addListL();
  list->communityListEntryDel(10);
  EXPECT_EQ(
      agent.take(),
      join({setDeletes(".L10"),
            {"delCommunityListEntry " + kListL + R"(/530/531="/commlist/entry .L10" del)",
             "delCommunityListEntryExact " + kExactL + R"(/530/531="/commlist/entry .L10" del)",
             "commit"}}));
  EXPECT_TRUE(reactor().commSetName().empty());
  EXPECT_TRUE(reactor().communityListEntry().empty());
}

// A removed list deletes both copies and commits; its reactor then deletes the sets of every
// entry it has seen.
TEST_F(CommunityListSmTest, RemovedList) {
  auto list = addListL();
  list->communityListEntryIs(entry(20, 5, 0));
  agent.take();
  agent.aclListConfig->communityListDel("L");
  EXPECT_EQ(agent.take(), join({{"delCommunityList " + kListL + " del", "commit",
                                 "delCommunityList " + kExactL + " del", "commit", "commit"},
                                setDeletes(".L10"),
                                setDeletes(".L20")}));
  EXPECT_TRUE(agent.root->vrfStatusSm()->aclListConfigSm()->communityList().empty());
}

// Another entity under the list's name: entries it lacks leave the engine, its own arrive.
TEST_F(CommunityListSmTest, ReplacedListEntity) {
  addListL();
  auto replacement = Vox::make<Acl::CommunityList>("L");
  replacement->communityListEntryIs(entry(20, 5, 1));
  agent.aclListConfig->communityListIs(replacement);
  EXPECT_EQ(
      agent.take(),
      join({{"addCommunityList " + kListL + R"( {0:str="L"})",
             "addCommunityList " + kExactL + R"( {0:str=".exact.L"})", "commit"},
            setDeletes(".L10"),
            {"delCommunityListEntry " + kListL + R"(/530/531="/commlist/entry .L10" del)",
             "delCommunityListEntryExact " + kExactL + R"(/530/531="/commlist/entry .L10" del)",
             "commit"},
            entryAdded(20, 5),
            {"commit"}}));
  EXPECT_EQ(reactor().commSetName().size(), 1u);
}

// A route map whose community clause draws on L is re-issued, with L's current entries,
// whenever L changes.
TEST_F(CommunityListSmTest, RouteMapUsingTheListIsReissued) {
  auto list = addListL();
  auto set = Vox::make<RM::CommunitySet>();
  set->useCL = true;
  set->communityListName = {"L"};
  set->flag = Acl::commSetAdditive_;
  RM::SetClauses clauses;
  clauses.flags = 1u << RM::setCommunityAddReplace;
  clauses.communityAddReplace = set;
  auto mapEntry = testing_support::entry(10);
  mapEntry->setClauseIs(RM::setCommunityAddReplace, clauses);
  auto map = agent.addMap("RM");
  map->mapEntryIs(mapEntry);
  map->versionIs(1);
  agent.take();

  list->communityListEntryIs(entry(20, 5, 1));
  const std::string clause = R"(512/528/529="/policy/commlist .clRM10ar")";
  EXPECT_EQ(
      agent.take(),
      join({entryAdded(20, 5),
            {"delCommunityList " + clause + " del", "commit",
             R"(delCommunitySet 512/524/525="/policy/commset .csRM10ar" del)", "commit",
             "addCommunityList " + clause + R"( {0:str=".clRM10ar"})",
             "addCommunityListEntry " + clause +
                 R"(/530/531="/commlist/entry .L10" {0:str=".L10" 5:u32=10 1:u32=0 4:flag=true})",
             "addCommunityListEntry " + clause +
                 R"(/530/531="/commlist/entry .L20" {0:str=".L20" 5:u32=20 1:u32=0 4:flag=true})",
             R"(setCommunity 512/576="RM"/577/578=10/601 {12:str=".clRM10ar" 11:flag=true})",
             "commit"}}));
}

}  // namespace
