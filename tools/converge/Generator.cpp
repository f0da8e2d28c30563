#include "tools/converge/Generator.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "tools/converge/Promises.h"
#include "tools/ribpolicy/frr/Subset.h"

namespace converge {

namespace {

using ribpolicy::AsPathListDef;
using ribpolicy::CommunityEntryDef;
using ribpolicy::DynamicPrefixListDef;
using ribpolicy::InputSet;
using ribpolicy::MapDef;
using ribpolicy::MapEntryDef;
using ribpolicy::MatchForm;
using ribpolicy::MatchOptionRow;
using ribpolicy::ObjectKind;
using ribpolicy::Scenario;
using ribpolicy::ScenarioConfig;
using ribpolicy::SetClauseRow;
using ribpolicy::SetForm;
using ribpolicy::Step;
using Routing::RouteMap::CommunitySet;
using Routing::RouteMap::MatchOption;
using Routing::RouteMap::MatchRule;
using Routing::RouteMap::SetClauses;
using Routing::RouteMap::SetFlagBit;

// Small pools, so that references often meet configured objects. IPv4 and IPv6 prefix lists
// share their names, as the engine keeps them apart.
const std::vector<std::string> kRouteMaps = {"RA", "RB", "RC", "RD", "RE", "RF"};
const std::vector<std::string> kPeerFilters = {"FA", "FB", "FC"};
const std::vector<std::string> kPrefixLists = {"P1", "P2", "P3", "P4"};
const std::vector<std::string> kAsPathLists = {"A1", "A2", "A3"};
const std::vector<std::string> kCommunityLists = {"C1", "C2", "C3", "C4"};
const std::vector<std::string> kAccessLists = {"L1", "L2", "L3"};
const std::vector<std::string> kDynamicPrefixLists = {"D1", "D2", "D3", "D4"};
const std::vector<U32> kSeqs = {5, 10, 15, 20, 30, 40};
// Each a regular expression of both dialects: the writer leaves out a validity of [true, true],
// and the reader then computes it from the expression.
const std::vector<std::string> kAsPathRegexes = {"^65000_", "_64512$",         ".*",         "^$",
                                                 "[0-9]+_", "^(65000|64512)_", "_6451[0-9]_"};
const std::vector<std::string> kCommunityRegexes = {"^65000:.*$", "65001:[0-9]+", ".*", "^6:1:"};
const std::vector<std::string> kInterfaces = {"Ethernet1/2",    "Port-Channel10", "Vlan100",
                                              "Loopback0",      "Management1",    "Tunnel5",
                                              "Ethernet3/1.100"};
const std::vector<std::string> kTexts = {"alpha", "beta gamma", "x", "10"};
const std::vector<U32> kAsPathOrigins = {0, 1, 2, 0xffffffffu, 7};

// The pool of names of each kind of object; a kind without a pool of its own draws from
// X1 to X3.
const std::vector<std::string>& poolOf(ObjectKind kind) {
  static const std::map<ObjectKind, const std::vector<std::string>*> kPools = {
      {ObjectKind::routeMap, &kRouteMaps},
      {ObjectKind::peerFilter, &kPeerFilters},
      {ObjectKind::dynamicPrefixList, &kDynamicPrefixLists},
      {ObjectKind::prefixList, &kPrefixLists},
      {ObjectKind::ipv6PrefixList, &kPrefixLists},
      {ObjectKind::communityList, &kCommunityLists},
      {ObjectKind::accessList, &kAccessLists},
      {ObjectKind::asPathList, &kAsPathLists},
  };
  static const std::vector<std::string> kOthers = {"X1", "X2", "X3"};
  const auto it = kPools.find(kind);
  return it == kPools.end() ? kOthers : *it->second;
}

// How often a change falls on each section, in parts of the hundred that the sections, the
// policy map and the modes share (below); a section not listed takes the access lists' share.
U32 shareOf(ObjectKind kind) {
  static const std::map<ObjectKind, U32> kShares = {
      {ObjectKind::routeMap, 25},      {ObjectKind::peerFilter, 8},
      {ObjectKind::communityList, 10}, {ObjectKind::dynamicPrefixList, 8},
      {ObjectKind::prefixList, 7},     {ObjectKind::ipv6PrefixList, 5},
      {ObjectKind::asPathList, 10},    {ObjectKind::accessList, 5},
  };
  const auto it = kShares.find(kind);
  return it == kShares.end() ? 5 : it->second;
}
constexpr U32 kPolicyMapShare = 10;
constexpr U32 kOpModeShare = 3;
constexpr U32 kRegexModeShare = 9;
// Versions pinned or bumped by hand, only where promises are not kept.
constexpr U32 kVersionsShare = 10;

// The match options drawn from: every option the reader knows, and two it passes through.
// The references met most often in practice, prefix lists, community lists and dynamic prefix
// lists, are drawn twice as often.
const std::vector<MatchOptionRow> kOptions = [] {
  std::vector<MatchOptionRow> out;
  for (const MatchOptionRow& row : ribpolicy::kMatchOptions) {
    out.push_back(row);
    if (row.option == Routing::RouteMap::matchPrefixList ||
        row.option == Routing::RouteMap::matchCommunity ||
        row.option == Routing::RouteMap::matchDynamicPrefixList) {
      out.push_back(row);
    }
  }
  for (const MatchOption option : {200u, 4242u}) {
    out.push_back({"", option, MatchForm::passThrough});
  }
  return out;
}();

class Generator {
 public:
  Generator(std::uint64_t seed, const GeneratorOptions& options) : rng_(seed), options_(options) {}

