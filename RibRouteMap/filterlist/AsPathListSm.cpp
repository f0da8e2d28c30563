// AS-path access lists and the VRF's regular-expression dialect.
//
// The library does not compile expressions: each entry comes with one validity mark per
// dialect. A list that holds an entry that is not valid in the current dialect is deactivated:
// it stays defined in the engine, with no entries, since a partial list would filter more
// routes through than the user wrote. Entries are sent as they change and committed when the
// list's version changes.
#include "RibRouteMap/filterlist/AsPathListSm.h"

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

bool aspathEntryValidRegex(const Acl::AsPathEntry& entry, Acl::RegexMode mode) {
  if (mode == 0) return entry.validMode0;
  if (mode == 1) return entry.validMode1;
  return false;
}

// --- List level -------------------------------------------------------------------------

void AclListConfigSm::handlePathList(const std::string& name) {
  RM_TRACE(traceHandler, "void RibRouteMap::AclListConfigSm::handlePathList(Vox::String) " << name);
  auto mio = mioFactory(vrfName_);
  const ConfigPtr config = aclListConfig();
  // The list is added whatever its entries: their validity only decides which entries follow.
  if (config && config->pathList(name)) {
    RM_TRACE(traceHandler, "Add as-path " << name);
    mio->doAddAsPathList(name);
  } else {
    RM_TRACE(traceHandler, "Delete as-path " << name);
    mio->doDeleteAsPathList(name);
  }
  mio->doCommit();
}

void AclListConfigSm::handleRegexMode() {
  const ConfigPtr config = aclListConfig();
  if (!config) return;
  RM_TRACE(traceHandler, "void RibRouteMap::AclListConfigSm::handleRegexMode()"
                             << " switching to " << config->regexMode());
  auto mio = mioFactory(vrfName_);
  // The engine switches dialects only with no AS-path list defined.
  unconfigureAllAspathAcls();
  mio->doAsPathRegexMode(config->regexMode());
  mio->doCommit();
  RM_TRACE(traceHandler, "reconfiguring only valid as-path ACLs");
  for (const auto& [name, reactor] : pathList_) {
    if (reactor->notifier()) reactor->reevaluatePathList();
  }
  mio->doCommit();
}

void AclListConfigSm::unconfigureAllAspathAcls() {
  const ConfigPtr config = aclListConfig();
  if (!config) return;
  RM_TRACE(traceHandler, "deleting all as-path ACLs");
  auto mio = mioFactory(vrfName_);
  for (const auto& [name, list] : config->pathList()) mio->doDeleteAsPathList(name);
  mio->doSyncCommit();
  mio->doCommit();
}

bool AclListConfigSm::aspathListValidRegex(const std::string& name) const {
  const ConfigPtr config = aclListConfig();
  const PathListPtr list = config ? config->pathList(name) : nullptr;
  if (!list) return true;
  const Acl::RegexMode mode = config->regexMode();
  for (const auto& [seqno, entry] : list->pathEntry()) {
    if (!aspathEntryValidRegex(entry, mode)) return false;
  }
  return true;
}

// --- VoxPathList ------------------------------------------------------------------------

AclListConfigSm::VoxPathList::VoxPathList(const PathListPtr& list, AclListConfigSm* sm)
    : ReactorOn(list), sm_(sm), name_(list->name()) {
  // Only a commit: the entries follow as notifications, or with the state machine's
  // reevaluation at start-up.
  handleAsPathListVersion();
  initializedIs(true);
}

void AclListConfigSm::VoxPathList::onPathEntry(U32 seqno) {
  dispatch([&] { handlePathEntry(seqno); });
}

void AclListConfigSm::VoxPathList::onVersion() {
  dispatch([this] { handleAsPathListVersion(); });
}

void AclListConfigSm::VoxPathList::onRetarget() {
  handleAsPathListVersion();
}

