// Checks a scenario in a child process, so that a library that crashes (a stack overflow, a
// failed assertion) becomes a reported failure, with the step it crashed in, instead of the
// end of a long run.
#pragma once

#include "tools/converge/Checker.h"

namespace converge {

// As checkScenario; a child that dies is a failure "crashed (signal N: NAME)" at the step it
// was running.
// With `frr`, FRR's bgpd follows the run (CheckOptions::frr).
CheckResult checkInChild(const ribpolicy::Scenario& scenario, frr::Follower* frr = nullptr);

}  // namespace converge
