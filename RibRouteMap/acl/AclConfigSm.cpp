#include "RibRouteMap/acl/AclConfigSm.h"

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

Vox::Ptr<AclConfigSm> aclConfigSmFactory(const AclConfigSm::ConfigPtr& config,
                                         const L3::VrfName& vrfName) {
  return Vox::validPtr(Vox::make<AclConfigSm>(config, vrfName));
}

// --- AclConfigSm ------------------------------------------------------------------------

AclConfigSm::AclConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName)
    : config_(config), vrfName_(vrfName) {
  configReactor_.set(Vox::make<VoxAclConfig>(config_, this));
  handleInitialized();
}

void AclConfigSm::ipConfigSmIs(const TypeConfigPtr& config, const L3::VrfName& vrfName) {
  if (ipConfigSm_ && ipConfigSm_->vrfName() == vrfName) {
    ipConfigSm_->notifierIs(config);
    return;
  }
  auto sm = Vox::validPtr(Vox::make<IpAclConfigSm>(config, vrfName));
  // Made under an active owner, it is active at once, like a reactor of a collection.
  sm->hasNotificationActiveIs(notificationActive());
  ipConfigSm_.set(sm);
}

void AclConfigSm::ipConfigSmDel() {
  ipConfigSm_.reset();
}

void AclConfigSm::handleInitialized() {
  handleConfig();
  initializedIs(true);
}

void AclConfigSm::handleConfig() {
  RM_TRACE(traceHandler, "void RibRouteMap::AclConfigSm::handleConfig()");
  handleConfig(Acl::aclTypeIp);
}

void AclConfigSm::handleConfig(Acl::AclType type) {
  RM_TRACE(traceHandler, "void RibRouteMap::AclConfigSm::handleConfig(Acl::AclType)");
  if (type != Acl::aclTypeIp || !config_) return;
  if (TypeConfigPtr typeConfig = config_->config(type)) ipConfigSmIs(typeConfig, vrfName_);
}

// --- VoxAclConfig -----------------------------------------------------------------------

AclConfigSm::VoxAclConfig::VoxAclConfig(const ConfigPtr& config, AclConfigSm* sm)
    : ReactorOn(config), sm_(sm) {
  initializedIs(true);
}

void AclConfigSm::VoxAclConfig::onConfig(Acl::AclType type) {
  // Only the IP type has engine objects: one state machine, not a collection of reactors.
  dispatchKeyed(
      type, [this](Acl::AclType t) { sm_->handleConfig(t); },
      [this](Acl::AclType t) {
        if (t != Acl::aclTypeIp || !notifier()) return;
        if (TypeConfigPtr typeConfig = notifier()->config(t)) {
          sm_->ipConfigSmIs(typeConfig, sm_->vrfName());
        } else {
          sm_->ipConfigSmDel();
        }
      });
}

}  // namespace RibRouteMap
