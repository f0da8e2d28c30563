#include "RibRouteMap/routemap/RouteMapConfigSm.h"

#include <string>
#include <utility>
#include <vector>

#include "RibRouteMap/mio/Trace.h"
#include "RoutingPolicyMap/UpdatePolicyMap.h"

namespace RibRouteMap {

namespace {

constexpr RoutingPolicyMap::PluginType kRouteMapPlugin = 1;
constexpr RoutingPolicyMap::CliMode kRouteMapMode = 6;

}  // namespace

Vox::Ptr<RouteMapConfigSm> routeMapConfigSmFactory(
    const RouteMapConfigSm::ConfigPtr& config, const L3::VrfName& vrfName,
    const RouteMapConfigSm::PolicyMapPtr& policyMap) {
  return Vox::validPtr(Vox::make<RouteMapConfigSm>(config, vrfName, policyMap));
}

// --- RouteMapConfigSm -------------------------------------------------------------------

RouteMapConfigSm::RouteMapConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName,
                                   const PolicyMapPtr& policyMap)
    : config_(config),
      vrfName_(vrfName),
      policyMap_(policyMap),
      policyMapRouteMap_([this](const std::string& rmName) {
        if (policyMapReactor_ && policyMapReactor_->handlersEnabled()) {
          handlePolicyMapRouteMap(rmName);
        }
      }) {
  routeMap_.zombieHookIs([this](VoxRouteMap& r) { vox_handleRouteMap(r); });
  configReactor_.set(Vox::make<VoxRouteMapConfig>(config_, this));
  policyMapReactor_.set(Vox::make<VoxPolicyMap>(policyMap_, this));
  handleRouteMapSetOpConfig();
  if (config_) {
    for (const auto& [name, map] : config_->routeMap()) routeMap_.is(map);
  }
  handleInitialized();
  routeMap_.reconcileAll();
}

RouteMapConfigSm::~RouteMapConfigSm() {
  // Removed while the state machine is whole, so each map's clean-up still reaches its hook.
  routeMap_.delAll();
}

void RouteMapConfigSm::handleInitialized() {
  initializedIs(true);
}

void RouteMapConfigSm::handleRouteMapSetOpConfig() {
  const Routing::RouteMap::RouteMapOpModeType mode = config_ ? config_->routeMapOpMode() : 0;
  RM_TRACE(traceHandler, "void RibRouteMap::RouteMapConfigSm::handleRouteMapSetOpConfig()"
                             << " vrf: " << vrfName_ << " config: " << mode);
  auto mio = mioFactory(vrfName_);
  mio->doRouteMapOpConfig(mode);
  mio->doCommit();
}

void RouteMapConfigSm::handleRouteMap(const std::string& name) {
  RM_TRACE(traceHandler, "void RibRouteMap::RouteMapConfigSm::handleRouteMap(Vox::String)"
                             << " vrf: " << vrfName_);
  // A present map is its own reactor's business.
  if (config_ && config_->routeMap(name)) return;
  RM_TRACE(traceDelete, "Delete route map " << name);
  auto mio = mioFactory(vrfName_);
  mio->doDeleteRouteMap(name);
  mio->doCommit();
}

void RouteMapConfigSm::handlePolicyMapRouteMap(const std::string& rmName) {
  RM_TRACE(traceHandler, "void RibRouteMap::RouteMapConfigSm::handlePolicyMapRouteMap(Vox::String)"
                             << " rmName: " << rmName);
  VoxRouteMap* reactor = routeMap_.find(rmName);
  if (!config_ || !config_->routeMap(rmName) || !reactor) return;
  const bool referenced = policyMap_ && policyMap_->routeMap(rmName);
  for (const auto& [seqno, entry] : reactor->seqMapEntry()) {
    if (referenced) {
      entry->addReferredPoliciesToPolicyMap();
    } else {
      entry->deleteReferredPoliciesFromPolicyMap();
    }
  }
}

void RouteMapConfigSm::vox_handleRouteMap(VoxRouteMap& reactor) {
  reactor.deleteRouteMapCommSets();
}

