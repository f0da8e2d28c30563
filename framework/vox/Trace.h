// Leveled tracing.
//
// One TraceHandle per namespace ("RouteMap", "RibDynamicPrefixList"), each with a threshold:
// a message of level L is written when L is at most the handle's level. Levels in use: 0 for
// errors, 1 for deletions of whole objects, 7 for engine commands, 8 for handler entry,
// start-up and path building, 9 for per-entry detail. A handle is off (level -1) unless the
// environment variable RIBPOLICY_TRACE names it ("RouteMap=8,RibDynamicPrefixList=9") or
// `traceLevelIs` switches it on.
//
// The RIB_TRACE macro evaluates its message only when the handle's level admits it, so a
// disabled trace costs one comparison and formats nothing.
//
// A build configured with RIBPOLICY_TRACE=OFF (RIBPOLICY_TRACE_COMPILED_OUT defined) removes
// tracing entirely: every handle reports itself off whatever its level, and RIB_TRACE leaves
// no code behind (its message is still compiled, so both builds see the same names).
#pragma once

#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace Vox {

#ifdef RIBPOLICY_TRACE_COMPILED_OUT
inline constexpr bool kTraceCompiled = false;
#else
inline constexpr bool kTraceCompiled = true;
#endif

class TraceHandle {
 public:
  // `enabled` switches the handle on at level 9 from the start; the environment and
  // traceLevelIs may change it later.
  TraceHandle(std::string name, bool enabled);
  TraceHandle(const TraceHandle&) = delete;
  TraceHandle& operator=(const TraceHandle&) = delete;
  ~TraceHandle();

  const std::string& name() const { return name_; }
  int level() const { return level_; }
  void levelIs(int level) { level_ = level; }
  bool enabled(int level) const { return kTraceCompiled && level <= level_; }

 private:
  std::string name_;
  int level_ = -1;
};

// Sets the level of the named handle, now and for a handle of that name created later.
void traceLevelIs(std::string_view handleName, int level);
// Parses "Name=level,Name=level"; returns false (changing nothing) on malformed text.
bool traceLevelsIs(std::string_view text);
// Where trace lines go (standard error unless set); null restores standard error.
void traceOutputIs(std::ostream* out);

class TraceHelper {
 public:
  static void trace(const TraceHandle& handle, int level, std::string_view message) {
    if (handle.enabled(level)) TraceHelper(handle, level) << message;
  }

  // Collects one line, written when the helper goes out of scope.
  TraceHelper(const TraceHandle& handle, int level);
  TraceHelper(const TraceHelper&) = delete;
  TraceHelper& operator=(const TraceHelper&) = delete;
  ~TraceHelper();

  template <class T>
  TraceHelper& operator<<(const T& v) {
    line_ << v;
    return *this;
  }

 private:
  std::ostringstream line_;
};

}  // namespace Vox

// Writes one trace line; `message` is a chain of `<<` operands, evaluated only when enabled.
// A switched-off site costs the level comparison; the formatting is marked unlikely, so the
// compiler lays it out of the hot path.
#define RIB_TRACE(handle, level, message)                                             \
  do {                                                                                \
    if constexpr (::Vox::kTraceCompiled) {                                            \
      if ((handle).enabled(level)) [[unlikely]] {                                     \
        ::Vox::TraceHelper ribTraceLine((handle), (level));                           \
        ribTraceLine << message; /* NOLINT(bugprone-macro-parentheses): a << chain */ \
      }                                                                               \
    }                                                                                 \
  } while (0)
