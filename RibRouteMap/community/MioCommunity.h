// The community commands of the command channel: community lists and their entries, community
// sets, the community clauses of route-map sequences, and the tracking of which clauses use
// which community list.
//
// A configured list exists on the engine under its own name and as a ".exact." copy; each of
// its entries is a community set of its own. A standard-community clause of a sequence goes
// through an internal list of the sequence (".cl"), an extended or large clause through one set
// per sequence (".e", ".l"). The clause commands need two things beyond their arguments, which
// the channel is given when it is made (see mioFactory): the VRF's community-list user tracking
// and the VRF's configured filter lists, whose community lists a clause may draw on. A channel
// made without them records no users and finds no configured list.
#pragma once

#include <string_view>

#include "RibRouteMap/community/CommListUsers.h"
#include "RibRouteMap/mio/MioChannel.h"
#include "framework/config/AclListConfig.h"
#include "framework/config/AclTypes.h"
#include "framework/config/RouteMapConfig.h"

namespace RibRouteMap {

class MioCommunity : public virtual MioChannel {
 public:
  using CommunitySetPtr = Vox::Ptr<Routing::RouteMap::CommunitySet const>;
  using AclListConfigPtr = Vox::Ptr<Acl::AclListConfig const>;

  // --- Names --------------------------------------------------------------------------------
  // The prefix of a configured list's exact copy.
  static inline const String kExactPrefix = ".exact.";
  // ".%s%d": the set of one configured list entry.
  static String getCommunitySetName(std::string_view listName, U32 seqno);
  // ".cs%s%d%s" / ".cl%s%d%s" with "del" for the delete flag, else "ar".
  static String getInternalCommunitySetName(std::string_view mapName, U32 seqno,
                                            Acl::CommSetFlag flag);
  static String getInternalCommunityListName(std::string_view mapName, U32 seqno,
                                             Acl::CommSetFlag flag);
  // ".e%s%d" and ".l%s%d": the extended and large sets of a route-map sequence.
  static String getExtCommunitySetName(std::string_view mapName, U32 seqno);
  static String getLargeCommunitySetName(std::string_view mapName, U32 seqno);

  // --- Community lists and sets -------------------------------------------------------------
  void doAddCommunityList(const String& name) const;
  void doDelCommunityList(const String& name) const;  // commits
  void doAddCommunityListEntry(const String& listName, const Acl::CommunityListEntry& entry) const;
  void doDelCommunityListEntry(const String& listName, U32 seqno) const;
  void doAddCommunitySetToList(const String& listName, U32 seqno, const String& setName,
                               Acl::MatchPermit permit) const;
  void doAddListCommSet(const String& setName, const Acl::CommunityListEntry& entry) const;
  // Commits; true for an extended set holding a link-bandwidth community.
  bool doAddSetCommSet(const String& setName, const CommunitySetPtr& set,
                       Acl::CommunityType kind) const;
  void doDelCommSet(const String& setName, Acl::CommunityType kind) const;  // commits

  // --- Route-map community clauses ----------------------------------------------------------
  void doSetCommunity(const String& mapName, U32 seqno, const CommunitySetPtr& set) const;
  void doSetExtCommunity(const String& mapName, U32 seqno, const CommunitySetPtr& set) const;
  void doSetLargeCommunity(const String& mapName, U32 seqno, const CommunitySetPtr& set) const;
  void doSetExtCommunityLbwOpts(const String& mapName, U32 seqno,
                                Acl::ExtCommLinkBandwidthSetFlag flag, float bandwidth) const;
  void doApplyCommListToRouteMap(const String& mapName, U32 seqno, const String& clName,
                                 Acl::CommSetFlag flag) const;
  void doAddInternalCommunityList(const String& mapName, U32 seqno,
                                  const CommunitySetPtr& set) const;
  void doAddInternalMergeCommunityListName(const String& mapName, U32 seqno,
                                           const CommunitySetPtr& set) const;
  void doDeleteInternalCommunityList(const String& mapName, U32 seqno, Acl::CommSetFlag flag) const;
  void doAddMatchCommunity(const String& mapName, U32 seqno,
                           const Routing::RouteMap::CommListSet& comm, bool firstFlag, bool exact,
                           Acl::CommunityType kind) const;
  // Everything a sequence owns in the community subsystem, in this order: its user records,
  // its "ar" and "del" internal lists and sets, its ".e" and ".l" sets. No final commit.
  void doDeleteMapSeqCommObjects(const String& mapName, U32 seqno) const;

  // --- Community-list user tracking ---------------------------------------------------------
  void addRmClauseToCommListUsers(const String& mapName, U32 seqno,
                                  const CommunitySetPtr& set) const;
  void delRmFromCommListUsers(const String& mapName, U32 seqno) const;
  void refreshCommListUsersOf(const String& listName) const;

  // What the channel was given: the tracking and the configured filter lists (either may be
  // null).
  const Vox::Ptr<CommListUsers>& commListUsers() const { return commListUsers_; }
  const AclListConfigPtr& aclListConfig() const { return aclListConfig_; }

 protected:
  MioCommunity(Vox::Ptr<CommListUsers> commListUsers, AclListConfigPtr aclListConfig)
      : commListUsers_(std::move(commListUsers)), aclListConfig_(std::move(aclListConfig)) {}

 private:
  Vox::Ptr<CommListUsers> commListUsers_;
  AclListConfigPtr aclListConfig_;
};

}  // namespace RibRouteMap
