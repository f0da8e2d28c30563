// The printed engine state: the committed policy tree and the policy-reference map as one
// JSON object, members in a fixed order so that two runs print the same text.
//
// Engine strings are byte strings (packed AS paths hold any byte); the JSON writer escapes each
// byte outside printable ASCII as one \u00XX, the same as in the operation stream.
#pragma once

#include <ostream>
#include <string>

#include "RibText/JsonLinesWriter.h"
#include "RibText/JsonWriter.h"
#include "framework/config/PolicyMap.h"
#include "framework/rib/EngineModel.h"

namespace ribpolicy {

// The reasons of a policy-map entry, [[plugin, mode, cli, key] ...], in their order.
void writeReasons(RibText::JsonWriter& w, const RoutingPolicyMap::PolicyRequester& requester);

// The member name of a child node: "512", "576=\"RM1\"", "578=10" (bytes, escaped when written).
std::string nodeName(const Rib::PathEntry& entry);

// The state as JSON text, compact or indented: the committed tree (children by path entry,
// values under "=" as [TYPE, VALUE], meaningless nodes left out) and the policy-reference map
// ({"route-maps", "dynamic-prefix-lists", "redistributed-dynamic-prefix-lists"}: name ->
// [[plugin, mode, cli, key] ...]). Written straight from the trees: a JSON value per engine
// node costs about as much again as the node itself, which a state of a million entries
// cannot afford.
std::string stateText(const Rib::EngineModel::Node& engine, const RoutingPolicyMap::PolicyMap& map,
                      bool indented);
// The same text, written to `out` as it is made rather than held whole; with `tags` names, the
// nodes and value tags by name ("route-map=\"RM1\"", "metric") and AS paths and communities in
// their usual forms (RibText/JsonLinesWriter.h).
void writeState(std::ostream& out, const Rib::EngineModel::Node& engine,
                const RoutingPolicyMap::PolicyMap& map, bool indented,
                RibText::Tags tags = RibText::Tags::numbers);
// The state for people, the tree as the engine holds it with every tag named and every value in
// its usual form, then the policy-reference map:
//   engine
//     policy
//       route-map="RM1"  {name="RM1"}
//         seqs
//           seq=10  {seq=10 permit=true}
//   policy-map
//     route-maps
//       "RM1"
//         plugin 1 mode 0 cli "neighbor" key "peer1"
void writeStateText(std::ostream& out, const Rib::EngineModel::Node& engine,
                    const RoutingPolicyMap::PolicyMap& map);

}  // namespace ribpolicy
