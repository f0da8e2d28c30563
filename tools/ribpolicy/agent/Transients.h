// The transient window of every step of a scenario as check's warnings: the scenario runs on
// the engine model, and each step's objects that went absent or partial between two of its
// commits are reported at the step.
#pragma once

#include <vector>

#include "tools/ribpolicy/format/References.h"
#include "tools/ribpolicy/format/Scenario.h"

namespace ribpolicy {

// One warning of class `transient` per object and step, in step order. A scenario of one step
// has none (nothing was there before the start-up), and is not run.
std::vector<Warning> transientWarnings(const Scenario& scenario);

}  // namespace ribpolicy
