// Runs every golden scenario under tests/scenarios. NAME.yaml is compared with NAME.stream,
// the output of `ribpolicy run [ARGS] NAME.yaml` (ARGS from NAME.args when present), with
// NAME.stderr (or nothing) on standard error, with NAME.state when present (the output of
// `ribpolicy state [ARGS] NAME.yaml`, ARGS from NAME.state-args when present), and with
// NAME.verify when present (`ribpolicy verify [ARGS] NAME.yaml`, ARGS from NAME.verify-args
// when present); a scenario without NAME.verify must converge (verify exits 0).
// NAME.error holds the located error of a scenario the reader refuses: every command then stops
// on it (exit 2, nothing on standard output), and the scenario has no other golden file.
// NAME.diff holds `ribpolicy diff [ARGS] NAME.yaml:1 NAME.yaml`, the change from the first step
// to the last (ARGS from NAME.diff-args when present), whose exit status says whether it changes
// the engine. NAME.check holds the warnings that `ribpolicy check NAME.yaml` writes (and --werror
// must then fail exactly when there are some); NAME.dot the output of `ribpolicy graph NAME.yaml`.
// NAME.frr holds the FRR translation of every step, `ribpolicy frr --every-step NAME.yaml`,
// followed by what it writes on standard error (the warnings about what has no FRR form, or the
// refusal of a name FRR cannot hold), each line a comment. The
// file's path is written as tests/scenarios/NAME.yaml, as the update script names it.
// scripts/update-golden.sh rewrites these files after an intended change.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/Harness.h"

namespace {

namespace fs = std::filesystem;
using test_support::goldenScenarios;
using test_support::readFile;
using test_support::runTool;
using test_support::scenarioTestName;

const fs::path kScenarios = test_support::kGoldenScenarios;
const std::set<std::string> kKinds = {
    ".yaml", ".stream", ".stderr",     ".state", ".verify", ".args",      ".check",
    ".dot",  ".frr",    ".state-args", ".error", ".diff",   ".diff-args", ".verify-args"};

// The differences between the golden file and what the program printed, as `diff -u` shows
// them.
std::string unifiedDiff(const fs::path& golden, const std::string& actual) {
  // Named after the golden file, so that tests run side by side never share it.
  std::string name = fs::relative(golden, kScenarios).generic_string();
  std::replace(name.begin(), name.end(), '/', '_');
  const std::string printed = test_support::scenarioFile(name + ".printed", actual);
  const std::string command = "diff -u '" + golden.string() + "' '" + printed + "' 2>&1";
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buf[4096];
    for (std::size_t n; (n = fread(buf, 1, sizeof buf, pipe)) > 0;) out.append(buf, n);
    pclose(pipe);
  }
  return out;
}

void expectGolden(const fs::path& golden, const std::string& actual) {
  if (!fs::exists(golden)) {
    ADD_FAILURE() << "missing " << golden.filename() << "; scripts/update-golden.sh writes it";
    return;
  }
  if (readFile(golden.string()) == actual) return;
  ADD_FAILURE() << golden.filename() << " differs from the program's output (after an intended "
                << "change, run scripts/update-golden.sh and review the diff):\n"
                << unifiedDiff(golden, actual);
}

// `text` with the scenario's absolute path written as the update script names it.
std::string relativeTo(const std::string& yaml, std::string text) {
  const std::string shown = "tests/scenarios/" + fs::relative(yaml, kScenarios).generic_string();
  for (auto at = text.find(yaml); at != std::string::npos; at = text.find(yaml, at)) {
    text.replace(at, yaml.size(), shown);
    at += shown.size();
  }
  return text;
}

class GoldenTest : public ::testing::TestWithParam<std::string> {};

