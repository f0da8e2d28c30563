// The state written straight from the trees is the text of the state made as JSON, byte for
// byte, in both layouts.
#include <gtest/gtest.h>

#include <string>

#include "tools/ribpolicy/StateJson.h"

namespace {

using Rib::PathEntry;

Rib::EngineModel::Node sampleEngine() {
  Rib::EngineModel::Node root;
  root.values[16] = U32{1};
  Rib::EngineModel::Node& policy = root.children[PathEntry{512, PathEntry::Kind::none, 0, {}}];
  // Names with a quote, a backslash, control bytes and bytes past ASCII.
  Rib::EngineModel::Node& list =
      policy.children[PathEntry{515, PathEntry::Kind::string, 0, "P\"L\\\x01\n\x7f\xff"}];
  list.values[0] = std::string("P\"L\\\x01\n\x7f\xff\t\r\b\f");
  Rib::EngineModel::Node& entry = list.children[PathEntry{516, PathEntry::Kind::u32, 10, {}}];
  entry.values[0] = *Vela::IpAddr::parse("10.0.0.0");
  entry.values[2] = U8{24};
  entry.values[3] = true;
  entry.values[4] = std::vector<U32>{65001, 4294967295u};
  entry.values[5] = std::vector<U32>{};
  entry.values[6] = *Vela::Ip6Addr::parse("2001:db8::1");
  // A node with nothing under it is left out; one that holds only an empty child is too.
  list.children[PathEntry{516, PathEntry::Kind::u32, 20, {}}];
  policy.children[PathEntry{600, PathEntry::Kind::none, 0, {}}]
      .children[PathEntry{601, PathEntry::Kind::none, 0, {}}];
  return root;
}

// Every kind of value, awkward names, left-out nodes and requesters print the same both ways.
TEST(StateTextTest, SameTextAsTheStateMadeAsJson) {
  const Rib::EngineModel::Node engine = sampleEngine();
  auto map = Vox::make<RoutingPolicyMap::PolicyMap>();
  map->routeMapIs("RM\x02")->reasonIs({1, 2, "route-map RM\x02", "k\xe9"}, true);
  map->routeMapIs("RM\x02")->reasonIs({0, 0, "", ""}, true);
  map->routeMapIs("SOLO");
  map->dynamicPrefixListIs("D")->reasonIs({3, 1, "cli", "key"}, true);
  for (const bool indented : {true, false}) {
    EXPECT_EQ(ribpolicy::stateText(engine, *map, indented),
              ribpolicy::jsonText(ribpolicy::stateJson(engine, *map), indented))
        << (indented ? "indented" : "compact");
  }
}

// An empty engine and policy map print as empty objects.
TEST(StateTextTest, EmptyState) {
  const Rib::EngineModel::Node engine;
  auto map = Vox::make<RoutingPolicyMap::PolicyMap>();
  EXPECT_EQ(ribpolicy::stateText(engine, *map, false),
            "{\"engine\":{},\"policy-map\":{\"route-maps\":{},\"dynamic-prefix-lists\":{},"
            "\"redistributed-dynamic-prefix-lists\":{}}}");
  EXPECT_EQ(ribpolicy::stateText(engine, *map, true),
            ribpolicy::jsonText(ribpolicy::stateJson(engine, *map), true));
}

}  // namespace
