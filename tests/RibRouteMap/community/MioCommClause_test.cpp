#include <gtest/gtest.h>

#include "tests/RibRouteMap/community/CommunityTestSupport.h"

namespace RibRouteMap::test {
namespace {

using CommClauseTest = CommunityStreamTest;
using CommClauseDeathTest = CommunityStreamTest;

// The deletions that begin every re-issue of a standard clause with the "ar" names.
const Lines kDeleteArObjects = {
    R"(delCommunityList 512/528/529="/policy/commlist .clRM10ar" del)",
    "commit",
    R"(delCommunitySet 512/524/525="/policy/commset .csRM10ar" del)",
    "commit",
};
const Lines kDeleteDelObjects = {
    R"(delCommunityList 512/528/529="/policy/commlist .clRM10del" del)",
    "commit",
    R"(delCommunitySet 512/524/525="/policy/commset .csRM10del" del)",
    "commit",
};

// A standard clause with its own values gets an internal set, an internal list with one entry
// (sequence 10) referring to it, and is applied with tag 12 and the keep flag 11.
TEST_F(CommClauseTest, StandardValuesClause) {
  struct Row {
    Acl::CommSetFlag flag;
    std::string setValues;
    std::string apply;
  };
  const Row rows[] = {
      {Acl::commSetNone_, "{0:str=\".csRM10ar\" 2:words=[100,200]}",
       "{12:str=\".clRM10ar\" 11:flag=true}"},
      {Acl::commSetAdditive_, "{0:str=\".csRM10ar\" 1:flag=true 2:words=[100,200]}",
       "{12:str=\".clRM10ar\" 11:flag=true}"},
      {Acl::commSetReplace_, "{0:str=\".csRM10ar\" 2:words=[100,200]}",
       "{12:str=\".clRM10ar\" 11:flag=false}"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(Acl::valueToStrep(r.flag));
    const Lines got = linesOf([&] {
      mio_->doSetCommunity("RM", 10, standardSet({100, 200}, r.flag));
    });
    EXPECT_EQ(
        got,
        concat(
            {kDeleteArObjects,
             {
                 R"(addCommunitySet 512/524/525="/policy/commset .csRM10ar" )" + r.setValues,
                 "commit",
                 R"(addCommunityList 512/528/529="/policy/commlist .clRM10ar" {0:str=".clRM10ar"})",
                 R"(addCommunityListEntry 512/528/529="/policy/commlist .clRM10ar"/530/531="/commlist/entry .csRM10ar" {0:str=".csRM10ar" 5:u32=10 1:u32=0 4:flag=false})",
                 R"(setCommunity 512/576="RM"/577/578=10/601 )" + r.apply,
             }}));
  }
}

// The delete flavour uses the "del" names and applies the list with tag 14 alone.
TEST_F(CommClauseTest, StandardDeleteClause) {
  mio_->doSetCommunity("RM", 10, standardSet({300}, Acl::commSetDelete_));
  EXPECT_EQ(
      lines(),
      concat(
          {kDeleteDelObjects,
           {
               R"(addCommunitySet 512/524/525="/policy/commset .csRM10del" {0:str=".csRM10del" 2:words=[300]})",
               "commit",
               R"(addCommunityList 512/528/529="/policy/commlist .clRM10del" {0:str=".clRM10del"})",
               R"(addCommunityListEntry 512/528/529="/policy/commlist .clRM10del"/530/531="/commlist/entry .csRM10del" {0:str=".csRM10del" 5:u32=10 1:u32=0 4:flag=false})",
               R"(setCommunity 512/576="RM"/577/578=10/601 {14:str=".clRM10del"})",
           }}));
}

// A clause drawing on lists refers to the configured lists' entry sets, keeps their permit,
// and skips a list that is not configured.
TEST_F(CommClauseTest, MergedClauseRefersToListEntrySets) {
  auto config = Vox::make<Acl::AclListConfig>();
  auto a = Vox::make<Acl::CommunityList>("A");
  a->communityListEntryIs(listEntry(20, Acl::deny, Acl::standardValues));
  a->communityListEntryIs(listEntry(5, Acl::permit, Acl::standardRegex));
  auto c = Vox::make<Acl::CommunityList>("C");
  c->communityListEntryIs(listEntry(5, Acl::permit, Acl::standardValues));
  config->communityListIs(a);
  config->communityListIs(c);
  auto root = makeRoot(config);

  mio_->doSetCommunity("RM", 10, listSet({"C", "B", "A"}, Acl::commSetAdditive_));
  EXPECT_EQ(
      lines(),
      concat(
          {kDeleteArObjects,
           {
               R"(addCommunityList 512/528/529="/policy/commlist .clRM10ar" {0:str=".clRM10ar"})",
               R"(addCommunityListEntry 512/528/529="/policy/commlist .clRM10ar"/530/531="/commlist/entry .A5" {0:str=".A5" 5:u32=5 1:u32=0 4:flag=true})",
               R"(addCommunityListEntry 512/528/529="/policy/commlist .clRM10ar"/530/531="/commlist/entry .A20" {0:str=".A20" 5:u32=20 1:u32=0 4:flag=false})",
               R"(addCommunityListEntry 512/528/529="/policy/commlist .clRM10ar"/530/531="/commlist/entry .C5" {0:str=".C5" 5:u32=5 1:u32=0 4:flag=true})",
               R"(setCommunity 512/576="RM"/577/578=10/601 {12:str=".clRM10ar" 11:flag=true})",
           }}));
}

// Without a root (or without configured lists) a merged clause leaves its list empty.
TEST_F(CommClauseTest, MergedClauseWithoutConfigurationIsEmpty) {
  const Lines expected = concat(
      {kDeleteArObjects,
       {
           R"(addCommunityList 512/528/529="/policy/commlist .clRM10ar" {0:str=".clRM10ar"})",
           R"(setCommunity 512/576="RM"/577/578=10/601 {12:str=".clRM10ar" 11:flag=false})",
       }});
  const auto set = listSet({"A"}, Acl::commSetReplace_);
  EXPECT_EQ(linesOf([&] { mio_->doSetCommunity("RM", 10, set); }), expected);
  auto root = makeRoot();
  EXPECT_EQ(linesOf([&] { mio_->doSetCommunity("RM", 10, set); }), expected);
}

// Re-issuing a clause first deletes the list and set of its flag, never the other flavour's.
TEST_F(CommClauseTest, ReissueDeletesOldObjectsFirst) {
  mio_->doSetCommunity("RM", 10, standardSet({1}, Acl::commSetDelete_));
  mio_->doSetCommunity("RM", 10, standardSet({1}, Acl::commSetAdditive_));
  const Lines again =
      linesOf([&] { mio_->doSetCommunity("RM", 10, standardSet({2}, Acl::commSetAdditive_)); });
  EXPECT_EQ(
      again,
      concat(
          {kDeleteArObjects,
           {
               R"(addCommunitySet 512/524/525="/policy/commset .csRM10ar" {0:str=".csRM10ar" 1:flag=true 2:words=[2]})",
               "commit",
               R"(addCommunityList 512/528/529="/policy/commlist .clRM10ar" {0:str=".clRM10ar"})",
               R"(addCommunityListEntry 512/528/529="/policy/commlist .clRM10ar"/530/531="/commlist/entry .csRM10ar" {0:str=".csRM10ar" 5:u32=10 1:u32=0 4:flag=false})",
               R"(setCommunity 512/576="RM"/577/578=10/601 {12:str=".clRM10ar" 11:flag=true})",
           }}));
}

// The extended set is rebuilt and applied; a link-bandwidth community forces flag 24 = false,
// even for a delete clause.
TEST_F(CommClauseTest, ExtendedClause) {
  const std::uint64_t routeTarget = 0x0002fde800000001ull;  // words 196072, 1
  const std::uint64_t linkBw = 0x4004fde800000064ull;       // words 1074068968, 100
  struct Row {
    Acl::CommSetFlag flag;
    std::uint64_t value;
    std::string setValues;
    std::string apply;
  };
  const Row rows[] = {
      {Acl::commSetNone_, routeTarget, "2:words=[196072,1]", "{13:str=\".eRM10\" 24:u8=2}"},
      {Acl::commSetAdditive_, routeTarget, "1:flag=true 2:words=[196072,1]",
       "{13:str=\".eRM10\" 24:u8=2}"},
      {Acl::commSetReplace_, routeTarget, "2:words=[196072,1]",
       "{13:str=\".eRM10\" 24:flag=false}"},
      {Acl::commSetDelete_, routeTarget, "2:words=[196072,1]", "{15:str=\".eRM10\"}"},
      {Acl::commSetNone_, linkBw, "2:words=[1074068968,100]", "{13:str=\".eRM10\" 24:flag=false}"},
      {Acl::commSetAdditive_, linkBw, "1:flag=true 2:words=[1074068968,100]",
       "{13:str=\".eRM10\" 24:flag=false}"},
      {Acl::commSetDelete_, linkBw, "2:words=[1074068968,100]",
       "{15:str=\".eRM10\" 24:flag=false}"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(Acl::valueToStrep(r.flag) + " " + r.setValues);
    auto s = Vox::make<Routing::RouteMap::CommunitySet>();
    s->extended = {r.value};
    s->flag = r.flag;
    EXPECT_EQ(linesOf([&] { mio_->doSetExtCommunity("RM", 10, s); }),
              (Lines{
                  R"(delCommunitySet 512/526/527="/policy/commset .eRM10" del)",
                  "commit",
                  R"(addCommunitySet 512/526/527="/policy/commset .eRM10" {0:str=".eRM10" )" +
                      r.setValues + "}",
                  "commit",
                  R"(setExtCommunity 512/576="RM"/577/578=10/601 )" + r.apply,
              }));
  }
}

// The large set is rebuilt and applied with its own tags; no link-bandwidth rule applies.
TEST_F(CommClauseTest, LargeClause) {
  struct Row {
    Acl::CommSetFlag flag;
    std::string setValues;
    std::string apply;
  };
  const Row rows[] = {
      {Acl::commSetNone_, "2:words=[65000,1,2]", "{36:str=\".lRM10\" 38:u8=4}"},
      {Acl::commSetAdditive_, "1:flag=true 2:words=[65000,1,2]", "{36:str=\".lRM10\" 38:u8=4}"},
      {Acl::commSetReplace_, "2:words=[65000,1,2]", "{36:str=\".lRM10\" 38:flag=false}"},
      {Acl::commSetDelete_, "2:words=[65000,1,2]", "{37:str=\".lRM10\"}"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(Acl::valueToStrep(r.flag));
    auto s = Vox::make<Routing::RouteMap::CommunitySet>();
    s->large = {{65000, 1, 2}};
    s->extended = {0x0004fde800000064ull};  // ignored by a large clause
    s->flag = r.flag;
    EXPECT_EQ(linesOf([&] { mio_->doSetLargeCommunity("RM", 10, s); }),
              (Lines{
                  R"(delCommunitySet 512/631/632="/policy/commset .lRM10" del)",
                  "commit",
                  R"(addCommunitySet 512/631/632="/policy/commset .lRM10" {0:str=".lRM10" )" +
                      r.setValues + "}",
                  "commit",
                  R"(setLargeCommunity 512/576="RM"/577/578=10/601 )" + r.apply,
              }));
  }
}

// Each link-bandwidth option sets its option bit; none (or an unknown one) resets it.
TEST_F(CommClauseTest, LinkBandwidthOptions) {
  struct Row {
    U32 flag;
    std::string values;
  };
  const Row rows[] = {
      {1, "{29:u8=1}"},  {2, "{30:str=\"1250.500000\" 29:u8=2}"},
      {3, "{29:u8=4}"},  {4, "{29:u8=8}"},
      {0, "{29:reset}"}, {9, "{29:reset}"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.flag);
    EXPECT_EQ(linesOf([&] {
                mio_->doSetExtCommunityLbwOpts(
                    "RM", 10, static_cast<Acl::ExtCommLinkBandwidthSetFlag>(r.flag), 1250.5f);
              }),
              (Lines{R"(ExtCommSetLinkBwOpts 512/576="RM"/577/578=10/601 )" + r.values}));
  }
}

// An exact match refers to the ".exact." copies, joined by single spaces.
TEST_F(CommClauseTest, ExactMatchUsesExactCopies) {
  mio_->doAddMatchCommunity("RM", 10, {"B", "A"}, false, true, Acl::communityStandard);
  EXPECT_EQ(
      lines(),
      (Lines{
          R"(commList 512/576="RM"/577/578=10/585=".exact.A .exact.B" {13:str=".exact.A .exact.B"})",
      }));
}

// Each kind of match has its node, value tag and operation; the first flag adds flag 0.
TEST_F(CommClauseTest, MatchByKind) {
  struct Row {
    Acl::CommunityType kind;
    bool firstFlag;
    std::string expected;
  };
  const Row rows[] = {
      {Acl::communityStandard, true,
       R"(commList 512/576="RM"/577/578=10/585="A B" {0:flag=true 13:str="A B"})"},
      {Acl::communityExtended, true,
       R"(extCommList 512/576="RM"/577/578=10/629="A B" {0:flag=true 14:str="A B"})"},
      {Acl::communityLarge, false,
       R"(largeCommList 512/576="RM"/577/578=10/634="A B" {35:str="A B"})"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.expected);
    EXPECT_EQ(linesOf([&] {
                mio_->doAddMatchCommunity("RM", 10, {"A", "B"}, r.firstFlag, false, r.kind);
              }),
              (Lines{r.expected}));
  }
}

// Removing a sequence's community objects deletes both clause flavours and the ".e" and ".l"
// sets, whether or not they were ever made.
TEST_F(CommClauseTest, DeleteMapSeqCommObjects) {
  auto root = makeRoot();
  mio_->addRmClauseToCommListUsers("RM", 10, listSet({"A"}, Acl::commSetAdditive_));
  mio_->doDeleteMapSeqCommObjects("RM", 10);
  EXPECT_EQ(lines(), concat({kDeleteArObjects,
                             kDeleteDelObjects,
                             {
                                 R"(delCommunitySet 512/526/527="/policy/commset .eRM10" del)",
                                 "commit",
                                 R"(delCommunitySet 512/631/632="/policy/commset .lRM10" del)",
                                 "commit",
                             }}));
  EXPECT_TRUE(root->commListUsers()->commListUser().empty());
}

// A match on no list at all is a broken precondition.
TEST_F(CommClauseDeathTest, EmptyMatchIsFatal) {
  EXPECT_DEATH(mio_->doAddMatchCommunity("RM", 10, {}, false, false, Acl::communityStandard),
               "Assertion failed: !comm.empty\\(\\)");
}

// A match of a community kind with no engine meaning ends the agent after an error trace.
TEST_F(CommClauseDeathTest, UnknownMatchKindIsFatal) {
  EXPECT_DEATH(
      {
        Vox::traceLevelIs("RouteMap", 0);
        mio_->doAddMatchCommunity("RM", 10, {"A"}, false, false,
                                  static_cast<Acl::CommunityType>(7));
      },
      "Error: unrecognized community type: 7\n(.|\n)*Assertion failed");
}

}  // namespace
}  // namespace RibRouteMap::test
