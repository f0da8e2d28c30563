// Watches the access-list configuration of one VRF and keeps one IpAclConfigSm while the IP
// type is configured. Only the IP type has engine objects; other types are ignored.
#pragma once

#include "RibRouteMap/acl/IpAclConfigSm.h"
#include "framework/config/AclListConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/Reactor.h"

namespace RibRouteMap {

class AclConfigSm : public Vox::Reactor {
 public:
  using ConfigPtr = Vox::Ptr<Acl::Config const>;
  using TypeConfigPtr = IpAclConfigSm::TypeConfigPtr;

  class VoxAclConfig : public Vox::ReactorOn<Acl::Config> {
   public:
    VoxAclConfig(const ConfigPtr& config, AclConfigSm* sm);
    void onConfig(Acl::AclType type) override;

   private:
    AclConfigSm* sm_;
  };

  AclConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName);

  const ConfigPtr& aclConfig() const { return config_; }
  const L3::VrfName& vrfName() const { return vrfName_; }
  IpAclConfigSm* ipConfigSm() const { return ipConfigSm_.get(); }

  // Creates the IP state machine, or points the existing one at `config`.
  void ipConfigSmIs(const TypeConfigPtr& config, const L3::VrfName& vrfName);
  void ipConfigSmDel();

  void handleInitialized();
  void handleConfig();
  void handleConfig(Acl::AclType type);

 private:
  ConfigPtr config_;
  L3::VrfName vrfName_;
  Vox::ReactorSlot<VoxAclConfig> configReactor_{this};
  Vox::ReactorSlot<IpAclConfigSm> ipConfigSm_{this};
};

Vox::Ptr<AclConfigSm> aclConfigSmFactory(const AclConfigSm::ConfigPtr& config,
                                         const L3::VrfName& vrfName);

}  // namespace RibRouteMap
