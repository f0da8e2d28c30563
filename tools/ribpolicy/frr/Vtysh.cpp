#include "tools/ribpolicy/frr/Vtysh.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

extern char** environ;

namespace frr {

namespace {

constexpr const char* kRunDir = "/var/run/frr";
// vtysh says so when the path space has no configuration directory of its own; it is no
// answer of bgpd's.
constexpr std::string_view kConfNotice = "% Can't open configuration file ";

using Clock = std::chrono::steady_clock;

// The largest batch sent as arguments; a larger one goes as a file.
constexpr std::size_t kLargestArgumentBatch = 5000;
constexpr std::size_t kLargestArgumentBytes = std::size_t{512} * 1024;

// `text` without vtysh's notes about its own configuration file.
std::string withoutNotices(const std::string& text) {
  std::string out;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(kConfNotice) || line.empty()) continue;
    out += line;
    out += '\n';
  }
  return out;
}

bool processRuns(pid_t pid) {
  return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM);
}

}  // namespace

ProgramRun runProgram(const std::vector<std::string>& argv, std::chrono::milliseconds timeout) {
  ProgramRun run;
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) {
    run.output = std::string("pipe: ") + std::strerror(errno);
    return run;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 2);
  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  const int rc = ::posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(fds[1]);
  if (rc != 0) {
    ::close(fds[0]);
    run.output = argv[0] + ": " + std::strerror(rc);
    return run;
  }
  run.started = true;
  const auto deadline = Clock::now() + timeout;
  char buf[65536];
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
      run.timedOut = true;
      ::kill(pid, SIGKILL);
      break;
    }
    pollfd p{fds[0], POLLIN, 0};
    const int ready = ::poll(&p, 1, static_cast<int>(left));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) continue;
    const ssize_t n = ::read(fds[0], buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    run.output.append(buf, static_cast<std::size_t>(n));
  }
  ::close(fds[0]);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  return run;
}

Vtysh::Vtysh(std::string pathspace, std::chrono::milliseconds timeout)
    : pathspace_(std::move(pathspace)), timeout_(timeout) {}

std::string Vtysh::where() const {
  return pathspace_.empty() ? "the default path space" : "path space " + pathspace_;
}

std::string Vtysh::startCommand() const {
  if (pathspace_.empty()) {
    return "/usr/lib/frr/bgpd -d -Z -p 0 -P 0 -A 127.0.0.1 -f /dev/null";
  }
  const std::string dir = std::string(kRunDir) + '/' + pathspace_;
  return "mkdir -p " + dir + " && chown frr:frr " + dir +
         " && /usr/lib/frr/bgpd -d -Z -p 0 -P 0 -A 127.0.0.1 -N " + pathspace_ + " -f /dev/null";
}

std::string Vtysh::pidFile() const {
  return std::string(kRunDir) + (pathspace_.empty() ? "" : '/' + pathspace_) + "/bgpd.pid";
}

std::vector<std::string> Vtysh::command() const {
  std::vector<std::string> c = {"vtysh"};
  if (!pathspace_.empty()) c.insert(c.end(), {"-N", pathspace_});
  c.insert(c.end(), {"-d", "bgpd"});
  return c;
}

std::optional<std::string> Vtysh::unreachable() const {
  const std::string start = "; start one with: " + startCommand();
  struct stat st {};
  const std::string dir = std::string(kRunDir) + (pathspace_.empty() ? "" : '/' + pathspace_);
  if (::stat(dir.c_str(), &st) != 0) {
    return "no bgpd runs in " + where() + ": " + dir + " does not exist" + start;
  }
  pid_t pid = 0;
  std::ifstream(pidFile()) >> pid;
  if (!processRuns(pid)) {
    return "no bgpd runs in " + where() + " (" + pidFile() +
           (pid > 0 ? " names pid " + std::to_string(pid) + ", which is gone)" : " is missing)") +
           start;
  }
  const ProgramRun probe = runProgram(
      [&] {
        std::vector<std::string> c = command();
        c.insert(c.end(), {"-c", "show version"});
        return c;
      }(),
      timeout_);
  if (!probe.started)
    return "cannot run vtysh (" + probe.output + "); install FRR: apt-get install frr";
  if (probe.timedOut) return "bgpd in " + where() + " did not answer within the time limit";
  if (probe.output.find("FRRouting") == std::string::npos) {
    return "bgpd in " + where() + " does not answer: " + withoutNotices(probe.output) + start;
  }
  return std::nullopt;
}

