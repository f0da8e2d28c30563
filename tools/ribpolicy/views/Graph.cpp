#include "tools/ribpolicy/views/Graph.h"

#include <cctype>
#include <cstdio>
#include <map>
#include <set>
#include <string>

#include "tools/ribpolicy/format/References.h"

namespace ribpolicy {

namespace {

// A node's ID begins with its kind: the label of its section, lower case, words joined by
// hyphens ("ipv6-prefix-list").
std::string kindId(ObjectKind kind) {
  std::string id(sectionOf(kind).label);
  for (char& c : id) {
    c = c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return id;
}

// The shapes that tell kinds apart at a glance; any other kind is a box. Route maps and peer
// filters draw their own table.
const char* shapeOf(ObjectKind kind) {
  static const std::map<ObjectKind, const char*> kShapes = {
      {ObjectKind::policyMap, "doubleoctagon"}, {ObjectKind::routeMap, "plain"},
      {ObjectKind::peerFilter, "plain"},        {ObjectKind::dynamicPrefixList, "hexagon"},
      {ObjectKind::communityList, "component"}, {ObjectKind::accessList, "folder"},
      {ObjectKind::asPathList, "note"},
  };
  const auto it = kShapes.find(kind);
  return it == kShapes.end() ? "box" : it->second;
}

// A node's ID: the kind and the name, with every byte that could end the quoted ID or is not
// printable written as %XX, so that distinct objects never share an ID.
std::string nodeId(const ObjectRef& o) {
  std::string id = "\"";
  id += kindId(o.kind);
  if (o.kind != ObjectKind::policyMap) id += ':';
  for (const char ch : o.name) {
    const auto c = static_cast<unsigned char>(ch);
    if (c >= 0x20 && c <= 0x7e && c != '%' && c != '"' && c != '\\') {
      id += ch;
    } else {
      char buf[4];
      std::snprintf(buf, sizeof buf, "%%%02X", c);
      id += buf;
    }
  }
  return id + '"';
}

// Text inside an HTML-like label; bytes outside printable ASCII as \xNN.
std::string html(const std::string& text) {
  std::string out;
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        if (c >= 0x20 && c <= 0x7e) {
          out += ch;
        } else {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\x%02x", c);
          out += buf;
        }
    }
  }
  return out;
}

// A route map or peer filter: a table with a row per entry, each row the port that the
// entry's references leave from.
void writeMap(const ObjectRef& o, const MapDef& map, bool unused, std::ostream& out) {
  out << "  " << nodeId(o) << " [shape=plain, label=<<TABLE BORDER=\"0\" CELLBORDER=\"1\" "
      << "CELLSPACING=\"0\" CELLPADDING=\"4\"><TR><TD BGCOLOR=\""
      << (unused ? "lightgrey" : "lightblue") << "\"><B>" << sectionOf(o.kind).label << ' '
      << html(o.name) << "</B>" << (unused ? "<BR/>(unused)" : "") << "</TD></TR>";
  for (const auto& [seq, entry] : map.entries) {
    out << "<TR><TD PORT=\"s" << seq << "\" ALIGN=\"LEFT\">" << seq << ' '
        << (entry.permit == Acl::permit ? "permit" : "deny") << "</TD></TR>";
  }
  out << "</TABLE>>];\n";
}

void writeObject(const ObjectRef& o, bool configured, bool unused, std::ostream& out) {
  // A missing map has no entries to draw, so it is a plain box like the lists.
  const bool isMap = o.kind == ObjectKind::routeMap || o.kind == ObjectKind::peerFilter;
  out << "  " << nodeId(o) << " [shape=" << (isMap ? "box" : shapeOf(o.kind));
  if (o.kind == ObjectKind::policyMap) {
    out << ", label=\"policy map\"];\n";
    return;
  }
  if (!configured) out << ", style=dashed, color=red, fontcolor=red";
  if (unused) out << ", style=filled, fillcolor=lightgrey";
  out << ", label=<" << sectionOf(o.kind).label << "<BR/><B>" << html(o.name) << "</B>";
  if (!configured) out << "<BR/>(not configured)";
  if (unused) out << "<BR/>(unused)";
  out << ">];\n";
}

void writeReference(const Reference& r, std::ostream& out) {
  out << "  " << nodeId(r.from);
  if (r.seq) out << ":\"s" << *r.seq << "\":e";
  out << " -> " << nodeId(r.to);
  // The policy map refers in one way only, so its edges need no label.
  std::string label = r.from.kind == ObjectKind::policyMap ? "" : r.via;
  std::string style;
  if (!r.configured) style = "color=red, fontcolor=red, style=dashed";
  if (r.onCycle) {
    label += label.empty() ? "cycle" : " (cycle)";
    style = "color=red, fontcolor=red, penwidth=2";
  }
  std::string attributes = label.empty() ? "" : "label=\"" + label + '"';
  if (!attributes.empty() && !style.empty()) attributes += ", ";
  attributes += style;
  if (!attributes.empty()) out << " [" << attributes << ']';
  out << ";\n";
}

}  // namespace

void writePolicyGraph(const ScenarioConfig& config, std::ostream& out) {
  const ReferenceAnalysis a = analyzeReferences(config);
  const std::set<ObjectRef> unused(a.unused.begin(), a.unused.end());
  std::set<ObjectRef> missing;
  for (const Reference& r : a.references) {
    if (!r.configured) missing.insert(r.to);
  }

  out << "digraph policy {\n"
      << "  rankdir=LR;\n"
      << "  graph [fontname=\"Helvetica\", fontsize=10];\n"
      << "  node [fontname=\"Helvetica\", fontsize=10];\n"
      << "  edge [fontname=\"Helvetica\", fontsize=9];\n";
  if (!missing.empty() || !a.cycles.empty() || !unused.empty()) {
    out << "  labelloc=b;\n"
        << "  label=\"red dashed: not configured; red bold: a cycle of references; grey: "
           "nothing refers to it\";\n";
  }
  for (const ObjectRef& o : a.objects) {
    const bool isUnused = unused.count(o) > 0;
    if (o.kind == ObjectKind::routeMap) {
      writeMap(o, config.routeMaps.at(o.name), isUnused, out);
    } else if (o.kind == ObjectKind::peerFilter) {
      writeMap(o, config.peerFilters.at(o.name), isUnused, out);
    } else {
      writeObject(o, true, isUnused, out);
    }
  }
  for (const ObjectRef& o : missing) writeObject(o, false, false, out);
  for (const Reference& r : a.references) writeReference(r, out);
  out << "}\n";
}

}  // namespace ribpolicy
