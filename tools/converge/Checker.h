// Runs a scenario through the agent and holds the library, after every step, to what it
// promises (Promises.h).
//
// After a step that leaves every input attached, a fresh start on the step's configuration
// is compared with the incremental run, as `ribpolicy verify` does. When the step asks for
// exact convergence, the engine trees and the policy-reference maps must be equal. Otherwise
// the comparison leaves out what the library does not promise and checks what it does:
// nothing while a change is held back; a stale AS-path list must be deactivated (without
// entries) but is otherwise compared; after changes while detached, the fresh start must be
// contained in the engine and in the policy-reference map, and anything more in the engine
// must be left over from the engine as it was when the input went, belong to an object
// removed while detached, or be a dynamic prefix list held by a left-over reference; dynamic
// prefix lists and policy-map names that a reference cycle reaches are left out.
//
// The run takes place on a thread with a small stack, so that work that grows the stack with
// the depth of nesting shows at a moderate depth instead of only at thousands of levels.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "framework/config/PolicyMap.h"
#include "framework/rib/EngineModel.h"
#include "tools/converge/Promises.h"
#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/frr/Follower.h"

namespace converge {

struct Failure {
  std::size_t step = 0;  // 1-based: the step after which the check failed, or that crashed
  std::string what;      // "differs from a fresh start", "crashed (signal 11: ...)"
  // Where the first difference lies: "engine 512/627" (an engine collection), "engine 256",
  // "policy-map route-maps"; empty for a crash.
  std::string area;
  std::vector<std::string> differences;

  // The kind of failure, what went wrong and where, so that a smaller scenario can be told
  // to fail the same way.
  std::string signature() const;
};

struct CheckResult {
  std::size_t steps = 0;     // steps run
  std::size_t compared = 0;  // steps compared with a fresh start
  std::optional<Failure> failure;
};

struct CheckOptions {
  // Called before each step with its 1-based number.
  std::function<void(std::size_t)> onStep;
  // FRR's bgpd following the run beside the model, cleared of policy first: after every step
  // it must hold the translation, and after a step compared exactly, equal a fresh start on it.
  frr::Follower* frr = nullptr;
};

// What the engine may hold beyond a fresh start after changes while an input was detached.
struct Leftovers {
  std::vector<Rib::EngineModel::Node> snapshots;  // the engine as each re-attach found it
  std::set<std::vector<Rib::PathEntry>> removedObjects;
};

// The engine objects that belong to objects removed while an input was detached: those a
// fresh start has when the removed objects are configured again beside the step's ones.
std::set<std::vector<Rib::PathEntry>> removedObjectPaths(const std::string& vrf,
                                                         const ribpolicy::ScenarioConfig& config,
                                                         const ribpolicy::ScenarioConfig& removed);

struct Comparison {
  std::vector<std::string> differences;
  std::string area;  // as in Failure
};

// The incremental state (`engine`, `policyMap`) against a fresh start on the step's
// configuration, leaving out what `promise` does not cover.
Comparison compareAsPromised(const std::string& vrf, const ribpolicy::Step& step,
                             const StepPromise& promise, const Rib::EngineModel::Node& engine,
                             const RoutingPolicyMap::PolicyMap& policyMap,
                             const Leftovers& leftovers);

CheckResult checkScenario(const ribpolicy::Scenario& scenario, const CheckOptions& options = {});

// The size of the stack the checks run on, in bytes.
std::size_t checkStackBytes();

}  // namespace converge
