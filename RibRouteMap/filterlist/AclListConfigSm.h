// Keeps the engine's filter lists of one VRF equal to the filter-list configuration: IPv4 and
// IPv6 prefix lists, AS-path access lists (with the VRF's regular-expression dialect) and
// community lists.
//
// The list level lives here: a list that appears or goes is added to or deleted from the
// engine by this state machine, before its nested reactor is made or removed, so the engine
// knows a list before its entries arrive and forgets it before its reactor goes. The entry
// level lives in one nested reactor per list, and each kind keeps its own rhythm:
//  - prefix lists collect the numbers of changed entries and send them in one batch when the
//    list's version changes;
//  - AS-path entries are sent as they change and committed when the version changes; a list
//    with an entry that is not valid in the current dialect stays defined but empty;
//  - community-list entries are rewritten whole whenever their own version changes, and every
//    change re-issues the route-map clauses that draw on the list.
//
// Ownership: the state machine owns one VoxAclConfig (on the configuration) and the four
// collections of list reactors; a community-list reactor owns one reactor per entry. Nested
// reactors keep a plain back pointer to their owner. Deleting the state machine deletes them
// all without sending anything.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "RibRouteMap/mio/Mio.h"
#include "framework/config/AclListConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace RibRouteMap {

// Whether `entry`'s expression is valid in dialect `mode`; no entry is valid in a dialect
// other than 0 and 1.
bool aspathEntryValidRegex(const Acl::AsPathEntry& entry, Acl::RegexMode mode);

class AclListConfigSm : public Vox::Reactor {
 public:
  using ConfigPtr = Vox::Ptr<Acl::AclListConfig const>;
  using PathListPtr = Vox::Ptr<Acl::AsPathList const>;
  using PrefixListPtr = Vox::Ptr<Acl::PrefixList const>;
  using Ipv6PrefixListPtr = Vox::Ptr<Acl::Ipv6PrefixList const>;
  using CommunityListPtr = Vox::Ptr<Acl::CommunityList const>;
  using CommunityListEntryPtr = Vox::Ptr<Acl::CommunityListEntry const>;

  class VoxAclConfig : public Vox::ReactorOn<Acl::AclListConfig> {
   public:
    VoxAclConfig(const ConfigPtr& config, AclListConfigSm* sm);
    void onPathList(const std::string& name) override;
    void onPrefixList(const std::string& name) override;
    void onIpv6PrefixList(const std::string& name) override;
    void onCommunityList(const std::string& name) override;
    void onRegexMode() override;

   protected:
    // Every collection follows the new configuration; nothing is sent by this alone.
    void onRetarget() override;

   private:
    AclListConfigSm* sm_;
  };

  // The reactor of one prefix list of either family (`List` is Acl::PrefixList or
  // Acl::Ipv6PrefixList): the two share their rhythm and differ only in the engine commands.
  template <class List>
  class VoxPrefixListOf : public Vox::ReactorOn<List> {
   public:
    using ListPtr = Vox::Ptr<List const>;
    VoxPrefixListOf(const ListPtr& list, AclListConfigSm* sm);

    const std::string& name() const { return name_; }
    // The entries changed since the last version was applied, in notification order.
    const std::vector<U32>& modifiedSeqNum() const { return modifiedSeqNum_; }

    void onEntry(U32 seqno) override;
    void onVersion() override;

    void handlePrefixEntry(U32 seqno);
    void handlePrefixListVersion();

   protected:
    // A new entity under the same name is sent as at creation, so that none of its entries is
    // missed; entries marked for the old one still go (as deletes when the new one lacks them).
    void onRetarget() override;

   private:
    // Sends every entry of the list as it stands, and the marked entries it lacks, then commits.
    void sendWhole();
    // Sends one entry as configured now: an add, or a delete when it is gone.
    void sendEntry(const Mio& mio, U32 seqno);

    AclListConfigSm* sm_;
    std::string name_;
    std::vector<U32> modifiedSeqNum_;
  };
  using VoxPrefixList = VoxPrefixListOf<Acl::PrefixList>;
  using VoxIpv6PrefixList = VoxPrefixListOf<Acl::Ipv6PrefixList>;

  class VoxPathList : public Vox::ReactorOn<Acl::AsPathList> {
   public:
    VoxPathList(const PathListPtr& list, AclListConfigSm* sm);

    const std::string& name() const { return name_; }
    // The entries known to be invalid in the current dialect; the list is active (its
    // entries are in the engine) exactly when this is empty.
    const std::map<U32, bool>& inapplicableSeqno() const { return inapplicableSeqno_; }
    bool active() const { return inapplicableSeqno_.empty(); }

    void onPathEntry(U32 seqno) override;
    void onVersion() override;

