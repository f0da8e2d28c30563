#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <map>
#include <string>
#include <vector>

#include "RibRouteMap/mio/Mio.h"
#include "tests/RibRouteMap/mio/MioStreamTest.h"

namespace RibRouteMapTest {
namespace {

using ::testing::ElementsAre;

using MioSetTest = MioStreamTest;
using MioSetDeathTest = MioStreamTest;

struct MedTypeCase {
  U32 medType;
  std::vector<std::string> expected;
};

// Each med type sends exactly its own commands, with the engine's med-type number.
TEST_F(MioSetTest, MetricCommandsPerMedType) {
  const std::string metric = "setIntValue " + kSet + " {1:u32=50}";
  const std::string second = "setIntValue " + kSet + " {17:u32=50}";
  auto medType = [](U32 n) {
    return "setIntValue " + kSet + " {16:u32=" + std::to_string(n) + "}";
  };
  const std::vector<MedTypeCase> cases = {
      {0, {metric, second}},
      {1, {medType(1)}},
      {2, {metric, second, medType(2)}},
      {3, {medType(4)}},
      {4, {metric, second, medType(5)}},
      {5, {second, medType(6)}},
      {6, {medType(3)}},
      {7, {medType(7)}},
      {8, {second, medType(8)}},
  };
  for (const MedTypeCase& c : cases) {
    SCOPED_TRACE("med type " + std::to_string(c.medType));
    recorder_.clear();
    mio_->doSetMetric("RM", 10, 50, c.medType);
    EXPECT_EQ(lines(), c.expected);
  }
}

// A med type without an engine meaning is traced as an error and stops the agent.
TEST_F(MioSetDeathTest, MedTypeNineOrMoreIsFatal) {
  for (U32 medType : {9u, 12u}) {
    SCOPED_TRACE("med type " + std::to_string(medType));
    EXPECT_DEATH(
        {
          Vox::traceLevelIs("RouteMap", 0);
          mio_->doSetMetric("RM", 10, 50, medType);
        },
        "Error: invalid med type " + std::to_string(medType) + "\n.*Assertion failed");
  }
}

struct NextHopCase {
  bool isIpv6;
  std::string expected;
};

// The next hop is one command with one address, chosen by the family.
TEST_F(MioSetTest, NextHopSendsOneAddressOfItsFamily) {
  const Vela::IpAddr v4 = *Vela::IpAddr::parse("10.1.2.3");
  const Vela::Ip6Addr v6 = *Vela::Ip6Addr::parse("2001:db8::7");
  const std::vector<NextHopCase> cases = {
      {false, "setNextHop " + kSet + " {7:ipv4=10.1.2.3}"},
      {true, "setNextHop " + kSet + " {8:ipv6=2001:db8::7}"},
  };
  for (const NextHopCase& c : cases) {
    SCOPED_TRACE(c.isIpv6 ? "ipv6" : "ipv4");
    recorder_.clear();
    mio_->doSetNextHop("RM", 10, v4, v6, c.isIpv6);
    EXPECT_THAT(lines(), ElementsAre(c.expected));
  }
}

// Next-hop flags are sent whether on or off, under the action given.
TEST_F(MioSetTest, NextHopFlagsAreSentEvenWhenOff) {
  mio_->doSetNextHopPeerAddr("RM", 10, 27, false);
  mio_->doSetNextHopUnchanged("RM", 10, 32, true);
  EXPECT_THAT(lines(), ElementsAre("setNextHopPeerAddr " + kSet + " {27:flag=false}",
                                   "setNextHopUnchanged " + kSet + " {32:flag=true}"));
}

// The generic commands carry their value under the action's tag, with their own types.
TEST_F(MioSetTest, GenericCommandsTypeTheirValue) {
  mio_->doSetU8Value("RM", 10, 0, 3);
  mio_->doSetStrValue("RM", 10, 18, "x");
  mio_->doSetAsPathPrependLastAs("RM", 10, 4);
  EXPECT_THAT(lines(), ElementsAre("setU8Value " + kSet + " {0:u8=3}",
                                   "setStrValue " + kSet + " {18:str=\"x\"}",
                                   "setIntValue " + kSet + " {33:u32=4}"));
}

struct MetricTypeCase {
  std::string text;
  std::vector<std::string> expected;
};

// Only "type-1" and "type-2" become engine metric types; any other text sends nothing.
TEST_F(MioSetTest, MetricTypeText) {
  const std::vector<MetricTypeCase> cases = {
      {"type-1", {"setIntValue " + kSet + " {10:u32=3}"}},
      {"type-2", {"setIntValue " + kSet + " {10:u32=4}"}},
      {"type-3", {}},
      {"Type-1", {}},
      {"", {}},
  };
  for (const MetricTypeCase& c : cases) {
    SCOPED_TRACE("'" + c.text + "'");
    recorder_.clear();
    mio_->doSetMetricType("RM", 10, c.text);
    EXPECT_EQ(lines(), c.expected);
  }
}

// An unknown metric type text is reported at error level.
TEST_F(MioSetTest, MetricTypeTextUnknownIsTraced) {
  TraceCapture trace(0);
  mio_->doSetMetricType("RM", 10, "type-3");
  EXPECT_THAT(trace.lines(), ElementsAre("Error: ribAddMatchMetricType invalid type type-3"));
}

// The packed form of 65001 then 100 as the machine lays out 32-bit words.
std::string packed65001And100() {
  if constexpr (std::endian::native == std::endian::little) {
    return R"("\xe9\xfd\x00\x00d\x00\x00\x00")";
  } else {
    return R"("\x00\x00\xfd\xe9\x00\x00\x00d")";
  }
}

// Two AS numbers separated by a space become one eight-byte string, prepend and replace alike.
TEST_F(MioSetTest, AsPathTextBecomesPackedWords) {
  mio_->doSetAsPathPrepend("RM", 10, "65001 100");
  mio_->doSetAsPathReplace("RM", 10, "65001 100");
  EXPECT_THAT(lines(),
              ElementsAre("setStrValue " + kSet + " {18:str=" + packed65001And100() + "}",
                          "setStrValue " + kSet + " {34:str=" + packed65001And100() + "}"));
}

// The count limits how many AS numbers are packed, in position order.
TEST_F(MioSetTest, AsPathCountLimitsPackedNumbers) {
  const std::map<U32, U32> list = {{2, 7}, {0, 65001}, {1, 100}};
  RibRouteMap::doSetAsPathPrepend_("default", "RM", 10, list, 2);
  RibRouteMap::doSetAsPathReplace_("default", "RM", 10, list, 0);
  EXPECT_THAT(lines(), ElementsAre("setStrValue " + kSet + " {18:str=" + packed65001And100() + "}",
                                   "setStrValue " + kSet + " {34:str=\"\"}"));
}

// A count larger than the list packs the whole list and nothing more.
TEST_F(MioSetTest, AsPathCountBeyondListPacksWholeList) {
  RibRouteMap::doSetAsPathPrepend_("default", "RM", 10, {{0, 65001}, {1, 100}}, 5);
  EXPECT_THAT(lines(),
              ElementsAre("setStrValue " + kSet + " {18:str=" + packed65001And100() + "}"));
}

}  // namespace
}  // namespace RibRouteMapTest
