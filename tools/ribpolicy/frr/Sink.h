// A live bgpd behind the command channel: one more Rib::MioSink beside the recorder and the
// engine model.
//
// It keeps its own engine model of what the library sent. At every commit (or, when asked, at
// the end of every step) it translates the committed tree, sends bgpd the delta from the
// translation bgpd holds as one vtysh file, reads `show running-config` back and compares its
// policy sections with the translation. Nothing is sent, or read, when the translation did not
// change. The first failure (a difference, lines FRR refused, a daemon that is gone) stops
// it: later commits still reach its model but no longer bgpd, and the caller reports the
// failure with the step it belongs to.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "framework/rib/EngineModel.h"
#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/frr/Config.h"
#include "tools/ribpolicy/frr/Vtysh.h"

namespace frr {

struct Failure {
  enum class Kind : std::uint8_t {
    differs,   // bgpd holds other policy than the translation
    refused,   // FRR refused lines
    gone,      // bgpd is gone or cannot be reached
    occupied,  // bgpd held policy the run did not make
  };
  Kind kind = Kind::differs;
  std::size_t step = 0;              // 1-based; 0 before the first step
  std::string what;                  // one line
  std::vector<std::string> details;  // the differing lines, FRR's words, the lines sent
};

// "FRR differs from the translation", "FRR refused lines" ...: the kind in a few words.
const char* kindText(Failure::Kind kind);

class Sink : public Rib::MioSink {
 public:
  Sink(const Vtysh& vtysh, bool perStep) : vtysh_(vtysh), perStep_(perStep) {}

  // What to do with policy that bgpd holds when the sink opens.
  enum class Held : std::uint8_t {
    refuse,  // a daemon holding policy the run did not make is refused
    // The run takes it over: the first delta goes from it, so that what the run does not make
    // goes then and what it makes again stays as it is.
    adopt,
  };
  // Reads the policy bgpd holds. False, with the failure, when bgpd cannot be used.
  bool open(Held held);

  void execute(const Rib::MioOp& op) override { model_.execute(op); }
  void commit(Rib::CommitKind kind) override;

  // Begins step `step` (1-based): failures name it, and `sent` starts again.
  void stepIs(std::size_t step);
  // Ends the step; a sink that applies per step applies here.
  void stepDone();

  // Brings bgpd to `target` (the delta, read back, compared); `what` names the change in a
  // failure. With `wiped`, the delta removes all policy first, in the same batch. False after
  // a failure.
  bool bringTo(const Config& target, const std::string& what, bool wiped = false);

  std::size_t step() const { return step_; }
  const Config& holds() const { return holds_; }
  const Rib::EngineModel& model() const { return model_; }
  const std::optional<Failure>& failure() const { return failure_; }
  // The lines sent in this step, each batch after a "! commit" line naming it.
  const std::vector<std::string>& sent() const { return sent_; }
  std::size_t batches() const { return batches_; }

 private:
  void sync();
  void fail(Failure::Kind kind, std::string what, std::vector<std::string> details = {});

  const Vtysh& vtysh_;
  bool perStep_;
  Rib::EngineModel model_;
  Config holds_;  // what bgpd holds: the last translation it took
  std::optional<Failure> failure_;
  std::size_t step_ = 0;
  std::size_t commits_ = 0;  // in this step
  std::vector<std::string> sent_;
  std::size_t batches_ = 0;
};

// The lines of a text, each without its end.
std::vector<std::string> linesOf(const std::string& text);

}  // namespace frr
