#include "tools/ribpolicy/frr/Delta.h"

#include <algorithm>

namespace frr {

namespace {

// The line that removes a route-map line: "no" and the line, but a prepend of several AS
// numbers is removed without them (FRR takes `no set as-path prepend` alone there).
std::string removal(const std::string& line) {
  if (line.starts_with("set as-path prepend ")) return " no set as-path prepend";
  return " no " + line;
}

const Entry* entryOf(const Object* o, U32 seq) {
  if (!o) return nullptr;
  const auto it = o->entries.find(seq);
  return it == o->entries.end() ? nullptr : &it->second;
}

bool has(const Entry* e, const std::string& line) {
  return e && std::find(e->lines.begin(), e->lines.end(), line) != e->lines.end();
}

// The expression of an AS-path entry's body ("permit ^65000_").
std::string_view expressionOf(const std::string& body) {
  const std::size_t blank = body.find(' ');
  return blank == std::string::npos ? std::string_view() : std::string_view(body).substr(blank + 1);
}

// Whether an AS-path entry cannot go or come alone because another entry of the list holds its
// expression: FRR removes the first entry holding the expression a `no` line names, whatever
// its sequence number and action, and drops a new entry whose expression the list holds.
bool sharesItsExpression(const Object& from, U32 seq, const std::string& body) {
  for (const auto& [s, e] : from.entries) {
    if (s != seq && expressionOf(e.body) == expressionOf(body)) return true;
  }
  return false;
}

bool replacedInPlace(const Object& from, const Object& to, U32 seq);

// Whether the object of `to` (null when absent) replaces the object of `from` whole.
bool replacedWhole(Kind kind, const Object& from, const Object* to) {
  if (!to || to->entries.empty() || to->expanded != from.expanded) return true;
  if (kind != Kind::asPathList) return false;
  for (const auto& [seq, e] : from.entries) {
    const auto next = to->entries.find(seq);
    const bool goes = next == to->entries.end() ||
                      (next->second.body != e.body && !replacedInPlace(from, *to, seq));
    if (goes && sharesItsExpression(from, seq, e.body)) return true;
  }
  for (const auto& [seq, e] : to->entries) {
    const auto old = from.entries.find(seq);
    const bool comes = old == from.entries.end() || old->second.body != e.body;
    if (comes && sharesItsExpression(from, seq, e.body)) return true;
  }
  return false;
}

// Whether a list entry that changes takes its new value in place: FRR replaces the entry of a
// sequence number that is given again, unless another entry of the list holds the new value
// (it would drop it), or another entry takes the old one (it would drop that, coming first).
bool replacedInPlace(const Object& from, const Object& to, U32 seq) {
  const std::string& before = from.entries.at(seq).body;
  const std::string& after = to.entries.at(seq).body;
  for (const auto& [s, e] : from.entries) {
    if (s != seq && e.body == after) return false;
  }
  for (const auto& [s, e] : to.entries) {
    if (s != seq && e.body == before) return false;
  }
  return true;
}

void openEntry(std::vector<std::string>& out, const std::string& map, const Entry& e, U32 seq) {
  out.push_back(mapEntryLine(map, e.body, seq));
}

// For every call of a route-map entry of `in` that the entry of `other` does not hold, the
// entry's opening line, `line` (the call itself when empty) and "exit".
void calls(const Config& in, const Config& other, const std::string& line,
           std::vector<std::string>& out) {
  for (const auto& [key, o] : in.objects) {
    if (key.first != Kind::routeMap) continue;
    const Object* there = other.find(key.first, key.second);
    for (const auto& [seq, e] : o.entries) {
      const Entry* counterpart = entryOf(there, seq);
      for (const std::string& l : e.lines) {
        if (!isCall(l) || has(counterpart, l)) continue;
        openEntry(out, key.second, e, seq);
        out.push_back(line.empty() ? ' ' + l : line);
        out.push_back("exit");
      }
    }
  }
}

}  // namespace

std::vector<std::string> delta(const Config& from, const Config& to) {
  std::vector<std::string> out;

  // 1. Calls that go.
  calls(from, to, " no call", out);

  // 2. Whole objects that go.
  for (const auto& [key, o] : from.objects) {
    if (o.entries.empty() || !replacedWhole(key.first, o, to.find(key.first, key.second))) continue;
    out.push_back("no " + objectCommand(key.first, key.second, o.expanded));
  }

  // 3. Entries that go or change, of objects that stay.
  for (const auto& [key, o] : from.objects) {
    const auto& [kind, name] = key;
    const Object* target = to.find(kind, name);
    if (o.entries.empty() || replacedWhole(kind, o, target)) continue;
    for (const auto& [seq, e] : o.entries) {
      const Entry* next = entryOf(target, seq);
      if (kind == Kind::routeMap) {
        if (!next) out.push_back("no " + mapEntryLine(name, e.body, seq));
        continue;
      }
      if (!next || (next->body != e.body && !replacedInPlace(o, *target, seq))) {
        out.push_back("no " + entryLine(kind, name, o.expanded, seq, e.body));
      }
    }
  }

  // 4. Entries and lines that are new or changed.
  for (const auto& [key, o] : to.objects) {
    const auto& [kind, name] = key;
    const Object* before = from.find(kind, name);
    if (before && replacedWhole(kind, *before, &o)) before = nullptr;
    for (const auto& [seq, e] : o.entries) {
      const Entry* old = entryOf(before, seq);
      if (kind != Kind::routeMap) {
        if (!old || old->body != e.body) {
          out.push_back(entryLine(kind, name, o.expanded, seq, e.body));
        }
        continue;
      }
      std::vector<std::string> lines;
      if (old) {
        for (const std::string& line : old->lines) {
          if (!isCall(line) && !has(&e, line)) lines.push_back(removal(line));
        }
      }
      for (const std::string& line : e.lines) {
        if (!isCall(line) && !has(old, line)) lines.push_back(' ' + line);
      }
      if (old && old->body == e.body && lines.empty()) continue;
      openEntry(out, name, e, seq);
      out.insert(out.end(), lines.begin(), lines.end());
      out.push_back("exit");
    }
  }

  // 5. New calls.
  calls(to, from, "", out);
  return out;
}

}  // namespace frr
