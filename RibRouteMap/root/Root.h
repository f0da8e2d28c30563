// The library's entry point and its per-VRF state.
//
// The agent creates the Root with `rootFactory`, gives it the VRF name and the configuration
// entities to watch, and the Root builds one VrfStatusSm as soon as all inputs are present;
// clearing any input deletes it with everything it owns, and setting it again rebuilds it
// (whose start-up sends the whole configuration again). The Root also owns the VRF's
// community-list user tracking and is reachable library-wide as `rmRoot`.
#pragma once

#include "framework/config/AclListConfig.h"
#include "framework/config/DynamicPrefixListConfig.h"
#include "framework/config/PolicyMap.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/Entity.h"
#include "framework/vox/Ptr.h"

namespace RibRouteMap {

using RouteMapConfigPtr = Vox::Ptr<Routing::RouteMap::Config const>;
using PeerFilterConfigPtr = Vox::Ptr<Routing::RouteMap::PeerFilterConfig const>;
using AclListConfigPtr = Vox::Ptr<Acl::AclListConfig const>;
using AclConfigPtr = Vox::Ptr<Acl::Config const>;
using DynPfxListConfigPtr = Vox::Ptr<Routing::DynamicPrefixList::Config const>;
using PolicyMapPtr = Vox::Ptr<RoutingPolicyMap::PolicyMap>;

// The configuration entities that one VRF's state is built from: a VRF state exists exactly
// while every one of them is set, and is rebuilt when any of them changes.
struct VrfInputs {
  RouteMapConfigPtr routeMapConfig;
  PeerFilterConfigPtr peerFilterConfig;
  AclListConfigPtr aclListConfig;
  AclConfigPtr aclConfig;
  DynPfxListConfigPtr dynPfxListConfig;
  PolicyMapPtr policyMap;

  bool complete() const {
    return routeMapConfig && peerFilterConfig && aclListConfig && aclConfig && dynPfxListConfig &&
           policyMap;
  }
  friend bool operator==(const VrfInputs&, const VrfInputs&) = default;
};

class CommListUsers;
class VrfStatusSm;

class Root : public Vox::PtrInterface, public Vox::NotifierBase<Root> {
 public:
  class Notifiee : public Vox::NotifieeBase<Root, Notifiee> {
   public:
    virtual void onVrfName() {}
    virtual void onRouteMapConfig() {}
    virtual void onPeerFilterConfig() {}
    virtual void onAclListConfig() {}
    virtual void onAclConfig() {}
    virtual void onCommListUsers() {}
    virtual void onDynPfxListConfig() {}
    virtual void onPolicyMap() {}
    virtual void onVrfStatusSm() {}
  };

  explicit Root(Vox::Name name);
  ~Root() override;

  const Vox::Name& name() const { return name_; }
  const L3::VrfName& vrfName() const { return vrfName_; }
  const VrfInputs& inputs() const { return inputs_; }
  const RouteMapConfigPtr& routeMapConfig() const { return inputs_.routeMapConfig; }
  const PeerFilterConfigPtr& peerFilterConfig() const { return inputs_.peerFilterConfig; }
  const AclListConfigPtr& aclListConfig() const { return inputs_.aclListConfig; }
  const AclConfigPtr& aclConfig() const { return inputs_.aclConfig; }
  const Vox::Ptr<CommListUsers>& commListUsers() const { return commListUsers_; }
  const DynPfxListConfigPtr& dynPfxListConfig() const { return inputs_.dynPfxListConfig; }
  const PolicyMapPtr& policyMap() const { return inputs_.policyMap; }
  const Vox::Ptr<VrfStatusSm>& vrfStatusSm() const { return vrfStatusSm_; }
  bool initialized() const { return initialized_; }

  // Each is a no-op when the value is already in force. A configuration setter stores the
  // value, then re-examines whether the VRF state can be built, then notifies.
  void vrfNameIs(const L3::VrfName& v);
  void routeMapConfigIs(const RouteMapConfigPtr& v);
  void peerFilterConfigIs(const PeerFilterConfigPtr& v);
  void aclListConfigIs(const AclListConfigPtr& v);
  void aclConfigIs(const AclConfigPtr& v);
  void dynPfxListConfigIs(const DynPfxListConfigPtr& v);
  void policyMapIs(const PolicyMapPtr& v);
  // Every input in one call: the VRF state is built, replaced or deleted once, for the inputs
  // as a whole, and then each input that changed notifies. The way a host attaches and detaches
  // its configuration.
  void inputsIs(const VrfInputs& v);
  void commListUsersIs(const Vox::Name& name);
  void commListUsersDel();

  // Keeps a VRF state built from exactly these inputs, or replaces it with a new one.
  void vrfStatusSmIs(const L3::VrfName& vrfName, const VrfInputs& inputs);
  void vrfStatusSmDel();
  void initializedIs(bool v) { initialized_ = v; }

  void handleInitialized();
  void handleStatusSmCtorArg();

 private:
  template <class T>
  void configIs(T& member, const T& value, void (Notifiee::*on)());

  Vox::Name name_;
  L3::VrfName vrfName_;
  VrfInputs inputs_;
  Vox::Ptr<CommListUsers> commListUsers_;
  Vox::Ptr<VrfStatusSm> vrfStatusSm_;
  bool initialized_ = false;
};

// The library-wide root: empty until a root has started, then the latest one.
extern Vox::Ptr<Root> rmRoot;

Vox::Ptr<Root> rootFactory(const Vox::Name& name);

}  // namespace RibRouteMap