void RouteMapConfigSm::onNotificationActive(bool active) {
  // The map reactors were built while notifications were off, each entering the references of
  // its sequences only if its map was referenced by then; a map that a later-built map made
  // referenced never heard of it. Entering every referenced map's references once now, the
  // notifications carry the rest, so the result does not depend on the maps' names.
  if (!active || !policyMap_ || !config_) return;
  std::vector<std::string> referenced;
  for (const auto& [name, requester] : policyMap_->routeMap()) {
    if (config_->routeMap(name)) referenced.push_back(name);
  }
  for (const std::string& name : referenced) policyMapRouteMap_.dispatch(name);
}

// --- VoxRouteMapConfig ------------------------------------------------------------------

RouteMapConfigSm::VoxRouteMapConfig::VoxRouteMapConfig(const ConfigPtr& config,
                                                       RouteMapConfigSm* sm)
    : ReactorOn(config), sm_(sm) {
  initializedIs(true);
}

void RouteMapConfigSm::VoxRouteMapConfig::onRouteMap(const std::string& name) {
  sm_->routeMap_.onKey(*this, name, [this](const std::string& n) { sm_->handleRouteMap(n); });
}

void RouteMapConfigSm::VoxRouteMapConfig::onRouteMapOpMode() {
  dispatch([this] { sm_->handleRouteMapSetOpConfig(); });
}

void RouteMapConfigSm::VoxRouteMapConfig::onRetarget() {
  sm_->routeMap_.reconcileAll();
}

// --- VoxPolicyMap -----------------------------------------------------------------------

RouteMapConfigSm::VoxPolicyMap::VoxPolicyMap(const Vox::Ptr<RoutingPolicyMap::PolicyMap const>& map,
                                             RouteMapConfigSm* sm)
    : ReactorOn(map), sm_(sm) {
  initializedIs(true);
}

void RouteMapConfigSm::VoxPolicyMap::onRouteMap(const std::string& rmName) {
  // Handling one map's reference may enter or withdraw the maps it refers to; their
  // notifications wait until this one is done.
  sm_->policyMapRouteMap_.dispatch(rmName);
}

// --- VoxRouteMap ------------------------------------------------------------------------

RouteMapConfigSm::VoxRouteMap::VoxRouteMap(const MapPtr& map, RouteMapConfigSm* sm)
    : ReactorOn(map), sm_(sm), mapName_(map->name()) {
  // A newly seen map is always deleted from and re-inserted into the engine, so the engine
  // equals the configuration without any memory of earlier runs.
  handleMapVersion();
  handleSeqno();
  seqMapEntry_.reconcileAll();
  initializedIs(true);
}

void RouteMapConfigSm::VoxRouteMap::onVersion() {
  dispatch([this] { handleMapVersion(); });
}

void RouteMapConfigSm::VoxRouteMap::onMapEntry(U32 seqno) {
  seqMapEntry_.onKey(*this, seqno, [this](U32 s) { handleSeqno(s); });
}

void RouteMapConfigSm::VoxRouteMap::onRetarget() {
  handleMapVersion();
  seqMapEntry_.reconcileAll();
}

void RouteMapConfigSm::VoxRouteMap::handleMapVersion() {
  const MapPtr& map = notifier();
  RM_TRACE(traceHandler, "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::handleMapVersion()"
                             << ":" << (map ? map->version() : 0) << " vrf: " << sm_->vrfName());
  auto mio = mioFactory(sm_->vrfName());
  deleteRouteMapCommSets();
  mio->doDeleteRouteMap(mapName_);
  mio->doCommit();
  if (map) mio->doInsertRouteMap(map, mapName_);
  mio->doCommit();
}

void RouteMapConfigSm::VoxRouteMap::handleSeqno(U32 seqno) {
  RM_TRACE(traceHandler, "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::handleSeqno(U32)"
                             << " seqno: " << seqno << " vrf: " << sm_->vrfName());
  const MapPtr& map = notifier();
  if (map && map->mapEntry(seqno)) {
    commSetName_[seqno] = true;
    return;
  }
  RM_TRACE(traceDelete, "Delete route map sequence " << seqno);
  auto mio = mioFactory(sm_->vrfName());
  // The map leaves the engine with its last sequence.
  if (map && !map->mapEntry().empty()) {
    mio->doDeleteMapSequence(mapName_, seqno);
  } else {
    mio->doDeleteRouteMap(mapName_);
  }
  mio->doCommit();
  mio->doDeleteMapSeqCommObjects(mapName_, seqno);
  commSetName_.erase(seqno);
}

