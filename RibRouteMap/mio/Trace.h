// The route-map library's trace handle, "RouteMap".
//
// The handle is an object of namespace scope rather than a function-local static, so that a
// switched-off trace site costs a load and a comparison, with no guard check before it. No
// static initializer of this library traces, so the handle is always built before its first
// use.
#pragma once

#include "framework/vox/TraceHandle.h"

namespace RibRouteMap {

// Levels of the library's messages.
enum TraceLevel : int {
  traceError = 0,    // an error before an assertion, or an input that is skipped
  traceDelete = 1,   // deletion of whole objects
  traceCommand = 7,  // commands to the engine
  traceHandler = 8,  // handler entry, start-up, path building
  traceDetail = 9,   // per-entry detail of list handlers
};

extern const Vox::TraceHandle routeMapTraceHandle;

inline const Vox::TraceHandle& routeMapTrace() {
  return routeMapTraceHandle;
}

}  // namespace RibRouteMap

// Traces `message` (a chain of `<<` operands) on the "RouteMap" handle at `level`.
#define RM_TRACE(level, message) RIB_TRACE(::RibRouteMap::routeMapTrace(), level, message)
