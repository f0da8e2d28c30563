// A scenario brought into the subset of equal meaning between the engine tree and FRR, for
// random convergence testing on FRR: each step's configuration keeps only what FRR holds with
// the engine's meaning.
//
// Gone are peer filters and dynamic prefix lists (no FRR object), the second regular-expression
// dialect and the set-operation mode, AS-path entries of one origin, match options without a
// FRR form, inverted matches, community matches of several lists and exact extended ones, set
// clauses without a FRR form (the unnamed actions, metrics applied by another med type, as-path
// replace, IPv6 unchanged next hops, link bandwidth), community additions drawn from lists,
// extended clauses that replace or delete, extended values other than route targets and sites
// of origin, prefix-list entries whose length range FRR refuses, next hops FRR refuses, and of
// clauses FRR holds in one place (the IPv4 next hop, the two prepends) all but the first.
#pragma once

#include "tools/ribpolicy/format/Scenario.h"

namespace frr {

ribpolicy::ScenarioConfig subsetConfig(const ribpolicy::ScenarioConfig& config);
ribpolicy::Scenario subsetScenario(const ribpolicy::Scenario& scenario);

}  // namespace frr
