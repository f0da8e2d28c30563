// What goes wrong on the FRR side ends a run with exit 2 and the reason, never with success
// and never hanging: a daemon that is gone, one that holds policy of its own, lines FRR refuses,
// a daemon that dies in the middle.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "tests/support/Harness.h"
#include "tests/tools/frr/live/Live.h"
#include "tools/ribpolicy/frr/RunningConfig.h"
#include "tools/ribpolicy/frr/Sink.h"

namespace {

using test_support::runTool;

const std::string kScenario =
    "steps:\n  - config:\n"
    "      prefix-lists:\n"
    "        P: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]\n";

frr::Vtysh vtyshOf(const test_support::Bgpd& bgpd) {
  return frr::Vtysh(bgpd.pathspace(), std::chrono::seconds(30));
}

// A daemon whose pid is gone: exit 2, naming the pid and the command that starts one.
TEST(FrrTroubleTest, DeadDaemon) {
  REQUIRE_BGPD();
  test_support::Bgpd dead("ribpolicy-test-dead-" + std::to_string(::getpid()));
  ASSERT_FALSE(dead.failure()) << *dead.failure();
  const pid_t pid = dead.pid();
  dead.kill();
  const auto r = runTool({"run", "--engine", "frr", "--frr-pathspace", dead.pathspace(),
                          test_support::scenarioFile("dead.yaml", kScenario)});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("names pid " + std::to_string(pid) + ", which is gone"), std::string::npos)
      << r.err;
  EXPECT_NE(r.err.find("start one with: mkdir -p /var/run/frr/" + dead.pathspace()),
            std::string::npos)
      << r.err;
}

// Policy the run did not make is not removed unless asked: refused, then replaced.
TEST(FrrTroubleTest, DaemonHoldingPolicyOfItsOwn) {
  REQUIRE_BGPD();
  const frr::Vtysh vtysh = vtyshOf(*test_support::liveBgpd());
  frr::Sink earlier(vtysh, true);  // removes what the tests before left
  ASSERT_TRUE(earlier.open(frr::Sink::Held::adopt));
  ASSERT_TRUE(earlier.bringTo(frr::Config{}, "the removal of what earlier tests left"));
  ASSERT_EQ(vtysh.apply({"ip prefix-list THEIRS seq 5 permit 192.0.2.0/24"}).trouble,
            frr::Vtysh::Trouble::none);
  const std::string file = test_support::scenarioFile("held.yaml", kScenario);
  const std::string pathspace = test_support::liveBgpd()->pathspace();
  const auto refused = runTool({"run", "--engine", "frr", "--frr-pathspace", pathspace, file});
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.err.find("already holds policy this run did not make (1 lines)"),
            std::string::npos)
      << refused.err;
  EXPECT_NE(refused.err.find("ip prefix-list THEIRS seq 5 permit 192.0.2.0/24"), std::string::npos);
  const auto replaced =
      runTool({"run", "--engine", "frr", "--frr-pathspace", pathspace, "--frr-replace", file});
  EXPECT_EQ(replaced.status, 0) << replaced.err;
  EXPECT_EQ(frr::policyLines(frr::parseRunningConfig(vtysh.show().text)),
            std::vector<std::string>{"ip prefix-list P seq 10 permit 10.0.0.0/8"});
}

// A line FRR refuses is a failure with FRR's own words and the lines sent.
TEST(FrrTroubleTest, RefusedLine) {
  REQUIRE_BGPD();
  const frr::Vtysh vtysh = vtyshOf(*test_support::liveBgpd());
  frr::Sink sink(vtysh, true);
  ASSERT_TRUE(sink.open(frr::Sink::Held::adopt));
  frr::Config bad;
  bad.object(frr::Kind::prefixList, "P").entries[10].body = "permit 10.0.0.0/40";
  EXPECT_FALSE(sink.bringTo(bad, "a test"));
  ASSERT_TRUE(sink.failure());
  EXPECT_EQ(sink.failure()->kind, frr::Failure::Kind::refused);
  EXPECT_EQ(sink.failure()->what, "FRR refused lines of a test");
  const std::vector<std::string>& d = sink.failure()->details;
  EXPECT_NE(std::find(d.begin(), d.end(), "ip prefix-list P seq 10 permit 10.0.0.0/40"), d.end());
}

// A daemon that dies after the run began: the next batch fails as gone, with the reason.
TEST(FrrTroubleTest, DaemonDiesDuringTheRun) {
  REQUIRE_BGPD();
  test_support::Bgpd dying("ribpolicy-test-dying-" + std::to_string(::getpid()));
  ASSERT_FALSE(dying.failure()) << *dying.failure();
  const frr::Vtysh vtysh = vtyshOf(dying);
  frr::Sink sink(vtysh, true);
  ASSERT_TRUE(sink.open(frr::Sink::Held::refuse));
  dying.kill();
  frr::Config one;
  one.object(frr::Kind::prefixList, "P").entries[10].body = "permit 10.0.0.0/8";
  EXPECT_FALSE(sink.bringTo(one, "a test"));
  ASSERT_TRUE(sink.failure());
  EXPECT_EQ(sink.failure()->kind, frr::Failure::Kind::gone);
  EXPECT_NE(sink.failure()->what.find("is gone"), std::string::npos) << sink.failure()->what;
}

}  // namespace
