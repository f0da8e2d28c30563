// Keeps the engine's dynamic prefix lists of one VRF equal to the configured lists that are in
// use.
//
// A configured list reaches the engine only while the policy-reference map holds it too: the
// map says which lists something refers to, and an unreferenced list is of no use to the
// engine. So a list is written when its version changes or when it appears in the map, and
// deleted when it leaves the map, or when it leaves the configuration while the map holds it
// (its reactor is the last one that knows the engine has it). While a list is written, its match
// map is recorded in the policy-reference map as referred to by the list, so that the route-map
// side sends the match map as well.
//
// Ownership: the state machine owns one VoxConfig (on the configuration), one VoxPolicyMap (on
// the policy map) and one VoxDynamicPrefixList per configured list. Nested reactors keep a
// plain back pointer to their owner.
#pragma once

#include <string>

#include "framework/config/DynamicPrefixListConfig.h"
#include "framework/config/PolicyMap.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace RibDynamicPrefixList {

class DynPfxConfigSm : public Vox::Reactor {
 public:
  using Config = Routing::DynamicPrefixList::Config;
  using Entry = Routing::DynamicPrefixList::DynamicPrefixListEntry;
  using ConfigPtr = Vox::Ptr<Config const>;
  using EntryPtr = Vox::Ptr<Entry const>;
  using PolicyMapPtr = Vox::Ptr<RoutingPolicyMap::PolicyMap>;

  class VoxConfig : public Vox::ReactorOn<Config> {
   public:
    VoxConfig(const ConfigPtr& config, DynPfxConfigSm* sm);
    // Only keeps the reactors in line: a list's own reactor decides what to send.
    void onDynamicPrefixList(const std::string& name) override;

   protected:
    void onRetarget() override;

   private:
    DynPfxConfigSm* sm_;
  };

  class VoxPolicyMap : public Vox::ReactorOn<RoutingPolicyMap::PolicyMap> {
   public:
    VoxPolicyMap(const Vox::Ptr<RoutingPolicyMap::PolicyMap const>& map, DynPfxConfigSm* sm);
    void onDynamicPrefixList(const std::string& name) override;

   private:
    DynPfxConfigSm* sm_;
  };

  class VoxDynamicPrefixList : public Vox::ReactorOn<Entry> {
   public:
    VoxDynamicPrefixList(const EntryPtr& entry, DynPfxConfigSm* sm);

    const std::string& name() const { return name_; }
    // The match map last recorded in the policy map for this list.
    const std::string& prevMatchMap() const { return prevMatchMap_; }
    // Whether the engine holds the list as this reactor last sent it.
    bool sent() const { return sent_; }

    void onVersion() override;

    void handleInitialized();
    void handleDynamicPrefixListVersion();
    void handleMirrorConfigDelete();
    void updatePolicyMapMatchMap(RoutingPolicyMap::CliMode mode, const std::string& configCli,
                                 const std::string& configKey, const std::string& prevMatchMapName,
                                 const std::string& currMatchMapName);

   protected:
    // Another entity under the list's name: its fields may differ, and no version change of
    // it will announce them.
    void onRetarget() override;

   private:
    DynPfxConfigSm* sm_;
    std::string name_;
    std::string prevMatchMap_;
    bool sent_ = false;
  };

  DynPfxConfigSm(const ConfigPtr& config, const PolicyMapPtr& policyMap);
  ~DynPfxConfigSm() override;

  const ConfigPtr& config() const { return config_; }
  const PolicyMapPtr& policyMap() const { return policyMap_; }
  using DynamicPrefixListColl = Vox::ReactorColl<VoxDynamicPrefixList, Config::Coll>;
  // The list reactors: dynamicPrefixList().is(entry), .del(name), .delAll().
  DynamicPrefixListColl& dynamicPrefixList() { return dynamicPrefixList_; }
  const DynamicPrefixListColl& dynamicPrefixList() const { return dynamicPrefixList_; }
  // Stop watching the configuration (its lists' reactors go with it) or the policy map.
  void configDel();
  void policyMapDel();

  void handleInitialized();
  void handleDynamicPrefixListMap(const std::string& name);
  // Runs when a list's reactor has been removed from the collection.
  void vox_handleDynamicPrefixList(VoxDynamicPrefixList& reactor);

 protected:
  void onNotificationActive(bool active) override;

 private:
  friend class VoxConfig;
  friend class VoxPolicyMap;

  ConfigPtr config_;
  PolicyMapPtr policyMap_;
  Vox::ReactorSlot<VoxConfig> configReactor_{this};
  Vox::ReactorSlot<VoxPolicyMap> policyMapReactor_{this};
  DynamicPrefixListColl dynamicPrefixList_{
      this, "RibDynamicPrefixList::DynPfxConfigSm::dynamicPrefixList",
      [this] { return config_ ? &config_->dynamicPrefixList() : nullptr; }};
};

Vox::Ptr<DynPfxConfigSm> dynPfxConfigSmFactory(const DynPfxConfigSm::ConfigPtr& config,
                                               const DynPfxConfigSm::PolicyMapPtr& policyMap);

}  // namespace RibDynamicPrefixList
