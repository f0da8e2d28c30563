// The ribpolicy command line: run, state, verify, check and graph. main() only forwards to runCli,
// so that tests drive the whole program in process.
#pragma once

#include <istream>
#include <ostream>

namespace ribpolicy {

// Exit statuses: 0 success; 1 verify found a difference; 2 bad input or bad usage.
inline constexpr int kExitOk = 0;
inline constexpr int kExitDifferent = 1;
inline constexpr int kExitBadInput = 2;

// `in` is what FILE "-" reads the scenario from; the four-argument form reads standard input.
int runCli(int argc, const char* const* argv, std::istream& in, std::ostream& out,
           std::ostream& err);
int runCli(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace ribpolicy
