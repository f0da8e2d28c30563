#include "RibDynamicPrefixList/DynPfxConfigSm.h"

#include <utility>

#include "RibDynamicPrefixList/Mio.h"
#include "RibDynamicPrefixList/Trace.h"
#include "RoutingPolicyMap/UpdatePolicyMap.h"

namespace RibDynamicPrefixList {

namespace {

// Who records a list's match map in the policy map, and from which configuration mode.
constexpr RoutingPolicyMap::PluginType kDynPfxPlugin = 3;
constexpr RoutingPolicyMap::CliMode kDynPfxMode = 7;

}  // namespace

Vox::Ptr<DynPfxConfigSm> dynPfxConfigSmFactory(const DynPfxConfigSm::ConfigPtr& config,
                                               const DynPfxConfigSm::PolicyMapPtr& policyMap) {
  return Vox::validPtr(Vox::make<DynPfxConfigSm>(config, policyMap));
}

// --- DynPfxConfigSm ---------------------------------------------------------------------

DynPfxConfigSm::DynPfxConfigSm(const ConfigPtr& config, const PolicyMapPtr& policyMap)
    : config_(config), policyMap_(policyMap) {
  dynamicPrefixList_.zombieHookIs(
      [this](VoxDynamicPrefixList& r) { vox_handleDynamicPrefixList(r); });
  configReactor_.set(Vox::make<VoxConfig>(config_, this));
  policyMapReactor_.set(Vox::make<VoxPolicyMap>(policyMap_, this));
  // Each new reactor sends its list at once if the policy map already holds it.
  dynamicPrefixList_.reconcileAll();
  handleInitialized();
}

DynPfxConfigSm::~DynPfxConfigSm() = default;

void DynPfxConfigSm::handleInitialized() {
  initializedIs(true);
  DPL_TRACE(traceError, "Initialized DynPfxConfigSm");
}

void DynPfxConfigSm::configDel() {
  configReactor_->notifierIs(nullptr);
  config_ = nullptr;
  dynamicPrefixList_.delAll();
}

void DynPfxConfigSm::policyMapDel() {
  policyMapReactor_->notifierIs(nullptr);
  policyMap_ = nullptr;
}

void DynPfxConfigSm::handleDynamicPrefixListMap(const std::string& name) {
  DPL_TRACE(traceHandler,
            "void RibDynamicPrefixList::DynPfxConfigSm::handleDynamicPrefixListMap(Vox::String)"
                << " dynamic prefix-list: " << name);
  VoxDynamicPrefixList* reactor = dynamicPrefixList_.find(name);
  if (!reactor || !reactor->notifier()) return;
  if (policyMap_ && policyMap_->dynamicPrefixList(name)) {
    DPL_TRACE(traceHandler, "dynamicPrefixList config and policyMap both exist.");
    reactor->handleDynamicPrefixListVersion();
  } else {
    DPL_TRACE(traceHandler, "dynamicPrefixList is deleted from policyMap");
    reactor->handleMirrorConfigDelete();
  }
}

void DynPfxConfigSm::onNotificationActive(bool active) {
  // The list reactors were built while notifications were off: a list that entered the policy
  // map through the match map of a list built after it was never told. Sending every held list
  // not sent yet, the notifications carry the rest, so a start-up does not depend on names.
  if (!active || !policyMap_) return;
  for (const auto& [name, reactor] : dynamicPrefixList_) {
    if (!reactor->sent() && policyMap_->dynamicPrefixList(name)) {
      reactor->handleDynamicPrefixListVersion();
    }
  }
}

void DynPfxConfigSm::vox_handleDynamicPrefixList(VoxDynamicPrefixList& reactor) {
  // While the policy map holds the list, the reactor has sent it; once the reactor is gone
  // nothing would ever delete it, so it leaves the engine with its configuration. A state
  // machine that is torn down sends nothing (its handlers are off by then).
  if (!handlersEnabled() || !policyMap_ || !policyMap_->dynamicPrefixList(reactor.name())) return;
  reactor.handleMirrorConfigDelete();
}

// --- VoxConfig --------------------------------------------------------------------------

DynPfxConfigSm::VoxConfig::VoxConfig(const ConfigPtr& config, DynPfxConfigSm* sm)
    : ReactorOn(config), sm_(sm) {
  initializedIs(true);
}

void DynPfxConfigSm::VoxConfig::onDynamicPrefixList(const std::string& name) {
  // No handler: what a list sends is its own reactor's business, at its creation, on its
  // version and at its removal (the collection's hook).
  sm_->dynamicPrefixList_.reconcile(name);
}

void DynPfxConfigSm::VoxConfig::onRetarget() {
  sm_->dynamicPrefixList_.reconcileAll();
}

// --- VoxPolicyMap -----------------------------------------------------------------------

DynPfxConfigSm::VoxPolicyMap::VoxPolicyMap(const Vox::Ptr<RoutingPolicyMap::PolicyMap const>& map,
                                           DynPfxConfigSm* sm)
    : ReactorOn(map), sm_(sm) {
  initializedIs(true);
}

void DynPfxConfigSm::VoxPolicyMap::onDynamicPrefixList(const std::string& name) {
  dispatch([&] { sm_->handleDynamicPrefixListMap(name); });
}

// --- VoxDynamicPrefixList ---------------------------------------------------------------

using VoxDynamicPrefixList = DynPfxConfigSm::VoxDynamicPrefixList;

VoxDynamicPrefixList::VoxDynamicPrefixList(const EntryPtr& entry, DynPfxConfigSm* sm)
    : ReactorOn(entry), sm_(sm), name_(entry->name()) {
  handleInitialized();
}

void VoxDynamicPrefixList::onVersion() {
  dispatch([this] { handleDynamicPrefixListVersion(); });
}

void VoxDynamicPrefixList::onRetarget() {
  dispatch([this] { handleDynamicPrefixListVersion(); });
}

void VoxDynamicPrefixList::handleInitialized() {
  DPL_TRACE(traceHandler,
            "void RibDynamicPrefixList::DynPfxConfigSm::VoxDynamicPrefixList::handleInitialized()"
                << " Initializing DynamicPrefixList: " << name_);
  handleDynamicPrefixListVersion();
  initializedIs(true);
}

void VoxDynamicPrefixList::handleDynamicPrefixListVersion() {
  const EntryPtr entry = notifier();
  DPL_TRACE(traceHandler,
            "void RibDynamicPrefixList::DynPfxConfigSm::VoxDynamicPrefixList::"
            "handleDynamicPrefixListVersion()"
                << " Updating DynamicPrefixList: " << name_
                << " Version: " << (entry ? entry->version() : 0));
  if (!entry) return;
  const PolicyMapPtr& policyMap = sm_->policyMap();
  if (!policyMap || !policyMap->dynamicPrefixList(name_)) {
    DPL_TRACE(traceHandler, "returning as dynamicPrefixList does not exist in policyMap");
    return;
  }
  // Recorded before the policy map changes: withdrawing the previous match map may withdraw
  // this very list (through a cycle), and its removal must then withdraw the new one.
  const std::string previous = std::exchange(prevMatchMap_, entry->matchMap());
  updatePolicyMapMatchMap(kDynPfxMode, RoutingPolicyMap::pmapDplNestedRmap, name_, previous,
                          prevMatchMap_);
  // Withdrawn meanwhile, the list has been deleted already and is not sent again.
  if (!policyMap->dynamicPrefixList(name_)) return;
  mioFactory()->doAddDynamicPrefixListEntry(name_, entry->ipv4PrefixList(), entry->ipv6PrefixList(),
                                            entry->matchMap());
  sent_ = true;
}

void VoxDynamicPrefixList::handleMirrorConfigDelete() {
  DPL_TRACE(traceHandler,
            "void RibDynamicPrefixList::DynPfxConfigSm::VoxDynamicPrefixList::"
            "handleMirrorConfigDelete()"
                << " Deleting DynamicPrefixList: " << name_);
  // The match map recorded last is the one withdrawn: the entry's own may have changed since
  // without a version to announce it.
  updatePolicyMapMatchMap(kDynPfxMode, RoutingPolicyMap::pmapDplNestedRmap, name_, prevMatchMap_,
                          "");
  prevMatchMap_.clear();
  mioFactory()->doDelDynamicPrefixList(name_);
  sent_ = false;
}

void VoxDynamicPrefixList::updatePolicyMapMatchMap(RoutingPolicyMap::CliMode mode,
                                                   const std::string& configCli,
                                                   const std::string& configKey,
                                                   const std::string& prevMatchMapName,
                                                   const std::string& currMatchMapName) {
  DPL_TRACE(traceHandler,
            "void RibDynamicPrefixList::DynPfxConfigSm::VoxDynamicPrefixList::"
            "updatePolicyMapMatchMap(RoutingPolicyMap::CliMode, Vox::String, Vox::String, "
            "Vox::String, Vox::String)"
                << " mode: " << mode << " configCli: " << configCli << " configKey: " << configKey
                << " prevMatchMapName: " << prevMatchMapName
                << " currMatchMapName: " << currMatchMapName);
  const PolicyMapPtr& policyMap = sm_->policyMap();
  if (!policyMap) return;
  // The current match map is entered before the previous one is withdrawn, so a map that both
  // name never drops out of the policy map in between.
  if (!currMatchMapName.empty()) {
    RoutingPolicyMap::updatePolicyMap(RoutingPolicyMap::routeMapPolicy, kDynPfxPlugin, mode,
                                      configCli, configKey, policyMap, currMatchMapName, false);
  }
  if (!prevMatchMapName.empty() && prevMatchMapName != currMatchMapName) {
    RoutingPolicyMap::updatePolicyMap(RoutingPolicyMap::routeMapPolicy, kDynPfxPlugin, mode,
                                      configCli, configKey, policyMap, prevMatchMapName, true);
  }
}

}  // namespace RibDynamicPrefixList
