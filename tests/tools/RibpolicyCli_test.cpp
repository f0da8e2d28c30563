// The program as a whole: the operation stream formats, the state JSON, verify, trace and
// the exit statuses.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/tools/RibpolicyTestSupport.h"
#include "tools/ribpolicy/StateJson.h"
#include "tools/ribpolicy/TextWriter.h"

#include "tests/support/Latin1.h"

namespace {

using ribpolicy::testing::lines;
using ribpolicy::testing::runTool;
using ribpolicy::testing::scenarioFile;

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

// Every line of the JSON-lines stream is one JSON object, and each step opens with its
// {"step":N,"name":...} line, in order.
TEST(RibpolicyCliTest, JsonLinesAreObjects) {
  const auto r =
      runTool({"run", "--format", "jsonl", "--state", scenarioFile("two.yaml", kTwoSteps)});
  ASSERT_EQ(r.status, 0) << r.err;
  std::vector<std::string> stepLines;
  const auto all = lines(r.out);
  ASSERT_GT(all.size(), 3u);
  for (const std::string& line : all) {
    const auto j = nlohmann::json::parse(line);
    ASSERT_TRUE(j.is_object()) << line;
    if (j.contains("step")) stepLines.push_back(line);
  }
  EXPECT_EQ(stepLines, (std::vector<std::string>{R"({"step":1,"name":"first"})",
                                                 R"({"step":2,"name":"second"})"}));
  EXPECT_EQ(all.front(), R"({"step":1,"name":"first"})");
  const auto state = nlohmann::json::parse(all.back());
  EXPECT_TRUE(state.contains("engine"));
  EXPECT_TRUE(state.contains("policy-map"));
}

// Packed binary strings survive the stream: every byte outside printable ASCII is one
// \u00XX escape, and decoding gives back the engine's bytes exactly.
TEST(RibpolicyCliTest, BinaryBytesSurvive) {
  const auto r = runTool({"run", "--format", "jsonl", scenarioFile("bin.yaml", kTwoSteps)});
  ASSERT_EQ(r.status, 0) << r.err;
  const U32 asNumbers[] = {1, 255};
  const std::string packed(reinterpret_cast<const char*>(asNumbers), sizeof asNumbers);
  bool found = false;
  for (const std::string& line : lines(r.out)) {
    const auto j = nlohmann::json::parse(line);
    if (j.value("op", "") != "setStrValue") continue;
    found = true;
    EXPECT_EQ(testing_support::latin1Bytes(j["values"][0][2].get<std::string>()), packed);
    EXPECT_NE(line.find("\\u0000"), std::string::npos) << line;
  }
  EXPECT_TRUE(found) << r.out;
  // Control characters too, and a backslash stays one escaped backslash.
  const std::string bytes("a\x01\xff\"\n\\", 6);
  EXPECT_EQ(ribpolicy::jsonText(ribpolicy::Json(ribpolicy::jsonBytes(bytes)), false),
            R"("a\u0001\u00ff\"\u000a\\")");
}

// The state's members come in the canonical order: values first, then children by tag
// (numerically), then key (numbers numerically, strings byte-wise); empty nodes are left out.
TEST(StateJsonTest, CanonicalOrder) {
  using Rib::PathEntry;
  Rib::EngineModel::Node root;
  auto& policy = root.children[PathEntry{512, PathEntry::Kind::none, 0, {}}];
  policy.children[PathEntry{578, PathEntry::Kind::u32, 10, {}}].values[3] = U32{1};
  policy.children[PathEntry{578, PathEntry::Kind::u32, 9, {}}].values[10] = true;
  policy.children[PathEntry{578, PathEntry::Kind::u32, 9, {}}].values[2] = std::string("x");
  policy.children[PathEntry{576, PathEntry::Kind::string, 0, "b"}].values[0] = U8{1};
  policy.children[PathEntry{576, PathEntry::Kind::string, 0, "B"}].values[0] = U8{2};
  policy.children[PathEntry{576, PathEntry::Kind::string, 0, "\xc3"}].values[0] = U8{3};
  policy.children[PathEntry{99, PathEntry::Kind::none, 0, {}}].values[1] = std::vector<U32>{4, 5};
  policy.children[PathEntry{100, PathEntry::Kind::none, 0, {}}];  // holds nothing
  root.children[PathEntry{256, PathEntry::Kind::none, 0, {}}].values[18] = U32{0};

  RoutingPolicyMap::PolicyMap pm;
  pm.routeMapIs("b")->reasonIs({1, 6, "sub-route-map", "X seqNo 10"}, true);
  pm.routeMapIs("b")->reasonIs({0, 0, "external", "scenario"}, true);
  pm.routeMapIs("A")->reasonIs({0, 0, "external", "scenario"}, true);

  EXPECT_EQ(
      ribpolicy::jsonText(ribpolicy::stateJson(root, pm), false),
      R"({"engine":{"256":{"=":{"18":["u32",0]}},"512":{"99":{"=":{"1":["words",[4,5]]}},)"
      R"("576=\"B\"":{"=":{"0":["u8",2]}},"576=\"b\"":{"=":{"0":["u8",1]}},)"
      R"("576=\"\u00c3\"":{"=":{"0":["u8",3]}},)"
      R"("578=9":{"=":{"2":["str","x"],"10":["flag",true]}},"578=10":{"=":{"3":["u32",1]}}}},)"
      R"("policy-map":{"route-maps":{"A":[[0,0,"external","scenario"]],)"
      R"("b":[[0,0,"external","scenario"],[1,6,"sub-route-map","X seqNo 10"]]},)"
      R"("dynamic-prefix-lists":{},"redistributed-dynamic-prefix-lists":{}}})");
}

