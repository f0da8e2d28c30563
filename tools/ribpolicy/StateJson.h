// The printed engine state: the committed policy tree and the policy-reference map as one
// JSON object, members in a fixed order so that two runs print the same text.
//
// Engine strings are byte strings (packed AS paths hold any byte), while JSON strings are
// text. Each byte is therefore carried as the code point of the same number and printed
// ASCII-only, so every byte outside printable ASCII comes out as one \u00XX escape, the same
// as in the operation stream.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>

#include "framework/config/PolicyMap.h"
#include "framework/rib/EngineModel.h"

namespace ribpolicy {

using Vox::U32;
using Vox::U8;

using Json = nlohmann::ordered_json;

// The JSON string value that carries the bytes of `bytes` one code point each.
std::string jsonBytes(std::string_view bytes);
// The member name of a child node: "512", "576=\"RM1\"", "578=10".
std::string nodeName(const Rib::PathEntry& entry);
// [TYPE, VALUE] of one engine value.
Json valueJson(const Rib::ValueData& value);

// Compact (one line) or indented text, ASCII only.
std::string jsonText(const Json& json, bool indented);

// The state as JSON text, compact or indented as jsonText prints: the committed tree (children
// by path entry, values under "=" as [TYPE, VALUE], meaningless nodes left out) and the
// policy-reference map ({"route-maps", "dynamic-prefix-lists",
// "redistributed-dynamic-prefix-lists"}: name -> [[plugin, mode, cli, key] ...]). Written
// straight from the trees: a JSON value per engine node costs about as much again as the node
// itself, which a state of a million entries cannot afford.
std::string stateText(const Rib::EngineModel::Node& engine, const RoutingPolicyMap::PolicyMap& map,
                      bool indented);
// The same text, written to `out` as it is made rather than held whole.
void writeState(std::ostream& out, const Rib::EngineModel::Node& engine,
                const RoutingPolicyMap::PolicyMap& map, bool indented);

}  // namespace ribpolicy
