#include "tools/ribpolicy/frr/Subset.h"

#include <algorithm>
#include <initializer_list>

#include "RibText/TagNames.h"
#include "tools/ribpolicy/frr/Words.h"

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

// Keeps the entries that `held` keeps and that hold a value no earlier entry holds (FRR keeps
// one entry of a value; the later one never decides anyway).
template <class Entries, class Held, class Value>
void keepEntries(Entries& entries, Held held, Value value) {
  std::set<decltype(value(entries.begin()->second))> seen;
  std::erase_if(entries, [&](const auto& e) {
    return !held(e.second) || !seen.insert(value(e.second)).second;
  });
}

template <class Entry>
auto prefixValue(const Entry& e) {
  return std::tuple(e.permit, e.prefix.toString(), e.ge, e.le);
}

bool routeTargetOrOrigin(std::uint64_t value) {
  const std::string text =
      RibText::extendedCommunity(static_cast<U32>(value >> 32), static_cast<U32>(value));
  return text.starts_with("rt:") || text.starts_with("soo:");
}

// The kind of a community-list entry (standard, extended, large) and whether it is an
// expression.
std::pair<int, bool> kindAndForm(Acl::CommunityListType type) {
  return {static_cast<int>(type) / 2, static_cast<int>(type) % 2 == 1};
}

// Keeps the entries FRR holds: values of a known kind (extended ones as route targets and
// sites of origin), expressions that compile, in one form a kind (the form of the kind's first
// entry), one entry a value.
void keepCommunityEntries(ribpolicy::CommunityListDef& list) {
  std::map<int, bool> form;  // by kind
  std::set<std::tuple<Acl::CommunityListType, Acl::MatchPermit, std::set<Acl::CommunityValue>,
                      std::string>>
      seen;
  for (auto& [seq, e] : list.entries) {
    if (e.type != Acl::extendedValues) continue;
    std::erase_if(e.communities, [](const Acl::CommunityValue& v) {
      return !routeTargetOrOrigin(v.extendedValue());
    });
  }
  std::erase_if(list.entries, [&](const auto& entry) {
    const ribpolicy::CommunityEntryDef& e = entry.second;
    const auto [kind, expression] = kindAndForm(e.type);
    if (kind > 2) return true;
    if (expression ? communityExpressionProblem(e.regex).has_value() : e.communities.empty()) {
      return true;
    }
    if (form.emplace(kind, expression).first->second != expression) return true;
    return !seen.insert({e.type, e.permit, e.communities, expression ? e.regex : ""}).second;
  });
}

// Whether a delete clause drawing from `names` deletes something: one configured list with
// standard entries (several could give two entries of one sequence number, or both forms).
bool deletesFromLists(const std::set<std::string>& names,
                      const std::map<std::string, ribpolicy::CommunityListDef>& lists) {
  if (names.size() != 1) return false;
  const auto it = lists.find(*names.begin());
  if (it == lists.end()) return false;
  return std::any_of(it->second.entries.begin(), it->second.entries.end(),
                     [](const auto& e) { return kindAndForm(e.second.type).first == 0; });
}

void clear(R::SetClauses& set, R::SetFlagBit bit) {
  set.flags &= ~(1u << bit);
}

// A community set clause as FRR holds it, or nothing.
Vox::Ptr<R::CommunitySet const> heldCommunities(
    const Vox::Ptr<R::CommunitySet const>& set, R::SetFlagBit bit,
    const std::map<std::string, ribpolicy::CommunityListDef>& lists) {
  if (!set) return set;
  auto held = Vox::make<R::CommunitySet>(*set);
  std::erase_if(held->extended, [](std::uint64_t v) { return !routeTargetOrOrigin(v); });
  const bool fromLists = held->useCL;
  switch (bit) {
    case R::setCommunityAddReplace:
      if (fromLists || held->standard.empty()) return nullptr;
      break;
    case R::setCommunityDelete:
      if (fromLists ? !deletesFromLists(held->communityListName, lists) : held->standard.empty()) {
        return nullptr;
      }
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

void subsetEntry(ribpolicy::MapEntryDef& e,
                 const std::map<std::string, ribpolicy::CommunityListDef>& lists) {
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
    set.*member = heldCommunities(set.*member, bit, lists);
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
  for (auto& [name, list] : c.prefixLists) {
    keepEntries(
        list.entries, [](const Acl::PrefixEntry& e) { return lengthRangeHeld(e, 32); },
        prefixValue<Acl::PrefixEntry>);
  }
  for (auto& [name, list] : c.ipv6PrefixLists) {
    keepEntries(
        list.entries, [](const Acl::Ipv6PrefixEntry& e) { return lengthRangeHeld(e, 128); },
        prefixValue<Acl::Ipv6PrefixEntry>);
  }
  for (auto& [name, list] : c.asPathLists) {
    for (auto& [seq, e] : list.entries) e.origin = kAnyOrigin;
    keepEntries(
        list.entries, [](const Acl::AsPathEntry& e) { return !asPathExpressionProblem(e.regex); },
        [](const Acl::AsPathEntry& e) { return std::pair(e.permit, e.regex); });
  }
  for (auto& [name, list] : c.accessLists) {
    keepEntries(
        list.entries, [](const Acl::RuleConfig&) { return true; },
        [](const Acl::RuleConfig& r) { return std::pair(r.action, r.filter.source().toString()); });
  }
  for (auto& [name, list] : c.communityLists) keepCommunityEntries(list);
  for (auto& [name, map] : c.routeMaps) {
    for (auto& [seq, e] : map.entries) subsetEntry(e, c.communityLists);
  }
  return c;
}

ribpolicy::Scenario subsetScenario(const ribpolicy::Scenario& scenario) {
  ribpolicy::Scenario s = scenario;
  for (ribpolicy::Step& step : s.steps) step.config = subsetConfig(step.config);
  return s;
}

}  // namespace frr
