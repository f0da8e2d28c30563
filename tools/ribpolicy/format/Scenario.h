// A scenario: the VRF and a list of steps, each the whole configuration that holds after it
// and the root inputs attached after it.
//
// The model uses the configuration library's own value types wherever they exist, so that
// the driver can compare two configurations and copy values into the entities without any
// translation. Every value in a parsed scenario has already been checked: nothing here can
// make the library stop on an assertion.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "framework/config/AclListConfig.h"
#include "framework/config/AclTypes.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/vox/Types.h"

namespace ribpolicy {

using Vox::S64;
using Vox::U32;
using Vox::U8;

// The root inputs, in the order in which the agent attaches them.
enum class Input : std::uint8_t {
  routeMapConfig,
  peerFilterConfig,
  aclListConfig,
  aclConfig,
  dynPfxListConfig,
  policyMap,
};
inline constexpr std::size_t kInputCount = 6;
inline constexpr std::array<Input, kInputCount> kAllInputs = {
    Input::routeMapConfig, Input::peerFilterConfig, Input::aclListConfig,
    Input::aclConfig,      Input::dynPfxListConfig, Input::policyMap};

// "route-map-config", "peer-filter-config", "acl-list-config", "acl-config",
// "dynamic-prefix-list-config", "policy-map" (the agent's input table holds them).
const char* inputName(Input input);

// Which inputs are attached; indexed by the Input ordinal.
struct InputSet {
  std::array<bool, kInputCount> on{};

  static InputSet all() {
    InputSet s;
    s.on.fill(true);
    return s;
  }
  bool has(Input i) const { return on[static_cast<std::size_t>(i)]; }
  void set(Input i, bool v) { on[static_cast<std::size_t>(i)] = v; }
  bool complete() const {
    for (bool b : on) {
      if (!b) return false;
    }
    return true;
  }
  friend bool operator==(const InputSet&, const InputSet&) = default;
};

// An object that carries an explicit version beside what it holds. Two objects are equal when
// both agree; `contents()` leaves the version out, as the agent does when it decides whether
// an object changed and so earns the next automatic version.
template <class Contents>
struct Versioned : Contents {
  std::optional<U32> version;  // explicit version, instead of the automatic one

  const Contents& contents() const { return *this; }
  friend bool operator==(const Versioned&, const Versioned&) = default;
};

// The entries of a list, by sequence number.
template <class Entry>
struct EntryList {
  std::map<U32, Entry> entries;
  friend bool operator==(const EntryList&, const EntryList&) = default;
};

// A prefix list of either family, an IPv4 one with Acl::PrefixEntry entries and an IPv6 one
// with Acl::Ipv6PrefixEntry entries.
using Ipv4PrefixListDef = Versioned<EntryList<Acl::PrefixEntry>>;
using Ipv6PrefixListDef = Versioned<EntryList<Acl::Ipv6PrefixEntry>>;

struct AsPathListContents {
  std::string source;
  std::map<U32, Acl::AsPathEntry> entries;
  friend bool operator==(const AsPathListContents&, const AsPathListContents&) = default;
};
using AsPathListDef = Versioned<AsPathListContents>;

struct CommunityEntryContents {
  Acl::MatchPermit permit = Acl::permit;
  Acl::CommunityListType type = Acl::standardValues;
  std::set<Acl::CommunityValue> communities;
  std::string regex;
  friend bool operator==(const CommunityEntryContents&, const CommunityEntryContents&) = default;
};
// Each entry of a community list carries a version of its own.
using CommunityEntryDef = Versioned<CommunityEntryContents>;
using CommunityListDef = EntryList<CommunityEntryDef>;

// A standard access list's rules, by sequence number.
using AccessListDef = EntryList<Acl::RuleConfig>;

// The set clauses of a map entry. The library ignores the fields of a clause that is absent,
// and so does equality: two entries are the same when the same clauses are present with the
// same values.
//
// A clause written under a name the scenario's action-names map gives one of the engine's
// unnamed actions (`local-preference: 150`) waits in `named` until the map is known: the
// entries of a map are read as the document streams in, before the rest of it is. The reader
// then moves it to its action and empties `named`.
struct NamedAction {
  std::string name;
  S64 value = 0;
  int keyLine = 0;
  int keyColumn = 0;
  int valueLine = 0;
  int valueColumn = 0;
};
struct SetClauseDefs : Routing::RouteMap::SetClauses {
  std::vector<NamedAction> named;

