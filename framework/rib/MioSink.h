// Where executed operations and commits go.
//
// The agent installs one MioSink for the process with `sinkIs`; every `MioOp::doExecute`,
// `MioOp::doCommit` and `MioCommit::doCommit` reaches it synchronously, in order. Sinks that
// stand in for the engine: a Recorder (operations and commits in order, for tests), the
// EngineModel (EngineModel.h, a model of the engine's committed policy tree) and a CountingSink
// (counts only, for benchmarks); a TeeSink sends to several at once. Presentations of the stream
// (text, JSON lines) belong to the program that shows it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "framework/rib/Mio.h"

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

// Keeps nothing: for operations dropped on purpose, such as a teardown that nobody watches.
// (With no sink installed at all they are dropped too, but the library traces each at level 1,
// so that a host that forgot its sink learns it.)
class DiscardingSink : public MioSink {
 public:
  void execute(const MioOp&) override {}
  void commit(CommitKind) override {}
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

}  // namespace Rib
