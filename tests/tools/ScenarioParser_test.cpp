// How scenario values are read: the written forms that mean the same value, the defaults,
// and the set-flag bit each set clause turns on.
#include "tools/ribpolicy/ScenarioParser.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using ribpolicy::parseScenario;
using ribpolicy::ScenarioConfig;
using Routing::RouteMap::SetClauses;

// The configuration of a one-step scenario whose config section is `config` (YAML, indented
// by six blanks).
ScenarioConfig configOf(const std::string& config) {
  return parseScenario("steps:\n  - config:\n" + config).steps.at(0).config;
}

// A route-map entry whose set section is `set` (a flow mapping).
SetClauses setOf(const std::string& set) {
  return configOf("      route-maps:\n        RM:\n          - {seq: 10, action: permit, set: " +
                  set + "}\n")
      .routeMaps.at("RM")
      .entries.at(10)
      .set;
}

// Standard communities: AA:NN, decimal and hex forms of one value are the same community.
TEST(ScenarioParserTest, StandardCommunityForms) {
  for (const char* form : {"\"65000:1\"", "4259840001", "0xFDE80001", "\"0xfde80001\""}) {
    const auto c = configOf(std::string("      community-lists:\n        C:\n"
                                        "          - {seq: 10, action: permit, type: standard, "
                                        "communities: [") +
                            form + "]}\n");
    const auto& values = c.communityLists.at("C").entries.at(10).communities;
    ASSERT_EQ(values.size(), 1u) << form;
    EXPECT_EQ(*values.begin(), Acl::CommunityValue::standard(0xfde80001u)) << form;
  }
}

// Extended communities are 64-bit numbers in decimal or hex; large ones G:L1:L2.
TEST(ScenarioParserTest, ExtendedAndLargeCommunities) {
  const auto c = configOf(
      "      community-lists:\n        C:\n"
      "          - {seq: 10, action: permit, type: extended, communities: [\"0x0002fde800000001\","
      " 844635329593345]}\n"
      "          - {seq: 20, action: deny, type: 4, communities: [\"65000:1:4294967295\"]}\n");
  const auto& list = c.communityLists.at("C");
  EXPECT_EQ(list.entries.at(10).communities,
            (std::set<Acl::CommunityValue>{Acl::CommunityValue::extended(0x0002fde800000001ull),
                                           Acl::CommunityValue::extended(844635329593345ull)}));
  EXPECT_EQ(list.entries.at(20).type, Acl::largeValues);
  EXPECT_EQ(list.entries.at(20).permit, Acl::deny);
  EXPECT_EQ(*list.entries.at(20).communities.begin(),
            Acl::CommunityValue::large(65000, 1, 4294967295u));
}

// A list written as a mapping takes its version (and an AS-path list its source) from it.
TEST(ScenarioParserTest, MappingFormOfLists) {
  const auto c = configOf(
      "      prefix-lists:\n        PL: {version: 7, entries: [{seq: 5, action: permit,"
      " prefix: 10.0.0.0/8}]}\n        PL2: [{seq: 5, action: permit, prefix: 10.0.0.0/8}]\n"
      "      as-path-lists:\n        AS: {source: \"from the portal\", version: 0x10, entries: "
      "[]}\n"
      "      route-maps:\n        RM: {version: 0, entries: [{seq: 1, action: deny}]}\n");
  EXPECT_EQ(c.prefixLists.at("PL").version, 7u);
  EXPECT_EQ(c.prefixLists.at("PL").entries, c.prefixLists.at("PL2").entries);
  EXPECT_FALSE(c.prefixLists.at("PL2").version.has_value());
  EXPECT_EQ(c.asPathLists.at("AS").source, "from the portal");
  EXPECT_EQ(c.asPathLists.at("AS").version, 16u);
  EXPECT_EQ(c.routeMaps.at("RM").version, 0u);
}

