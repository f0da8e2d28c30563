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

  class VoxIpConfig : public Vox::Reactor, public Acl::AclTypeConfig::Notifiee {
   public:
    VoxIpConfig(const TypeConfigPtr& config, IpAclConfigSm* sm);
    void onAcl(const std::string& name) override;
    void onNotifier() override;
    // The immediate whole-collection form: a reactor for every configured list, none for a
    // list that is gone.
    void onAclvoxImmediate();

   private:
    IpAclConfigSm* sm_;
  };

  class VoxAcl : public Vox::Reactor, public Acl::AclConfig::Notifiee {
   public:
    VoxAcl(const AclPtr& acl, IpAclConfigSm* sm);

    const std::string& aclName() const { return aclName_; }

    void onCurrCfg() override;
    void onNotifier() override;

    void handleCurrCfg();

   private:
    IpAclConfigSm* sm_;
    std::string aclName_;
  };

  IpAclConfigSm(const TypeConfigPtr& config, const L3::VrfName& vrfName);

  const TypeConfigPtr& ipConfig() const { return config_; }
  const L3::VrfName& vrfName() const { return vrfName_; }
  const Vox::ReactorColl<std::string, VoxAcl, Acl::AclConfig>& acl() const { return acl_; }

  // Watches another configuration of the IP type; the lists follow it.
  void notifierIs(const TypeConfigPtr& config);

  VoxAcl* aclIs(const AclPtr& acl) { return acl_.is(acl); }
  void aclDel(const std::string& name) { acl_.del(name); }
  void aclDelAll() { acl_.delAll(); }

  void handleInitialized();
  void handleIpConfig(const std::string& name);

 private:
  friend class VoxIpConfig;

  TypeConfigPtr config_;
  L3::VrfName vrfName_;
  Vox::ReactorSlot<VoxIpConfig> configReactor_{this};
  Vox::ReactorColl<std::string, VoxAcl, Acl::AclConfig> acl_;
};

}  // namespace RibRouteMap
