#include "tools/ribpolicy/StateJson.h"

#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace ribpolicy {

namespace {

// Adds a member after the others without looking for one of the same name: the callers walk
// ordered maps, whose names are unique, while an ordered object's operator[] searches its
// members one by one, which made a state of many nodes quadratic.
void append(Json& object, std::string name, Json value) {
  object.get_ref<Json::object_t&>().emplace_back(std::move(name), std::move(value));
}

}  // namespace

std::string jsonBytes(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      // The code point c in UTF-8: two bytes for 0x80 to 0xff.
      out += static_cast<char>(0xc0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3f));
    }
  }
  return out;
}

std::string nodeName(const Rib::PathEntry& entry) {
  std::string out = std::to_string(entry.tag);
  switch (entry.kind) {
    case Rib::PathEntry::Kind::none:
      break;
    case Rib::PathEntry::Kind::string:
      out += "=\"" + entry.str + '"';
      break;
    case Rib::PathEntry::Kind::u32:
      out += '=' + std::to_string(entry.u32);
      break;
  }
  return jsonBytes(out);
}

Json valueJson(const Rib::ValueData& value) {
  Json out = Json::array();
  out.push_back(Rib::typeName(Rib::typeOf(value)));
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32>) {
          out.push_back(x);
        } else if constexpr (std::is_same_v<T, U8>) {
          out.push_back(static_cast<unsigned>(x));
        } else if constexpr (std::is_same_v<T, std::string>) {
          out.push_back(jsonBytes(x));
        } else if constexpr (std::is_same_v<T, bool>) {
          out.push_back(x);
        } else if constexpr (std::is_same_v<T, Vela::IpAddr> || std::is_same_v<T, Vela::Ip6Addr>) {
          out.push_back(x.toString());
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          out.push_back(x);
        } else {
          static_assert(std::is_same_v<T, Rib::Reset>);
          // A reset removes its tag from a node, so a committed node never holds one.
        }
      },
      value);
  return out;
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
    append(out, nodeName(entry), engineJson(child));
  }
  return out;
}

namespace {

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

}  // namespace

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

std::string jsonText(const Json& json, bool indented) {
  const std::string dumped = json.dump(indented ? 2 : -1, ' ', true);
  // The serializer writes five control characters in their short forms (\n, \t ...);
  // the operation stream writes every byte outside printable ASCII as \u00XX, and the state
  // does the same. A backslash in the output always begins an escape, so each escape can
  // be taken whole.
  std::string out;
  out.reserve(dumped.size());
  for (std::size_t i = 0; i < dumped.size(); ++i) {
    if (dumped[i] != '\\' || i + 1 == dumped.size()) {
      out += dumped[i];
      continue;
    }
    const char next = dumped[++i];
    const char* code = nullptr;
    switch (next) {
      case 'b':
        code = "\\u0008";
        break;
      case 't':
        code = "\\u0009";
        break;
      case 'n':
        code = "\\u000a";
        break;
      case 'f':
        code = "\\u000c";
        break;
      case 'r':
        code = "\\u000d";
        break;
      default:
        break;
    }
    if (code) {
      out += code;
    } else {
      out += '\\';
      out += next;
    }
  }
  return out;
}

}  // namespace ribpolicy