// Unwritten fields take their documented defaults: origin any, valid in both dialects,
// ge/le 0, invert false, all inputs attached.
TEST(ScenarioParserTest, Defaults) {
  const auto s = parseScenario(
      "steps:\n  - config:\n"
      "      as-path-lists:\n        AS: [{seq: 1, action: permit, regex: \"^1$\"}]\n"
      "      prefix-lists:\n        PL: [{seq: 1, action: deny, prefix: 10.0.0.0/8}]\n"
      "      route-maps:\n        RM: [{seq: 1, action: permit, match: [{option: 2, value: "
      "PL}]}]\n");
  EXPECT_EQ(s.vrf, "default");
  const auto& step = s.steps.at(0);
  EXPECT_TRUE(step.inputs.complete());
  const auto& as = step.config.asPathLists.at("AS").entries.at(1);
  EXPECT_EQ(as.origin, 0xffffffffu);
  EXPECT_TRUE(as.validMode0);
  EXPECT_TRUE(as.validMode1);
  const auto& pl = step.config.prefixLists.at("PL").entries.at(1);
  EXPECT_EQ(pl.ge, 0u);
  EXPECT_EQ(pl.le, 0u);
  EXPECT_EQ(pl.permit, Acl::deny);
  EXPECT_FALSE(step.config.routeMaps.at("RM").entries.at(1).match.at(2).invert);
}

// A match option written by name or by number is the same rule.
TEST(ScenarioParserTest, OptionNameAndNumberAgree) {
  const auto byName = configOf(
      "      route-maps:\n        RM: [{seq: 1, action: permit, match: [{option: ipv6-prefix-list,"
      " value: P6}, {option: as-range, value: 65000, upper: 65100},"
      " {option: community, lists: [B, A], exact: true}]}]\n");
  const auto byNumber = configOf(
      "      route-maps:\n        RM: [{seq: 1, action: permit, match: [{option: 116, value: P6},"
      " {option: 121, value: 65000, upper: 65100}, {option: 103, lists: [A, B], exact: true}]}]\n");
  EXPECT_EQ(byName.routeMaps.at("RM").entries.at(1).match,
            byNumber.routeMaps.at("RM").entries.at(1).match);
  const auto& community = byName.routeMaps.at("RM").entries.at(1).match.at(103);
  EXPECT_EQ(community.commListSet.stringValue(), "A B");
  EXPECT_TRUE(community.exact);
}

// An option the library does not know is kept with its value, for the library to skip.
TEST(ScenarioParserTest, UnknownOptionNumberPassesThrough) {
  const auto c = configOf(
      "      route-maps:\n        RM: [{seq: 1, action: permit, match: [{option: 4000, value: 17,"
      " upper: 3}]}]\n");
  const auto& rule = c.routeMaps.at("RM").entries.at(1).match.at(4000);
  EXPECT_EQ(rule.intValue, 17u);
  EXPECT_EQ(rule.stringValue, "17");
  EXPECT_EQ(rule.upper, 3u);
}

// An access-list source takes a dotted mask or a length for the same filter.
TEST(ScenarioParserTest, AccessListMaskForms) {
  const auto c = configOf(
      "      access-lists:\n        A:\n          - {seq: 10, action: permit, source: "
      "10.1.0.0/255.255.0.0}\n          - {seq: 20, action: deny, source: 10.1.0.0/16}\n");
  const auto& rules = c.accessLists.at("A").rules;
  EXPECT_EQ(rules.at(10).filter, rules.at(20).filter);
  EXPECT_EQ(rules.at(10).filter.source().mask(), 0xffff0000u);
  EXPECT_EQ(rules.at(20).action, Acl::deny);
}

struct SetKeyCase {
  const char* set;
  Routing::RouteMap::SetFlagBit bit;
};

class SetKeyTest : public ::testing::TestWithParam<SetKeyCase> {};

// Each set key turns on exactly its own set-flag bit.
TEST_P(SetKeyTest, TurnsOnItsBit) {
  const SetKeyCase& c = GetParam();
  EXPECT_EQ(setOf(c.set).flags, 1u << c.bit) << c.set;
}

