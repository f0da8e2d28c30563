// ExaBGP as the BGP speaker that sends a test's routes to bgpd: run as a child of the program,
// with a configuration of the program's own in a private temporary directory, listening on
// one loopback address per peer (127.0.0.x) for bgpd to connect to. The child is stopped,
// and the directory removed, when the object goes, and on SIGINT, SIGTERM or SIGHUP before
// the program ends: no speaker outlives the command.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace frr {

class Speaker {
 public:
  // Why no speaker can run here (ExaBGP not installed), or nothing.
  static std::optional<std::string> whyNot();

  Speaker() = default;
  ~Speaker();
  Speaker(const Speaker&) = delete;
  Speaker& operator=(const Speaker&) = delete;

  // Starts ExaBGP on `configuration`, listening on `port` of each of `addresses`. False, with
  // the reason in `trouble()`, when it cannot.
  bool start(const std::string& configuration, const std::vector<std::string>& addresses, int port);
  // Stops the child (SIGTERM, then SIGKILL) and waits for it; nothing when none runs.
  void stop();
  // Whether the child still runs.
  bool running();
  // What ExaBGP wrote, for a report when it stopped on its own.
  std::string log() const;
  const std::string& trouble() const { return trouble_; }

 private:
  pid_t pid_ = -1;
  std::string dir_;
  std::string trouble_;
};

// A TCP port on the loopback that nothing listens on now, for the speaker; 0 when none is found.
int freePort();

}  // namespace frr
