// Keeps the engine's route maps of one VRF equal to the route-map configuration.
//
// The translation is coarse on purpose: any change of a map's version deletes the whole map
// in the engine, commits, inserts it again from the configuration and commits, so the engine
// never holds a half-updated map and a restart needs no memory of what was sent. Removing a
// sequence removes just that sequence (or the map with its last sequence); removing a map
// removes the map. The state machine also keeps, for every referenced route map, the
// references of its sequences (sub-route-maps, dynamic prefix lists) in the policy-reference
// map, so that references propagate through any depth of nesting: one policy-map notification
// at a time (a notification caused by handling another waits its turn), so a chain of nested
// maps costs loop turns, not stack frames. Once its notifications are on, the machine enters
// the references of every referenced map once, so that what a start-up enters never depends on
// the order in which the maps were built.
//
// Ownership: the state machine owns one VoxRouteMapConfig (on the configuration), one
// VoxPolicyMap (on the policy map) and one VoxRouteMap per configured map, which owns one
// VoxSeqMapEntry per sequence. Nested reactors keep a plain back pointer to their owner.
#pragma once

#include <map>
#include <string>

#include "RibRouteMap/mio/Mio.h"
#include "framework/config/PolicyMap.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/NotificationQueue.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace RibRouteMap {

class RouteMapConfigSm : public Vox::Reactor {
 public:
  using ConfigPtr = Vox::Ptr<Routing::RouteMap::Config const>;
  using MapPtr = Vox::Ptr<Routing::RouteMap::Map const>;
  using MapEntryPtr = Vox::Ptr<Routing::RouteMap::MapEntry const>;
  using PolicyMapPtr = Vox::Ptr<RoutingPolicyMap::PolicyMap>;

  class VoxRouteMapConfig : public Vox::Reactor, public Routing::RouteMap::Config::Notifiee {
   public:
    VoxRouteMapConfig(const ConfigPtr& config, RouteMapConfigSm* sm);
    void onRouteMap(const std::string& name) override;
    void onRouteMapOpMode() override;
    void onNotifier() override;
    // The immediate whole-collection form: a reactor for every configured map, none for a
    // map that is gone.
    void onRouteMapvoxImmediate();

   private:
    RouteMapConfigSm* sm_;
  };

  class VoxPolicyMap : public Vox::Reactor, public RoutingPolicyMap::PolicyMap::Notifiee {
   public:
    VoxPolicyMap(const Vox::Ptr<RoutingPolicyMap::PolicyMap const>& map, RouteMapConfigSm* sm);
    void onRouteMap(const std::string& rmName) override;

   private:
    RouteMapConfigSm* sm_;
  };

  class VoxRouteMap : public Vox::Reactor, public Routing::RouteMap::Map::Notifiee {
   public:
    // One sequence's contribution to the policy-reference map. It sends nothing to the
    // engine: a sequence's contents reach the engine only through its map's refresh.
    class VoxSeqMapEntry : public Vox::Reactor, public Routing::RouteMap::MapEntry::Notifiee {
     public:
      VoxSeqMapEntry(const MapEntryPtr& entry, VoxRouteMap* routeMap);

      U32 seqno() const { return seqno_; }
      const std::string& prevSubRouteMap() const { return prevSubRouteMap_; }
      const std::string& prevV4DynamicPrefixList() const { return prevV4DynamicPrefixList_; }
      const std::string& prevV6DynamicPrefixList() const { return prevV6DynamicPrefixList_; }

      void onMatchRule(Routing::RouteMap::MatchOption option) override;
      void onSubRouteMap() override;

      void handleInitialized();
      void handleMatchRule(Routing::RouteMap::MatchOption option);
      void handleSubRouteMap();
      void handleDel();
      void addReferredPoliciesToPolicyMap();
      void deleteReferredPoliciesFromPolicyMap();
      void updatePolicyMapDpl(RoutingPolicyMap::CliMode mode, const std::string& configCli,
                              const std::string& configKey, const std::string& prevDplName,
                              const std::string& currDplName);
      void updatePolicyMapRouteMap(RoutingPolicyMap::CliMode mode, const std::string& configCli,
                                   const std::string& configKey, const std::string& prevSrmName,
                                   const std::string& currSrmName);

