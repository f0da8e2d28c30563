#include "tools/ribpolicy/References.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <iterator>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace ribpolicy {

bool entersPolicyMap(const Reference& r) {
  if (r.to.kind == ObjectKind::dynamicPrefixList) return true;
  return r.to.kind == ObjectKind::routeMap && (r.via == "sub-route-map" || r.via == "match-map");
}

namespace {

using Routing::RouteMap::MatchOption;

// The match options that name another object, the kind of object they name, and the name the
// scenario (and its marks) give the option. Options that name nothing configured here
// (interfaces, addresses, numbers, texts of unknown meaning) are left out.
struct NamingOption {
  MatchOption option;
  ObjectKind kind;
  const char* name;
};
constexpr NamingOption kNamingOptions[] = {
    {Routing::RouteMap::matchAccessList, ObjectKind::accessList, "access-list"},
    {Routing::RouteMap::matchPrefixList, ObjectKind::prefixList, "prefix-list"},
    {Routing::RouteMap::matchNextHopPrefixList, ObjectKind::prefixList, "next-hop-prefix-list"},
    {Routing::RouteMap::matchResolvedNextHopPrefixList, ObjectKind::prefixList,
     "resolved-next-hop-prefix-list"},
    {Routing::RouteMap::matchCommunity, ObjectKind::communityList, "community"},
    {Routing::RouteMap::matchExtCommunity, ObjectKind::communityList, "extended-community"},
    {Routing::RouteMap::matchIpv6PrefixList, ObjectKind::ipv6PrefixList, "ipv6-prefix-list"},
    {Routing::RouteMap::matchIpv6NextHopPrefixList, ObjectKind::ipv6PrefixList,
     "ipv6-next-hop-prefix-list"},
    {Routing::RouteMap::matchIpv6ResolvedNextHopPrefixList, ObjectKind::ipv6PrefixList,
     "ipv6-resolved-next-hop-prefix-list"},
    {Routing::RouteMap::matchDynamicPrefixList, ObjectKind::dynamicPrefixList,
     "dynamic-prefix-list"},
    {Routing::RouteMap::matchIpv6DynamicPrefixList, ObjectKind::dynamicPrefixList,
     "ipv6-dynamic-prefix-list"},
    {Routing::RouteMap::matchLargeCommunity, ObjectKind::communityList, "large-community"},
    {Routing::RouteMap::matchContribAggAttr, ObjectKind::routeMap, "contributing-aggregate"},
};

const NamingOption* namingOption(MatchOption option) {
  for (const NamingOption& n : kNamingOptions) {
    if (n.option == option) return &n;
  }
  return nullptr;
}

// The set clauses that take community lists, with their scenario keys.
struct CommunityClause {
  Routing::RouteMap::SetFlagBit bit;
  Vox::Ptr<Routing::RouteMap::CommunitySet const> Routing::RouteMap::SetClauses::*set;
  const char* key;
};
constexpr CommunityClause kCommunityClauses[] = {
    {Routing::RouteMap::setCommunityAddReplace, &Routing::RouteMap::SetClauses::communityAddReplace,
     "community"},
    {Routing::RouteMap::setCommunityDelete, &Routing::RouteMap::SetClauses::communityDelete,
     "community-delete"},
    {Routing::RouteMap::setExtCommunity, &Routing::RouteMap::SetClauses::extCommunity,
     "extended-community"},
    {Routing::RouteMap::setLargeCommunity, &Routing::RouteMap::SetClauses::largeCommunity,
     "large-community"},
};

// Objects that the rest of the agent may use without any configuration here naming them:
// sessions apply prefix lists and AS-path lists directly, peers name peer filters, and other
// features of the router use standard access lists. Only community lists, route maps (which
// the policy map records when used) and dynamic prefix lists are used solely through what this
// configuration says, so only they can be reported unused.
bool usedFromOutside(ObjectKind kind) {
  switch (kind) {
    case ObjectKind::communityList:
    case ObjectKind::routeMap:
    case ObjectKind::dynamicPrefixList:
      return false;
    case ObjectKind::policyMap:
    case ObjectKind::peerFilter:
    case ObjectKind::prefixList:
    case ObjectKind::ipv6PrefixList:
    case ObjectKind::accessList:
    case ObjectKind::asPathList:
      return true;
  }
  return true;
}

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
  template <class M>
  void addAll(ObjectKind kind, const M& collection) {
    for (const auto& [name, def] : collection) a_.objects.push_back({kind, name});
  }

  void collectObjects() {
    a_.objects.push_back({ObjectKind::policyMap, ""});
    addAll(ObjectKind::routeMap, c_.routeMaps);
    addAll(ObjectKind::peerFilter, c_.peerFilters);
    addAll(ObjectKind::dynamicPrefixList, c_.dynamicPrefixLists);
    addAll(ObjectKind::prefixList, c_.prefixLists);
    addAll(ObjectKind::ipv6PrefixList, c_.ipv6PrefixLists);
    addAll(ObjectKind::communityList, c_.communityLists);
    addAll(ObjectKind::accessList, c_.accessLists);
    addAll(ObjectKind::asPathList, c_.asPathLists);
    configured_.insert(a_.objects.begin(), a_.objects.end());
  }

  void add(const ObjectRef& from, std::optional<U32> seq, std::string via, ObjectKind kind,
           const std::string& name, std::string markPath) {
    Reference r{from, seq, std::move(via), {kind, name}, std::move(markPath)};
    r.configured = configured_.count(r.to) > 0;
    a_.references.push_back(std::move(r));
  }