  friend bool operator==(const SetClauseDefs& a, const SetClauseDefs& b) {
    for (Routing::RouteMap::SetFlagBit bit : allBits()) {
      if (!a.sameClause(bit, b)) return false;
    }
    return true;
  }
};

struct MapEntryDef {
  Acl::MatchPermit permit = Acl::permit;
  std::map<Routing::RouteMap::MatchOption, Routing::RouteMap::MatchRule> match;
  std::string subRouteMap;
  SetClauseDefs set;
  friend bool operator==(const MapEntryDef&, const MapEntryDef&) = default;
};

// A route map or a peer filter.
using MapDef = Versioned<EntryList<MapEntryDef>>;

// The names a dynamic prefix list refers to; empty for none.
struct DynamicPrefixListFields {
  std::string matchMap;
  std::string ipv4PrefixList;
  std::string ipv6PrefixList;
  friend bool operator==(const DynamicPrefixListFields&, const DynamicPrefixListFields&) = default;
};
using DynamicPrefixListDef = Versioned<DynamicPrefixListFields>;

// The names that the rest of the agent refers to in the policy-reference map.
struct PolicyMapDef {
  std::set<std::string> routeMaps;
  std::set<std::string> dynamicPrefixLists;
  friend bool operator==(const PolicyMapDef&, const PolicyMapDef&) = default;
};

// The whole configuration after a step. Collections are keyed by name in byte order.
struct ScenarioConfig {
  U32 routeMapOpMode = 0;
  U32 asPathRegexMode = 0;
  std::map<std::string, Ipv4PrefixListDef> prefixLists;
  std::map<std::string, Ipv6PrefixListDef> ipv6PrefixLists;
  std::map<std::string, AsPathListDef> asPathLists;
  std::map<std::string, CommunityListDef> communityLists;
  std::map<std::string, AccessListDef> accessLists;
  std::map<std::string, DynamicPrefixListDef> dynamicPrefixLists;
  std::map<std::string, MapDef> routeMaps;
  std::map<std::string, MapDef> peerFilters;
  PolicyMapDef policyMap;
  friend bool operator==(const ScenarioConfig&, const ScenarioConfig&) = default;
};

// A place in the scenario text, 1-based; 0:0 when unknown.
struct Mark {
  int line = 0;
  int column = 0;
  friend bool operator==(const Mark&, const Mark&) = default;
};

// The kinds of warning `check` gives, each named in its text and selectable by --werror:
// references (a name nothing configures, an object nothing refers to, a cycle), entries
// (host bits set, entries never reached), and objects a step leaves absent or partial
// between two of its commits.
enum class WarningClass : std::uint8_t {
  undefined,
  unused,
  cycle,
  hostBits,
  unreachable,
  shadowed,
  transient,
};
inline constexpr WarningClass kWarningClasses[] = {
    WarningClass::undefined, WarningClass::unused,      WarningClass::cycle,
    WarningClass::hostBits,  WarningClass::unreachable, WarningClass::shadowed,
    WarningClass::transient,
};
// "undefined", "unused", "cycle", "host-bits", "unreachable", "shadowed", "transient".
std::string_view warningClassName(WarningClass c);

// Something the reader found worth a warning in a step's text, at its place.
struct ReaderNote {
  Mark mark;
  WarningClass warning = WarningClass::hostBits;
  std::string message;
  friend bool operator==(const ReaderNote&, const ReaderNote&) = default;
};

// Where a step's text defines objects and refers to them, so that what is found in the parsed
// configuration later (a name nothing defines, a cycle) can be reported at its place. Kept
// beside the configuration rather than in it: two steps whose configurations differ only in
// layout must still compare equal. Keys are paths of the scenario's own names:
//   "SECTION/NAME"                                   where an object is named
//   "SECTION/NAME/SEQ"                               an entry of a route map or peer filter
//   "SECTION/NAME/SEQ/match/OPTION"                  a match rule's value (option by name)
//   "SECTION/NAME/SEQ/match/OPTION/LIST"             one community list of a match rule
//   "SECTION/NAME/SEQ/sub-route-map"                 the sub-route-map's name
//   "SECTION/NAME/SEQ/set/CLAUSE/LIST"               one community list of a set clause
//   "dynamic-prefix-lists/NAME/FIELD"                match-map, ipv4- or ipv6-prefix-list
//   "policy-map/route-maps/NAME", "policy-map/dynamic-prefix-lists/NAME"
class StepMarks {
 public:
  Mark step;

