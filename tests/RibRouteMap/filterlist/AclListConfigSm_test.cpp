#include "RibRouteMap/filterlist/AclListConfigSm.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/RibRouteMap/filterlist/FilterListTestSupport.h"

namespace filterlist_test {
namespace {

using testing_support::Agent;

const Lines kRouteMapStartUp = {"RouteMapSetOpMode 256 scalars{18:u32=0}", "commit"};

// The three set deletions (each committed) of entry set `setName`.
Lines setDeletes(const std::string& setName) {
  const std::string key = "=\"/policy/commset " + setName + "\" del";
  return {"delCommunitySet 512/524/525" + key, "commit",
          "delCommunitySet 512/526/527" + key, "commit",
          "delCommunitySet 512/631/632" + key, "commit"};
}

Vox::Ptr<Acl::CommunityList> communityList(const std::string& name, U32 seqno, U32 community) {
  auto list = Vox::make<Acl::CommunityList>(name);
  auto e = Vox::make<Acl::CommunityListEntry>(seqno);
  e->communitiesIs({Acl::CommunityValue::standard(community)});
  e->versionIs(1);
  list->communityListEntryIs(e);
  return list;
}

// Starting on every kind of list: the dialect first, then prefix lists of both families and
// community lists, then the reactors (a new AS-path reactor only commits), AS-path lists last.
TEST(AclListConfigSmStartTest, StartUpOrder) {
  Agent agent("default", /*attach=*/false);
  auto path = Vox::make<Acl::AsPathList>("P");
  path->pathEntryIs(pathEntry(10, "^1$"));
  agent.aclListConfig->pathListIs(path);
  auto v4 = Vox::make<Acl::PrefixList>("A");
  v4->entryIs(v4Entry(10, "10.0.0.0/8"));
  agent.aclListConfig->prefixListIs(v4);
  auto v6 = Vox::make<Acl::Ipv6PrefixList>("A");
  v6->entryIs(v6Entry(10, "2001:db8::/32"));
  agent.aclListConfig->ipv6PrefixListIs(v6);
  agent.aclListConfig->communityListIs(communityList("C", 10, 7));
  agent.take();

  agent.attachAll();
  EXPECT_EQ(
      agent.take(),
      join(
          {kRouteMapStartUp,
           {deletePathList("P")},
           regexModeSwitch(1),
           {"commit", addPrefixList("A"), "commit", addIpv6PrefixList("A"), "commit",
            R"(addCommunityList 512/528/529="/policy/commlist C" {0:str="C"})",
            R"(addCommunityList 512/528/529="/policy/commlist .exact.C" {0:str=".exact.C"})",
            "commit",
            // the reactors: AS-path, IPv4, IPv6, community
            "commit",
            addPrefixEntry("A", 10, "8:flag=true 0:ipv4=10.0.0.0 2:u32=8 6:u32=8 7:u32=8"),
            "commit",
            "doAddIpv6PrefixListEntry " + prefixListPath(".ipv6.A") +
                "/516=10 {9:u32=10 8:flag=true 1:ipv6=2001:db8:: 3:u32=32 6:u32=32 7:u32=32}",
            "commit"},
           setDeletes(".C10"),
           {R"(addCommunitySet 512/524/525="/policy/commset .C10" {0:str=".C10" 2:words=[7]})",
            "commit",
            R"(addCommunityListEntry 512/528/529="/policy/commlist C"/530/531="/commlist/entry .C10" {0:str=".C10" 5:u32=10 1:u32=0 4:flag=true})",
            R"(addCommunityListEntryExact 512/528/529="/policy/commlist .exact.C"/530/531="/commlist/entry .C10" {0:str=".C10" 5:u32=10 1:u32=0 4:flag=true 2:flag=true})",
            "commit",
            // initialized: the AS-path lists with one commit
            addPathList("P"), addPathEntry("P", 10, "^1$"), "commit"}}));
  EXPECT_TRUE(agent.root->vrfStatusSm()->aclListConfigSm()->initialized());
}

using AclListConfigSmTest = FilterListTest;

struct RemovalCase {
  const char* what;
  std::function<void(Acl::AclListConfig&)> add;
  std::function<void(Acl::AclListConfig&)> remove;
  std::function<bool(RibRouteMap::AclListConfigSm&)> hasReactor;
  Lines expected;
};

// A removed list is deleted whole and committed, and its reactor goes with its pending
// entry changes, which are never sent.
TEST_F(AclListConfigSmTest, RemovingAListDeletesItBeforeItsReactorGoes) {
  const RemovalCase cases[] = {
      {"ipv4",
       [](Acl::AclListConfig& c) {
         auto l = Vox::make<Acl::PrefixList>("X");
         c.prefixListIs(l);
         l->entryIs(v4Entry(10, "10.0.0.0/8"));
       },
       [](Acl::AclListConfig& c) { c.prefixListDel("X"); },
       [](RibRouteMap::AclListConfigSm& sm) { return sm.prefixList().find("X") != nullptr; },
       {delPrefixList("X"), "commit"}},
      {"ipv6",
       [](Acl::AclListConfig& c) {
         auto l = Vox::make<Acl::Ipv6PrefixList>("X");
         c.ipv6PrefixListIs(l);
         l->entryIs(v6Entry(10, "2001:db8::/32"));
       },
       [](Acl::AclListConfig& c) { c.ipv6PrefixListDel("X"); },
       [](RibRouteMap::AclListConfigSm& sm) { return sm.ipv6PrefixList().find("X") != nullptr; },
       {delPrefixList(".ipv6.X"), "commit"}},
      {"as-path",
       [](Acl::AclListConfig& c) {
         auto l = Vox::make<Acl::AsPathList>("X");
         c.pathListIs(l);
         l->pathEntryIs(pathEntry(10, "^1$"));
         l->versionIs(1);
       },
       [](Acl::AclListConfig& c) { c.pathListDel("X"); },
       [](RibRouteMap::AclListConfigSm& sm) { return sm.pathList().find("X") != nullptr; },
       {deletePathList("X"), "commit"}},
  };
  for (const RemovalCase& c : cases) {
    c.add(config());
    ASSERT_TRUE(c.hasReactor(sm())) << c.what;
    agent.take();
    c.remove(config());
    EXPECT_EQ(agent.take(), c.expected) << c.what;
    EXPECT_FALSE(c.hasReactor(sm())) << c.what;
  }
}

// Pointing the configuration reactor at another configuration makes and removes reactors
// (whose own start-up and clean-up send) but adds or deletes no list itself.
TEST_F(AclListConfigSmTest, WholeCollectionReplacementSendsNoListAddOrDelete) {
  auto a = Vox::make<Acl::PrefixList>("A");
  config().prefixListIs(a);
  a->entryIs(v4Entry(10, "10.0.0.0/8"));
  a->versionIs(1);
  config().pathListIs(Vox::make<Acl::AsPathList>("P"));
  config().communityListIs(communityList("C", 10, 7));
  agent.take();

  auto other = Vox::make<Acl::AclListConfig>();
  auto a2 = Vox::make<Acl::PrefixList>("A");
  a2->entryIs(v4Entry(20, "10.2.0.0/16"));
  other->prefixListIs(a2);
  auto b = Vox::make<Acl::PrefixList>("B");
  b->entryIs(v4Entry(10, "10.1.0.0/16"));
  other->prefixListIs(b);
  sm().aclConfig()->notifierIs(other);

  EXPECT_EQ(
      agent.take(),
      join({{addPrefixEntry("A", 20, "8:flag=true 0:ipv4=10.2.0.0 2:u32=16 6:u32=16 7:u32=16"),
             "commit",
             addPrefixEntry("B", 10, "8:flag=true 0:ipv4=10.1.0.0 2:u32=16 6:u32=16 7:u32=16"),
             "commit"},
            setDeletes(".C10")}));
  EXPECT_EQ(sm().prefixList().size(), 2u);
  EXPECT_TRUE(sm().pathList().empty());
  EXPECT_TRUE(sm().communityList().empty());
}

// A null list given to a collection mutator is refused, naming the parameter and collection.
TEST_F(AclListConfigSmTest, NullListsRefused) {
  EXPECT_DEATH(sm().pathList().is(nullptr),
               "null _pathList parameter to mutator for RibRouteMap::AclListConfigSm::pathList "
               "not allowed");
  EXPECT_DEATH(sm().prefixList().is(nullptr),
               "null _prefixList parameter to mutator for "
               "RibRouteMap::AclListConfigSm::prefixList not allowed");
  EXPECT_DEATH(sm().ipv6PrefixList().is(nullptr),
               "null _ipv6PrefixList parameter to mutator for "
               "RibRouteMap::AclListConfigSm::ipv6PrefixList not allowed");
  EXPECT_DEATH(sm().communityList().is(nullptr),
               "null _communityList parameter to mutator for "
               "RibRouteMap::AclListConfigSm::communityList not allowed");
}

}  // namespace
}  // namespace filterlist_test
