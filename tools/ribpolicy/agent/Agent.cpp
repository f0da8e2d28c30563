#include "tools/ribpolicy/agent/Agent.h"

#include <iterator>
#include <optional>
#include <utility>

#include "framework/l3/VrfName.h"
#include "framework/vox/Assert.h"

namespace ribpolicy {

namespace {

using Routing::RouteMap::Map;
using Routing::RouteMap::MapEntry;

// The objects of one named section: removals first, then additions and changes, each in
// ascending name order.
template <class Def, class Remove, class Put>
void syncNamed(const std::map<std::string, Def>& before, const std::map<std::string, Def>& after,
               Remove&& remove, Put&& put) {
  for (const auto& [name, def] : before) {
    if (!after.contains(name)) remove(name);
  }
  for (const auto& [name, def] : after) {
    auto it = before.find(name);
    put(name, def, it == before.end() ? nullptr : &it->second);
  }
}

// The version an existing object takes after a step: the explicit one if the step gives one,
// otherwise one more than now when the contents changed.
U32 nextVersion(const std::optional<U32>& explicitVersion, U32 current, bool changed) {
  if (explicitVersion) return *explicitVersion;
  return changed ? current + 1 : current;
}

// --- Prefix lists of both families ---------------------------------------------------------

template <class List, class Def>
void fillPrefixList(List& list, const Def& def) {
  for (const auto& [seq, entry] : def.entries) list.entryIs(entry);
  list.versionIs(def.version.value_or(1));
}

template <class List, class Def>
void updatePrefixList(List& list, const Def& before, const Def& after) {
  bool changed = false;
  forEachKey(before.entries, after.entries, [&](U32 seq, const auto* b, const auto* a) {
    if (!a) {
      list.entryDel(seq);
      changed = true;
    } else if (!b || !(*b == *a)) {
      list.entryIs(*a);
      changed = true;
    }
  });
  list.versionIs(nextVersion(after.version, list.version(), changed));
}

// --- Route-map entries ----------------------------------------------------------------------

Vox::Ptr<MapEntry> buildEntry(U32 seq, const MapEntryDef& def) {
  auto e = Vox::make<MapEntry>(seq);
  e->permitIs(def.permit);
  for (const auto& [option, rule] : def.match) e->matchRuleIs(rule);
  e->subRouteMapIs(def.subRouteMap);
  for (Routing::RouteMap::SetFlagBit bit : Routing::RouteMap::SetClauses::allBits()) {
    e->setClauseIs(bit, def.set);
  }
  return e;
}

// Changes an entry that stays, one attribute at a time, so that each change is notified.
void updateEntry(MapEntry& e, const MapEntryDef& before, const MapEntryDef& after) {
  forEachKey(before.match, after.match,
             [&](Routing::RouteMap::MatchOption option, const auto* b, const auto* a) {
               if (!a) {
                 e.matchRuleDel(option);
               } else if (!b || !(*b == *a)) {
                 e.matchRuleIs(*a);
               }
             });
  e.subRouteMapIs(after.subRouteMap);
  e.permitIs(after.permit);
  for (Routing::RouteMap::SetFlagBit bit : Routing::RouteMap::SetClauses::allBits()) {
    e.setClauseIs(bit, after.set);
  }
}

// --- Community-list entries -------------------------------------------------------------------

void writeCommunityEntry(Acl::CommunityListEntry& e, const CommunityEntryDef& def) {
  e.permitIs(def.permit);
  e.listTypeIs(def.type);
  e.communitiesIs(def.communities);
  e.regexIs(def.regex);
}

Vox::Ptr<Acl::CommunityListEntry> buildCommunityEntry(U32 seq, const CommunityEntryDef& def) {
  auto e = Vox::make<Acl::CommunityListEntry>(seq);
  writeCommunityEntry(*e, def);
  e->versionIs(def.version.value_or(1));
  return e;
}

void writeDynamicPrefixList(Routing::DynamicPrefixList::DynamicPrefixListEntry& e,
                            const DynamicPrefixListDef& def) {
  e.matchMapIs(def.matchMap);
  e.ipv4PrefixListIs(def.ipv4PrefixList);
  e.ipv6PrefixListIs(def.ipv6PrefixList);
}

}  // namespace

RoutingPolicyMap::Requester externalReason() {
  return {0, 0, "external", "scenario"};
}

Agent::Agent(std::string vrf)
    : vrf_(std::move(vrf)),
      routeMapConfig_(Vox::make<Routing::RouteMap::Config>()),
      peerFilterConfig_(Vox::make<Routing::RouteMap::PeerFilterConfig>()),
      aclListConfig_(Vox::make<Acl::AclListConfig>()),
      aclConfig_(Vox::make<Acl::Config>()),
      ipAclConfig_(Vox::make<Acl::AclTypeConfig>(Acl::aclTypeIp)),
      dynPfxListConfig_(Vox::make<Routing::DynamicPrefixList::Config>()),
      policyMap_(Vox::make<RoutingPolicyMap::PolicyMap>()) {
  // The access-list configuration always holds the IP type, configured lists or not.
  aclConfig_->configIs(ipAclConfig_);
}

Agent::~Agent() {
  teardown();
}

void Agent::applyStep(const ScenarioConfig& config, const InputSet& inputs) {
  applyConfig(current_, config);
  current_ = config;
  if (!root_) {
    root_ = RibRouteMap::rootFactory("ribpolicy");
    root_->vrfNameIs(L3::VrfName(vrf_));
  }
  attach(inputs);
}

void Agent::teardown() {
  if (!root_) return;
  // The VRF state exists only while every input is set, so clearing them removes it.
  attach(InputSet());
  root_ = nullptr;
}

namespace {

// The root inputs, one row each: the name scenarios use and how the agent hands its entity to
// the root.
struct InputRow {
  Input input;
  const char* name;
  void (*put)(const Agent& agent, RibRouteMap::VrfInputs& inputs);
};

constexpr InputRow kInputTable[] = {
    {Input::routeMapConfig, "route-map-config",
     [](const Agent& a, RibRouteMap::VrfInputs& in) { in.routeMapConfig = a.routeMapConfig(); }},
    {Input::peerFilterConfig, "peer-filter-config",
     [](const Agent& a, RibRouteMap::VrfInputs& in) {
       in.peerFilterConfig = a.peerFilterConfig();
     }},
    {Input::aclListConfig, "acl-list-config",
     [](const Agent& a, RibRouteMap::VrfInputs& in) { in.aclListConfig = a.aclListConfig(); }},
    {Input::aclConfig, "acl-config",
     [](const Agent& a, RibRouteMap::VrfInputs& in) { in.aclConfig = a.aclConfig(); }},
    {Input::dynPfxListConfig, "dynamic-prefix-list-config",
     [](const Agent& a, RibRouteMap::VrfInputs& in) {
       in.dynPfxListConfig = a.dynPfxListConfig();
     }},
    {Input::policyMap, "policy-map",
     [](const Agent& a, RibRouteMap::VrfInputs& in) { in.policyMap = a.policyMap(); }},
};
static_assert(std::size(kInputTable) == kInputCount, "one row per root input");

const InputRow& rowOf(Input input) {
  const InputRow& row = kInputTable[static_cast<std::size_t>(input)];
  VOX_ASSERT(row.input == input);
  return row;
}

}  // namespace

const char* inputName(Input input) {
  return rowOf(input).name;
}

void Agent::attach(const InputSet& inputs) {
  attached_ = inputs;
  RibRouteMap::VrfInputs attached;
  for (const InputRow& row : kInputTable) {
    if (inputs.has(row.input)) row.put(*this, attached);
  }
  root_->inputsIs(attached);
}

void Agent::applyConfig(const ScenarioConfig& from, const ScenarioConfig& to) {
  aclListConfig_->regexModeIs(to.asPathRegexMode);
  syncPrefixLists(from, to);
  syncIpv6PrefixLists(from, to);
  syncAsPathLists(from, to);
  syncCommunityLists(from, to);
  syncAccessLists(from, to);
  syncDynamicPrefixLists(from, to);
  syncMaps(from.routeMaps, to.routeMaps, false);
  syncMaps(from.peerFilters, to.peerFilters, true);
  routeMapConfig_->routeMapOpModeIs(to.routeMapOpMode);
  syncPolicyMap(from.policyMap, to.policyMap);
}

void Agent::syncPrefixLists(const ScenarioConfig& from, const ScenarioConfig& to) {
  syncNamed(
      from.prefixLists, to.prefixLists,
      [&](const std::string& name) { aclListConfig_->prefixListDel(name); },
      [&](const std::string& name, const Ipv4PrefixListDef& def, const Ipv4PrefixListDef* before) {
        if (!before) {
          auto list = Vox::make<Acl::PrefixList>(name);
          aclListConfig_->prefixListIs(list);
          fillPrefixList(*list, def);
        } else {
          updatePrefixList(*aclListConfig_->prefixList().at(name), *before, def);
        }
      });
}

void Agent::syncIpv6PrefixLists(const ScenarioConfig& from, const ScenarioConfig& to) {
  syncNamed(
      from.ipv6PrefixLists, to.ipv6PrefixLists,
      [&](const std::string& name) { aclListConfig_->ipv6PrefixListDel(name); },
      [&](const std::string& name, const Ipv6PrefixListDef& def, const Ipv6PrefixListDef* before) {
        if (!before) {
          auto list = Vox::make<Acl::Ipv6PrefixList>(name);
          aclListConfig_->ipv6PrefixListIs(list);
          fillPrefixList(*list, def);
        } else {
          updatePrefixList(*aclListConfig_->ipv6PrefixList().at(name), *before, def);
        }
      });
}

void Agent::syncAsPathLists(const ScenarioConfig& from, const ScenarioConfig& to) {
  syncNamed(
      from.asPathLists, to.asPathLists,
      [&](const std::string& name) { aclListConfig_->pathListDel(name); },
      [&](const std::string& name, const AsPathListDef& def, const AsPathListDef* before) {
        if (!before) {
          auto list = Vox::make<Acl::AsPathList>(name);
          list->sourceIs(def.source);
          aclListConfig_->pathListIs(list);
          for (const auto& [seq, entry] : def.entries) list->pathEntryIs(entry);
          list->versionIs(def.version.value_or(1));
          return;
        }
        Acl::AsPathList& list = *aclListConfig_->pathList().at(name);
        bool changed = def.source != before->source;
        list.sourceIs(def.source);
        forEachKey(before->entries, def.entries, [&](U32 seq, const auto* b, const auto* a) {
          if (!a) {
            list.pathEntryDel(seq);
            changed = true;
          } else if (!b || !(*b == *a)) {
            list.pathEntryIs(*a);
            changed = true;
          }
        });
        list.versionIs(nextVersion(def.version, list.version(), changed));
      });
}

void Agent::syncCommunityLists(const ScenarioConfig& from, const ScenarioConfig& to) {
  syncNamed(
      from.communityLists, to.communityLists,
      [&](const std::string& name) { aclListConfig_->communityListDel(name); },
      [&](const std::string& name, const CommunityListDef& def, const CommunityListDef* before) {
        if (!before) {
          auto list = Vox::make<Acl::CommunityList>(name);
          aclListConfig_->communityListIs(list);
          for (const auto& [seq, entry] : def.entries) {
            list->communityListEntryIs(buildCommunityEntry(seq, entry));
          }
          return;
        }
        Acl::CommunityList& list = *aclListConfig_->communityList().at(name);
        forEachKey(before->entries, def.entries, [&](U32 seq, const auto* b, const auto* a) {
          if (!a) {
            list.communityListEntryDel(seq);
          } else if (!b) {
            list.communityListEntryIs(buildCommunityEntry(seq, *a));
          } else {
            Acl::CommunityListEntry& e = *list.communityListEntry().at(seq);
            const bool changed = !(b->contents() == a->contents());
            if (changed) writeCommunityEntry(e, *a);
            e.versionIs(nextVersion(a->version, e.version(), changed));
          }
        });
      });
}

Vox::Ptr<Acl::RuleSet const> Agent::ruleSet(const AccessListDef& def) {
  auto set = Vox::make<Acl::RuleSet>();
  for (const auto& [seq, rule] : def.entries) {
    const Acl::UniqueId id = nextRuleId_++;
    set->rules.emplace(seq, id);
    set->ruleConfig.emplace(id, rule);
  }
  return set;
}

void Agent::syncAccessLists(const ScenarioConfig& from, const ScenarioConfig& to) {
  syncNamed(
      from.accessLists, to.accessLists,
      [&](const std::string& name) { ipAclConfig_->aclDel(name); },
      [&](const std::string& name, const AccessListDef& def, const AccessListDef* before) {
        if (!before) {
          auto acl = Vox::make<Acl::AclConfig>(name);
          acl->standardIs(true);
          acl->currCfgIs(ruleSet(def));
          ipAclConfig_->aclIs(acl);
        } else if (!(*before == def)) {
          ipAclConfig_->acl().at(name)->currCfgIs(ruleSet(def));
        }
      });
}

void Agent::syncDynamicPrefixLists(const ScenarioConfig& from, const ScenarioConfig& to) {
  syncNamed(
      from.dynamicPrefixLists, to.dynamicPrefixLists,
      [&](const std::string& name) { dynPfxListConfig_->dynamicPrefixListDel(name); },
      [&](const std::string& name, const DynamicPrefixListDef& def,
          const DynamicPrefixListDef* before) {
        if (!before) {
          auto e = Vox::make<Routing::DynamicPrefixList::DynamicPrefixListEntry>(name);
          writeDynamicPrefixList(*e, def);
          e->versionIs(def.version.value_or(1));
          dynPfxListConfig_->dynamicPrefixListIs(e);
          return;
        }
        auto& e = *dynPfxListConfig_->dynamicPrefixList().at(name);
        const bool changed = !(before->contents() == def.contents());
        if (changed) writeDynamicPrefixList(e, def);
        e.versionIs(nextVersion(def.version, e.version(), changed));
      });
}

void Agent::syncMaps(const std::map<std::string, MapDef>& from,
                     const std::map<std::string, MapDef>& to, bool peerFilters) {
  syncNamed(
      from, to,
      [&](const std::string& name) {
        if (peerFilters) {
          peerFilterConfig_->peerFilterDel(name);
        } else {
          routeMapConfig_->routeMapDel(name);
        }
      },
      [&](const std::string& name, const MapDef& def, const MapDef* before) {
        if (!before) {
          auto map = Vox::make<Map>(name);
          if (peerFilters) {
            peerFilterConfig_->peerFilterIs(map);
          } else {
            routeMapConfig_->routeMapIs(map);
          }
          for (const auto& [seq, entry] : def.entries) map->mapEntryIs(buildEntry(seq, entry));
          map->versionIs(def.version.value_or(1));
          return;
        }
        Map& map = peerFilters ? *peerFilterConfig_->peerFilter().at(name)
                               : *routeMapConfig_->routeMap().at(name);
        bool changed = false;
        forEachKey(before->entries, def.entries, [&](U32 seq, const auto* b, const auto* a) {
          if (!a) {
            map.mapEntryDel(seq);
            changed = true;
          } else if (!b) {
            map.mapEntryIs(buildEntry(seq, *a));
            changed = true;
          } else if (!(*b == *a)) {
            updateEntry(*map.mapEntry().at(seq), *b, *a);
            changed = true;
          }
        });
        map.versionIs(nextVersion(def.version, map.version(), changed));
      });
}

void Agent::syncPolicyMap(const PolicyMapDef& from, const PolicyMapDef& to) {
  const RoutingPolicyMap::Requester reason = externalReason();
  RoutingPolicyMap::PolicyMap& pm = *policyMap_;
  // The library may hold reasons of its own for the same name; the entity goes only when
  // no reason is left.
  for (const std::string& name : from.routeMaps) {
    if (to.routeMaps.contains(name)) continue;
    if (auto r = pm.routeMap(name)) {
      r->reasonDel(reason);
      if (r->empty()) pm.routeMapDel(name);
    }
  }
  for (const std::string& name : from.dynamicPrefixLists) {
    if (to.dynamicPrefixLists.contains(name)) continue;
    if (auto r = pm.dynamicPrefixList(name)) {
      r->reasonDel(reason);
      if (r->empty()) pm.dynamicPrefixListDel(name);
    }
  }
  for (const std::string& name : to.routeMaps) pm.routeMapIs(name)->reasonIs(reason, true);
  for (const std::string& name : to.dynamicPrefixLists) {
    pm.dynamicPrefixListIs(name)->reasonIs(reason, true);
  }
}

}  // namespace ribpolicy
