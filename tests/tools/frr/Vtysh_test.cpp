// Calls of vtysh that cannot end well end within their time limit, with the reason.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "tools/ribpolicy/frr/Vtysh.h"

namespace {

using std::chrono::milliseconds;

// A program that does not finish is killed at the time limit.
TEST(FrrVtyshTest, ProgramKilledAtItsTimeLimit) {
  const auto start = std::chrono::steady_clock::now();
  const frr::ProgramRun run = frr::runProgram({"sleep", "30"}, milliseconds(200));
  EXPECT_TRUE(run.started);
  EXPECT_TRUE(run.timedOut);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// A program that is not there is not started, and says why.
TEST(FrrVtyshTest, MissingProgramNotStarted) {
  const frr::ProgramRun run = frr::runProgram({"ribpolicy-no-such-program"}, milliseconds(1000));
  EXPECT_FALSE(run.started);
  EXPECT_NE(run.output.find("No such file"), std::string::npos) << run.output;
}

// Without vtysh, a batch fails as a daemon that cannot be reached, naming the package.
TEST(FrrVtyshTest, NoVtyshOnThePath) {
  const std::string saved = std::getenv("PATH") ? std::getenv("PATH") : "";
  ::setenv("PATH", "/nonexistent", 1);
  const frr::Vtysh vtysh("ribpolicy-test-none", milliseconds(1000));
  const frr::Vtysh::Reply applied = vtysh.apply({"ip prefix-list P seq 5 permit 10.0.0.0/8"});
  ::setenv("PATH", saved.c_str(), 1);
  EXPECT_EQ(applied.trouble, frr::Vtysh::Trouble::gone);
  EXPECT_NE(applied.text.find("cannot run vtysh"), std::string::npos) << applied.text;
}

// A path space without a daemon is named with the command that starts one.
TEST(FrrVtyshTest, NoDaemonInThePathSpace) {
  const frr::Vtysh vtysh("ribpolicy-test-none", milliseconds(1000));
  const std::optional<std::string> why = vtysh.unreachable();
  ASSERT_TRUE(why);
  EXPECT_NE(why->find("no bgpd runs in path space ribpolicy-test-none"), std::string::npos) << *why;
  EXPECT_NE(why->find("start one with: mkdir -p /var/run/frr/ribpolicy-test-none"),
            std::string::npos)
      << *why;
}

}  // namespace