  Scenario run();

 private:
  // --- Randomness ---
  bool chance(double p) { return std::bernoulli_distribution(p)(rng_); }
  std::size_t below(std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng_);
  }
  U32 between(U32 lo, U32 hi) { return std::uniform_int_distribution<U32>(lo, hi)(rng_); }
  template <class T>
  const T& pick(const std::vector<T>& v) {
    return v[below(v.size())];
  }
  template <class T, std::size_t N>
  const T& pick(const T (&v)[N]) {
    return v[below(N)];
  }
  // The name of a random object of `section`, or null when it is empty.
  template <class Def>
  const std::string* configured(const std::map<std::string, Def>& section) {
    if (section.empty()) return nullptr;
    return &std::next(section.begin(), static_cast<std::ptrdiff_t>(below(section.size())))->first;
  }
  U32 smallOrAny() { return chance(0.7) ? between(0, 100) : static_cast<U32>(rng_()); }
  S64 signedValue() {
    return chance(0.7) ? static_cast<S64>(between(0, 1000)) - 500 : static_cast<S64>(rng_());
  }

  // --- Values ---
  Acl::MatchPermit action() { return chance(0.7) ? Acl::permit : Acl::deny; }
  Vela::IpAddr ipv4() { return Vela::IpAddr((10u << 24) | (between(0, 3) << 16) | between(0, 3)); }
  Vela::Ip6Addr ipv6(U32 length = 128);
  U32 standardCommunity() { return (between(64998, 65001) << 16) | between(0, 3); }
  std::uint64_t extendedCommunity() { return (std::uint64_t{0x0002fde8} << 32) | between(0, 3); }
  Acl::CommunityValue communityValue(Acl::CommunityListType type);

  // --- One function per kind of object ---
  // An entry of any kind of list: the kind's own function, or by its rows for a record.
  template <class Entry>
  Entry entry(U32 seq);
  template <ribpolicy::RecordEntry Entry>
  Entry recordEntry();
  template <class Entry>
  Entry prefixEntry(U32 seq);
  Acl::AsPathEntry asPathEntry(U32 seq);
  CommunityEntryDef communityEntry();
  Acl::RuleConfig accessRule();
  DynamicPrefixListDef dynamicPrefixList();
  MatchRule matchRule();
  Vox::Ptr<CommunitySet const> communitySet(Acl::CommunityType kind, Acl::CommSetFlag flag);
  void setClause(SetClauses& s, const SetClauseRow& row);
  MapEntryDef mapEntry();
  MapDef map();