std::optional<Vtysh::Reply> Vtysh::gone(const ProgramRun& run) const {
  if (!run.started) return Reply{Trouble::gone, "cannot run vtysh (" + run.output + ")"};
  if (run.timedOut) {
    return Reply{Trouble::gone, "vtysh did not finish within " +
                                    std::to_string(timeout_.count() / 1000.0).substr(0, 5) +
                                    " s and was stopped"};
  }
  pid_t pid = 0;
  std::ifstream(pidFile()) >> pid;
  const bool dead = !processRuns(pid);
  if (dead || run.output.find("failed to connect to any daemons") != std::string::npos ||
      run.output.find("error reading from bgpd") != std::string::npos) {
    return Reply{Trouble::gone,
                 "bgpd in " + where() + " is gone" +
                     (dead ? " (pid " + std::to_string(pid) + " no longer runs)" : "") +
                     "; start it again with: " + startCommand()};
  }
  return std::nullopt;
}

Vtysh::Reply Vtysh::apply(const std::vector<std::string>& lines) const {
  std::size_t bytes = 0;
  for (const std::string& l : lines) bytes += l.size();
  if (lines.size() > kLargestArgumentBatch || bytes > kLargestArgumentBytes) {
    const Reply sent = applyFile(lines);
    return sent.trouble == Trouble::none ? show() : sent;
  }
  std::vector<std::string> c = command();
  c.insert(c.end(), {"-c", "configure terminal"});
  for (const std::string& l : lines) c.insert(c.end(), {"-c", l});
  c.insert(c.end(), {"-c", "end", "-c", "show running-config"});
  const ProgramRun run = runProgram(c, timeout_);
  if (auto g = gone(run)) return *g;
  const std::size_t shown = run.output.find("Building configuration...");
  std::string said = withoutNotices(run.output.substr(0, shown));
  if (!said.empty() || shown == std::string::npos) {
    return {Trouble::refused, said.empty() ? withoutNotices(run.output) : std::move(said)};
  }
  return {Trouble::none, run.output.substr(shown)};
}

Vtysh::Reply Vtysh::applyFile(const std::vector<std::string>& lines) const {
  char path[] = "/tmp/ribpolicy-frr-XXXXXX";
  const int fd = ::mkstemp(path);
  if (fd < 0)
    return {Trouble::gone, std::string("cannot write the lines: ") + std::strerror(errno)};
  std::string text;
  for (const std::string& l : lines) text += l + '\n';
  const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::close(fd);
  ProgramRun run;
  if (written) {
    std::vector<std::string> c = command();
    c.insert(c.end(), {"-f", path});
    run = runProgram(c, timeout_);
  }
  ::unlink(path);
  if (!written) return {Trouble::gone, "cannot write the lines to " + std::string(path)};
  if (auto g = gone(run)) return *g;
  std::string said = withoutNotices(run.output);
  if (!said.empty()) return {Trouble::refused, std::move(said)};
  return {};
}

Vtysh::Reply Vtysh::show() const {
  std::vector<std::string> c = command();
  c.insert(c.end(), {"-c", "show running-config"});
  const ProgramRun run = runProgram(c, timeout_);
  if (auto g = gone(run)) return *g;
  if (run.output.find("Current configuration:") == std::string::npos) {
    return {Trouble::gone,
            "bgpd in " + where() + " gave no configuration: " + withoutNotices(run.output)};
  }
  return {Trouble::none, run.output};
}

Vtysh::Reply Vtysh::ask(const std::vector<std::string>& commands) const {
  std::vector<std::string> c = command();
  for (const std::string& x : commands) c.insert(c.end(), {"-c", x});
  const ProgramRun run = runProgram(c, timeout_);
  if (auto g = gone(run)) return *g;
  // vtysh's note about its own configuration file may come anywhere, even after the last
  // line of an answer that does not end its line.
  std::string text = run.output;
  for (std::size_t at; (at = text.find(kConfNotice)) != std::string::npos;) {
    const std::size_t end = text.find('\n', at);
    text.erase(at, end == std::string::npos ? std::string::npos : end + 1 - at);
  }
  return {Trouble::none, std::move(text)};
}

}  // namespace frr
