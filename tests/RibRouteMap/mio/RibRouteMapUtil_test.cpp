#include "RibRouteMap/mio/RibRouteMapUtil.h"

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

}  // namespace