void RouteMapConfigSm::VoxRouteMap::handleSeqno() {
  if (!notifier()) return;
  for (const auto& [seqno, entry] : notifier()->mapEntry()) handleSeqno(seqno);
}

void RouteMapConfigSm::VoxRouteMap::deleteRouteMapCommSets() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::deleteRouteMapCommSets()");
  auto mio = mioFactory(sm_->vrfName());
  for (const auto& [seqno, present] : commSetName_) {
    mio->doDeleteMapSeqCommObjects(mapName_, seqno);
  }
}

// --- VoxSeqMapEntry ---------------------------------------------------------------------

using VoxSeqMapEntry = RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry;

VoxSeqMapEntry::VoxSeqMapEntry(const MapEntryPtr& entry, VoxRouteMap* routeMap)
    : ReactorOn(entry), routeMap_(routeMap), seqno_(entry->seqno()) {
  handleInitialized();
}

std::string VoxSeqMapEntry::configKey() const {
  return routeMap_->mapName() + " seqNo " + std::to_string(seqno_);
}

bool VoxSeqMapEntry::mapReferenced() const {
  const auto& policyMap = routeMap_->sm()->policyMap();
  return policyMap && policyMap->routeMap(routeMap_->mapName());
}

void VoxSeqMapEntry::onMatchRule(Routing::RouteMap::MatchOption option) {
  dispatch([&] { handleMatchRule(option); });
}

void VoxSeqMapEntry::onSubRouteMap() {
  dispatch([this] { handleSubRouteMap(); });
}

void VoxSeqMapEntry::onZombie(bool zombie) {
  if (zombie) handleDel();
}

void VoxSeqMapEntry::handleInitialized() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry::handleInitialized()"
               << " rmName: " << routeMap_->mapName() << " seqNo: " << seqno_);
  addReferredPoliciesToPolicyMap();
  initializedIs(true);
}

void VoxSeqMapEntry::addReferredPoliciesToPolicyMap() {
  if (!notifier()) return;
  // Copy the options first: entering a reference may run other handlers synchronously.
  std::vector<Routing::RouteMap::MatchOption> options;
  for (const auto& [option, rule] : notifier()->matchRule()) options.push_back(option);
  for (auto option : options) handleMatchRule(option);
  handleSubRouteMap();
}

void VoxSeqMapEntry::updateDynamicPrefixList(Routing::RouteMap::MatchOption option,
                                             const char* configCli, std::string& prev) {
  const Routing::RouteMap::MatchRule* rule = notifier() ? notifier()->matchRule(option) : nullptr;
  const std::string current = rule ? rule->stringValue : std::string();
  // Recorded before the policy map changes, which may withdraw this map's references at once.
  const std::string previous = std::exchange(prev, current);
  updatePolicyMapDpl(kRouteMapMode, configCli, configKey(), previous, current);
}

void VoxSeqMapEntry::handleMatchRule(Routing::RouteMap::MatchOption option) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry::"
           "handleMatchRule(Routing::RouteMap::MatchOption)"
               << " seqno: " << seqno_ << " matchOp: " << option);
  if (!mapReferenced()) return;
  if (option == Routing::RouteMap::matchDynamicPrefixList) {
    updateDynamicPrefixList(option, RoutingPolicyMap::pmapRmapNestedV4Dpl,
                            prevV4DynamicPrefixList_);
  } else if (option == Routing::RouteMap::matchIpv6DynamicPrefixList) {
    updateDynamicPrefixList(option, RoutingPolicyMap::pmapRmapNestedV6Dpl,
                            prevV6DynamicPrefixList_);
  }
}