  // --- Changes, one function per section ---
  template <class Def, class Entries, class Make>
  void changeListSection(std::map<std::string, Def>& section, const std::vector<std::string>& pool,
                         Entries entriesOf, Make makeEntry);
  void changeAsPathLists(std::map<std::string, AsPathListDef>& lists);
  void changeDynamicPrefixLists(std::map<std::string, DynamicPrefixListDef>& lists);
  template <class Def>
  void changeSection(const ribpolicy::Section<Def>& section, ScenarioConfig& c);
  void changeMaps(std::map<std::string, MapDef>& maps, const std::vector<std::string>& pool);
  void changeMapEntry(MapEntryDef& e);
  void changePolicyMap(ribpolicy::PolicyMapDef& p);
  void changeVersions(ScenarioConfig& c);
  void addChain(ScenarioConfig& c);
  void change(ScenarioConfig& c);
  InputSet nextInputs(const InputSet& current);
  Step nextStep(const Step& previous, bool withChain);

  std::mt19937_64 rng_;
  GeneratorOptions options_;
  PromiseTracker tracker_;
};

// --- Values -------------------------------------------------------------------------------

Vela::Ip6Addr Generator::ipv6(U32 length) {
  Vela::Ip6Addr::Bytes b{0x20, 0x01, 0x0d, 0xb8};
  b[5] = static_cast<std::uint8_t>(between(0, 3));
  if (length > 64) b[15] = static_cast<std::uint8_t>(between(1, 9));
  return Vela::Ip6Addr(b);
}

Acl::CommunityValue Generator::communityValue(Acl::CommunityListType type) {
  switch (type) {
    case Acl::standardValues:
    case Acl::standardRegex:
      return Acl::CommunityValue::standard(standardCommunity());
    case Acl::extendedValues:
    case Acl::extendedRegex:
      return Acl::CommunityValue::extended(extendedCommunity());
    case Acl::largeValues:
    case Acl::largeRegex:
      return Acl::CommunityValue::large(65000, between(1, 3), between(1, 3));
  }
  return {};
}

// --- Objects ------------------------------------------------------------------------------

// A record entry, each field drawn by its form.
template <ribpolicy::RecordEntry Entry>
Entry Generator::recordEntry() {
  Entry e;
  for (const ribpolicy::EntryField<Entry>& field : ribpolicy::EntryFields<Entry>::kRows) {
    std::visit(
        [&](auto member) {
          auto& value = e.*member;
          using Value = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<Value, Acl::MatchPermit>) {
            value = action();
          } else if constexpr (std::is_same_v<Value, Vela::Prefix>) {
            const U32 length = between(8, 32);
            value = Vela::Prefix(Vela::IpAddr(ipv4().value() & ~0u << (32 - length)), length);
          } else if constexpr (std::is_same_v<Value, Vela::Ip6Prefix>) {
            const U32 length = between(32, 64);
            value = Vela::Ip6Prefix(ipv6(length), length);
          } else if constexpr (std::is_same_v<Value, U32>) {
            if (!field.optional || chance(0.5)) value = smallOrAny();
          } else {
            if (!field.optional || chance(0.5)) value = pick(kTexts);
          }
        },
        field.member);
  }
  return e;
}

// A prefix entry by its rows, then with a length range the reader accepts: a bound drawn at
// all lies within the prefix's family, le never below the length or ge.
template <class Entry>
Entry Generator::prefixEntry(U32 seq) {
  constexpr U32 kMaxLength = std::is_same_v<Entry, Acl::PrefixEntry> ? 32 : 128;
  Entry e = recordEntry<Entry>();
  e.seqno = seq;
  const U32 length = e.prefix.length();
  if (e.ge != 0) e.ge = between(length, kMaxLength);
  if (e.le != 0) e.le = between(std::max(e.ge, length), kMaxLength);
  return e;
}

