#include "RibRouteMap/filterlist/AclListConfigSm.h"

#include "RibRouteMap/root/Trace.h"

namespace RibRouteMap {

Vox::Ptr<AclListConfigSm> aclListConfigSmFactory(const AclListConfigSm::ConfigPtr& config,
                                                 const L3::VrfName& vrfName) {
  return Vox::validPtr(Vox::make<AclListConfigSm>(config, vrfName));
}

// --- AclListConfigSm --------------------------------------------------------------------

AclListConfigSm::AclListConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName)
    : vrfName_(vrfName),
      pathList_(
          this, "_pathList", "RibRouteMap::AclListConfigSm::pathList",
          [](const Acl::AsPathList& l) { return l.name(); },
          [this](const PathListPtr& l) { return Vox::make<VoxPathList>(l, this); }),
      prefixList_(
          this, "_prefixList", "RibRouteMap::AclListConfigSm::prefixList",
          [](const Acl::PrefixList& l) { return l.name(); },
          [this](const PrefixListPtr& l) { return Vox::make<VoxPrefixList>(l, this); }),
      ipv6PrefixList_(
          this, "_ipv6PrefixList", "RibRouteMap::AclListConfigSm::ipv6PrefixList",
          [](const Acl::Ipv6PrefixList& l) { return l.name(); },
          [this](const Ipv6PrefixListPtr& l) { return Vox::make<VoxIpv6PrefixList>(l, this); }),
      communityList_(
          this, "_communityList", "RibRouteMap::AclListConfigSm::communityList",
          [](const Acl::CommunityList& l) { return l.name(); },
          [this](const CommunityListPtr& l) { return Vox::make<VoxCommunityList>(l, this); }) {
  communityList_.zombieHookIs([this](VoxCommunityList& r) { vox_handleCommunityList(r); });
  aclConfig_.set(Vox::make<VoxAclConfig>(config, this));
  // The dialect goes first: switching it removes every AS-path list from the engine.
  handleRegexMode();
  // Does nothing yet: AS-path lists are sent once their reactors exist (handleInitialized).
  handlePathList();
  handlePrefixList();
  handleIpv6PrefixList();
  handleCommunityList();
  if (config) {
    for (const auto& [name, list] : config->pathList()) pathListIs(list);
    for (const auto& [name, list] : config->prefixList()) prefixListIs(list);
    for (const auto& [name, list] : config->ipv6PrefixList()) ipv6PrefixListIs(list);
    for (const auto& [name, list] : config->communityList()) communityListIs(list);
  }
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
    : sm_(sm) {
  notifierIs(config);
}

void AclListConfigSm::VoxAclConfig::onPathList(const std::string& name) {
  dispatchKeyed(
      name, [this](const std::string& n) { sm_->handlePathList(n); },
      [this](const std::string& n) {
        if (notifier()) sm_->pathList_.reconcile(n, notifier()->pathList(n));
      });
}

void AclListConfigSm::VoxAclConfig::onPrefixList(const std::string& name) {
  dispatchKeyed(
      name, [this](const std::string& n) { sm_->handlePrefixList(n); },
      [this](const std::string& n) {
        if (notifier()) sm_->prefixList_.reconcile(n, notifier()->prefixList(n));
      });
}

void AclListConfigSm::VoxAclConfig::onIpv6PrefixList(const std::string& name) {
  dispatchKeyed(
      name, [this](const std::string& n) { sm_->handleIpv6PrefixList(n); },
      [this](const std::string& n) {
        if (notifier()) sm_->ipv6PrefixList_.reconcile(n, notifier()->ipv6PrefixList(n));
      });
}

void AclListConfigSm::VoxAclConfig::onCommunityList(const std::string& name) {
  dispatchKeyed(
      name, [this](const std::string& n) { sm_->handleCommunityList(n); },
      [this](const std::string& n) {
        if (notifier()) sm_->communityList_.reconcile(n, notifier()->communityList(n));
      });
}

void AclListConfigSm::VoxAclConfig::onRegexMode() {
  dispatchScalar([this] { sm_->handleRegexMode(); });
}

void AclListConfigSm::VoxAclConfig::onNotifier() {
  // Construction registers too; the state machine's start-up creates the first reactors.
  if (!sm_->initialized()) return;
  onPathListvoxImmediate();
  onPrefixListvoxImmediate();
  onIpv6PrefixListvoxImmediate();
  onCommunityListvoxImmediate();
}

void AclListConfigSm::VoxAclConfig::onPathListvoxImmediate() {
  if (notifier()) sm_->pathList_.reconcileAll(notifier()->pathList());
}

void AclListConfigSm::VoxAclConfig::onPrefixListvoxImmediate() {
  if (notifier()) sm_->prefixList_.reconcileAll(notifier()->prefixList());
}

void AclListConfigSm::VoxAclConfig::onIpv6PrefixListvoxImmediate() {
  if (notifier()) sm_->ipv6PrefixList_.reconcileAll(notifier()->ipv6PrefixList());
}

void AclListConfigSm::VoxAclConfig::onCommunityListvoxImmediate() {
  if (notifier()) sm_->communityList_.reconcileAll(notifier()->communityList());
}

}  // namespace RibRouteMap
