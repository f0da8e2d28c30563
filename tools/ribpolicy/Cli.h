// The ribpolicy command line: run, state, verify and check. main() only forwards to runCli,
// so that tests drive the whole program in process.
#pragma once

#include <ostream>

namespace ribpolicy {

// Exit statuses: 0 success; 1 verify found a difference; 2 bad input or bad usage.
inline constexpr int kExitOk = 0;
inline constexpr int kExitDifferent = 1;
inline constexpr int kExitBadInput = 2;

int runCli(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace ribpolicy
