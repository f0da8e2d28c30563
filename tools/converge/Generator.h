// Random valid scenarios for convergence testing, reproducible from a seed.
//
// A scenario starts from a random configuration and changes it a little at every step: an
// object added, removed or changed, an entry, a match rule or a set clause added, removed or
// changed, a reference moved, an input detached or attached again. Every section of the
// configuration takes part, and every value is one the scenario reader accepts. Names come
// from a small pool per kind, so that references mostly meet configured objects, sometimes
// dangle, and chains of sub-route-maps, match maps and dynamic-prefix-list matches form.
//
// By default only changes the library promises to converge are made (see Promises.h): no
// explicit versions, no AS-path deactivation left stale, nothing but additions while an input
// is detached, no reference cycles. With `unpromised` these are made too, and the checker
// holds the library to its weaker promises for them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/ribpolicy/format/Scenario.h"

namespace converge {

struct GeneratorOptions {
  std::size_t steps = 30;   // steps after the first
  bool unpromised = false;  // also make changes that are not promised to converge
  bool frrSubset = false;   // keep only what FRR holds with the engine's meaning (frr/Subset.h)
};

ribpolicy::Scenario generateScenario(std::uint64_t seed, const GeneratorOptions& options);

}  // namespace converge
