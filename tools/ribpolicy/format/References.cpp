#include "tools/ribpolicy/format/References.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <iterator>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "tools/ribpolicy/format/ScenarioValues.h"

namespace ribpolicy {

bool entersPolicyMap(const Reference& r) {
  if (r.to.kind == ObjectKind::dynamicPrefixList) return true;
  return r.to.kind == ObjectKind::routeMap && (r.via == "sub-route-map" || r.via == "match-map");
}

namespace {

class Analyzer {
 public:
  explicit Analyzer(const ScenarioConfig& c) : c_(c) {}

  ReferenceAnalysis run() {
    collectObjects();
    collectReferences();
    findCycles();
    findUnused();
    return std::move(a_);
  }

 private:
  void collectObjects() {
    a_.objects.push_back({ObjectKind::policyMap, ""});
    forEachSection([&](const auto& section) {
      for (const auto& [name, def] : c_.*section.member) a_.objects.push_back({section.kind, name});
    });
    std::sort(a_.objects.begin(), a_.objects.end());
    configured_.insert(a_.objects.begin(), a_.objects.end());
  }

  void add(const ObjectRef& from, std::optional<U32> seq, std::string via, ObjectKind kind,
           const std::string& name, std::string markPath) {
    Reference r{from, seq, std::move(via), {kind, name}, std::move(markPath)};
    r.configured = configured_.count(r.to) > 0;
    a_.references.push_back(std::move(r));
  }

  // Each of the lists a match rule or a set clause names, at its own mark.
  void addLists(const ObjectRef& from, U32 seq, const std::string& via, ObjectKind kind,
                const std::set<std::string>& lists, const std::string& at) {
    for (const std::string& list : lists) {
      std::string listAt = at;
      listAt += '/';
      listAt += list;
      add(from, seq, via, kind, list, std::move(listAt));
    }
  }

  void collectMap(ObjectKind kind, const std::string& name, const MapDef& map) {
    const ObjectRef from{kind, name};
    const std::string base = std::string(sectionOf(kind).key) + '/' + name + '/';
    for (const auto& [seq, entry] : map.entries) {
      const std::string at = base + std::to_string(seq) + '/';
      for (const auto& [option, rule] : entry.match) {
        const MatchOptionRow* row = matchOptionRow(option);
        if (!row || !row->refers) continue;
        const std::string label = optionLabel(option);
        std::string matchAt = at + "match/";
        matchAt += label;
        if (row->form == MatchForm::communityLists) {
          addLists(from, seq, "match " + label, *row->refers, rule.commListSet.names(), matchAt);
        } else if (!rule.stringValue.empty() || row->form != MatchForm::optionalText) {
          // An optional name left empty names nothing.
          add(from, seq, "match " + label, *row->refers, rule.stringValue, matchAt);
        }
      }
      if (!entry.subRouteMap.empty()) {
        add(from, seq, "sub-route-map", ObjectKind::routeMap, entry.subRouteMap,
            at + "sub-route-map");
      }
      for (const SetClauseRow& clause : kSetClauses) {
        if (!clause.refers || !entry.set.has(clause.bit)) continue;
        const auto& set = entry.set.*std::get<CommunitySetField>(clause.field);
        if (!set) continue;
        const std::string key(clause.key);
        std::string setAt = at + "set/";
        setAt += key;
        addLists(from, seq, "set " + key, *clause.refers, set->communityListName, setAt);
      }
    }
  }

  void collectDynamicPrefixList(const std::string& name, const DynamicPrefixListDef& d) {
    const ObjectRef from{ObjectKind::dynamicPrefixList, name};
    const std::string at = std::string(sectionOf(from.kind).key) + '/' + name + '/';
    for (const NameFieldRow& field : kDynamicPrefixListFields) {
      const std::string& to = d.*field.member;
      if (to.empty()) continue;
      const std::string key(field.key);
      add(from, std::nullopt, key, field.kind, to, at + key);
    }
  }

  void collectReferences() {
    const ObjectRef policyMap{ObjectKind::policyMap, ""};
    for (const HeldNamesRow& held : kPolicyMapLists) {
      const std::string at = std::string(kPolicyMapSection.key) + '/' + std::string(held.key) + '/';
      for (const std::string& name : c_.policyMap.*held.member) {
        add(policyMap, std::nullopt, "policy map", held.kind, name, at + name);
      }
    }
    forEachSection([&](const auto& section) {
      using Def = typename std::decay_t<decltype(section)>::Definition;
      for (const auto& [name, def] : c_.*section.member) {
        if constexpr (std::is_same_v<Def, MapDef>) {
          collectMap(section.kind, name, def);
        } else if constexpr (std::is_same_v<Def, DynamicPrefixListDef>) {
          collectDynamicPrefixList(name, def);
        }
      }
    });
  }

