#include "RibRouteMap/acl/IpAclConfigSm.h"

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

// --- IpAclConfigSm ----------------------------------------------------------------------

IpAclConfigSm::IpAclConfigSm(const TypeConfigPtr& config, const L3::VrfName& vrfName)
    : config_(config), vrfName_(vrfName) {
  configReactor_.set(Vox::make<VoxIpConfig>(config_, this));
  handleInitialized();
}

void IpAclConfigSm::notifierIs(const TypeConfigPtr& config) {
  if (config == config_) return;
  config_ = config;
  configReactor_->notifierIs(config_);
}

void IpAclConfigSm::handleInitialized() {
  // Each new list's reactor sends its list as it is made.
  acl_.reconcileAll();
  initializedIs(true);
}

void IpAclConfigSm::handleIpConfig(const std::string& name) {
  // A configured list is its own reactor's business.
  if (config_ && config_->acl(name)) return;
  RM_TRACE(traceHandler, "handleIpConfig: remove ip acl std list " << name);
  auto mio = mioFactory(vrfName_);
  mio->doDelIpStdAcl(name);
  mio->doCommit();
}

// --- VoxIpConfig ------------------------------------------------------------------------

IpAclConfigSm::VoxIpConfig::VoxIpConfig(const TypeConfigPtr& config, IpAclConfigSm* sm)
    : ReactorOn(config), sm_(sm) {
  initializedIs(true);
}

void IpAclConfigSm::VoxIpConfig::onAcl(const std::string& name) {
  sm_->acl_.onKey(*this, name, [this](const std::string& n) { sm_->handleIpConfig(n); });
}

void IpAclConfigSm::VoxIpConfig::onRetarget() {
  sm_->acl_.reconcileAll();
}

// --- VoxAcl -----------------------------------------------------------------------------

IpAclConfigSm::VoxAcl::VoxAcl(const AclPtr& acl, IpAclConfigSm* sm)
    : ReactorOn(acl), sm_(sm), aclName_(acl->name()) {
  // A newly seen list is always replaced in the engine, whatever the engine held before.
  handleCurrCfg();
  initializedIs(true);
}

void IpAclConfigSm::VoxAcl::onCurrCfg() {
  dispatch([this] { handleCurrCfg(); });
}

void IpAclConfigSm::VoxAcl::onRetarget() {
  handleCurrCfg();
}

void IpAclConfigSm::VoxAcl::handleCurrCfg() {
  RM_TRACE(traceHandler, "void RibRouteMap::IpAclConfigSm::VoxAcl::handleCurrCfg()"
                             << " aclName: " << aclName_ << " vrf: " << sm_->vrfName());
  const AclPtr& acl = notifier();
  if (!acl || !acl->standard() || !acl->currCfg()) return;
  // Held for the whole replacement, whatever the configuration does meanwhile.
  const Vox::Ptr<Acl::RuleSet const> ruleSet = acl->currCfg();
  auto mio = mioFactory(sm_->vrfName());
  // Sent even for a list the engine never had: what the engine holds is not remembered, and
  // deleting a missing list is harmless.
  mio->doDelIpStdAcl(aclName_);
  mio->doCommit();
  if (ruleSet->rules.empty()) return;
  mio->doAddIpStdAcl(aclName_);
  for (const auto& [seqno, id] : ruleSet->rules) {
    auto it = ruleSet->ruleConfig.find(id);
    if (it == ruleSet->ruleConfig.end()) {
      // A rule set naming a rule it does not hold: the other entries still go out.
      RM_TRACE(traceError, "handleCurrCfg: acl " << aclName_ << " seqno " << seqno
                                                 << " has no configuration for rule " << id);
      continue;
    }
    const Acl::RuleConfig& rule = it->second;
    mio->doAddIpStdAclEntry(aclName_, seqno, rule.action, rule.filter.source());
  }
  mio->doCommit();
}

}  // namespace RibRouteMap