INSTANTIATE_TEST_SUITE_P(
    Table, SetKeyTest,
    ::testing::Values(
        SetKeyCase{"{as-path-prepend: [1, 2]}", Routing::RouteMap::setAsPathPrepend},
        SetKeyCase{"{next-hop: 10.0.0.1}", Routing::RouteMap::setNextHop},
        SetKeyCase{"{ipv6-next-hop: \"2001:db8::1\"}", Routing::RouteMap::setIpv6NextHop},
        SetKeyCase{"{origin: 3}", Routing::RouteMap::setOrigin},
        SetKeyCase{"{action-19: -4}", Routing::RouteMap::setAction19},
        SetKeyCase{"{metric: {value: 5}}", Routing::RouteMap::setMetric},
        SetKeyCase{"{ospf-metric-type: 2}", Routing::RouteMap::setOspfMetricType},
        SetKeyCase{"{isis-level: 0}", Routing::RouteMap::setIsisLevel},
        SetKeyCase{"{action-2: 4294967295}", Routing::RouteMap::setAction2},
        SetKeyCase{"{community: {values: [\"1:1\"]}}", Routing::RouteMap::setCommunityAddReplace},
        SetKeyCase{"{community-delete: {lists: [C]}}", Routing::RouteMap::setCommunityDelete},
        SetKeyCase{"{extended-community: {values: [1]}}", Routing::RouteMap::setExtCommunity},
        SetKeyCase{"{action-3: 0x7fffffffffffffff}", Routing::RouteMap::setAction3},
        SetKeyCase{"{action-25: 25}", Routing::RouteMap::setAction25},
        SetKeyCase{"{action-26: -9223372036854775808}", Routing::RouteMap::setAction26},
        SetKeyCase{"{next-hop-peer-address: false}", Routing::RouteMap::setNextHopPeerAddr},
        SetKeyCase{"{ipv6-next-hop-peer-address: true}", Routing::RouteMap::setIpv6NextHopPeerAddr},
        SetKeyCase{"{next-hop-unchanged: true}", Routing::RouteMap::setNextHopUnchanged},
        SetKeyCase{"{ipv6-next-hop-unchanged: true}", Routing::RouteMap::setIpv6NextHopUnchanged},
        SetKeyCase{"{as-path-prepend-last-as: 255}", Routing::RouteMap::setAsPathPrependLastAs},
        SetKeyCase{"{as-path-replace: [65000]}", Routing::RouteMap::setAsPathReplace},
        SetKeyCase{"{action-35: 35}", Routing::RouteMap::setAction35},
        SetKeyCase{"{large-community: {values: [\"1:2:3\"]}}",
                   Routing::RouteMap::setLargeCommunity}));

// Signed values keep their sign and the full 64-bit range.
TEST(ScenarioParserTest, SignedValues) {
  EXPECT_EQ(setOf("{action-26: -9223372036854775808}").action26, INT64_MIN);
  EXPECT_EQ(setOf("{metric: {value: -5, med-type: 8}}").metric, -5);
  EXPECT_EQ(setOf("{metric: {value: -5, med-type: 8}}").medType, 8u);
  EXPECT_EQ(setOf("{action-3: 0x7fffffffffffffff}").action3, INT64_MAX);
}

// Community sets: the delete clause implies flag 1, lists make useCL, and the link bandwidth
// of an extended set lands in the entry's clause fields.
TEST(ScenarioParserTest, CommunitySets) {
  const auto del = setOf("{community-delete: {lists: [B, A]}}");
  ASSERT_TRUE(del.communityDelete);
  EXPECT_EQ(del.communityDelete->flag, Acl::commSetDelete_);
  EXPECT_TRUE(del.communityDelete->useCL);
  EXPECT_EQ(del.communityDelete->communityListName, (std::set<std::string>{"A", "B"}));

  const auto add = setOf("{community: {values: [\"1:2\", 3], flag: commSetReplace}}");
  ASSERT_TRUE(add.communityAddReplace);
  EXPECT_EQ(add.communityAddReplace->flag, Acl::commSetReplace_);
  EXPECT_FALSE(add.communityAddReplace->useCL);
  EXPECT_EQ(add.communityAddReplace->standard, (std::vector<U32>{0x00010002u, 3u}));

  const auto ext = setOf(
      "{extended-community: {values: [], link-bandwidth: {option: 2,"
      " bandwidth: 1.5}}}");
  EXPECT_EQ(ext.extCommLbwFlag, Acl::lbwValue_);
  EXPECT_FLOAT_EQ(ext.extCommLbwBandwidth, 1.5f);
}

// Step names, explicit inputs and the VRF are read as written.
TEST(ScenarioParserTest, StepsAndInputs) {
  const auto s = parseScenario(
      "vrf: blue\nsteps:\n  - {name: one, config: {}, inputs: [policy-map, route-map-config]}\n"
      "  - {config: {}, inputs: []}\n");
  EXPECT_EQ(s.vrf, "blue");
  ASSERT_EQ(s.steps.size(), 2u);
  EXPECT_EQ(s.steps[0].name, "one");
  EXPECT_TRUE(s.steps[0].inputs.has(ribpolicy::Input::policyMap));
  EXPECT_TRUE(s.steps[0].inputs.has(ribpolicy::Input::routeMapConfig));
  EXPECT_FALSE(s.steps[0].inputs.has(ribpolicy::Input::aclConfig));
  EXPECT_EQ(s.steps[1].name, "");
  EXPECT_EQ(s.steps[1].inputs, ribpolicy::InputSet{});
}

}  // namespace
