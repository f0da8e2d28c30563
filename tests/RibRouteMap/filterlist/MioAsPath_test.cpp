#include <gtest/gtest.h>

#include "tests/RibRouteMap/mio/MioStreamTest.h"

namespace RibRouteMapTest {
namespace {

using Lines = std::vector<std::string>;
using MioAsPathTest = MioStreamTest;

const std::string kList = R"(512/534/535="/policy/asplist AP")";

// Origins 0, 1 and 2 select one bit of the mask; any other origin matches every origin.
TEST_F(MioAsPathTest, OriginMasks) {
  struct Row {
    Acl::BGPOrigin origin;
    U32 mask;
  };
  const Row rows[] = {{0, 257}, {1, 258}, {2, 260}, {3, 256}, {0xffffffffu, 256}};
  for (const Row& r : rows) {
    recorder_.clear();
    mio_->doAddAsPathListEntry("AP", 5, Acl::permit, "^1$", r.origin);
    EXPECT_EQ(lines(), (Lines{"addAsPathListEntry " + kList +
                              R"(/536/537="5/asplist/entry" {0:u32=5 1:str="^1$" 2:u32=)" +
                              std::to_string(r.mask) + " 3:flag=true}"}))
        << "origin " << r.origin;
  }
}

// A deny entry carries no permit flag at all.
TEST_F(MioAsPathTest, DenyEntryHasNoPermitFlag) {
  mio_->doAddAsPathListEntry("AP", 20, Acl::deny, "_65000_", 2);
  EXPECT_EQ(lines(),
            (Lines{"addAsPathListEntry " + kList +
                   R"(/536/537="20/asplist/entry" {0:u32=20 1:str="_65000_" 2:u32=260})"}));
}

}  // namespace
}  // namespace RibRouteMapTest
