#include "RibRouteMap/root/VrfStatusSm.h"

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

VrfStatusSm::VrfStatusSm(L3::VrfName vrfName, VrfInputs inputs)
    : vrfName_(std::move(vrfName)), inputs_(std::move(inputs)) {
  handleInitialized();
}

VrfStatusSm::~VrfStatusSm() = default;

void VrfStatusSm::handleInitialized() {
  RM_TRACE(traceHandler, "void RibRouteMap::VrfStatusSm::handleInitialized()");
  // Children take the root's VRF name, so every command channel of this VRF passes the
  // root's check.
  const L3::VrfName vrf = rmRoot ? rmRoot->vrfName() : vrfName_;
  // In a fixed order: route maps, peer filters, filter lists, access lists, dynamic prefix
  // lists.
  routeMapConfigSmIs(inputs_.routeMapConfig, vrf, inputs_.policyMap);
  peerFilterConfigSmIs(inputs_.peerFilterConfig, vrf);
  aclListConfigSmIs(inputs_.aclListConfig, vrf);
  aclConfigSmIs(inputs_.aclConfig, vrf);
  // Last: the other machines' start-up has entered their references in the policy map by now,
  // so the dynamic prefix lists they refer to are sent at once.
  dynPfxConfigSmIs(inputs_.dynPfxListConfig, inputs_.policyMap);
  initializedIs(true);
}

void VrfStatusSm::routeMapConfigSmIs(const RouteMapConfigPtr& config, const L3::VrfName& vrfName,
                                     const PolicyMapPtr& policyMap) {
  start(routeMapConfigSm_, routeMapConfigSmFactory(config, vrfName, policyMap));
}

void VrfStatusSm::peerFilterConfigSmIs(const PeerFilterConfigPtr& config,
                                       const L3::VrfName& vrfName) {
  start(peerFilterConfigSm_, peerFilterConfigSmFactory(config, vrfName));
}

void VrfStatusSm::aclListConfigSmIs(const AclListConfigPtr& config, const L3::VrfName& vrfName) {
  start(aclListConfigSm_, aclListConfigSmFactory(config, vrfName));
}

void VrfStatusSm::aclConfigSmIs(const AclConfigPtr& config, const L3::VrfName& vrfName) {
  start(aclConfigSm_, aclConfigSmFactory(config, vrfName));
}

void VrfStatusSm::dynPfxConfigSmIs(const DynPfxListConfigPtr& config,
                                   const PolicyMapPtr& policyMap) {
  start(dynPfxConfigSm_, RibDynamicPrefixList::dynPfxConfigSmFactory(config, policyMap));
}

}  // namespace RibRouteMap
