#include "tools/ribpolicy/frr/Translate.h"

#include <algorithm>

#include "tools/ribpolicy/frr/Translator.h"
#include "tools/ribpolicy/frr/Words.h"

namespace frr {

namespace detail {

namespace {

// A prefix-list entry's body, or nothing with `problem` said: FRR takes a length range only
// as length <= ge <= le <= the family's longest, and an exact entry (ge = le = length, as the
// library sends one without bounds) without bounds.
std::optional<std::string> prefixListBody(const Node& e, bool v6, std::string& problem) {
  const auto length = valueOf<U32>(e, v6 ? PL::ipv6Length : PL::ipv4Length);
  const auto a4 = valueOf<Vela::IpAddr>(e, PL::ipv4Address);
  const auto a6 = valueOf<Vela::Ip6Addr>(e, PL::ipv6Address);
  const U32 longest = v6 ? 128 : 32;
  if (!length || (v6 ? !a6 : !a4) || *length > longest) {
    problem = "an entry without a prefix of its family";
    return std::nullopt;
  }
  auto ge = valueOf<U32>(e, PL::ge);
  auto le = valueOf<U32>(e, PL::le);
  if (ge && le && *ge == *length && *le == *length) ge = le = std::nullopt;
  std::string body = action(flagOf(e, PL::permit)) + ' ' +
                     (v6 ? prefixText(*a6, *length) : prefixText(*a4, *length));
  const U32 low = ge.value_or(*length);
  if ((ge && (*ge < *length || *ge > longest)) || (le && (*le < low || *le > longest))) {
    problem = body + (ge ? " ge " + std::to_string(*ge) : "") +
              (le ? " le " + std::to_string(*le) : "") +
              ": FRR takes only length <= ge <= le <= " + std::to_string(longest);
    return std::nullopt;
  }
  if (ge) body += " ge " + std::to_string(*ge);
  if (le) body += " le " + std::to_string(*le);
  return body;
}

// The scenario's name of the match option an engine match node stands for (the name the

}  // namespace

std::string noteMark(const ObjectKey& key) {
  const auto& [kind, name] = key;
  switch (kind) {
    case Kind::accessList:
      return "access-lists/" + name;
    case Kind::prefixList:
      return "prefix-lists/" + name;
    case Kind::ipv6PrefixList:
      return "ipv6-prefix-lists/" + name;
    case Kind::asPathList:
      return "as-path-lists/" + name;
    case Kind::communityList:
    case Kind::extCommunityList:
    case Kind::largeCommunityList:
      return "community-lists/" + name;
    case Kind::routeMap:
      return "route-maps/" + name;
    case Kind::dynamicPrefixList:
      return "dynamic-prefix-lists/" + name;
  }
  return name;
}

Translation Translator::run() {
  policy_ = child(root_, T::policyRoot);
  global();
  if (policy_) {
    // Route maps are walked twice: first for the community lists their clauses use, which are
    // the library's own and not configured lists.
    for (const auto& [key, map] : policy_->children) {
      if (key.tag() != T::routeMap) continue;
      const Node* seqs = child(map, T::routeMapSeqs);
      if (!seqs) continue;
      for (const auto& [k, seq] : seqs->children) {
        const Node* set = child(seq, T::setActions);
        if (!set) continue;
        for (const U32 tag : {C::stdListAdd, C::stdListDelete}) {
          if (auto name = valueOf<std::string>(*set, tag)) clauseLists_.insert(*name);
        }
      }
    }
    prefixLists();
    accessLists();
    asPathLists();
    communityLists();
    routeMaps();
    dynamicPrefixLists();
    breakCallCycles();
    unknownBranches();
  }
  dropLongLines();
  out_.gaps.clear();
  for (Note& n : notesInOrder(out_.config)) out_.gaps.push_back({n.markPath, n.text});
  return std::move(out_);
}

void Translator::global() {
  const Node* g = child(root_, T::globalPolicy);
  if (!g) return;
  if (auto mode = valueOf<U32>(*g, T::scalarAsPathRegexMode)) regexMode_ = *mode;
  if (auto op = valueOf<U32>(*g, T::scalarRouteMapOpMode); op && *op != 0) {
    note(out_.config.notes, "route-map set-operation mode " + std::to_string(*op),
         "route-map-op-mode");
  }
}

void Translator::prefixLists() {
  const Node* lists = child(*policy_, T::prefixLists);
  if (!lists) return;
  eachChild(*lists, T::prefixListKey, [&](const Rib::PathEntryView& key, const Node& list) {
    const bool v6 = key.str.starts_with(kIpv6Id);
    const std::string name(v6 ? key.str.substr(kIpv6Id.size()) : key.str);
    const Kind kind = v6 ? Kind::ipv6PrefixList : Kind::prefixList;
    const std::string markPath = mark(v6 ? "ipv6-prefix-lists" : "prefix-lists", name);
    std::set<std::string> bodies;
    eachChild(list, T::prefixListEntry, [&](const Rib::PathEntryView& k, const Node& e) {
      std::string problem;
      std::optional<std::string> body = prefixListBody(e, v6, problem);
      if (body && k.u32 == 0) problem = "sequence number 0";
      if (body && problem.empty() && !bodies.insert(*body).second) {
        problem = "repeats the value of an earlier entry (FRR keeps one; the later never decides)";
      }
      if (!problem.empty() || !body) {
        Object& o = out_.config.object(kind, name);
        note(o.entryNotes[k.u32],
             objectCommand(kind, name, false) + " seq " + std::to_string(k.u32) + ": " + problem,
             markPath);
        return;
      }
      out_.config.object(kind, name).entries[k.u32].body = *body;
    });
  });
}

void Translator::accessLists() {
  const Node* lists = child(*policy_, T::stdAcls);
  if (!lists) return;
  eachChild(*lists, T::stdAcl, [&](const Rib::PathEntryView& key, const Node& list) {
    const std::string name(key.str);
    std::set<std::string> bodies;
    eachChild(list, T::stdAclEntry, [&](const Rib::PathEntryView& k, const Node& e) {
      const auto address = valueOf<Vela::IpAddr>(e, ACL::address);
      const auto mask = valueOf<Vela::IpAddr>(e, ACL::mask);
      std::string problem;
      std::string body;
      if (!address || !mask) {
        problem = "an entry without its address and mask";
      } else {
        body = action(flagOf(e, ACL::permit)) + ' ' + address->toString() + ' ' +
               Vela::IpAddr(~mask->value()).toString();
        if (k.u32 == 0) problem = "sequence number 0";
      }
      if (problem.empty() && !bodies.insert(body).second) {
        problem = "repeats the value of an earlier entry (FRR keeps one; the later never decides)";
      }
      if (!problem.empty()) {
        note(out_.config.object(Kind::accessList, name).entryNotes[k.u32],
             "access-list " + name + " seq " + std::to_string(k.u32) + ": " + problem,
             mark("access-lists", name));
        return;
      }
      out_.config.object(Kind::accessList, name).entries[k.u32].body = body;
    });
  });
}

void Translator::asPathLists() {
  const Node* lists = child(*policy_, T::asPathLists);
  if (!lists) return;
  eachChild(*lists, T::asPathListKey, [&](const Rib::PathEntryView& key, const Node& list) {
    if (!key.str.starts_with(kAsPathListKey)) return;
    const std::string name(key.str.substr(kAsPathListKey.size()));
    const std::string markPath = mark("as-path-lists", name);
    const Node* entries = child(list, T::asPathEntries);
    if (!entries || !entries->meaningful()) return;  // a deactivated list matches nothing
    if (regexMode_ != kSharedRegexMode) {
      note(out_.config.object(Kind::asPathList, name).notes,
           "bgp as-path access-list " + name +
               ": its expressions are of the second dialect (as-path-regex-mode 1)",
           markPath);
      return;
    }
    std::set<std::string> bodies;
    eachChild(*entries, T::asPathEntryKey, [&](const Rib::PathEntryView&, const Node& e) {
      const U32 seq = valueOf<U32>(e, ASP::entrySeqno).value_or(0);
      const std::string regex = valueOf<std::string>(e, ASP::entryRegex).value_or("");
      const U32 origin = valueOf<U32>(e, ASP::entryOrigin).value_or(kAnyOrigin);
      std::string problem;
      if (origin != kAnyOrigin) {
        problem = "matches origin mask " + std::to_string(origin) + " only";
      } else if (auto p = asPathExpressionProblem(regex)) {
        problem = *p;
      }
      const std::string body = action(valueOf<bool>(e, ASP::entryPermit).has_value()) + ' ' + regex;
      if (problem.empty() && !bodies.insert(body).second) {
        problem = "repeats the value of an earlier entry (FRR keeps one; the later never decides)";
      }
      Object& o = out_.config.object(Kind::asPathList, name);
      if (!problem.empty()) {
        note(o.entryNotes[seq],
             "bgp as-path access-list " + name + " seq " + std::to_string(seq) + ": " + problem,
             markPath);
        return;
      }
      o.entries[seq].body = body;
    });
  });
}

const Node* Translator::commSet(U32 kind, std::string_view name) const {
  if (kind >= std::size(kCommKinds)) return nullptr;
  const Node* sets = child(*policy_, kCommKinds[kind].sets);
  if (!sets) return nullptr;
  const std::string key = std::string(kCommSetKey) + std::string(name);
  const Node* set = child(*sets, kCommKinds[kind].setKey, key);
  return set && set->meaningful() ? set : nullptr;
}

std::vector<CommEntry> Translator::commEntries(const Node& list) const {
  std::vector<CommEntry> out;
  const Node* entries = child(list, T::commListEntries);
  if (!entries) return out;
  eachChild(*entries, T::commListEntryKey, [&](const Rib::PathEntryView& key, const Node& e) {
    CommEntry c;
    c.set = std::string(key.str.substr(std::min(key.str.size(), kCommEntryKey.size())));
    c.seq = valueOf<U32>(e, C::entrySeqno).value_or(0);
    c.kind = valueOf<U32>(e, C::entryKind).value_or(0);
    c.permit = flagOf(e, C::entryPermit);
    c.exact = flagOf(e, C::entryExact);
    out.push_back(std::move(c));
  });
  std::stable_sort(out.begin(), out.end(),
                   [](const CommEntry& a, const CommEntry& b) { return a.seq < b.seq; });
  return out;
}

std::optional<CommBody> Translator::commBody(U32 kind, const Node& set,
                                             std::string& problem) const {
  if (auto regex = valueOf<std::string>(set, C::setRegex)) {
    if (auto p = communityExpressionProblem(*regex)) {
      problem = *p;
      return std::nullopt;
    }
    return CommBody{true, *regex};
  }
  const std::vector<U32> words =
      valueOf<std::vector<U32>>(set, C::setValues).value_or(std::vector<U32>{});
  std::optional<std::string> text = communityValues(kind, words, problem);
  if (!text) return std::nullopt;
  return CommBody{false, *text};
}

void Translator::communityLists() {
  const Node* lists = child(*policy_, T::commLists);
  if (!lists) return;
  eachChild(*lists, T::commListKey, [&](const Rib::PathEntryView& key, const Node& list) {
    if (!key.str.starts_with(kCommListKey)) return;
    const std::string name(key.str.substr(kCommListKey.size()));
    if (clauseLists_.count(name)) return;
    const std::vector<CommEntry> entries = commEntries(list);
    if (name.starts_with(kExact) &&
        std::all_of(entries.begin(), entries.end(), [](const CommEntry& e) { return e.exact; })) {
      return;  // the copy that exact matches use; see exactCopyMatches
    }
    const std::string markPath = mark("community-lists", name);
    if (numberedListName(name) && !entries.empty()) {
      note(out_.config.object(Kind::communityList, name).notes,
           "community list " + name +
               ": FRR takes a name of digits for a numbered list, of values or expressions by "
               "its number",
           markPath);
      return;
    }
    std::map<U32, std::set<std::string>> bodies;  // by kind
    for (const CommEntry& e : entries) {
      const CommKind* kind = e.kind < std::size(kCommKinds) ? &kCommKinds[e.kind] : nullptr;
      std::string problem;
      std::optional<CommBody> body;
      const Node* set = kind ? commSet(e.kind, e.set) : nullptr;
      if (!kind) {
        problem = "community kind " + std::to_string(e.kind);
      } else if (!set) {
        problem = "its community set " + e.set + " is not in the engine";
      } else {
        body = commBody(e.kind, *set, problem);
      }
      const Kind listKind = kind ? kind->list : Kind::communityList;
      Object& o = out_.config.object(listKind, name);
      if (body) {
        const std::string text = action(e.permit) + ' ' + body->text;
        if (!o.entries.empty() && o.expanded != body->expanded) {
          problem = body->expanded ? "an expression in a list of values"
                                   : "values in a list of expressions";
          problem += " (FRR keeps a list of one form)";
        } else if (!bodies[e.kind].insert(text).second) {
          problem =
              "repeats the value of an earlier entry (FRR keeps one; the later never decides)";
        } else {
          o.expanded = body->expanded;
          o.entries[e.seq].body = text;
          continue;
        }
      }
      std::string text = "bgp ";
      text.append(kind ? kind->name : "community").append("-list ").append(name);
      text.append(" seq ").append(std::to_string(e.seq)).append(": ").append(problem);
      note(o.entryNotes[e.seq], text, markPath);
    }
  });
}

bool Translator::exactCopyMatches(const std::string& name) const {
  const Node* lists = child(*policy_, T::commLists);
  const Node* plain =
      lists ? child(*lists, T::commListKey, std::string(kCommListKey) + name) : nullptr;
  const Node* copy =
      lists ? child(*lists, T::commListKey, std::string(kCommListKey) + std::string(kExact) + name)
            : nullptr;
  const std::vector<CommEntry> a = plain ? commEntries(*plain) : std::vector<CommEntry>{};
  const std::vector<CommEntry> b = copy ? commEntries(*copy) : std::vector<CommEntry>{};
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), sameButExact);
}

