#include "tools/ribpolicy/agent/Transients.h"

#include "framework/rib/EngineModel.h"
#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/views/Transient.h"

namespace ribpolicy {

std::vector<Warning> transientWarnings(const Scenario& scenario) {
  std::vector<Warning> out;
  if (scenario.steps.size() < 2) return out;
  LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  TransientWatch watch(model);
  Rib::TeeSink tee({&model, &watch});
  Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&tee);
    Rib::EngineModel::Node before;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      const Step& step = scenario.steps[i];
      watch.stepBegins(before);
      agent.applyStep(step.config, step.inputs);
      for (const TransientObject& t : watch.stepDone()) {
        out.push_back({i + 1, step.marks.step, transientMessage(t), WarningClass::transient});
      }
      before = model.committed();
    }
  }
  Rib::DiscardingSink dropped;
  Rib::ScopedSink quiet(&dropped);
  agent.teardown();
  return out;
}

}  // namespace ribpolicy
