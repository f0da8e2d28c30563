#include "RibRouteMap/peerfilter/PeerFilterConfigSm.h"

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

Vox::Ptr<PeerFilterConfigSm> peerFilterConfigSmFactory(const PeerFilterConfigSm::ConfigPtr& config,
                                                       const L3::VrfName& vrfName) {
  return Vox::validPtr(Vox::make<PeerFilterConfigSm>(config, vrfName));
}

// --- PeerFilterConfigSm -----------------------------------------------------------------

PeerFilterConfigSm::PeerFilterConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName)
    : config_(config), vrfName_(vrfName) {
  configReactor_.set(Vox::make<VoxPeerFilterConfig>(config_, this));
  handleInitialized();
}

PeerFilterConfigSm::~PeerFilterConfigSm() {
  auto mio = mioFactory(vrfName_);
  for (const auto& [name, reactor] : peerFilter_) reactor->deleteSentSeqCommObjects(*mio);
}

void PeerFilterConfigSm::handleInitialized() {
  // Each new filter's reactor sends its filter as it is made.
  peerFilter_.reconcileAll();
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
    : ReactorOn(config), sm_(sm) {
  initializedIs(true);
}

void PeerFilterConfigSm::VoxPeerFilterConfig::onPeerFilter(const std::string& name) {
  sm_->peerFilter_.onKey(*this, name, [this](const std::string& n) { sm_->handlePeerFilter(n); });
}

void PeerFilterConfigSm::VoxPeerFilterConfig::onRetarget() {
  sm_->peerFilter_.reconcileAll();
}

// --- VoxPeerFilter ----------------------------------------------------------------------

PeerFilterConfigSm::VoxPeerFilter::VoxPeerFilter(const MapPtr& map, PeerFilterConfigSm* sm)
    : ReactorOn(map), sm_(sm), filterName_(map->name()) {
  // A newly seen filter is always replaced in the engine, whatever the engine held before.
  handleMapVersion();
  initializedIs(true);
}

void PeerFilterConfigSm::VoxPeerFilter::onVersion() {
  dispatch([this] { handleMapVersion(); });
}

void PeerFilterConfigSm::VoxPeerFilter::onRetarget() {
  handleMapVersion();
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
