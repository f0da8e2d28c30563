#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "framework/rib/EngineModel.h"
#include "framework/rib/Mio.h"

namespace {

using Vox::U32;
using Vox::U8;

using Rib::EngineModel;
using Rib::OpRecord;
using Rib::OpScalar;
using Rib::PathEntry;
using Rib::TaggedValue;
using Node = EngineModel::Node;
using Path = std::vector<PathEntry>;

PathEntry at(U32 tag) {
  return {tag, PathEntry::Kind::none, 0, {}};
}
PathEntry at(U32 tag, const char* key) {
  return {tag, PathEntry::Kind::string, 0, key};
}
PathEntry at(U32 tag, U32 key) {
  return {tag, PathEntry::Kind::u32, key, {}};
}

TaggedValue u32(U32 tag, U32 v) {
  return {tag, v};
}
TaggedValue u8(U32 tag, U8 v) {
  return {tag, v};
}
TaggedValue str(U32 tag, const char* v) {
  return {tag, std::string(v)};
}
TaggedValue flag(U32 tag, bool v) {
  return {tag, v};
}
TaggedValue reset(U32 tag) {
  return {tag, Rib::Reset{}};
}

Path operator+(Path p, const Path& more) {
  p.insert(p.end(), more.begin(), more.end());
  return p;
}

const Path kMap = {at(512), at(576, "RM1")};
const Path kSeq = kMap + Path{at(577), at(578, 10u)};
const Path kSetClauses = kSeq + Path{at(601)};
const Path kCommList = {at(512), at(528), at(529, "/policy/commlist C1")};
const Path kCommEntry = kCommList + Path{at(530), at(531, "/commlist/entry .cs1")};

OpRecord set(const char* name, const Path& path, std::vector<TaggedValue> values = {},
             std::vector<OpScalar> scalars = {}) {
  return {name, path, std::move(values), std::move(scalars), false};
}
OpRecord del(const char* name, const Path& path) {
  return {name, path, {}, {}, true};
}

// Every node in tree order, "path" or "path {values}", so a test sees the whole tree at once,
// empty nodes included.
void dumpInto(const Node& node, Path& path, std::vector<std::string>& out) {
  for (const auto& [entry, child] : node.children) {
    path.push_back(entry);
    std::string line = Rib::pathText(path);
    if (!child.values.empty()) {
      line += " {";
      bool first = true;
      for (const auto& [tag, data] : child.values) {
        if (!first) line += ' ';
        first = false;
        line += Rib::valueText({tag, data});
      }
      line += '}';
    }
    out.push_back(line);
    dumpInto(child, path, out);
    path.pop_back();
  }
}

std::vector<std::string> dump(const Node& root) {
  std::vector<std::string> out;
  Path path;
  dumpInto(root, path, out);
  return out;
}

Node treeOf(const std::vector<OpRecord>& ops) {
  Node root;
  for (const OpRecord& op : ops) EngineModel::apply(root, op);
  return root;
}

struct ApplyCase {
  const char* name;
  std::vector<OpRecord> ops;
  std::vector<std::string> tree;
  friend void PrintTo(const ApplyCase& c, std::ostream* os) { *os << c.name; }
};

class ApplyTest : public testing::TestWithParam<ApplyCase> {};

// Applying the operations in order leaves exactly the expected tree.
TEST_P(ApplyTest, LeavesExpectedTree) {
  EXPECT_EQ(dump(treeOf(GetParam().ops)), GetParam().tree);
}

INSTANTIATE_TEST_SUITE_P(
    EngineModel, ApplyTest,
    testing::Values(
        // A set creates every missing node on its path and puts its values on the last one.
        ApplyCase{"SetCreatesPath",
                  {set("routeMapSeq", kSeq, {u32(0, 10), flag(1, true)})},
                  {"512", "512/576=\"RM1\"", "512/576=\"RM1\"/577",
                   "512/576=\"RM1\"/577/578=10 {0:u32=10 1:flag=true}"}},
        // Set clauses sent one by one add up on one node; a later value of a tag replaces it.
        ApplyCase{"SetMergesByTag",
                  {set("setIntValue", kSetClauses, {u32(1, 5)}),
                   set("setU8Value", kSetClauses, {u8(0, 2)}),
                   set("setIntValue", kSetClauses, {u32(1, 6)})},
                  {"512", "512/576=\"RM1\"", "512/576=\"RM1\"/577", "512/576=\"RM1\"/577/578=10",
                   "512/576=\"RM1\"/577/578=10/601 {0:u8=2 1:u32=6}"}},
        // Within one operation the last value of a tag wins, whatever its type.
        ApplyCase{"LastValueOfTagWins",
                  {set("setIntValue", {at(256)}, {u8(3, 1), u32(3, 9)})},
                  {"256 {3:u32=9}"}},
        // A reset removes its tag and leaves the other tags alone.
        ApplyCase{"ResetRemovesTag",
                  {set("setIntValue", {at(256)}, {u32(5, 1), u32(6, 2)}),
                   set("setIntValue", {at(256)}, {reset(5)})},
                  {"256 {6:u32=2}"}},
        // Values apply in order: a reset followed by a value of the same tag keeps the value.
        ApplyCase{"ResetThenValue",
                  {set("ExtCommSetLinkBwOpts", {at(256)}, {u8(29, 1)}),
                   set("ExtCommSetLinkBwOpts", {at(256)}, {str(30, "x"), reset(29), u8(29, 2)})},
                  {"256 {29:u8=2 30:str=\"x\"}"}},
        // An add replaces the node's values but keeps the nodes below it.
        ApplyCase{"AddClearsValuesKeepsChildren",
                  {set("addCommunityList", kCommList, {str(0, "C1"), u32(7, 3)}),
                   set("addCommunityListEntry", kCommEntry, {str(0, ".cs1"), flag(4, true)}),
                   set("addCommunityList", kCommList, {str(0, "C2")})},
                  {"512", "512/528", "512/528/529=\"/policy/commlist C1\" {0:str=\"C2\"}",
                   "512/528/529=\"/policy/commlist C1\"/530",
                   "512/528/529=\"/policy/commlist C1\"/530/531=\"/commlist/entry .cs1\" "
                   "{0:str=\".cs1\" 4:flag=true}"}},
        // The "doAdd" commands are adds too.
        ApplyCase{"DoAddClearsValues",
                  {set("doAddIpStdAcl", {at(512), at(602), at(517, "A")}, {str(0, "A"), u32(9, 1)}),
                   set("doAddIpStdAcl", {at(512), at(602), at(517, "A")}, {u32(9, 2)})},
                  {"512", "512/602", "512/602/517=\"A\" {9:u32=2}"}},
        // An add with no values leaves the node empty (but present).
        ApplyCase{"AddWithoutValuesEmptiesNode",
                  {set("addDynamicPrefixList", {at(512), at(627), at(628, "D")}, {str(0, "D")}),
                   set("addDynamicPrefixList", {at(512), at(627), at(628, "D")})},
                  {"512", "512/627", "512/627/628=\"D\""}},
        // Scalars set on the operation are kept with the values, as u32 under their tag.
        ApplyCase{"ScalarsStoredAsU32",
                  {set("RouteMapSetOpMode", {at(256)}, {}, {{18, 0}}),
                   set("AsPathRegexMode", {at(256)}, {}, {{16, 2}}),
                   set("RouteMapSetOpMode", {at(256)}, {}, {{18, 3}})},
                  {"256 {16:u32=2 18:u32=3}"}},
        // Scalars apply after the values, so a scalar of a value's tag wins.
        ApplyCase{"ScalarsAfterValues",
                  {set("setIntValue", {at(256)}, {str(18, "v")}, {{18, 4}})},
                  {"256 {18:u32=4}"}},
        // A delete removes the node with everything below it; its parent and siblings stay.
        ApplyCase{"DeleteRemovesSubtree",
                  {set("routeMap", kMap, {str(0, "RM1")}), set("routeMapSeq", kSeq, {u32(0, 10)}),
                   set("routeMap", {at(512), at(576, "RM2")}, {str(0, "RM2")}),
                   del("deleteRouteMap", kMap)},
                  {"512", "512/576=\"RM2\" {0:str=\"RM2\"}"}},
        // Deleting a node that is not there, even below a missing parent, changes nothing.
        ApplyCase{"DeleteAbsentIsNoOp",
                  {set("routeMap", kMap, {str(0, "RM1")}), del("deleteRouteMap", kSeq),
                   del("deleteAsPathList",
                       {at(512), at(534), at(535, "/policy/asplist not_a_funny_name")})},
                  {"512", "512/576=\"RM1\" {0:str=\"RM1\"}"}},
        // A node set again after its delete starts from nothing.
        ApplyCase{"SetAfterDeleteStartsFresh",
                  {set("setIntValue", kSetClauses, {u32(1, 5)}), del("deleteRouteMap", kSeq),
                   set("setIntValue", kSetClauses, {u32(2, 7)})},
                  {"512", "512/576=\"RM1\"", "512/576=\"RM1\"/577", "512/576=\"RM1\"/577/578=10",
                   "512/576=\"RM1\"/577/578=10/601 {2:u32=7}"}}),
    [](const testing::TestParamInfo<ApplyCase>& info) { return std::string(info.param.name); });

// Executed operations wait in the stage; the committed tree changes only at a commit.
TEST(EngineModelTest, StagedUntilCommit) {
  EngineModel model;
  Rib::ScopedSink guard(&model);
  auto path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(512);
  path->doPushString(576, "RM1");
  auto op = Vox::make<Rib::MioOp>("routeMap", path);
  op->value()->doPushString(0, "RM1");
  op->doExecute();

  EXPECT_EQ(model.staged(), 1u);
  EXPECT_TRUE(dump(model.committed()).empty());

  Rib::MioCommit::doCommit();
  EXPECT_EQ(model.staged(), 0u);
  EXPECT_EQ(dump(model.committed()),
            (std::vector<std::string>{"512", "512/576=\"RM1\" {0:str=\"RM1\"}"}));
}

// A commit made through an operation (the sync commit) applies everything staged before it,
// in order, the committing operation included.
TEST(EngineModelTest, OperationCommitAppliesWholeStage) {
  EngineModel model;
  Rib::ScopedSink guard(&model);
  auto listPath = Vox::make<Rib::MioTagArray>();
  listPath->doPushPath(512);
  listPath->doPushPath(534);
  listPath->doPushString(535, "/policy/asplist L");
  auto add = Vox::make<Rib::MioOp>("addAsPathList", listPath);
  add->value()->doPushString(0, "L");
  add->doExecute();
  auto del = Vox::make<Rib::MioOp>("deleteAsPathList", listPath);
  del->deleteFlagIs(true);
  del->doExecute();
  auto addAgain = Vox::make<Rib::MioOp>("addAsPathList", listPath);
  addAgain->value()->doPushString(0, "L2");
  addAgain->doExecute();

  addAgain->doCommit();
  EXPECT_EQ(model.staged(), 0u);
  EXPECT_EQ(dump(model.committed()),
            (std::vector<std::string>{"512", "512/534",
                                      "512/534/535=\"/policy/asplist L\" {0:str=\"L2\"}"}));
}

// Operations executed after a commit wait for the next one.
TEST(EngineModelTest, LaterOperationsWaitForNextCommit) {
  EngineModel model;
  Rib::ScopedSink guard(&model);
  auto path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(256);
  auto first = Vox::make<Rib::MioOp>("RouteMapSetOpMode", path);
  first->doSetU32(18, 1, 0);
  first->doExecute();
  Rib::MioCommit::doCommit();
  auto second = Vox::make<Rib::MioOp>("RouteMapSetOpMode", path);
  second->doSetU32(18, 2, 0);
  second->doExecute();

  EXPECT_EQ(dump(model.committed()), std::vector<std::string>{"256 {18:u32=1}"});
  Rib::MioCommit::doCommit();
  EXPECT_EQ(dump(model.committed()), std::vector<std::string>{"256 {18:u32=2}"});
}

// A long stage (more than one chunk of staged operations, one operation larger than a chunk,
// a delete of the whole tree among them) applies every operation in execution order.
TEST(EngineModelTest, LongStageAppliesInOrder) {
  EngineModel model;
  Rib::ScopedSink guard(&model);
  auto execute = [](U32 seq, const std::string& text, bool del) {
    auto path = Vox::make<Rib::MioTagArray>();
    path->doPushPath(512);
    path->doPushString(515, "PL");
    if (!del) path->doPushU32(516, seq);
    auto op = Vox::make<Rib::MioOp>("setEntry", del ? Vox::make<Rib::MioTagArray>() : path);
    op->deleteFlagIs(del);
    if (!del) op->value()->doPushString(0, text);
    op->doExecute();
  };
  execute(1, "gone", false);
  execute(0, "", true);
  const std::string big(3u << 20, 'b');
  for (U32 seq = 1; seq <= 30000; ++seq) {
    execute(seq, "first " + std::to_string(seq), false);
    if (seq == 15000) execute(7, big, false);
  }
  execute(9, "last", false);
  EXPECT_EQ(model.staged(), 30004u);
  EXPECT_TRUE(dump(model.committed()).empty());
  Rib::MioCommit::doCommit();

  const Node& list = model.committed().children.begin()->second.children.begin()->second;
  ASSERT_EQ(list.children.size(), 30000u);
  auto valueAt = [&](U32 seq) {
    auto it = list.children.find(at(516, seq));
    return it == list.children.end() ? std::string("absent")
                                     : std::get<std::string>((*it->second.values.begin()).data);
  };
  EXPECT_EQ(valueAt(1), "first 1");
  EXPECT_EQ(valueAt(7), big);
  EXPECT_EQ(valueAt(9), "last");
  EXPECT_EQ(valueAt(29999), "first 29999");
  EXPECT_EQ(valueAt(30001), "absent");
}

// Children come out in key order (tag, then no key, string keys byte-wise, number keys
// numerically) whatever order they came in; a missing key is not found and erases nothing;
// a copy is a tree of its own.
TEST(EngineModelTest, ChildrenOrderedAndCopied) {
  const std::vector<PathEntry> ordered = {
      at(5),         at(5, ""), at(5, "Z"), at(5, "a"), at(5, "a\x01"),     at(5, "\x80"),
      at(5, "\xff"), at(5, 0u), at(5, 9u),  at(5, 10u), at(5, 4294967295u), at(6),
      at(6, "a")};
  std::vector<PathEntry> shuffled = ordered;
  std::reverse(shuffled.begin(), shuffled.end());
  std::rotate(shuffled.begin(), shuffled.begin() + 5, shuffled.end());
  Node root;
  for (const PathEntry& e : shuffled) root.children[e].values.set(1, U32{e.u32});
  std::vector<PathEntry> seen;
  for (const auto& [key, child] : root.children) seen.push_back(key);
  EXPECT_EQ(seen, ordered);

  EXPECT_EQ(root.children.find(at(5, "b")), root.children.end());
  EXPECT_EQ(root.children.find(at(5, 11u)), root.children.end());
  EXPECT_EQ(root.children.erase(at(7)), 0u);
  Node copy = root;
  EXPECT_EQ(copy.children.erase(at(5, "a")), 1u);
  copy.children[at(6)].values.set(1, U32{2});
  EXPECT_EQ(root.children.size(), ordered.size());
  EXPECT_NE(root.children.find(at(5, "a")), root.children.end());
  EXPECT_EQ(Rib::valueText(*root.children.find(at(6))->second.values.begin()), "1:u32=0");
  EXPECT_EQ(Rib::valueText(*copy.children.find(at(6))->second.values.begin()), "1:u32=2");
  for (const PathEntry& e : ordered) EXPECT_EQ(copy.children.erase(e), e == at(5, "a") ? 0u : 1u);
  EXPECT_TRUE(copy.children.empty());
  EXPECT_EQ(copy.children.begin(), copy.children.end());
}

// A node is meaningful when it or any node below it holds a value.
TEST(EngineModelTest, MeaningfulLooksBelow) {
  Node empty = treeOf({set("routeMapSeq", kSeq)});
  EXPECT_FALSE(empty.meaningful());
  Node deep = treeOf({set("setIntValue", kSetClauses, {u32(1, 1)})});
  EXPECT_TRUE(deep.meaningful());
  Node emptied = treeOf(
      {set("setIntValue", kSetClauses, {u32(1, 1)}), set("setIntValue", kSetClauses, {reset(1)})});
  EXPECT_FALSE(emptied.meaningful());
}

struct CompareCase {
  const char* name;
  std::vector<OpRecord> left;
  std::vector<OpRecord> right;
  std::vector<std::string> differences;  // empty: the trees are equivalent
  friend void PrintTo(const CompareCase& c, std::ostream* os) { *os << c.name; }
};

class CompareTest : public testing::TestWithParam<CompareCase> {};

// `differences` lists exactly the expected lines, and `equivalent` agrees with it both ways.
TEST_P(CompareTest, ReportsDifferences) {
  const Node left = treeOf(GetParam().left);
  const Node right = treeOf(GetParam().right);
  EXPECT_EQ(EngineModel::differences(left, right), GetParam().differences);
  const bool same = GetParam().differences.empty();
  EXPECT_EQ(EngineModel::equivalent(left, right), same);
  EXPECT_EQ(EngineModel::equivalent(right, left), same);
}

const OpRecord kRm1 = set("routeMap", kMap, {str(0, "RM1")});
const OpRecord kSeq10 = set("routeMapSeq", kSeq, {u32(0, 10), flag(1, true)});
const OpRecord kSeq20 = set("routeMapSeq", kMap + Path{at(577), at(578, 20u)}, {u32(0, 20)});
const Path kPl = {at(512), at(603), at(515, "PL")};

INSTANTIATE_TEST_SUITE_P(
    EngineModel, CompareTest,
    testing::Values(
        // Trees built by the same operations are equivalent.
        CompareCase{"Identical", {kRm1, kSeq10}, {kRm1, kSeq10}, {}},
        // Empty nodes on one side only (a chain of them included) carry no meaning.
        CompareCase{"EmptyNodesIgnored",
                    {kRm1},
                    {kRm1, set("routeMapSeq", kSetClauses), set("x", {at(512), at(627)})},
                    {}},
        // A node whose last value was reset is as good as absent.
        CompareCase{"EmptiedNodeIgnored",
                    {kRm1, set("setIntValue", kSetClauses, {u32(1, 1)}),
                     set("setIntValue", kSetClauses, {reset(1)})},
                    {kRm1},
                    {}},
        // A subtree present on the left only is one line at its top node.
        CompareCase{"OnlyInLeft",
                    {kRm1, kSeq10, set("setIntValue", kSetClauses, {u32(1, 1)})},
                    {kRm1},
                    {"only in left: 512/576=\"RM1\"/577"}},
        // A node meaningful on the right and empty on the left counts as only on the right.
        CompareCase{"MeaningfulOnOneSideOnly",
                    {kRm1, set("routeMapSeq", kSeq), kSeq20},
                    {kRm1, kSeq10, kSeq20},
                    {"only in right: 512/576=\"RM1\"/577/578=10"}},
        // Only the tags whose values differ are shown, each side with its own.
        CompareCase{"ValuesDiffer",
                    {set("doAddIpPrefixList", kPl, {str(0, "PL"), u32(2, 24)})},
                    {set("doAddIpPrefixList", kPl, {str(0, "PL"), u32(2, 16), u32(3, 1)})},
                    {"values differ at 512/603/515=\"PL\": {2:u32=24} vs {2:u32=16 3:u32=1}"}},
        // The same number under a different type is a different value.
        CompareCase{"TypeDiffers",
                    {set("setU8Value", kSetClauses, {u8(0, 1)})},
                    {set("setIntValue", kSetClauses, {u32(0, 1)})},
                    {"values differ at 512/576=\"RM1\"/577/578=10/601: {0:u8=1} vs {0:u32=1}"}},
        // Several differences come in tree order, parents before children, keys ascending.
        CompareCase{"TreeOrder",
                    {kRm1, set("routeMapSeq", kSeq, {u32(0, 10), flag(1, false)}),
                     set("routeMap", {at(512), at(576, "RM3")}, {str(0, "RM3")}),
                     set("setIntValue", {at(256)}, {u32(18, 1)})},
                    {set("routeMap", kMap, {str(0, "RM1"), str(9, "x")}), kSeq10,
                     set("routeMap", {at(512), at(576, "RM2")}, {str(0, "RM2")})},
                    {"only in left: 256", "values differ at 512/576=\"RM1\": {} vs {9:str=\"x\"}",
                     "values differ at 512/576=\"RM1\"/577/578=10: {1:flag=false} vs {1:flag=true}",
                     "only in right: 512/576=\"RM2\"", "only in left: 512/576=\"RM3\""}}),
    [](const testing::TestParamInfo<CompareCase>& info) { return std::string(info.param.name); });

}  // namespace
