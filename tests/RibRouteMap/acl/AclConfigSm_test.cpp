#include "RibRouteMap/acl/AclConfigSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RibRouteMap/mio/MioStreamTest.h"
#include "tests/support/Agent.h"

namespace {

using RibRouteMapTest::TraceCapture;
using testing::Contains;
using testing::IsEmpty;
using testing_support::Agent;
using testing_support::join;

struct Rule {
  U32 seqno;
  Acl::MatchPermit action;
  const char* source;  // "A.B.C.D/N"
};

// A rule set whose rule ids run against the sequence numbers, so that id order and sequence
// order differ.
Vox::Ptr<Acl::RuleSet const> ruleSet(std::initializer_list<Rule> rules) {
  auto set = Vox::make<Acl::RuleSet>();
  Acl::UniqueId id = 1000;
  for (const Rule& r : rules) {
    set->rules.emplace(r.seqno, --id);
    set->ruleConfig.emplace(
        id, Acl::RuleConfig{r.action, Acl::IpFilter(*Vela::IpAddrWithFullMask::parse(r.source))});
  }
  return set;
}

std::string aclPath(const std::string& name) {
  return "512/602/517=\"" + name + "\"";
}

std::vector<std::string> deleteList(const std::string& name) {
  return {"doDelIpStdAcl " + aclPath(name) + " del", "commit"};
}

std::string addList(const std::string& name) {
  return "doAddIpStdAcl " + aclPath(name) + " {0:str=\"" + name + "\"}";
}

std::string addEntry(const std::string& name, U32 seqno, bool permit, const std::string& address,
                     const std::string& mask) {
  const std::string s = std::to_string(seqno);
  return "doAddIpStdAclEntry " + aclPath(name) + "/518=" + s + " {9:u32=" + s +
         " 8:flag=" + (permit ? "true" : "false") + " 0:ipv4=" + address + " 4:ipv4=" + mask + "}";
}

Vox::Ptr<Acl::AclConfig> makeList(const std::string& name, Vox::Ptr<Acl::RuleSet const> rules,
                                  bool standard = true) {
  auto acl = Vox::make<Acl::AclConfig>(name);
  acl->standardIs(standard);
  acl->currCfgIs(rules);
  return acl;
}

class AclConfigSmTest : public testing::Test {
 protected:
  AclConfigSmTest() {
    agent.aclConfig->configIs(ip);
    agent.take();
  }
  RibRouteMap::AclConfigSm& sm() { return *agent.root->vrfStatusSm()->aclConfigSm(); }

  Agent agent;
  Vox::Ptr<Acl::AclTypeConfig> ip = Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp);
};

using AclConfigSmDeathTest = AclConfigSmTest;

// A new list with three rules: delete, commit, add, the entries by sequence number, commit.
TEST_F(AclConfigSmTest, NewListIsSentWhole) {
  ip->aclIs(makeList("A", ruleSet({{30, Acl::deny, "0.0.0.0/0"},
                                   {10, Acl::permit, "192.0.2.0/24"},
                                   {20, Acl::permit, "198.51.100.1/32"}})));
  EXPECT_EQ(agent.take(),
            join({deleteList("A"),
                  {addList("A"), addEntry("A", 10, true, "192.0.2.0", "255.255.255.0"),
                   addEntry("A", 20, true, "198.51.100.1", "255.255.255.255"),
                   addEntry("A", 30, false, "0.0.0.0", "0.0.0.0"), "commit"}}));
}

// A list whose rules are all removed is deleted and not added again.
TEST_F(AclConfigSmTest, EmptyRuleSetLeavesTheListDeleted) {
  auto acl = makeList("A", ruleSet({{10, Acl::permit, "10.0.0.0/8"}}));
  ip->aclIs(acl);
  agent.take();
  acl->currCfgIs(ruleSet({}));
  EXPECT_EQ(agent.take(), deleteList("A"));
}

// A removed list is traced, deleted and committed, and its reactor goes.
TEST_F(AclConfigSmTest, RemovedListIsDeleted) {
  ip->aclIs(makeList("LOOPBACKS", ruleSet({{10, Acl::permit, "10.0.0.0/8"}})));
  agent.take();
  TraceCapture trace(8);
  ip->aclDel("LOOPBACKS");
  EXPECT_EQ(agent.take(), deleteList("LOOPBACKS"));
  EXPECT_THAT(trace.lines(), Contains("handleIpConfig: remove ip acl std list LOOPBACKS"));
  EXPECT_FALSE(sm().ipConfigSm()->acl().find("LOOPBACKS"));
}

// A list that is not standard, or has no rule set yet, sends nothing until it has both.
TEST_F(AclConfigSmTest, ListWithoutStandardFlagOrRuleSetSendsNothing) {
  auto nonStandard = makeList("N", ruleSet({{10, Acl::permit, "10.0.0.0/8"}}), false);
  auto pending = makeList("P", nullptr);
  ip->aclIs(nonStandard);
  ip->aclIs(pending);
  EXPECT_THAT(agent.take(), IsEmpty());
  pending->currCfgIs(ruleSet({{5, Acl::permit, "10.0.0.0/8"}}));
  EXPECT_EQ(agent.take(),
            join({deleteList("P"),
                  {addList("P"), addEntry("P", 5, true, "10.0.0.0", "255.0.0.0"), "commit"}}));
}

