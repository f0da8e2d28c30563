#include "tools/ribpolicy/views/DiffCommand.h"

#include <charconv>
#include <filesystem>
#include <sstream>
#include <vector>

#include "RibText/JsonWriter.h"
#include "framework/rib/EngineModel.h"
#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/Cli.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/views/Diff.h"
#include "tools/ribpolicy/views/TextWriter.h"

namespace ribpolicy {

namespace {

// What `diff` compares: a step of a loaded scenario.
struct DiffSide {
  std::string shown;  // FILE:N
  const Step* step = nullptr;
};

// The step `input` names, or nothing with the error said.
std::optional<DiffSide> diffSide(const DiffInput& input, std::ostream& err) {
  const std::size_t steps = input.scenario.steps.size();
  if (input.step && (*input.step == 0 || *input.step > steps)) {
    err << "ribpolicy: error: diff: " << input.shown << " has " << steps
        << (steps == 1 ? " step" : " steps") << ", not " << *input.step << '\n';
    return std::nullopt;
  }
  const std::size_t number = input.step.value_or(steps);
  return DiffSide{input.shown + ':' + std::to_string(number), &input.scenario.steps[number - 1]};
}

int diffSteps(const DiffSide& before, const DiffSide& after, const std::string& vrf,
              const DiffOptions& options, std::ostream& out) {
  LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  Agent agent(vrf);
  {
    Rib::ScopedSink sink(&model);
    agent.applyStep(before.step->config, before.step->inputs);
  }
  const Rib::EngineModel::Node old = model.committed();
  const auto form = options.numeric ? TextWriter::Form::numeric : TextWriter::Form::readable;
  std::ostringstream ops;
  TextWriter text(ops, form);
  RibText::JsonLinesWriter jsonl(ops, options.tags);
  Rib::TeeSink tee({&model, options.json ? static_cast<Rib::MioSink*>(&jsonl) : &text});
  {
    Rib::ScopedSink sink(&tee);
    agent.applyStep(after.step->config, after.step->inputs);
    if (!options.json) text.stepDone();
  }
  const std::vector<NodeChange> changes = engineDiff(old, model.committed());
  if (options.json) {
    RibText::JsonWriter j;
    j.open('{');
    j.member("old").string(before.shown);
    j.member("new").string(after.shown);
    j.member("same").boolean(changes.empty());
    j.member("operations").open('[');
    std::istringstream lines(ops.str());
    for (std::string line; std::getline(lines, line);) j.item().raw(line);
    j.close(']');
    writeDiff(j.member("diff"), changes, options.tags);
    j.close('}');
    out << j.text() << '\n';
  } else {
    out << "diff " << before.shown << " -> " << after.shown << "\n\noperations\n"
        << ops.str() << "\nnet change\n";
    for (const NodeChange& c : changes) out << diffLine(c, form) << '\n';
    if (changes.empty()) out << "       (no change)\n";
  }
  Rib::DiscardingSink dropped;
  Rib::ScopedSink quiet(&dropped);
  agent.teardown();
  return changes.empty() ? kExitOk : kExitDifferent;
}

}  // namespace

StepRef stepRef(const std::string& arg) {
  const auto colon = arg.rfind(':');
  if (colon == std::string::npos || colon + 1 == arg.size() || std::filesystem::exists(arg)) {
    return {arg, std::nullopt};
  }
  std::size_t step = 0;
  const char* const end = arg.data() + arg.size();
  const auto parsed = std::from_chars(arg.data() + colon + 1, end, step);
  if (parsed.ec != std::errc() || parsed.ptr != end) return {arg, std::nullopt};
  return {arg.substr(0, colon), step};
}

int diffCommand(const DiffInput& before, const DiffInput& after, const DiffOptions& options,
                std::ostream& out, std::ostream& err) {
  const std::optional<DiffSide> oldSide = diffSide(before, err);
  const std::optional<DiffSide> newSide = diffSide(after, err);
  if (!oldSide || !newSide) return kExitBadInput;
  if (before.scenario.vrf != after.scenario.vrf) {
    err << "ribpolicy: error: diff: " << oldSide->shown << " is of VRF " << before.scenario.vrf
        << ", " << newSide->shown << " of VRF " << after.scenario.vrf << '\n';
    return kExitBadInput;
  }
  return diffSteps(*oldSide, *newSide, before.scenario.vrf, options, out);
}

}  // namespace ribpolicy
