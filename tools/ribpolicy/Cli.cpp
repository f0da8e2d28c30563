#include "tools/ribpolicy/Cli.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "RibDynamicPrefixList/Trace.h"
#include "RibRouteMap/mio/Trace.h"
#include "RibText/JsonLinesWriter.h"
#include "RibText/JsonWriter.h"
#include "framework/rib/MioSink.h"
#include "framework/vox/Trace.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/agent/Transients.h"
#include "tools/ribpolicy/agent/Verify.h"
#include "tools/ribpolicy/format/DemoScenario.h"
#include "tools/ribpolicy/format/FormatJson.h"
#include "tools/ribpolicy/format/References.h"
#include "tools/ribpolicy/format/ScenarioParser.h"
#include "tools/ribpolicy/frr/Commands.h"
#include "tools/ribpolicy/views/Diff.h"
#include "tools/ribpolicy/views/DiffCommand.h"
#include "tools/ribpolicy/views/Graph.h"
#include "tools/ribpolicy/views/StateJson.h"
#include "tools/ribpolicy/views/TagDictionary.h"
#include "tools/ribpolicy/views/TextWriter.h"
#include "tools/ribpolicy/views/Transient.h"

namespace ribpolicy {

namespace {

constexpr const char* kDemoName = "examples/demo.yaml";
constexpr const char* kStdinName = "<stdin>";
constexpr std::string_view kStdinFile = "-";

enum class Format : std::uint8_t { text, jsonl };

// The trace namespaces a --trace setting may name, and the levels their messages use.
std::vector<std::string> traceNamespaces() {
  return {RibRouteMap::routeMapTrace().name(), RibDynamicPrefixList::dynPfxTrace().name()};
}
constexpr int kLowestTraceLevel = RibRouteMap::traceError;
constexpr int kHighestTraceLevel = RibRouteMap::traceDetail;

std::string traceUsage() {
  std::string names;
  for (const std::string& n : traceNamespaces()) names += (names.empty() ? "" : ", ") + n;
  return "(namespaces: " + names + "; levels: " + std::to_string(kLowestTraceLevel) + " to " +
         std::to_string(kHighestTraceLevel) + "; e.g. RouteMap=9,RibDynamicPrefixList=8)";
}

// What is wrong with a --trace setting, or nothing. The library takes any name and level, so
// a misspelt namespace would otherwise trace nothing without a word.
std::optional<std::string> traceSettingError(std::string_view setting) {
  const std::vector<std::string> names = traceNamespaces();
  std::string_view rest = setting;
  for (bool last = false; !last;) {
    const auto comma = rest.find(',');
    last = comma == std::string_view::npos;
    const std::string_view item = rest.substr(0, comma);
    rest = last ? std::string_view() : rest.substr(comma + 1);
    const auto eq = item.find('=');
    if (eq == std::string_view::npos || eq == 0) {
      return "malformed trace setting '" + std::string(setting) + "'";
    }
    const std::string name(item.substr(0, eq));
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      return "unknown trace namespace '" + name + "'";
    }
    const std::string_view levelText = item.substr(eq + 1);
    const char* const end = levelText.data() + levelText.size();
    int level = -1;
    const auto parsed = std::from_chars(levelText.data(), end, level);
    if (parsed.ec != std::errc() || parsed.ptr != end || level < kLowestTraceLevel ||
        level > kHighestTraceLevel) {
      return "bad trace level '" + std::string(levelText) + "' for " + name;
    }
  }
  return std::nullopt;
}

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

// The name a scenario file goes by in messages.
std::string shownName(const std::string& file) {
  if (file.empty()) return kDemoName;
  if (file == kStdinFile) return kStdinName;
  return file;
}

// The rest of what `in` holds.
std::string readAll(std::istream& in) {
  std::string text;
  char chunk[1 << 16];
  std::streamsize got = 0;
  while ((got = in.rdbuf()->sgetn(chunk, sizeof chunk)) > 0) {
    text.append(chunk, static_cast<std::size_t>(got));
  }
  return text;
}

// Reads and checks a scenario (FILE "-" reads `in`). On bad input reports it on `err` as
// FILE:LINE:COL, and also as one JSON object on `out` when `json`, and returns nothing.
std::optional<Scenario> loadScenario(const std::string& file, std::istream& in, bool json,
                                     std::ostream& out, std::ostream& err) {
  const std::string shown = shownName(file);
  std::optional<InputError> error;
  std::optional<Scenario> scenario;
  try {
    if (file.empty()) {
      scenario = parseScenario(demoScenario());
    } else if (file == kStdinFile) {
      if (!in) throw InputError(1, 1, "cannot read the scenario file");
      scenario = parseScenario(readAll(in));
    } else {
      // A file is parsed as it is read, never held whole: a large scenario then costs the
      // memory of its configuration only.
      // The reason the system gives, so that a missing file and a forbidden one read apart.
      errno = std::filesystem::is_directory(file) ? EISDIR : 0;
      std::ifstream fileIn(file, std::ios::binary);
      if (!fileIn || errno == EISDIR) {
        throw InputError(1, 1,
                         std::string("cannot read the scenario file: ") + std::strerror(errno));
      }
      scenario = parseScenario(fileIn, [&] {
        std::ifstream again(file, std::ios::binary);
        return readAll(again);
      });
    }
  } catch (const InputError& e) {
    error = e;
  }
  if (error) {
    err << error->format(shown) << '\n';
    if (json) {
      RibText::JsonWriter j;
      j.open('{');
      j.member("file").string(shown);
      j.member("ok").boolean(false);
      j.member("line").number(error->line());
      j.member("column").number(error->column());
      j.member("message").string(error->what());
      j.close('}');
      out << j.text() << '\n';
    }
  }
  return scenario;
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

struct RunOptions {
  Format format = Format::text;
  bool withState = false;
  bool numeric = false;  // the text with tags and values as numbers
  bool diff = false;     // each step's net change instead of its operations
  // The JSON's tags: numbers, or names.
  RibText::Tags tags = RibText::Tags::numbers;
};

// The step line of the JSON-lines stream; with `diff`, the step's changes go in it, and its
// transient objects when it has any.
void jsonStepLine(std::size_t number, const Step& step, const std::vector<NodeChange>* diff,
                  const std::vector<TransientObject>* transient, RibText::Tags tags,
                  std::ostream& out) {
  RibText::JsonWriter line;
  line.open('{');
  line.member("step").number(number);
  line.member("name").string(step.name);
  if (diff) writeDiff(line.member("diff"), *diff, tags);
  if (transient && !transient->empty()) writeTransient(line.member("transient"), *transient);
  line.close('}');
  out << line.text() << '\n';
}

int runScenario(const Scenario& scenario, const RunOptions& options, std::ostream& out) {
  LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  const auto form = options.numeric ? TextWriter::Form::numeric : TextWriter::Form::readable;
  TextWriter text(out, form);
  RibText::JsonLinesWriter jsonl(out, options.tags);
  // The engine's state is kept only when something reads it: a model of a million entries
  // costs more than everything else a run holds.
  std::vector<Rib::MioSink*> sinks;
  if (options.diff || options.withState) sinks.push_back(&model);
  TransientWatch watch(model);
  if (options.diff) sinks.push_back(&watch);
  if (!options.diff) {
    sinks.push_back(options.format == Format::text ? static_cast<Rib::MioSink*>(&text) : &jsonl);
  }
  Rib::TeeSink tee(std::move(sinks));
  Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&tee);
    Rib::EngineModel::Node before;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      const Step& step = scenario.steps[i];
      if (options.format == Format::text) text.stepIs(i + 1, step.name, detachedNote(step.inputs));
      if (options.format == Format::jsonl && !options.diff) {
        jsonStepLine(i + 1, step, nullptr, nullptr, options.tags, out);
      }
      watch.stepBegins(before);
      agent.applyStep(step.config, step.inputs);
      if (!options.diff) {
        if (options.format == Format::text) text.stepDone();
        continue;
      }
      const std::vector<NodeChange> changes = engineDiff(before, model.committed());
      const std::vector<TransientObject> transient = watch.stepDone();
      before = model.committed();
      switch (options.format) {
        case Format::text:
          for (const NodeChange& c : changes) out << diffLine(c, form) << '\n';
          if (changes.empty()) out << "       (no change)\n";
          for (const TransientObject& t : transient) out << transientLine(t, form) << '\n';
          break;
        case Format::jsonl:
          jsonStepLine(i + 1, step, &changes, &transient, options.tags, out);
          break;
      }
    }
  }
  if (options.withState) {
    switch (options.format) {
      case Format::text:
        out << "\nstate\n";
        writeState(out, model.committed(), *agent.policyMap(), true);
        out << '\n';
        break;
      case Format::jsonl:
        writeState(out, model.committed(), *agent.policyMap(), false, options.tags);
        out << '\n';
        break;
    }
  }
  // What the library sends while its VRF state goes is not part of the scenario.
  Rib::DiscardingSink dropped;
  Rib::ScopedSink quiet(&dropped);
  agent.teardown();
  return kExitOk;
}

