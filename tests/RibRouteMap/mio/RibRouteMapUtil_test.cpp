#include "RibRouteMap/routemap/RibRouteMapUtil.h"

#include <gtest/gtest.h>

namespace {

using namespace Routing::RouteMap;

// Options outside a table answer false and leave both outputs as they were.
TEST(RibRouteMapUtilTest, MatchOptionOutsideTablesLeavesOutputs) {
  struct Case {
    MatchOption option;
    bool (*lookUp)(MatchOption, U32*, U32*);
  };
  const Case cases[] = {
      {0, RibRouteMap::ribIsMatchOptionInt},   {101, RibRouteMap::ribIsMatchOptionInt},
      {113, RibRouteMap::ribIsMatchOptionInt}, {100, RibRouteMap::ribIsMatchOptionStr},
      {104, RibRouteMap::ribIsMatchOptionStr}, {999, RibRouteMap::ribIsMatchOptionStr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.option);
    U32 pathTag = 1234;
    U32 valueTag = 5678;
    EXPECT_FALSE(c.lookUp(c.option, &pathTag, &valueTag));
    EXPECT_EQ(pathTag, 1234u);
    EXPECT_EQ(valueTag, 5678u);
  }
}

// Clauses outside the integer actions, even ones sent as integers, answer false untouched.
TEST(RibRouteMapUtilTest, SetFlagOutsideIntegerActionsLeavesNumber) {
  for (SetFlagBit bit : {setAsPathPrepend, setAction2, setAction3, setAsPathPrependLastAs,
                         setOspfMetricType, setCommunityAddReplace, static_cast<SetFlagBit>(31)}) {
    SCOPED_TRACE(static_cast<U32>(bit));
    U32 number = 4321;
    EXPECT_FALSE(RibRouteMap::ribIsSetActionIntValue(bit, &number));
    EXPECT_EQ(number, 4321u);
  }
}

}  // namespace
