#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "RibRouteMap/mio/Mio.h"
#include "tests/RibRouteMap/mio/MioStreamTest.h"

namespace RibRouteMapTest {
namespace {

using namespace Routing::RouteMap;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using MioRouteMapTest = MioStreamTest;
using MioRouteMapDeathTest = MioStreamTest;

std::string seqPath(U32 seqno) {
  return R"(512/576="RM"/577/578=)" + std::to_string(seqno);
}
std::string routeMapLine() {
  return R"(routeMap 512/576="RM" {0:str="RM"})";
}
std::string permitLine(U32 seqno) {
  return "routeMapSeq " + seqPath(seqno) + " {0:u32=" + std::to_string(seqno) + " 1:flag=true}";
}

Vox::Ptr<MapEntry> entry(U32 seqno) {
  return Vox::make<MapEntry>(seqno);
}

Vox::Ptr<Map> mapOf(std::initializer_list<Vox::Ptr<MapEntry>> entries) {
  Vox::Ptr<Map> map = Vox::make<Map>("RM");
  for (const Vox::Ptr<MapEntry>& e : entries) map->mapEntryIs(e);
  return map;
}

// Turns on the clause of `bit` in `entry` with the values that `fill` writes.
template <class Fill>
void setClause(const Vox::Ptr<MapEntry>& entry, SetFlagBit bit, Fill fill) {
  SetClauses from;
  fill(from);
  from.flags |= 1u << bit;
  entry->setClauseIs(bit, from);
}

MatchRule prefixListRule(std::string name) {
  MatchRule r;
  r.option = matchPrefixList;
  r.stringValue = std::move(name);
  return r;
}

// Removing a map or one sequence is the same delete operation on a shorter or longer path.
TEST_F(MioRouteMapTest, DeletesMapAndSequence) {
  mio_->doDeleteRouteMap("RM");
  mio_->doDeleteMapSequence("RM", 10);
  EXPECT_THAT(lines(), ElementsAre(R"(deleteRouteMap 512/576="RM" del)",
                                   "deleteRouteMap " + seqPath(10) + " del"));
}

// A map with three sequences asserts the map before each sequence, sequences ascending.
TEST_F(MioRouteMapTest, EachSequenceFollowsItsMapCommand) {
  mio_->doInsertRouteMap(mapOf({entry(30), entry(10), entry(20)}), "RM");
  EXPECT_THAT(lines(), ElementsAre(routeMapLine(), permitLine(10), routeMapLine(), permitLine(20),
                                   routeMapLine(), permitLine(30)));
}

// A deny sequence sends its permit flag false.
TEST_F(MioRouteMapTest, DenySequenceFlagIsFalse) {
  mio_->doAddMapSequence("RM", Acl::deny, 10);
  EXPECT_THAT(lines(), ElementsAre(routeMapLine(),
                                   "routeMapSeq " + seqPath(10) + " {0:u32=10 1:flag=false}"));
}

// A map without entries sends nothing at all.
TEST_F(MioRouteMapTest, EmptyMapSendsNothing) {
  mio_->doInsertRouteMap(mapOf({}), "RM");
  EXPECT_THAT(recorder_.entries(), IsEmpty());
}

// Match rules go by ascending option, then the sub-route-map, then the set clauses.
TEST_F(MioRouteMapTest, SequenceContentOrder) {
  Vox::Ptr<MapEntry> e = entry(10);
  MatchRule acl;
  acl.option = matchAccessList;
  acl.stringValue = "ACL";
  e->matchRuleIs(prefixListRule("PL"));
  e->matchRuleIs(acl);
  e->subRouteMapIs("SUB");
  setClause(e, setAction2, [](SetClauses& s) { s.action2 = 9; });

  mio_->doInsertRouteMap(mapOf({e}), "RM");
  EXPECT_THAT(lines(),
              ElementsAre(routeMapLine(), permitLine(10),
                          "accessList " + seqPath(10) + R"(/588="ACL" {8:u8=2 7:str="ACL"})",
                          "prefixList " + seqPath(10) + R"(/587="PL" {8:u8=1 7:str="PL"})",
                          "subRouteMap " + seqPath(10) + R"(/622="SUB" {1:str="SUB"})",
                          "setIntValue " + seqPath(10) + "/601 {2:u32=9}"));
}

// A sequence with an empty sub-route-map name sends no sub-route-map command.
TEST_F(MioRouteMapTest, EmptySubRouteMapSendsNoCommand) {
  Vox::Ptr<MapEntry> e = entry(20);
  e->matchRuleIs(prefixListRule("PL"));
  setClause(e, setAction2, [](SetClauses& s) { s.action2 = 8; });

  mio_->doInsertRouteMap(mapOf({e}), "RM");
  EXPECT_THAT(lines(), ElementsAre(routeMapLine(), permitLine(20),
                                   "prefixList " + seqPath(20) + R"(/587="PL" {8:u8=1 7:str="PL"})",
                                   "setIntValue " + seqPath(20) + "/601 {2:u32=8}"));
}

// An unknown match option is skipped while the rest of the sequence is still sent.
TEST_F(MioRouteMapTest, UnknownOptionSkippedRestSent) {
  Vox::Ptr<MapEntry> e = entry(10);
  MatchRule unknown;
  unknown.option = 999;
  e->matchRuleIs(prefixListRule("PL"));
  e->matchRuleIs(unknown);
  e->subRouteMapIs("SUB");
  setClause(e, setAction25, [](SetClauses& s) { s.action25 = 4; });

  mio_->doInsertRouteMap(mapOf({e}), "RM");
  EXPECT_THAT(lines(), ElementsAre(routeMapLine(), permitLine(10),
                                   "prefixList " + seqPath(10) + R"(/587="PL" {8:u8=1 7:str="PL"})",
                                   "subRouteMap " + seqPath(10) + R"(/622="SUB" {1:str="SUB"})",
                                   "setIntValue " + seqPath(10) + "/601 {25:u32=4}"));
}

std::string packed65001() {
  if constexpr (std::endian::native == std::endian::little) {
    return R"("\xe9\xfd\x00\x00")";
  } else {
    return R"("\x00\x00\xfd\xe9")";
  }
}

// Every set clause outside the community ones, configured at once, goes in the fixed order.
TEST_F(MioRouteMapTest, SetClausesInFixedOrder) {
  Vox::Ptr<MapEntry> e = entry(10);
  // Set in bit order, which differs from the order of sending.
  setClause(e, setAsPathPrepend, [](SetClauses& s) { s.asPathPrepend = {{0, 65001}}; });
  setClause(e, setNextHop, [](SetClauses& s) { s.nextHop = Vela::IpAddr(0x0a000001); });
  setClause(e, setOrigin, [](SetClauses& s) { s.origin = 2; });
  setClause(e, setAction19, [](SetClauses& s) { s.action19 = 19; });
  setClause(e, setMetric, [](SetClauses& s) {
    s.metric = 70;
    s.medType = 1;
  });
  setClause(e, setOspfMetricType, [](SetClauses& s) { s.ospfMetricType = 2; });
  setClause(e, setIsisLevel, [](SetClauses& s) { s.isisLevel = 1; });
  setClause(e, setAction2, [](SetClauses& s) { s.action2 = 2; });
  setClause(e, setAction3, [](SetClauses& s) { s.action3 = 3; });
  setClause(e, setAction25, [](SetClauses& s) { s.action25 = 25; });
  setClause(e, setAction26, [](SetClauses& s) { s.action26 = 26; });
  setClause(e, setNextHopPeerAddr, [](SetClauses& s) { s.nextHopPeerAddr = true; });
  setClause(e, setIpv6NextHopPeerAddr, [](SetClauses& s) { s.ipv6NextHopPeerAddr = false; });
  setClause(e, setNextHopUnchanged, [](SetClauses& s) { s.nextHopUnchanged = true; });
  setClause(e, setIpv6NextHopUnchanged, [](SetClauses& s) { s.ipv6NextHopUnchanged = true; });
  setClause(e, setAsPathPrependLastAs, [](SetClauses& s) { s.asPathPrependLastAs = 3; });
  setClause(e, setAsPathReplace, [](SetClauses& s) { s.asPathReplace = {{0, 65001}}; });
  setClause(e, setAction35, [](SetClauses& s) { s.action35 = 35; });

  mio_->doInsertRouteMap(mapOf({e}), "RM");
  const std::string set = "setIntValue " + seqPath(10) + "/601 ";
  EXPECT_THAT(
      lines(),
      ElementsAre(
          routeMapLine(), permitLine(10),
          "setStrValue " + seqPath(10) + "/601 {18:str=" + packed65001() + "}", set + "{33:u32=3}",
          "setStrValue " + seqPath(10) + "/601 {34:str=" + packed65001() + "}",
          "setNextHop " + seqPath(10) + "/601 {7:ipv4=10.0.0.1}", set + "{19:u32=19}",
          set + "{26:u32=26}", "setU8Value " + seqPath(10) + "/601 {0:u8=2}", set + "{16:u32=1}",
          set + "{10:u32=4}", set + "{6:u32=1}", set + "{2:u32=2}", set + "{3:u32=3}",
          set + "{25:u32=25}", "setNextHopPeerAddr " + seqPath(10) + "/601 {27:flag=true}",
          "setNextHopPeerAddr " + seqPath(10) + "/601 {28:flag=false}",
          "setNextHopUnchanged " + seqPath(10) + "/601 {31:flag=true}",
          "setNextHopUnchanged " + seqPath(10) + "/601 {32:flag=true}", set + "{35:u32=35}"));
}

// With both next-hop bits, one command carries the IPv6 address.
TEST_F(MioRouteMapTest, BothNextHopsSendIpv6) {
  Vox::Ptr<MapEntry> e = entry(10);
  auto both = [](SetClauses& s) {
    s.nextHop = Vela::IpAddr(0x0a000001);
    s.ipv6NextHop = *Vela::Ip6Addr::parse("2001:db8::2");
  };
  setClause(e, setNextHop, both);
  setClause(e, setIpv6NextHop, both);

  mio_->doInsertRouteMap(mapOf({e}), "RM");
  EXPECT_THAT(lines(), ElementsAre(routeMapLine(), permitLine(10),
                                   "setNextHop " + seqPath(10) + "/601 {8:ipv6=2001:db8::2}"));
}

struct ClampCase {
  std::string scenario;
  S64 value;
  U32 sent;
};

// Signed 64-bit actions send 0 for a negative value and the low 32 bits otherwise.
TEST_F(MioRouteMapTest, SignedActionsAreClamped) {
  const std::vector<ClampCase> cases = {
      {"metric -5", -5, 0},
      {"most negative", INT64_MIN, 0},
      {"above 32 bits", (S64{1} << 32) + 5, 5},
      {"largest 32-bit", 0xffffffffLL, 0xffffffffu},
  };
  for (const ClampCase& c : cases) {
    SCOPED_TRACE(c.scenario);
    recorder_.clear();
    Vox::Ptr<MapEntry> e = entry(10);
    const S64 v = c.value;
    setClause(e, setAction19, [v](SetClauses& s) { s.action19 = v; });
    setClause(e, setMetric, [v](SetClauses& s) { s.metric = v; });
    setClause(e, setAction3, [v](SetClauses& s) { s.action3 = v; });
    setClause(e, setAction26, [v](SetClauses& s) { s.action26 = v; });
    setClause(e, setAction35, [v](SetClauses& s) { s.action35 = v; });

    mio_->doInsertRouteMap(mapOf({e}), "RM");
    const std::string set = "setIntValue " + seqPath(10) + "/601 ";
    const std::string sent = std::to_string(c.sent);
    EXPECT_THAT(lines(), ElementsAre(routeMapLine(), permitLine(10), set + "{19:u32=" + sent + "}",
                                     set + "{26:u32=" + sent + "}", set + "{1:u32=" + sent + "}",
                                     set + "{17:u32=" + sent + "}", set + "{3:u32=" + sent + "}",
                                     set + "{35:u32=" + sent + "}"));
  }
}

struct TraceCase {
  std::string scenario;
  std::function<void(const RibRouteMap::Mio&)> command;
  std::string trace;
};

// The route-map commands trace their signature and arguments at the command level.
TEST_F(MioRouteMapTest, CommandTraces) {
  const std::vector<TraceCase> cases = {
      {"delete map", [](const RibRouteMap::Mio& m) { m.doDeleteRouteMap("RM"); },
       "void RibRouteMap::Mio::doDeleteRouteMap(Vox::String): map=RM"},
      {"delete sequence", [](const RibRouteMap::Mio& m) { m.doDeleteMapSequence("RM", 10); },
       "void RibRouteMap::Mio::doDeleteMapSequence(Vox::String, U32)(RM,10)"},
      {"add sequence", [](const RibRouteMap::Mio& m) { m.doAddMapSequence("RM", Acl::deny, 10); },
       "void RibRouteMap::Mio::doAddMapSequence(Vox::String, Acl::MatchPermit, U32)RM,1,10"},
      {"add sub-route-map", [](const RibRouteMap::Mio& m) { m.doAddSubRouteMap("RM", 10, "SUB"); },
       "void RibRouteMap::Mio::doAddSubRouteMap(Vox::String, U32, Vox::String)RM, 10, SUB ) "},
      {"insert map", [](const RibRouteMap::Mio& m) { m.doInsertRouteMap(mapOf({}), "RM"); },
       "void RibRouteMap::Mio::doInsertRouteMap(const PtrConst&, Vox::String): map=RM"},
  };
  for (const TraceCase& c : cases) {
    SCOPED_TRACE(c.scenario);
    TraceCapture trace(7);
    c.command(*mio_);
    EXPECT_THAT(trace.lines(), ElementsAre(c.trace));
  }
}

struct FatalCase {
  std::string scenario;
  SetFlagBit bit;
  std::function<void(SetClauses&)> fill;
  std::string message;
};

// Set-clause values without an engine meaning are traced at error level and stop the agent.
TEST_F(MioRouteMapDeathTest, InvalidSetClausesAreFatal) {
  auto deleteSet = [] {
    auto s = Vox::make<CommunitySet>();
    s->flag = Acl::commSetDelete_;
    return Vox::Ptr<CommunitySet const>(s);
  };
  auto additiveSet = [] {
    auto s = Vox::make<CommunitySet>();
    s->flag = Acl::commSetAdditive_;
    return Vox::Ptr<CommunitySet const>(s);
  };
  const std::vector<FatalCase> cases = {
      {"origin 5", setOrigin, [](SetClauses& s) { s.origin = 5; },
       "doInsertRouteMap invalid origin 5\n.*Assertion failed"},
      {"origin 0", setOrigin, [](SetClauses& s) { s.origin = 0; },
       "doInsertRouteMap invalid origin 0\n.*Assertion failed"},
      {"ospf metric type 3", setOspfMetricType, [](SetClauses& s) { s.ospfMetricType = 3; },
       "doInsertRouteMap invalid metric type: 3\n.*Assertion failed"},
      {"isis level 3", setIsisLevel, [](SetClauses& s) { s.isisLevel = 3; },
       "doInsertRouteMap invalid level: 3\n.*Assertion failed"},
      {"add-or-replace carrying delete", setCommunityAddReplace,
       [&](SetClauses& s) { s.communityAddReplace = deleteSet(); },
       "Assertion failed: entryPtr->communityAddReplace\\(\\)->flag\\(\\) != "
       "Acl::commSetDelete_"},
      {"delete not carrying delete", setCommunityDelete,
       [&](SetClauses& s) { s.communityDelete = additiveSet(); },
       "Assertion failed: entryPtr->communityDelete\\(\\)->flag\\(\\) == Acl::commSetDelete_"},
  };
  for (const FatalCase& c : cases) {
    SCOPED_TRACE(c.scenario);
    Vox::Ptr<MapEntry> e = entry(10);
    setClause(e, c.bit, c.fill);
    Vox::Ptr<Map> map = mapOf({e});
    EXPECT_DEATH(
        {
          Vox::traceLevelIs("RouteMap", 0);
          mio_->doInsertRouteMap(map, "RM");
        },
        c.message);
  }
}

}  // namespace
}  // namespace RibRouteMapTest
