// The match-option and set-action tables of the route-map commands.
#pragma once

#include "framework/config/RouteMapConfig.h"
#include "framework/vox/Types.h"

namespace RibRouteMap {

// For an integer match without a command of its own: the match node's path tag and the
// value tag. False (outputs untouched) for any other option.
bool ribIsMatchOptionInt(Routing::RouteMap::MatchOption option, U32* pathTag, U32* valueTag);
// The same for string matches.
bool ribIsMatchOptionStr(Routing::RouteMap::MatchOption option, U32* pathTag, U32* valueTag);
// For a single set flag: whether it is an integer-valued action, and its action number.
// False (number untouched) for any other flag.
bool ribIsSetActionIntValue(Routing::RouteMap::SetFlagBit flag, U32* number);

}  // namespace RibRouteMap