Acl::AsPathEntry Generator::asPathEntry(U32 seq) {
  Acl::AsPathEntry e;
  e.seqno = seq;
  e.permit = action();
  e.regex = pick(kAsPathRegexes);
  e.origin = pick(kAsPathOrigins);
  e.validMode0 = chance(0.85);
  e.validMode1 = chance(0.85);
  return e;
}

CommunityEntryDef Generator::communityEntry() {
  CommunityEntryDef e;
  e.permit = action();
  e.type = static_cast<Acl::CommunityListType>(between(0, 5));
  if (e.type == Acl::standardRegex || e.type == Acl::extendedRegex || e.type == Acl::largeRegex) {
    e.regex = pick(kCommunityRegexes);
  } else {
    for (U32 n = between(0, 3); n > 0; --n) e.communities.insert(communityValue(e.type));
  }
  return e;
}

Acl::RuleConfig Generator::accessRule() {
  Acl::RuleConfig r;
  r.action = action();
  const U32 length = between(8, 32);
  r.filter = Acl::IpFilter(Vela::IpAddrWithFullMask(ipv4(), ~0u << (32 - length)));
  return r;
}

template <class Entry>
Entry Generator::entry(U32 seq) {
  if constexpr (std::is_same_v<Entry, Acl::PrefixEntry> ||
                std::is_same_v<Entry, Acl::Ipv6PrefixEntry>) {
    return prefixEntry<Entry>(seq);
  } else if constexpr (std::is_same_v<Entry, Acl::AsPathEntry>) {
    return asPathEntry(seq);
  } else if constexpr (std::is_same_v<Entry, CommunityEntryDef>) {
    return communityEntry();
  } else if constexpr (std::is_same_v<Entry, Acl::RuleConfig>) {
    return accessRule();
  } else {
    return recordEntry<Entry>();
  }
}

DynamicPrefixListDef Generator::dynamicPrefixList() {
  DynamicPrefixListDef d;
  if (chance(0.8)) d.matchMap = pick(kRouteMaps);
  if (chance(0.6)) d.ipv4PrefixList = pick(kPrefixLists);
  if (chance(0.4)) d.ipv6PrefixList = pick(kPrefixLists);
  return d;
}

MatchRule Generator::matchRule() {
  const MatchOptionRow& o = pick(kOptions);
  const ribpolicy::MatchFormRow& form = ribpolicy::formRow(o.form);
  MatchRule r;
  r.option = o.option;
  r.invert = chance(0.2);
  switch (o.form) {
    case MatchForm::listName:
      r.stringValue = pick(poolOf(*o.refers));
      break;
    case MatchForm::ipv4Address:
      r.ipAddr = ipv4();
      break;
    case MatchForm::ipv6Address:
      r.ip6Addr = ipv6();
      break;
    case MatchForm::communityLists: {
      std::set<std::string> names = {pick(poolOf(*o.refers))};
      if (chance(0.3)) names.insert(pick(poolOf(*o.refers)));
      r.commListSet = Routing::RouteMap::CommListSet(std::move(names));
      r.stringValue = r.commListSet.stringValue();
      r.exact = chance(0.4);
      break;
    }
    case MatchForm::text:
      r.stringValue = pick(o.option == Routing::RouteMap::matchInterface ? kInterfaces : kTexts);
      break;
    case MatchForm::optionalText:
      if (chance(0.7)) r.stringValue = pick(poolOf(*o.refers));
      break;
    case MatchForm::metricType:
    case MatchForm::protocol:
    case MatchForm::routeType:
    case MatchForm::integer:
      r.intValue = form.high == ribpolicy::kNoLimit ? smallOrAny() : between(form.low, form.high);
      break;
    case MatchForm::range:
      r.intValue = smallOrAny();
      r.upper = smallOrAny();
      break;
    case MatchForm::pair:
      r.asPathLength = {between(0, 10), between(0, 10)};
      break;
    case MatchForm::passThrough:
      // The reader keeps the text and, when it is a number, the number too.
      if (chance(0.7)) {
        r.stringValue = pick(kTexts);
        if (r.stringValue == "10") r.intValue = 10;
      }
      if (chance(0.3)) r.upper = smallOrAny();
      break;
  }
  return r;
}

