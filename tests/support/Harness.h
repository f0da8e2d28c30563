// The shared harness of the C++ tests: the ribpolicy program run in process, scenario files in
// the test's temporary directory, the library driven by the program's own agent with every
// operation recorded, and the library's trace captured.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "framework/rib/MioSink.h"
#include "framework/vox/Trace.h"
#include "tools/ribpolicy/Cli.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/format/ScenarioParser.h"

namespace test_support {

#ifdef RIBPOLICY_SOURCE_DIR
inline const std::filesystem::path kGoldenScenarios =
    std::filesystem::path(RIBPOLICY_SOURCE_DIR) / "tests" / "scenarios";

// Every golden scenario as its path below tests/scenarios without ".yaml", e.g.
// "routemap/lifecycle", sorted.
inline std::vector<std::string> goldenScenarios() {
  namespace fs = std::filesystem;
  std::vector<std::string> names;
  if (!fs::is_directory(kGoldenScenarios)) return names;
  for (const auto& f : fs::recursive_directory_iterator(kGoldenScenarios)) {
    if (f.is_regular_file() && f.path().extension() == ".yaml") {
      names.push_back(
          fs::relative(f.path(), kGoldenScenarios).replace_extension().generic_string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

// The test name of a parameter that is a scenario's path: "routemap_lifecycle".
inline std::string scenarioTestName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}
#endif

struct CliResult {
  int status = -1;
  std::string out;
  std::string err;
};

// Runs `ribpolicy ARGS...` in process.
inline CliResult runTool(const std::vector<std::string>& args) {
  std::vector<const char*> argv = {"ribpolicy"};
  for (const std::string& a : args) argv.push_back(a.c_str());
  std::ostringstream out;
  std::ostringstream err;
  CliResult r;
  r.status = ribpolicy::runCli(static_cast<int>(argv.size()), argv.data(), out, err);
  r.out = out.str();
  r.err = err.str();
  return r;
}

// Writes `text` to a file named `name` in the test's temporary directory; returns its path.
inline std::string scenarioFile(const std::string& name, const std::string& text) {
  std::string path = ::testing::TempDir() + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

// Reads text that a JSON parser decoded to UTF-8 back to one byte per code point. The writers
// escape every byte outside printable ASCII as its own code point below 0x100, so this recovers
// exactly the bytes that were written.
inline std::string latin1Bytes(const std::string& utf8) {
  std::string out;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80 || i + 1 == utf8.size()) {
      out += static_cast<char>(c);
    } else {
      const auto next = static_cast<unsigned char>(utf8[++i]);
      out += static_cast<char>(((c & 0x03) << 6) | (next & 0x3f));
    }
  }
  return out;
}

// The configuration of a one-step scenario whose config section is `yaml` (YAML, indented by
// six blanks).
inline ribpolicy::ScenarioConfig configOf(const std::string& yaml) {
  return ribpolicy::parseScenario("steps:\n  - config:\n" + yaml).steps.at(0).config;
}

// The program's agent started on a configuration with every input attached; the library's
// operations are recorded, and its VRF state is torn down quietly at the end.
class LibraryAgent {
 public:
  explicit LibraryAgent(const std::string& yaml = "      {}\n") {
    agent.applyStep(configOf(yaml), ribpolicy::InputSet::all());
  }
  ~LibraryAgent() {
    Rib::DiscardingSink dropped;
    Rib::ScopedSink quiet(&dropped);
    agent.teardown();
  }
  LibraryAgent(const LibraryAgent&) = delete;
  LibraryAgent& operator=(const LibraryAgent&) = delete;

  RibRouteMap::VrfStatusSm& vrf() { return *agent.root()->vrfStatusSm(); }
  // The operations and commits recorded since the last call, in the recorder's text form.
  std::vector<std::string> take() {
    std::vector<std::string> out = recorder.lines();
    recorder.clear();
    return out;
  }

  ribpolicy::LibraryRootGuard keepRoot;
  Rib::Recorder recorder;
  Rib::ScopedSink sink{&recorder};
  ribpolicy::Agent agent{"default"};
};

// Collects the lines that the trace handle `name` writes up to `level` while it lives.
class TraceCapture {
 public:
  explicit TraceCapture(int level, std::string name = "RouteMap") : name_(std::move(name)) {
    Vox::traceLevelIs(name_, level);
    Vox::traceOutputIs(&out_);
  }
  ~TraceCapture() {
    Vox::traceOutputIs(nullptr);
    Vox::traceLevelIs(name_, -1);
  }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  std::vector<std::string> lines() const { return test_support::lines(out_.str()); }

 private:
  std::string name_;
  std::ostringstream out_;
};

}  // namespace test_support