// The state after the first `steps` steps: JSON (with tags as `tags` says), or the named tree.
int printState(const Scenario& scenario, std::size_t steps, bool json, RibText::Tags tags,
               std::ostream& out) {
  LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&model);
    for (std::size_t i = 0; i < steps; ++i) {
      agent.applyStep(scenario.steps[i].config, scenario.steps[i].inputs);
    }
  }
  if (json) {
    writeState(out, model.committed(), *agent.policyMap(), true, tags);
    out << '\n';
  } else {
    writeStateText(out, model.committed(), *agent.policyMap());
  }
  Rib::DiscardingSink dropped;
  Rib::ScopedSink quiet(&dropped);
  agent.teardown();
  return kExitOk;
}

// A step's differences from a fresh start, one line each: the engine's, then the
// policy-reference map's.
std::vector<std::string> differenceLines(const FreshStartDifferences& d, TextWriter::Form form) {
  std::vector<std::string> lines;
  for (const Rib::EngineModel::Difference& e : d.engine) lines.push_back(differenceLine(e, form));
  lines.insert(lines.end(), d.policyMap.begin(), d.policyMap.end());
  return lines;
}

int verifyJson(const Scenario& scenario, const std::string& shown, TextWriter::Form form,
               std::ostream& out) {
  int status = kExitOk;
  RibText::JsonWriter j;
  j.open('{');
  j.member("file").string(shown);
  j.member("steps").open('[');
  for (const StepVerdict& v : verifyScenario(scenario)) {
    j.item().open('{');
    j.member("step").number(v.step);
    if (v.skipped) {
      j.member("status").string("skipped");
    } else if (v.differences.empty()) {
      j.member("status").string("ok");
    } else {
      status = kExitDifferent;
      j.member("status").string("differs");
    }
    j.member("differences").open('[');
    for (const std::string& d : differenceLines(v.differences, form)) j.item().string(d);
    j.close(']');
    j.close('}');
  }
  j.close(']');
  j.close('}');
  out << j.text() << '\n';
  return status;
}