Vox::Ptr<CommunitySet const> Generator::communitySet(Acl::CommunityType kind,
                                                     Acl::CommSetFlag flag) {
  auto set = Vox::make<CommunitySet>();
  set->flag = flag;
  for (U32 n = between(0, 2); n > 0; --n) {
    switch (kind) {
      case Acl::communityStandard:
        set->standard.push_back(standardCommunity());
        break;
      case Acl::communityExtended:
        set->extended.push_back(extendedCommunity());
        break;
      case Acl::communityLarge:
        set->large.push_back({65000, between(1, 3), between(1, 3)});
        break;
    }
  }
  if (chance(0.5)) {
    set->useCL = true;
    for (U32 n = between(0, 2); n > 0; --n) set->communityListName.insert(pick(kCommunityLists));
  }
  return set;
}

void Generator::setClause(SetClauses& s, const SetClauseRow& row) {
  SetClauses c;
  c.flags = 1u << row.bit;
  switch (row.form) {
    case SetForm::asNumbers: {
      auto& list = c.*std::get<ribpolicy::AsNumbersField>(row.field);
      for (U32 i = 0, n = between(1, 3); i < n; ++i) list.emplace(i, between(64496, 64511));
      break;
    }
    case SetForm::ipv4Address:
      c.*std::get<ribpolicy::Ipv4Field>(row.field) = ipv4();
      break;
    case SetForm::ipv6Address:
      c.*std::get<ribpolicy::Ipv6Field>(row.field) = ipv6();
      break;
    case SetForm::number: {
      const U32 n = row.high == ribpolicy::kNoLimit ? smallOrAny() : between(row.low, row.high);
      if (const auto* byte = std::get_if<ribpolicy::ByteField>(&row.field)) {
        c.*(*byte) = static_cast<U8>(n);
      } else {
        c.*std::get<ribpolicy::NumberField>(row.field) = n;
      }
      break;
    }
    case SetForm::signedNumber:
      c.*std::get<ribpolicy::SignedField>(row.field) = signedValue();
      break;
    case SetForm::boolean:
      c.*std::get<ribpolicy::FlagField>(row.field) = chance(0.5);
      break;
    case SetForm::metric:
      c.*std::get<ribpolicy::SignedField>(row.field) = signedValue();
      c.medType = between(0, 8);
      break;
    case SetForm::communities: {
      std::vector<Acl::CommSetFlag> flags;
      for (U32 flag = 0; flag < 4; ++flag) {
        if (ribpolicy::carries(row, static_cast<Acl::CommSetFlag>(flag))) {
          flags.push_back(static_cast<Acl::CommSetFlag>(flag));
        }
      }
      const Acl::CommSetFlag flag = flags.size() == 1 ? flags[0] : pick(flags);
      c.*std::get<ribpolicy::CommunitySetField>(row.field) = communitySet(row.communityKind, flag);
      if (row.linkBandwidth && chance(0.4)) {
        c.extCommLbwFlag = static_cast<Acl::ExtCommLinkBandwidthSetFlag>(between(0, 4));
        c.extCommLbwBandwidth = pick(std::vector<float>{0, 1000, 2.5, 1e9});
      }
      break;
    }
  }
  s.copyClause(row.bit, c);
}

