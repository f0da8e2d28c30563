// The route checks of a step (`routes:`): the map under test, the route a speaker sends to it
// and what must come of it. Every value is checked here, at its node, like the rest of a
// scenario: a route that could not be sent, or an expectation that could never hold, is an
// error at its place before anything runs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/format/YamlDocument.h"

namespace ribpolicy {

// The checks of a step's `routes` list.
std::vector<RouteCheck> readRouteChecks(const yaml::Node& n);

// A table of routes to take through `map` (`test --map NAME --routes FILE`): a YAML list of
// routes, each with the keys of a check's `route`; they carry no expectation. Throws an
// InputError at the first bad value.
std::vector<RouteCheck> readRouteTable(std::string_view text, const std::string& map);

}  // namespace ribpolicy
