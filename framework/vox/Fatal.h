// Fatal precondition failures of the framework and the library.
//
// A failed precondition (a null entity given to a mutator, a null allocation, an enumeration
// value that has no engine meaning) ends the process: the message goes to standard error and
// the process aborts. Nothing is thrown, so no exception can cross the library's boundary.
#pragma once

#include <string_view>

namespace Vox {

[[noreturn]] void fatal(std::string_view message);

// The framework's range error for a null result where a valid pointer is required.
[[noreturn]] inline void nullValidPtr() {
  fatal("null ValidPtr");
}

}  // namespace Vox

namespace Vox {

// The failure of an assertion: "Assertion failed: " and what was asserted.
[[noreturn]] void assertionFailed(std::string_view what);

}  // namespace Vox
