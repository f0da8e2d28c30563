// Random scenarios drawn from the subset of equal meaning translate without a gap.
#include <gtest/gtest.h>

#include "tests/support/Harness.h"
#include "tools/converge/Generator.h"
#include "tools/converge/Promises.h"
#include "tools/ribpolicy/frr/Translate.h"

namespace {

// Every step of a subset scenario has an FRR form whole: the translation names nothing.
TEST(FrrSubsetTest, RandomSubsetScenariosHaveNoGaps) {
  converge::GeneratorOptions options;
  options.steps = 8;
  options.frrSubset = true;
  for (std::uint64_t seed = 1; seed <= 100; ++seed) {
    const ribpolicy::Scenario scenario = converge::generateScenario(seed, options);
    const std::vector<converge::StepPromise> promises = converge::promisesOf(scenario);
    ribpolicy::LibraryRootGuard keepRoot;
    Rib::EngineModel model;
    ribpolicy::Agent agent(scenario.vrf);
    {
      Rib::ScopedSink sink(&model);
      for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        agent.applyStep(scenario.steps[i].config, scenario.steps[i].inputs);
        // With an input detached, or after changes while one was, the engine holds what the
        // library left, by design: only a state a fresh start makes is the subset's.
        if (!promises[i].attached || promises[i].leftovers) continue;
        for (const frr::Gap& g : frr::translate(model.committed()).gaps) {
          ADD_FAILURE() << "seed " << seed << " step " << i + 1 << ": " << g.message;
        }
      }
    }
    Rib::ScopedSink quiet(nullptr);
    agent.teardown();
  }
}

}  // namespace