void AclListConfigSm::VoxPathList::handlePathEntry(U32 seqno) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxPathList::handlePathEntry(U32) " << seqno);
  auto mio = mioFactory(sm_->vrfName());
  const Acl::AsPathEntry* entry = notifier() ? notifier()->pathEntry(seqno) : nullptr;

  if (!entry) {
    auto it = inapplicableSeqno_.find(seqno);
    if (it == inapplicableSeqno_.end()) {
      // Sent even while the list is deactivated: deleting an absent entry is harmless. The
      // version change commits.
      mio->doDelAsPathListEntry(name_, seqno);
      return;
    }
    inapplicableSeqno_.erase(it);
    if (inapplicableSeqno_.empty()) {
      doAddPathListEntriesToEngine();
      mio->doCommit();
    }
    return;
  }

  if (!aspathEntryValidRegex(*entry, sm_->regexMode())) {
    RM_TRACE(traceDetail, "adding as-path entry to an invalid ACL: seqno: "
                              << seqno << " as-path ACL: " << name_);
    inapplicableSeqno_[seqno] = true;
    if (inapplicableSeqno_.size() == 1) {
      RM_TRACE(traceHandler, "Deactivate as-path ACL: " << name_);
      doDelPathListEntriesFromEngine();
      mio->doCommit();
    }
    return;
  }

  // A valid entry of a deactivated list is not sent, and an entry that was invalid stays
  // marked: the list becomes active again only when its invalid entries are removed or the
  // list is reevaluated.
  if (inapplicableSeqno_.empty()) {
    mio->doAddAsPathListEntry(name_, seqno, entry->permit, entry->regex, entry->origin);
  }
}

void AclListConfigSm::VoxPathList::handleAsPathListVersion() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxPathList::handleAsPathListVersion() " << name_);
  auto mio = mioFactory(sm_->vrfName());
  const U32 version = notifier() ? notifier()->version() : 0;
  if (notifier() && !notifier()->source().empty()) {
    RM_TRACE(traceDetail, "as-path-name = " << name_ << " source = " << notifier()->source());
  }
  RM_TRACE(traceDetail,
           "Committing as-path access list name = " << name_ << " version = " << version);
  mio->doCommit();
}

void AclListConfigSm::VoxPathList::reevaluatePathList() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxPathList::reevaluatePathList() " << name_);
  auto mio = mioFactory(sm_->vrfName());
  const Acl::RegexMode mode = sm_->regexMode();
  mio->doAddAsPathList(name_);
  inapplicableSeqno_.clear();
  if (notifier()) {
    for (const auto& [seqno, entry] : notifier()->pathEntry()) {
      if (aspathEntryValidRegex(entry, mode)) continue;
      RM_TRACE(traceDetail,
               "As-path ACL: inapplicable entry: " << seqno << " as-path ACL: " << name_);
      inapplicableSeqno_[seqno] = true;
    }
  }
  if (inapplicableSeqno_.empty()) {
    doAddPathListEntriesToEngine();
  } else {
    RM_TRACE(traceDetail, "as-path ACL is deactivated after regex mode change: " << name_);
  }
}

void AclListConfigSm::VoxPathList::doAddPathListEntriesToEngine() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxPathList::doAddPathListEntriesToEngine()"
               << "( " << name_ << " )");
  if (!notifier()) return;
  auto mio = mioFactory(sm_->vrfName());
  for (const auto& [seqno, entry] : notifier()->pathEntry()) {
    mio->doAddAsPathListEntry(name_, seqno, entry.permit, entry.regex, entry.origin);
  }
}

void AclListConfigSm::VoxPathList::doDelPathListEntriesFromEngine() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxPathList::doDelPathListEntriesFromEngine()"
               << "( " << name_ << " )");
  if (!notifier()) return;
  auto mio = mioFactory(sm_->vrfName());
  for (const auto& [seqno, entry] : notifier()->pathEntry()) {
    mio->doDelAsPathListEntry(name_, seqno);
  }
}

}  // namespace RibRouteMap