void Translator::dynamicPrefixLists() {
  const Node* lists = child(*policy_, T::dynamicPrefixLists);
  if (!lists) return;
  eachChild(*lists, T::dynamicPrefixList, [&](const Rib::PathEntryView& key, const Node&) {
    const std::string name(key.str);
    note(out_.config.object(Kind::dynamicPrefixList, name).notes, "dynamic prefix list " + name,
         mark("dynamic-prefix-lists", name));
  });
}

// A cycle of calls stops bgpd 8.4.4 (two maps calling each other, sent together) or is refused
// (a map calling itself), so no call that closes one is ever written.
void Translator::breakCallCycles() {
  std::map<std::string, std::set<std::string>> calls;
  for (const auto& [key, o] : out_.config.objects) {
    if (key.first != Kind::routeMap) continue;
    for (const auto& [seq, entry] : o.entries) {
      for (const std::string& line : entry.lines) {
        if (line.starts_with("call ")) calls[key.second].insert(line.substr(5));
      }
    }
  }
  // Maps that reach themselves again, with the strongly connected set each belongs to.
  std::map<std::string, std::set<std::string>> reach;
  for (const auto& [from, to] : calls) {
    std::set<std::string>& seen = reach[from];
    std::vector<std::string> todo(to.begin(), to.end());
    while (!todo.empty()) {
      std::string next = std::move(todo.back());
      todo.pop_back();
      if (!seen.insert(next).second) continue;
      if (auto it = calls.find(next); it != calls.end())
        todo.insert(todo.end(), it->second.begin(), it->second.end());
    }
  }
  for (auto& [key, o] : out_.config.objects) {
    if (key.first != Kind::routeMap) continue;
    const std::string& from = key.second;
    for (auto& [seq, entry] : o.entries) {
      for (auto line = entry.lines.begin(); line != entry.lines.end();) {
        const std::string to = line->starts_with("call ") ? line->substr(5) : std::string();
        if (to.empty() || !reach[to].count(from)) {
          ++line;
          continue;
        }
        std::string members;
        for (const auto& [m, r] : reach) {
          if (r.count(from) && reach[from].count(m)) members += (members.empty() ? "" : ", ") + m;
        }
        note(o.entryNotes[seq], *line + ": a cycle of calls among " + members,
             mark("route-maps", from) + '/' + std::to_string(seq) + "/sub-route-map");
        line = entry.lines.erase(line);
      }
    }
  }
}

