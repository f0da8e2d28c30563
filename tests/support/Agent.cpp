#include "tests/support/Agent.h"

namespace testing_support {

Agent::Agent(std::string vrf, bool attach) : vrf_(std::move(vrf)) {
  root = RibRouteMap::rootFactory("test");
  root->vrfNameIs(L3::VrfName(vrf_));
  if (attach) attachAll();
}

Agent::~Agent() {
  // Tear the VRF state down while the sink is still installed, then forget the root.
  if (root) root->routeMapConfigIs(nullptr);
  if (RibRouteMap::rmRoot == root) RibRouteMap::rmRoot = nullptr;
}

void Agent::attachAll() {
  root->routeMapConfigIs(routeMapConfig);
  root->peerFilterConfigIs(peerFilterConfig);
  root->aclListConfigIs(aclListConfig);
  root->aclConfigIs(aclConfig);
  root->dynPfxListConfigIs(dplConfig);
  root->policyMapIs(policyMap);
}

std::vector<std::string> Agent::take() {
  auto lines = recorder.lines();
  recorder.clear();
  return lines;
}

Vox::Ptr<Routing::RouteMap::Map> Agent::addMap(const std::string& name) {
  auto map = Vox::make<Routing::RouteMap::Map>(name);
  routeMapConfig->routeMapIs(map);
  return map;
}

Vox::Ptr<Routing::RouteMap::MapEntry> entry(U32 seqno, Acl::MatchPermit permit) {
  auto e = Vox::make<Routing::RouteMap::MapEntry>(seqno);
  e->permitIs(permit);
  return e;
}

std::vector<std::string> filterListStartUp() {
  return {"deleteAsPathList 512/534/535=\"/policy/asplist not_a_funny_name\" del",
          "commit op",
          "commit",
          "AsPathRegexMode 256 scalars{16:u32=1}",
          "commit",
          "commit",
          "commit"};
}

std::vector<std::string> emptyStartUp() {
  return join({{"RouteMapSetOpMode 256 scalars{18:u32=0}", "commit"}, filterListStartUp()});
}

std::vector<std::string> seqCommCleanup(const std::string& map, U32 seqno) {
  const std::string ms = map + std::to_string(seqno);
  return {
      "delCommunityList 512/528/529=\"/policy/commlist .cl" + ms + "ar\" del",  "commit",
      "delCommunitySet 512/524/525=\"/policy/commset .cs" + ms + "ar\" del",    "commit",
      "delCommunityList 512/528/529=\"/policy/commlist .cl" + ms + "del\" del", "commit",
      "delCommunitySet 512/524/525=\"/policy/commset .cs" + ms + "del\" del",   "commit",
      "delCommunitySet 512/526/527=\"/policy/commset .e" + ms + "\" del",       "commit",
      "delCommunitySet 512/631/632=\"/policy/commset .l" + ms + "\" del",       "commit",
  };
}

std::vector<std::string> join(std::initializer_list<std::vector<std::string>> blocks) {
  std::vector<std::string> out;
  for (const auto& b : blocks) out.insert(out.end(), b.begin(), b.end());
  return out;
}

}  // namespace testing_support