MapEntryDef Generator::mapEntry() {
  MapEntryDef e;
  e.permit = action();
  for (U32 n = between(0, 3); n > 0; --n) {
    MatchRule r = matchRule();
    e.match[r.option] = std::move(r);
  }
  if (chance(0.35)) e.subRouteMap = pick(kRouteMaps);
  for (U32 n = between(0, 3); n > 0; --n) setClause(e.set, pick(ribpolicy::kSetClauses));
  return e;
}

MapDef Generator::map() {
  MapDef m;
  for (U32 n = between(1, 3); n > 0; --n) m.entries[pick(kSeqs)] = mapEntry();
  return m;
}

// --- Changes ------------------------------------------------------------------------------

// Adds (or replaces) an object, removes one, or adds, replaces or removes one of its entries.
template <class Def, class Entries, class Make>
void Generator::changeListSection(std::map<std::string, Def>& section,
                                  const std::vector<std::string>& pool, Entries entriesOf,
                                  Make makeEntry) {
  const std::string* name = configured(section);
  const std::size_t what = below(10);
  if (!name || what < 2) {
    Def def;
    for (U32 n = between(0, 3); n > 0; --n) {
      const U32 seq = pick(kSeqs);
      entriesOf(def)[seq] = makeEntry(seq);
    }
    section[pick(pool)] = std::move(def);
    return;
  }
  if (what < 3) {
    section.erase(*name);
    return;
  }
  auto& entries = entriesOf(section.at(*name));
  const U32 seq = pick(kSeqs);
  if (entries.contains(seq) && chance(0.4)) {
    entries.erase(seq);
  } else {
    entries[seq] = makeEntry(seq);
  }
}

void Generator::changeAsPathLists(std::map<std::string, AsPathListDef>& lists) {
  if (const std::string* name = configured(lists); name && chance(0.1)) {
    lists.at(*name).source = chance(0.5) ? "" : "ip as-path access-list " + *name;
    return;
  }
  changeListSection(
      lists, kAsPathLists, [](AsPathListDef & d) -> auto& { return d.entries; },
      [&](U32 seq) { return entry<Acl::AsPathEntry>(seq); });
}

template <class Def>
void Generator::changeSection(const ribpolicy::Section<Def>& section, ScenarioConfig& c) {
  auto& objects = c.*section.member;
  if constexpr (std::is_same_v<Def, MapDef>) {
    changeMaps(objects, poolOf(section.kind));
  } else if constexpr (std::is_same_v<Def, AsPathListDef>) {
    changeAsPathLists(objects);
  } else if constexpr (std::is_same_v<Def, DynamicPrefixListDef>) {
    changeDynamicPrefixLists(objects);
  } else {
    changeListSection(
        objects, poolOf(section.kind), [](Def & d) -> auto& { return d.entries; },
        [&](U32 seq) { return entry<ribpolicy::EntryOf<Def>>(seq); });
  }
}

void Generator::changeDynamicPrefixLists(std::map<std::string, DynamicPrefixListDef>& lists) {
  const std::string* name = configured(lists);
  const std::size_t what = below(4);
  if (!name || what == 0) {
    lists[pick(kDynamicPrefixLists)] = dynamicPrefixList();
  } else if (what == 1) {
    lists.erase(*name);
  } else {
    // One field at a time, the way an operator edits a list.
    DynamicPrefixListDef& d = lists.at(*name);
    const DynamicPrefixListDef other = dynamicPrefixList();
    switch (below(3)) {
      case 0:
        d.matchMap = other.matchMap;
        break;
      case 1:
        d.ipv4PrefixList = other.ipv4PrefixList;
        break;
      default:
        d.ipv6PrefixList = other.ipv6PrefixList;
        break;
    }
  }
}