     protected:
      void onZombie(bool zombie) override;

     private:
      // "<map> seqNo <n>": which configuration object holds the references.
      std::string configKey() const;
      // Whether the owning route map is itself referenced.
      bool mapReferenced() const;
      void updateDynamicPrefixList(Routing::RouteMap::MatchOption option, const char* configCli,
                                   std::string& prev);

      VoxRouteMap* routeMap_;
      U32 seqno_;
      std::string prevSubRouteMap_;
      std::string prevV4DynamicPrefixList_;
      std::string prevV6DynamicPrefixList_;
    };

    VoxRouteMap(const MapPtr& map, RouteMapConfigSm* sm);

    const std::string& mapName() const { return mapName_; }
    RouteMapConfigSm* sm() const { return sm_; }
    // The sequences that exist and may own internal community objects.
    const std::map<U32, bool>& commSetName() const { return commSetName_; }
    const Vox::ReactorColl<U32, VoxSeqMapEntry, Routing::RouteMap::MapEntry>& seqMapEntry() const {
      return seqMapEntry_;
    }

    void onVersion() override;
    void onMapEntry(U32 seqno) override;
    void onNotifier() override;

    void handleMapVersion();
    void handleSeqno(U32 seqno);
    void handleSeqno();
    void deleteRouteMapCommSets();

   private:
    RouteMapConfigSm* sm_;
    std::string mapName_;
    std::map<U32, bool> commSetName_;
    Vox::ReactorColl<U32, VoxSeqMapEntry, Routing::RouteMap::MapEntry> seqMapEntry_;
  };

  RouteMapConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName,
                   const PolicyMapPtr& policyMap);
  ~RouteMapConfigSm() override;

  const ConfigPtr& routeMapConfig() const { return config_; }
  const L3::VrfName& vrfName() const { return vrfName_; }
  const PolicyMapPtr& policyMap() const { return policyMap_; }
  const Vox::ReactorColl<std::string, VoxRouteMap, Routing::RouteMap::Map>& routeMap() const {
    return routeMap_;
  }

  VoxRouteMap* routeMapIs(const MapPtr& map) { return routeMap_.is(map); }
  void routeMapDel(const std::string& name) { routeMap_.del(name); }
  void routeMapDelAll() { routeMap_.delAll(); }

  void handleInitialized();
  void handleRouteMapSetOpConfig();
  void handleRouteMap(const std::string& name);
  void handlePolicyMapRouteMap(const std::string& rmName);
  // Runs when a map reactor has been removed: its internal community objects go with it.
  void vox_handleRouteMap(VoxRouteMap& reactor);

 protected:
  void onNotificationActive(bool active) override;

 private:
  friend class VoxRouteMapConfig;
  friend class VoxPolicyMap;

  ConfigPtr config_;
  L3::VrfName vrfName_;
  PolicyMapPtr policyMap_;
  Vox::ReactorSlot<VoxRouteMapConfig> configReactor_{this};
  Vox::ReactorSlot<VoxPolicyMap> policyMapReactor_{this};
  Vox::ReactorColl<std::string, VoxRouteMap, Routing::RouteMap::Map> routeMap_;
  // The policy map's route-map notifications, handled one at a time.
  Vox::NotificationQueue<std::string> policyMapRouteMap_;
};

Vox::Ptr<RouteMapConfigSm> routeMapConfigSmFactory(const RouteMapConfigSm::ConfigPtr& config,
                                                   const L3::VrfName& vrfName,
                                                   const RouteMapConfigSm::PolicyMapPtr& policyMap);

}  // namespace RibRouteMap
