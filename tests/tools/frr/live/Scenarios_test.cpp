// Every golden scenario and the demo on a live bgpd. After every step bgpd holds the
// translation of the engine tree; after every step where the library reaches what a fresh
// start reaches, so does bgpd; and the call orderings that stop bgpd 8.4.4 are never sent.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "tests/support/Harness.h"
#include "tests/tools/frr/live/Live.h"
#include "tools/ribpolicy/format/ScenarioParser.h"
#include "tools/ribpolicy/frr/Names.h"
#include "tools/ribpolicy/frr/RunningConfig.h"
#include "tools/ribpolicy/frr/Sink.h"

namespace {

using test_support::lines;
using test_support::runTool;

std::string yamlOf(const std::string& name) {
  return (test_support::kGoldenScenarios / (name + ".yaml")).string();
}

// `ribpolicy CMD --engine frr` on the shared daemon, taken over whatever it holds.
test_support::CliResult onFrr(const std::string& command, const std::string& apply,
                              const std::string& file) {
  return runTool({command, "--engine", "frr", "--frr-pathspace",
                  test_support::liveBgpd()->pathspace(), "--frr-replace", "--frr-apply", apply,
                  file});
}

class FrrScenarioTest : public ::testing::TestWithParam<std::string> {};

// Applied step by step, bgpd holds the translation after each step; wherever the library
// converges to a fresh start, bgpd converges too. A scenario whose names FRR cannot hold is
// refused before anything reaches bgpd.
TEST_P(FrrScenarioTest, HoldsTheTranslationAndConverges) {
  REQUIRE_BGPD();
  const std::string yaml = yamlOf(GetParam());
  // The reader refuses it (its golden file is the error): nothing reaches bgpd.
  if (std::filesystem::exists(test_support::kGoldenScenarios / (GetParam() + ".error"))) return;
  if (frr::refusal(ribpolicy::parseScenario(test_support::readFile(yaml)))) {
    const auto r = onFrr("run", "step", yaml);
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("FRR cannot hold it"), std::string::npos) << r.err;
    return;
  }
  // verify's sink holds bgpd to the translation after every step as run's does.
  const std::vector<std::string> model = lines(runTool({"verify", yaml}).out);
  const auto verified = onFrr("verify", "step", yaml);
  EXPECT_LE(verified.status, 1) << verified.err;
  EXPECT_EQ(verified.err, "");
  const std::vector<std::string> onBgpd = lines(verified.out);
  std::size_t seen = 0;
  for (const std::string& line : model) {
    if (line.find(": ok") == std::string::npos && line.find(": skipped") == std::string::npos) {
      continue;
    }
    const bool there = std::find(onBgpd.begin(), onBgpd.end(), line) != onBgpd.end();
    EXPECT_TRUE(there) << "the library says \"" << line << "\", bgpd:\n" << verified.out;
    ++seen;
  }
  EXPECT_GT(seen, 0u);
}

// `vtysh -f` takes the translation of the last step as it stands, on a bgpd holding nothing,
// and bgpd then holds exactly its lines.
TEST_P(FrrScenarioTest, TranslationTakenAsItStands) {
  REQUIRE_BGPD();
  const std::string yaml = yamlOf(GetParam());
  const auto translated = runTool({"frr", yaml});
  if (translated.status != 0) return;  // refused: nothing reaches bgpd
  const std::string pathspace = test_support::liveBgpd()->pathspace();
  const frr::Vtysh vtysh(pathspace, std::chrono::seconds(60));
  frr::Sink wipe(vtysh, true);
  ASSERT_TRUE(wipe.open(frr::Sink::Held::adopt));
  ASSERT_TRUE(wipe.bringTo(frr::Config{}, "the removal of what the test before left"));
  const std::string file = test_support::scenarioFile("translation.frr", translated.out);
  const frr::ProgramRun applied = frr::runProgram(
      {"vtysh", "-N", pathspace, "-d", "bgpd", "-f", file}, std::chrono::seconds(60));
  EXPECT_EQ(applied.output.find("line "), std::string::npos) << applied.output;
  EXPECT_EQ(applied.output.find("% "), applied.output.find("% Can't open configuration file"))
      << applied.output;
  EXPECT_EQ(frr::policyLines(frr::parseRunningConfig(vtysh.show().text)),
            frr::policyLines(frr::parseRunningConfig(translated.out)));
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FrrScenarioTest,
                         ::testing::ValuesIn(test_support::goldenScenarios()),
                         test_support::scenarioTestName);

// The scenarios whose naive deltas stop bgpd 8.4.4 (an entry removed with its call in it, a
// cycle of calls), applied at every commit: bgpd holds the translation after each and lives.
TEST(FrrCrashOrderingTest, BgpdSurvivesEveryCommit) {
  REQUIRE_BGPD();
  for (const char* name : {"convergence/new-reference-survives-stale-withdrawals",
                           "references/cycles", "references/undefined_unused_cycle"}) {
    const auto r = onFrr("run", "commit", yamlOf(name));
    EXPECT_EQ(r.status, 0) << name << ": " << r.err;
    EXPECT_EQ(::kill(test_support::liveBgpd()->pid(), 0), 0) << name << ": bgpd is gone";
  }
}

// The demo at every commit: every step where all inputs are attached converges on bgpd.
TEST(FrrDemoTest, ConvergesAtEveryCommit) {
  REQUIRE_BGPD();
  const auto r =
      onFrr("verify", "commit", std::string(RIBPOLICY_SOURCE_DIR) + "/examples/demo.yaml");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "step 1: ok\nstep 2: ok\nstep 3: ok\nstep 4: ok\nstep 5: ok\n"
            "step 6: skipped (inputs detached)\nstep 7: ok\n");
}

}  // namespace
