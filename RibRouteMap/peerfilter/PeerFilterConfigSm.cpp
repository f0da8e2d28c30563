#include "RibRouteMap/peerfilter/PeerFilterConfigSm.h"

#include "RibRouteMap/root/Trace.h"

namespace RibRouteMap {

Vox::Ptr<PeerFilterConfigSm> peerFilterConfigSmFactory(const PeerFilterConfigSm::ConfigPtr& config,
                                                       const L3::VrfName& vrfName) {
  return Vox::validPtr(Vox::make<PeerFilterConfigSm>(config, vrfName));
}

// --- PeerFilterConfigSm -----------------------------------------------------------------

PeerFilterConfigSm::PeerFilterConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName)
    : config_(config),
      vrfName_(vrfName),
      peerFilter_(
          this, "_peerFilter", "RibRouteMap::PeerFilterConfigSm::peerFilter",
          [](const Routing::RouteMap::Map& m) { return m.name(); },
          [this](const MapPtr& m) { return Vox::make<VoxPeerFilter>(m, this); }) {
  configReactor_.set(Vox::make<VoxPeerFilterConfig>(config_, this));
  handleInitialized();
}

void PeerFilterConfigSm::handleInitialized() {
  // Each new filter's reactor sends its filter as it is made.
  configReactor_->onPeerFiltervoxImmediate();
  initializedIs(true);
}

void PeerFilterConfigSm::handlePeerFilter(const std::string& name) {
  RM_TRACE(traceHandler, "void RibRouteMap::PeerFilterConfigSm::handlePeerFilter(Vox::String)"
                             << " vrf: " << vrfName_);
  // A configured filter is its own reactor's business.
  if (config_ && config_->peerFilter(name)) return;
  RM_TRACE(traceDelete, "Delete peer filter " << name);
  auto mio = mioFactory(vrfName_);
  mio->doDeleteRouteMap(engineName(name));
  mio->doCommit();
  if (VoxPeerFilter* reactor = peerFilter_.find(name)) reactor->deleteSentSeqCommObjects(*mio);
}

// --- VoxPeerFilterConfig ----------------------------------------------------------------

PeerFilterConfigSm::VoxPeerFilterConfig::VoxPeerFilterConfig(const ConfigPtr& config,
                                                             PeerFilterConfigSm* sm)
    : sm_(sm) {
  notifierIs(config);
}

void PeerFilterConfigSm::VoxPeerFilterConfig::onPeerFilter(const std::string& name) {
  dispatchKeyed(
      name, [this](const std::string& n) { sm_->handlePeerFilter(n); },
      [this](const std::string& n) {
        if (notifier()) sm_->peerFilter_.reconcile(n, notifier()->peerFilter(n));
      });
}

void PeerFilterConfigSm::VoxPeerFilterConfig::onNotifier() {
  // Construction registers too; the state machine's start-up creates the first reactors.
  if (sm_->initialized()) onPeerFiltervoxImmediate();
}

void PeerFilterConfigSm::VoxPeerFilterConfig::onPeerFiltervoxImmediate() {
  if (notifier()) sm_->peerFilter_.reconcileAll(notifier()->peerFilter());
}

// --- VoxPeerFilter ----------------------------------------------------------------------

PeerFilterConfigSm::VoxPeerFilter::VoxPeerFilter(const MapPtr& map, PeerFilterConfigSm* sm)
    : sm_(sm), filterName_(map->name()) {
  notifierIs(map);
  // A newly seen filter is always replaced in the engine, whatever the engine held before.
  handleMapVersion();
  initializedIs(true);
}

void PeerFilterConfigSm::VoxPeerFilter::onVersion() {
  dispatchScalar([this] { handleMapVersion(); });
}

void PeerFilterConfigSm::VoxPeerFilter::onNotifier() {
  // Construction registers too; only a later retarget is a new filter to send.
  if (initialized() && notifier()) handleMapVersion();
}

void PeerFilterConfigSm::VoxPeerFilter::handleMapVersion() {
  const MapPtr& map = notifier();
  RM_TRACE(traceHandler, "void RibRouteMap::PeerFilterConfigSm::VoxPeerFilter::handleMapVersion()"
                             << ":" << (map ? map->version() : 0) << " vrf: " << sm_->vrfName());
  const Vox::String name = engineName(map ? map->name() : filterName_);
  auto mio = mioFactory(sm_->vrfName());
  mio->doDeleteRouteMap(name);
  mio->doCommit();
  deleteSentSeqCommObjects(*mio);
  if (map) {
    mio->doInsertRouteMap(map, name);
    for (const auto& [seqno, entry] : map->mapEntry()) sentSeqno_.insert(seqno);
  }
  mio->doCommit();
}

void PeerFilterConfigSm::VoxPeerFilter::deleteSentSeqCommObjects(const Mio& mio) {
  const Vox::String name = engineName(filterName_);
  for (U32 seqno : sentSeqno_) mio.doDeleteMapSeqCommObjects(name, seqno);
  sentSeqno_.clear();
}

}  // namespace RibRouteMap
