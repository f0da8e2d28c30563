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

#include <map>
#include <string>

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

  class VoxAclConfig : public Vox::Reactor, public Acl::AclListConfig::Notifiee {
   public:
    VoxAclConfig(const ConfigPtr& config, AclListConfigSm* sm);
    void onPathList(const std::string& name) override;
    void onPrefixList(const std::string& name) override;
    void onIpv6PrefixList(const std::string& name) override;
    void onCommunityList(const std::string& name) override;
    void onRegexMode() override;
    void onNotifier() override;
    // The immediate whole-collection forms: a reactor for every configured list, none for a
    // list that is gone. They send nothing themselves.
    void onPathListvoxImmediate();
    void onPrefixListvoxImmediate();
    void onIpv6PrefixListvoxImmediate();
    void onCommunityListvoxImmediate();

   private:
    AclListConfigSm* sm_;
  };

  class VoxPrefixList : public Vox::Reactor, public Acl::PrefixList::Notifiee {
   public:
    VoxPrefixList(const PrefixListPtr& list, AclListConfigSm* sm);

    const std::string& name() const { return name_; }
    // The entries changed since the last version was applied.
    const std::map<U32, bool>& modifiedSeqNum() const { return modifiedSeqNum_; }

    void onEntry(U32 seqno) override;
    void onVersion() override;
    void onNotifier() override;

    void handlePrefixEntry(U32 seqno);
    void handlePrefixEntry();
    void handlePrefixListVersion();

   private:
    AclListConfigSm* sm_;
    std::string name_;
    std::map<U32, bool> modifiedSeqNum_;
  };

  class VoxIpv6PrefixList : public Vox::Reactor, public Acl::Ipv6PrefixList::Notifiee {
   public:
    VoxIpv6PrefixList(const Ipv6PrefixListPtr& list, AclListConfigSm* sm);

    const std::string& name() const { return name_; }
    const std::map<U32, bool>& modifiedSeqNum() const { return modifiedSeqNum_; }

    void onEntry(U32 seqno) override;
    void onVersion() override;
    void onNotifier() override;

    void handleIpv6PrefixEntry(U32 seqno);
    void handleIpv6PrefixEntry();
    void handleIpv6PrefixListVersion();

   private:
    AclListConfigSm* sm_;
    std::string name_;
    std::map<U32, bool> modifiedSeqNum_;
  };

  class VoxPathList : public Vox::Reactor, public Acl::AsPathList::Notifiee {
   public:
    VoxPathList(const PathListPtr& list, AclListConfigSm* sm);

    const std::string& name() const { return name_; }
    // The entries known to be invalid in the current dialect; the list is active (its
    // entries are in the engine) exactly when this is empty.
    const std::map<U32, bool>& inapplicableSeqno() const { return inapplicableSeqno_; }
    bool active() const { return inapplicableSeqno_.empty(); }

    void onPathEntry(U32 seqno) override;
    void onVersion() override;
    void onNotifier() override;

    void handlePathEntry(U32 seqno);
    void handleAsPathListVersion();
    // Adds the list again and, when every entry is valid in the current dialect, its entries.
    // No commit: the caller commits.
    void reevaluatePathList();
    void doAddPathListEntriesToEngine();
    void doDelPathListEntriesFromEngine();

   private:
    AclListConfigSm* sm_;
    std::string name_;
    std::map<U32, bool> inapplicableSeqno_;
  };

  class VoxCommunityList : public Vox::Reactor, public Acl::CommunityList::Notifiee {
   public:
    class VoxCommunityListEntry : public Vox::Reactor, public Acl::CommunityListEntry::Notifiee {
     public:
      VoxCommunityListEntry(const CommunityListEntryPtr& entry, VoxCommunityList* list);
      void onVersion() override;
      void onNotifier() override;
      // Rewrites the entry whole once it is complete (version not 0).
      void handleVersion();

     private:
      VoxCommunityList* communityList_;
    };
    using EntryColl = Vox::ReactorColl<U32, VoxCommunityListEntry, Acl::CommunityListEntry>;

    VoxCommunityList(const CommunityListPtr& list, AclListConfigSm* sm);

    const std::string& name() const { return name_; }
    AclListConfigSm* sm() const { return sm_; }
    // Every entry seen present, whose community sets may therefore exist in the engine.
    const std::map<U32, bool>& commSetName() const { return commSetName_; }
    void commSetNameIs(U32 seqno, bool present) { commSetName_[seqno] = present; }
    void commSetNameDel(U32 seqno) { commSetName_.erase(seqno); }
    const EntryColl& communityListEntry() const { return communityListEntry_; }

    void onCommunityListEntry(U32 seqno) override;
    void onNotifier() override;

    void handleCommunityListEntry(U32 seqno);
    // Deletes the community sets of every remembered entry, in all three kinds.
    void deleteListCommSets();

   private:
    AclListConfigSm* sm_;
    std::string name_;
    std::map<U32, bool> commSetName_;
    EntryColl communityListEntry_;
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

  const Vox::ReactorColl<std::string, VoxPathList, Acl::AsPathList>& pathList() const {
    return pathList_;
  }
  const Vox::ReactorColl<std::string, VoxPrefixList, Acl::PrefixList>& prefixList() const {
    return prefixList_;
  }
  const Vox::ReactorColl<std::string, VoxIpv6PrefixList, Acl::Ipv6PrefixList>& ipv6PrefixList()
      const {
    return ipv6PrefixList_;
  }
  const Vox::ReactorColl<std::string, VoxCommunityList, Acl::CommunityList>& communityList() const {
    return communityList_;
  }

  VoxPathList* pathListIs(const PathListPtr& list) { return pathList_.is(list); }
  void pathListDel(const std::string& name) { pathList_.del(name); }
  void pathListDelAll() { pathList_.delAll(); }
  VoxPrefixList* prefixListIs(const PrefixListPtr& list) { return prefixList_.is(list); }
  void prefixListDel(const std::string& name) { prefixList_.del(name); }
  void prefixListDelAll() { prefixList_.delAll(); }
  VoxIpv6PrefixList* ipv6PrefixListIs(const Ipv6PrefixListPtr& list) {
    return ipv6PrefixList_.is(list);
  }
  void ipv6PrefixListDel(const std::string& name) { ipv6PrefixList_.del(name); }
  void ipv6PrefixListDelAll() { ipv6PrefixList_.delAll(); }
  VoxCommunityList* communityListIs(const CommunityListPtr& list) {
    return communityList_.is(list);
  }
  void communityListDel(const std::string& name) { communityList_.del(name); }
  void communityListDelAll() { communityList_.delAll(); }

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
  Vox::ReactorColl<std::string, VoxPathList, Acl::AsPathList> pathList_;
  Vox::ReactorColl<std::string, VoxPrefixList, Acl::PrefixList> prefixList_;
  Vox::ReactorColl<std::string, VoxIpv6PrefixList, Acl::Ipv6PrefixList> ipv6PrefixList_;
  Vox::ReactorColl<std::string, VoxCommunityList, Acl::CommunityList> communityList_;
};

Vox::Ptr<AclListConfigSm> aclListConfigSmFactory(const AclListConfigSm::ConfigPtr& config,
                                                 const L3::VrfName& vrfName);

}  // namespace RibRouteMap