void VoxSeqMapEntry::handleSubRouteMap() {
  const std::string current = notifier() ? notifier()->subRouteMap() : std::string();
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry::handleSubRouteMap()"
               << " seqNo: " << seqno_ << " subRouteMap: " << current);
  if (!mapReferenced()) return;
  // Recorded before the policy map changes: withdrawing the previous map may withdraw this
  // map's own references at once (a map that was its own sub-route-map), and that withdrawal
  // must find the new one.
  const std::string previous = std::exchange(prevSubRouteMap_, current);
  updatePolicyMapRouteMap(kRouteMapMode, RoutingPolicyMap::pmapRmapNestedRmap, configKey(),
                          previous, current);
}

void VoxSeqMapEntry::handleDel() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry::handleDel()"
               << " rmName: " << routeMap_->mapName() << " seqNo: " << seqno_);
  deleteReferredPoliciesFromPolicyMap();
}

void VoxSeqMapEntry::deleteReferredPoliciesFromPolicyMap() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry::"
           "deleteReferredPoliciesFromPolicyMap()"
               << " rmName: " << routeMap_->mapName() << " seqNo: " << seqno_);
  const std::string key = configKey();
  updatePolicyMapDpl(kRouteMapMode, RoutingPolicyMap::pmapRmapNestedV4Dpl, key,
                     prevV4DynamicPrefixList_, "");
  updatePolicyMapDpl(kRouteMapMode, RoutingPolicyMap::pmapRmapNestedV6Dpl, key,
                     prevV6DynamicPrefixList_, "");
  updatePolicyMapRouteMap(kRouteMapMode, RoutingPolicyMap::pmapRmapNestedRmap, key,
                          prevSubRouteMap_, "");
}

namespace {

// The new reference is entered before the old one is withdrawn, so an entity referred to by
// both never drops out of the map in between.
void updateReference(RoutingPolicyMap::PolicyType type, RoutingPolicyMap::CliMode mode,
                     const std::string& configCli, const std::string& configKey,
                     const Vox::Ptr<RoutingPolicyMap::PolicyMap>& policyMap,
                     const std::string& prev, const std::string& curr) {
  if (!policyMap) return;
  if (!curr.empty()) {
    RoutingPolicyMap::updatePolicyMap(type, kRouteMapPlugin, mode, configCli, configKey, policyMap,
                                      curr, false);
  }
  if (!prev.empty() && prev != curr) {
    RoutingPolicyMap::updatePolicyMap(type, kRouteMapPlugin, mode, configCli, configKey, policyMap,
                                      prev, true);
  }
}

}  // namespace

void VoxSeqMapEntry::updatePolicyMapDpl(RoutingPolicyMap::CliMode mode,
                                        const std::string& configCli, const std::string& configKey,
                                        const std::string& prevDplName,
                                        const std::string& currDplName) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry::"
           "updatePolicyMapDpl(RoutingPolicyMap::CliMode, Vox::String, Vox::String, "
           "Vox::String, Vox::String)"
               << " mode: " << mode << " configCli: " << configCli << " configKey: " << configKey
               << " prevDplName: " << prevDplName << " currDplName: " << currDplName);
  updateReference(RoutingPolicyMap::dynamicPrefixListPolicy, mode, configCli, configKey,
                  routeMap_->sm()->policyMap(), prevDplName, currDplName);
}

void VoxSeqMapEntry::updatePolicyMapRouteMap(RoutingPolicyMap::CliMode mode,
                                             const std::string& configCli,
                                             const std::string& configKey,
                                             const std::string& prevSrmName,
                                             const std::string& currSrmName) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::RouteMapConfigSm::VoxRouteMap::VoxSeqMapEntry::"
           "updatePolicyMapRouteMap(RoutingPolicyMap::CliMode, Vox::String, "
           "Vox::String, Vox::String, Vox::String)"
               << " mode: " << mode << " configCli: " << configCli << " configKey: " << configKey
               << " prevSubRmName: " << prevSrmName << " currSubRmName: " << currSrmName);
  updateReference(RoutingPolicyMap::routeMapPolicy, mode, configCli, configKey,
                  routeMap_->sm()->policyMap(), prevSrmName, currSrmName);
}

}  // namespace RibRouteMap
