// IPv4 and IPv6 prefix lists.
//
// The configuration announces a finished batch of entry changes with a new version of the
// list, so a list's reactor only marks the entries that change and sends the marked ones
// when the version changes: an add for an entry that is configured (it overwrites the
// engine's entry of that number), a delete for one that is gone. An entry that is removed and
// added again within one batch is therefore sent once, as an add. Both families share the
// engine node; an IPv6 list is kept apart by its prefixed name (Mio::prefixListId).
#include "RibRouteMap/filterlist/PrefixListSm.h"

#include <algorithm>

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

namespace {

using Family = Mio::PrefixListFamily;

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

// --- VoxPrefixList and VoxIpv6PrefixList ---------------------------------------------

namespace {

// What differs between the two families: the trace names and the entry command.
template <class List>
struct PrefixFamily;

template <>
struct PrefixFamily<Acl::PrefixList> {
  static constexpr Family family = Family::ipv4;
  static constexpr const char* entryTrace =
      "void RibRouteMap::AclListConfigSm::VoxPrefixList::handlePrefixEntry(U32) ";
  static constexpr const char* versionTrace =
      "void RibRouteMap::AclListConfigSm::VoxPrefixList::handlePrefixListVersion() ";
  static void add(const Mio& mio, const std::string& name, const Acl::PrefixEntry& e) {
    mio.doAddIpPrefixListEntry(name, e.seqno, e.permit, e.prefix, e.ge, e.le);
  }
  static void addAll(const Mio& mio, const std::string& name, const Acl::PrefixList& list) {
    mio.doAddIpPrefixListEntries(name, list.entries());
  }
};

template <>
struct PrefixFamily<Acl::Ipv6PrefixList> {
  static constexpr Family family = Family::ipv6;
  static constexpr const char* entryTrace =
      "void RibRouteMap::AclListConfigSm::VoxIpv6PrefixList::handleIpv6PrefixEntry(U32) ";
  static constexpr const char* versionTrace =
      "void RibRouteMap::AclListConfigSm::VoxIpv6PrefixList::handleIpv6PrefixListVersion() ";
  static void add(const Mio& mio, const std::string& name, const Acl::Ipv6PrefixEntry& e) {
    mio.doAddIpv6PrefixListEntry(name, e.seqno, e.permit, e.prefix, e.ge, e.le);
  }
  static void addAll(const Mio& mio, const std::string& name, const Acl::Ipv6PrefixList& list) {
    mio.doAddIpv6PrefixListEntries(name, list.entries());
  }
};

}  // namespace

template <class List>
AclListConfigSm::VoxPrefixListOf<List>::VoxPrefixListOf(const ListPtr& list, AclListConfigSm* sm)
    : Vox::ReactorOn<List>(list), sm_(sm), name_(list->name()) {
  // A new reactor knows nothing of what the engine holds: it sends every entry.
  sendWhole();
  this->initializedIs(true);
}

template <class List>
void AclListConfigSm::VoxPrefixListOf<List>::onEntry(U32 seqno) {
  this->dispatch([&] { handlePrefixEntry(seqno); });
}

template <class List>
void AclListConfigSm::VoxPrefixListOf<List>::onVersion() {
  this->dispatch([this] { handlePrefixListVersion(); });
}

template <class List>
void AclListConfigSm::VoxPrefixListOf<List>::onRetarget() {
  sendWhole();
}

template <class List>
void AclListConfigSm::VoxPrefixListOf<List>::handlePrefixEntry(U32 seqno) {
  RM_TRACE(traceHandler, PrefixFamily<List>::entryTrace << name_ << " seqno: " << seqno);
  modifiedSeqNum_.push_back(seqno);
}

template <class List>
void AclListConfigSm::VoxPrefixListOf<List>::sendEntry(const Mio& mio, U32 seqno) {
  RM_TRACE(traceDetail, "Commit seqno: " << seqno);
  const List* list = this->notifier().ptr();
  if (const auto* entry = list ? list->entry(seqno) : nullptr) {
    PrefixFamily<List>::add(mio, name_, *entry);
  } else {
    mio.doDelIpPrefixListEntry(name_, seqno, PrefixFamily<List>::family);
  }
}

template <class List>
void AclListConfigSm::VoxPrefixListOf<List>::handlePrefixListVersion() {
  RM_TRACE(traceHandler, PrefixFamily<List>::versionTrace << name_);
  // A batch names each changed entry once, in ascending order, however often it changed.
  std::sort(modifiedSeqNum_.begin(), modifiedSeqNum_.end());
  modifiedSeqNum_.erase(std::unique(modifiedSeqNum_.begin(), modifiedSeqNum_.end()),
                        modifiedSeqNum_.end());
  auto mio = mioFactory(sm_->vrfName());
  for (U32 seqno : modifiedSeqNum_) sendEntry(*mio, seqno);
  mio->doCommit();
  modifiedSeqNum_.clear();
}

template <class List>
void AclListConfigSm::VoxPrefixListOf<List>::sendWhole() {
  const List* list = this->notifier().ptr();
  if (!list) return;
  if (modifiedSeqNum_.empty()) {
    // Nothing pending (always so at creation): the entries go straight from the entity, in
    // its order, without a mark each.
    if (routeMapTrace().enabled(traceHandler)) {
      for (const auto& [seqno, entry] : list->entries()) {
        RM_TRACE(traceHandler, PrefixFamily<List>::entryTrace << name_ << " seqno: " << seqno);
      }
    }
    RM_TRACE(traceHandler, PrefixFamily<List>::versionTrace << name_);
    auto mio = mioFactory(sm_->vrfName());
    if (routeMapTrace().enabled(traceDetail)) {
      // The per-entry detail goes between the entries' own traces.
      for (const auto& [seqno, entry] : list->entries()) {
        RM_TRACE(traceDetail, "Commit seqno: " << seqno);
        PrefixFamily<List>::add(*mio, name_, entry);
      }
    } else {
      PrefixFamily<List>::addAll(*mio, name_, *list);
    }
    mio->doCommit();
    return;
  }
  for (const auto& [seqno, entry] : list->entries()) handlePrefixEntry(seqno);
  handlePrefixListVersion();
}

template class AclListConfigSm::VoxPrefixListOf<Acl::PrefixList>;
template class AclListConfigSm::VoxPrefixListOf<Acl::Ipv6PrefixList>;

}  // namespace RibRouteMap
