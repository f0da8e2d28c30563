// The switch of the library's leveled tracing.
//
// The library traces through one handle per namespace ("RouteMap", "RibDynamicPrefixList"),
// each with a threshold: a message of level L is written when L is at most the handle's level.
// Levels in use: 0 for errors, 1 for deletions of whole objects (and operations dropped for
// want of a sink), 7 for engine commands, 8 for handler entry, start-up and path building, 9
// for per-entry detail. A handle is off (level -1) unless the environment variable
// RIBPOLICY_TRACE names it ("RouteMap=8,RibDynamicPrefixList=9") or `traceLevelIs` switches it
// on.
//
// A build configured with RIBPOLICY_TRACE=OFF (RIBPOLICY_TRACE_COMPILED_OUT defined) removes
// tracing entirely: every handle reports itself off whatever its level.
#pragma once

#include <ostream>
#include <string_view>

namespace Vox {

#ifdef RIBPOLICY_TRACE_COMPILED_OUT
inline constexpr bool kTraceCompiled = false;
#else
inline constexpr bool kTraceCompiled = true;
#endif

// Sets the level of the named handle, now and for a handle of that name created later.
void traceLevelIs(std::string_view handleName, int level);
// Parses "Name=level,Name=level"; returns false (changing nothing) on malformed text.
bool traceLevelsIs(std::string_view text);
// Where trace lines go (standard error unless set); null restores standard error.
void traceOutputIs(std::ostream* out);

}  // namespace Vox
