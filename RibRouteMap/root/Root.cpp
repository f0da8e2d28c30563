#include "RibRouteMap/root/Root.h"

#include "RibRouteMap/mio/Trace.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

Vox::Ptr<Root> rmRoot;

Vox::Ptr<Root> rootFactory(const Vox::Name& name) {
  return Vox::make<Root>(name);
}

// --- VrfStatusSm ------------------------------------------------------------------------

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

// --- Root -------------------------------------------------------------------------------

Root::Root(Vox::Name name) : name_(std::move(name)) {
  handleInitialized();
}

Root::~Root() = default;

void Root::handleInitialized() {
  RM_TRACE(traceHandler, "void RibRouteMap::Root::handleInitialized()");
  commListUsersIs("comm-list-users");
  initializedIs(true);
  rmRoot = Vox::Ptr<Root>(this);
}

void Root::vrfNameIs(const L3::VrfName& v) {
  if (v == vrfName_) return;
  vrfName_ = v;
  notify([](Notifiee& n) { n.onVrfName(); });
}

template <class T>
void Root::configIs(T& member, const T& value, void (Notifiee::*on)()) {
  if (member == value) return;
  member = value;
  handleStatusSmCtorArg();
  notify([&](Notifiee& n) { (n.*on)(); });
}

void Root::routeMapConfigIs(const RouteMapConfigPtr& v) {
  configIs(inputs_.routeMapConfig, v, &Notifiee::onRouteMapConfig);
}
void Root::peerFilterConfigIs(const PeerFilterConfigPtr& v) {
  configIs(inputs_.peerFilterConfig, v, &Notifiee::onPeerFilterConfig);
}
void Root::aclListConfigIs(const AclListConfigPtr& v) {
  configIs(inputs_.aclListConfig, v, &Notifiee::onAclListConfig);
}
void Root::aclConfigIs(const AclConfigPtr& v) {
  configIs(inputs_.aclConfig, v, &Notifiee::onAclConfig);
}
void Root::dynPfxListConfigIs(const DynPfxListConfigPtr& v) {
  configIs(inputs_.dynPfxListConfig, v, &Notifiee::onDynPfxListConfig);
}
void Root::policyMapIs(const PolicyMapPtr& v) {
  configIs(inputs_.policyMap, v, &Notifiee::onPolicyMap);
}

void Root::commListUsersIs(const Vox::Name& name) {
  if (commListUsers_ && commListUsers_->name() == name) return;
  configIs(commListUsers_, Vox::make<CommListUsers>(name), &Notifiee::onCommListUsers);
}

void Root::commListUsersDel() {
  configIs(commListUsers_, Vox::Ptr<CommListUsers>(), &Notifiee::onCommListUsers);
}

void Root::handleStatusSmCtorArg() {
  RM_TRACE(traceHandler, "void RibRouteMap::Root::handleStatusSmCtorArg()"
                             << " vrfName is " << vrfName_);
  // The VRF name is not part of the test: a state may start before the agent names the VRF.
  if (inputs_.complete() && commListUsers_) {
    RM_TRACE(traceHandler, "void RibRouteMap::Root::handleStatusSmCtorArg()"
                               << ": created vrfStatusSm");
    vrfStatusSmIs(vrfName_, inputs_);
  } else {
    vrfStatusSmDel();
  }
}

void Root::vrfStatusSmIs(const L3::VrfName& vrfName, const VrfInputs& inputs) {
  if (vrfStatusSm_ && vrfStatusSm_->vrfName() == vrfName && vrfStatusSm_->inputs() == inputs) {
    return;
  }
  // The old state goes before the new one starts, so the engine never sees two owners of the
  // same policy objects.
  vrfStatusSmDel();
  vrfStatusSm_ = Vox::validPtr(Vox::make<VrfStatusSm>(vrfName, inputs));
  notify([](Notifiee& n) { n.onVrfStatusSm(); });
}

void Root::vrfStatusSmDel() {
  if (!vrfStatusSm_) return;
  Vox::Ptr<VrfStatusSm> old = std::move(vrfStatusSm_);
  vrfStatusSm_ = nullptr;
  old->voxDoZombieReactors(true);
  notify([](Notifiee& n) { n.onVrfStatusSm(); });
}

}  // namespace RibRouteMap
