// Checks the incremental run against fresh starts: after every step where all inputs are
// attached, a new set of entities, a new root and a new engine model start on that step's
// configuration, and their committed engine tree and policy-reference map must equal the
// ones the incremental run reached.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "framework/config/PolicyMap.h"
#include "framework/rib/EngineModel.h"
#include "tools/ribpolicy/format/Scenario.h"

namespace ribpolicy {

// How a state differs from a fresh start's: the committed engine trees (left: the state,
// right: the fresh start), kept as data for the views to name, and the policy-reference maps,
// one line each.
struct FreshStartDifferences {
  std::vector<Rib::EngineModel::Difference> engine;
  std::vector<std::string> policyMap;

  bool empty() const { return engine.empty() && policyMap.empty(); }
};

struct StepVerdict {
  std::size_t step = 0;  // 1-based
  bool skipped = false;  // some input was detached after the step
  FreshStartDifferences differences;
};

// Runs the scenario and compares after every step.
std::vector<StepVerdict> verifyScenario(const Scenario& scenario);

// Starts a new set of entities, a new root and a new engine model on `config` and shows the
// committed engine tree and the policy-reference map they reach to `inspect`, before they go.
using FreshStartInspector = std::function<void(const Rib::EngineModel::Node& engine,
                                               const RoutingPolicyMap::PolicyMap& policyMap)>;
void withFreshStart(const std::string& vrf, const ScenarioConfig& config,
                    const FreshStartInspector& inspect);

// The differences between the incremental state (left) and a fresh start on `config` (right).
FreshStartDifferences compareWithFreshStart(const std::string& vrf, const ScenarioConfig& config,
                                            const Rib::EngineModel::Node& engine,
                                            const RoutingPolicyMap::PolicyMap& policyMap);

// The differences between two policy-reference maps, one line each, in name order.
std::vector<std::string> policyMapDifferences(const RoutingPolicyMap::PolicyMap& left,
                                              const RoutingPolicyMap::PolicyMap& right);

}  // namespace ribpolicy