int verify(const Scenario& scenario, TextWriter::Form form, std::ostream& out) {
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
      for (const std::string& d : differenceLines(v.differences, form)) out << "  " << d << '\n';
    }
  }
  return status;
}

// The classes --werror names, "all" (what a plain --werror gives) for every one; nothing with
// the error said when a name is no class.
std::optional<std::set<WarningClass>> werrorClasses(const std::string& names, std::ostream& err) {
  std::set<WarningClass> classes;
  std::stringstream items(names);
  for (std::string item; std::getline(items, item, ',');) {
    bool known = item == "all";
    for (const WarningClass c : kWarningClasses) {
      if (item == "all" || item == warningClassName(c)) {
        classes.insert(c);
        known = true;
      }
    }
    if (!known) {
      std::string names;
      for (const WarningClass c : kWarningClasses) names += std::string(warningClassName(c)) + ", ";
      err << "ribpolicy: error: --werror: unknown warning class '" << item << "' (expected all or "
          << names.substr(0, names.size() - 2) << ")\n";
      return std::nullopt;
    }
  }
  return classes;
}

// Parses and validates; then reports what the reference and entry checks find, as warnings
// (exit 0) or, those of the classes `werror` holds, as errors (exit 2).
int checkScenario(const Scenario& scenario, const std::string& shown, bool json,
                  const std::set<WarningClass>& werror, std::ostream& out, std::ostream& err) {
  std::vector<Warning> warnings = scenarioWarnings(scenario);
  // A step's transient objects come first among its warnings, at the step itself.
  const std::vector<Warning> transient = transientWarnings(scenario);
  warnings.insert(warnings.begin(), transient.begin(), transient.end());
  std::stable_sort(warnings.begin(), warnings.end(),
                   [](const Warning& a, const Warning& b) { return a.step < b.step; });
  bool failed = false;
  for (const Warning& w : warnings) {
    const bool error = werror.count(w.warning) > 0;
    failed = failed || error;
    const std::string_view name = warningClassName(w.warning);
    err << shown << ':' << w.mark.line << ':' << w.mark.column
        << (error ? ": error: " : ": warning: ") << w.message << " [-W" << (error ? "error=" : "")
        << name << "]\n";
  }
  if (json) {
    RibText::JsonWriter j;
    j.open('{');
    j.member("file").string(shown);
    j.member("ok").boolean(!failed);
    j.member("steps").number(scenario.steps.size());
    j.member("warnings").open('[');
    for (const Warning& w : warnings) {
      j.item().open('{');
      j.member("step").number(w.step);
      j.member("line").number(w.mark.line);
      j.member("column").number(w.mark.column);
      j.member("message").string(w.message);
      j.member("class").string(warningClassName(w.warning));
      j.close('}');
    }
    j.close(']');
    j.close('}');
    out << j.text() << '\n';
  } else if (!failed) {
    out << shown << ": ok, " << scenario.steps.size()
        << (scenario.steps.size() == 1 ? " step" : " steps");
    if (!warnings.empty()) {
      out << ", " << warnings.size() << (warnings.size() == 1 ? " warning" : " warnings");
    }
    out << '\n';
  }
  return failed ? kExitBadInput : kExitOk;
}

}  // namespace

