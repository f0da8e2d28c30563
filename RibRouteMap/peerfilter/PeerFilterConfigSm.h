// Keeps the engine's copies of the peer filters of one VRF equal to the configuration.
//
// The engine has no peer-filter object: a peer filter has the shape of a route map and is
// sent as a route map named ".PEER_FILTER." followed by the filter's name. The prefix keeps a
// peer filter and a route map of the same name apart, and the library's own names all begin
// with "." so no configured name can take it. Like a route map, a filter is replaced whole on
// every version change: delete, commit, insert, commit. Its sequences own internal community
// lists and sets and community-list user records exactly as a route map's do, so every
// sequence the filter had goes through the same clean-up after the delete's commit, when the
// filter is removed and on every version change (the insert makes again what is still
// configured): otherwise a later change of a community list that a gone clause used would
// write that clause, and the filter's route map with it, back into the engine.
//
// Ownership: the state machine owns one VoxPeerFilterConfig (on the configuration) and one
// VoxPeerFilter per configured filter; nested reactors keep a plain back pointer.
#pragma once

#include <set>
#include <string>

#include "RibRouteMap/mio/Mio.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace RibRouteMap {

class PeerFilterConfigSm : public Vox::Reactor {
 public:
  using ConfigPtr = Vox::Ptr<Routing::RouteMap::PeerFilterConfig const>;
  using MapPtr = Vox::Ptr<Routing::RouteMap::Map const>;

  // The engine's route-map name of the peer filter `name`.
  static Vox::String engineName(const std::string& name) { return ".PEER_FILTER." + name; }

  class VoxPeerFilterConfig : public Vox::ReactorOn<Routing::RouteMap::PeerFilterConfig> {
   public:
    VoxPeerFilterConfig(const ConfigPtr& config, PeerFilterConfigSm* sm);
    void onPeerFilter(const std::string& name) override;

   protected:
    void onRetarget() override;

   private:
    PeerFilterConfigSm* sm_;
  };

  class VoxPeerFilter : public Vox::ReactorOn<Routing::RouteMap::Map> {
   public:
    VoxPeerFilter(const MapPtr& map, PeerFilterConfigSm* sm);

    const std::string& filterName() const { return filterName_; }
    // The sequences sent last, whose community objects may be in the engine.
    const std::set<U32>& sentSeqno() const { return sentSeqno_; }

    void onVersion() override;

    void handleMapVersion();
    // Removes the community objects of every sequence sent last. No commit of its own.
    void deleteSentSeqCommObjects(const Mio& mio);

   protected:
    void onRetarget() override;

   private:
    PeerFilterConfigSm* sm_;
    std::string filterName_;
    std::set<U32> sentSeqno_;
  };

  PeerFilterConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName);
  // The filters' community objects go with the state machine, as a route map's go with
  // the route-map state machine: the user records live on in the root otherwise.
  ~PeerFilterConfigSm() override;

  const ConfigPtr& peerFilterConfig() const { return config_; }
  const L3::VrfName& vrfName() const { return vrfName_; }
  using PeerFilterColl = Vox::ReactorColl<VoxPeerFilter, Routing::RouteMap::PeerFilterConfig::Coll>;
  // The filter reactors: peerFilter().is(map), .del(name), .delAll().
  PeerFilterColl& peerFilter() { return peerFilter_; }
  const PeerFilterColl& peerFilter() const { return peerFilter_; }

  void handleInitialized();
  void handlePeerFilter(const std::string& name);

 private:
  friend class VoxPeerFilterConfig;

  ConfigPtr config_;
  L3::VrfName vrfName_;
  Vox::ReactorSlot<VoxPeerFilterConfig> configReactor_{this};
  PeerFilterColl peerFilter_{this, "RibRouteMap::PeerFilterConfigSm::peerFilter",
                             [this] { return config_ ? &config_->peerFilter() : nullptr; }};
};

Vox::Ptr<PeerFilterConfigSm> peerFilterConfigSmFactory(const PeerFilterConfigSm::ConfigPtr& config,
                                                       const L3::VrfName& vrfName);

}  // namespace RibRouteMap
