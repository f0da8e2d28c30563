#include "RoutingPolicyMap/UpdatePolicyMap.h"

#include "framework/vox/Fatal.h"

namespace RoutingPolicyMap {

namespace {

using Create = Vox::Ptr<PolicyRequester> (PolicyMap::*)(const std::string&);
using Find = Vox::Ptr<PolicyRequester> (PolicyMap::*)(std::string_view) const;
using Delete = void (PolicyMap::*)(const std::string&);

struct Ops {
  Create create;
  Find find;
  Delete del;
};

Ops opsOf(PolicyType type) {
  switch (type) {
    case routeMapPolicy:
      return {&PolicyMap::routeMapIs, &PolicyMap::routeMap, &PolicyMap::routeMapDel};
    case dynamicPrefixListPolicy:
      return {&PolicyMap::dynamicPrefixListIs, &PolicyMap::dynamicPrefixList,
              &PolicyMap::dynamicPrefixListDel};
    case redistributedDynPfxPolicy:
      return {&PolicyMap::redistributedDynPfxIs, &PolicyMap::redistributedDynPfx,
              &PolicyMap::redistributedDynPfxDel};
  }
  Vox::assertionFailed("0 && \"Invalid PolicyType\"");
}

}  // namespace

void updatePolicyMap(PolicyType type, PluginType plugin, CliMode mode, const std::string& configCli,
                     const std::string& configKey, const Vox::Ptr<PolicyMap>& policyMap,
                     const std::string& policyName, bool isDelete) {
  const Ops ops = opsOf(type);
  PolicyMap& map = *Vox::validPtr(policyMap);
  const Requester reason{plugin, mode, configCli, configKey};
  if (isDelete) {
    Vox::Ptr<PolicyRequester> entity = (map.*ops.find)(policyName);
    // Only the withdrawal of a reason the entity holds may remove it: an entity is entered (and
    // its creation notified, which may withdraw references elsewhere) before its first reason
    // is added, and must not be removed for a reason it never had in between.
    if (!entity || entity->reason().count(reason) == 0) return;
    entity->reasonDel(reason);
    if (entity->empty()) (map.*ops.del)(policyName);
    return;
  }
  (map.*ops.create)(policyName)->reasonIs(reason, true);
}

}  // namespace RoutingPolicyMap
