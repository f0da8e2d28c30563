// The net change between two committed engine trees, as `run --diff` prints it.
#include "tools/ribpolicy/views/Diff.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Vox::U32;
using Vox::U8;

using Rib::EngineModel;
using Rib::OpRecord;
using Rib::PathEntry;

PathEntry tag(U32 t) {
  return {t, PathEntry::Kind::none, 0, ""};
}
PathEntry key(U32 t, const char* k) {
  return {t, PathEntry::Kind::string, 0, k};
}
PathEntry num(U32 t, U32 k) {
  return {t, PathEntry::Kind::u32, k, ""};
}

OpRecord set(std::vector<PathEntry> path, std::vector<Rib::TaggedValue> values) {
  return {"set", std::move(path), std::move(values), {}, false};
}

EngineModel::Node tree(const std::vector<OpRecord>& ops) {
  EngineModel::Node root;
  for (const OpRecord& op : ops) EngineModel::apply(root, op);
  return root;
}

std::vector<std::string> lines(const EngineModel::Node& before, const EngineModel::Node& after,
                               ribpolicy::TextWriter::Form form) {
  std::vector<std::string> out;
  for (const auto& c : ribpolicy::engineDiff(before, after)) {
    std::string line = ribpolicy::diffLine(c, form);
    while (line.find("  ") != std::string::npos) line.erase(line.find("  "), 1);
    out.push_back(line);
  }
  return out;
}

const std::vector<PathEntry> kMap = {tag(512), key(576, "RM")};
const std::vector<PathEntry> kSeq10 = {tag(512), key(576, "RM"), tag(577), num(578, 10)};
const std::vector<PathEntry> kSet10 = {tag(512), key(576, "RM"), tag(577), num(578, 10), tag(601)};
const std::vector<PathEntry> kSeq20 = {tag(512), key(576, "RM"), tag(577), num(578, 20)};
const std::vector<PathEntry> kList = {tag(512), tag(603), key(515, "PL")};
const std::vector<PathEntry> kEntry = {tag(512), tag(603), key(515, "PL"), num(516, 5)};

// A new sequence shows every node that holds values; a removed list shows once, at the top
// node that went with it, with the number of nodes that held values; a changed node shows only the
// tags that differ, added and removed ones on one side; an unchanged node and a node that holds
// nothing show nowhere; all in tree order.
TEST(DiffTest, AddedRemovedAndChangedNodesInTreeOrder) {
  const auto before = tree({
      set(kMap, {{0, std::string("RM")}}),
      set(kSeq10, {{0, U32{10}}, {1, true}}),
      set(kSet10, {{1, U32{100}}, {17, U32{100}}, {0, U8{1}}}),
      set(kList, {{0, std::string("PL")}}),
      set(kEntry, {{9, U32{5}}}),
  });
  const auto after = tree({
      set(kMap, {{0, std::string("RM")}}),
      set(kSeq10, {{0, U32{10}}, {1, true}}),
      set(kSet10, {{1, U32{200}}, {17, U32{100}}, {16, U32{2}}}),
      set(kSeq20, {{0, U32{20}}, {1, false}}),
      set({tag(512), key(576, "RM"), tag(577), num(578, 20), key(622, "SUB")},
          {{1, std::string("SUB")}}),
      set({tag(512), tag(627)}, {}),
  });
  EXPECT_EQ(lines(before, after, ribpolicy::TextWriter::Form::readable),
            (std::vector<std::string>{
                R"( ~ policy/route-map="RM"/seqs/seq=10/set {origin:u8=1 metric=100} -> )"
                R"({metric=200 med-type=2})",
                R"( + policy/route-map="RM"/seqs/seq=20 {seq=20 permit=false})",
                R"( + policy/route-map="RM"/seqs/seq=20/sub-route-map="SUB" {name="SUB"})",
                R"( - policy/prefix-lists (2 nodes))",
            }));
  EXPECT_EQ(lines(before, after, ribpolicy::TextWriter::Form::numeric)[3], " - 512/603 (2 nodes)");
  EXPECT_EQ(ribpolicy::diffJson(ribpolicy::engineDiff(before, after)),
            R"([{"changed":[[512],[576,"RM"],[577],[578,10],[601]],"before":[[0,"u8",1],)"
            R"([1,"u32",100]],"after":[[1,"u32",200],[16,"u32",2]]},)"
            R"({"added":[[512],[576,"RM"],[577],[578,20]],"values":[[0,"u32",20],)"
            R"([1,"flag",false]]},{"added":[[512],[576,"RM"],[577],[578,20],[622,"SUB"]],)"
            R"("values":[[1,"str","SUB"]]},{"removed":[[512],[603]],"nodes":2}])");
}

// Equal trees, and trees that differ only in nodes holding nothing, have no change; a tree
// against nothing is all added, and nothing against a tree one removal at the top.
TEST(DiffTest, EmptyAndWholeTrees) {
  const auto one = tree({set(kSeq10, {{0, U32{10}}})});
  EXPECT_TRUE(ribpolicy::engineDiff(one, one).empty());
  EXPECT_TRUE(
      ribpolicy::engineDiff(one, tree({set(kSeq10, {{0, U32{10}}}), set(kList, {})})).empty());
  const EngineModel::Node none;
  EXPECT_EQ(lines(none, one, ribpolicy::TextWriter::Form::numeric),
            (std::vector<std::string>{R"( + 512/576="RM"/577/578=10 {0:u32=10})"}));
  EXPECT_EQ(lines(one, none, ribpolicy::TextWriter::Form::numeric),
            (std::vector<std::string>{" - (root) (1 node)"}));
}

// A node that holds nothing on one side is absent there: it is added or removed, never
// changed; a tag whose value keeps its number but changes type is a change; a node added
// below one that stays shows alone.
TEST(DiffTest, NodesHoldingNothingAndChangedTypes) {
  const auto before = tree({
      set(kList, {}),
      set(kSet10, {{24, false}}),
      set(kSeq20, {{0, U32{20}}}),
  });
  const auto after = tree({
      set(kList, {{0, std::string("PL")}}),
      set(kSet10, {{24, U8{2}}}),
      set({tag(512), key(576, "RM"), tag(577), num(578, 20), num(623, 1)}, {{28, U32{1}}}),
      set(kSeq20, {{0, U32{20}}}),
  });
  EXPECT_EQ(lines(before, after, ribpolicy::TextWriter::Form::readable),
            (std::vector<std::string>{
                R"( ~ policy/route-map="RM"/seqs/seq=10/set {ext-community-mode=false} -> )"
                R"({ext-community-mode:u8=2})",
                R"( + policy/route-map="RM"/seqs/seq=20/match-as-range=1 {low=1})",
                R"( + policy/prefix-lists/prefix-list="PL" {name="PL"})",
            }));
  EXPECT_EQ(lines(after, before, ribpolicy::TextWriter::Form::numeric).back(),
            " - 512/603 (1 node)");
}

}  // namespace
