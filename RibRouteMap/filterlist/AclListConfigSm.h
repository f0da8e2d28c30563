// Keeps the engine's filter lists of one VRF equal to the filter-list configuration: IPv4 and
// IPv6 prefix lists, AS-path access lists (with the VRF's regular-expression dialect) and
// community lists.
//
// The list level lives in this state machine: a list that appears or goes is added to or
// deleted from the engine before its nested reactor is made or removed, so the engine knows a
// list before its entries arrive and forgets it before its reactor goes. The entry level lives
// in one nested reactor per list, and each kind keeps its own rhythm:
//  - prefix lists collect the numbers of changed entries and send them in one batch when the
//    list's version changes;
//  - AS-path entries are sent as they change and committed when the version changes; a list
//    with an entry that is not valid in the current dialect stays defined but empty;
//  - community-list entries are rewritten whole whenever their own version changes, and every
//    change re-issues the route-map clauses that draw on the list.
//
// Each kind's code, its list-level handlers of this state machine included, is beside its
// commands: in this folder under the kind's own name for prefix lists and AS-path lists, in
// community/ for community lists. What the kinds share is this state machine: the
// configuration's reactor and the collections.
//
// Ownership: the state machine owns one VoxAclConfig (on the configuration) and the four
// collections of list reactors; a community-list reactor owns one reactor per entry. Nested
// reactors keep a plain back pointer to their owner. Deleting the state machine deletes them
// all without sending anything.
#pragma once

#include <string>

#include "framework/config/AclListConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/vox/Reactor.h"
#include "framework/vox/ReactorColl.h"

namespace RibRouteMap {

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

  // The reactors of the three kinds of list, each declared beside its kind's commands:
  // PrefixListSm.h (one template for both families), AsPathListSm.h and
  // community/CommunityListSm.h. This state machine holds their collections without their
  // definitions, so a kind that includes it sees no other kind.
  template <class List>
  class VoxPrefixListOf;
  using VoxPrefixList = VoxPrefixListOf<Acl::PrefixList>;
  using VoxIpv6PrefixList = VoxPrefixListOf<Acl::Ipv6PrefixList>;
  class VoxPathList;
  class VoxCommunityList;

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
  // Each collection mirrors its kind in the watched configuration. They are made by the
  // constructor, where the reactors' classes are known.
  PathListColl pathList_;
  PrefixListColl prefixList_;
  Ipv6PrefixListColl ipv6PrefixList_;
  CommunityListColl communityList_;
};

Vox::Ptr<AclListConfigSm> aclListConfigSmFactory(const AclListConfigSm::ConfigPtr& config,
                                                 const L3::VrfName& vrfName);

}  // namespace RibRouteMap