  // Strongly connected components of the references that enter the policy map (iterative, so
  // that a long chain cannot exhaust the stack); every component with more than one object, or
  // with a reference from an object to itself, is a cycle.
  void findCycles() {
    std::map<ObjectRef, std::size_t> node;
    std::vector<ObjectRef> nodes;
    for (const ObjectRef& o : a_.objects) {
      if (o.kind == ObjectKind::routeMap || o.kind == ObjectKind::dynamicPrefixList) {
        node.emplace(o, nodes.size());
        nodes.push_back(o);
      }
    }
    const std::size_t n = nodes.size();
    std::vector<std::vector<std::size_t>> out(n);  // reference indexes
    std::vector<std::size_t> target(a_.references.size(), n);
    std::vector<std::size_t> source(a_.references.size(), n);
    for (std::size_t i = 0; i < a_.references.size(); ++i) {
      const Reference& r = a_.references[i];
      const auto from = node.find(r.from);
      const auto to = node.find(r.to);
      if (from == node.end() || to == node.end() || !entersPolicyMap(r)) continue;
      out[from->second].push_back(i);
      target[i] = to->second;
      source[i] = from->second;
    }

    constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::vector<std::size_t> index(n, kNone), low(n, 0), component(n, kNone);
    std::vector<bool> onStack(n, false);
    std::vector<std::size_t> stack;
    std::size_t counter = 0;
    std::size_t components = 0;
    struct Frame {
      std::size_t v;
      std::size_t next;  // the next of out[v] to follow
    };
    for (std::size_t s = 0; s < n; ++s) {
      if (index[s] != kNone) continue;
      std::vector<Frame> calls;
      auto enter = [&](std::size_t v) {
        index[v] = low[v] = counter++;
        stack.push_back(v);
        onStack[v] = true;
        calls.push_back({v, 0});
      };
      enter(s);
      while (!calls.empty()) {
        const std::size_t v = calls.back().v;
        if (calls.back().next < out[v].size()) {
          const std::size_t w = target[out[v][calls.back().next++]];
          if (index[w] == kNone) {
            enter(w);
          } else if (onStack[w]) {
            low[v] = std::min(low[v], index[w]);
          }
          continue;
        }
        calls.pop_back();
        if (!calls.empty()) low[calls.back().v] = std::min(low[calls.back().v], low[v]);
        if (low[v] != index[v]) continue;
        for (std::size_t w = kNone; w != v;) {
          w = stack.back();
          stack.pop_back();
          onStack[w] = false;
          component[w] = components;
        }
        ++components;
      }
    }

    // A component is a cycle when one of its references stays inside it (a self-reference is
    // the one-object case).
    std::vector<bool> cyclic(components, false);
    for (std::size_t v = 0; v < n; ++v) {
      for (std::size_t i : out[v]) {
        if (component[target[i]] == component[v]) {
          cyclic[component[v]] = true;
          a_.references[i].onCycle = true;
        }
      }
    }
    // One closed chain per cycle, the shortest one from the component's smallest object;
    // nodes are sorted, so a component's first member is its smallest.
    std::vector<std::vector<std::size_t>> members(components);
    for (std::size_t v = 0; v < n; ++v) {
      if (cyclic[component[v]]) members[component[v]].push_back(v);
    }
    std::sort(members.begin(), members.end());  // by smallest member; empty ones first
    for (const std::vector<std::size_t>& m : members) {
      if (m.empty()) continue;
      Cycle cycle;
      for (std::size_t v : m) cycle.members.push_back(nodes[v]);
      cycle.chain = shortestCycle(m.front(), component, out, target, source);
      a_.cycles.push_back(std::move(cycle));
    }
  }

  static std::vector<std::size_t> shortestCycle(std::size_t start,
                                                const std::vector<std::size_t>& component,
                                                const std::vector<std::vector<std::size_t>>& out,
                                                const std::vector<std::size_t>& target,
                                                const std::vector<std::size_t>& source) {
    std::map<std::size_t, std::size_t> via;  // object -> the reference that reached it first
    std::deque<std::size_t> queue = {start};
    while (!queue.empty()) {
      const std::size_t v = queue.front();
      queue.pop_front();
      for (std::size_t i : out[v]) {
        const std::size_t w = target[i];
        if (component[w] != component[start]) continue;
        if (w == start) {
          std::vector<std::size_t> chain = {i};
          for (std::size_t at = v; at != start;) {
            const std::size_t r = via.at(at);
            chain.push_back(r);
            at = source[r];
          }
          std::reverse(chain.begin(), chain.end());
          return chain;
        }
        if (via.emplace(w, i).second) queue.push_back(w);
      }
    }
    return {};  // not reached: the component is a cycle through `start`
  }

  void findUnused() {
    std::set<ObjectRef> referred;
    for (const Reference& r : a_.references) {
      // A reference to itself does not make an object used.
      if (r.from != r.to) referred.insert(r.to);
    }
    for (const ObjectRef& o : a_.objects) {
      if (sectionOf(o.kind).usedOnlyHere && referred.count(o) == 0) a_.unused.push_back(o);
    }
  }