int runCli(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  return runCli(argc, argv, std::cin, out, err);
}

int runCli(int argc, const char* const* argv, std::istream& in, std::ostream& out,
           std::ostream& err) {
  CLI::App app{
      "Drives the route-map policy library through a scenario of configuration "
      "changes and shows what it sends to the routing engine.",
      "ribpolicy"};
  app.require_subcommand(1, 1);
  app.set_version_flag("--version", "ribpolicy " RIBPOLICY_VERSION);
  app.set_help_all_flag("--help-all", "Print this help message and every command's options");
  app.footer(
      "FILE - reads the scenario from standard input. Exit status: 0 success, 1 verify found a "
      "difference or diff a change, 2 bad input or bad usage.");

  std::string file;
  std::string format = "text";
  bool withState = false;
  bool numeric = false;
  bool diff = false;
  bool names = false;
  std::size_t stateStep = 0;
  std::string trace;
  // One spelling of the JSON format on every command, json; jsonl, which `run` took first, is
  // the same everywhere.
  const auto formats = CLI::IsMember({"text", "json", "jsonl"});
  auto namesFlag = [&](CLI::App* cmd) {
    cmd->add_flag("--names", names,
                  "JSON with tags by name, AS paths and communities in their usual forms");
  };

  CLI::App* run = app.add_subcommand("run", "run a scenario and print the operation stream");
  run->add_option("FILE", file, "scenario file, - for standard input (default: the built-in demo)");
  run->add_option("--format", format,
                  "text (for people) or json (one JSON object a line; also jsonl)")
      ->check(formats);
  namesFlag(run);
  run->add_flag("--state", withState, "print the final engine state after the stream");
  run->add_flag("--numeric", numeric, "text with tags and values as the engine gets them");
  run->add_flag("--diff", diff,
                "print each step's net change of the engine state, not its operations");
  run->add_option("--trace", trace, "library trace to standard error, e.g. RouteMap=8");

  // A live bgpd behind the channel (run and verify): which one, and how.
  std::string engine = "model";
  std::string frrApply = "commit";
  double frrTimeout = 60;
  frr::DaemonOptions daemon;
  auto engineOptions = [&](CLI::App* cmd) {
    cmd->add_option("--engine", engine,
                    "model (the engine model) or frr (a running bgpd of FRR, through vtysh)")
        ->check(CLI::IsMember({"model", "frr"}));
    cmd->add_option("--frr-pathspace", daemon.pathspace,
                    "the bgpd of this path space (vtysh -N NAME; default: the default one)");
    cmd->add_flag(
        "--frr-replace", daemon.replace,
        "take over the policy the bgpd holds: what the run does not make goes at its first "
        "change (otherwise such a bgpd is refused)");
    cmd->add_option("--frr-timeout", frrTimeout, "seconds any one call of vtysh may take (60)")
        ->check(CLI::PositiveNumber);
    cmd->add_option("--frr-apply", frrApply,
                    "commit (send each commit's change; run's and verify's default) or step (each "
                    "step's; test's)")
        ->check(CLI::IsMember({"commit", "step"}));
  };
  engineOptions(run);

  CLI::App* state = app.add_subcommand("state", "run a scenario silently, print the final state");
  state->add_option("FILE", file, "scenario file, - for standard input")->required();
  state->add_option("--step", stateStep, "the state after step N, from 1 (default: the last)")
      ->check(CLI::PositiveNumber);
  state->add_option("--trace", trace, "library trace to standard error, e.g. RouteMap=8");
  std::string stateFormat = "json";
  state
      ->add_option("--format", stateFormat,
                   "json (the default, for programs) or text (a named tree)")
      ->check(formats);
  namesFlag(state);

  CLI::App* verifyCmd =
      app.add_subcommand("verify", "compare every step with a fresh start on its configuration");
  verifyCmd->add_option("FILE", file, "scenario file, - for standard input")->required();
  verifyCmd->add_option("--format", format, "text (for people) or json (one object)")
      ->check(formats);
  verifyCmd->add_flag("--names", names, "the differences with tags by name, values in their forms");
  verifyCmd->add_option("--trace", trace, "library trace to standard error, e.g. RouteMap=8");
  engineOptions(verifyCmd);

  CLI::App* check =
      app.add_subcommand("check", "validate a scenario and warn about its references");
  check->add_option("FILE", file, "scenario file, - for standard input")->required();
  check->add_option("--format", format, "text (for people) or json (one object)")->check(formats);
  std::string checkWerror;
  check->add_flag("--werror{all}", checkWerror,
                  "report warnings as errors (exit 2); --werror=CLASS,... only those classes");
  bool werror = false;

  std::size_t graphStep = 0;
  CLI::App* graph = app.add_subcommand("graph", "write a step's policy as a Graphviz DOT graph");
  graph->add_option("FILE", file, "scenario file, - for standard input")->required();
  graph->add_option("--step", graphStep, "the step to draw, from 1 (default: the last)")
      ->check(CLI::PositiveNumber);

  std::size_t frrStep = 0;
  bool everyStep = false;
  CLI::App* frrCmd =
      app.add_subcommand("frr", "print the FRR configuration equal to a step's engine state");
  frrCmd->add_option("FILE", file, "scenario file, - for standard input")->required();
  frrCmd
      ->add_option("--step", frrStep, "the configuration after step N, from 1 (default: the last)")
      ->check(CLI::PositiveNumber);
  frrCmd->add_flag("--every-step", everyStep, "the configuration after each step, in turn");
  frrCmd->add_flag("--werror", werror, "report what has no FRR form as errors (exit 2)");

  bool counts = false;
  CLI::App* testCmd = app.add_subcommand(
      "test", "send each step's routes through a live engine and check what its maps do");
  testCmd->add_option("FILE", file, "scenario file, - for standard input")->required();
  testCmd->add_option("--format", format, "text (for people) or json (one object a check)")
      ->check(formats);
  testCmd->add_flag("--counts", counts,
                    "print each tested map's hits by sequence, and the sequences no route reached");
  std::string testMap;
  std::string testRoutes;
  std::size_t testStep = 0;
  CLI::Option* mapOption = testCmd->add_option(
      "--map", testMap, "take the routes of --routes through this route map, without checks");
  CLI::Option* routesOption =
      testCmd->add_option("--routes", testRoutes, "a YAML list of routes, - for standard input");
  mapOption->needs(routesOption);
  routesOption->needs(mapOption);
  testCmd->add_option("--step", testStep, "with --map: after step N, from 1 (default: the last)")
      ->check(CLI::PositiveNumber)
      ->needs(mapOption);
  std::string against;
  testCmd
      ->add_option("--against", against,
                   "fresh: send each step's routes through a fresh start of the step too, and "
                   "report the routes whose results differ")
      ->check(CLI::IsMember({"fresh"}))
      ->excludes(mapOption);
  engineOptions(testCmd);

  std::string diffOld;
  std::string diffNew;
  CLI::App* diffCmd = app.add_subcommand(
      "diff", "the operations and the net engine change from one scenario's step to another's");
  diffCmd->add_option("OLD", diffOld, "scenario file, its last step, or FILE:N for step N")
      ->required();
  diffCmd->add_option("NEW", diffNew, "scenario file, its last step, or FILE:N for step N")
      ->required();
  diffCmd->add_option("--format", format, "text (for people) or json (one object)")->check(formats);
  diffCmd->add_flag("--numeric", numeric, "text with tags and values as the engine gets them");
  namesFlag(diffCmd);

  CLI::App* tags = app.add_subcommand("tags", "print the names of the engine's tags");
  tags->add_option("--format", format, "text (for people) or json (one object)")->check(formats);

  // The format's table as JSON, for the schema's test and other tools; not a user's command.
  CLI::App* formatTable =
      app.add_subcommand("format-table", "print the scenario format's table as JSON")->group("");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      app.exit(e, out, err);  // --help, --version
      return kExitOk;
    }
    err << "ribpolicy: error: " << e.what() << " (see ribpolicy --help)\n";
    return kExitBadInput;
  }

  CLI::App* used = app.get_subcommands().front();
  if (used == formatTable) {
    out << formatTableJson();
    return kExitOk;
  }
  const bool json = format == "json" || format == "jsonl";
  const RibText::Tags tagForm = names ? RibText::Tags::names : RibText::Tags::numbers;
  if (used == tags) {
    writeTagDictionary(out, json);
    return kExitOk;
  }
  if (names && (used == run || used == diffCmd) && !json) {
    err << "ribpolicy: error: --names needs --format json (see ribpolicy --help)\n";
    return kExitBadInput;
  }
  if (names && used == state && stateFormat == "text") {
    err << "ribpolicy: error: --names needs --format json; the text is named already (see "
           "ribpolicy --help)\n";
    return kExitBadInput;
  }
  TraceScope traceScope(err);
  const CLI::Option* traceOption = used->get_option_no_throw("--trace");
  if (traceOption && traceOption->count() > 0) {
    std::optional<std::string> problem = traceSettingError(trace);
    if (!problem && !traceScope.levelsIs(trace))
      problem = "malformed trace setting '" + trace + "'";
    if (problem) {
      err << "ribpolicy: error: --trace: " << *problem << ' ' << traceUsage() << '\n';
      return kExitBadInput;
    }
  }

  const bool onFrr = engine == "frr";
  for (const char* name : {"--frr-pathspace", "--frr-replace", "--frr-timeout", "--frr-apply"}) {
    const CLI::Option* o = used->get_option_no_throw(name);
    if (!onFrr && o && o->count() > 0) {
      err << "ribpolicy: error: " << name << " needs --engine frr (see ribpolicy --help)\n";
      return kExitBadInput;
    }
  }
  daemon.timeout = std::chrono::milliseconds(static_cast<long long>(frrTimeout * 1000));
  daemon.perStep = frrApply == "step";
  // Routes are judged after each step, so test sends each step's change at once by default.
  const CLI::Option* apply = used->get_option_no_throw("--frr-apply");
  if (used == testCmd && apply && apply->count() == 0) daemon.perStep = true;

  if (used == testCmd && !onFrr) {
    err << "ribpolicy: error: test needs a live engine: give --engine frr (see ribpolicy --help)\n";
    return kExitBadInput;
  }

  const std::optional<std::set<WarningClass>> classes = werrorClasses(checkWerror, err);
  if (!classes) return kExitBadInput;

  if (used == diffCmd) {
    const StepRef oldRef = stepRef(diffOld);
    const StepRef newRef = stepRef(diffNew);
    if (oldRef.file == kStdinFile && newRef.file == kStdinFile) {
      err << "ribpolicy: error: diff: only one of OLD and NEW can be standard input\n";
      return kExitBadInput;
    }
    const std::optional<Scenario> before = loadScenario(oldRef.file, in, json, out, err);
    if (!before) return kExitBadInput;
    const std::optional<Scenario> after = loadScenario(newRef.file, in, json, out, err);
    if (!after) return kExitBadInput;
    return diffCommand({*before, oldRef.step, shownName(oldRef.file)},
                       {*after, newRef.step, shownName(newRef.file)}, {json, numeric, tagForm}, out,
                       err);
  }
  const std::optional<Scenario> scenario = loadScenario(file, in, json, out, err);
  if (!scenario) return kExitBadInput;

  // Whether --step names a step beyond the scenario's, with the error said.
  const std::size_t steps = scenario->steps.size();
  auto beyond = [&](std::size_t step) {
    if (step <= steps) return false;
    err << "ribpolicy: error: --step: " << shownName(file) << " has " << steps
        << (steps == 1 ? " step" : " steps") << ", not " << step << '\n';
    return true;
  };
  if (used == check) return checkScenario(*scenario, shownName(file), json, *classes, out, err);
  if (used == graph) {
    if (beyond(graphStep)) return kExitBadInput;
    writePolicyGraph(scenario->steps[graphStep == 0 ? steps - 1 : graphStep - 1].config, out);
    return kExitOk;
  }
  if (used == frrCmd) {
    if (beyond(frrStep)) return kExitBadInput;
    return frr::translateCommand(*scenario, shownName(file), frrStep, everyStep, werror, out, err);
  }
  if (used == state) {
    if (beyond(stateStep)) return kExitBadInput;
    return printState(*scenario, stateStep == 0 ? steps : stateStep, stateFormat != "text", tagForm,
                      out);
  }
  if (used == testCmd) {
    if (testRoutes == "-" && file == "-") {
      err << "ribpolicy: error: --routes: the scenario reads standard input already\n";
      return kExitBadInput;
    }
    if (beyond(testStep)) return kExitBadInput;
    frr::TestOptions test;
    test.map = testMap;
    test.routes = testRoutes;
    test.step = testStep;
    test.in = &in;
    test.format = json ? frr::RunFormat::jsonl : frr::RunFormat::text;
    test.counts = counts;
    test.againstFresh = against == "fresh";
    return frr::testCommand(*scenario, shownName(file), test, daemon, out, err);
  }
  if (used == verifyCmd && onFrr) {
    return frr::verifyCommand(*scenario, shownName(file), json, daemon, out, err);
  }
  if (used == verifyCmd) {
    const TextWriter::Form form = names ? TextWriter::Form::readable : TextWriter::Form::numeric;
    return json ? verifyJson(*scenario, shownName(file), form, out) : verify(*scenario, form, out);
  }
  if (onFrr) {
    frr::RunOptions frrRun;
    frrRun.format = json ? frr::RunFormat::jsonl : frr::RunFormat::text;
    frrRun.tags = tagForm;
    frrRun.withState = withState;
    frrRun.numeric = numeric;
    frrRun.diff = diff;
    return frr::runCommand(*scenario, shownName(file), frrRun, daemon, out, err);
  }
  RunOptions options;
  options.format = json ? Format::jsonl : Format::text;
  options.tags = tagForm;
  options.withState = withState;
  options.numeric = numeric;
  options.diff = diff;
  return runScenario(*scenario, options, out);
}

}  // namespace ribpolicy
