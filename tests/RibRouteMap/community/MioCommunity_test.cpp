#include <gtest/gtest.h>

#include "tests/RibRouteMap/community/CommunityTestSupport.h"

namespace RibRouteMap::test {
namespace {

using CommunityListTest = CommunityStreamTest;
using CommunityListDeathTest = CommunityStreamTest;

const Lines kDeleteEntrySetsL110 = {
    R"(delCommunitySet 512/524/525="/policy/commset .L110" del)", "commit",
    R"(delCommunitySet 512/526/527="/policy/commset .L110" del)", "commit",
    R"(delCommunitySet 512/631/632="/policy/commset .L110" del)", "commit",
};

// Made names join the name and the number without a separator; the clause names end by flag.
TEST(CommunityNamesTest, MadeNames) {
  struct Row {
    Vox::String made;
    Vox::String expected;
  };
  const Row rows[] = {
      {Mio::getCommunitySetName("L1", 10), ".L110"},
      {Mio::getCommunitySetName("L11", 0), ".L110"},
      {Mio::getInternalCommunitySetName("RM", 10, Acl::commSetDelete_), ".csRM10del"},
      {Mio::getInternalCommunitySetName("RM", 10, Acl::commSetNone_), ".csRM10ar"},
      {Mio::getInternalCommunitySetName("RM", 10, Acl::commSetAdditive_), ".csRM10ar"},
      {Mio::getInternalCommunityListName("RM", 10, Acl::commSetDelete_), ".clRM10del"},
      {Mio::getInternalCommunityListName("RM", 10, Acl::commSetReplace_), ".clRM10ar"},
      {Mio::getExtCommunitySetName("RM", 4294967295u), ".eRM4294967295"},
      {Mio::getLargeCommunitySetName("", 0), ".l0"},
  };
  for (const Row& r : rows) EXPECT_EQ(r.made, r.expected);
}

// Adding a list is left to the caller's commit; deleting one commits at once.
TEST_F(CommunityListTest, AddListUncommittedDeleteCommitted) {
  mio_->doAddCommunityList("L1");
  mio_->doDelCommunityList(".exact.L1");
  EXPECT_EQ(lines(), (Lines{
                         R"(addCommunityList 512/528/529="/policy/commlist L1" {0:str="L1"})",
                         R"(delCommunityList 512/528/529="/policy/commlist .exact.L1" del)",
                         "commit",
                     }));
}

// A value entry clears its set in all three kinds, makes it anew, and enters it in both copies.
TEST_F(CommunityListTest, AddValueEntry) {
  auto e = listEntry(10, Acl::permit, Acl::standardValues,
                     {Acl::CommunityValue::standard(200), Acl::CommunityValue::standard(100)});
  mio_->doAddCommunityListEntry("L1", *e);
  EXPECT_EQ(
      lines(),
      concat(
          {kDeleteEntrySetsL110,
           {
               R"(addCommunitySet 512/524/525="/policy/commset .L110" {0:str=".L110" 2:words=[100,200]})",
               "commit",
               R"(addCommunityListEntry 512/528/529="/policy/commlist L1"/530/531="/commlist/entry .L110" {0:str=".L110" 5:u32=10 1:u32=0 4:flag=true})",
               R"(addCommunityListEntryExact 512/528/529="/policy/commlist .exact.L1"/530/531="/commlist/entry .L110" {0:str=".L110" 5:u32=10 1:u32=0 4:flag=true 2:flag=true})",
           }}));
}

// An expression entry's set holds the expression under tag 4 and no value array.
TEST_F(CommunityListTest, AddExpressionEntry) {
  auto e = listEntry(10, Acl::deny, Acl::extendedRegex, {}, "^rt 65000:.*$");
  mio_->doAddCommunityListEntry("L1", *e);
  EXPECT_EQ(
      lines(),
      concat(
          {kDeleteEntrySetsL110,
           {
               R"(addCommunitySet 512/526/527="/policy/commset .L110" {0:str=".L110" 4:str="^rt 65000:.*$"})",
               "commit",
               R"(addCommunityListEntry 512/528/529="/policy/commlist L1"/530/531="/commlist/entry .L110" {0:str=".L110" 5:u32=10 1:u32=1 4:flag=false})",
               R"(addCommunityListEntryExact 512/528/529="/policy/commlist .exact.L1"/530/531="/commlist/entry .L110" {0:str=".L110" 5:u32=10 1:u32=1 4:flag=false 2:flag=true})",
           }}));
}

// An entry of a list type the engine does not know carries no kind, and its set no content.
TEST_F(CommunityListTest, AddEntryOfUnknownListType) {
  auto e = listEntry(10, Acl::permit, static_cast<Acl::CommunityListType>(6),
                     {Acl::CommunityValue::standard(1)}, "x");
  mio_->doAddCommunityListEntry("L1", *e);
  EXPECT_EQ(
      lines(),
      concat(
          {kDeleteEntrySetsL110,
           {
               R"(addCommunitySet 512 {0:str=".L110"})",
               "commit",
               R"(addCommunityListEntry 512/528/529="/policy/commlist L1"/530/531="/commlist/entry .L110" {0:str=".L110" 5:u32=10 4:flag=true})",
               R"(addCommunityListEntryExact 512/528/529="/policy/commlist .exact.L1"/530/531="/commlist/entry .L110" {0:str=".L110" 5:u32=10 4:flag=true 2:flag=true})",
           }}));
}

// The set of each list type lands under its kind's node with the values in word form.
TEST_F(CommunityListTest, ListSetContentByListType) {
  struct Row {
    Acl::CommunityListType type;
    std::set<Acl::CommunityValue> values;
    std::string regex;
    std::string expected;
  };
  const Row rows[] = {
      {Acl::standardValues,
       {},
       "",
       R"(addCommunitySet 512/524/525="/policy/commset S" {0:str="S" 2:words=[]})"},
      {Acl::standardRegex,
       {},
       "^1:",
       R"(addCommunitySet 512/524/525="/policy/commset S" {0:str="S" 4:str="^1:"})"},
      {Acl::extendedValues,
       {Acl::CommunityValue::extended(0x0002fde800000001ull),
        Acl::CommunityValue::extended(0x0001000a0000000bull)},
       "",
       R"(addCommunitySet 512/526/527="/policy/commset S" {0:str="S" 2:words=[65546,11,196072,1]})"},
      {Acl::largeValues,
       {Acl::CommunityValue::large(65000, 2, 3), Acl::CommunityValue::large(1, 4294967295u, 0)},
       "",
       R"(addCommunitySet 512/631/632="/policy/commset S" {0:str="S" 2:words=[1,4294967295,0,65000,2,3]})"},
      {Acl::largeRegex,
       {},
       "",
       R"(addCommunitySet 512/631/632="/policy/commset S" {0:str="S" 4:str=""})"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.expected);
    auto e = listEntry(1, Acl::permit, r.type, r.values, r.regex);
    EXPECT_EQ(linesOf([&] { mio_->doAddListCommSet("S", *e); }), (Lines{r.expected, "commit"}));
  }
}

// Deleting an entry removes its set in all kinds first, then the entry from both copies.
TEST_F(CommunityListTest, DeleteEntry) {
  mio_->doDelCommunityListEntry("L1", 10);
  EXPECT_EQ(
      lines(),
      concat(
          {kDeleteEntrySetsL110,
           {
               R"(delCommunityListEntry 512/528/529="/policy/commlist L1"/530/531="/commlist/entry .L110" del)",
               R"(delCommunityListEntryExact 512/528/529="/policy/commlist .exact.L1"/530/531="/commlist/entry .L110" del)",
           }}));
}

// A clause's set of each kind is sent as words; an additive set carries flag 1.
TEST_F(CommunityListTest, ClauseSetContentByKind) {
  auto s = Vox::make<Routing::RouteMap::CommunitySet>();
  s->standard = {7, 3};
  s->extended = {0x0003000100000002ull};
  s->large = {{1, 2, 3}, {4, 5, 6}};
  s->flag = Acl::commSetAdditive_;
  const Lines expected = {
      R"(addCommunitySet 512/524/525="/policy/commset S" {0:str="S" 1:flag=true 2:words=[7,3]})",
      "commit",
      R"(addCommunitySet 512/526/527="/policy/commset S" {0:str="S" 1:flag=true 2:words=[196609,2]})",
      "commit",
      R"(addCommunitySet 512/631/632="/policy/commset S" {0:str="S" 1:flag=true 2:words=[1,2,3,4,5,6]})",
      "commit",
  };
  mio_->doAddSetCommSet("S", s, Acl::communityStandard);
  mio_->doAddSetCommSet("S", s, Acl::communityExtended);
  mio_->doAddSetCommSet("S", s, Acl::communityLarge);
  EXPECT_EQ(lines(), expected);
}

// Only an extended set with a link-bandwidth community (type 0x00 or 0x40, sub-type 0x04)
// reports one.
TEST_F(CommunityListTest, LinkBandwidthDetection) {
  struct Row {
    Acl::CommunityType kind;
    std::uint64_t value;
    bool expected;
  };
  const Row rows[] = {
      {Acl::communityExtended, 0x0004fde800000064ull, true},
      {Acl::communityExtended, 0x4004fde800000064ull, true},
      {Acl::communityExtended, 0x8004fde800000064ull, false},
      {Acl::communityExtended, 0x0104fde800000064ull, false},
      {Acl::communityExtended, 0x0002fde800000064ull, false},
      {Acl::communityExtended, 0x0000000400000000ull, false},
      {Acl::communityStandard, 0x0004fde800000064ull, false},
      {Acl::communityLarge, 0x0004fde800000064ull, false},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(::testing::Message() << r.kind << " " << std::hex << r.value);
    auto s = Vox::make<Routing::RouteMap::CommunitySet>();
    s->extended = {0x0002000100000001ull, r.value};
    s->standard = {static_cast<U32>(r.value >> 32)};
    s->large = {{static_cast<U32>(r.value >> 32), 0, 0}};
    EXPECT_EQ(mio_->doAddSetCommSet("S", s, r.kind), r.expected);
  }
}

// Deleting a set of each kind addresses that kind's node and commits.
TEST_F(CommunityListTest, DeleteSetByKind) {
  mio_->doDelCommSet("S", Acl::communityStandard);
  mio_->doDelCommSet("S", Acl::communityExtended);
  mio_->doDelCommSet("S", Acl::communityLarge);
  EXPECT_EQ(lines(), (Lines{
                         R"(delCommunitySet 512/524/525="/policy/commset S" del)",
                         "commit",
                         R"(delCommunitySet 512/526/527="/policy/commset S" del)",
                         "commit",
                         R"(delCommunitySet 512/631/632="/policy/commset S" del)",
                         "commit",
                     }));
}

// A community kind with no engine meaning ends the agent after an error trace.
TEST_F(CommunityListDeathTest, UnknownKindIsFatal) {
  const auto bad = static_cast<Acl::CommunityType>(7);
  auto s = standardSet({1}, Acl::commSetNone_);
  EXPECT_DEATH(
      {
        Vox::traceLevelIs("RouteMap", 0);
        mio_->doAddSetCommSet("S", s, bad);
      },
      "Error: unrecognized community type: 7\n(.|\n)*Assertion failed");
  EXPECT_DEATH(
      {
        Vox::traceLevelIs("RouteMap", 0);
        mio_->doDelCommSet("S", bad);
      },
      "Error: unrecognized community type: 7\n(.|\n)*Assertion failed");
}

}  // namespace
}  // namespace RibRouteMap::test
