#include "RibRouteMap/root/Root.h"

#include "RibRouteMap/root/Trace.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

Vox::Ptr<Root> rmRoot;

Vox::Ptr<Root> rootFactory(const Vox::Name& name) {
  return Vox::make<Root>(name);
}

// --- VrfStatusSm ------------------------------------------------------------------------

VrfStatusSm::VrfStatusSm(L3::VrfName vrfName, RouteMapConfigPtr routeMapConfig,
                         PeerFilterConfigPtr peerFilterConfig, AclListConfigPtr aclListConfig,
                         AclConfigPtr aclConfig, DynPfxListConfigPtr dynPfxListConfig,
                         PolicyMapPtr policyMap)
    : vrfName_(std::move(vrfName)),
      routeMapConfig_(std::move(routeMapConfig)),
      peerFilterConfig_(std::move(peerFilterConfig)),
      aclListConfig_(std::move(aclListConfig)),
      aclConfig_(std::move(aclConfig)),
      dynPfxListConfig_(std::move(dynPfxListConfig)),
      policyMap_(std::move(policyMap)) {
  handleInitialized();
}

VrfStatusSm::~VrfStatusSm() = default;

bool VrfStatusSm::sameInputs(const L3::VrfName& vrfName, const RouteMapConfigPtr& routeMapConfig,
                             const PeerFilterConfigPtr& peerFilterConfig,
                             const AclListConfigPtr& aclListConfig, const AclConfigPtr& aclConfig,
                             const DynPfxListConfigPtr& dynPfxListConfig,
                             const PolicyMapPtr& policyMap) const {
  return vrfName_ == vrfName && routeMapConfig_ == routeMapConfig &&
         peerFilterConfig_ == peerFilterConfig && aclListConfig_ == aclListConfig &&
         aclConfig_ == aclConfig && dynPfxListConfig_ == dynPfxListConfig &&
         policyMap_ == policyMap;
}

void VrfStatusSm::handleInitialized() {
  RM_TRACE(traceHandler, "void RibRouteMap::VrfStatusSm::handleInitialized()");
  // Children take the root's VRF name, so every command channel of this VRF passes the
  // root's check.
  const L3::VrfName vrf = rmRoot ? rmRoot->vrfName() : vrfName_;
  // In a fixed order: route maps, peer filters, filter lists, access lists, dynamic prefix
  // lists.
  routeMapConfigSmIs(routeMapConfig_, vrf, policyMap_);
  peerFilterConfigSmIs(peerFilterConfig_, vrf);
  aclListConfigSmIs(aclListConfig_, vrf);
  aclConfigSmIs(aclConfig_, vrf);
  // Last: the other machines' start-up has entered their references in the policy map by now,
  // so the dynamic prefix lists they refer to are sent at once.
  dynPfxConfigSmIs(dynPfxListConfig_, policyMap_);
  initializedIs(true);
}

void VrfStatusSm::routeMapConfigSmIs(const RouteMapConfigPtr& config, const L3::VrfName& vrfName,
                                     const PolicyMapPtr& policyMap) {
  auto sm = routeMapConfigSmFactory(config, vrfName, policyMap);
  routeMapConfigSm_.set(sm);
  sm->hasNotificationActiveIs(true);
}

void VrfStatusSm::routeMapConfigSmDel() {
  routeMapConfigSm_.reset();
}

void VrfStatusSm::peerFilterConfigSmIs(const PeerFilterConfigPtr& config,
                                       const L3::VrfName& vrfName) {
  auto sm = peerFilterConfigSmFactory(config, vrfName);
  peerFilterConfigSm_.set(sm);
  sm->hasNotificationActiveIs(true);
}

void VrfStatusSm::peerFilterConfigSmDel() {
  peerFilterConfigSm_.reset();
}

void VrfStatusSm::aclConfigSmIs(const AclConfigPtr& config, const L3::VrfName& vrfName) {
  auto sm = aclConfigSmFactory(config, vrfName);
  aclConfigSm_.set(sm);
  sm->hasNotificationActiveIs(true);
}

void VrfStatusSm::aclConfigSmDel() {
  aclConfigSm_.reset();
}

void VrfStatusSm::dynPfxConfigSmIs(const DynPfxListConfigPtr& config,
                                   const PolicyMapPtr& policyMap) {
  auto sm = RibDynamicPrefixList::dynPfxConfigSmFactory(config, policyMap);
  dynPfxConfigSm_.set(sm);
  sm->hasNotificationActiveIs(true);
}

void VrfStatusSm::dynPfxConfigSmDel() {
  dynPfxConfigSm_.reset();
}

void VrfStatusSm::aclListConfigSmIs(const AclListConfigPtr& config, const L3::VrfName& vrfName) {
  auto sm = aclListConfigSmFactory(config, vrfName);
  aclListConfigSm_.set(sm);
  sm->hasNotificationActiveIs(true);
}

void VrfStatusSm::aclListConfigSmDel() {
  aclListConfigSm_.reset();
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
  configIs(routeMapConfig_, v, &Notifiee::onRouteMapConfig);
}
void Root::peerFilterConfigIs(const PeerFilterConfigPtr& v) {
  configIs(peerFilterConfig_, v, &Notifiee::onPeerFilterConfig);
}
void Root::aclListConfigIs(const AclListConfigPtr& v) {
  configIs(aclListConfig_, v, &Notifiee::onAclListConfig);
}
void Root::aclConfigIs(const AclConfigPtr& v) {
  configIs(aclConfig_, v, &Notifiee::onAclConfig);
}
void Root::dynPfxListConfigIs(const DynPfxListConfigPtr& v) {
  configIs(dynPfxListConfig_, v, &Notifiee::onDynPfxListConfig);
}
void Root::policyMapIs(const PolicyMapPtr& v) {
  configIs(policyMap_, v, &Notifiee::onPolicyMap);
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
  if (routeMapConfig_ && peerFilterConfig_ && aclListConfig_ && aclConfig_ && commListUsers_ &&
      dynPfxListConfig_ && policyMap_) {
    RM_TRACE(traceHandler, "void RibRouteMap::Root::handleStatusSmCtorArg()"
                               << ": created vrfStatusSm");
    vrfStatusSmIs(vrfName_, routeMapConfig_, peerFilterConfig_, aclListConfig_, aclConfig_,
                  dynPfxListConfig_, policyMap_);
  } else {
    vrfStatusSmDel();
  }
}

void Root::vrfStatusSmIs(const L3::VrfName& vrfName, const RouteMapConfigPtr& routeMapConfig,
                         const PeerFilterConfigPtr& peerFilterConfig,
                         const AclListConfigPtr& aclListConfig, const AclConfigPtr& aclConfig,
                         const DynPfxListConfigPtr& dynPfxListConfig,
                         const PolicyMapPtr& policyMap) {
  if (vrfStatusSm_ &&
      vrfStatusSm_->sameInputs(vrfName, routeMapConfig, peerFilterConfig, aclListConfig, aclConfig,
                               dynPfxListConfig, policyMap)) {
    return;
  }
  // The old state goes before the new one starts, so the engine never sees two owners of the
  // same policy objects.
  vrfStatusSmDel();
  vrfStatusSm_ =
      Vox::validPtr(Vox::make<VrfStatusSm>(vrfName, routeMapConfig, peerFilterConfig, aclListConfig,
                                           aclConfig, dynPfxListConfig, policyMap));
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
