// A small agent for library tests: the configuration entities, the policy-reference map and a
// root wired together, with every operation recorded and applied to an engine model.
#pragma once

#include <string>
#include <vector>

#include "RibRouteMap/root/Root.h"
#include "framework/rib/MioSink.h"

namespace testing_support {

class Agent {
 public:
  explicit Agent(std::string vrf = "default", bool attach = true);
  ~Agent();

  // Attaches every input in the agent's order; the last one builds the VRF state.
  void attachAll();
  // Takes the recorded lines and forgets them.
  std::vector<std::string> take();

  Vox::Ptr<Routing::RouteMap::Map> addMap(const std::string& name);

  Vox::Ptr<Routing::RouteMap::Config> routeMapConfig = Vox::make<Routing::RouteMap::Config>();
  Vox::Ptr<Routing::RouteMap::PeerFilterConfig> peerFilterConfig =
      Vox::make<Routing::RouteMap::PeerFilterConfig>();
  Vox::Ptr<Acl::AclListConfig> aclListConfig = Vox::make<Acl::AclListConfig>();
  Vox::Ptr<Acl::Config> aclConfig = Vox::make<Acl::Config>();
  Vox::Ptr<Routing::DynamicPrefixList::Config> dplConfig =
      Vox::make<Routing::DynamicPrefixList::Config>();
  Vox::Ptr<RoutingPolicyMap::PolicyMap> policyMap = Vox::make<RoutingPolicyMap::PolicyMap>();
  Vox::Ptr<RibRouteMap::Root> root;
  Rib::Recorder recorder;
  Rib::EngineModel model;

 private:
  std::string vrf_;
  Rib::TeeSink tee_{{&recorder, &model}};
  Rib::ScopedSink sink_{&tee_};
};

// A map entry of `seqno` with `permit`.
Vox::Ptr<Routing::RouteMap::MapEntry> entry(U32 seqno, Acl::MatchPermit permit = Acl::permit);

// What the filter-list start-up sends when no AS-path list is configured: the dialect is
// switched around an empty sync commit, then the (empty) AS-path pass commits.
std::vector<std::string> filterListStartUp();
// Everything an agent with an empty configuration receives at start-up.
std::vector<std::string> emptyStartUp();

// The lines of removing every internal community object of one sequence.
std::vector<std::string> seqCommCleanup(const std::string& map, U32 seqno);

// Concatenates line blocks.
std::vector<std::string> join(std::initializer_list<std::vector<std::string>> blocks);

}  // namespace testing_support