// Nodes the translation does not know stay named too.
void Translator::unknownBranches() {
  static constexpr U32 kKnown[] = {
      T::prefixLists,  T::stdAcls,         T::asPathLists,
      T::commLists,    T::commSetStandard, T::commSetExtended,
      T::commSetLarge, T::routeMap,        T::dynamicPrefixLists,
  };
  for (const auto& [key, c] : policy_->children) {
    if (!c.meaningful() ||
        std::find(std::begin(kKnown), std::end(kKnown), key.tag()) != std::end(kKnown))
      continue;
    note(out_.config.notes, "engine node 512/" + std::to_string(key.tag()), "");
  }
  for (const auto& [key, c] : root_.children) {
    if (!c.meaningful() || key.tag() == T::policyRoot || key.tag() == T::globalPolicy) continue;
    note(out_.config.notes, "engine node " + std::to_string(key.tag()), "");
  }
}

// A line longer than vtysh reads is dropped by it without a word.
void Translator::dropLongLines() {
  for (auto& [key, o] : out_.config.objects) {
    const auto& [kind, name] = key;
    for (auto it = o.entries.begin(); it != o.entries.end();) {
      const U32 seq = it->first;
      Entry& entry = it->second;
      const std::string markPath = noteMark(key);
      if (kind == Kind::routeMap) {
        for (auto line = entry.lines.begin(); line != entry.lines.end();) {
          if (line->size() + 1 <= kLongestLine) {
            ++line;
            continue;
          }
          note(o.entryNotes[seq],
               line->substr(0, 60) + "...: a line of " + std::to_string(line->size()) + " bytes",
               markPath);
          line = entry.lines.erase(line);
        }
        ++it;
        continue;
      }
      const std::string line = entryLine(kind, name, o.expanded, seq, entry.body);
      if (line.size() <= kLongestLine) {
        ++it;
        continue;
      }
      note(o.entryNotes[seq],
           line.substr(0, 60) + "...: a line of " + std::to_string(line.size()) + " bytes",
           markPath);
      it = o.entries.erase(it);
    }
  }
}

}  // namespace detail

Translation translate(const Rib::EngineModel::Node& root) {
  return detail::Translator(root).run();
}

}  // namespace frr
