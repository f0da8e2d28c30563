#include "tools/ribpolicy/frr/Commands.h"

#include <set>
#include <vector>

#include "RibText/JsonLinesWriter.h"
#include "RibText/JsonWriter.h"
#include "framework/rib/EngineModel.h"
#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/Cli.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/frr/Follower.h"
#include "tools/ribpolicy/frr/Names.h"
#include "tools/ribpolicy/frr/Sink.h"
#include "tools/ribpolicy/frr/Translate.h"

#include "tools/ribpolicy/agent/Verify.h"
#include "tools/ribpolicy/views/StateJson.h"
#include "tools/ribpolicy/views/TextWriter.h"

namespace frr {

void located(std::ostream& err, const std::string& shown, ribpolicy::Mark mark, const char* kind,
             const std::string& message) {
  err << shown << ':' << mark.line << ':' << mark.column << ": " << kind << ": " << message << '\n';
}

bool acceptable(const ribpolicy::Scenario& scenario, const std::string& shown, std::ostream& err) {
  const std::optional<Refusal> r = refusal(scenario);
  if (r) located(err, shown, r->mark, "error", r->message);
  return !r;
}

int report(const Failure& f, const std::string& shown, std::ostream& err) {
  err << "ribpolicy: " << (f.kind == Failure::Kind::differs ? "difference" : "error") << ": "
      << shown;
  if (f.step > 0) err << " step " << f.step;
  err << ": " << f.what << '\n';
  for (const std::string& d : f.details) err << "  " << d << '\n';
  return f.kind == Failure::Kind::differs ? ribpolicy::kExitDifferent : ribpolicy::kExitBadInput;
}

namespace {

// "inputs detached: ..." for a step that leaves inputs detached, as the stream's header says.
std::string detachedNote(const ribpolicy::InputSet& inputs) {
  std::string note;
  for (const ribpolicy::Input i : ribpolicy::kAllInputs) {
    if (inputs.has(i)) continue;
    note += note.empty() ? "inputs detached: " : ", ";
    note += ribpolicy::inputName(i);
  }
  return note;
}

}  // namespace

int translateCommand(const ribpolicy::Scenario& scenario, const std::string& shown,
                     std::size_t step, bool everyStep, bool werror, std::ostream& out,
                     std::ostream& err) {
  if (!acceptable(scenario, shown, err)) return ribpolicy::kExitBadInput;
  const std::size_t last = step == 0 ? scenario.steps.size() : step;
  std::string text;
  std::size_t gaps = 0;
  ribpolicy::LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  ribpolicy::Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&model);
    // A gap is reported at the first step of each run of steps that hold it.
    std::set<std::string> before;
    for (std::size_t i = 0; i < last; ++i) {
      const ribpolicy::Step& s = scenario.steps[i];
      agent.applyStep(s.config, s.inputs);
      if (!everyStep && i + 1 < last) continue;
      const Translation t = translate(model.committed());
      if (everyStep) {
        text += "! step " + std::to_string(i + 1) + (s.name.empty() ? "" : ": " + s.name) + '\n';
      }
      text += configText(t.config);
      std::set<std::string> now;
      for (const Gap& g : t.gaps) {
        now.insert(g.message);
        if (before.count(g.message)) continue;
        ++gaps;
        located(err, shown, g.markPath.empty() ? s.marks.step : s.marks.find(g.markPath),
                werror ? "error" : "warning", "no FRR form: " + g.message);
      }
      before = std::move(now);
    }
  }
  Rib::ScopedSink quiet(nullptr);
  agent.teardown();
  if (werror && gaps > 0) return ribpolicy::kExitBadInput;
  out << text;
  return ribpolicy::kExitOk;
}

