// The net change of a step: which engine nodes the step's committed operations added, removed
// and changed, found by comparing the committed engine trees before and after it. A community
// rewrite that sends dozens of operations (delete the old sets and lists, add them again)
// comes down to the few nodes whose values really differ.
//
//   text:   + policy/route-map="RM"/seqs/seq=20             {seq=20 permit=false}
//           - policy/prefix-lists/prefix-list="OLD"          (3 nodes)
//           ~ policy/route-map="RM"/seqs/seq=10/set          {metric=100} -> {metric=200}
//   JSON:   {"step":2,"name":"...","diff":[{"added":PATH,"values":[...]},
//             {"removed":PATH,"nodes":3},{"changed":PATH,"before":[...],"after":[...]}]}
//
// Only nodes that hold a value count (a node with neither values nor children carries no
// meaning). An added subtree shows every node in it that holds values, each with them; a
// removed subtree shows once, at its top, with the number of nodes holding values that went
// with it; a node on both sides whose values differ shows the tags that differ, each side
// with its own values of them (a tag missing on one side was added or removed).
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "RibText/JsonLinesWriter.h"
#include "RibText/JsonWriter.h"
#include "framework/rib/EngineModel.h"
#include "tools/ribpolicy/views/TextWriter.h"

namespace ribpolicy {

using Vox::U32;

struct NodeChange {
  enum class Kind : std::uint8_t { added, removed, changed };
  Kind kind = Kind::added;
  std::vector<Rib::PathEntry> path;
  std::map<U32, Rib::ValueData> before;  // changed: the differing tags before the step
  std::map<U32, Rib::ValueData> after;   // added: the node's values; changed: after the step
  std::size_t nodes = 0;                 // removed: nodes holding values that went

  friend bool operator==(const NodeChange&, const NodeChange&) = default;
};

// The changes from `before` to `after`, in tree order (a node before its children, siblings
// by tag, then key).
std::vector<NodeChange> engineDiff(const Rib::EngineModel::Node& before,
                                   const Rib::EngineModel::Node& after);

// One line per change, as above, without the line end.
std::string diffLine(const NodeChange& change, TextWriter::Form form);
// The "diff" array of the JSON form, compact; or written by `w`.
std::string diffJson(const std::vector<NodeChange>& changes);
void writeDiff(RibText::JsonWriter& w, const std::vector<NodeChange>& changes,
               RibText::Tags tags = RibText::Tags::numbers);

// A difference from a fresh start as one line: with numeric tags as the engine model writes
// it, or with the tags named ("only in right: policy/route-map=\"RM\"").
std::string differenceLine(const Rib::EngineModel::Difference& d, TextWriter::Form form);

}  // namespace ribpolicy