    void handlePathEntry(U32 seqno);
    void handleAsPathListVersion();
    // Adds the list again and, when every entry is valid in the current dialect, its entries.
    // No commit: the caller commits.
    void reevaluatePathList();
    void doAddPathListEntriesToEngine();
    void doDelPathListEntriesFromEngine();

   protected:
    void onRetarget() override;

   private:
    AclListConfigSm* sm_;
    std::string name_;
    std::map<U32, bool> inapplicableSeqno_;
  };

  class VoxCommunityList : public Vox::ReactorOn<Acl::CommunityList> {
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

  AclListConfigSm(const ConfigPtr& config, const L3::VrfName& vrfName);
  ~AclListConfigSm() override;

  // The watched configuration; null once dropped.
  ConfigPtr aclListConfig() const;
  VoxAclConfig* aclConfig() const { return aclConfig_.get(); }
  void aclConfigDel() { aclConfig_.reset(); }
  const L3::VrfName& vrfName() const { return vrfName_; }
  // The configured dialect of AS-path expressions.
  Acl::RegexMode regexMode() const;

  template <class R, class List>
  using ListColl = Vox::ReactorColl<R, Acl::AclListConfig::Coll<List>>;
  using PathListColl = ListColl<VoxPathList, Acl::AsPathList>;
  using PrefixListColl = ListColl<VoxPrefixList, Acl::PrefixList>;
  using Ipv6PrefixListColl = ListColl<VoxIpv6PrefixList, Acl::Ipv6PrefixList>;
  using CommunityListColl = ListColl<VoxCommunityList, Acl::CommunityList>;
  // The list reactors of each kind: pathList().is(list), .del(name), .delAll(), and so on.
  PathListColl& pathList() { return pathList_; }
  const PathListColl& pathList() const { return pathList_; }
  PrefixListColl& prefixList() { return prefixList_; }
  const PrefixListColl& prefixList() const { return prefixList_; }
  Ipv6PrefixListColl& ipv6PrefixList() { return ipv6PrefixList_; }
  const Ipv6PrefixListColl& ipv6PrefixList() const { return ipv6PrefixList_; }
  CommunityListColl& communityList() { return communityList_; }
  const CommunityListColl& communityList() const { return communityList_; }

  void handleInitialized();
  // Whole-state passes; each does nothing without a configuration.
  void handlePathList();
  void handlePrefixList();
  void handleIpv6PrefixList();
  void handleCommunityList();
  void handleRegexMode();
  // Per-list passes: add or delete the list in the engine, then commit.
  void handlePathList(const std::string& name);
  void handlePrefixList(const std::string& name);
  void handleIpv6PrefixList(const std::string& name);
  void handleCommunityList(const std::string& name);
  // Runs when a community-list reactor has been removed: the sets of its entries go with it.
  void vox_handleCommunityList(VoxCommunityList& reactor);

  // Deletes every configured AS-path list and forces the deletions through with a sync
  // commit, so that the engine can switch dialects.
  void unconfigureAllAspathAcls();
  // Whether every entry of the configured list `name` is valid in the current dialect (also
  // true for an empty or unknown list).
  bool aspathListValidRegex(const std::string& name) const;

 private:
  friend class VoxAclConfig;

  Vox::ReactorSlot<VoxAclConfig> aclConfig_{this};
  L3::VrfName vrfName_;
  // Each collection mirrors its kind in the watched configuration.
  template <class List>
  std::function<const Acl::AclListConfig::Coll<List>*()> watched(
      const Acl::AclListConfig::Coll<List>& (Acl::AclListConfig::*coll)() const) {
    return [this, coll]() -> const Acl::AclListConfig::Coll<List>* {
      const ConfigPtr config = aclListConfig();
      return config ? &((*config).*coll)() : nullptr;
    };
  }
  PathListColl pathList_{this, "RibRouteMap::AclListConfigSm::pathList",
                         watched<Acl::AsPathList>(&Acl::AclListConfig::pathList)};
  PrefixListColl prefixList_{this, "RibRouteMap::AclListConfigSm::prefixList",
                             watched<Acl::PrefixList>(&Acl::AclListConfig::prefixList)};
  Ipv6PrefixListColl ipv6PrefixList_{
      this, "RibRouteMap::AclListConfigSm::ipv6PrefixList",
      watched<Acl::Ipv6PrefixList>(&Acl::AclListConfig::ipv6PrefixList)};
  CommunityListColl communityList_{this, "RibRouteMap::AclListConfigSm::communityList",
                                   watched<Acl::CommunityList>(&Acl::AclListConfig::communityList)};
};

Vox::Ptr<AclListConfigSm> aclListConfigSmFactory(const AclListConfigSm::ConfigPtr& config,
                                                 const L3::VrfName& vrfName);

}  // namespace RibRouteMap
