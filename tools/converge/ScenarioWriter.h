// Writes a scenario as a YAML scenario file, so that a scenario built in a program (a random
// one, or one shrunk from a failure) can be replayed with `ribpolicy run`, `state` and
// `verify`.
//
// The text is produced by a YAML emitter, in the file's usual shape: one block per step,
// section and object, each entry of a list on one line. The scenario reader reads it back to
// an equal scenario (`sameScenario`); values are written in the forms the reader takes (names
// for known match options, `AA:NN` standard communities, hex extended ones).
#pragma once

#include <string>

#include "tools/ribpolicy/format/Scenario.h"

namespace converge {

// The scenario as YAML text. Throws std::runtime_error if the emitter refuses an event,
// which only a fault of the writer can cause.
std::string writeScenario(const ribpolicy::Scenario& scenario);

// Whether two scenarios drive the library the same way: the same steps, inputs and
// configurations, set clauses compared only where present.
bool sameScenario(const ribpolicy::Scenario& a, const ribpolicy::Scenario& b);

}  // namespace converge