// state prints only the final state, whose policy map holds the external reference.
TEST(RibpolicyCliTest, StatePrintsFinalState) {
  const auto r = runTool({"state", scenarioFile("state.yaml", kTwoSteps)});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["policy-map"]["route-maps"]["RM"],
            nlohmann::json::parse(R"([[0,0,"external","scenario"]])"));
  const auto& rm = j["engine"]["512"]["576=\"RM\""];
  EXPECT_TRUE(rm["577"].contains("578=20"));
  EXPECT_FALSE(rm["577"].contains("578=10")) << "the removed sequence is gone";
}

// The built-in demo runs without a file, and verify finds every attached step equal to a
// fresh start (the steps with a detached input are reported as skipped).
TEST(RibpolicyCliTest, DemoRunsAndVerifies) {
  const auto run = runTool({"run"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(lines(run.out).front(), "step 1: initial policy");
  const auto verify =
      runTool({"verify", std::string(RIBPOLICY_SOURCE_DIR) + "/examples/demo.yaml"});
  EXPECT_EQ(verify.status, 0) << verify.out;
  const auto out = lines(verify.out);
  ASSERT_EQ(out.size(), 7u);
  EXPECT_EQ(out[0], "step 1: ok");
  EXPECT_EQ(out[5], "step 6: skipped (inputs detached)");
  EXPECT_EQ(out[6], "step 7: ok");
}

// Every example is a valid scenario. (A scenario with pending changes may rightly differ
// from a fresh start, which sees the pending contents at once, so only check applies to all.)
TEST(RibpolicyCliTest, ExamplesAreValid) {
  for (const char* name : {"demo.yaml", "pending-versions.yaml", "peer-filters-and-acls.yaml"}) {
    const std::string file = std::string(RIBPOLICY_SOURCE_DIR) + "/examples/" + name;
    const auto r = runTool({"check", file});
    EXPECT_EQ(r.status, 0) << name << '\n' << r.err;
  }
  const auto r = runTool(
      {"verify", std::string(RIBPOLICY_SOURCE_DIR) + "/examples/peer-filters-and-acls.yaml"});
  EXPECT_EQ(r.status, 0) << r.out;
}

// A prefix-list entry held back by its version differs from a fresh start exactly while it
// is pending, and verify fails on that step alone.
TEST(RibpolicyCliTest, PendingPrefixEntryDiffersUntilAnnounced) {
  const auto r =
      runTool({"verify", std::string(RIBPOLICY_SOURCE_DIR) + "/examples/pending-versions.yaml"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(lines(r.out), (std::vector<std::string>{
                              "step 1: ok", "step 2: ok",
                              "step 3: differs (left: this run, right: a fresh start on the step's "
                              "configuration)",
                              R"(  only in right: 512/603/515="CUST"/516=20)", "step 4: ok"}));
}

// --trace sends the library's trace to standard error; a malformed def is a usage error.
TEST(RibpolicyCliTest, Trace) {
  const std::string file = scenarioFile("trace.yaml", kTwoSteps);
  const auto traced = runTool({"run", "--trace", "RouteMap=8", file});
  ASSERT_EQ(traced.status, 0);
  EXPECT_NE(traced.err.find("void RibRouteMap::Root::handleInitialized()"), std::string::npos);
  EXPECT_EQ(traced.out.find("RibRouteMap::"), std::string::npos) << "trace stays off stdout";
  const auto quiet = runTool({"run", file});
  EXPECT_EQ(quiet.err, "") << "a trace does not outlive its command";
  const auto bad = runTool({"run", "--trace", "RouteMap", file});
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(bad.out, "");
  EXPECT_NE(bad.err.find("--trace"), std::string::npos);
}

struct UsageCase {
  std::vector<std::string> args;
  int status;
  std::string outHas;  // a part of standard output ("" when only the status matters)
  std::string errHas;
  std::string in;  // standard input
};

// Usage errors exit 2 without running anything; help and version exit 0; FILE "-" reads
// standard input; check and verify speak JSON on request.
TEST(RibpolicyCliTest, Usage) {
  const std::string file = scenarioFile("usage.yaml", kTwoSteps);
  const std::string pending = std::string(RIBPOLICY_SOURCE_DIR) + "/examples/pending-versions.yaml";
  const std::string badStep = "steps:\n  - {config: {route-maps: {R: [{seq: x}]}}}\n";
  const std::string traceHelp = "(namespaces: RouteMap, RibDynamicPrefixList; levels: 0 to 9;";
  const UsageCase cases[] = {
      {{}, 2, "", "", ""},
      {{"frobnicate"}, 2, "", "", ""},
      {{"run", "--format", "xml", file}, 2, "", "", ""},
      {{"check", "--format", "jsonl", file}, 2, "", "", ""},
      {{"state"}, 2, "", "", ""},
      {{"verify"}, 2, "", "", ""},
      {{"check"}, 2, "", "", ""},
      {{"check", file}, 0, file + ": ok, 2 steps\n", "", ""},
      {{"--help"}, 0, "Usage: ribpolicy", "", ""},
      {{"--version"}, 0, "ribpolicy " RIBPOLICY_VERSION "\n", "", ""},
      {{"check", "-"}, 0, "<stdin>: ok, 2 steps\n", "", kTwoSteps},
      {{"state", "-"}, 2, "", "<stdin>:2:38: error: seq:", badStep},
      {{"run", "--trace", "Foo=8", file}, 2, "", "unknown trace namespace 'Foo' " + traceHelp, ""},
      {{"run", "--trace", "RouteMap=12", file}, 2, "", "level '12' for RouteMap " + traceHelp, ""},
      {{"verify", "--trace", "RouteMap=-1", file}, 2, "", traceHelp, ""},
      {{"state", "--trace", "RouteMap=0,RibDynamicPrefixList=9", file}, 0, "\"engine\"", "", ""},
      {{"check", "--format", "json", file},
       0,
       R"({"file":)" + nlohmann::json(file).dump() + R"(,"ok":true,"steps":2})" + "\n",
       "",
       ""},
      {{"check", "--format", "json", "-"},
       2,
       R"({"file":"<stdin>","ok":false,"line":2,"column":38,"message":"seq: expected a number)",
       "<stdin>:2:38: error: seq:",
       badStep},
      {{"verify", "--format", "json", pending},
       1,
       R"(,"steps":[{"step":1,"status":"ok","differences":[]},)"
       R"({"step":2,"status":"ok","differences":[]},)"
       R"({"step":3,"status":"differs","differences":["only in right: 512/603/515=\"CUST\"/516=20"]},)"
       R"({"step":4,"status":"ok","differences":[]}]})",
       "",
       ""},
  };
  for (const UsageCase& c : cases) {
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

// In the text stream deletes are marked and the value column lines up across operations
// whose names and paths differ in length.
TEST(TextWriterTest, DeletesMarkedAndColumnsAligned) {
  Rib::OpRecord del;
  del.name = "deleteRouteMap";
  del.path = {{512, Rib::PathEntry::Kind::none, 0, {}},
              {576, Rib::PathEntry::Kind::string, 0, "RM"}};
  del.del = true;
  Rib::OpRecord set;
  set.name = "routeMapSeq";
  set.path = {{512, Rib::PathEntry::Kind::none, 0, {}},
              {576, Rib::PathEntry::Kind::string, 0, "LONGER-NAME"},
              {577, Rib::PathEntry::Kind::none, 0, {}},
              {578, Rib::PathEntry::Kind::u32, 10, {}}};
  set.values = {{0, U32{10}}, {1, true}};
  Rib::OpRecord mode;
  mode.name = "RouteMapSetOpMode";
  mode.path = {{256, Rib::PathEntry::Kind::none, 0, {}}};
  mode.scalars = {{18, 0}};
  const std::string d = ribpolicy::TextWriter::opLine(del);
  const std::string s = ribpolicy::TextWriter::opLine(set);
  const std::string m = ribpolicy::TextWriter::opLine(mode);
  EXPECT_EQ(d.rfind("  DEL  deleteRouteMap ", 0), 0u) << d;
  EXPECT_EQ(s.find("DEL"), std::string::npos);
  EXPECT_EQ(s.find("512/576=\"LONGER-NAME\""), d.find("512/576=\"RM\""));
  EXPECT_EQ(s.find("{0:u32=10 1:flag=true}"), m.find("scalars{18:u32=0}"));
  EXPECT_NE(ribpolicy::TextWriter::commitLine(Rib::CommitKind::engine),
            ribpolicy::TextWriter::commitLine(Rib::CommitKind::operation));
}

// A step that changes nothing says so in the text stream.
TEST(RibpolicyCliTest, UnchangedStepShownAsEmpty) {
  const auto r =
      runTool({"run", scenarioFile("same.yaml",
                                   "steps:\n  - {name: a, config: {route-maps: {R: []}}}\n"
                                   "  - {name: b, config: {route-maps: {R: []}}}\n")});
  ASSERT_EQ(r.status, 0);
  const auto out = lines(r.out);
  ASSERT_GE(out.size(), 2u);
  EXPECT_EQ(out[out.size() - 2], "step 2: b");
  EXPECT_EQ(out.back(), "       (no operations)");
}

}  // namespace
