// Makes a failing scenario small while it still fails the same way.
//
// Delta debugging: first over the steps, then over the parts of the configuration, each part
// removed from every step at once: whole objects, their entries, match rules, set clauses and
// sub-route-maps, the fields of dynamic prefix lists, policy-map references, explicit
// versions and modes, and the detaching of inputs. Chunks of parts go first and single parts
// last; the passes repeat until none of them makes the scenario smaller.
#pragma once

#include <cstddef>
#include <functional>

#include "tools/ribpolicy/format/Scenario.h"

namespace converge {

// Whether a candidate still fails the same way as the original.
using StillFails = std::function<bool(const ribpolicy::Scenario&)>;

// The smallest scenario found within `maxTries` calls of `stillFails`.
ribpolicy::Scenario shrinkScenario(const ribpolicy::Scenario& failing, const StillFails& stillFails,
                                   std::size_t maxTries = 4000);

}  // namespace converge
