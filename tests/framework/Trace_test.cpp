#include "framework/vox/TraceHandle.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

// Sends trace lines to a string for the test and restores standard error after it.
class TraceTest : public testing::Test {
 protected:
  TraceTest() { Vox::traceOutputIs(&out_); }
  ~TraceTest() override { Vox::traceOutputIs(nullptr); }

  std::ostringstream out_;
};

struct LevelCase {
  int handleLevel;
  int messageLevel;
  bool written;
};

// A message is formatted and written only up to the handle's level; above it, its operands
// are not even evaluated.
TEST_F(TraceTest, RibTraceEvaluatesOnlyWhenEnabled) {
  const LevelCase cases[] = {
      {-1, 0, false}, {8, 9, false}, {8, 8, true}, {8, 7, true}, {0, 0, true}, {0, 1, false},
  };
  Vox::TraceHandle handle("FwTraceLevels", false);
  for (const LevelCase& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << "handle " << c.handleLevel << ", message " << c.messageLevel);
    handle.levelIs(c.handleLevel);
    out_.str("");
    int evaluated = 0;
    auto operand = [&evaluated] { return ++evaluated; };
    RIB_TRACE(handle, c.messageLevel, "void f() n: " << operand() << " done");
    EXPECT_EQ(evaluated, c.written ? 1 : 0);
    EXPECT_EQ(out_.str(), c.written ? "void f() n: 1 done\n" : "");
  }
}

// The plain form writes one line when enabled and nothing otherwise.
TEST_F(TraceTest, TraceWritesOneLine) {
  Vox::TraceHandle handle("FwTracePlain", false);
  Vox::TraceHelper::trace(handle, 7, "off");
  handle.levelIs(7);
  Vox::TraceHelper::trace(handle, 7, "on");
  EXPECT_EQ(out_.str(), "on\n");
}

// A handle made enabled starts at the most detailed level.
TEST_F(TraceTest, EnabledHandleStartsAtNine) {
  Vox::TraceHandle on("FwTraceBornOn", true);
  Vox::TraceHandle off("FwTraceBornOff", false);
  EXPECT_EQ(on.level(), 9);
  EXPECT_EQ(off.level(), -1);
}

// A trace setting string sets the level of every named handle, existing or created later.
TEST_F(TraceTest, SettingStringSetsNamedLevels) {
  Vox::TraceHandle routeMap("RouteMap", false);
  Vox::TraceHandle dynamic("RibDynamicPrefixList", false);
  const int savedRouteMap = routeMap.level();
  const int savedDynamic = dynamic.level();

  EXPECT_TRUE(Vox::traceLevelsIs("RouteMap=8,RibDynamicPrefixList=9"));
  Vox::TraceHandle later("RouteMap", false);
  const int levels[] = {routeMap.level(), dynamic.level(), later.level()};

  Vox::traceLevelIs("RouteMap", savedRouteMap);
  Vox::traceLevelIs("RibDynamicPrefixList", savedDynamic);
  EXPECT_EQ(levels[0], 8);
  EXPECT_EQ(levels[1], 9);
  EXPECT_EQ(levels[2], 8);
}

// A malformed setting string is refused as a whole: not even its well-formed items take effect.
TEST_F(TraceTest, MalformedSettingStringChangesNothing) {
  const char* settings[] = {
      "FwLevelA=7,FwLevelB",    "FwLevelA=7,FwLevelB=",   "FwLevelA=7,=9",
      "FwLevelA=7,FwLevelB=x",  "FwLevelA=7,FwLevelB=-1", "FwLevelA=7;FwLevelB=9",
      "FwLevelA=7,FwLevelB= 9", "FwLevelA=7,FwLevelB=9x", "FwLevelA=7,FwLevelB=99999999999",
  };
  Vox::TraceHandle a("FwLevelA", false);
  Vox::TraceHandle b("FwLevelB", false);
  for (const char* setting : settings) {
    SCOPED_TRACE(setting);
    a.levelIs(3);
    b.levelIs(3);
    EXPECT_FALSE(Vox::traceLevelsIs(setting));
    EXPECT_EQ(a.level(), 3);
    EXPECT_EQ(b.level(), 3);
  }
}

// Lines go to the chosen stream; clearing the choice sends them to standard error again.
TEST_F(TraceTest, OutputFollowsChosenStream) {
  Vox::TraceHandle handle("FwTraceOutput", true);
  RIB_TRACE(handle, 8, "to stream");
  Vox::traceOutputIs(nullptr);
  testing::internal::CaptureStderr();
  RIB_TRACE(handle, 8, "to stderr");
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(out_.str(), "to stream\n");
  EXPECT_EQ(err, "to stderr\n");
}

}  // namespace
