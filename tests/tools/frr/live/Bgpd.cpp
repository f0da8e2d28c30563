#include "tests/tools/frr/live/Bgpd.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tools/ribpolicy/frr/Vtysh.h"

namespace test_support {

namespace {

constexpr const char* kBgpd = "/usr/lib/frr/bgpd";
constexpr const char* kRunDir = "/var/run/frr";

bool alive(pid_t pid) {
  return pid > 0 && ::kill(pid, 0) == 0;
}

// Waits up to `limit` for `done`.
template <class F>
bool waitFor(std::chrono::milliseconds limit, F done) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace

std::optional<std::string> Bgpd::whyNot() {
  if (::access(kBgpd, X_OK) != 0 ||
      !frr::runProgram({"vtysh", "--help"}, std::chrono::seconds(10)).started) {
    return "FRR is not installed (apt-get install frr, or scripts/packages.sh frr)";
  }
  if (::geteuid() != 0) return "starting a bgpd of the tests' own needs root";
  if (!::getpwnam("frr")) return "the user frr that bgpd runs as does not exist";
  return std::nullopt;
}

Bgpd::Bgpd(std::string pathspace)
    : pathspace_(std::move(pathspace)), dir_(std::string(kRunDir) + '/' + pathspace_) {
  if ((failure_ = whyNot())) return;
  std::error_code ec;
  std::filesystem::create_directories(dir_, ec);
  const passwd* user = ::getpwnam("frr");
  if (ec || ::chown(kRunDir, user->pw_uid, user->pw_gid) != 0 ||
      ::chown(dir_.c_str(), user->pw_uid, user->pw_gid) != 0) {
    failure_ = "cannot make " + dir_;
    return;
  }
  const frr::ProgramRun run = frr::runProgram({kBgpd, "-d", "-A", "127.0.0.1", "-P", "0", "-p", "0",
                                               "-Z", "-N", pathspace_, "-f", "/dev/null"},
                                              std::chrono::seconds(20));
  const std::string pidFile = dir_ + "/bgpd.pid";
  const std::string socket = dir_ + "/bgpd.vty";
  const bool up = waitFor(std::chrono::seconds(10), [&] {
    struct stat st {};
    std::ifstream(pidFile) >> pid_;
    return alive(pid_) && ::stat(socket.c_str(), &st) == 0;
  });
  if (!up) failure_ = "bgpd did not start: " + run.output;
}

void Bgpd::kill() {
  if (alive(pid_)) ::kill(pid_, SIGKILL);
  waitFor(std::chrono::seconds(10), [&] { return !alive(pid_); });
}

Bgpd::~Bgpd() {
  // A clean stop takes bgpd about two seconds; a test's daemon holds nothing worth more.
  if (alive(pid_)) ::kill(pid_, SIGTERM);
  if (!waitFor(std::chrono::seconds(5), [&] { return !alive(pid_); })) kill();
  std::error_code ec;
  std::filesystem::remove_all(dir_, ec);
}

}  // namespace test_support
