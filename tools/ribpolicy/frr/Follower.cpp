#include "tools/ribpolicy/frr/Follower.h"

#include "tools/ribpolicy/agent/Verify.h"
#include "tools/ribpolicy/frr/Translate.h"

namespace frr {

Config freshTranslation(const std::string& vrf, const ribpolicy::ScenarioConfig& config) {
  Config fresh;
  ribpolicy::withFreshStart(
      vrf, config, [&](const Rib::EngineModel::Node& engine, const RoutingPolicyMap::PolicyMap&) {
        fresh = translate(engine).config;
      });
  return fresh;
}

std::vector<std::string> Follower::stepDone(const std::string& vrf,
                                            const ribpolicy::ScenarioConfig& config, bool compare) {
  sink_.stepDone();
  if (!compare || sink_.failure()) return {};
  const Config fresh = freshTranslation(vrf, config);
  const std::string n = std::to_string(sink_.step());
  const Config incremental = sink_.holds();
  if (!sink_.bringTo(fresh, "the fresh start of step " + n + " on the wiped daemon", true)) {
    return {};
  }
  std::vector<std::string> out = differences(incremental, fresh, "incremental", "fresh");
  sink_.bringTo(incremental, "the return to the incremental state after step " + n);
  return out;
}

}  // namespace frr