  // Records `mark` at `path`; a later record of the same path replaces it once sealed.
  void record(std::string_view path, Mark mark);
  // Takes every record of `other`, as if recorded here now.
  void take(StepMarks& other);
  // Sorts the records for lookup, the last of each path winning; done once all are in.
  void seal();

  // The mark recorded at `path` itself, or null; like find, only once sealed.
  const Mark* at(std::string_view path) const;
  // The mark of `path`, or of its longest recorded parent, or of the step.
  Mark find(std::string_view path) const {
    for (;;) {
      if (const Mark* m = at(path)) return *m;
      const std::size_t slash = path.rfind('/');
      if (slash == std::string_view::npos) return step;
      path = path.substr(0, slash);
    }
  }
  // What the reader found worth a warning in the step, in the order it was found.
  std::vector<ReaderNote> notes;

  std::size_t size() const { return records_.size(); }
  std::size_t pathBytes() const { return paths_.size(); }
  friend bool operator==(const StepMarks& a, const StepMarks& b);

 private:
  // A step of a large route map holds a few marks per entry: their paths are kept one after
  // the other in one string rather than as a string each.
  struct Record {
    std::uint32_t offset;  // in paths_
    std::uint32_t length;
    Mark mark;
  };
  std::string_view path(const Record& r) const {
    return std::string_view(paths_).substr(r.offset, r.length);
  }
  std::string paths_;
  std::vector<Record> records_;
};

// One segment of an AS path: a sequence, or a set (a list inside the path).
struct AsSegment {
  bool set = false;
  std::vector<U32> asns;
  friend bool operator==(const AsSegment&, const AsSegment&) = default;
};
using AsPath = std::vector<AsSegment>;

// The kinds of community a route carries, in the order of the route's keys.
enum class RouteCommunity : std::uint8_t { standard, extended, large };
inline constexpr std::size_t kRouteCommunityKinds = 3;

// The attributes of a route, each absent unless given. Communities are kept in their canonical
// text ("65001:1", "rt:65001:7", "1:2:3"), the one the engine's answers are brought to.
struct RouteAttributes {
  std::optional<AsPath> asPath;
  std::array<std::optional<std::vector<std::string>>, kRouteCommunityKinds> communities;
  std::optional<U32> med;
  std::optional<std::string> origin;  // igp, egp or incomplete
  std::optional<std::string> nextHop;
  std::optional<U32> localPreference;
  friend bool operator==(const RouteAttributes&, const RouteAttributes&) = default;
};

// What a route check expects of the map: a deny, or a permit with the attributes after it. A
// community kind may be expected exactly (in `attributes`) or by what it holds and lacks.
struct RouteExpectation {
  bool permit = true;
  RouteAttributes attributes;
  std::array<std::vector<std::string>, kRouteCommunityKinds> includes;
  std::array<std::vector<std::string>, kRouteCommunityKinds> excludes;
};

// A route sent through one map of a step, and what the map must do to it. The map is a route
// map or a peer filter of the step's configuration.
struct RouteCheck {
  std::string map;
  bool peerFilter = false;
  std::string prefix;  // canonical text
  bool ipv6 = false;
  RouteAttributes route;
  RouteExpectation expect;
  Mark mark;  // the check's place in the scenario
};

struct Step {
  std::string name;  // may be empty
  ScenarioConfig config;
  InputSet inputs = InputSet::all();
  StepMarks marks;
  std::vector<RouteCheck> routes;
};

struct Scenario {
  std::string vrf = "default";
  std::vector<Step> steps;
};

// Calls `f(key, before, after)` for every key of either map in ascending order; the side
// that lacks the key passes null.
template <class K, class V, class C, class F>
void forEachKey(const std::map<K, V, C>& before, const std::map<K, V, C>& after, F&& f) {
  auto b = before.begin();
  auto a = after.begin();
  while (b != before.end() || a != after.end()) {
    if (a == after.end() || (b != before.end() && b->first < a->first)) {
      f(b->first, &b->second, static_cast<const V*>(nullptr));
      ++b;
    } else if (b == before.end() || a->first < b->first) {
      f(a->first, static_cast<const V*>(nullptr), &a->second);
      ++a;
    } else {
      f(a->first, &b->second, &a->second);
      ++b;
      ++a;
    }
  }
}

}  // namespace ribpolicy

// Random convergence testing works on the same scenarios, with the same integers.
namespace converge {
using Vox::S64;
using Vox::U32;
using Vox::U8;
}  // namespace converge