// The scenario's outputs are exactly its golden files.
TEST_P(GoldenTest, MatchesGoldenFiles) {
  const fs::path base = kScenarios / GetParam();
  auto file = [&](const char* kind) { return fs::path(base.string() + kind); };
  const std::string yaml = file(".yaml").string();

  // The command, its arguments from `argsFile` when it exists, and the scenario.
  auto command = [&](const char* name, const char* argsFile) {
    std::vector<std::string> c = {name};
    std::istringstream args(readFile(file(argsFile).string()));
    for (std::string arg; args >> arg;) c.push_back(arg);
    c.push_back(yaml);
    return c;
  };
  if (fs::exists(file(".error"))) {
    for (const char* name : {"check", "run", "state", "verify", "graph", "frr"}) {
      const auto e = runTool({name, yaml});
      EXPECT_EQ(e.status, 2) << name;
      EXPECT_EQ(e.out, "") << name;
      expectGolden(file(".error"), relativeTo(yaml, e.err));
    }
    return;
  }
  const auto r = runTool(command("run", ".args"));
  EXPECT_EQ(r.status, 0) << r.err;
  expectGolden(file(".stream"), r.out);
  if (fs::exists(file(".stderr"))) {
    expectGolden(file(".stderr"), r.err);
  } else {
    EXPECT_EQ(r.err, "");
  }

  if (fs::exists(file(".state"))) {
    expectGolden(file(".state"), runTool(command("state", ".state-args")).out);
  }
  if (fs::exists(file(".check"))) {
    const auto c = runTool({"check", yaml});
    EXPECT_EQ(c.status, 0) << c.err;
    expectGolden(file(".check"), relativeTo(yaml, c.err));
    EXPECT_EQ(runTool({"check", "--werror", yaml}).status, c.err.empty() ? 0 : 2);
  }
  if (fs::exists(file(".dot"))) expectGolden(file(".dot"), runTool({"graph", yaml}).out);
  if (fs::exists(file(".diff"))) {
    std::vector<std::string> c = command("diff", ".diff-args");
    c.insert(c.end() - 1, yaml + ":1");
    const auto d = runTool(c);
    expectGolden(file(".diff"), relativeTo(yaml, d.out));
    const bool same = d.out.find("(no change)") != std::string::npos ||
                      d.out.find(R"("same":true)") != std::string::npos;
    EXPECT_EQ(d.status, same ? 0 : 1) << d.err;
  }

  const auto f = runTool({"frr", "--every-step", yaml});
  std::string translation = f.out;
  if (!f.err.empty()) {
    translation += "! standard error:\n";
    for (const std::string& line : test_support::lines(relativeTo(yaml, f.err))) {
      translation += "! " + line + '\n';
    }
  }
  expectGolden(file(".frr"), translation);
  EXPECT_EQ(f.status, f.err.find(": error: ") == std::string::npos ? 0 : 2) << f.err;

  const auto v = runTool(command("verify", ".verify-args"));
  if (fs::exists(file(".verify"))) {
    expectGolden(file(".verify"), relativeTo(yaml, v.out));
    EXPECT_EQ(v.status, v.out.find("differs") == std::string::npos ? 0 : 1);
  } else {
    EXPECT_EQ(v.status, 0) << "the scenario does not converge to a fresh start:\n" << v.out;
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, GoldenTest, ::testing::ValuesIn(goldenScenarios()),
                         scenarioTestName);

// Every file under tests/scenarios is a scenario or one of its golden files.
TEST(GoldenFilesTest, EveryFileBelongsToAScenario) {
  ASSERT_FALSE(goldenScenarios().empty()) << "no scenario under " << kScenarios;
  for (const auto& f : fs::recursive_directory_iterator(kScenarios)) {
    if (!f.is_regular_file()) continue;
    const fs::path& p = f.path();
    EXPECT_TRUE(kKinds.count(p.extension().string())) << "unknown kind of file " << p;
    EXPECT_TRUE(fs::exists(fs::path(p).replace_extension(".yaml"))) << p << " has no scenario";
  }
}

}  // namespace