  void collectMap(ObjectKind kind, const std::string& name, const MapDef& map) {
    const ObjectRef from{kind, name};
    const std::string base = std::string(sectionName(kind)) + '/' + name + '/';
    for (const auto& [seq, entry] : map.entries) {
      const std::string at = base + std::to_string(seq) + '/';
      for (const auto& [option, rule] : entry.match) {
        const NamingOption* n = namingOption(option);
        if (!n) continue;
        const std::string matchAt = at + "match/" + n->name;
        const std::string via = std::string("match ") + n->name;
        if (n->kind == ObjectKind::communityList) {
          for (const std::string& list : rule.commListSet.names()) {
            std::string listAt = matchAt;
            listAt += '/';
            listAt += list;
            add(from, seq, via, n->kind, list, std::move(listAt));
          }
        } else if (!rule.stringValue.empty() || option != Routing::RouteMap::matchContribAggAttr) {
          // An empty contributing-aggregate map names no map; every other option here
          // always names its object.
          add(from, seq, via, n->kind, rule.stringValue, matchAt);
        }
      }
      if (!entry.subRouteMap.empty()) {
        add(from, seq, "sub-route-map", ObjectKind::routeMap, entry.subRouteMap,
            at + "sub-route-map");
      }
      for (const CommunityClause& clause : kCommunityClauses) {
        const auto& set = entry.set.*clause.set;
        if (!entry.set.has(clause.bit) || !set) continue;
        for (const std::string& list : set->communityListName) {
          std::string listAt = at + "set/" + clause.key;
          listAt += '/';
          listAt += list;
          add(from, seq, std::string("set ") + clause.key, ObjectKind::communityList, list,
              std::move(listAt));
        }
      }
    }
  }

  void collectReferences() {
    const ObjectRef policyMap{ObjectKind::policyMap, ""};
    for (const std::string& name : c_.policyMap.routeMaps) {
      add(policyMap, std::nullopt, "policy map", ObjectKind::routeMap, name,
          "policy-map/route-maps/" + name);
    }
    for (const std::string& name : c_.policyMap.dynamicPrefixLists) {
      add(policyMap, std::nullopt, "policy map", ObjectKind::dynamicPrefixList, name,
          "policy-map/dynamic-prefix-lists/" + name);
    }
    for (const auto& [name, map] : c_.routeMaps) collectMap(ObjectKind::routeMap, name, map);
    for (const auto& [name, map] : c_.peerFilters) collectMap(ObjectKind::peerFilter, name, map);
    for (const auto& [name, d] : c_.dynamicPrefixLists) {
      const ObjectRef from{ObjectKind::dynamicPrefixList, name};
      const std::string at = "dynamic-prefix-lists/" + name + '/';
      const std::pair<const std::string*, ObjectKind> fields[] = {
          {&d.matchMap, ObjectKind::routeMap},
          {&d.ipv4PrefixList, ObjectKind::prefixList},
          {&d.ipv6PrefixList, ObjectKind::ipv6PrefixList}};
      const char* const keys[] = {"match-map", "ipv4-prefix-list", "ipv6-prefix-list"};
      for (std::size_t i = 0; i < std::size(fields); ++i) {
        if (fields[i].first->empty()) continue;
        add(from, std::nullopt, keys[i], fields[i].second, *fields[i].first, at + keys[i]);
      }
    }
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
      if (!usedFromOutside(o.kind) && referred.count(o) == 0) a_.unused.push_back(o);
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
  return std::string(kindName(o.kind)) + ' ' + quoted(o.name);
}

// "route map 'A' entry 10 (match prefix-list)", "dynamic prefix list 'D' (match-map)".
std::string referrer(const Reference& r) {
  if (r.from.kind == ObjectKind::policyMap) return object(r.from);
  std::string s = object(r.from);
  if (r.seq) s += " entry " + std::to_string(*r.seq);
  return s + " (" + r.via + ')';
}

}  // namespace

// Indexed by the ObjectKind ordinal.
struct KindNames {
  const char* name;
  const char* section;
};
constexpr KindNames kKindNames[] = {
    {"policy map", "policy-map"},          {"route map", "route-maps"},
    {"peer filter", "peer-filters"},       {"dynamic prefix list", "dynamic-prefix-lists"},
    {"prefix list", "prefix-lists"},       {"IPv6 prefix list", "ipv6-prefix-lists"},
    {"community list", "community-lists"}, {"access list", "access-lists"},
    {"AS-path list", "as-path-lists"},
};
static_assert(std::size(kKindNames) == static_cast<std::size_t>(ObjectKind::asPathList) + 1);

const char* kindName(ObjectKind kind) {
  return kKindNames[static_cast<std::size_t>(kind)].name;
}

const char* sectionName(ObjectKind kind) {
  return kKindNames[static_cast<std::size_t>(kind)].section;
}

ReferenceAnalysis analyzeReferences(const ScenarioConfig& config) {
  return Analyzer(config).run();
}

std::vector<Finding> referenceFindings(const ReferenceAnalysis& a) {
  std::vector<Finding> out;
  for (const Reference& r : a.references) {
    if (r.configured) continue;
    out.push_back(
        {r.markPath, referrer(r) + " refers to " + object(r.to) + ", which is not configured"});
  }
  for (const ObjectRef& o : a.unused) {
    out.push_back({std::string(sectionName(o.kind)) + '/' + o.name,
                   object(o) + " is configured but nothing refers to it"});
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
                              "else refers to them")});
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
    const std::vector<Finding> found = referenceFindings(analyzeReferences(step.config));
    const std::size_t firstOfStep = out.size();
    for (const Finding& f : found) {
      if (previous.count(f)) continue;
      const Mark mark = step.marks.find(f.path);
      if (!reported.emplace(mark.line, mark.column, f.message).second) continue;
      out.push_back({i + 1, mark, f.message});
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
