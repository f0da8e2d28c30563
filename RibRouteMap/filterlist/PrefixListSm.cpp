// IPv4 and IPv6 prefix lists.
//
// The configuration announces a finished batch of entry changes with a new version of the
// list, so a list's reactor only marks the entries that change and sends the marked ones
// when the version changes: an add for an entry that is configured (it overwrites the
// engine's entry of that number), a delete for one that is gone. An entry that is removed and
// added again within one batch is therefore sent once, as an add. Both families share the
// engine node; an IPv6 list is kept apart by its prefixed name (Mio::prefixListId).
#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "RibRouteMap/root/Trace.h"

namespace RibRouteMap {

namespace {

using Family = Mio::PrefixListFamily;

// Sends the marked entries of `list` (add or delete each), commits once, even with nothing
// marked, and forgets the marks.
template <class List, class AddEntry>
void sendMarkedEntries(const Mio& mio, const List* list, Family family, const std::string& name,
                       std::map<U32, bool>& marked, AddEntry addEntry) {
  for (const auto& [seqno, on] : marked) {
    RM_TRACE(traceDetail, "Commit seqno: " << seqno);
    if (const auto* entry = list ? list->entry(seqno) : nullptr) {
      addEntry(*entry);
    } else {
      mio.doDelIpPrefixListEntry(name, seqno, family);
    }
  }
  mio.doCommit();
  marked.clear();
}

}  // namespace

// --- List level -------------------------------------------------------------------------

void AclListConfigSm::handlePrefixList(const std::string& name) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::handlePrefixList(Vox::String) " << name);
  auto mio = mioFactory(vrfName_);
  const ConfigPtr config = aclListConfig();
  if (config && config->prefixList(name)) {
    RM_TRACE(traceHandler, "Add prefix-list " << name);
    mio->doAddIpPrefixList(name);
  } else {
    // The list's node goes with its entries; no entry deletes are needed.
    RM_TRACE(traceHandler, "Del prefix-list " << name);
    mio->doDelIpPrefixList(name, Family::ipv4);
  }
  mio->doCommit();
}

void AclListConfigSm::handleIpv6PrefixList(const std::string& name) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::handleIpv6PrefixList(Vox::String) " << name);
  auto mio = mioFactory(vrfName_);
  const ConfigPtr config = aclListConfig();
  if (config && config->ipv6PrefixList(name)) {
    RM_TRACE(traceHandler, "Add prefix-list " << name);
    mio->doAddIpv6PrefixList(name);
  } else {
    RM_TRACE(traceHandler, "Del prefix-list " << name);
    mio->doDelIpPrefixList(name, Family::ipv6);
  }
  mio->doCommit();
}

// --- VoxPrefixList ----------------------------------------------------------------------

AclListConfigSm::VoxPrefixList::VoxPrefixList(const PrefixListPtr& list, AclListConfigSm* sm)
    : sm_(sm), name_(list->name()) {
  notifierIs(list);
  // A new reactor knows nothing of what the engine holds: it sends every entry.
  handlePrefixEntry();
  handlePrefixListVersion();
  initializedIs(true);
}

void AclListConfigSm::VoxPrefixList::onEntry(U32 seqno) {
  dispatchScalar([&] { handlePrefixEntry(seqno); });
}

void AclListConfigSm::VoxPrefixList::onVersion() {
  dispatchScalar([this] { handlePrefixListVersion(); });
}

void AclListConfigSm::VoxPrefixList::onNotifier() {
  // A new entity under the same name is sent as at creation, so that none of its entries is
  // missed. Construction registers too and sends by itself.
  if (!initialized() || !notifier()) return;
  handlePrefixEntry();
  handlePrefixListVersion();
}

void AclListConfigSm::VoxPrefixList::handlePrefixEntry(U32 seqno) {
  RM_TRACE(traceHandler, "void RibRouteMap::AclListConfigSm::VoxPrefixList::handlePrefixEntry(U32) "
                             << name_ << " seqno: " << seqno);
  modifiedSeqNum_[seqno] = true;
}

void AclListConfigSm::VoxPrefixList::handlePrefixEntry() {
  if (!notifier()) return;
  for (const auto& [seqno, entry] : notifier()->entries()) handlePrefixEntry(seqno);
}

void AclListConfigSm::VoxPrefixList::handlePrefixListVersion() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxPrefixList::handlePrefixListVersion() " << name_);
  auto mio = mioFactory(sm_->vrfName());
  sendMarkedEntries(*mio, notifier().ptr(), Family::ipv4, name_, modifiedSeqNum_,
                    [&](const Acl::PrefixEntry& e) {
                      mio->doAddIpPrefixListEntry(name_, e.seqno, e.permit, e.prefix, e.ge, e.le);
                    });
}

// --- VoxIpv6PrefixList ------------------------------------------------------------------

AclListConfigSm::VoxIpv6PrefixList::VoxIpv6PrefixList(const Ipv6PrefixListPtr& list,
                                                      AclListConfigSm* sm)
    : sm_(sm), name_(list->name()) {
  notifierIs(list);
  handleIpv6PrefixEntry();
  handleIpv6PrefixListVersion();
  initializedIs(true);
}

void AclListConfigSm::VoxIpv6PrefixList::onEntry(U32 seqno) {
  dispatchScalar([&] { handleIpv6PrefixEntry(seqno); });
}

void AclListConfigSm::VoxIpv6PrefixList::onVersion() {
  dispatchScalar([this] { handleIpv6PrefixListVersion(); });
}

void AclListConfigSm::VoxIpv6PrefixList::onNotifier() {
  if (!initialized() || !notifier()) return;
  handleIpv6PrefixEntry();
  handleIpv6PrefixListVersion();
}

void AclListConfigSm::VoxIpv6PrefixList::handleIpv6PrefixEntry(U32 seqno) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxIpv6PrefixList::handleIpv6PrefixEntry(U32) "
               << name_ << " seqno: " << seqno);
  modifiedSeqNum_[seqno] = true;
}

void AclListConfigSm::VoxIpv6PrefixList::handleIpv6PrefixEntry() {
  if (!notifier()) return;
  for (const auto& [seqno, entry] : notifier()->entries()) handleIpv6PrefixEntry(seqno);
}

void AclListConfigSm::VoxIpv6PrefixList::handleIpv6PrefixListVersion() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxIpv6PrefixList::handleIpv6PrefixListVersion() "
               << name_);
  auto mio = mioFactory(sm_->vrfName());
  sendMarkedEntries(*mio, notifier().ptr(), Family::ipv6, name_, modifiedSeqNum_,
                    [&](const Acl::Ipv6PrefixEntry& e) {
                      mio->doAddIpv6PrefixListEntry(name_, e.seqno, e.permit, e.prefix, e.ge, e.le);
                    });
}

}  // namespace RibRouteMap
