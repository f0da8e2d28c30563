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

// A prefix list of either family, an IPv4 one with Acl::PrefixEntry entries and an IPv6 one
// with Acl::Ipv6PrefixEntry entries.
template <class Entry>
struct PrefixListDef {
  std::optional<U32> version;  // explicit version, instead of the automatic one
  std::map<U32, Entry> entries;
  friend bool operator==(const PrefixListDef&, const PrefixListDef&) = default;
};
using Ipv4PrefixListDef = PrefixListDef<Acl::PrefixEntry>;
using Ipv6PrefixListDef = PrefixListDef<Acl::Ipv6PrefixEntry>;

struct AsPathListDef {
  std::optional<U32> version;
  std::string source;
  std::map<U32, Acl::AsPathEntry> entries;
  friend bool operator==(const AsPathListDef&, const AsPathListDef&) = default;
};

struct CommunityEntryDef {
  Acl::MatchPermit permit = Acl::permit;
  Acl::CommunityListType type = Acl::standardValues;
  std::set<Acl::CommunityValue> communities;
  std::string regex;
  std::optional<U32> version;

  // Whether the two entries hold the same contents (the version aside).
  bool sameContents(const CommunityEntryDef& o) const {
    return permit == o.permit && type == o.type && communities == o.communities && regex == o.regex;
  }
};

struct CommunityListDef {
  std::map<U32, CommunityEntryDef> entries;
};

struct AccessListDef {
  std::map<U32, Acl::RuleConfig> rules;  // sequence number -> rule
  friend bool operator==(const AccessListDef&, const AccessListDef&) = default;
};

struct MapEntryDef {
  Acl::MatchPermit permit = Acl::permit;
  std::map<Routing::RouteMap::MatchOption, Routing::RouteMap::MatchRule> match;
  std::string subRouteMap;
  Routing::RouteMap::SetClauses set;

  bool sameAs(const MapEntryDef& o) const;
};

// A route map or a peer filter.
struct MapDef {
  std::optional<U32> version;
  std::map<U32, MapEntryDef> entries;
};

struct DynamicPrefixListDef {
  std::string matchMap;
  std::string ipv4PrefixList;
  std::string ipv6PrefixList;
  std::optional<U32> version;

  bool sameFields(const DynamicPrefixListDef& o) const {
    return matchMap == o.matchMap && ipv4PrefixList == o.ipv4PrefixList &&
           ipv6PrefixList == o.ipv6PrefixList;
  }
};

// The names that the rest of the agent refers to in the policy-reference map.
struct PolicyMapDef {
  std::set<std::string> routeMaps;
  std::set<std::string> dynamicPrefixLists;
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
};

struct Step {
  std::string name;  // may be empty
  ScenarioConfig config;
  InputSet inputs = InputSet::all();
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
