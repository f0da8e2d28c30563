// The state written straight from the trees is, byte for byte and in both layouts, the text
// that the JSON library prints for the same state built as a JSON value, the plain way.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "tests/support/JsonOracle.h"
#include "tools/ribpolicy/views/StateJson.h"

namespace {

using Vox::U32;
using Vox::U8;

using Rib::PathEntry;
using test_support::Json;
using test_support::jsonBytes;
using test_support::jsonText;

// --- The state as a JSON value: the oracle ----------------------------------------------

// [TYPE, VALUE] of one engine value.
Json valueJson(const Rib::ValueData& value) {
  Json out = Json::array();
  out.push_back(Rib::typeName(Rib::typeOf(value)));
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, std::string>) {
          out.push_back(jsonBytes(x));
        } else if constexpr (std::is_same_v<T, Vela::IpAddr> || std::is_same_v<T, Vela::Ip6Addr>) {
          out.push_back(x.toString());
        } else if constexpr (std::is_same_v<T, U8>) {
          out.push_back(static_cast<unsigned>(x));
        } else if constexpr (!std::is_same_v<T, Rib::Reset>) {
          out.push_back(x);
        }
      },
      value);
  return out;
}

// Adds a member after the others without looking for one of the same name: the callers walk
// ordered maps, whose names are unique, while an ordered object's operator[] searches its
// members one by one, which made a state of many nodes quadratic.
void append(Json& object, std::string name, Json value) {
  object.get_ref<Json::object_t&>().emplace_back(std::move(name), std::move(value));
}

Json engineJson(const Rib::EngineModel::Node& node) {
  Json out = Json::object();
  if (!node.values.empty()) {
    Json values = Json::object();
    for (const auto& [tag, value] : node.values) {
      append(values, std::to_string(tag), valueJson(value));
    }
    out["="] = std::move(values);
  }
  // The children's map is ordered by tag, then key (numbers numerically, strings byte-wise),
  // which is the printed order; an ordered JSON object keeps it.
  for (const auto& [entry, child] : node.children) {
    if (!child.meaningful()) continue;
    append(out, jsonBytes(ribpolicy::nodeName(entry)), engineJson(child));
  }
  return out;
}

Json requesters(const RoutingPolicyMap::PolicyMap::Coll& coll) {
  Json out = Json::object();
  for (const auto& [name, requester] : coll) {
    Json reasons = Json::array();
    // The reason set is ordered by plugin, mode, configCli, configKey.
    for (const RoutingPolicyMap::Requester& r : requester->reason()) {
      reasons.push_back(
          Json::array({r.plugin, r.mode, jsonBytes(r.configCli), jsonBytes(r.configKey)}));
    }
    append(out, jsonBytes(name), std::move(reasons));
  }
  return out;
}

Json policyMapJson(const RoutingPolicyMap::PolicyMap& map) {
  Json out = Json::object();
  out["route-maps"] = requesters(map.routeMap());
  out["dynamic-prefix-lists"] = requesters(map.dynamicPrefixList());
  out["redistributed-dynamic-prefix-lists"] = requesters(map.redistributedDynPfx());
  return out;
}

Json stateJson(const Rib::EngineModel::Node& engine, const RoutingPolicyMap::PolicyMap& map) {
  Json out = Json::object();
  out["engine"] = engineJson(engine);
  out["policy-map"] = policyMapJson(map);
  return out;
}

// --- Cases -------------------------------------------------------------------------------

Rib::EngineModel::Node sampleEngine() {
  Rib::EngineModel::Node root;
  root.values.set(16, U32{1});
  Rib::EngineModel::Node& policy = root.children[PathEntry{512, PathEntry::Kind::none, 0, {}}];
  // Names with a quote, a backslash, control bytes and bytes past ASCII.
  Rib::EngineModel::Node& list =
      policy.children[PathEntry{515, PathEntry::Kind::string, 0, "P\"L\\\x01\n\x7f\xff"}];
  list.values.set(0, std::string("P\"L\\\x01\n\x7f\xff\t\r\b\f"));
  Rib::EngineModel::Node& entry = list.children[PathEntry{516, PathEntry::Kind::u32, 10, {}}];
  entry.values.set(0, *Vela::IpAddr::parse("10.0.0.0"));
  entry.values.set(2, U8{24});
  entry.values.set(3, true);
  entry.values.set(4, std::vector<U32>{65001, 4294967295u});
  entry.values.set(5, std::vector<U32>{});
  entry.values.set(6, *Vela::Ip6Addr::parse("2001:db8::1"));
  // A node with nothing under it is left out; one that holds only an empty child is too.
  list.children[PathEntry{516, PathEntry::Kind::u32, 20, {}}];
  policy.children[PathEntry{600, PathEntry::Kind::none, 0, {}}]
      .children[PathEntry{601, PathEntry::Kind::none, 0, {}}];
  // A chain of nodes without values shows for the one value at its end, after an empty
  // sibling at each level.
  Rib::EngineModel::Node* chain = &root;
  for (const U32 tag : {700u, 701u, 702u}) {
    chain->children[PathEntry{tag - 50, PathEntry::Kind::none, 0, {}}];
    chain = &chain->children[PathEntry{tag, PathEntry::Kind::none, 0, {}}];
  }
  chain->values.set(1, U32{7});
  return root;
}

// Many entries: a state longer than the pieces it is written in.
Rib::EngineModel::Node longEngine() {
  Rib::EngineModel::Node root;
  Rib::EngineModel::Node& list = root.children[PathEntry{512, PathEntry::Kind::none, 0, {}}];
  for (U32 seq = 1; seq <= 3000; ++seq) {
    Rib::EngineModel::Node& entry = list.children[PathEntry{516, PathEntry::Kind::u32, seq, {}}];
    entry.values.set(9, seq);
    if (seq % 3 != 0) entry.values.set(0, std::string("entry"));
  }
  return root;
}

// Every kind of value, awkward names, left-out nodes and requesters print the same both ways,
// and so does a long state.
TEST(StateTextTest, SameTextAsTheStateMadeAsJson) {
  for (const Rib::EngineModel::Node& engine : {sampleEngine(), longEngine()}) {
    auto map = Vox::make<RoutingPolicyMap::PolicyMap>();
    map->routeMapIs("RM\x02")->reasonIs({1, 2, "route-map RM\x02", "k\xe9"}, true);
    map->routeMapIs("RM\x02")->reasonIs({0, 0, "", ""}, true);
    map->routeMapIs("SOLO");
    map->dynamicPrefixListIs("D")->reasonIs({3, 1, "cli", "key"}, true);
    for (const bool indented : {true, false}) {
      EXPECT_EQ(ribpolicy::stateText(engine, *map, indented),
                jsonText(stateJson(engine, *map), indented))
          << (indented ? "indented" : "compact");
    }
  }
}

// An empty engine and policy map print as empty objects.
TEST(StateTextTest, EmptyState) {
  const Rib::EngineModel::Node engine;
  auto map = Vox::make<RoutingPolicyMap::PolicyMap>();
  EXPECT_EQ(ribpolicy::stateText(engine, *map, false),
            "{\"engine\":{},\"policy-map\":{\"route-maps\":{},\"dynamic-prefix-lists\":{},"
            "\"redistributed-dynamic-prefix-lists\":{}}}");
  EXPECT_EQ(ribpolicy::stateText(engine, *map, true), jsonText(stateJson(engine, *map), true));
}

}  // namespace
