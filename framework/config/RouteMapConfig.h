// The route-map configuration of a VRF: route maps, their entries (sequences) with match
// rules, sub-route-map and set clauses, the route-map operation mode, and peer filters (which
// have the shape of route maps).
//
// Entities are written by the agent (mutable pointers) and read by the library (const
// pointers). Every mutator stores first, then notifies; an unchanged value notifies nobody.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "framework/config/AclTypes.h"
#include "framework/vela/Address.h"
#include "framework/vox/Entity.h"

namespace Routing::RouteMap {

// A match option as configured; any number may appear, the library knows the ones below.
using MatchOption = U32;
enum : MatchOption {
  matchAccessList = 1,
  matchPrefixList = 2,
  matchGateway = 5,
  matchNextHop = 12,
  matchNextHopPrefixList = 14,
  matchResolvedNextHopPrefixList = 15,
  matchCommunity = 103,
  matchExtCommunity = 104,
  matchInterface = 107,
  matchMetricType = 112,
  matchProtocol = 113,
  matchIpv6PrefixList = 116,
  matchIpv6NextHop = 117,
  matchIpv6NextHopPrefixList = 118,
  matchIpv6ResolvedNextHopPrefixList = 119,
  matchAsRange = 121,
  matchRouteType = 122,
  matchDynamicPrefixList = 123,
  matchIpv6DynamicPrefixList = 124,
  matchCommInstances = 125,
  matchAsPathLength = 126,
  matchLargeCommunity = 127,
  matchContribAggAttr = 128,
};

using RouteMapOpModeType = U32;
// The med type of a metric set clause; 0 to 8 have engine meanings.
using MedType = U32;

// The names of the community lists that a match rule (or a set clause) refers to, ordered.
class CommListSet {
 public:
  CommListSet() = default;
  CommListSet(std::initializer_list<std::string> names) : names_(names) {}
  explicit CommListSet(std::set<std::string> names) : names_(std::move(names)) {}
  const std::set<std::string>& names() const { return names_; }
  bool empty() const { return names_.empty(); }
  // The names in order, separated by single spaces.
  std::string stringValue() const;
  friend bool operator==(const CommListSet&, const CommListSet&) = default;

 private:
  std::set<std::string> names_;
};

struct MatchRule {
  MatchOption option = 0;
  std::string stringValue;  // list, map, interface or community name
  U32 intValue = 0;
  Vela::IpAddr ipAddr;
  Vela::Ip6Addr ip6Addr;
  U32 upper = 0;  // upper bound of a range match
  std::pair<U32, U32> asPathLength{0, 0};
  bool invert = false;
  CommListSet commListSet;  // community matches
  bool exact = false;       // community matches: refer to the exact copies of the lists
  friend bool operator==(const MatchRule&, const MatchRule&) = default;
};

struct LargeCommunity {
  U32 global = 0, local1 = 0, local2 = 0;
  friend auto operator<=>(const LargeCommunity&, const LargeCommunity&) = default;
};

// The communities of one set clause: its own values of each kind, or the community lists
// whose entries supply them (useCL), and how the clause applies (flag). Immutable once shared.
class CommunitySet : public Vox::PtrInterface {
 public:
  std::vector<U32> standard;
  std::vector<std::uint64_t> extended;
  std::vector<LargeCommunity> large;
  bool useCL = false;
  std::set<std::string> communityListName;
  Acl::CommSetFlag flag = Acl::commSetNone_;

  Acl::CommSetFlag flagValue() const { return flag; }
  bool sameAs(const CommunitySet& o) const {
    return standard == o.standard && extended == o.extended && large == o.large &&
           useCL == o.useCL && communityListName == o.communityListName && flag == o.flag;
  }
};

// Set-flag bits of a map entry; a clause is present when its bit is set.
enum SetFlagBit : U32 {
  setAsPathPrepend = 0,
  setNextHop = 2,
  setIpv6NextHop = 3,
  setOrigin = 4,
  setAction19 = 5,
  setMetric = 7,
  setOspfMetricType = 8,
  setIsisLevel = 10,
  setAction2 = 11,
  setCommunityAddReplace = 12,
  setCommunityDelete = 13,
  setExtCommunity = 14,
  setAction3 = 15,
  setAction25 = 16,
  setAction26 = 17,
  setNextHopPeerAddr = 18,
  setIpv6NextHopPeerAddr = 19,
  setNextHopUnchanged = 20,
  setIpv6NextHopUnchanged = 21,
  setAsPathPrependLastAs = 25,
  setAsPathReplace = 26,
  setAction35 = 28,
  setLargeCommunity = 29,
};

// The set clauses of a map entry. `flags` holds one bit per present clause; the fields of an
// absent clause are ignored.
struct SetClauses {
  U32 flags = 0;
  std::map<U32, U32> asPathPrepend;  // position -> AS number
  std::map<U32, U32> asPathReplace;
  U8 asPathPrependLastAs = 0;  // the 8-bit action
  Vela::IpAddr nextHop;
  Vela::Ip6Addr ipv6NextHop;
  Acl::BGPOrigin origin = 0;
  S64 metric = 0;
  MedType medType = 0;
  U32 ospfMetricType = 0;
  U32 isisLevel = 0;
  U32 action2 = 0;
  U32 action25 = 0;
  S64 action3 = 0;
  S64 action19 = 0;
  S64 action26 = 0;
  S64 action35 = 0;
  Vox::Ptr<CommunitySet const> communityAddReplace;
  Vox::Ptr<CommunitySet const> communityDelete;
  Vox::Ptr<CommunitySet const> extCommunity;
  Acl::ExtCommLinkBandwidthSetFlag extCommLbwFlag = Acl::lbwNone_;
  float extCommLbwBandwidth = 0;
  Vox::Ptr<CommunitySet const> largeCommunity;
  bool nextHopPeerAddr = false;
  bool ipv6NextHopPeerAddr = false;
  bool nextHopUnchanged = false;
  bool ipv6NextHopUnchanged = false;