void Generator::changeMapEntry(MapEntryDef& e) {
  switch (below(8)) {
    case 0:
      e.permit = e.permit == Acl::permit ? Acl::deny : Acl::permit;
      break;
    case 1:
    case 2: {
      MatchRule r = matchRule();
      e.match[r.option] = std::move(r);
      break;
    }
    case 3:
      if (!e.match.empty()) {
        e.match.erase(
            std::next(e.match.begin(), static_cast<std::ptrdiff_t>(below(e.match.size()))));
      }
      break;
    case 4:
      e.subRouteMap = chance(0.3) ? std::string() : pick(kRouteMaps);
      break;
    case 5:
    case 6:
      setClause(e.set, pick(ribpolicy::kSetClauses));
      break;
    default: {
      std::vector<SetFlagBit> present;
      for (const SetClauseRow& row : ribpolicy::kSetClauses) {
        if (e.set.has(row.bit)) present.push_back(row.bit);
      }
      if (!present.empty()) e.set.copyClause(pick(present), SetClauses{});
      break;
    }
  }
}

void Generator::changeMaps(std::map<std::string, MapDef>& maps,
                           const std::vector<std::string>& pool) {
  const std::string* name = configured(maps);
  const std::size_t what = below(10);
  if (!name || what < 2) {
    maps[pick(pool)] = map();
    return;
  }
  if (what < 3) {
    maps.erase(*name);
    return;
  }
  auto& entries = maps.at(*name).entries;
  const U32 seq = pick(kSeqs);
  auto it = entries.find(seq);
  if (it == entries.end() || what == 3) {
    entries[seq] = mapEntry();
  } else if (what == 4) {
    entries.erase(it);
  } else {
    changeMapEntry(it->second);
  }
}

void Generator::changePolicyMap(ribpolicy::PolicyMapDef& p) {
  const bool routeMaps = chance(0.6);
  std::set<std::string>& names = routeMaps ? p.routeMaps : p.dynamicPrefixLists;
  if (!names.empty() && chance(0.4)) {
    names.erase(std::next(names.begin(), static_cast<std::ptrdiff_t>(below(names.size()))));
  } else {
    names.insert(pick(routeMaps ? kRouteMaps : kDynamicPrefixLists));
  }
}

// Holds an object's changes back (its version pinned to the current one), announces them
// (the next version), or gives the version back to the agent.
void Generator::changeVersions(ScenarioConfig& c) {
  struct Target {
    VersionedObject object;
    std::optional<U32>* version;
  };
  std::vector<Target> targets;
  ribpolicy::forEachSection([&](const auto& section) {
    using Def = typename std::decay_t<decltype(section)>::Definition;
    for (auto& [name, def] : c.*section.member) {
      if constexpr (ribpolicy::VersionedDefinition<Def>) {
        targets.push_back({{section.kind, name, 0}, &def.version});
      } else if constexpr (ribpolicy::EntryDefinition<Def>) {
        if constexpr (ribpolicy::VersionedDefinition<ribpolicy::EntryOf<Def>>) {
          for (auto& [seq, entry] : def.entries) {
            targets.push_back({{section.kind, name, seq}, &entry.version});
          }
        }
      }
    }
  });
  if (targets.empty()) return;
  const Target& t = pick(targets);
  const U32 current = tracker_.version(t.object);
  switch (below(4)) {
    case 0:
    case 1:
      *t.version = current;
      break;
    case 2:
      *t.version = current + 1;
      break;
    default:
      t.version->reset();
      break;
  }
}

// A long chain of route maps, each the sub-route-map of the one before, entered through the
// policy map or through a map of the pool: references must propagate through any depth.
void Generator::addChain(ScenarioConfig& c) {
  const U32 depth = between(150, 400);
  const bool ascending = chance(0.5);
  auto nameOf = [&](U32 i) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "Z%04u", ascending ? i : depth - i);
    return std::string(buf);
  };
  for (U32 i = 0; i < depth; ++i) {
    MapEntryDef e;
    if (i + 1 < depth) {
      e.subRouteMap = nameOf(i + 1);
    } else if (chance(0.5)) {
      e.subRouteMap = pick(kRouteMaps);
    }
    c.routeMaps[nameOf(i)].entries[10] = e;
  }
  if (chance(0.5)) {
    c.policyMap.routeMaps.insert(nameOf(0));
  } else {
    MapEntryDef e;
    e.subRouteMap = nameOf(0);
    c.routeMaps[pick(kRouteMaps)].entries[50] = e;
  }
}

