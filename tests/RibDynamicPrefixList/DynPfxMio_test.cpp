#include "RibDynamicPrefixList/Mio.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/rib/MioSink.h"

namespace {

using Lines = std::vector<std::string>;

class DynPfxMioTest : public testing::Test {
 protected:
  Rib::Recorder recorder_;
  Rib::ScopedSink sink_{&recorder_};
};

// A list with neither prefix-list name sends only the list itself and its match map.
TEST_F(DynPfxMioTest, EmptyPrefixListNamesAreLeftOut) {
  RibDynamicPrefixList::mioFactory()->doAddDynamicPrefixListEntry("D", "", "", "MM");
  EXPECT_EQ(recorder_.lines(), (Lines{R"(addDynamicPrefixList 512/627/628="D" {0:str="D"})",
                                      R"(match_map 512/627/628="D" {3:str="MM"})", "commit"}));
}

// The IPv6 prefix list goes by its engine name; an empty match map is still sent.
TEST_F(DynPfxMioTest, AllNamesWithIpv6Prefixed) {
  RibDynamicPrefixList::mioFactory()->doAddDynamicPrefixListEntry("D", "P4", "P6", "");
  EXPECT_EQ(recorder_.lines(), (Lines{R"(addDynamicPrefixList 512/627/628="D" {0:str="D"})",
                                      R"(ipv4_prefix_list_name 512/627/628="D" {1:str="P4"})",
                                      R"(ipv6_prefix_list_name 512/627/628="D" {2:str=".ipv6.P6"})",
                                      R"(match_map 512/627/628="D" {3:str=""})", "commit"}));
}

}  // namespace
