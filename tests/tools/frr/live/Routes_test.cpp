// Route checks answered by a live bgpd, the routes sent by ExaBGP: the demo's, the copyable
// example's and those of every file of tests/routes pass there; a file with a FILE.out beside
// it holds expectations bgpd does not meet, and `test` prints exactly those lines and exits 1.
// No speaker outlives a run.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/Harness.h"
#include "tests/tools/frr/live/Live.h"
#include "tools/ribpolicy/frr/Speaker.h"

namespace {

namespace fs = std::filesystem;
using test_support::runTool;

std::vector<fs::path> routeFiles() {
  const fs::path source(RIBPOLICY_SOURCE_DIR);
  std::vector<fs::path> files = {source / "examples/demo.yaml",
                                 source / "examples/route-checks.yaml"};
  for (const auto& f : fs::directory_iterator(source / "tests/routes")) {
    if (f.path().extension() == ".yaml") files.push_back(f.path());
  }
  std::sort(files.begin() + 2, files.end());
  return files;
}

// Whether the process has a child left, such as a speaker that was not stopped.
bool childLeft() {
  int status = 0;
  return !(::waitpid(-1, &status, WNOHANG) < 0 && errno == ECHILD);
}

// Every file's checks on bgpd: all pass, or the file's .out says which fail and how.
TEST(FrrRoutesTest, ChecksAnsweredByBgpd) {
  REQUIRE_BGPD();
  if (const auto why = frr::Speaker::whyNot()) GTEST_SKIP() << *why;
  for (const fs::path& file : routeFiles()) {
    const auto r = runTool({"test", "--engine", "frr", "--frr-pathspace",
                            test_support::liveBgpd()->pathspace(), "--frr-replace", file.string()});
    fs::path expected = file;
    expected.replace_extension(".out");
    if (fs::exists(expected)) {
      EXPECT_EQ(r.status, 1) << file << ": " << r.err;
      EXPECT_EQ(r.out, test_support::readFile(expected.string())) << file;
    } else {
      EXPECT_EQ(r.status, 0) << file << ":\n" << r.out << r.err;
      EXPECT_NE(r.out.find(" passed, 0 failed\n"), std::string::npos) << file << ": " << r.out;
      EXPECT_EQ(r.out.find("0 passed"), std::string::npos) << file << ": checked nothing";
    }
    EXPECT_FALSE(childLeft()) << file << ": a speaker was left running";
  }
}

// A table of routes taken through one map prints what the map did to each, as its .out holds;
// the copyable example also gives the same results after a fresh start of its step.
TEST(FrrRoutesTest, TableThroughOneMapAndAgainstFresh) {
  REQUIRE_BGPD();
  if (const auto why = frr::Speaker::whyNot()) GTEST_SKIP() << *why;
  const fs::path source(RIBPOLICY_SOURCE_DIR);
  const std::string example = (source / "examples/route-checks.yaml").string();
  const std::string pathspace = test_support::liveBgpd()->pathspace();
  auto r = runTool({"test", "--engine", "frr", "--frr-pathspace", pathspace, "--frr-replace",
                    "--map", "IMPORT", "--routes",
                    (source / "tests/routes/tables/import.yaml").string(), example});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, test_support::readFile((source / "tests/routes/tables/import.out").string()));
  r = runTool({"test", "--engine", "frr", "--frr-pathspace", pathspace, "--frr-replace",
               "--against", "fresh", example});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "5 passed, 0 failed, 0 differ from a fresh start\n");
  EXPECT_FALSE(childLeft());
}

}  // namespace
