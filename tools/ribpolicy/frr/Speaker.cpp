#include "tools/ribpolicy/frr/Speaker.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace frr {

namespace {

constexpr const char* kExabgp = "exabgp";

// The child of the running speaker, for the signal handler: a signal that ends the program
// must not leave ExaBGP behind. One speaker runs at a time.
std::atomic<pid_t> gChild{-1};
// Its directory and the files in it, removed by the handler too (unlink and rmdir may be
// called from a signal handler; nothing that allocates may).
constexpr const char* kFiles[] = {"/exabgp.conf", "/exabgp.log", "/exabgp.out"};
char gDir[64] = {};

extern "C" void stopChildAndDie(int signal) {
  const pid_t child = gChild.load();
  if (child > 0) ::kill(child, SIGKILL);
  if (gDir[0] != '\0') {
    for (const char* name : kFiles) {
      char path[sizeof gDir + 16] = {};
      std::size_t n = 0;
      for (const char* c = gDir; *c != '\0'; ++c) path[n++] = *c;
      for (const char* c = name; *c != '\0'; ++c) path[n++] = *c;
      ::unlink(path);
    }
    ::rmdir(gDir);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void guardSignals() {
  for (const int s : {SIGINT, SIGTERM, SIGHUP}) std::signal(s, stopChildAndDie);
}

void releaseSignals() {
  for (const int s : {SIGINT, SIGTERM, SIGHUP}) std::signal(s, SIG_DFL);
}

bool onPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::istringstream dirs(path ? path : "/usr/bin:/bin");
  for (std::string dir; std::getline(dirs, dir, ':');) {
    dir += '/';
    dir += program;
    if (::access(dir.c_str(), X_OK) == 0) return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> Speaker::whyNot() {
  if (!onPath(kExabgp)) {
    return "ExaBGP is not installed; routes are sent to bgpd by it (apt-get install exabgp, or "
           "scripts/packages.sh frr)";
  }
  return std::nullopt;
}

Speaker::~Speaker() {
  stop();
}

bool Speaker::start(const std::string& configuration, const std::vector<std::string>& addresses,
                    int port) {
  stop();
  char dir[] = "/tmp/ribpolicy-speaker-XXXXXX";
  if (!::mkdtemp(dir)) {
    trouble_ = std::string("cannot make a directory for ExaBGP: ") + std::strerror(errno);
    return false;
  }
  dir_ = dir;
  std::strncpy(gDir, dir, sizeof gDir - 1);
  const std::string conf = dir_ + kFiles[0];
  const std::string log = dir_ + kFiles[1];
  std::ofstream(conf) << configuration;
  std::string bind;
  for (const std::string& a : addresses) bind += (bind.empty() ? "" : " ") + a;
  // ExaBGP reads its settings from the environment; its command pipes and its dropping of
  // privileges are of no use to a child that lives for one step.
  std::vector<std::string> env = {"exabgp.tcp.port=" + std::to_string(port),
                                  "exabgp.tcp.bind=" + bind,
                                  "exabgp.api.cli=false",
                                  "exabgp.daemon.drop=false",
                                  "exabgp.log.destination=" + log,
                                  "exabgp.log.level=WARNING"};
  if (::geteuid() == 0) env.push_back("exabgp.daemon.user=root");
  for (char** e = environ; *e; ++e) env.emplace_back(*e);
  std::vector<char*> envp;
  envp.reserve(env.size() + 1);
  for (std::string& e : env) envp.push_back(e.data());
  envp.push_back(nullptr);
  std::string program = kExabgp;
  std::vector<char*> argv = {program.data(), const_cast<char*>(conf.c_str()), nullptr};

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  const std::string out = dir_ + kFiles[2];
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // A group of its own, so that a terminal's ^C reaches the program, which stops it.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  guardSignals();
  pid_t pid = -1;
  const int rc = ::posix_spawnp(&pid, argv[0], &actions, &attributes, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (rc != 0) {
    releaseSignals();
    trouble_ = std::string("cannot run exabgp: ") + std::strerror(rc);
    return false;
  }
  pid_ = pid;
  gChild = pid;
  return true;
}

bool Speaker::running() {
  if (pid_ <= 0) return false;
  int status = 0;
  const pid_t r = ::waitpid(pid_, &status, WNOHANG);
  if (r == 0) return true;
  pid_ = -1;
  gChild = -1;
  return false;
}

void Speaker::stop() {
  if (pid_ > 0) {
    ::kill(pid_, SIGTERM);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (running() && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      int status = 0;
      while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
      }
      pid_ = -1;
      gChild = -1;
    }
    releaseSignals();
  }
  if (!dir_.empty()) {
    gDir[0] = '\0';
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
    dir_.clear();
  }
}

std::string Speaker::log() const {
  std::string text;
  for (const char* name : {kFiles[2], kFiles[1]}) {
    std::ifstream in(dir_ + name);
    text.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  return text;
}

int freePort() {
  const int s = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (s < 0) return 0;
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  a.sin_port = 0;
  socklen_t size = sizeof a;
  int port = 0;
  if (::bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 &&
      ::getsockname(s, reinterpret_cast<sockaddr*>(&a), &size) == 0) {
    port = ntohs(a.sin_port);
  }
  ::close(s);
  return port;
}

}  // namespace frr