void Generator::change(ScenarioConfig& c) {
  U32 total = kPolicyMapShare + kOpModeShare + kRegexModeShare;
  if (options_.unpromised) total += kVersionsShare;
  ribpolicy::forEachSection([&](const auto& section) { total += shareOf(section.kind); });
  U32 what = between(0, total - 1);
  bool done = false;
  ribpolicy::forEachSection([&](const auto& section) {
    if (done) return;
    if (what < shareOf(section.kind)) {
      changeSection(section, c);
      done = true;
    } else {
      what -= shareOf(section.kind);
    }
  });
  if (done) return;
  if (what < kPolicyMapShare) {
    changePolicyMap(c.policyMap);
  } else if (what < kPolicyMapShare + kOpModeShare) {
    c.routeMapOpMode = between(0, 3);
  } else if (what < kPolicyMapShare + kOpModeShare + kRegexModeShare) {
    // Mostly the two dialects; now and then one the library does not know.
    c.asPathRegexMode = chance(0.85) ? 1 - std::min<U32>(c.asPathRegexMode, 1) : 2;
  } else {
    changeVersions(c);
  }
}

InputSet Generator::nextInputs(const InputSet& current) {
  if (!current.complete()) return chance(0.5) ? InputSet::all() : current;
  InputSet next = current;
  if (chance(0.05)) {
    next.set(pick(std::vector<ribpolicy::Input>(ribpolicy::kAllInputs.begin(),
                                                ribpolicy::kAllInputs.end())),
             false);
  }
  return next;
}

// A few changes to the step before. Without `unpromised`, a candidate that the library does
// not promise to converge is drawn again; after a few tries, the step only attaches every
// input, which is always promised.
Step Generator::nextStep(const Step& previous, bool withChain) {
  for (int attempt = 0; attempt < 20; ++attempt) {
    Step s;
    s.config = previous.config;
    for (std::size_t n = 1 + below(3); n > 0; --n) change(s.config);
    if (withChain) addChain(s.config);
    s.inputs = nextInputs(previous.inputs);
    PromiseTracker trial = tracker_;
    if (trial.step(s).exact() || options_.unpromised) {
      tracker_ = std::move(trial);
      return s;
    }
  }
  Step s;
  s.config = previous.config;
  tracker_.step(s);
  return s;
}

Scenario Generator::run() {
  Scenario sc;
  // The first configuration: a dozen changes to an empty one.
  Step first;
  for (std::size_t n = between(6, 16); n > 0; --n) {
    ScenarioConfig candidate = first.config;
    change(candidate);
    if (options_.unpromised || cycleNames(candidate).empty()) first.config = std::move(candidate);
  }
  tracker_.step(first);
  sc.steps.push_back(std::move(first));
  // Now and then a deep chain, late in the scenario: every step after it starts hundreds of
  // maps afresh.
  const std::size_t chainAt =
      chance(0.02) ? options_.steps - below(std::max<std::size_t>(options_.steps / 3, 1)) : 0;
  for (std::size_t i = 1; i <= options_.steps; ++i) {
    sc.steps.push_back(nextStep(sc.steps.back(), i == chainAt));
  }
  return sc;
}

}  // namespace

ribpolicy::Scenario generateScenario(std::uint64_t seed, const GeneratorOptions& options) {
  ribpolicy::Scenario scenario = Generator(seed, options).run();
  return options.frrSubset ? frr::subsetScenario(scenario) : scenario;
}

}  // namespace converge
