// The route-map library's command channel to the routing engine, one per VRF.
//
// Every `do...` command builds its path (from the policy root), its value list and its named
// operation afresh, executes each operation once as soon as it is built, and keeps nothing:
// a Mio holds only its VRF name, so `mioFactory` may be called in every handler. Commands do
// not commit unless stated; the handler that made a change commits once at its end.
#pragma once

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "framework/config/AclListConfig.h"
#include "framework/config/AclTypes.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/l3/VrfName.h"
#include "framework/rib/Mio.h"
#include "framework/vela/Address.h"
#include "framework/vox/Ptr.h"
#include "framework/vox/Types.h"

namespace RibRouteMap {

using RibPath = Vox::Ptr<Rib::MioTagArray>;
using RibValue = Vox::Ptr<Rib::MioValueTagArray>;
using RibOp = Vox::Ptr<Rib::MioOp>;

class Mio : public Vox::PtrInterface {
 public:
  using String = Vox::String;
  using CommunitySetPtr = Vox::Ptr<Routing::RouteMap::CommunitySet const>;

  enum class PrefixListFamily : U32 { ipv4 = 0, ipv6 = 1 };
  // "ipv4" / "ipv6"; another value prints as its number.
  static std::string toString(PrefixListFamily f);
  static std::optional<PrefixListFamily> prefixListFamily(std::string_view text);
  static std::optional<PrefixListFamily> prefixListFamily(U32 value);
  // The engine's name of a prefix list: the name for IPv4, ".ipv6." and the name for IPv6.
  static String prefixListId(std::string_view name, PrefixListFamily family);

  explicit Mio(L3::VrfName vrfName) : vrfName_(std::move(vrfName)) {}
  const L3::VrfName& vrfName() const { return vrfName_; }

  // --- Paths, values, operations --------------------------------------------------------
  // Begins a path with `tag`; the root's VRF must be this channel's VRF.
  RibPath ribPathIs(U32 tag) const;
  // 512, 576 = map, 577, 578 = sequence.
  RibPath ribMapSeqPathIs(std::string_view mapName, U32 seqno) const;
  // ribMapSeqPathIs then 601: the set-action node of a sequence.
  RibPath ribSetPathIs(std::string_view mapName, U32 seqno) const;
  RibValue ribValueIs() const;
  RibOp ribOpIs(std::string_view opName, const RibPath& path) const;
  // The common tail of every command: name the operation, attach the values (if any), set
  // the delete flag for a removal, execute.
  void ribExecute(std::string_view opName, const RibPath& path, const RibValue& values,
                  bool del = false) const;

  // --- Commit and global options --------------------------------------------------------
  void doCommit() const;
  // A commit made through a delete of an AS-path list that never exists.
  void doSyncCommit() const;
  void doRouteMapOpConfig(Routing::RouteMap::RouteMapOpModeType mode) const;
  void doAsPathRegexMode(Acl::RegexMode mode) const;

  // --- Route maps and sequences ---------------------------------------------------------
  void doDeleteRouteMap(const String& name) const;
  void doDeleteMapSequence(const String& name, U32 seqno) const;
  void doAddMapSequence(const String& name, Acl::MatchPermit permit, U32 seqno) const;
  void doAddSubRouteMap(const String& name, U32 seqno, const String& subRm) const;
  // Sends the whole map `map` under the engine name `name`, sequence by sequence.
  void doInsertRouteMap(const Vox::Ptr<Routing::RouteMap::Map const>& map,
                        const String& name) const;

  // --- Match clauses --------------------------------------------------------------------
  void doAddMatchRule(const String& mapName, U32 seqno,
                      const Routing::RouteMap::MatchRule& rule) const;
  void doAddMatchIntValue(const String& name, U32 seqno, U32 pathTag, U32 valueTag, U32 value,
                          bool invert) const;
  void doAddMatchStrValue(const String& name, U32 seqno, U32 pathTag, U32 valueTag,
                          const String& value, bool invert) const;
  void doAddMatchAccessList(const String& name, U32 seqno, const String& list, bool invert) const;
  void doAddMatchPrefixList(const String& name, U32 seqno, const String& list, bool invert,
                            bool isIpv6) const;
  void doAddMatchNextHopPrefixList(const String& name, U32 seqno, const String& list, bool invert,
                                   bool isIpv6) const;
  void doAddMatchResolvedNextHopPrefixList(const String& name, U32 seqno, const String& list,
                                           bool invert, bool isIpv6) const;
  void doAddMatchMetricType(const String& name, U32 seqno, U32 type, bool invert) const;
  void doAddMatchRouteType(const String& name, U32 seqno, U32 type, bool invert) const;
  void doAddMatchInterface(const String& name, U32 seqno, const String& intf, bool invert) const;
  void doAddMatchProto(const String& name, U32 seqno, U32 proto, bool invert) const;
  void doAddMatchAsRange(const String& name, U32 seqno, U32 low, U32 high, bool invert) const;
  void doAddMatchAsPathLength(const String& name, U32 seqno, U32 first, U32 second,
                              bool invert) const;
  void doAddMatchCommInst(const String& name, U32 seqno, U32 first, U32 second, bool invert) const;
  void doAddMatchDynamicPrefixList(const String& name, U32 seqno, const String& list,
                                   bool isIpv6) const;
  void doAddMatchContribAggAttr(const String& name, U32 seqno, const String& mapName,
                                bool invert) const;
  void doAddMatchGateway(const String& name, U32 seqno, Vela::IpAddr gateway, bool invert) const;
  void doAddMatchNextHop(const String& name, U32 seqno, Vela::IpAddr nextHop,
                         const Vela::Ip6Addr& ipv6NextHop, bool isIpv6, bool invert) const;

