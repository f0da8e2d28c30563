#include "tools/ribpolicy/views/StateJson.h"

#include <charconv>
#include <cstdint>
#include <sstream>
#include <utility>
#include <vector>

#include "RibText/JsonLinesWriter.h"
#include "RibText/JsonWriter.h"
#include "RibText/TagNames.h"

namespace ribpolicy {

using RibText::JsonWriter;
using RibText::Tags;
using Vox::U32;

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
void writeValue(JsonWriter& w, U32 node, U32 tag, const Rib::ValueData& value, Tags tags) {
  w.open('[');
  RibText::writeValueItems(w, node, tag, value, tags);
  w.close(']');
}

std::string namedNodeName(const Rib::PathEntry& entry) {
  return RibText::readablePath({entry});
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

void writeEngine(JsonWriter& w, const Rib::EngineModel::Node& node, U32 nodeTag, Tags tags,
                 Pending& pending) {
  if (!node.values.empty()) {
    pending.writeOut(w);
    w.member("=").open('{');
    for (const auto& [tag, value] : node.values) {
      const auto name = tags == Tags::names ? RibText::valueTagName(nodeTag, tag) : std::nullopt;
      char digits[10];
      writeValue(
          w.member(name ? *name
                        : std::string_view(digits,
                                           std::to_chars(digits, digits + sizeof digits, tag).ptr)),
          nodeTag, tag, value, tags);
    }
    w.close('}');
  }
  for (const auto& [entry, child] : node.children) {
    pending.names.push_back(tags == Tags::names ? namedNodeName(entry) : nodeName(entry));
    writeEngine(w, child, entry.tag(), tags, pending);
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

// The tree for people: a node a line, two blanks deeper a level, its values after its name.
void writeEngineText(std::ostream& out, const Rib::EngineModel::Node& node, std::string& indent) {
  for (const auto& [entry, child] : node.children) {
    if (!child.meaningful()) continue;
    out << indent << namedNodeName(entry);
    if (!child.values.empty()) {
      out << "  {";
      bool first = true;
      for (const auto& [tag, value] : child.values) {
        out << (first ? "" : " ") << RibText::readableValue(entry.tag(), {tag, value});
        first = false;
      }
      out << '}';
    }
    out << '\n';
    indent += "  ";
    writeEngineText(out, child, indent);
    indent.resize(indent.size() - 2);
  }
}

void writeRequestersText(std::ostream& out, std::string_view title,
                         const RoutingPolicyMap::PolicyMap::Coll& coll) {
  out << "  " << title << (coll.empty() ? "  (none)\n" : "\n");
  for (const auto& [name, requester] : coll) {
    std::string quoted;
    Rib::appendQuoted(quoted, name);
    out << "    " << quoted << '\n';
    for (const RoutingPolicyMap::Requester& r : requester->reason()) {
      std::string cli;
      std::string key;
      Rib::appendQuoted(cli, r.configCli);
      Rib::appendQuoted(key, r.configKey);
      out << "      plugin " << r.plugin << " mode " << r.mode << " cli " << cli << " key " << key
          << '\n';
    }
  }
}

}  // namespace

void writeStateText(std::ostream& out, const Rib::EngineModel::Node& engine,
                    const RoutingPolicyMap::PolicyMap& map) {
  out << "engine\n";
  std::string indent = "  ";
  if (!engine.meaningful()) out << "  (empty)\n";
  writeEngineText(out, engine, indent);
  out << "policy-map\n";
  writeRequestersText(out, "route-maps", map.routeMap());
  writeRequestersText(out, "dynamic-prefix-lists", map.dynamicPrefixList());
  writeRequestersText(out, "redistributed-dynamic-prefix-lists", map.redistributedDynPfx());
}

void writeState(std::ostream& out, const Rib::EngineModel::Node& engine,
                const RoutingPolicyMap::PolicyMap& map, bool indented, Tags tags) {
  JsonWriter w(out, indented);
  w.open('{');
  w.member("engine").open('{');
  Pending pending;
  writeEngine(w, engine, 0, tags, pending);
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
