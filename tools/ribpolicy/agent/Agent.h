// The part of the surrounding agent that the library sees: the configuration entities, the
// policy-reference map and the root.
//
// The first step fills empty entities and only then creates the root, names the VRF and
// attaches the inputs, so that the library starts on a configuration that is already there.
// Every later step changes the existing entities in place, the way a configuration agent
// does, so that the library's notifications fire as they would on a device: sections in a
// fixed order, names in ascending byte order, removals first; objects filled entry by entry
// and then versioned; entries that stay changed attribute by attribute.
#pragma once

#include <string>

#include "RibRouteMap/root/Root.h"
#include "framework/config/AclListConfig.h"
#include "framework/config/DynamicPrefixListConfig.h"
#include "framework/config/PolicyMap.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/vox/Ptr.h"
#include "tools/ribpolicy/format/Scenario.h"

namespace ribpolicy {

// The reason under which the rest of the agent holds a policy it refers to.
RoutingPolicyMap::Requester externalReason();

// Keeps the library-wide root pointer as it was when the guard was made. A new root makes
// itself the library-wide one, so a second agent in the same process (the fresh start that
// verify compares with) would otherwise leave the first agent's library talking to the wrong
// root.
class LibraryRootGuard {
 public:
  LibraryRootGuard() : saved_(RibRouteMap::rmRoot) {}
  ~LibraryRootGuard() { RibRouteMap::rmRoot = saved_; }
  LibraryRootGuard(const LibraryRootGuard&) = delete;
  LibraryRootGuard& operator=(const LibraryRootGuard&) = delete;

 private:
  Vox::Ptr<RibRouteMap::Root> saved_;
};

class Agent {
 public:
  explicit Agent(std::string vrf);
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;
  // Tears the library's VRF state down (see teardown).
  ~Agent();

  // Brings the entities to `config` and the root's inputs to `inputs`. The first call also
  // creates the root, after the entities are filled.
  void applyStep(const ScenarioConfig& config, const InputSet& inputs);

  // Clears an input so that the library deletes its VRF state, then drops the root. The
  // library-wide root pointer is left to the caller, who knows which root it should name.
  void teardown();

  bool started() const { return root_ != nullptr; }
  const InputSet& attached() const { return attached_; }
  const ScenarioConfig& config() const { return current_; }

  const Vox::Ptr<Routing::RouteMap::Config>& routeMapConfig() const { return routeMapConfig_; }
  const Vox::Ptr<Routing::RouteMap::PeerFilterConfig>& peerFilterConfig() const {
    return peerFilterConfig_;
  }
  const Vox::Ptr<Acl::AclListConfig>& aclListConfig() const { return aclListConfig_; }
  const Vox::Ptr<Acl::Config>& aclConfig() const { return aclConfig_; }
  const Vox::Ptr<Acl::AclTypeConfig>& ipAclConfig() const { return ipAclConfig_; }
  const Vox::Ptr<Routing::DynamicPrefixList::Config>& dynPfxListConfig() const {
    return dynPfxListConfig_;
  }
  const Vox::Ptr<RoutingPolicyMap::PolicyMap>& policyMap() const { return policyMap_; }
  const Vox::Ptr<RibRouteMap::Root>& root() const { return root_; }

 private:
  void applyConfig(const ScenarioConfig& from, const ScenarioConfig& to);
  void syncPrefixLists(const ScenarioConfig& from, const ScenarioConfig& to);
  void syncIpv6PrefixLists(const ScenarioConfig& from, const ScenarioConfig& to);
  void syncAsPathLists(const ScenarioConfig& from, const ScenarioConfig& to);
  void syncCommunityLists(const ScenarioConfig& from, const ScenarioConfig& to);
  void syncAccessLists(const ScenarioConfig& from, const ScenarioConfig& to);
  void syncDynamicPrefixLists(const ScenarioConfig& from, const ScenarioConfig& to);
  void syncMaps(const std::map<std::string, MapDef>& from, const std::map<std::string, MapDef>& to,
                bool peerFilters);
  void syncPolicyMap(const PolicyMapDef& from, const PolicyMapDef& to);
  // Sets the root's inputs to exactly `inputs`, in one call.
  void attach(const InputSet& inputs);
  Vox::Ptr<Acl::RuleSet const> ruleSet(const AccessListDef& def);

  std::string vrf_;
  Vox::Ptr<Routing::RouteMap::Config> routeMapConfig_;
  Vox::Ptr<Routing::RouteMap::PeerFilterConfig> peerFilterConfig_;
  Vox::Ptr<Acl::AclListConfig> aclListConfig_;
  Vox::Ptr<Acl::Config> aclConfig_;
  Vox::Ptr<Acl::AclTypeConfig> ipAclConfig_;
  Vox::Ptr<Routing::DynamicPrefixList::Config> dynPfxListConfig_;
  Vox::Ptr<RoutingPolicyMap::PolicyMap> policyMap_;
  Vox::Ptr<RibRouteMap::Root> root_;
  ScenarioConfig current_;
  InputSet attached_;
  Acl::UniqueId nextRuleId_ = 1;
};

}  // namespace ribpolicy