  // --- Set clauses ----------------------------------------------------------------------
  void doSetIntValue(const String& name, U32 seqno, U32 action, U32 value) const;
  void doSetU8Value(const String& name, U32 seqno, U32 action, U8 value) const;
  void doSetStrValue(const String& name, U32 seqno, U32 action, const String& value) const;
  void doSetNextHop(const String& name, U32 seqno, Vela::IpAddr nextHop,
                    const Vela::Ip6Addr& ipv6NextHop, bool isIpv6) const;
  void doSetNextHopPeerAddr(const String& name, U32 seqno, U32 action, bool on) const;
  void doSetNextHopUnchanged(const String& name, U32 seqno, U32 action, bool on) const;
  void doSetMetric(const String& name, U32 seqno, U32 metric,
                   Routing::RouteMap::MedType medType) const;
  void doSetMetricType(const String& name, U32 seqno, const String& type) const;
  void doSetAsPathPrependLastAs(const String& name, U32 seqno, U8 count) const;
  // `asPath` is AS numbers separated by single spaces.
  void doSetAsPathPrepend(const String& name, U32 seqno, const String& asPath) const;
  void doSetAsPathReplace(const String& name, U32 seqno, const String& asPath) const;

  // --- Community lists and sets ---------------------------------------------------------
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

  // --- Route-map community clauses ------------------------------------------------------
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

  // --- Community-list user tracking -----------------------------------------------------
  void addRmClauseToCommListUsers(const String& mapName, U32 seqno,
                                  const CommunitySetPtr& set) const;
  void delRmFromCommListUsers(const String& mapName, U32 seqno) const;
  void refreshCommListUsersOf(const String& listName) const;

  // --- Prefix lists ---------------------------------------------------------------------
  void doAddIpPrefixList(const String& name) const;
  void doAddIpv6PrefixList(const String& name) const;
  void doDelIpPrefixList(const String& name, PrefixListFamily family) const;
  void doAddIpPrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                              const Vela::Prefix& prefix, U32 ge, U32 le) const;
  void doAddIpv6PrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                                const Vela::Ip6Prefix& prefix, U32 ge, U32 le) const;
  void doDelIpPrefixListEntry(const String& name, U32 seqno, PrefixListFamily family) const;
  // Every entry of a list, in the map's order, as doAdd...PrefixListEntry would send them
  // one by one; the list's path is built once for the batch.
  void doAddIpPrefixListEntries(const String& name, const Acl::PrefixList::EntryMap& entries) const;
  void doAddIpv6PrefixListEntries(const String& name,
                                  const Acl::Ipv6PrefixList::EntryMap& entries) const;

  // --- Standard access lists ------------------------------------------------------------
  // A list is replaced whole by its caller (delete, commit, add with every entry, commit),
  // so the entry delete is never needed by the state machines; none of these commits.
  void doAddIpStdAcl(const String& name) const;
  // The permit flag is true unless `action` is deny.
  void doAddIpStdAclEntry(const String& name, U32 seqno, Acl::MatchPermit action,
                          const Vela::IpAddrWithFullMask& source) const;
  void doDelIpStdAcl(const String& name) const;
  void doDelIpStdAclEntry(const String& name, U32 seqno) const;

  // --- AS-path lists --------------------------------------------------------------------
  // A list is keyed by "/policy/asplist " and its name, an entry by its sequence number and
  // "/asplist/entry". None of them commits.
  void doAddAsPathList(const String& name) const;
  void doDeleteAsPathList(const String& name) const;
  // The origin travels as a mask: 257, 258, 260 for origins 0, 1, 2 and 256 (any origin) for
  // every other value. Only a permit entry carries the permit flag; its absence means deny.
  void doAddAsPathListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                            const String& regex, Acl::BGPOrigin origin) const;
  void doDelAsPathListEntry(const String& name, U32 seqno) const;

 private:
  // The trace and the root check with which ribPathIs begins every path.
  void ribPathChecked() const;
  // One entry below the list node `listPath`, which is left as it was given.
  void addIpPrefixListEntry(const RibPath& listPath, U32 seqno, Acl::MatchPermit permit,
                            const Vela::Prefix& prefix, U32 ge, U32 le) const;
  void addIpv6PrefixListEntry(const RibPath& listPath, U32 seqno, Acl::MatchPermit permit,
                              const Vela::Ip6Prefix& prefix, U32 ge, U32 le) const;

  L3::VrfName vrfName_;
};

std::ostream& operator<<(std::ostream& os, Mio::PrefixListFamily f);

// The VRF's command channel; a null allocation is the framework's range error.
Vox::Ptr<Mio> mioFactory(const L3::VrfName& vrfName);

// AS-path prepend and replace of a sequence: at most `count` AS numbers of `list`, in position
// order, packed as native-order 32-bit words into a string of four bytes per number.
void doSetAsPathPrepend_(const L3::VrfName& vrf, const Vox::String& name, U32 seqno,
                         const std::map<U32, U32>& list, U32 count);
void doSetAsPathReplace_(const L3::VrfName& vrf, const Vox::String& name, U32 seqno,
                         const std::map<U32, U32>& list, U32 count);

}  // namespace RibRouteMap
