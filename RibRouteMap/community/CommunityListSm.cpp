// Community lists of the filter-list state machine.
//
// A configured list exists in the engine twice, under its name and as a ".exact." copy, and
// each of its entries as a community set of its own that both copies refer to. An entry is
// rewritten whole whenever its version changes (version 0 means the configuration has not
// finished it). After every change the route-map clauses that draw on the list are re-issued
// through the user tracking, between the plain list and its exact copy, so that they see
// the plain list as it now is.
//
// The list reactor remembers every entry it has seen present (commSetName): the engine may
// hold a set for each, and those sets must go when the list goes.
#include "RibRouteMap/community/CommunityListSm.h"

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

// --- List level -------------------------------------------------------------------------

void AclListConfigSm::handleCommunityList(const std::string& name) {
  RM_TRACE(traceHandler, "void RibRouteMap::AclListConfigSm::handleCommunityList(Vox::String)"
                             << " name " << name);
  auto mio = mioFactory(vrfName_);
  const ConfigPtr config = aclListConfig();
  if (config && config->communityList(name)) {
    RM_TRACE(traceHandler, "Add community-list " << name);
    mio->doAddCommunityList(name);
    mio->refreshCommListUsersOf(name);
    mio->doAddCommunityList(MioCommunity::kExactPrefix + name);
  } else {
    RM_TRACE(traceHandler, "Del community-list " << name);
    mio->doDelCommunityList(name);
    mio->refreshCommListUsersOf(name);
    mio->doDelCommunityList(MioCommunity::kExactPrefix + name);
  }
  mio->doCommit();
}

void AclListConfigSm::vox_handleCommunityList(VoxCommunityList& reactor) {
  reactor.deleteListCommSets();
}

// --- VoxCommunityList -------------------------------------------------------------------

using VoxCommunityList = AclListConfigSm::VoxCommunityList;
using VoxCommunityListEntry = VoxCommunityList::VoxCommunityListEntry;

VoxCommunityList::VoxCommunityList(const CommunityListPtr& list, AclListConfigSm* sm)
    : ReactorOn(list), sm_(sm), name_(list->name()) {
  for (const auto& [seqno, entry] : list->communityListEntry()) commSetNameIs(seqno, true);
  // Each entry reactor sends its entry as it is made.
  communityListEntry_.reconcileAll();
  initializedIs(true);
}

void VoxCommunityList::onCommunityListEntry(U32 seqno) {
  communityListEntry_.onKey(*this, seqno, [this](U32 s) { handleCommunityListEntry(s); });
}

void VoxCommunityList::onRetarget() {
  std::map<U32, bool> seqnos = commSetName_;
  for (const auto& [seqno, entry] : notifier()->communityListEntry()) seqnos[seqno] = true;
  for (const auto& [seqno, seen] : seqnos) handleCommunityListEntry(seqno);
  communityListEntry_.reconcileAll();
}

void VoxCommunityList::handleCommunityListEntry(U32 seqno) {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxCommunityList::handleCommunityListEntry(U32)"
               << " seqno " << seqno);
  if (notifier() && notifier()->communityListEntry(seqno)) {
    // The entry itself is sent by its own reactor once it is complete.
    commSetNameIs(seqno, true);
    return;
  }
  auto mio = mioFactory(sm_->vrfName());
  mio->doDelCommunityListEntry(name_, seqno);
  mio->refreshCommListUsersOf(name_);
  mio->doCommit();
  commSetNameDel(seqno);
}

void VoxCommunityList::deleteListCommSets() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxCommunityList::deleteListCommSets()");
  auto mio = mioFactory(sm_->vrfName());
  for (const auto& [seqno, present] : commSetName_) {
    // An entry's kind may have changed over its versions, so every kind is cleared.
    const Vox::String setName = Mio::getCommunitySetName(name_, seqno);
    mio->doDelCommSet(setName, Acl::communityStandard);
    mio->doDelCommSet(setName, Acl::communityExtended);
    mio->doDelCommSet(setName, Acl::communityLarge);
  }
}

// --- VoxCommunityListEntry --------------------------------------------------------------

VoxCommunityListEntry::VoxCommunityListEntry(const CommunityListEntryPtr& entry,
                                             VoxCommunityList* list)
    : ReactorOn(entry), communityList_(list) {
  handleVersion();
  initializedIs(true);
}

void VoxCommunityListEntry::onVersion() {
  dispatch([this] { handleVersion(); });
}

void VoxCommunityListEntry::onRetarget() {
  handleVersion();
}

void VoxCommunityListEntry::handleVersion() {
  RM_TRACE(traceHandler,
           "void RibRouteMap::AclListConfigSm::VoxCommunityList::VoxCommunityListEntry::"
           "handleVersion()");
  const CommunityListEntryPtr& entry = notifier();
  if (!entry || entry->version() == 0) return;
  auto mio = mioFactory(communityList_->sm()->vrfName());
  mio->doAddCommunityListEntry(communityList_->name(), *entry);
  mio->refreshCommListUsersOf(communityList_->name());
  mio->doCommit();
}

}  // namespace RibRouteMap
