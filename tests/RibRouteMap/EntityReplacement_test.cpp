// Paths that no scenario takes, since the program's agent changes entities in place: another
// entity given under a name (or an access-list type) that is configured, a whole list
// configuration replaced, and access lists that are not standard, have no rule set yet or
// name a rule without its configuration. Each case's operations are compared whole.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "RibRouteMap/acl/AclConfigSm.h"
#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "RibRouteMap/root/VrfStatusSm.h"
#include "tests/support/Harness.h"

namespace {

using Vox::U32;

using test_support::LibraryAgent;

struct ChangeCase {
  const char* name;
  const char* yaml;  // the configuration the agent starts on
  std::function<void(LibraryAgent&)> change;
  const char* expected;  // the recorder's lines, one a line
  friend void PrintTo(const ChangeCase& c, std::ostream* os) { *os << c.name; }
};

std::string caseName(const ::testing::TestParamInfo<ChangeCase>& info) {
  return info.param.name;
}

Vox::Ptr<Acl::RuleSet const> rules(std::initializer_list<std::pair<U32, const char*>> sources,
                                   Acl::MatchPermit action = Acl::permit) {
  auto set = Vox::make<Acl::RuleSet>();
  for (const auto& [seqno, source] : sources) {
    set->rules.emplace(seqno, seqno);
    set->ruleConfig.emplace(
        seqno, Acl::RuleConfig{action, Acl::IpFilter(*Vela::IpAddrWithFullMask::parse(source))});
  }
  return set;
}

Vox::Ptr<Acl::AclConfig> acl(const std::string& name, const Vox::Ptr<Acl::RuleSet const>& set,
                             bool standard = true) {
  auto a = Vox::make<Acl::AclConfig>(name);
  a->standardIs(standard);
  a->currCfgIs(set);
  return a;
}

class EntityChangeTest : public ::testing::TestWithParam<ChangeCase> {};

// The change sends exactly the expected operations.
TEST_P(EntityChangeTest, SendsExpectedOperations) {
  const ChangeCase& c = GetParam();
  LibraryAgent agent(c.yaml);
  agent.take();
  c.change(agent);
  std::string sent;
  for (const std::string& line : agent.take()) sent += line + '\n';
  EXPECT_EQ(sent, c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Library, EntityChangeTest,
    ::testing::Values(
        // The replacement's entries are sent; the old entity's entries stay as the engine has them.
        ChangeCase{"prefix_list_replaced",
                   "      prefix-lists: {A: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}\n",
                   [](LibraryAgent& a) {
                     auto l = Vox::make<Acl::PrefixList>("A");
                     l->entryIs({20, *Vela::Prefix::parse("10.2.0.0/16"), Acl::permit, 0, 0});
                     a.agent.aclListConfig()->prefixListIs(l);
                   },
                   R"(doAddIpPrefixList 512/603/515="A" {0:str="A"}
commit
doAddIpPrefixListEntry 512/603/515="A"/516=20 {9:u32=20 8:flag=true 0:ipv4=10.2.0.0 2:u32=16 6:u32=16 7:u32=16}
commit
)"},
        ChangeCase{"community_list_replaced",
                   "      community-lists:\n"
                   "        L: [{seq: 10, action: permit, type: standard, communities: [7]}]\n",
                   [](LibraryAgent& a) {
                     auto e = Vox::make<Acl::CommunityListEntry>(20);
                     e->communitiesIs({Acl::CommunityValue::standard(5)});
                     e->versionIs(1);
                     auto l = Vox::make<Acl::CommunityList>("L");
                     l->communityListEntryIs(e);
                     a.agent.aclListConfig()->communityListIs(l);
                   },
                   R"(addCommunityList 512/528/529="/policy/commlist L" {0:str="L"}
addCommunityList 512/528/529="/policy/commlist .exact.L" {0:str=".exact.L"}
commit
delCommunitySet 512/524/525="/policy/commset .L10" del
commit
delCommunitySet 512/526/527="/policy/commset .L10" del
commit
delCommunitySet 512/631/632="/policy/commset .L10" del
commit
delCommunityListEntry 512/528/529="/policy/commlist L"/530/531="/commlist/entry .L10" del
delCommunityListEntryExact 512/528/529="/policy/commlist .exact.L"/530/531="/commlist/entry .L10" del
commit
delCommunitySet 512/524/525="/policy/commset .L20" del
commit
delCommunitySet 512/526/527="/policy/commset .L20" del
commit
delCommunitySet 512/631/632="/policy/commset .L20" del
commit
addCommunitySet 512/524/525="/policy/commset .L20" {0:str=".L20" 2:words=[5]}
commit
addCommunityListEntry 512/528/529="/policy/commlist L"/530/531="/commlist/entry .L20" {0:str=".L20" 5:u32=20 1:u32=0 4:flag=true}
addCommunityListEntryExact 512/528/529="/policy/commlist .exact.L"/530/531="/commlist/entry .L20" {0:str=".L20" 5:u32=20 1:u32=0 4:flag=true 2:flag=true}
commit
)"},
        ChangeCase{"peer_filter_replaced", "      peer-filters: {A: [{seq: 10, action: permit}]}\n",
                   [](LibraryAgent& a) {
                     auto e = Vox::make<Routing::RouteMap::MapEntry>(5);
                     e->permitIs(Acl::deny);
                     auto m = Vox::make<Routing::RouteMap::Map>("A");
                     m->mapEntryIs(e);
                     a.agent.peerFilterConfig()->peerFilterIs(m);
                   },
                   R"(deleteRouteMap 512/576=".PEER_FILTER.A" del
commit
delCommunityList 512/528/529="/policy/commlist .cl.PEER_FILTER.A10ar" del
commit
delCommunitySet 512/524/525="/policy/commset .cs.PEER_FILTER.A10ar" del
commit
delCommunityList 512/528/529="/policy/commlist .cl.PEER_FILTER.A10del" del
commit
delCommunitySet 512/524/525="/policy/commset .cs.PEER_FILTER.A10del" del
commit
delCommunitySet 512/526/527="/policy/commset .e.PEER_FILTER.A10" del
commit
delCommunitySet 512/631/632="/policy/commset .l.PEER_FILTER.A10" del
commit
routeMap 512/576=".PEER_FILTER.A" {0:str=".PEER_FILTER.A"}
routeMapSeq 512/576=".PEER_FILTER.A"/577/578=5 {0:u32=5 1:flag=false}
commit
)"},
        ChangeCase{"held_dynamic_prefix_list_replaced",
                   "      dynamic-prefix-lists: {D: {match-map: A}}\n"
                   "      policy-map: {dynamic-prefix-lists: [D]}\n",
                   [](LibraryAgent& a) {
                     auto d = Vox::make<Routing::DynamicPrefixList::DynamicPrefixListEntry>("D");
                     d->matchMapIs("B");
                     d->versionIs(1);
                     a.agent.dynPfxListConfig()->dynamicPrefixListIs(d);
                   },
                   R"(addDynamicPrefixList 512/627/628="D" {0:str="D"}
match_map 512/627/628="D" {3:str="B"}
commit
)"},
        // The reactors follow the new configuration; no list is added or deleted for it.
        ChangeCase{
            "list_configuration_replaced",
            "      prefix-lists: {A: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]}\n"
            "      as-path-lists: {P: []}\n"
            "      community-lists:\n"
            "        C: [{seq: 10, action: permit, type: standard, communities: [7]}]\n",
            [](LibraryAgent& a) {
              auto other = Vox::make<Acl::AclListConfig>();
              for (const char* name : {"A", "B"}) {
                auto l = Vox::make<Acl::PrefixList>(name);
                l->entryIs({20, *Vela::Prefix::parse("10.2.0.0/16"), Acl::permit, 0, 0});
                other->prefixListIs(l);
              }
              a.vrf().aclListConfigSm()->aclConfig()->notifierIs(other);
            },
            R"(doAddIpPrefixListEntry 512/603/515="A"/516=20 {9:u32=20 8:flag=true 0:ipv4=10.2.0.0 2:u32=16 6:u32=16 7:u32=16}
commit
doAddIpPrefixListEntry 512/603/515="B"/516=20 {9:u32=20 8:flag=true 0:ipv4=10.2.0.0 2:u32=16 6:u32=16 7:u32=16}
commit
delCommunitySet 512/524/525="/policy/commset .C10" del
commit
delCommunitySet 512/526/527="/policy/commset .C10" del
commit
delCommunitySet 512/631/632="/policy/commset .C10" del
commit
)"},
        ChangeCase{"access_list_type_replaced",
                   "      access-lists: {A: [{seq: 10, action: permit, source: 10.0.0.0/8}]}\n",
                   [](LibraryAgent& a) {
                     auto ip = Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp);
                     ip->aclIs(acl("A", rules({{10, "10.0.0.0/8"}}, Acl::deny)));
                     a.agent.aclConfig()->configIs(ip);
                     a.agent.ipAclConfig()->aclIs(acl("OLD", rules({{1, "10.0.0.0/8"}})));
                   },
                   R"(doDelIpStdAcl 512/602/517="A" del
commit
doAddIpStdAcl 512/602/517="A" {0:str="A"}
doAddIpStdAclEntry 512/602/517="A"/518=10 {9:u32=10 8:flag=false 0:ipv4=10.0.0.0 4:ipv4=255.0.0.0}
commit
)"},
        ChangeCase{"access_list_type_removed_and_restored",
                   "      access-lists: {A: [{seq: 10, action: permit, source: 10.0.0.0/8}]}\n",
                   [](LibraryAgent& a) {
                     a.agent.aclConfig()->configDel(Acl::aclTypeIp);
                     EXPECT_TRUE(a.take().empty()) << "dropping the state machine sends nothing";
                     EXPECT_FALSE(a.vrf().aclConfigSm()->ipConfigSm());
                     a.agent.aclConfig()->configIs(a.agent.ipAclConfig());
                   },
                   R"(doDelIpStdAcl 512/602/517="A" del
commit
doAddIpStdAcl 512/602/517="A" {0:str="A"}
doAddIpStdAclEntry 512/602/517="A"/518=10 {9:u32=10 8:flag=true 0:ipv4=10.0.0.0 4:ipv4=255.0.0.0}
commit
)"},
        // Neither a list that is not standard nor one without rules is sent, until it has both.
        ChangeCase{"access_list_not_standard_or_without_rules", "      {}\n",
                   [](LibraryAgent& a) {
                     auto pending = acl("P", nullptr);
                     a.agent.ipAclConfig()->aclIs(acl("N", rules({{10, "10.0.0.0/8"}}), false));
                     a.agent.ipAclConfig()->aclIs(pending);
                     pending->currCfgIs(rules({{5, "10.0.0.0/8"}}));
                   },
                   R"(doDelIpStdAcl 512/602/517="P" del
commit
doAddIpStdAcl 512/602/517="P" {0:str="P"}
doAddIpStdAclEntry 512/602/517="P"/518=5 {9:u32=5 8:flag=true 0:ipv4=10.0.0.0 4:ipv4=255.0.0.0}
commit
)"},
        ChangeCase{"access_list_rule_without_configuration", "      {}\n",
                   [](LibraryAgent& a) {
                     auto set = Vox::make<Acl::RuleSet>(*rules({{10, "10.0.0.0/8"}}));
                     set->rules.emplace(20, 7);
                     a.agent.ipAclConfig()->aclIs(acl("A", set));
                   },
                   R"(doDelIpStdAcl 512/602/517="A" del
commit
doAddIpStdAcl 512/602/517="A" {0:str="A"}
doAddIpStdAclEntry 512/602/517="A"/518=10 {9:u32=10 8:flag=true 0:ipv4=10.0.0.0 4:ipv4=255.0.0.0}
commit
)"}),
    caseName);

}  // namespace