  const ScenarioConfig& c_;
  ReferenceAnalysis a_;
  std::set<ObjectRef> configured_;
};

// A name in a message: quoted, with bytes outside printable ASCII as \xNN so that a message
// stays one readable line.
std::string quoted(const std::string& name) {
  std::string out = "'";
  for (const char ch : name) {
    const auto c = static_cast<unsigned char>(ch);
    if (c >= 0x20 && c <= 0x7e && c != '\'' && c != '\\') {
      out += ch;
    } else {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\x%02x", c);
      out += buf;
    }
  }
  return out + "'";
}

std::string object(const ObjectRef& o) {
  if (o.kind == ObjectKind::policyMap) return "the policy map";
  return std::string(sectionOf(o.kind).label) + ' ' + quoted(o.name);
}

// "route map 'A' entry 10 (match prefix-list)", "dynamic prefix list 'D' (match-map)".
std::string referrer(const Reference& r) {
  if (r.from.kind == ObjectKind::policyMap) return object(r.from);
  std::string s = object(r.from);
  if (r.seq) s += " entry " + std::to_string(*r.seq);
  return s + " (" + r.via + ')';
}

}  // namespace

ReferenceAnalysis analyzeReferences(const ScenarioConfig& config) {
  return Analyzer(config).run();
}

std::vector<Finding> referenceFindings(const ReferenceAnalysis& a) {
  std::vector<Finding> out;
  for (const Reference& r : a.references) {
    if (r.configured) continue;
    // A configured name of the kind one edit away is most likely the one meant.
    std::string guess;
    for (const ObjectRef& o : a.objects) {
      if (o.kind == r.to.kind && reader::oneEditApart(r.to.name, o.name)) {
        guess = "; did you mean " + quoted(o.name) + "?";
        break;
      }
    }
    out.push_back({r.markPath,
                   referrer(r) + " refers to " + object(r.to) + ", which is not configured" + guess,
                   WarningClass::undefined});
  }
  for (const ObjectRef& o : a.unused) {
    out.push_back({std::string(sectionOf(o.kind).key) + '/' + o.name,
                   object(o) + " is configured but nothing refers to it", WarningClass::unused});
  }
  for (const Cycle& cycle : a.cycles) {
    std::string chain;
    std::set<ObjectRef> named;
    for (std::size_t i : cycle.chain) {
      chain += referrer(a.references[i]) + " -> ";
      named.insert(a.references[i].from);
    }
    const Reference& first = a.references[cycle.chain.front()];
    chain += object(first.from);
    std::string others;
    for (const ObjectRef& o : cycle.members) {
      if (named.count(o)) continue;
      if (!others.empty()) others += ", ";
      others += object(o);
    }
    if (!others.empty()) chain += " (" + others + " on the cycle too)";
    out.push_back({first.markPath,
                   "cycle of references: " + chain +
                       (cycle.members.size() == 1
                            ? "; it keeps itself in the policy map once nothing else refers to it"
                            : "; its members keep each other in the policy map once nothing "
                              "else refers to them"),
                   WarningClass::cycle});
  }
  return out;
}

// A step that repeats its predecessor's configuration (most often through aliases) would
// repeat every finding, so a finding is reported at the first step of each run of consecutive
// steps that hold it. One that goes away and comes back is reported again, at the step that
// brings it back, since that step is a change to look at; but never twice with the same words
// at the same place, which is what a finding brought back through an alias would be.
std::vector<Warning> scenarioWarnings(const Scenario& scenario) {
  std::vector<Warning> out;
  std::set<Finding> previous;
  std::set<std::tuple<int, int, std::string>> reported;
  for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
    const Step& step = scenario.steps[i];
    std::vector<Finding> found = referenceFindings(analyzeReferences(step.config));
    const std::size_t firstOfStep = out.size();
    for (const Finding& f : found) {
      if (previous.count(f)) continue;
      const Mark mark = step.marks.find(f.path);
      if (!reported.emplace(mark.line, mark.column, f.message).second) continue;
      out.push_back({i + 1, mark, f.message, f.warning});
    }
    // The reader's notes name their entry in the message, which then stands for the finding.
    for (const ReaderNote& n : step.marks.notes) {
      Finding f{"", n.message, n.warning};
      if (!previous.count(f) && reported.emplace(n.mark.line, n.mark.column, n.message).second) {
        out.push_back({i + 1, n.mark, n.message, n.warning});
      }
      found.push_back(std::move(f));
    }
    // In the order of the text, as a reader goes through the step.
    std::stable_sort(out.begin() + static_cast<std::ptrdiff_t>(firstOfStep), out.end(),
                     [](const Warning& x, const Warning& y) {
                       return std::pair(x.mark.line, x.mark.column) <
                              std::pair(y.mark.line, y.mark.column);
                     });
    previous = std::set<Finding>(found.begin(), found.end());
  }
  return out;
}

}  // namespace ribpolicy
