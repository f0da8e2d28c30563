// bgpd following a run step by step, held to the two promises that can be checked on it: after
// every step it holds the translation of the committed engine tree (the sink checks that at
// every commit or step), and what it reached incrementally equals what a fresh start of the
// step gives on it, wiped in between. `verify --engine frr` and random convergence testing on
// FRR both stand on it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/frr/Sink.h"

namespace frr {

// The translation of a fresh start of the library on `config`.
Config freshTranslation(const std::string& vrf, const ribpolicy::ScenarioConfig& config);

class Follower {
 public:
  Follower(const Vtysh& vtysh, bool perStep) : sink_(vtysh, perStep) {}

  // Reads what bgpd holds (Sink::open). False, with the failure, when bgpd cannot be used.
  bool open(Sink::Held held) { return sink_.open(held); }
  // Removes the policy bgpd holds, so that a run starts from none and replays as it ran.
  bool clear() { return sink_.bringTo(Config{}, "the removal of the policy bgpd held"); }

  Rib::MioSink& sink() { return sink_; }
  const Sink& frr() const { return sink_; }
  void stepIs(std::size_t step) { sink_.stepIs(step); }

  // Ends the step. With `compare`, also starts the step's configuration afresh on the wiped
  // daemon and returns the lines on which the two differ (empty when equal); bgpd then goes
  // back to the incremental state. A failure of the FRR side is in failure().
  std::vector<std::string> stepDone(const std::string& vrf, const ribpolicy::ScenarioConfig& config,
                                    bool compare);

  const std::optional<Failure>& failure() const { return sink_.failure(); }

 private:
  Sink sink_;
};

}  // namespace frr
