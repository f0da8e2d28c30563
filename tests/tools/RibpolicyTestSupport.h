// Helpers for driving the ribpolicy program in process: scenario files in the test's
// temporary directory and runCli with captured output.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tools/ribpolicy/Cli.h"

namespace ribpolicy::testing {

struct CliResult {
  int status = -1;
  std::string out;
  std::string err;
};

// Writes `text` to a file named `name` in the test's temporary directory; returns its path.
inline std::string scenarioFile(const std::string& name, const std::string& text) {
  std::string path = ::testing::TempDir() + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

inline CliResult runTool(const std::vector<std::string>& args) {
  std::vector<const char*> argv = {"ribpolicy"};
  for (const std::string& a : args) argv.push_back(a.c_str());
  std::ostringstream out;
  std::ostringstream err;
  CliResult r;
  r.status = runCli(static_cast<int>(argv.size()), argv.data(), out, err);
  r.out = out.str();
  r.err = err.str();
  return r;
}

inline std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) out.push_back(line);
  return out;
}

}  // namespace ribpolicy::testing
