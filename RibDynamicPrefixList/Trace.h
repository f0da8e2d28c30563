// The dynamic-prefix-list trace handle, "RibDynamicPrefixList".
//
// Like the route-map handle, it lives at namespace scope so that a switched-off trace site
// has no guard check. It is separate from the route-map handle so that the two parts can be
// traced on their own; the levels mean the same in both.
#pragma once

#include "framework/vox/TraceHandle.h"

namespace RibDynamicPrefixList {

// Levels of the part's messages.
enum TraceLevel : int {
  traceError = 0,    // errors, and the state machine's start-up notice
  traceDelete = 1,   // deletion of whole objects
  traceCommand = 7,  // commands to the engine
  traceHandler = 8,  // handler entry, start-up, path building
  traceDetail = 9,   // per-entry detail
};

extern const Vox::TraceHandle dynPfxTraceHandle;

inline const Vox::TraceHandle& dynPfxTrace() {
  return dynPfxTraceHandle;
}

}  // namespace RibDynamicPrefixList

// Traces `message` (a chain of `<<` operands) on the "RibDynamicPrefixList" handle at `level`.
#define DPL_TRACE(level, message) RIB_TRACE(::RibDynamicPrefixList::dynPfxTrace(), level, message)
