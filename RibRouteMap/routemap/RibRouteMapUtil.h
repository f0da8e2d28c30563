// The match-option tables of the route-map match commands: the options without a command of
// their own, with the match node's path tag and the matched value's tag.
#pragma once

#include "framework/config/RouteMapConfig.h"
#include "framework/vox/Types.h"

namespace RibRouteMap {

// For an integer match without a command of its own: the match node's path tag and the
// value tag. False (outputs untouched) for any other option.
bool ribIsMatchOptionInt(Routing::RouteMap::MatchOption option, U32* pathTag, U32* valueTag);
// The same for string matches.
bool ribIsMatchOptionStr(Routing::RouteMap::MatchOption option, U32* pathTag, U32* valueTag);

}  // namespace RibRouteMap
