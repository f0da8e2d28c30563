#include "tools/ribpolicy/frr/Config.h"

#include <algorithm>
#include <set>

namespace frr {

namespace {

constexpr std::string_view kNotePrefix = "! no FRR form: ";

void appendNotes(std::string& out, const std::vector<Note>& notes, std::string_view indent) {
  for (const Note& n : notes) {
    out.append(indent);
    out.append(kNotePrefix);
    out.append(n.text);
    out += '\n';
  }
}

const std::vector<Note>* notesOf(const Object& object, U32 seq) {
  const auto it = object.entryNotes.find(seq);
  return it == object.entryNotes.end() ? nullptr : &it->second;
}

// The sequence numbers of an object's entries and entry notes, ascending.
std::vector<U32> places(const Object& object) {
  std::set<U32> seqs;
  for (const auto& [seq, e] : object.entries) seqs.insert(seq);
  for (const auto& [seq, n] : object.entryNotes) seqs.insert(seq);
  return {seqs.begin(), seqs.end()};
}

// The section a kind prints in; FRR separates sections with a "!" line.
int section(Kind kind) {
  switch (kind) {
    case Kind::accessList:
      return 0;
    case Kind::prefixList:
      return 1;
    case Kind::ipv6PrefixList:
      return 2;
    case Kind::asPathList:
      return 3;
    case Kind::communityList:
    case Kind::extCommunityList:
    case Kind::largeCommunityList:
      return 4;
    case Kind::routeMap:
      return 5;
    case Kind::dynamicPrefixList:
      return 6;
  }
  return 7;
}

}  // namespace

const Object* Config::find(Kind kind, const std::string& name) const {
  const auto it = objects.find({kind, name});
  return it == objects.end() ? nullptr : &it->second;
}

std::string objectCommand(Kind kind, const std::string& name, bool expanded) {
  const char* type = expanded ? "expanded " : "standard ";
  switch (kind) {
    case Kind::accessList:
      return "access-list " + name;
    case Kind::prefixList:
      return "ip prefix-list " + name;
    case Kind::ipv6PrefixList:
      return "ipv6 prefix-list " + name;
    case Kind::asPathList:
      return "bgp as-path access-list " + name;
    case Kind::communityList:
      return "bgp community-list " + (type + name);
    case Kind::extCommunityList:
      return "bgp extcommunity-list " + (type + name);
    case Kind::largeCommunityList:
      return "bgp large-community-list " + (type + name);
    case Kind::routeMap:
      return "route-map " + name;
    case Kind::dynamicPrefixList:
      return "dynamic prefix list " + name;
  }
  return name;
}

std::string entryLine(Kind kind, const std::string& name, bool expanded, U32 seq,
                      const std::string& body) {
  return objectCommand(kind, name, expanded) + " seq " + std::to_string(seq) + ' ' + body;
}

std::string mapEntryLine(const std::string& name, const std::string& action, U32 seq) {
  return "route-map " + name + ' ' + action + ' ' + std::to_string(seq);
}

void sortLines(std::vector<std::string>& lines) {
  std::sort(lines.begin(), lines.end(), [](const std::string& a, const std::string& b) {
    if (isCall(a) != isCall(b)) return isCall(a);
    return a < b;
  });
}

std::string configText(const Config& config) {
  std::string out;
  appendNotes(out, config.notes, "");
  int last = -1;
  for (const auto& [key, object] : config.objects) {
    const auto& [kind, name] = key;
    if (section(kind) != last && last != -1 && !out.empty() && !out.ends_with("!\n")) out += "!\n";
    last = section(kind);
    appendNotes(out, object.notes, "");
    for (const U32 seq : places(object)) {
      const std::vector<Note>* notes = notesOf(object, seq);
      const auto it = object.entries.find(seq);
      if (it == object.entries.end() || kind != Kind::routeMap) {
        if (notes) appendNotes(out, *notes, "");
        if (it == object.entries.end()) continue;
        out += entryLine(kind, name, object.expanded, seq, it->second.body);
        out += '\n';
        continue;
      }
      const Entry& entry = it->second;
      out += mapEntryLine(name, entry.body, seq);
      out += '\n';
      if (notes) appendNotes(out, *notes, " ");
      for (const std::string& line : entry.lines) {
        out += ' ';
        out += line;
        out += '\n';
      }
      out += "exit\n!\n";
    }
  }
  if (!out.empty() && !out.ends_with("!\n")) out += "!\n";
  return out;
}

std::vector<Note> notesInOrder(const Config& config) {
  std::vector<Note> out = config.notes;
  for (const auto& [key, object] : config.objects) {
    const auto& [kind, name] = key;
    out.insert(out.end(), object.notes.begin(), object.notes.end());
    for (const U32 seq : places(object)) {
      const std::vector<Note>* notes = notesOf(object, seq);
      if (!notes) continue;
      const auto it = object.entries.find(seq);
      for (Note n : *notes) {
        if (kind == Kind::routeMap && it != object.entries.end()) {
          n.text = mapEntryLine(name, it->second.body, seq) + ": " + n.text;
        }
        out.push_back(std::move(n));
      }
    }
  }
  return out;
}

std::vector<std::string> policyLines(const Config& config) {
  std::vector<std::string> out;
  for (const auto& [key, object] : config.objects) {
    const auto& [kind, name] = key;
    for (const auto& [seq, entry] : object.entries) {
      if (kind != Kind::routeMap) {
        out.push_back(entryLine(kind, name, object.expanded, seq, entry.body));
        continue;
      }
      const std::string open = mapEntryLine(name, entry.body, seq);
      out.push_back(open);
      for (const std::string& line : entry.lines) {
        std::string in = open;
        in.append(": ").append(line);
        out.push_back(std::move(in));
      }
    }
  }
  return out;
}

bool isCall(const std::string& line) {
  return line.starts_with("call ");
}

std::vector<std::string> differences(const Config& left, const Config& right,
                                     std::string_view leftName, std::string_view rightName) {
  const std::vector<std::string> l = policyLines(left);
  const std::vector<std::string> r = policyLines(right);
  const std::set<std::string> lset(l.begin(), l.end());
  const std::set<std::string> rset(r.begin(), r.end());
  std::vector<std::string> out;
  for (const std::string& line : l) {
    if (!rset.count(line)) out.push_back("only in " + std::string(leftName) + ": " + line);
  }
  for (const std::string& line : r) {
    if (!lset.count(line)) out.push_back("only in " + std::string(rightName) + ": " + line);
  }
  return out;
}

}  // namespace frr
