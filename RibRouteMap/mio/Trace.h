// The route-map library's trace handle, "RouteMap", created on first use.
#pragma once

#include "framework/vox/Trace.h"

namespace RibRouteMap {

// Levels of the library's messages.
enum TraceLevel : int {
  traceError = 0,    // an error before an assertion, or an input that is skipped
  traceDelete = 1,   // deletion of whole objects
  traceCommand = 7,  // commands to the engine
  traceHandler = 8,  // handler entry, start-up, path building
  traceDetail = 9,   // per-entry detail of list handlers
};

inline const Vox::TraceHandle& routeMapTrace() {
  static const Vox::TraceHandle handle("RouteMap", false);
  return handle;
}

}  // namespace RibRouteMap

// Traces `message` (a chain of `<<` operands) on the "RouteMap" handle at `level`.
#define RM_TRACE(level, message) RIB_TRACE(::RibRouteMap::routeMapTrace(), level, message)
