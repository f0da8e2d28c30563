#include "RibRouteMap/filterlist/AclListConfigSm.h"

#include <functional>

#include "RibRouteMap/community/CommunityListSm.h"
#include "RibRouteMap/filterlist/AsPathListSm.h"
#include "RibRouteMap/filterlist/PrefixListSm.h"
#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

Vox::Ptr<AclListConfigSm> aclListConfigSmFactory(const AclListConfigSm::ConfigPtr& config,
                                                 const L3::VrfName& vrfName) {
  return Vox::validPtr(Vox::make<AclListConfigSm>(config, vrfName));
}

// --- AclListConfigSm --------------------------------------------------------------------

namespace {

// The collection `coll` of the configuration that `sm` watches, or null while it watches none.
template <class List>
std::function<const Acl::AclListConfig::Coll<List>*()> watched(
    const AclListConfigSm* sm,
    const Acl::AclListConfig::Coll<List>& (Acl::AclListConfig::*coll)() const) {
  return [sm, coll]() -> const Acl::AclListConfig::Coll<List>* {
    const AclListConfigSm::ConfigPtr config = sm->aclListConfig();
    return config ? &((*config).*coll)() : nullptr;
  };
}

}  // namespace

AclListConfigSm::AclListConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName)
    : vrfName_(vrfName),
      pathList_(this, "RibRouteMap::AclListConfigSm::pathList",
                watched<Acl::AsPathList>(this, &Acl::AclListConfig::pathList)),
      prefixList_(this, "RibRouteMap::AclListConfigSm::prefixList",
                  watched<Acl::PrefixList>(this, &Acl::AclListConfig::prefixList)),
      ipv6PrefixList_(this, "RibRouteMap::AclListConfigSm::ipv6PrefixList",
                      watched<Acl::Ipv6PrefixList>(this, &Acl::AclListConfig::ipv6PrefixList)),
      communityList_(this, "RibRouteMap::AclListConfigSm::communityList",
                     watched<Acl::CommunityList>(this, &Acl::AclListConfig::communityList)) {
  communityList_.zombieHookIs([this](VoxCommunityList& r) { vox_handleCommunityList(r); });
  aclConfig_.set(Vox::make<VoxAclConfig>(config, this));
  // The dialect goes first: switching it removes every AS-path list from the engine.
  handleRegexMode();
  // Does nothing yet: AS-path lists are sent once their reactors exist (handleInitialized).
  handlePathList();
  handlePrefixList();
  handleIpv6PrefixList();
  handleCommunityList();
  pathList_.reconcileAll();
  prefixList_.reconcileAll();
  ipv6PrefixList_.reconcileAll();
  communityList_.reconcileAll();
  handleInitialized();
}

// The nested reactors go with their collections, without their hooks: a state machine that
// is torn down leaves the engine as it is.
AclListConfigSm::~AclListConfigSm() = default;

AclListConfigSm::ConfigPtr AclListConfigSm::aclListConfig() const {
  return aclConfig_ ? aclConfig_->notifier() : nullptr;
}

Acl::RegexMode AclListConfigSm::regexMode() const {
  const ConfigPtr config = aclListConfig();
  return config ? config->regexMode() : 0;
}

void AclListConfigSm::handleInitialized() {
  initializedIs(true);
  handlePathList();
}

void AclListConfigSm::handlePathList() {
  if (!initialized()) return;
  RM_TRACE(traceHandler, "void RibRouteMap::AclListConfigSm::handlePathList()"
                             << " vrf: " << vrfName_);
  auto mio = mioFactory(vrfName_);
  for (const auto& [name, reactor] : pathList_) reactor->reevaluatePathList();
  mio->doCommit();
}

namespace {

// Calls `handle(name)` for every name of `coll` in order. A handler may change the collection
// (its notifications run synchronously), so the walk resumes after the name just handled.
template <class Coll, class Handle>
void forEachName(const Coll& coll, Handle handle) {
  for (auto it = coll.begin(); it != coll.end();) {
    const std::string name = it->first;
    handle(name);
    it = coll.upper_bound(name);
  }
}

}  // namespace

void AclListConfigSm::handlePrefixList() {
  const ConfigPtr config = aclListConfig();
  if (!config) return;
  forEachName(config->prefixList(), [this](const std::string& n) { handlePrefixList(n); });
}

void AclListConfigSm::handleIpv6PrefixList() {
  const ConfigPtr config = aclListConfig();
  if (!config) return;
  forEachName(config->ipv6PrefixList(), [this](const std::string& n) { handleIpv6PrefixList(n); });
}

void AclListConfigSm::handleCommunityList() {
  const ConfigPtr config = aclListConfig();
  if (!config) return;
  forEachName(config->communityList(), [this](const std::string& n) { handleCommunityList(n); });
}

// --- VoxAclConfig -----------------------------------------------------------------------

AclListConfigSm::VoxAclConfig::VoxAclConfig(const ConfigPtr& config, AclListConfigSm* sm)
    : ReactorOn(config), sm_(sm) {
  initializedIs(true);
}

void AclListConfigSm::VoxAclConfig::onPathList(const std::string& name) {
  sm_->pathList_.onKey(*this, name, [this](const std::string& n) { sm_->handlePathList(n); });
}

void AclListConfigSm::VoxAclConfig::onPrefixList(const std::string& name) {
  sm_->prefixList_.onKey(*this, name, [this](const std::string& n) { sm_->handlePrefixList(n); });
}

void AclListConfigSm::VoxAclConfig::onIpv6PrefixList(const std::string& name) {
  sm_->ipv6PrefixList_.onKey(*this, name,
                             [this](const std::string& n) { sm_->handleIpv6PrefixList(n); });
}

void AclListConfigSm::VoxAclConfig::onCommunityList(const std::string& name) {
  sm_->communityList_.onKey(*this, name,
                            [this](const std::string& n) { sm_->handleCommunityList(n); });
}

void AclListConfigSm::VoxAclConfig::onRegexMode() {
  dispatch([this] { sm_->handleRegexMode(); });
}

void AclListConfigSm::VoxAclConfig::onRetarget() {
  sm_->pathList_.reconcileAll();
  sm_->prefixList_.reconcileAll();
  sm_->ipv6PrefixList_.reconcileAll();
  sm_->communityList_.reconcileAll();
}

}  // namespace RibRouteMap
