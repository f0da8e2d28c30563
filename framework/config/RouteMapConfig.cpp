#include "framework/config/RouteMapConfig.h"

#include "framework/vox/Fatal.h"

namespace Routing::RouteMap {

std::string CommListSet::stringValue() const {
  std::string out;
  for (const std::string& n : names_) {
    if (!out.empty()) out += ' ';
    out += n;
  }
  return out;
}

namespace {

bool sameSet(const Vox::Ptr<CommunitySet const>& a, const Vox::Ptr<CommunitySet const>& b) {
  if (!a || !b) return a == b;
  return a == b || a->sameAs(*b);
}

}  // namespace

const std::vector<SetFlagBit>& SetClauses::allBits() {
  static const std::vector<SetFlagBit> bits = {setAsPathPrepend,
                                               setNextHop,
                                               setIpv6NextHop,
                                               setOrigin,
                                               setAction19,
                                               setMetric,
                                               setOspfMetricType,
                                               setIsisLevel,
                                               setAction2,
                                               setCommunityAddReplace,
                                               setCommunityDelete,
                                               setExtCommunity,
                                               setAction3,
                                               setAction25,
                                               setAction26,
                                               setNextHopPeerAddr,
                                               setIpv6NextHopPeerAddr,
                                               setNextHopUnchanged,
                                               setIpv6NextHopUnchanged,
                                               setAsPathPrependLastAs,
                                               setAsPathReplace,
                                               setAction35,
                                               setLargeCommunity};
  return bits;
}

// One table of clause fields serves both the copy and the comparison, so a new clause is
// added in one place.
template <class F>
static void visitClause(SetFlagBit bit, F&& f) {
  switch (bit) {
    case setAsPathPrepend:
      f(&SetClauses::asPathPrepend);
      return;
    case setNextHop:
      f(&SetClauses::nextHop);
      return;
    case setIpv6NextHop:
      f(&SetClauses::ipv6NextHop);
      return;
    case setOrigin:
      f(&SetClauses::origin);
      return;
    case setAction19:
      f(&SetClauses::action19);
      return;
    case setMetric:
      f(&SetClauses::metric);
      f(&SetClauses::medType);
      return;
    case setOspfMetricType:
      f(&SetClauses::ospfMetricType);
      return;
    case setIsisLevel:
      f(&SetClauses::isisLevel);
      return;
    case setAction2:
      f(&SetClauses::action2);
      return;
    case setCommunityAddReplace:
      f(&SetClauses::communityAddReplace);
      return;
    case setCommunityDelete:
      f(&SetClauses::communityDelete);
      return;
    case setExtCommunity:
      f(&SetClauses::extCommunity);
      f(&SetClauses::extCommLbwFlag);
      f(&SetClauses::extCommLbwBandwidth);
      return;
    case setAction3:
      f(&SetClauses::action3);
      return;
    case setAction25:
      f(&SetClauses::action25);
      return;
    case setAction26:
      f(&SetClauses::action26);
      return;
    case setNextHopPeerAddr:
      f(&SetClauses::nextHopPeerAddr);
      return;
    case setIpv6NextHopPeerAddr:
      f(&SetClauses::ipv6NextHopPeerAddr);
      return;
    case setNextHopUnchanged:
      f(&SetClauses::nextHopUnchanged);
      return;
    case setIpv6NextHopUnchanged:
      f(&SetClauses::ipv6NextHopUnchanged);
      return;
    case setAsPathPrependLastAs:
      f(&SetClauses::asPathPrependLastAs);
      return;
    case setAsPathReplace:
      f(&SetClauses::asPathReplace);
      return;
    case setAction35:
      f(&SetClauses::action35);
      return;
    case setLargeCommunity:
      f(&SetClauses::largeCommunity);
      return;
  }
}

void SetClauses::copyClause(SetFlagBit bit, const SetClauses& from) {
  visitClause(bit, [&](auto member) { this->*member = from.*member; });
  const U32 mask = 1u << bit;
  flags = (flags & ~mask) | (from.flags & mask);
}

bool SetClauses::sameClause(SetFlagBit bit, const SetClauses& other) const {
  if (has(bit) != other.has(bit)) return false;
  if (!has(bit)) return true;
  bool same = true;
  visitClause(bit, [&](auto member) {
    using T = std::decay_t<decltype(this->*member)>;
    if constexpr (std::is_same_v<T, Vox::Ptr<CommunitySet const>>) {
      same = same && sameSet(this->*member, other.*member);
    } else {
      same = same && (this->*member == other.*member);
    }
  });
  return same;
}

void MapEntry::permitIs(Acl::MatchPermit p) {
  Vox::scalarIs(*this, permit_, p, &Notifiee::onPermit);
}

void MapEntry::matchRuleIs(const MatchRule& rule) {
  auto [it, inserted] = matchRule_.try_emplace(rule.option, rule);
  if (!inserted) {
    if (it->second == rule) return;
    it->second = rule;
  }
  notify([&](Notifiee& n) { n.onMatchRule(rule.option); });
}

void MapEntry::matchRuleDel(MatchOption option) {
  if (matchRule_.erase(option) == 0) return;
  notify([&](Notifiee& n) { n.onMatchRule(option); });
}

void MapEntry::subRouteMapIs(const std::string& name) {
  Vox::scalarIs(*this, subRouteMap_, name, &Notifiee::onSubRouteMap);
}

void MapEntry::setClauseIs(SetFlagBit bit, const SetClauses& from) {
  if (set_.sameClause(bit, from)) return;
  set_.copyClause(bit, from);
  notify([&](Notifiee& n) { n.onSetClause(bit); });
}

void Map::mapEntryIs(const Vox::Ptr<MapEntry>& e) {
  if (!e) Vox::nullValidPtr();
  const U32 seqno = e->seqno();
  if (!Vox::storeEntity(mapEntry_, seqno, e)) return;
  notify([&](Notifiee& n) { n.onMapEntry(seqno); });
}

void Map::mapEntryDel(U32 seqno) {
  if (mapEntry_.erase(seqno) == 0) return;
  notify([&](Notifiee& n) { n.onMapEntry(seqno); });
}

void Map::versionIs(U32 v) {
  Vox::scalarIs(*this, version_, v, &Notifiee::onVersion);
}

void Config::routeMapIs(const Vox::Ptr<Map>& m) {
  if (!m) Vox::nullValidPtr();
  const std::string name = m->name();
  if (!Vox::storeEntity(routeMap_, name, m)) return;
  notify([&](Notifiee& n) { n.onRouteMap(name); });
}

void Config::routeMapDel(const std::string& name) {
  auto it = routeMap_.find(name);
  if (it == routeMap_.end()) return;
  routeMap_.erase(it);
  notify([&](Notifiee& n) { n.onRouteMap(name); });
}

void Config::routeMapOpModeIs(RouteMapOpModeType mode) {
  Vox::scalarIs(*this, opMode_, mode, &Notifiee::onRouteMapOpMode);
}

void PeerFilterConfig::peerFilterIs(const Vox::Ptr<Map>& m) {
  if (!m) Vox::nullValidPtr();
  const std::string name = m->name();
  if (!Vox::storeEntity(peerFilter_, name, m)) return;
  notify([&](Notifiee& n) { n.onPeerFilter(name); });
}

void PeerFilterConfig::peerFilterDel(const std::string& name) {
  auto it = peerFilter_.find(name);
  if (it == peerFilter_.end()) return;
  peerFilter_.erase(it);
  notify([&](Notifiee& n) { n.onPeerFilter(name); });
}

}  // namespace Routing::RouteMap
