// The program's contract outside the scenario files: the JSON-lines stream as programs read it,
// the trace on standard error, and the exit statuses.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/Harness.h"

namespace {

using Vox::U32;

using test_support::lines;
using test_support::runTool;
using test_support::scenarioFile;

const char* kTwoSteps =
    "steps:\n"
    "  - name: first\n"
    "    config:\n"
    "      route-maps:\n"
    "        RM: [{seq: 10, action: permit, set: {as-path-prepend: [1, 255]}}]\n"
    "      policy-map: {route-maps: [RM]}\n"
    "  - name: second\n"
    "    config:\n"
    "      route-maps:\n"
    "        RM: [{seq: 20, action: deny}]\n"
    "      policy-map: {route-maps: [RM]}\n";

// Every line is one JSON object; each step opens with its {"step":N,"name":...} line; --state
// appends the state object; packed binary strings decode back to the engine's bytes exactly.
TEST(RibpolicyCliTest, JsonLinesStream) {
  const auto r =
      runTool({"run", "--format", "jsonl", "--state", scenarioFile("two.yaml", kTwoSteps)});
  ASSERT_EQ(r.status, 0) << r.err;
  std::vector<std::string> stepLines;
  const U32 asNumbers[] = {1, 255};
  const std::string packed(reinterpret_cast<const char*>(asNumbers), sizeof asNumbers);
  int packedStrings = 0;
  for (const std::string& line : lines(r.out)) {
    const auto j = nlohmann::json::parse(line);
    ASSERT_TRUE(j.is_object()) << line;
    if (j.contains("step")) stepLines.push_back(line);
    if (j.value("op", "") == "setStrValue") {
      ++packedStrings;
      EXPECT_EQ(test_support::latin1Bytes(j["values"][0][2].get<std::string>()), packed) << line;
    }
  }
  EXPECT_EQ(stepLines, (std::vector<std::string>{R"({"step":1,"name":"first"})",
                                                 R"({"step":2,"name":"second"})"}));
  EXPECT_EQ(lines(r.out).front(), stepLines.front());
  EXPECT_EQ(packedStrings, 1);
  const auto state = nlohmann::json::parse(lines(r.out).back());
  EXPECT_TRUE(state.contains("engine") && state.contains("policy-map")) << state;
}

// --trace writes the library's trace to standard error only, and only for its own command.
TEST(RibpolicyCliTest, TraceGoesToStandardErrorForOneCommand) {
  const std::string file = scenarioFile("trace.yaml", kTwoSteps);
  const auto traced = runTool({"run", "--trace", "RouteMap=8", file});
  ASSERT_EQ(traced.status, 0);
  EXPECT_NE(traced.err.find("void RibRouteMap::Root::handleInitialized()"), std::string::npos);
  EXPECT_EQ(traced.out, runTool({"run", file}).out);
  EXPECT_EQ(runTool({"run", file}).err, "") << "a trace does not outlive its command";
}

struct StatusCase {
  std::vector<std::string> args;
  int status;
  std::string outHas;  // a part of standard output ("" when only the status matters)
  std::string errHas;
  std::string in;  // standard input
};

// Each command line ends with its documented exit status (0 done, 1 verify found a difference,
// 2 bad usage or bad input, before anything runs); help and version exit 0; FILE "-" reads
// standard input; check and verify speak JSON on request.
TEST(RibpolicyCliTest, ExitStatusesAndUsage) {
  const std::string file = scenarioFile("usage.yaml", kTwoSteps);
  const std::string pending =
      std::string(RIBPOLICY_SOURCE_DIR) + "/tests/scenarios/agent/pending_versions.yaml";
  const std::string badStep = "steps:\n  - {config: {route-maps: {R: [{seq: x}]}}}\n";
  const std::string traceHelp = "(namespaces: RouteMap, RibDynamicPrefixList; levels: 0 to 9;";
  const std::string unused =
      "steps:\n  - {config: {community-lists: {C: [{seq: 1, action: permit, "
      "type: standard, communities: ['1:1']}]}}}\n";
  // The second step rebuilds RM, which the engine then lacks between two commits.
  const std::string transient =
      "the step leaves policy/route-map=\"RM\" absent between commits 1 and 15 of 15: the engine "
      "holds no such object in between";
  const StatusCase cases[] = {
      {{"run"}, 0, "", "", ""},
      {{"run", "--format", "jsonl", "--state", file}, 0, "", "", ""},
      {{"state", file}, 0, "", "", ""},
      {{"state", "--step", "2", file}, 0, "\"engine\"", "", ""},
      {{"state", "--step", "3", file}, 2, "", "--step: " + file + " has 2 steps, not 3\n", ""},
      {{"state", "--step", "0", file}, 2, "", "--step", ""},
      {{"state", "--step", "-1", file}, 2, "", "--step", ""},
      {{"state", "--step", "x", file}, 2, "", "--step", ""},
      {{"run", "--step", "1", file}, 2, "", "--step", ""},
      {{"run", "--diff", "--format", "jsonl", file},
       0,
       R"({"step":2,"name":"second","diff":[)",
       "",
       ""},
      {{"verify", file}, 0, "", "", ""},
      {{"verify", pending}, 1, "differs", "", ""},
      {{}, 2, "", "", ""},
      {{"frobnicate"}, 2, "", "", ""},
      {{"run", "--format", "xml", file}, 2, "", "", ""},
      {{"check", "--format", "jsonl", file}, 0, R"("ok":true)", "", ""},
      {{"run", "--format", "json", file}, 0, R"({"step":1,"name":"first"})", "", ""},
      {{"run", "--names", file}, 2, "", "--names needs --format json", ""},
      {{"state", "--format", "text", "--names", file}, 2, "", "--names needs --format json", ""},
      {{"state", "--format", "text", file}, 0, "engine\n  global  {", "", ""},
      {{"diff", file + ":1", file}, 1, "\nnet change\n", "", ""},
      {{"diff", "--format", "jsonl", file + ":2", file}, 0, R"("same":true)", "", ""},
      {{"diff", file + ":3", file}, 2, "", "diff: " + file + " has 2 steps, not 3\n", ""},
      {{"diff", file + ":0", file}, 2, "", "has 2 steps, not 0", ""},
      {{"diff", file + ":x", file}, 2, "", file + ":x:1:1: error: cannot read", ""},
      {{"diff", "-", "-"}, 2, "", "only one of OLD and NEW can be standard input", ""},
      {{"diff", "-", file}, 2, "", "<stdin>:2:38: error: seq:", badStep},
      {{"diff", file, scenarioFile("blue.yaml", std::string("vrf: blue\n") + kTwoSteps)},
       2,
       "",
       "is of VRF default, ",
       ""},
      {{"diff", file}, 2, "", "", ""},
      {{"tags", "--format", "json"}, 0, R"("576":"route-map")", "", ""},
      {{"run", "--trace", "RouteMap", file}, 2, "", "", ""},
      {{"state"}, 2, "", "", ""},
      {{"verify"}, 2, "", "", ""},
      {{"check"}, 2, "", "", ""},
      {{"check", file}, 0, file + ": ok, 2 steps, 1 warning\n", transient + " [-Wtransient]", ""},
      {{"--help"}, 0, "Usage: ribpolicy", "", ""},
      {{"--version"}, 0, "ribpolicy " RIBPOLICY_VERSION "\n", "", ""},
      {{"check", "-"}, 0, "<stdin>: ok, 2 steps, 1 warning\n", transient, kTwoSteps},
      {{"state", "-"}, 2, "", "<stdin>:2:38: error: seq:", badStep},
      {{"run", "--trace", "Foo=8", file}, 2, "", "unknown trace namespace 'Foo' " + traceHelp, ""},
      {{"run", "--trace", "RouteMap=12", file}, 2, "", "level '12' for RouteMap " + traceHelp, ""},
      {{"verify", "--trace", "RouteMap=-1", file}, 2, "", traceHelp, ""},
      {{"state", "--trace", "RouteMap=0,RibDynamicPrefixList=9", file}, 0, "\"engine\"", "", ""},
      {{"check", "--format", "json", file},
       0,
       R"({"file":)" + nlohmann::json(file).dump() +
           R"(,"ok":true,"steps":2,"warnings":[{"step":2,"line":7,"column":5,"message":)" +
           nlohmann::json(transient).dump() + R"(,"class":"transient"}]})" + "\n",
       "",
       ""},
      {{"check", "--format", "json", "-"},
       2,
       R"({"file":"<stdin>","ok":false,"line":2,"column":38,"message":"seq: expected a number)",
       "<stdin>:2:38: error: seq:",
       badStep},
      {{"verify", "--format", "json", file},
       0,
       R"(,"steps":[{"step":1,"status":"ok","differences":[]},)"
       R"({"step":2,"status":"ok","differences":[]}]})",
       "",
       ""},
      {{"check", "-"}, 0, "<stdin>: ok, 1 step, 1 warning\n", "<stdin>:2:33: warning:", unused},
      {{"check", "--werror", "-"}, 2, "", "<stdin>:2:33: error: community list 'C' is", unused},
      {{"check", "--werror", "--format", "json", "-"},
       2,
       R"("ok":false,"steps":1,"warnings":[{"step":1,"line":2,"column":33,"message":"community)",
       "<stdin>:2:33: error:",
       unused},
      {{"check", "--werror", file}, 2, "", "error: " + transient + " [-Werror=transient]", ""},
      {{"check", "--werror=unused,cycle", file}, 0, file + ": ok, 2 steps, 1 warning\n", "", ""},
      {{"check", "--werror=transient", "-"}, 0, "<stdin>: ok, 1 step, 1 warning\n", "", unused},
      {{"check", "--werror=bogus", file}, 2, "", "unknown warning class 'bogus'", ""},
      {{"check", "/nonexistent/s.yaml"},
       2,
       "",
       "/nonexistent/s.yaml:1:1: error: cannot read the scenario file: No such file or directory",
       ""},
      {{"frr", "--step", "1", file}, 0, "", "", ""},
      {{"frr", "--step", "3", file}, 2, "", "--step: " + file + " has 2 steps, not 3\n", ""},
      {{"frr", "--werror", "-"},
       2,
       "",
       "error: no FRR form: route-map .PEER_FILTER.F: peer filter F\n",
       "steps:\n  - {config: {peer-filters: {F: [{seq: 1, action: permit}]}}}\n"},
      {{"run", "--frr-pathspace", "x", file}, 2, "", "--frr-pathspace needs --engine frr", ""},
      {{"verify", "--engine", "bgp", file}, 2, "", "--engine", ""},
      {{"run", "--engine", "frr", "--frr-pathspace", "ribpolicy-test-none", file},
       2,
       "",
       "no bgpd runs in path space ribpolicy-test-none",
       ""},
      {{"graph", "--step", "1", file}, 0, "\"route-map:RM\" [shape=plain", "", ""},
      {{"graph", "--step", "3", file}, 2, "", "--step: " + file + " has 2 steps, not 3", ""},
      {{"graph", "--step", "0", file}, 2, "", "--step", ""},
      {{"graph"}, 2, "", "", ""},
  };
  for (const StatusCase& c : cases) {
    std::vector<const char*> argv = {"ribpolicy"};
    std::string joined;
    for (const auto& a : c.args) {
      argv.push_back(a.c_str());
      joined += a + ' ';
    }
    std::istringstream in(c.in);
    std::ostringstream out;
    std::ostringstream err;
    const int status = ribpolicy::runCli(static_cast<int>(argv.size()), argv.data(), in, out, err);
    EXPECT_EQ(status, c.status) << joined << err.str();
    EXPECT_NE(out.str().find(c.outHas), std::string::npos) << joined << '\n' << out.str();
    EXPECT_NE(err.str().find(c.errHas), std::string::npos) << joined << '\n' << err.str();
    if (c.status == 2) {
      EXPECT_EQ(c.outHas.empty(), out.str().empty()) << joined << out.str();
    }
  }
}

// The tag dictionary names every path tag once (a readable path must name the nodes its numbers
// do), and names value tags and scalars only under nodes it names.
TEST(RibpolicyCliTest, TagDictionaryIsOneToOne) {
  const auto r = runTool({"tags", "--format", "json"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto dictionary = nlohmann::json::parse(r.out);
  std::set<std::string> names;
  for (const auto& [tag, name] : dictionary.at("paths").items()) {
    EXPECT_TRUE(names.insert(name.get<std::string>()).second) << name << " names two path tags";
  }
  for (const auto& [node, tags] : dictionary.at("values").items()) {
    EXPECT_TRUE(dictionary["paths"].contains(node)) << "values under unnamed node " << node;
    std::set<std::string> valueNames;
    for (const auto& [tag, name] : tags.items()) {
      EXPECT_TRUE(valueNames.insert(name.get<std::string>()).second) << node << ": " << name;
    }
  }
  EXPECT_FALSE(dictionary.at("scalars").empty());
}

}  // namespace
