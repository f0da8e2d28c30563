#include <algorithm>
#include <cstring>

#include "tools/ribpolicy/frr/Translator.h"
#include "tools/ribpolicy/frr/Words.h"

namespace frr::detail {

namespace {

// step's marks use).
std::string matchOptionName(U32 tag, const Node& m) {
  const bool v6 = valueOf<U8>(m, M::listKind) == U8{6};
  switch (tag) {
    case T::matchProtocol:
      return "protocol";
    case T::matchOption100:
      return "100";
    case T::matchOption101:
      return "101";
    case T::matchOption102:
      return "102";
    case T::matchCommList:
      return "community";
    case T::matchPrefixList:
      return v6 ? "ipv6-prefix-list" : "prefix-list";
    case T::matchAccessList:
      return "access-list";
    case T::matchOption115:
      return "115";
    case T::matchOption108:
      return "108";
    case T::matchInterface:
      return "interface";
    case T::matchGateway:
      return "gateway";
    case T::matchNextHop:
      for (const auto& [k, entry] : m.children) {
        if (entry.values.contains(M::ipv6Address)) return "ipv6-next-hop";
      }
      return "next-hop";
    case T::matchOption105:
      return "105";
    case T::matchOption111:
      return "111";
    case T::matchOption110:
      return "110";
    case T::matchOption109:
      return "109";
    case T::matchMetricType:
      return "metric-type";
    case T::matchNextHopPrefixList:
      return v6 ? "ipv6-next-hop-prefix-list" : "next-hop-prefix-list";
    case T::matchResolvedNextHopPrefixList:
      return v6 ? "ipv6-resolved-next-hop-prefix-list" : "resolved-next-hop-prefix-list";
    case T::matchOption120:
      return "120";
    case T::matchAsRange:
      return "as-range";
    case T::matchRouteType:
      return "route-type";
    case T::matchCommInstances:
      return "community-instances";
    case T::matchDynamicPrefixList:
      return v6 ? "ipv6-dynamic-prefix-list" : "dynamic-prefix-list";
    case T::matchExtCommList:
      return "extended-community";
    case T::matchAsPathLength:
      return "as-path-length";
    case T::matchLargeCommList:
      return "large-community";
    case T::matchContribAggAttr:
      return "contributing-aggregate";
    default:
      return "node " + std::to_string(tag);
  }
}

// The prefix-list name of a match node's key: an IPv6 list's id without its ".ipv6.".
std::string listName(std::string_view id) {
  return std::string(id.starts_with(kIpv6Id) ? id.substr(kIpv6Id.size()) : id);
}

}  // namespace

void Translator::routeMaps() {
  eachChild(*policy_, T::routeMap, [&](const Rib::PathEntryView& key, const Node& map) {
    const std::string name(key.str);
    if (name.starts_with(kPeerFilter)) {
      const std::string filter = name.substr(kPeerFilter.size());
      note(out_.config.object(Kind::routeMap, name).notes,
           "route-map " + name + ": peer filter " + filter, mark("peer-filters", filter));
      return;
    }
    const Node* seqs = child(map, T::routeMapSeqs);
    if (!seqs) return;
    eachChild(*seqs, T::routeMapSeq, [&](const Rib::PathEntryView& k, const Node& seq) {
      MapEntry e{name, k.u32, mark("route-maps", name) + '/' + std::to_string(k.u32), {}, {}};
      Object& o = out_.config.object(Kind::routeMap, name);
      if (k.u32 == 0 || k.u32 > kLastMapSeq) {
        note(o.entryNotes[k.u32],
             "route-map " + name + " seq " + std::to_string(k.u32) +
                 ": FRR numbers route-map entries from 1 to 65535",
             e.markBase);
        return;
      }
      eachChild(seq, T::subRouteMap, [&](const Rib::PathEntryView& s, const Node&) {
        e.lines.push_back("call " + std::string(s.str));
      });
      matches(seq, e);
      if (const Node* set = child(seq, T::setActions)) sets(*set, e);
      sortLines(e.lines);
      Entry& entry = o.entries[k.u32];
      entry.body = action(flagOf(seq, RM::permit));
      entry.lines = std::move(e.lines);
      if (!e.notes.empty()) o.entryNotes[k.u32] = std::move(e.notes);
    });
  });
}

void Translator::matches(const Node& seq, MapEntry& e) {
  for (const auto& [key, m] : seq.children) {
    const U32 tag = key.tag();
    if (tag == T::setActions || tag == T::subRouteMap || !m.meaningful()) continue;
    const Rib::PathEntryView k = key.view();
    const std::string option = matchOptionName(tag, m);
    // The clause as the scenario names it, with its value: the node's key, or the key of its
    // one entry (an interface, a gateway, a next hop).
    std::string clause = "match " + option;
    Rib::PathEntryView value = k;
    if (k.kind == Rib::PathEntry::Kind::none && m.children.size() == 1) {
      value = m.children.begin()->first.view();
    }
    if (value.kind == Rib::PathEntry::Kind::string) clause += ' ' + listName(value.str);
    if (value.kind == Rib::PathEntry::Kind::u32) clause += ' ' + std::to_string(value.u32);
    const std::string where = "match/" + option;
    if (flagOf(m, M::invert)) {
      gapIn(e, where, clause + ", inverted");
      continue;
    }
    const bool v6 = valueOf<U8>(m, M::listKind) == U8{6};
    switch (tag) {
      case T::matchPrefixList:
        e.lines.push_back(std::string(v6 ? "match ipv6" : "match ip") + " address prefix-list " +
                          listName(k.str));
        continue;
      case T::matchAccessList:
        e.lines.push_back("match ip address " + std::string(k.str));
        continue;
      case T::matchNextHopPrefixList:
        e.lines.push_back(std::string(v6 ? "match ipv6" : "match ip") + " next-hop prefix-list " +
                          listName(k.str));
        continue;
      case T::matchNextHop: {
        std::vector<std::string> hops;
        for (const auto& [hk, hop] : m.children) {
          if (hk.tag() != T::matchNextHopEntry || !hop.meaningful()) continue;
          if (auto a = valueOf<Vela::IpAddr>(hop, M::ipv4Address)) {
            hops.push_back("match ip next-hop address " + a->toString());
          } else if (auto a6 = valueOf<Vela::Ip6Addr>(hop, M::ipv6Address)) {
            hops.push_back("match ipv6 next-hop address " + a6->toString());
          }
        }
        if (hops.size() == 1) {
          e.lines.push_back(hops.front());
        } else {
          gapIn(e, where,
                clause + ": " + std::to_string(hops.size()) + " next hops (FRR matches one)");
        }
        continue;
      }
      case T::matchCommList:
      case T::matchExtCommList:
      case T::matchLargeCommList: {
        const std::string names(k.str);
        if (names.find(' ') != std::string::npos) {
          gapIn(e, where, clause + ": several lists (FRR matches one)");
          continue;
        }
        const bool exact = names.starts_with(kExact);
        const std::string list = exact ? names.substr(kExact.size()) : names;
        const char* what = tag == T::matchCommList      ? "match community "
                           : tag == T::matchExtCommList ? "match extcommunity "
                                                        : "match large-community ";
        const char* problem = nullptr;
        if (numberedListName(list)) {
          problem = ": FRR takes a name of digits for a numbered list";
        } else if (exact && tag == T::matchExtCommList) {
          problem = ": FRR has no exact match of extended communities";
        } else if (exact && !exactCopyMatches(list)) {
          problem = ": the exact copy differs from the list";
        }
        if (problem) {
          std::string place = where;
          place.append("/").append(list);
          gapIn(e, place, clause + problem);
        } else {
          e.lines.push_back(what + list + (exact ? " exact-match" : ""));
        }
        continue;
      }
      default:
        gapIn(e, where, clause);
        continue;
    }
  }
}

void Translator::sets(const Node& set, MapEntry& e) {
  // Prepends: a list of AS numbers or the peer's AS, one of the two in FRR.
  const auto prepend = valueOf<std::string>(set, A::asPathPrepend);
  const auto lastAs = valueOf<U32>(set, A::asPathPrependLastAs);
  if (prepend && lastAs) {
    gapIn(e, "set/as-path-prepend",
          "set as-path prepend beside set as-path prepend last-as (FRR keeps one of them)");
  } else if (prepend) {
    std::string line = "set as-path prepend";
    bool whole = !prepend->empty() && prepend->size() % sizeof(U32) == 0;
    for (std::size_t i = 0; whole && i < prepend->size(); i += sizeof(U32)) {
      U32 as = 0;
      std::memcpy(&as, prepend->data() + i, sizeof as);
      whole = as != 0;
      line += ' ' + std::to_string(as);
    }
    if (whole) {
      e.lines.push_back(line);
    } else {
      gapIn(e, "set/as-path-prepend", "set as-path prepend of no AS numbers, or of AS 0");
    }
  } else if (lastAs) {
    if (*lastAs >= 1 && *lastAs <= 10) {
      e.lines.push_back("set as-path prepend last-as " + std::to_string(*lastAs));
    } else {
      gapIn(e, "set/as-path-prepend-last-as",
            "set as-path prepend last-as " + std::to_string(*lastAs) + ": FRR takes 1 to 10");
    }
  }
  if (set.values.contains(A::asPathReplace)) gapIn(e, "set/as-path-replace", "set as-path-replace");

  // The IPv4 next hop: an address, the peer's address or unchanged, one of them in FRR.
  const auto hop = valueOf<Vela::IpAddr>(set, A::nextHopIpv4);
  const bool peer = flagOf(set, A::nextHopPeerAddr);
  const bool unchanged = flagOf(set, A::nextHopUnchanged);
  if (int(hop.has_value()) + int(peer) + int(unchanged) > 1) {
    gapIn(e, "set/next-hop",
          "set next-hop, next-hop-peer-address and next-hop-unchanged together (FRR keeps one)");
  } else if (hop) {
    if (auto p = nextHopProblem(*hop)) {
      gapIn(e, "set/next-hop", "set ip next-hop " + hop->toString() + ": " + *p);
    } else {
      e.lines.push_back("set ip next-hop " + hop->toString());
    }
  } else if (peer) {
    e.lines.push_back("set ip next-hop peer-address");
  } else if (unchanged) {
    e.lines.push_back("set ip next-hop unchanged");
  }
  if (const auto hop6 = valueOf<Vela::Ip6Addr>(set, A::nextHopIpv6)) {
    if (auto p = nextHopProblem(*hop6)) {
      gapIn(e, "set/ipv6-next-hop", "set ipv6 next-hop global " + hop6->toString() + ": " + *p);
    } else {
      e.lines.push_back("set ipv6 next-hop global " + hop6->toString());
    }
  }
  if (flagOf(set, A::ipv6NextHopPeerAddr)) e.lines.push_back("set ipv6 next-hop peer-address");
  if (flagOf(set, A::ipv6NextHopUnchanged)) {
    gapIn(e, "set/ipv6-next-hop-unchanged", "set ipv6-next-hop-unchanged");
  }

  // The metric: FRR sets it alone; the engine's other ways of applying it have no form.
  const auto metric = valueOf<U32>(set, A::metric);
  const auto metric2 = valueOf<U32>(set, A::metricSecond);
  const auto medType = valueOf<U32>(set, A::medType);
  if (medType) {
    gapIn(
        e, "set/metric",
        "set metric applied by its med-type (engine action 16 = " + std::to_string(*medType) + ")");
  } else if (metric && (!metric2 || *metric2 == *metric)) {
    e.lines.push_back("set metric " + std::to_string(*metric));
  } else if (metric || metric2) {
    gapIn(e, "set/metric", "set metric in its second form only");
  }

  if (const auto origin = valueOf<U8>(set, A::origin)) {
    static constexpr const char* kOrigins[] = {nullptr, "igp", "egp", "incomplete"};
    if (*origin >= 1 && *origin <= 3) {
      e.lines.push_back(std::string("set origin ") + kOrigins[*origin]);
    } else {
      gapIn(e, "set/origin", "set origin " + std::to_string(*origin));
    }
  }

  if (set.values.contains(C::stdListAdd)) communitySet(set, e);
  if (set.values.contains(C::stdListDelete)) communityDelete(set, e);
  if (set.values.contains(C::extSetAdd) || set.values.contains(C::extSetDelete)) {
    extendedSet(set, e);
  }
  if (set.values.contains(C::lbwOption) || set.values.contains(C::lbwBandwidth)) {
    gapIn(e, "set/extended-community", "set extended-community link-bandwidth option");
  }
  if (set.values.contains(C::largeSetAdd) || set.values.contains(C::largeSetDelete)) {
    largeSet(set, e);
  }

  struct Unnamed {
    U32 tag;
    const char* clause;
  };
  static constexpr Unnamed kUnnamed[] = {
      {A::action2, "action-2"},     {A::action3, "action-3"},
      {A::isisLevel, "isis-level"}, {A::ospfMetricType, "ospf-metric-type"},
      {A::action19, "action-19"},   {A::action25, "action-25"},
      {A::action26, "action-26"},   {A::action35, "action-35"},
  };
  for (const Unnamed& u : kUnnamed) {
    if (auto v = valueOf<U32>(set, u.tag)) {
      gapIn(e, std::string("set/") + u.clause,
            std::string("set ") + u.clause + ' ' + std::to_string(*v));
    }
  }
  static constexpr U32 kKnown[] = {
      A::origin,
      A::metric,
      A::action2,
      A::action3,
      A::isisLevel,
      A::nextHopIpv4,
      A::nextHopIpv6,
      A::ospfMetricType,
      C::stdListKeep,
      C::stdListAdd,
      C::extSetAdd,
      C::stdListDelete,
      C::extSetDelete,
      A::medType,
      A::metricSecond,
      A::asPathPrepend,
      A::action19,
      C::extSetMode,
      A::action25,
      A::action26,
      A::nextHopPeerAddr,
      A::ipv6NextHopPeerAddr,
      C::lbwOption,
      C::lbwBandwidth,
      A::nextHopUnchanged,
      A::ipv6NextHopUnchanged,
      A::asPathPrependLastAs,
      A::asPathReplace,
      A::action35,
      C::largeSetAdd,
      C::largeSetDelete,
      C::largeSetMode,
  };
  for (auto it = set.values.begin(); it != set.values.end(); ++it) {
    if (std::find(std::begin(kKnown), std::end(kKnown), it.tag()) == std::end(kKnown)) {
      gapIn(e, "set", "set action " + std::to_string(it.tag()));
    }
  }
}

// The values of a clause's own community set, when the clause's list is the one the library
// makes for them: a single entry referring to the set named after the list (".clRM10ar" and
// ".csRM10ar"). Nothing for a list that takes its entries from configured lists.
const Node* Translator::clauseOwnSet(const std::vector<CommEntry>& entries,
                                     const std::string& list) const {
  if (entries.size() != 1 || !list.starts_with(".cl")) return nullptr;
  if (entries.front().set != ".cs" + list.substr(3)) return nullptr;
  return commSet(0, entries.front().set);
}

void Translator::communitySet(const Node& set, MapEntry& e) {
  const std::string list = valueOf<std::string>(set, C::stdListAdd).value_or("");
  const Node* node = commList(list);
  const std::vector<CommEntry> entries = node ? commEntries(*node) : std::vector<CommEntry>{};
  const Node* own = clauseOwnSet(entries, list);
  if (!own) {
    gapIn(e, "set/community", "set community with values drawn from community lists");
    return;
  }
  std::string problem;
  const auto values = communityValues(
      0, valueOf<std::vector<U32>>(*own, C::setValues).value_or(std::vector<U32>{}), problem);
  if (!values) {
    gapIn(e, "set/community", "set community: " + problem);
    return;
  }
  e.lines.push_back("set community " + *values + (flagOf(set, C::stdListKeep) ? " additive" : ""));
}

void Translator::communityDelete(const Node& set, MapEntry& e) {
  const std::string list = valueOf<std::string>(set, C::stdListDelete).value_or("");
  const Node* node = commList(list);
  const std::vector<CommEntry> entries = node ? commEntries(*node) : std::vector<CommEntry>{};
  const std::string where = "set/community-delete";
  // The clause's entries as FRR list entries: its own values, or the entries of the
  // configured lists it draws from that the engine finds among the standard sets.
  std::map<U32, std::string> made;
  bool expanded = false;
  std::string problem;
  std::set<std::string> drawnFrom;  // the configured lists the entries come from
  if (const Node* own = clauseOwnSet(entries, list)) {
    const auto values = communityValues(
        0, valueOf<std::vector<U32>>(*own, C::setValues).value_or(std::vector<U32>{}), problem);
    if (values) made[entries.front().seq] = "permit " + *values;
  } else {
    for (const CommEntry& c : entries) {
      const Node* s = commSet(c.kind, c.set);
      if (!s || c.kind != 0) continue;  // no standard set of that name: it deletes nothing
      const auto body = commBody(0, *s, problem);
      if (!body) break;
      if (!made.empty() && body->expanded != expanded) {
        problem = "values and expressions together (FRR keeps a list of one form)";
        break;
      }
      expanded = body->expanded;
      if (!made.emplace(c.seq, action(c.permit) + ' ' + body->text).second) {
        problem = "two entries of sequence " + std::to_string(c.seq);
        break;
      }
      // A configured entry's set is "." followed by its list's name and sequence number.
      const std::string seq = std::to_string(c.seq);
      if (c.set.size() > seq.size() + 1) {
        drawnFrom.insert(c.set.substr(1, c.set.size() - 1 - seq.size()));
      }
    }
  }
  if (!problem.empty() || made.empty()) {
    gapIn(e, where, "set comm-list delete: " + (problem.empty() ? "it deletes nothing" : problem));
    return;
  }
  // A configured list holding exactly these entries is named as it is.
  const Object* configured =
      drawnFrom.size() == 1 ? out_.config.find(Kind::communityList, *drawnFrom.begin()) : nullptr;
  if (configured && configured->expanded == expanded) {
    std::map<U32, std::string> theirs;
    for (const auto& [seq, entry] : configured->entries) theirs[seq] = entry.body;
    if (theirs == made) {
      e.lines.push_back("set comm-list " + *drawnFrom.begin() + " delete");
      return;
    }
  }
  if (!madeList(Kind::communityList, list, expanded, made)) {
    gapIn(e, where, "set comm-list delete: a configured list is named " + list);
    return;
  }
  e.lines.push_back("set comm-list " + list + " delete");
}

bool Translator::madeList(Kind kind, const std::string& name, bool expanded,
                          const std::map<U32, std::string>& entries) {
  Object& o = out_.config.object(kind, name);
  if (!o.entries.empty() && !made_.count({kind, name})) return false;
  made_.insert({kind, name});
  o.expanded = expanded;
  for (const auto& [seq, body] : entries) o.entries[seq].body = body;
  return true;
}

void Translator::extendedSet(const Node& set, MapEntry& e) {
  const std::string where = "set/extended-community";
  if (set.values.contains(C::extSetDelete)) {
    gapIn(e, where, "set extended-community delete (FRR 8.4 deletes no extended communities)");
    return;
  }
  if (valueOf<U8>(set, C::extSetMode) != U8{2}) {
    gapIn(e, where, "set extended-community replacing the route's (FRR 8.4 only adds)");
    return;
  }
  const Node* values = commSet(1, valueOf<std::string>(set, C::extSetAdd).value_or(""));
  std::string problem;
  const auto text = communityValues(
      1,
      values ? valueOf<std::vector<U32>>(*values, C::setValues).value_or(std::vector<U32>{})
             : std::vector<U32>{},
      problem);
  if (!text) {
    gapIn(e, where, "set extended-community: " + problem);
    return;
  }
  // "rt A rt B soo C" as "set extcommunity rt A B" and "set extcommunity soo C".
  std::string rt;
  std::string soo;
  std::string_view rest = *text;
  while (!rest.empty()) {
    const std::size_t kindEnd = rest.find(' ');
    const std::size_t valueEnd = rest.find(' ', kindEnd + 1);
    const std::string_view kind = rest.substr(0, kindEnd);
    const std::string_view value = rest.substr(kindEnd + 1, valueEnd - kindEnd - 1);
    (kind == "rt" ? rt : soo) += ' ' + std::string(value);
    rest = valueEnd == std::string_view::npos ? std::string_view() : rest.substr(valueEnd + 1);
  }
  if (!rt.empty()) e.lines.push_back("set extcommunity rt" + rt);
  if (!soo.empty()) e.lines.push_back("set extcommunity soo" + soo);
}

void Translator::largeSet(const Node& set, MapEntry& e) {
  const bool del = set.values.contains(C::largeSetDelete);
  const std::string name =
      valueOf<std::string>(set, del ? C::largeSetDelete : C::largeSetAdd).value_or("");
  const Node* values = commSet(2, name);
  std::string problem;
  const auto text = communityValues(
      2,
      values ? valueOf<std::vector<U32>>(*values, C::setValues).value_or(std::vector<U32>{})
             : std::vector<U32>{},
      problem);
  const std::string where = "set/large-community";
  if (!text) {
    gapIn(e, where, std::string("set large-community") + (del ? " delete" : "") + ": " + problem);
    return;
  }
  if (!del) {
    const bool additive = valueOf<U8>(set, C::largeSetMode) == U8{4};
    e.lines.push_back("set large-community " + *text + (additive ? " additive" : ""));
    return;
  }
  if (!madeList(Kind::largeCommunityList, name, false, {{10, "permit " + *text}})) {
    gapIn(e, where, "set large-comm-list delete: a configured list is named " + name);
    return;
  }
  e.lines.push_back("set large-comm-list " + name + " delete");
}

const Node* Translator::commList(const std::string& name) const {
  const Node* lists = child(*policy_, T::commLists);
  return lists ? child(*lists, T::commListKey, std::string(kCommListKey) + name) : nullptr;
}

}  // namespace frr::detail