  bool has(SetFlagBit bit) const { return (flags >> bit) & 1u; }
  // Copies the clause of `bit` (its fields and its flag bit) from `from`.
  void copyClause(SetFlagBit bit, const SetClauses& from);
  // Whether the clause of `bit` is the same in both (absent in both counts as the same).
  bool sameClause(SetFlagBit bit, const SetClauses& other) const;
  // Every bit that names a clause, ascending.
  static const std::vector<SetFlagBit>& allBits();
};

class MapEntry : public Vox::PtrInterface, public Vox::NotifierBase<MapEntry> {
 public:
  class Notifiee : public Vox::NotifieeBase<MapEntry, Notifiee> {
   public:
    virtual void onMatchRule(MatchOption /*option*/) {}
    virtual void onSubRouteMap() {}
    virtual void onPermit() {}
    virtual void onSetClause(SetFlagBit /*bit*/) {}
  };

  using MatchRuleMap = std::map<MatchOption, MatchRule>;
  explicit MapEntry(U32 seqno) : seqno_(seqno) {}

  U32 seqno() const { return seqno_; }
  Acl::MatchPermit permit() const { return permit_; }
  const MatchRuleMap& matchRule() const { return matchRule_; }
  const MatchRule* matchRule(MatchOption option) const {
    auto it = matchRule_.find(option);
    return it == matchRule_.end() ? nullptr : &it->second;
  }
  const std::string& subRouteMap() const { return subRouteMap_; }
  const SetClauses& setClauses() const { return set_; }
  U32 setFlags() const { return set_.flags; }
  const Vox::Ptr<CommunitySet const>& communityAddReplace() const {
    return set_.communityAddReplace;
  }
  const Vox::Ptr<CommunitySet const>& communityDelete() const { return set_.communityDelete; }

  void permitIs(Acl::MatchPermit p);
  void matchRuleIs(const MatchRule& rule);
  void matchRuleDel(MatchOption option);
  void subRouteMapIs(const std::string& name);
  // Sets the clause of `bit` (present or absent) as it is in `from`.
  void setClauseIs(SetFlagBit bit, const SetClauses& from);

 private:
  U32 seqno_;
  Acl::MatchPermit permit_ = Acl::permit;
  MatchRuleMap matchRule_;
  std::string subRouteMap_;
  SetClauses set_;
};

class Map : public Vox::PtrInterface, public Vox::NotifierBase<Map> {
 public:
  class Notifiee : public Vox::NotifieeBase<Map, Notifiee> {
   public:
    virtual void onMapEntry(U32 /*seqno*/) {}
    virtual void onVersion() {}
  };

  using EntryMap = std::map<U32, Vox::Ptr<MapEntry>>;
  explicit Map(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  U32 version() const { return version_; }
  const EntryMap& mapEntry() const { return mapEntry_; }
  Vox::Ptr<MapEntry const> mapEntry(U32 seqno) const { return Vox::lookup(mapEntry_, seqno); }

  void mapEntryIs(const Vox::Ptr<MapEntry>& e);
  void mapEntryDel(U32 seqno);
  void versionIs(U32 v);

 private:
  std::string name_;
  U32 version_ = 0;
  EntryMap mapEntry_;
};

class Config : public Vox::PtrInterface, public Vox::NotifierBase<Config> {
 public:
  class Notifiee : public Vox::NotifieeBase<Config, Notifiee> {
   public:
    virtual void onRouteMap(const std::string& /*name*/) {}
    virtual void onRouteMapOpMode() {}
  };

  using Coll = std::map<std::string, Vox::Ptr<Map>, std::less<>>;
  const Coll& routeMap() const { return routeMap_; }
  Vox::Ptr<Map const> routeMap(std::string_view n) const { return Vox::lookup(routeMap_, n); }
  RouteMapOpModeType routeMapOpMode() const { return opMode_; }

  void routeMapIs(const Vox::Ptr<Map>& m);
  void routeMapDel(const std::string& name);
  void routeMapOpModeIs(RouteMapOpModeType mode);

 private:
  Coll routeMap_;
  RouteMapOpModeType opMode_ = 0;
};

class PeerFilterConfig : public Vox::PtrInterface, public Vox::NotifierBase<PeerFilterConfig> {
 public:
  class Notifiee : public Vox::NotifieeBase<PeerFilterConfig, Notifiee> {
   public:
    virtual void onPeerFilter(const std::string& /*name*/) {}
  };

  using Coll = std::map<std::string, Vox::Ptr<Map>, std::less<>>;
  const Coll& peerFilter() const { return peerFilter_; }
  Vox::Ptr<Map const> peerFilter(std::string_view n) const { return Vox::lookup(peerFilter_, n); }
  void peerFilterIs(const Vox::Ptr<Map>& m);
  void peerFilterDel(const std::string& name);

 private:
  Coll peerFilter_;
};

}  // namespace Routing::RouteMap
