// bgpd through vtysh: lines sent as one batch and the running configuration read back in the
// same call, and whether a bgpd answers at all. Every call has a time limit, after which vtysh
// is killed: no call can hang the program.
//
// A batch goes as one `-c` argument a line (vtysh takes `?` and `!` there as they stand, and
// stops at the first line FRR refuses), followed by `show running-config`; a very large one
// goes as a file (`vtysh -f`) and is read back by a second call. A vtysh call costs about a
// tenth of a second whatever it carries, so the number of calls is what a run's time is made
// of.
//
// A bgpd lives in a path space (`bgpd -N NAME`, `vtysh -N NAME`; empty for the default one),
// with its pid file and vty socket under /var/run/frr/NAME. vtysh speaks to bgpd alone
// (`-d bgpd`), so that a zebra beside it neither doubles the time of each line nor answers for
// it.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace frr {

// What a program run with a time limit did.
struct ProgramRun {
  bool started = false;   // false: it could not be started (`output` says why)
  bool timedOut = false;  // it was killed at the time limit
  int status = -1;        // its exit status, when it exited
  std::string output;     // standard output and standard error, interleaved
};

ProgramRun runProgram(const std::vector<std::string>& argv, std::chrono::milliseconds timeout);

class Vtysh {
 public:
  enum class Trouble : std::uint8_t {
    none,
    refused,  // FRR said something about the lines (an error of one or more of them)
    gone,     // no bgpd answers: not started, stopped, or dead
  };
  struct Reply {
    Trouble trouble = Trouble::none;
    std::string text;  // what FRR printed (show), or what went wrong
  };

  Vtysh(std::string pathspace, std::chrono::milliseconds timeout);

  const std::string& pathspace() const { return pathspace_; }
  // "pathspace NAME" or "the default path space", for messages.
  std::string where() const;
  // The command that starts a bgpd fit for this program in the path space.
  std::string startCommand() const;
  std::string pidFile() const;

  // Why no bgpd answers in the path space, with what to do about it; nothing when one does.
  std::optional<std::string> unreachable() const;
  // Sends the lines as one batch and reads the running configuration back: `text` holds it.
  // Trouble::refused holds FRR's words about the lines.
  Reply apply(const std::vector<std::string>& lines) const;
  // `show running-config`.
  Reply show() const;
  // Runs `commands` (show commands, each its own -c) in one call: `text` holds what they
  // printed, one after the other.
  Reply ask(const std::vector<std::string>& commands) const;

 private:
  std::vector<std::string> command() const;
  Reply applyFile(const std::vector<std::string>& lines) const;
  // Trouble::gone with the reason when the daemon no longer runs or answers, given what vtysh
  // printed; nothing otherwise.
  std::optional<Reply> gone(const ProgramRun& run) const;

  std::string pathspace_;
  std::chrono::milliseconds timeout_;
};

}  // namespace frr
