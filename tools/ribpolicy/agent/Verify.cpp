#include "tools/ribpolicy/agent/Verify.h"

#include <set>

#include "RibText/JsonWriter.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/views/StateJson.h"

namespace ribpolicy {

namespace {

std::string reasonsText(const RoutingPolicyMap::PolicyRequester* r) {
  if (!r) return "absent";
  RibText::JsonWriter reasons;
  writeReasons(reasons, *r);
  return reasons.take();
}

void compareColl(const char* what, const RoutingPolicyMap::PolicyMap::Coll& left,
                 const RoutingPolicyMap::PolicyMap::Coll& right, std::vector<std::string>& out) {
  std::set<std::string> names;
  for (const auto& [name, r] : left) names.insert(name);
  for (const auto& [name, r] : right) names.insert(name);
  for (const std::string& name : names) {
    auto l = left.find(name);
    auto r = right.find(name);
    const RoutingPolicyMap::PolicyRequester* lr = l == left.end() ? nullptr : l->second.ptr();
    const RoutingPolicyMap::PolicyRequester* rr = r == right.end() ? nullptr : r->second.ptr();
    if (lr && rr && lr->reason() == rr->reason()) continue;
    std::string line = std::string("policy-map ") + what + ' ';
    RibText::JsonWriter::appendString(line, name);
    out.push_back(line + ": " + reasonsText(lr) + " vs " + reasonsText(rr));
  }
}

}  // namespace

std::vector<std::string> policyMapDifferences(const RoutingPolicyMap::PolicyMap& left,
                                              const RoutingPolicyMap::PolicyMap& right) {
  std::vector<std::string> out;
  compareColl("route-maps", left.routeMap(), right.routeMap(), out);
  compareColl("dynamic-prefix-lists", left.dynamicPrefixList(), right.dynamicPrefixList(), out);
  compareColl("redistributed-dynamic-prefix-lists", left.redistributedDynPfx(),
              right.redistributedDynPfx(), out);
  return out;
}

void withFreshStart(const std::string& vrf, const ScenarioConfig& config,
                    const FreshStartInspector& inspect) {
  // The fresh root replaces the library-wide root while it runs; the guard gives it back to
  // the incremental run afterwards.
  LibraryRootGuard keepRoot;
  Rib::EngineModel fresh;
  Rib::ScopedSink sink(&fresh);
  Agent agent(vrf);
  agent.applyStep(config, InputSet::all());
  inspect(fresh.committed(), *agent.policyMap());
  // Its VRF state goes while its own sink and root are still current, so that whatever the
  // library sends on the way out reaches the fresh model, not the incremental one.
  agent.teardown();
}

FreshStartDifferences compareWithFreshStart(const std::string& vrf, const ScenarioConfig& config,
                                            const Rib::EngineModel::Node& engine,
                                            const RoutingPolicyMap::PolicyMap& policyMap) {
  FreshStartDifferences out;
  withFreshStart(vrf, config,
                 [&](const Rib::EngineModel::Node& fresh, const RoutingPolicyMap::PolicyMap& pm) {
                   out.engine = Rib::EngineModel::differenceList(engine, fresh);
                   out.policyMap = policyMapDifferences(policyMap, pm);
                 });
  return out;
}

std::vector<StepVerdict> verifyScenario(const Scenario& scenario) {
  LibraryRootGuard keepRoot;
  std::vector<StepVerdict> verdicts;
  Rib::EngineModel model;
  Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&model);
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      const Step& step = scenario.steps[i];
      agent.applyStep(step.config, step.inputs);
      StepVerdict v;
      v.step = i + 1;
      if (!agent.attached().complete()) {
        v.skipped = true;
      } else {
        v.differences =
            compareWithFreshStart(scenario.vrf, step.config, model.committed(), *agent.policyMap());
      }
      verdicts.push_back(std::move(v));
    }
  }
  Rib::DiscardingSink dropped;
  Rib::ScopedSink quiet(&dropped);
  agent.teardown();
  return verdicts;
}

}  // namespace ribpolicy
