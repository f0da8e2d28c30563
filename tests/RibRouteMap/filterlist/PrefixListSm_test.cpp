#include <gtest/gtest.h>

#include "tests/RibRouteMap/filterlist/FilterListTestSupport.h"

namespace filterlist_test {
namespace {

class PrefixListTest : public FilterListTest {
 protected:
  // Adds list `name` the way the agent does: empty first, so its entries arrive as
  // notifications.
  Vox::Ptr<Acl::PrefixList> addList(const std::string& name) {
    auto list = Vox::make<Acl::PrefixList>(name);
    config().prefixListIs(list);
    return list;
  }
};

// A new list is added and committed, its reactor commits an empty batch, and the entries wait
// for the version, which sends them with their permit flag and length bounds in one batch.
TEST_F(PrefixListTest, EntriesSentOnVersionWithBounds) {
  struct Row {
    Acl::PrefixEntry entry;
    std::string values;  // after the sequence number
  };
  const Row rows[] = {
      // no bounds: an exact match of the prefix length
      {v4Entry(10, "10.0.0.0/8"), "8:flag=true 0:ipv4=10.0.0.0 2:u32=8 6:u32=8 7:u32=8"},
      {v4Entry(20, "10.0.0.0/8", Acl::permit, 0, 24),
       "8:flag=true 0:ipv4=10.0.0.0 2:u32=8 7:u32=24"},
      {v4Entry(30, "10.0.0.0/8", Acl::permit, 16, 0),
       "8:flag=true 0:ipv4=10.0.0.0 2:u32=8 6:u32=16"},
      {v4Entry(40, "10.0.0.0/8", Acl::permit, 16, 24),
       "8:flag=true 0:ipv4=10.0.0.0 2:u32=8 6:u32=16 7:u32=24"},
      {v4Entry(50, "192.168.0.0/16", Acl::deny),
       "8:flag=false 0:ipv4=192.168.0.0 2:u32=16 "
       "6:u32=16 7:u32=16"},
  };
  auto list = addList("A");
  for (const Row& r : rows) list->entryIs(r.entry);
  EXPECT_EQ(agent.take(), (Lines{addPrefixList("A"), "commit", "commit"}));

  list->versionIs(1);
  Lines expected;
  for (const Row& r : rows) expected.push_back(addPrefixEntry("A", r.entry.seqno, r.values));
  expected.push_back("commit");
  EXPECT_EQ(agent.take(), expected);
}

// An entry removed and added again before the version changes is sent once, as an add.
TEST_F(PrefixListTest, RemoveAndReAddSentOnceAsAdd) {
  auto list = addList("A");
  list->entryIs(v4Entry(10, "10.0.0.0/8"));
  list->entryIs(v4Entry(20, "10.1.0.0/16"));
  list->versionIs(1);
  agent.take();

  list->entryDel(10);
  list->entryIs(v4Entry(10, "10.9.0.0/16"));
  list->entryDel(20);
  EXPECT_EQ(agent.take(), Lines{});
  list->versionIs(2);
  EXPECT_EQ(
      agent.take(),
      (Lines{addPrefixEntry("A", 10, "8:flag=true 0:ipv4=10.9.0.0 2:u32=16 6:u32=16 7:u32=16"),
             delPrefixEntry("A", 20), "commit"}));
}

// A version change with no marked entry only commits.
TEST_F(PrefixListTest, EmptyBatchOnlyCommits) {
  auto list = addList("A");
  list->entryIs(v4Entry(10, "10.0.0.0/8"));
  list->versionIs(1);
  agent.take();
  list->versionIs(2);
  EXPECT_EQ(agent.take(), Lines{"commit"});
}

// An IPv4 and an IPv6 list of one name are two engine lists, and each deletes only its own.
TEST_F(PrefixListTest, FamiliesOfOneNameAreTwoLists) {
  auto v4 = addList("A");
  auto v6 = Vox::make<Acl::Ipv6PrefixList>("A");
  config().ipv6PrefixListIs(v6);
  v6->entryIs(v6Entry(10, "2001:db8::/32"));
  v6->versionIs(1);
  EXPECT_EQ(
      agent.take(),
      (Lines{addPrefixList("A"), "commit", "commit", addIpv6PrefixList("A"), "commit", "commit",
             "doAddIpv6PrefixListEntry " + prefixListPath(".ipv6.A") +
                 "/516=10 {9:u32=10 8:flag=true 1:ipv6=2001:db8:: 3:u32=32 6:u32=32 "
                 "7:u32=32}",
             "commit"}));
  v6->entryDel(10);
  v6->versionIs(2);
  config().prefixListDel("A");
  EXPECT_EQ(agent.take(),
            (Lines{delPrefixEntry(".ipv6.A", 10), "commit", delPrefixList("A"), "commit"}));
  EXPECT_TRUE(sm().prefixList().empty());
  EXPECT_EQ(sm().ipv6PrefixList().size(), 1u);
}

// Another entity under a configured name is added again and all its entries are sent, with
// the marks still pending from the entity it replaces.
TEST_F(PrefixListTest, ReplacedEntitySentAsNew) {
  auto list = addList("A");
  list->entryIs(v4Entry(10, "10.0.0.0/8"));
  list->versionIs(1);
  list->entryIs(v4Entry(30, "10.3.0.0/16"));
  agent.take();

  auto replacement = Vox::make<Acl::PrefixList>("A");
  replacement->entryIs(v4Entry(20, "10.2.0.0/16"));
  config().prefixListIs(replacement);
  EXPECT_EQ(
      agent.take(),
      (Lines{addPrefixList("A"), "commit",
             addPrefixEntry("A", 20, "8:flag=true 0:ipv4=10.2.0.0 2:u32=16 6:u32=16 7:u32=16"),
             delPrefixEntry("A", 30), "commit"}));
  EXPECT_TRUE(sm().prefixList().find("A")->modifiedSeqNum().empty());
}

}  // namespace
}  // namespace filterlist_test
