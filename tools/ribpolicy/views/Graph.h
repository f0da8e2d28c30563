// The policy of one configuration as a Graphviz DOT graph: the policy map, every route map and
// peer filter with its entries, and the objects they refer to (prefix lists, community lists,
// access lists, sub-route-maps, dynamic prefix lists and their match maps), one edge per
// reference. Names nothing configures are drawn dashed red, references that close a cycle bold
// red, and objects nothing refers to grey. The output depends on the configuration alone:
// objects and references come in a fixed order, so two runs give the same bytes.
#pragma once

#include <ostream>

#include "tools/ribpolicy/format/Scenario.h"

namespace ribpolicy {

void writePolicyGraph(const ScenarioConfig& config, std::ostream& out);

}  // namespace ribpolicy
