// The transient window of a step: the engine objects that held something before the step and
// that the engine, at one of the step's commits before its last, held neither as before nor as
// after the step: absent (a route map deleted, committed, then rebuilt) or partial (a list
// whose entries went in one commit and came back in the next). The net change of a step does
// not show them; an operator who changes a live router wants to know them.
//
// An object is a node of the engine tree named by the path up to its first key (a route map,
// a prefix list, an AS-path list, a community list or set, an access list) or, without a key,
// the whole path (the VRF's global node). The watch sees the operations and commits of the run
// after the engine model has applied them, and keeps at each commit a copy of every object the
// commit touched; a step's end compares those copies with the objects before and after it.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "RibText/JsonWriter.h"
#include "framework/rib/EngineModel.h"
#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/views/TextWriter.h"

namespace ribpolicy {

struct TransientObject {
  std::vector<Rib::PathEntry> path;
  bool absent = false;  // absent in one of its windows, else only partial
  // From the commit after which it went absent or partial to the one that brought it back,
  // counting the step's commits from 1.
  std::vector<std::pair<std::size_t, std::size_t>> windows;
  std::size_t of = 0;  // the step's commits
};

class TransientWatch final : public Rib::MioSink {
 public:
  // Reads the committed tree of `model`, which must see each commit before the watch does.
  explicit TransientWatch(const Rib::EngineModel& model) : model_(model) {}

  void execute(const Rib::MioOp& op) override;
  void commit(Rib::CommitKind kind) override;

  // Begins a step on `before`, which must stay as it is until the step is done: only the
  // objects it holds are copied at commits (a new object is never transient).
  void stepBegins(const Rib::EngineModel::Node& before) { before_ = &before; }
  // Ends the step: its transient objects, in tree order.
  std::vector<TransientObject> stepDone();

 private:
  const Rib::EngineModel& model_;
  const Rib::EngineModel::Node* before_ = nullptr;
  std::vector<std::vector<Rib::PathEntry>> touched_;  // objects since the last commit
  // Each commit's copies of the objects it touched (nothing: the object was absent).
  std::vector<std::map<std::vector<Rib::PathEntry>, std::optional<Rib::EngineModel::Node>>>
      commits_;
};

// "  !  PATH   absent between commits 1 and 2 of 2".
std::string transientLine(const TransientObject& object, TextWriter::Form form);
// The same as a sentence for check's warnings.
std::string transientMessage(const TransientObject& object);
void writeTransient(RibText::JsonWriter& w, const std::vector<TransientObject>& objects);

}  // namespace ribpolicy
