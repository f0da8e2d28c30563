#include "RibRouteMap/root/Root.h"

#include <utility>

#include "RibRouteMap/community/CommListUsers.h"
#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/mio/Trace.h"
#include "RibRouteMap/root/VrfStatusSm.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

Vox::Ptr<Root> rmRoot;

Vox::Ptr<Root> rootFactory(const Vox::Name& name) {
  return Vox::make<Root>(name);
}

// Every command channel is made here, where the library-wide root is known: the channel takes
// from the root what the commands of a VRF read beyond their arguments, so that neither the
// channel nor a kind of policy object needs the root.
Vox::Ptr<Mio> mioFactory(const L3::VrfName& vrfName) {
  if (!rmRoot) return Vox::make<Mio>(vrfName);
  return Vox::make<Mio>(vrfName, MioContext{rmRoot->vrfName() != vrfName, rmRoot->commListUsers(),
                                            rmRoot->aclListConfig()});
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

void Root::inputsIs(const VrfInputs& v) {
  if (v == inputs_) return;
  const VrfInputs before = std::exchange(inputs_, v);
  handleStatusSmCtorArg();
  const auto changed = [&](const auto& was, const auto& is, void (Notifiee::*on)()) {
    if (was != is) notify([&](Notifiee& n) { (n.*on)(); });
  };
  changed(before.routeMapConfig, v.routeMapConfig, &Notifiee::onRouteMapConfig);
  changed(before.peerFilterConfig, v.peerFilterConfig, &Notifiee::onPeerFilterConfig);
  changed(before.aclListConfig, v.aclListConfig, &Notifiee::onAclListConfig);
  changed(before.aclConfig, v.aclConfig, &Notifiee::onAclConfig);
  changed(before.dynPfxListConfig, v.dynPfxListConfig, &Notifiee::onDynPfxListConfig);
  changed(before.policyMap, v.policyMap, &Notifiee::onPolicyMap);
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
