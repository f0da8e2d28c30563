// A model of the routing engine's committed policy tree, as a sink of the operation stream.
//
// The model applies what a commit makes effective, so that a program can show the state a
// stream leaves behind and compare two runs. It keeps a million entries in little memory:
// nodes are keyed by compact path entries and hold their values in one block (ValueSet.h).
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "framework/rib/Mio.h"
#include "framework/rib/MioSink.h"
#include "framework/rib/ValueSet.h"

namespace Rib {

// A path entry whose string key is a view, to look a node up without making a string. It
// orders as PathEntry does (tag, kind, then the key of its kind; the library leaves the key of
// the other kind empty).
struct PathEntryView {
  U32 tag = 0;
  PathEntry::Kind kind = PathEntry::Kind::none;
  U32 u32 = 0;
  std::string_view str;

  PathEntryView() = default;
  PathEntryView(U32 t, PathEntry::Kind k, U32 n, std::string_view s)
      : tag(t), kind(k), u32(n), str(s) {}
  // NOLINTNEXTLINE(google-explicit-constructor): every entry is a view of itself
  PathEntryView(const PathEntry& e) : tag(e.tag), kind(e.kind), u32(e.u32), str(e.str) {}
  PathEntry entry() const { return {tag, kind, u32, std::string(str)}; }

  friend bool operator<(const PathEntryView& a, const PathEntryView& b);
};

// The key of a node among its parent's children: a path entry in sixteen bytes, a string key
// in a heap block of its own (a million entries of one list have number keys).
class NodeKey {
 public:
  explicit NodeKey(const PathEntryView& e);
  NodeKey(const NodeKey& other) : NodeKey(other.view()) {}
  NodeKey& operator=(const NodeKey& other);
  NodeKey(NodeKey&& other) noexcept;
  NodeKey& operator=(NodeKey&& other) noexcept;
  ~NodeKey();

  U32 tag() const { return tag_; }
  PathEntry::Kind kind() const { return kind_; }
  PathEntryView view() const;
  // NOLINTBEGIN(google-explicit-constructor): a key is a path entry, kept small
  operator PathEntry() const { return view().entry(); }
  operator PathEntryView() const { return view(); }
  // NOLINTEND(google-explicit-constructor)

  friend bool operator<(const NodeKey& a, const NodeKey& b) { return a.view() < b.view(); }
  friend bool operator<(const NodeKey& a, const PathEntryView& b) { return a.view() < b; }
  friend bool operator<(const PathEntryView& a, const NodeKey& b) { return a < b.view(); }
  friend bool operator==(const NodeKey& a, const NodeKey& b) { return !(a < b) && !(b < a); }

 private:
  U32 tag_;
  PathEntry::Kind kind_;
  union {
    U32 u32_;
    char* str_;  // the length (4 bytes), then the bytes
  };
};

// A model of the engine's policy tree. Executed operations are staged; a commit applies the
// staged operations in order to the committed tree:
//  - a set creates every missing node on its path, then applies its values and scalars to
//    the last node in order (a value replaces the earlier value of its tag; a reset removes
//    the tag); a set whose name begins with "add" or "doAdd" first clears the last node's
//    values (its children stay);
//  - a delete removes the node at its path with everything below it (nothing if absent).
// A node with neither values nor children carries no meaning and is left out of comparisons.
//
// The model holds the engine's view of a million entries, so both halves are kept compact:
// a staged operation is a few dozen bytes in a chunk of encoded operations (its name only
// matters as "replaces the values or not"), and a node is its values in one block (ValueSet)
// and a pointer to its children, made when the first child comes.
class EngineModel : public MioSink {
 public:
  struct Node;

  // A node's children, ordered by path entry (tag, then key), as a map that exists only
  // while there is a child.
  class Children {
   public:
    using Map = std::map<NodeKey, Node, std::less<>>;
    using iterator = Map::iterator;
    using const_iterator = Map::const_iterator;

    Children() = default;
    Children(const Children& other);
    Children& operator=(const Children& other);
    Children(Children&&) noexcept = default;
    Children& operator=(Children&&) noexcept = default;
    ~Children();

    bool empty() const { return !map_ || map_->empty(); }
    std::size_t size() const { return map_ ? map_->size() : 0; }
    iterator begin();
    iterator end();
    const_iterator begin() const;
    const_iterator end() const;
    iterator find(const PathEntryView& key);
    const_iterator find(const PathEntryView& key) const;
    // The child at `key`, made empty if absent.
    Node& operator[](const PathEntryView& key);
    // Removes the child at `key` with everything below it; the number removed (0 or 1).
    std::size_t erase(const PathEntryView& key);

   private:
    std::unique_ptr<Map> map_;
  };

  struct Node {
    Children children;
    ValueSet values;  // values and scalars alike, by tag

    // Whether the node or anything below it holds a value.
    bool meaningful() const;
  };

  void execute(const MioOp& op) override;
  void commit(CommitKind kind) override;

  const Node& committed() const { return root_; }
  std::size_t staged() const { return staged_; }
  // Applies one operation to a tree (used by commit; exposed for tests).
  static void apply(Node& root, const OpRecord& op);
  // Equal when both trees hold the same meaningful nodes and values.
  static bool equivalent(const Node& a, const Node& b);
  // One difference between two trees: a subtree present on one side only (at its top node),
  // or a node on both sides whose values differ, with, on each side, only the tags whose values
  // differ. Kept as data so that a program can name the tags as it prints them.
  struct Difference {
    enum class Where : U8 { onlyLeft, onlyRight, valuesDiffer };
    Where where = Where::onlyLeft;
    std::vector<PathEntry> path;
    std::vector<TaggedValue> left;   // valuesDiffer: the left side's values of those tags
    std::vector<TaggedValue> right;  // valuesDiffer: the right side's

    friend bool operator==(const Difference&, const Difference&) = default;
  };
  // The differences between two trees in tree order; empty when equivalent.
  static std::vector<Difference> differenceList(const Node& left, const Node& right);
  // A difference as one line with numeric tags ("only in left: 512/603/515=\"PL\"",
  // "values differ at 512/603/515=\"PL\"/516=1: {8:flag=true} vs {8:flag=false}").
  static std::string differenceText(const Difference& d);
  // Every difference as its line.
  static std::vector<std::string> differences(const Node& left, const Node& right);

 private:
  Node root_;
  // Encoded operations in execution order, each whole within one chunk.
  std::vector<std::string> chunks_;
  std::size_t staged_ = 0;
  std::string scratch_;  // the operation being encoded
};

}  // namespace Rib
