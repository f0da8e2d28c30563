#include "tools/converge/Isolation.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>

namespace converge {

namespace {

// The child reports one line per fact: "step N" as each step begins, then "steps N",
// "compared N" and, for a failure, "failed STEP", "what TEXT", "area TEXT" and one
// "diff TEXT" per difference.
void writeAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) _exit(3);
    done += static_cast<std::size_t>(n);
  }
}

[[noreturn]] void runChild(int fd, const ribpolicy::Scenario& scenario, frr::Follower* frr) {
  CheckOptions options;
  options.frr = frr;
  options.onStep = [fd](std::size_t step) { writeAll(fd, "step " + std::to_string(step) + '\n'); };
  const CheckResult r = checkScenario(scenario, options);
  std::string out =
      "steps " + std::to_string(r.steps) + "\ncompared " + std::to_string(r.compared) + '\n';
  if (r.failure) {
    out += "failed " + std::to_string(r.failure->step) + "\nwhat " + r.failure->what + "\narea " +
           r.failure->area + '\n';
    for (const std::string& d : r.failure->differences) out += "diff " + d + '\n';
  }
  writeAll(fd, out);
  ::close(fd);
  // Leaves at once: the parent's buffers and handlers are not the child's to run.
  _exit(0);
}

std::string readAll(int fd) {
  std::string out;
  char buf[4096];
  for (;;) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return out;
    out.append(buf, static_cast<std::size_t>(n));
  }
}

}  // namespace

CheckResult checkInChild(const ribpolicy::Scenario& scenario, frr::Follower* frr) {
  int fds[2];
  if (::pipe(fds) != 0) throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
  if (pid == 0) {
    ::close(fds[0]);
    runChild(fds[1], scenario, frr);
  }
  ::close(fds[1]);
  const std::string report = readAll(fds[0]);
  ::close(fds[0]);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }

  CheckResult r;
  std::size_t running = 0;
  std::istringstream lines(report);
  std::string line;
  while (std::getline(lines, line)) {
    const std::size_t space = line.find(' ');
    const std::string word = line.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (word == "step") {
      running = std::stoul(rest);
    } else if (word == "steps") {
      r.steps = std::stoul(rest);
    } else if (word == "compared") {
      r.compared = std::stoul(rest);
    } else if (word == "failed") {
      r.failure = Failure{std::stoul(rest), {}, {}, {}};
    } else if (word == "what" && r.failure) {
      r.failure->what = rest;
    } else if (word == "area" && r.failure) {
      r.failure->area = rest;
    } else if (word == "diff" && r.failure) {
      r.failure->differences.push_back(rest);
    }
  }
  if (WIFSIGNALED(status)) {
    const int sig = WTERMSIG(status);
    r.steps = running;
    r.failure = Failure{
        running, "crashed (signal " + std::to_string(sig) + ": " + strsignal(sig) + ")", {}, {}};
  } else if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    r.failure =
        Failure{running, "exited with status " + std::to_string(WEXITSTATUS(status)), {}, {}};
  }
  return r;
}

}  // namespace converge
