// The per-VRF state: the configuration state machines of one VRF, built by the root.
#pragma once

#include "RibDynamicPrefixList/DynPfxConfigSm.h"
#include "RibRouteMap/acl/AclConfigSm.h"
#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "RibRouteMap/peerfilter/PeerFilterConfigSm.h"
#include "RibRouteMap/root/Root.h"
#include "RibRouteMap/routemap/RouteMapConfigSm.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/Reactor.h"

namespace RibRouteMap {

// The per-VRF state: owns the configuration state machines of one VRF. It exists exactly
// while all of the Root's inputs are set.
class VrfStatusSm : public Vox::Reactor {
 public:
  VrfStatusSm(L3::VrfName vrfName, VrfInputs inputs);
  ~VrfStatusSm() override;

  const L3::VrfName& vrfName() const { return vrfName_; }
  const VrfInputs& inputs() const { return inputs_; }

  // The configuration state machines, built in this order at start-up.
  RouteMapConfigSm* routeMapConfigSm() const { return routeMapConfigSm_.get(); }
  void routeMapConfigSmIs(const RouteMapConfigPtr& config, const L3::VrfName& vrfName,
                          const PolicyMapPtr& policyMap);
  void routeMapConfigSmDel() { routeMapConfigSm_.reset(); }
  PeerFilterConfigSm* peerFilterConfigSm() const { return peerFilterConfigSm_.get(); }
  void peerFilterConfigSmIs(const PeerFilterConfigPtr& config, const L3::VrfName& vrfName);
  void peerFilterConfigSmDel() { peerFilterConfigSm_.reset(); }
  AclListConfigSm* aclListConfigSm() const { return aclListConfigSm_.get(); }
  void aclListConfigSmIs(const AclListConfigPtr& config, const L3::VrfName& vrfName);
  void aclListConfigSmDel() { aclListConfigSm_.reset(); }
  AclConfigSm* aclConfigSm() const { return aclConfigSm_.get(); }
  void aclConfigSmIs(const AclConfigPtr& config, const L3::VrfName& vrfName);
  void aclConfigSmDel() { aclConfigSm_.reset(); }
  RibDynamicPrefixList::DynPfxConfigSm* dynPfxConfigSm() const { return dynPfxConfigSm_.get(); }
  void dynPfxConfigSmIs(const DynPfxListConfigPtr& config, const PolicyMapPtr& policyMap);
  void dynPfxConfigSmDel() { dynPfxConfigSm_.reset(); }

  void handleInitialized();

 private:
  // Installs a newly built state machine and switches its notifications on.
  template <class Sm>
  static void start(Vox::ReactorSlot<Sm>& slot, const Vox::Ptr<Sm>& sm) {
    slot.set(sm);
    sm->hasNotificationActiveIs(true);
  }

  L3::VrfName vrfName_;
  VrfInputs inputs_;
  Vox::ReactorSlot<RouteMapConfigSm> routeMapConfigSm_{this};
  Vox::ReactorSlot<PeerFilterConfigSm> peerFilterConfigSm_{this};
  Vox::ReactorSlot<AclListConfigSm> aclListConfigSm_{this};
  Vox::ReactorSlot<AclConfigSm> aclConfigSm_{this};
  Vox::ReactorSlot<RibDynamicPrefixList::DynPfxConfigSm> dynPfxConfigSm_{this};
};

}  // namespace RibRouteMap
