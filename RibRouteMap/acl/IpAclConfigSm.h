// Keeps the engine's standard IP access lists of one VRF equal to the configured IP lists.
//
// A list is always replaced whole: any new rule set deletes the list in the engine, commits,
// adds it again with all its entries in sequence order and commits. The state machine keeps
// no record of what it sent, so every change (a rule added, removed, reordered or rewritten)
// produces the same kind of stream, and the engine equals the configuration after the second
// commit. A list with no rules is left deleted.
//
// Ownership: the state machine owns one VoxIpConfig (on the IP type's configuration) and one
// VoxAcl per configured list; nested reactors keep a plain back pointer to their owner.
#pragma once

#include <string>

#include "RibRouteMap/mio/Mio.h"
#include "framework/config/AclListConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace RibRouteMap {

class IpAclConfigSm : public Vox::Reactor {
 public:
  using TypeConfigPtr = Vox::Ptr<Acl::AclTypeConfig const>;
  using AclPtr = Vox::Ptr<Acl::AclConfig const>;

  class VoxIpConfig : public Vox::ReactorOn<Acl::AclTypeConfig> {
   public:
    VoxIpConfig(const TypeConfigPtr& config, IpAclConfigSm* sm);
    void onAcl(const std::string& name) override;

   protected:
    void onRetarget() override;

   private:
    IpAclConfigSm* sm_;
  };

  class VoxAcl : public Vox::ReactorOn<Acl::AclConfig> {
   public:
    VoxAcl(const AclPtr& acl, IpAclConfigSm* sm);

    const std::string& aclName() const { return aclName_; }

    void onCurrCfg() override;

    void handleCurrCfg();

   protected:
    void onRetarget() override;

   private:
    IpAclConfigSm* sm_;
    std::string aclName_;
  };

  IpAclConfigSm(const TypeConfigPtr& config, const L3::VrfName& vrfName);

  const TypeConfigPtr& ipConfig() const { return config_; }
  const L3::VrfName& vrfName() const { return vrfName_; }
  using AclColl = Vox::ReactorColl<VoxAcl, Acl::AclTypeConfig::Coll>;
  // The list reactors: acl().is(list), .del(name), .delAll().
  AclColl& acl() { return acl_; }
  const AclColl& acl() const { return acl_; }

  // Watches another configuration of the IP type; the lists follow it.
  void notifierIs(const TypeConfigPtr& config);

  void handleInitialized();
  void handleIpConfig(const std::string& name);

 private:
  friend class VoxIpConfig;

  TypeConfigPtr config_;
  L3::VrfName vrfName_;
  Vox::ReactorSlot<VoxIpConfig> configReactor_{this};
  AclColl acl_{this, "RibRouteMap::IpAclConfigSm::acl",
               [this] { return config_ ? &config_->acl() : nullptr; }};
};

}  // namespace RibRouteMap
