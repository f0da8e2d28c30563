#include "tools/ribpolicy/Cli.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "framework/rib/MioSink.h"
#include "framework/vox/Trace.h"
#include "tools/ribpolicy/Agent.h"
#include "tools/ribpolicy/DemoScenario.h"
#include "tools/ribpolicy/JsonLinesWriter.h"
#include "tools/ribpolicy/ScenarioParser.h"
#include "tools/ribpolicy/StateJson.h"
#include "tools/ribpolicy/TextWriter.h"
#include "tools/ribpolicy/Verify.h"

namespace ribpolicy {

namespace {

constexpr const char* kDemoName = "examples/demo.yaml";

enum class Format : std::uint8_t { text, jsonl };

// Sends the library's trace to `err` while a command runs, and switches the handles that the
// command turned on off again afterwards, so that one command's trace does not leak into the
// next one run in the same process.
class TraceScope {
 public:
  explicit TraceScope(std::ostream& err) { Vox::traceOutputIs(&err); }
  ~TraceScope() {
    for (const std::string& name : names_) Vox::traceLevelIs(name, -1);
    Vox::traceOutputIs(nullptr);
  }
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

  // False (changing nothing) when `levels` is malformed.
  bool levelsIs(const std::string& levels) {
    if (!Vox::traceLevelsIs(levels)) return false;
    std::stringstream items(levels);
    std::string item;
    while (std::getline(items, item, ',')) {
      const auto eq = item.find('=');
      if (eq != std::string::npos) names_.push_back(item.substr(0, eq));
    }
    return true;
  }

 private:
  std::vector<std::string> names_;
};

// Reads and checks a scenario; on bad input reports it on `err` and returns nothing.
std::optional<Scenario> loadScenario(const std::string& file, std::ostream& err) {
  std::string text;
  std::string shown = file;
  if (file.empty()) {
    text = std::string(demoScenario());
    shown = kDemoName;
  } else {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      err << file << ":1:1: error: cannot read the scenario file\n";
      return std::nullopt;
    }
    std::ostringstream buf;
    buf << in.rdbuf();
    text = buf.str();
  }
  try {
    return parseScenario(text);
  } catch (const InputError& e) {
    err << e.format(shown) << '\n';
    return std::nullopt;
  }
}

std::string detachedNote(const InputSet& inputs) {
  std::string note;
  for (Input i : kAllInputs) {
    if (inputs.has(i)) continue;
    note += note.empty() ? "inputs detached: " : ", ";
    note += inputName(i);
  }
  return note;
}

int runScenario(const Scenario& scenario, Format format, bool withState, std::ostream& out) {
  LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  TextWriter text(out);
  ribpolicy::JsonLinesWriter jsonl(out);
  Rib::TeeSink tee({format == Format::text ? static_cast<Rib::MioSink*>(&text) : &jsonl, &model});
  Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&tee);
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      const Step& step = scenario.steps[i];
      switch (format) {
        case Format::text:
          text.stepIs(i + 1, step.name, detachedNote(step.inputs));
          break;
        case Format::jsonl: {
          Json line = Json::object();
          line["step"] = i + 1;
          line["name"] = jsonBytes(step.name);
          out << jsonText(line, false) << '\n';
          break;
        }
      }
      agent.applyStep(step.config, step.inputs);
      if (format == Format::text) text.stepDone();
    }
  }
  if (withState) {
    const Json state = stateJson(model.committed(), *agent.policyMap());
    switch (format) {
      case Format::text:
        out << "\nstate\n" << jsonText(state, true) << '\n';
        break;
      case Format::jsonl:
        out << jsonText(state, false) << '\n';
        break;
    }
  }
  // What the library sends while its VRF state goes is not part of the scenario.
  Rib::ScopedSink quiet(nullptr);
  agent.teardown();
  return kExitOk;
}

int printState(const Scenario& scenario, std::ostream& out) {
  LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&model);
    for (const Step& step : scenario.steps) agent.applyStep(step.config, step.inputs);
  }
  out << jsonText(stateJson(model.committed(), *agent.policyMap()), true) << '\n';
  Rib::ScopedSink quiet(nullptr);
  agent.teardown();
  return kExitOk;
}

int verify(const Scenario& scenario, std::ostream& out) {
  int status = kExitOk;
  for (const StepVerdict& v : verifyScenario(scenario)) {
    out << "step " << v.step << ": ";
    if (v.skipped) {
      out << "skipped (inputs detached)\n";
    } else if (v.differences.empty()) {
      out << "ok\n";
    } else {
      status = kExitDifferent;
      out << "differs (left: this run, right: a fresh start on the step's configuration)\n";
      for (const std::string& d : v.differences) out << "  " << d << '\n';
    }
  }
  return status;
}

}  // namespace

int runCli(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  CLI::App app{
      "Drives the route-map policy library through a scenario of configuration "
      "changes and shows what it sends to the routing engine.",
      "ribpolicy"};
  app.require_subcommand(1, 1);

  std::string file;
  std::string format = "text";
  bool withState = false;
  std::string trace;

  CLI::App* run = app.add_subcommand("run", "run a scenario and print the operation stream");
  run->add_option("FILE", file, "scenario file (default: the built-in demo)");
  run->add_option("--format", format, "text (for people) or jsonl (one JSON object a line)")
      ->check(CLI::IsMember({"text", "jsonl"}));
  run->add_flag("--state", withState, "print the final engine state after the stream");
  run->add_option("--trace", trace, "library trace to standard error, e.g. RouteMap=8");

  CLI::App* state = app.add_subcommand("state", "run a scenario silently, print the final state");
  state->add_option("FILE", file, "scenario file")->required();
  state->add_option("--trace", trace, "library trace to standard error, e.g. RouteMap=8");

  CLI::App* verifyCmd =
      app.add_subcommand("verify", "compare every step with a fresh start on its configuration");
  verifyCmd->add_option("FILE", file, "scenario file")->required();
  verifyCmd->add_option("--trace", trace, "library trace to standard error, e.g. RouteMap=8");

  CLI::App* check = app.add_subcommand("check", "parse and validate a scenario only");
  check->add_option("FILE", file, "scenario file")->required();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      app.exit(e, out, err);  // --help
      return kExitOk;
    }
    err << "ribpolicy: error: " << e.what() << " (see ribpolicy --help)\n";
    return kExitBadInput;
  }

  TraceScope traceScope(err);
  CLI::App* used = app.get_subcommands().front();
  const CLI::Option* traceOption = used->get_option_no_throw("--trace");
  if (traceOption && traceOption->count() > 0 && !traceScope.levelsIs(trace)) {
    err << "ribpolicy: error: --trace: malformed trace setting '" << trace
        << "' (expected NAME=LEVEL[,NAME=LEVEL...], e.g. RouteMap=9,RibDynamicPrefixList=8)\n";
    return kExitBadInput;
  }

  const std::optional<Scenario> scenario = loadScenario(file, err);
  if (!scenario) return kExitBadInput;

  if (used == check) {
    out << (file.empty() ? kDemoName : file) << ": ok, " << scenario->steps.size()
        << (scenario->steps.size() == 1 ? " step\n" : " steps\n");
    return kExitOk;
  }
  if (used == state) return printState(*scenario, out);
  if (used == verifyCmd) return verify(*scenario, out);
  return runScenario(*scenario, format == "jsonl" ? Format::jsonl : Format::text, withState, out);
}

}  // namespace ribpolicy
