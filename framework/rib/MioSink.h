// Where executed operations and commits go.
//
// The agent installs one MioSink for the process with `sinkIs`; every `MioOp::doExecute`,
// `MioOp::doCommit` and `MioCommit::doCommit` reaches it synchronously, in order. Three sinks
// stand in for the engine: a Recorder (operations and commits in order, for tests), the
// EngineModel (a model of the engine's committed policy tree) and a CountingSink (counts only,
// for benchmarks); a TeeSink sends to several at once. Presentations of the stream (text, JSON
// lines) belong to the program that shows it.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "framework/rib/Mio.h"
#include "framework/rib/ValueSet.h"

namespace Rib {

enum class CommitKind : std::uint8_t {
  engine,     // MioCommit::doCommit
  operation,  // MioOp::doCommit (the sync commit)
};

// A self-contained copy of one executed operation.
struct OpRecord {
  std::string name;
  std::vector<PathEntry> path;
  std::vector<TaggedValue> values;
  std::vector<OpScalar> scalars;
  bool del = false;

  static OpRecord of(const MioOp& op);
  friend bool operator==(const OpRecord&, const OpRecord&) = default;
};

class MioSink {
 public:
  virtual ~MioSink() = default;
  virtual void execute(const MioOp& op) = 0;
  virtual void commit(CommitKind kind) = 0;
};

// Installs the process's sink (null: operations are dropped). Returns the previous one.
MioSink* sinkIs(MioSink* sink);
MioSink* sink();

// Installs a sink for the lifetime of the guard and restores the previous one after.
class ScopedSink {
 public:
  explicit ScopedSink(MioSink* s) : previous_(sinkIs(s)) {}
  ~ScopedSink() { sinkIs(previous_); }
  ScopedSink(const ScopedSink&) = delete;
  ScopedSink& operator=(const ScopedSink&) = delete;

 private:
  MioSink* previous_;
};

// Appends `s` in double quotes, every byte outside printable ASCII, the quote and the
// backslash as \xNN, so that any engine string prints as one line of plain text.
void appendQuoted(std::string& out, std::string_view s);

// Compact one-line text of an operation, for people and for golden tests:
//   routeMapSeq 512/576="RM1"/577/578=10 {0:u32=10 1:flag=true}
//   RouteMapSetOpMode 256 scalars{18:u32=0}
//   deleteRouteMap 512/576="RM1" del
// Strings are quoted, with bytes outside printable ASCII (and '"', '\') as \xHH.
std::string pathText(const std::vector<PathEntry>& path);
std::string valueText(const TaggedValue& v);
std::string opText(const OpRecord& op);

class Recorder : public MioSink {
 public:
  struct Entry {
    bool isCommit = false;
    CommitKind commit = CommitKind::engine;
    OpRecord op;
  };

  void execute(const MioOp& op) override;
  void commit(CommitKind kind) override;

  const std::vector<Entry>& entries() const { return entries_; }
  // One line per entry: opText for operations, "commit" and "commit op" for commits.
  std::vector<std::string> lines() const;
  // The operations alone, without commits.
  std::vector<OpRecord> ops() const;
  void clear() { entries_.clear(); }

 private:
  std::vector<Entry> entries_;
};

class CountingSink : public MioSink {
 public:
  void execute(const MioOp& op) override {
    ++ops_;
    values_ += op.values().size();
  }
  void commit(CommitKind) override { ++commits_; }
  std::size_t ops() const { return ops_; }
  std::size_t values() const { return values_; }
  std::size_t commits() const { return commits_; }

 private:
  std::size_t ops_ = 0;
  std::size_t values_ = 0;
  std::size_t commits_ = 0;
};

class TeeSink : public MioSink {
 public:
  explicit TeeSink(std::vector<MioSink*> sinks) : sinks_(std::move(sinks)) {}
  void execute(const MioOp& op) override {
    for (MioSink* s : sinks_) s->execute(op);
  }
  void commit(CommitKind kind) override {
    for (MioSink* s : sinks_) s->commit(kind);
  }

 private:
  std::vector<MioSink*> sinks_;
};

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
  // The differences between two trees, one line each ("only in left: 512/603/515=\"PL\"",
  // "values differ at ...: {..} vs {..}"), in tree order; empty when equivalent. A subtree
  // present on one side only is one line at its top node; a values line shows, on each side,
  // only the tags whose values differ.
  static std::vector<std::string> differences(const Node& left, const Node& right);

 private:
  Node root_;
  // Encoded operations in execution order, each whole within one chunk.
  std::vector<std::string> chunks_;
  std::size_t staged_ = 0;
  std::string scratch_;  // the operation being encoded
};

}  // namespace Rib
