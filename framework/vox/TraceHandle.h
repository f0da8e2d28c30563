// The library's trace handles and the line writer behind its trace sites.
//
// The RIB_TRACE macro evaluates its message only when the handle's level admits it, so a
// disabled trace costs one comparison and formats nothing; in a build with tracing compiled
// out it leaves no code behind (its message is still compiled, so both builds see the same
// names). For the library's own code: a host switches tracing with Trace.h alone.
#pragma once

#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "framework/vox/Trace.h"

namespace Vox {

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
