// A bgpd of the tests' own: started in a private path space (no zebra, no BGP port, no vty
// port), and stopped by its pid when the object goes, on every path out of a test. Needs FRR
// installed and root; `whyNot` says what is missing, so that the tests skip with it.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace test_support {

class Bgpd {
 public:
  // What keeps a test from starting a bgpd, or nothing.
  static std::optional<std::string> whyNot();

  explicit Bgpd(std::string pathspace);
  ~Bgpd();
  Bgpd(const Bgpd&) = delete;
  Bgpd& operator=(const Bgpd&) = delete;

  const std::string& pathspace() const { return pathspace_; }
  pid_t pid() const { return pid_; }
  // Why it did not start, or nothing.
  const std::optional<std::string>& failure() const { return failure_; }
  // Stops it at once (SIGKILL), as a crash would.
  void kill();

 private:
  std::string pathspace_;
  std::string dir_;
  pid_t pid_ = -1;
  std::optional<std::string> failure_;
};

}  // namespace test_support
