#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RibRouteMap/mio/Mio.h"
#include "tests/RibRouteMap/mio/MioStreamTest.h"

namespace RibRouteMapTest {
namespace {

using Routing::RouteMap::MatchRule;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using MioMatchTest = MioStreamTest;
using MioMatchDeathTest = MioStreamTest;

MatchRule rule(U32 option, bool invert) {
  MatchRule r;
  r.option = option;
  r.invert = invert;
  return r;
}

MatchRule stringRule(U32 option, std::string value, bool invert) {
  MatchRule r = rule(option, invert);
  r.stringValue = std::move(value);
  return r;
}

MatchRule intRule(U32 option, U32 value, bool invert) {
  MatchRule r = rule(option, invert);
  r.intValue = value;
  return r;
}

struct RuleCase {
  std::string scenario;
  MatchRule rule;
  std::vector<std::string> expected;
};

// Runs each case through the dispatcher alone and compares its whole stream.
class MioMatchRuleTest : public MioStreamTest {
 protected:
  void expectStreams(const std::vector<RuleCase>& cases) {
    for (const RuleCase& c : cases) {
      SCOPED_TRACE(c.scenario);
      recorder_.clear();
      mio_->doAddMatchRule("RM", 10, c.rule);
      EXPECT_EQ(lines(), c.expected);
    }
  }
};

// Prefix-list matches go by prefix-list id and family, with flag 0 first only when inverted.
TEST_F(MioMatchRuleTest, PrefixListMatches) {
  expectStreams({
      {"inverted ipv4 prefix list",
       stringRule(2, "PL", true),
       {"prefixList " + kSeq + R"(/587="PL" {0:flag=true 8:u8=1 7:str="PL"})"}},
      {"ipv6 prefix list",
       stringRule(116, "PL", false),
       {"prefixList " + kSeq + R"(/587=".ipv6.PL" {8:u8=6 7:str=".ipv6.PL"})"}},
      {"next-hop prefix list",
       stringRule(14, "NH", false),
       {"nextHopPrefixList " + kSeq + R"(/619="NH" {8:u8=1 7:str="NH"})"}},
      {"inverted ipv6 next-hop prefix list",
       stringRule(118, "NH", true),
       {"nextHopPrefixList " + kSeq + R"(/619=".ipv6.NH" {0:flag=true 8:u8=6 7:str=".ipv6.NH"})"}},
      {"resolved next-hop prefix list",
       stringRule(15, "R", false),
       {"resolvedNextHopPrefixList " + kSeq + R"(/620="R" {8:u8=1 7:str="R"})"}},
      {"ipv6 resolved next-hop prefix list",
       stringRule(119, "R", false),
       {"resolvedNextHopPrefixList " + kSeq + R"(/620=".ipv6.R" {8:u8=6 7:str=".ipv6.R"})"}},
  });
}

// An access-list match names the list kind 2 and the list, after the flag when inverted.
TEST_F(MioMatchRuleTest, AccessListMatch) {
  expectStreams({
      {"plain",
       stringRule(1, "ACL", false),
       {"accessList " + kSeq + R"(/588="ACL" {8:u8=2 7:str="ACL"})"}},
      {"inverted",
       stringRule(1, "ACL", true),
       {"accessList " + kSeq + R"(/588="ACL" {0:flag=true 8:u8=2 7:str="ACL"})"}},
  });
}

// Dynamic prefix lists go by their configured name and never carry a negation flag.
TEST_F(MioMatchRuleTest, DynamicPrefixListMatch) {
  expectStreams({
      {"ipv4, inverted rule",
       stringRule(123, "DPL", true),
       {"dynamicPrefixList " + kSeq + R"(/626="DPL" {8:u8=1 7:str="DPL"})"}},
      {"ipv6",
       stringRule(124, "DPL", false),
       {"dynamicPrefixList " + kSeq + R"(/626="DPL" {8:u8=6 7:str="DPL"})"}},
  });
}

// List-node matches negate the node only when inverted, then add the entry keyed by its text.
TEST_F(MioMatchRuleTest, ListNodeMatches) {
  MatchRule gateway = rule(5, true);
  gateway.ipAddr = *Vela::IpAddr::parse("10.0.0.1");
  MatchRule nextHop6 = rule(117, false);
  nextHop6.ipAddr = *Vela::IpAddr::parse("10.9.9.9");
  nextHop6.ip6Addr = *Vela::Ip6Addr::parse("2001:db8::1");
  MatchRule nextHop4 = nextHop6;
  nextHop4.option = 12;
  nextHop4.invert = true;
  expectStreams({
      {"plain interface sends only the entry",
       stringRule(107, "Ethernet1/2", false),
       {"ifname " + kSeq + R"(/591/592="et1_2" {1:str="et1_2"})"}},
      {"inverted interface",
       stringRule(107, "Vlan100", true),
       {"iflist " + kSeq + "/591 {0:flag=true}",
        "ifname " + kSeq + R"(/591/592="vlan100" {1:str="vlan100"})"}},
      {"inverted gateway",
       gateway,
       {"gwListInvert " + kSeq + "/593 {0:flag=true}",
        "gwListEntry " + kSeq + R"(/593/594="10.0.0.1" {0:ipv4=10.0.0.1})"}},
      {"ipv6 next hop",
       nextHop6,
       {"nhListEntry " + kSeq + R"(/595/596="2001:db8::1" {1:ipv6=2001:db8::1})"}},
      {"inverted ipv4 next hop",
       nextHop4,
       {"nhListInvert " + kSeq + "/595 {0:flag=true}",
        "nhListEntry " + kSeq + R"(/595/596="10.9.9.9" {0:ipv4=10.9.9.9})"}},
  });
}

// Protocols, metric types and route types are sent as the engine numbers them.
TEST_F(MioMatchRuleTest, TranslatedIntegerMatches) {
  expectStreams({
      {"first protocol", intRule(113, 1, false), {"matchIntValue " + kSeq + "/575=1 {24:u32=1}"}},
      {"second protocol",
       intRule(113, 2, true),
       {"matchIntValue " + kSeq + "/575=24 {0:flag=true 24:u32=24}"}},
      {"last protocol", intRule(113, 9, false), {"matchIntValue " + kSeq + "/575=52 {24:u32=52}"}},
      {"metric type 1", intRule(112, 1, false), {"matchIntValue " + kSeq + "/613=3 {26:u32=3}"}},
      {"metric type 2", intRule(112, 2, false), {"matchIntValue " + kSeq + "/613=4 {26:u32=4}"}},
      {"route type 4",
       intRule(122, 4, true),
       {"matchIntValue " + kSeq + "/624=4 {0:flag=true 30:u32=4}"}},
  });
}

// Options without a command of their own go through the option tables.
TEST_F(MioMatchRuleTest, TableMatches) {
  expectStreams({
      {"integer option", intRule(108, 77, false), {"matchIntValue " + kSeq + "/590=77 {4:u32=77}"}},
      {"inverted string option",
       stringRule(120, "tag", true),
       {"matchstrValue " + kSeq + R"(/621="tag" {0:flag=true 27:str="tag"})"}},
  });
}

// Range matches key the node by their lower value and send both bounds.
TEST_F(MioMatchRuleTest, RangeMatches) {
  MatchRule asRange = intRule(121, 100, true);
  asRange.upper = 200;
  MatchRule commInst = intRule(125, 2, false);
  commInst.upper = 5;
  MatchRule asPathLength = rule(126, false);
  asPathLength.asPathLength = {3, 9};
  expectStreams({
      {"inverted AS range",
       asRange,
       {"AsRangeEntry " + kSeq + "/623=100 {0:flag=true 28:u32=100 29:u32=200}"}},
      {"community instances", commInst, {"CommInstances " + kSeq + "/625=2 {31:u32=2 32:u32=5}"}},
      {"AS-path length", asPathLength, {"AsPathLength " + kSeq + "/630=3 {33:u32=3 34:u32=9}"}},
  });
}

// The contributing-aggregate match always writes its flag, and the map name only when set.
TEST_F(MioMatchRuleTest, ContribAggAttrMatch) {
  expectStreams({
      {"empty name, plain",
       stringRule(128, "", false),
       {"aggAttrMapName " + kSeq + "/635 {0:flag=false}"}},
      {"named, inverted",
       stringRule(128, "AGG", true),
       {"aggAttrMapName " + kSeq + R"(/635 {0:flag=true 36:str="AGG"})"}},
  });
}

// An option nobody knows sends nothing and is reported at error level.
TEST_F(MioMatchTest, UnknownOptionIsTracedAndSkipped) {
  TraceCapture trace(0);
  mio_->doAddMatchRule("RM", 10, intRule(999, 1, true));
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_THAT(trace.lines(), ElementsAre("Error: add match option not implemented: 999"));
}

// The interface match traces the kernel name it sends.
TEST_F(MioMatchTest, InterfaceMatchTracesKernelName) {
  TraceCapture trace(7);
  mio_->doAddMatchInterface("RM", 10, "Port-Channel10", false);
  EXPECT_THAT(trace.lines(), ::testing::Contains("ribAddMatchInterface po10"));
}

struct FatalCase {
  std::string scenario;
  MatchRule rule;
  std::string message;
};

// Values without an engine meaning stop the agent before anything is sent.
TEST_F(MioMatchDeathTest, UntranslatableValuesAreFatal) {
  const std::vector<FatalCase> cases = {
      {"protocol 10", intRule(113, 10, false), R"(Assertion failed: 0 && "Unsupported protocol")"},
      {"protocol 0", intRule(113, 0, false), R"(Assertion failed: 0 && "Unsupported protocol")"},
      {"metric type 3", intRule(112, 3, false), "Assertion failed"},
      {"route type 5", intRule(122, 5, false), "Assertion failed"},
      {"route type 0", intRule(122, 0, false), "Assertion failed"},
  };
  for (const FatalCase& c : cases) {
    SCOPED_TRACE(c.scenario);
    EXPECT_DEATH(mio_->doAddMatchRule("RM", 10, c.rule), c.message);
  }
}

}  // namespace
}  // namespace RibRouteMapTest