// A rule the rule set names without its configuration is left out; the others still go.
TEST_F(AclConfigSmTest, RuleWithoutConfigurationIsSkipped) {
  auto set = Vox::make<Acl::RuleSet>(*ruleSet({{10, Acl::permit, "10.0.0.0/8"}}));
  set->rules.emplace(20, 7);
  ip->aclIs(makeList("A", set));
  EXPECT_EQ(agent.take(),
            join({deleteList("A"),
                  {addList("A"), addEntry("A", 10, true, "10.0.0.0", "255.0.0.0"), "commit"}}));
}

// Lists present at start-up are sent in name order; the IP type added later brings its lists.
TEST(AclConfigSmStartTest, ListsPresentAtStartUpAndAddedWithTheType) {
  Agent agent("default", /*attach=*/false);
  auto ip = Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp);
  ip->aclIs(makeList("B", ruleSet({{1, Acl::permit, "10.0.0.0/8"}})));
  ip->aclIs(makeList("A", ruleSet({})));
  agent.aclConfig->configIs(ip);
  agent.attachAll();
  EXPECT_EQ(agent.take(),
            join({testing_support::emptyStartUp(),
                  deleteList("A"),
                  deleteList("B"),
                  {addList("B"), addEntry("B", 1, true, "10.0.0.0", "255.0.0.0"), "commit"}}));

  agent.aclConfig->configDel(Acl::aclTypeIp);
  EXPECT_FALSE(agent.root->vrfStatusSm()->aclConfigSm()->ipConfigSm());
  EXPECT_THAT(agent.take(), IsEmpty()) << "dropping the state machine sends nothing";
  agent.aclConfig->configIs(ip);
  ASSERT_TRUE(agent.root->vrfStatusSm()->aclConfigSm()->ipConfigSm());
  EXPECT_EQ(agent.take(),
            join({deleteList("A"),
                  deleteList("B"),
                  {addList("B"), addEntry("B", 1, true, "10.0.0.0", "255.0.0.0"), "commit"}}));
}

// A new entity for the IP type keeps the state machine and re-sends the lists it holds.
TEST_F(AclConfigSmTest, NewTypeEntityIsFollowed) {
  ip->aclIs(makeList("A", ruleSet({{10, Acl::permit, "10.0.0.0/8"}})));
  RibRouteMap::IpAclConfigSm* before = sm().ipConfigSm();
  agent.take();
  auto replacement = Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp);
  replacement->aclIs(makeList("A", ruleSet({{10, Acl::deny, "10.0.0.0/8"}})));
  agent.aclConfig->configIs(replacement);
  EXPECT_EQ(sm().ipConfigSm(), before);
  EXPECT_EQ(agent.take(),
            join({deleteList("A"),
                  {addList("A"), addEntry("A", 10, false, "10.0.0.0", "255.0.0.0"), "commit"}}));
  ip->aclIs(makeList("OLD", ruleSet({{1, Acl::permit, "10.0.0.0/8"}})));
  EXPECT_THAT(agent.take(), IsEmpty()) << "the replaced entity is no longer watched";
}

// A filter id outside 0..16777215 stops the agent while the rule is built.
TEST_F(AclConfigSmDeathTest, FilterIdsOutOfRange) {
  const struct {
    bool tni;
    std::int64_t value;
    const char* message;
  } cases[] = {{true, -1, "IpFilterBase::tni < 0 or > 16777215 not allowed"},
               {true, 16777216, "IpFilterBase::tni < 0 or > 16777215 not allowed"},
               {false, -1, "IpFilterBase::vni < 0 or > 16777215 not allowed"},
               {false, 16777216, "IpFilterBase::vni < 0 or > 16777215 not allowed"}};
  for (const auto& c : cases) {
    EXPECT_DEATH(
        {
          Acl::IpFilter filter(*Vela::IpAddrWithFullMask::parse("10.0.0.0/8"));
          if (c.tni) {
            filter.tniIs(c.value);
          } else {
            filter.vniIs(c.value);
          }
          auto set = Vox::make<Acl::RuleSet>();
          set->rules.emplace(10, 1);
          set->ruleConfig.emplace(1, Acl::RuleConfig{Acl::permit, filter});
          ip->aclIs(makeList("A", set));
        },
        c.message);
  }
}

// A null list is refused by the collection mutator, naming the collection.
TEST_F(AclConfigSmDeathTest, NullListRefused) {
  EXPECT_DEATH(sm().ipConfigSm()->acl().is(nullptr),
               "null _acl parameter to mutator for RibRouteMap::IpAclConfigSm::acl not allowed");
}

}  // namespace
