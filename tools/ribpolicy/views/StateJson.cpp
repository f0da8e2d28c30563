#include "tools/ribpolicy/views/StateJson.h"

#include <charconv>
#include <cstdint>
#include <sstream>
#include <utility>
#include <vector>

#include "RibText/JsonLinesWriter.h"
#include "RibText/JsonWriter.h"

namespace ribpolicy {

using RibText::JsonWriter;

void writeReasons(JsonWriter& w, const RoutingPolicyMap::PolicyRequester& requester) {
  w.open('[');
  for (const RoutingPolicyMap::Requester& r : requester.reason()) {
    w.item().open('[');
    w.item().number(r.plugin);
    w.item().number(r.mode);
    w.item().string(r.configCli);
    w.item().string(r.configKey);
    w.close(']');
  }
  w.close(']');
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
  return out;
}

namespace {

// [TYPE, VALUE].
void writeValue(JsonWriter& w, const Rib::ValueData& value) {
  w.open('[');
  RibText::writeValueItems(w, value);
  w.close(']');
}

// The names of the nodes on the way down whose objects are not written yet: a node is written
// only once something below it holds a value, so that whether a subtree means anything is
// found out by the one walk that writes it.
struct Pending {
  std::vector<std::string> names;
  std::size_t open = 0;  // how many of them are written

  void writeOut(JsonWriter& w) {
    for (; open < names.size(); ++open) w.member(names[open]).open('{');
  }
};

void writeEngine(JsonWriter& w, const Rib::EngineModel::Node& node, Pending& pending) {
  if (!node.values.empty()) {
    pending.writeOut(w);
    w.member("=").open('{');
    for (const auto& [tag, value] : node.values) {
      char digits[10];
      writeValue(w.member(std::string_view(digits,
                                           std::to_chars(digits, digits + sizeof digits, tag).ptr)),
                 value);
    }
    w.close('}');
  }
  for (const auto& [entry, child] : node.children) {
    pending.names.push_back(nodeName(entry));
    writeEngine(w, child, pending);
    if (pending.open == pending.names.size()) {
      w.close('}');
      --pending.open;
    }
    pending.names.pop_back();
  }
}

void writeRequesters(JsonWriter& w, const RoutingPolicyMap::PolicyMap::Coll& coll) {
  w.open('{');
  for (const auto& [name, requester] : coll) writeReasons(w.member(name), *requester);
  w.close('}');
}

}  // namespace

void writeState(std::ostream& out, const Rib::EngineModel::Node& engine,
                const RoutingPolicyMap::PolicyMap& map, bool indented) {
  JsonWriter w(out, indented);
  w.open('{');
  w.member("engine").open('{');
  Pending pending;
  writeEngine(w, engine, pending);
  w.close('}');
  w.member("policy-map").open('{');
  writeRequesters(w.member("route-maps"), map.routeMap());
  writeRequesters(w.member("dynamic-prefix-lists"), map.dynamicPrefixList());
  writeRequesters(w.member("redistributed-dynamic-prefix-lists"), map.redistributedDynPfx());
  w.close('}');
  w.close('}');
}

std::string stateText(const Rib::EngineModel::Node& engine, const RoutingPolicyMap::PolicyMap& map,
                      bool indented) {
  std::ostringstream out;
  writeState(out, engine, map, indented);
  return std::move(out).str();
}

}  // namespace ribpolicy
