// The one writer of the policy-reference map.
//
// Route-map sequences and dynamic prefix lists record what they refer to through
// `updatePolicyMap`, so nested references are counted the same way everywhere: each reason
// is kept per requester, and an entity leaves the map with its last reason.
#pragma once

#include <string>

#include "framework/config/PolicyMap.h"
#include "framework/vox/Ptr.h"

namespace RoutingPolicyMap {

// The configuration-clause texts of route-map references.
inline constexpr const char* pmapRmapNestedV4Dpl = "match ipv4 address dynamic prefix-list";
inline constexpr const char* pmapRmapNestedV6Dpl = "match ipv6 address dynamic prefix-list";
inline constexpr const char* pmapRmapNestedRmap = "sub-route-map";
// The configuration-clause text of a dynamic prefix list's match map.
inline constexpr const char* pmapDplNestedRmap = "dynamic prefix-list match-map";

// Adds (isDelete false) or withdraws (isDelete true) the reason (plugin, mode, configCli,
// configKey) for `policyName` of policy type `type`. A withdrawal that leaves the entity
// without reasons removes it; a withdrawal for an absent entity does nothing. A type other
// than 0, 1 or 2 is fatal.
void updatePolicyMap(PolicyType type, PluginType plugin, CliMode mode, const std::string& configCli,
                     const std::string& configKey, const Vox::Ptr<PolicyMap>& policyMap,
                     const std::string& policyName, bool isDelete);

}  // namespace RoutingPolicyMap