int runCommand(const ribpolicy::Scenario& scenario, const std::string& shown,
               const RunOptions& options, const DaemonOptions& daemon, std::ostream& out,
               std::ostream& err) {
  if (!acceptable(scenario, shown, err)) return ribpolicy::kExitBadInput;
  const Vtysh vtysh(daemon.pathspace, daemon.timeout);
  Sink frr(vtysh, daemon.perStep);
  if (!frr.open(daemon.replace ? Sink::Held::adopt : Sink::Held::refuse))
    return report(*frr.failure(), shown, err);

  ribpolicy::LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  const auto form = options.numeric ? ribpolicy::TextWriter::Form::numeric
                                    : ribpolicy::TextWriter::Form::readable;
  ribpolicy::TextWriter text(out, form);
  RibText::JsonLinesWriter jsonl(out, options.tags);
  const bool json = options.format == RunFormat::jsonl;
  std::vector<Rib::MioSink*> sinks = {&frr};
  if (options.withState) sinks.push_back(&model);
  if (!options.diff) sinks.push_back(json ? static_cast<Rib::MioSink*>(&jsonl) : &text);
  Rib::TeeSink tee(std::move(sinks));
  ribpolicy::Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&tee);
    for (std::size_t i = 0; i < scenario.steps.size() && !frr.failure(); ++i) {
      const ribpolicy::Step& step = scenario.steps[i];
      frr.stepIs(i + 1);
      if (!json) text.stepIs(i + 1, step.name, detachedNote(step.inputs));
      RibText::JsonWriter line;
      line.open('{');
      line.member("step").number(i + 1);
      line.member("name").string(step.name);
      if (json && !options.diff) out << line.close('}').text() << '\n';
      agent.applyStep(step.config, step.inputs);
      frr.stepDone();
      if (!options.diff) {
        if (!json) text.stepDone();
        continue;
      }
      // The FRR lines the step sent, batch by batch.
      if (json) {
        line.member("frr").open('[');
        for (const std::string& l : frr.sent()) line.item().string(l);
        line.close(']').close('}');
        out << line.text() << '\n';
      } else {
        for (const std::string& l : frr.sent()) out << "  " << l << '\n';
        if (frr.sent().empty()) out << "  (nothing sent)\n";
      }
    }
  }
  if (options.withState && !frr.failure()) {
    if (!json) out << "\nstate\n";
    ribpolicy::writeState(out, model.committed(), *agent.policyMap(), !json,
                          json ? options.tags : RibText::Tags::numbers);
    out << '\n';
  }
  Rib::ScopedSink quiet(nullptr);
  agent.teardown();
  out.flush();
  return frr.failure() ? report(*frr.failure(), shown, err) : ribpolicy::kExitOk;
}

int verifyCommand(const ribpolicy::Scenario& scenario, const std::string& shown, bool json,
                  const DaemonOptions& daemon, std::ostream& out, std::ostream& err) {
  if (!acceptable(scenario, shown, err)) return ribpolicy::kExitBadInput;
  const Vtysh vtysh(daemon.pathspace, daemon.timeout);
  Follower frr(vtysh, daemon.perStep);
  if (!frr.open(daemon.replace ? Sink::Held::adopt : Sink::Held::refuse))
    return report(*frr.failure(), shown, err);

  int status = ribpolicy::kExitOk;
  RibText::JsonWriter j;
  j.open('{');
  j.member("file").string(shown);
  j.member("steps").open('[');
  ribpolicy::LibraryRootGuard keepRoot;
  ribpolicy::Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&frr.sink());
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      const ribpolicy::Step& step = scenario.steps[i];
      frr.stepIs(i + 1);
      agent.applyStep(step.config, step.inputs);
      const bool skipped = !agent.attached().complete();
      const std::vector<std::string> differ = frr.stepDone(scenario.vrf, step.config, !skipped);
      if (frr.failure()) break;
      if (!differ.empty()) status = ribpolicy::kExitDifferent;
      if (json) {
        j.item().open('{');
        j.member("step").number(i + 1);
        j.member("status").string(skipped ? "skipped" : differ.empty() ? "ok" : "differs");
        j.member("differences").open('[');
        for (const std::string& x : differ) j.item().string(x);
        j.close(']').close('}');
        continue;
      }
      out << "step " << i + 1 << ": ";
      if (skipped) {
        out << "skipped (inputs detached)\n";
      } else if (differ.empty()) {
        out << "ok\n";
      } else {
        out << "differs (left: FRR reached incrementally, right: FRR after a fresh start)\n";
        for (const std::string& d : differ) out << "  " << d << '\n';
      }
    }
  }
  Rib::ScopedSink quiet(nullptr);
  agent.teardown();
  if (json) {
    j.close(']').close('}');
    out << j.text() << '\n';
  }
  out.flush();
  return frr.failure() ? report(*frr.failure(), shown, err) : status;
}

}  // namespace frr
