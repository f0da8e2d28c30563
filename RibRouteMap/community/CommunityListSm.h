// The community lists of the filter-list state machine: the reactor of one list and of each
// of its entries.
//
// An entry is rewritten whole whenever its version changes, and every change re-issues the
// route-map clauses that draw on the list. The list level is the filter-list state machine's
// handleCommunityList, defined with these reactors.
#pragma once

#include <map>
#include <string>

#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "RibRouteMap/mio/Mio.h"
#include "framework/config/AclListConfig.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace RibRouteMap {

class AclListConfigSm::VoxCommunityList : public Vox::ReactorOn<Acl::CommunityList> {
 public:
  class VoxCommunityListEntry : public Vox::ReactorOn<Acl::CommunityListEntry> {
   public:
    VoxCommunityListEntry(const CommunityListEntryPtr& entry, VoxCommunityList* list);
    void onVersion() override;
    // Rewrites the entry whole once it is complete (version not 0).
    void handleVersion();

   protected:
    void onRetarget() override;

   private:
    VoxCommunityList* communityList_;
  };
  using EntryColl = Vox::ReactorColl<VoxCommunityListEntry, Acl::CommunityList::EntryMap>;

  VoxCommunityList(const CommunityListPtr& list, AclListConfigSm* sm);

  const std::string& name() const { return name_; }
  AclListConfigSm* sm() const { return sm_; }
  // Every entry seen present, whose community sets may therefore exist in the engine.
  const std::map<U32, bool>& commSetName() const { return commSetName_; }
  void commSetNameIs(U32 seqno, bool present) { commSetName_[seqno] = present; }
  void commSetNameDel(U32 seqno) { commSetName_.erase(seqno); }
  const EntryColl& communityListEntry() const { return communityListEntry_; }

  void onCommunityListEntry(U32 seqno) override;

  void handleCommunityListEntry(U32 seqno);
  // Deletes the community sets of every remembered entry, in all three kinds.
  void deleteListCommSets();

 protected:
  // Another entity under the same name: what this list remembers and what the new entity
  // holds are compared entry by entry, as if each had been notified, so that entries the
  // new entity lacks leave the engine.
  void onRetarget() override;

 private:
  AclListConfigSm* sm_;
  std::string name_;
  std::map<U32, bool> commSetName_;
  EntryColl communityListEntry_{
      this, "RibRouteMap::AclListConfigSm::VoxCommunityList::communityListEntry",
      [this] { return this->notifier() ? &this->notifier()->communityListEntry() : nullptr; }};
};

}  // namespace RibRouteMap
