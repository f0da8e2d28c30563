#include "tools/frr/Subset.h"

#include <algorithm>
#include <initializer_list>

#include "tools/frr/Words.h"
#include "tools/ribpolicy/TagNames.h"

namespace frr {

namespace {

namespace R = Routing::RouteMap;

constexpr Acl::BGPOrigin kAnyOrigin = 0xffffffffu;

// The match options FRR holds.
constexpr R::MatchOption kOptions[] = {
    R::matchAccessList,
    R::matchPrefixList,
    R::matchIpv6PrefixList,
    R::matchNextHop,
    R::matchIpv6NextHop,
    R::matchNextHopPrefixList,
    R::matchIpv6NextHopPrefixList,
    R::matchCommunity,
    R::matchExtCommunity,
    R::matchLargeCommunity,
};

// The set clauses FRR holds (some only in some forms, see below).
constexpr R::SetFlagBit kClauses[] = {
    R::setAsPathPrepend,    R::setNextHop,
    R::setIpv6NextHop,      R::setOrigin,
    R::setMetric,           R::setCommunityAddReplace,
    R::setCommunityDelete,  R::setExtCommunity,
    R::setNextHopPeerAddr,  R::setIpv6NextHopPeerAddr,
    R::setNextHopUnchanged, R::setAsPathPrependLastAs,
    R::setLargeCommunity,
};

template <class Entry>
bool lengthRangeHeld(const Entry& e, U32 longest) {
  const U32 length = e.prefix.length();
  if (e.ge == 0 && e.le == 0) return true;
  if (e.ge != 0 && (e.ge < length || e.ge > longest)) return false;
  return e.le == 0 || (e.le >= std::max(length, e.ge) && e.le <= longest);
}

template <class List>
void keepHeldEntries(std::map<std::string, List>& lists, U32 longest) {
  for (auto& [name, list] : lists) {
    std::erase_if(list.entries, [&](const auto& e) { return !lengthRangeHeld(e.second, longest); });
  }
}

bool routeTargetOrOrigin(std::uint64_t value) {
  const std::string text =
      ribpolicy::extendedCommunity(static_cast<U32>(value >> 32), static_cast<U32>(value));
  return text.starts_with("rt:") || text.starts_with("soo:");
}

void clear(R::SetClauses& set, R::SetFlagBit bit) {
  set.flags &= ~(1u << bit);
}

// A community set clause as FRR holds it, or nothing.
Vox::Ptr<R::CommunitySet const> heldCommunities(const Vox::Ptr<R::CommunitySet const>& set,
                                                R::SetFlagBit bit) {
  if (!set) return set;
  auto held = Vox::make<R::CommunitySet>(*set);
  std::erase_if(held->extended, [](std::uint64_t v) { return !routeTargetOrOrigin(v); });
  const bool lists = held->useCL && !held->communityListName.empty();
  switch (bit) {
    case R::setCommunityAddReplace:
      if (lists || held->standard.empty()) return nullptr;
      break;
    case R::setCommunityDelete:
      if (!lists && held->standard.empty()) return nullptr;
      break;
    case R::setExtCommunity:
      // FRR 8.4 only adds extended communities: the forms that delete or replace go.
      if (held->flag == Acl::commSetDelete_ || held->flag == Acl::commSetReplace_) return nullptr;
      if (held->extended.empty()) return nullptr;
      break;
    default:  // large
      if (held->large.empty()) return nullptr;
      break;
  }
  if (bit != R::setCommunityDelete) {
    held->useCL = false;
    held->communityListName.clear();
  }
  return held;
}

void subsetEntry(ribpolicy::MapEntryDef& e) {
  std::erase_if(e.match, [](const auto& m) {
    const R::MatchRule& r = m.second;
    return std::find(std::begin(kOptions), std::end(kOptions), r.option) == std::end(kOptions) ||
           r.invert || (r.option == R::matchExtCommunity && r.exact);
  });
  for (auto& [option, rule] : e.match) {
    if (rule.commListSet.names().size() > 1) {
      rule.commListSet = R::CommListSet({*rule.commListSet.names().begin()});
      rule.stringValue = rule.commListSet.stringValue();
    }
  }
  R::SetClauses& set = e.set;
  for (const R::SetFlagBit bit : R::SetClauses::allBits()) {
    if (std::find(std::begin(kClauses), std::end(kClauses), bit) == std::end(kClauses)) {
      clear(set, bit);
    }
  }
  if (set.has(R::setMetric) && set.medType != 0) clear(set, R::setMetric);
  if (set.has(R::setAsPathPrepend)) {
    const bool zero = std::any_of(set.asPathPrepend.begin(), set.asPathPrepend.end(),
                                  [](const auto& p) { return p.second == 0; });
    if (zero || set.asPathPrepend.empty()) clear(set, R::setAsPathPrepend);
  }
  if (set.has(R::setAsPathPrependLastAs) &&
      (set.has(R::setAsPathPrepend) || set.asPathPrependLastAs < 1 ||
       set.asPathPrependLastAs > 10)) {
    clear(set, R::setAsPathPrependLastAs);
  }
  if (set.has(R::setNextHop) && nextHopProblem(set.nextHop)) clear(set, R::setNextHop);
  if (set.has(R::setIpv6NextHop) && nextHopProblem(set.ipv6NextHop)) clear(set, R::setIpv6NextHop);
  // A false flag sets nothing; a true one has one place with the address.
  if (!set.nextHopPeerAddr) clear(set, R::setNextHopPeerAddr);
  if (!set.nextHopUnchanged) clear(set, R::setNextHopUnchanged);
  if (set.has(R::setNextHop)) clear(set, R::setNextHopPeerAddr);
  if (set.has(R::setNextHop) || set.has(R::setNextHopPeerAddr)) clear(set, R::setNextHopUnchanged);
  if (set.has(R::setExtCommunity)) set.extCommLbwFlag = Acl::lbwNone_;
  const std::pair<R::SetFlagBit, Vox::Ptr<R::CommunitySet const> R::SetClauses::*> sets[] = {
      {R::setCommunityAddReplace, &R::SetClauses::communityAddReplace},
      {R::setCommunityDelete, &R::SetClauses::communityDelete},
      {R::setExtCommunity, &R::SetClauses::extCommunity},
      {R::setLargeCommunity, &R::SetClauses::largeCommunity},
  };
  for (const auto& [bit, member] : sets) {
    if (!set.has(bit)) continue;
    set.*member = heldCommunities(set.*member, bit);
    if (!(set.*member)) clear(set, bit);
  }
}

}  // namespace

ribpolicy::ScenarioConfig subsetConfig(const ribpolicy::ScenarioConfig& config) {
  ribpolicy::ScenarioConfig c = config;
  c.routeMapOpMode = 0;
  c.asPathRegexMode = 0;
  c.peerFilters.clear();
  c.dynamicPrefixLists.clear();
  c.policyMap.dynamicPrefixLists.clear();
  keepHeldEntries(c.prefixLists, 32);
  keepHeldEntries(c.ipv6PrefixLists, 128);
  for (auto& [name, list] : c.asPathLists) {
    for (auto& [seq, e] : list.entries) e.origin = kAnyOrigin;
  }
  for (auto& [name, list] : c.communityLists) {
    for (auto& [seq, e] : list.entries) {
      if (e.type != Acl::extendedValues) continue;
      std::erase_if(e.communities, [](const Acl::CommunityValue& v) {
        return !routeTargetOrOrigin(v.extendedValue());
      });
    }
  }
  for (auto& [name, map] : c.routeMaps) {
    for (auto& [seq, e] : map.entries) subsetEntry(e);
  }
  return c;
}

ribpolicy::Scenario subsetScenario(const ribpolicy::Scenario& scenario) {
  ribpolicy::Scenario s = scenario;
  for (ribpolicy::Step& step : s.steps) step.config = subsetConfig(step.config);
  return s;
}

}  // namespace frr
