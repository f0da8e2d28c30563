#include "tools/ribpolicy/frr/Routes.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string_view>

#include "tools/ribpolicy/format/Format.h"

namespace frr {

namespace {

using ribpolicy::AsPath;
using ribpolicy::RouteAttributes;
using ribpolicy::RouteCheck;
using ribpolicy::RouteFieldRow;
using ribpolicy::RouteValue;
using Json = nlohmann::json;

constexpr std::string_view kDefaultNextHop4 = "192.0.2.1";
constexpr std::string_view kDefaultNextHop6 = "2001:db8::1";
constexpr std::string_view kBgpdAddress = "127.0.0.1";

// The well-known communities bgpd names in its JSON instead of printing their values.
constexpr std::pair<std::string_view, std::string_view> kWellKnown[] = {
    {"gracefulShutdown", "65535:0"}, {"acceptOwn", "65535:1"},   {"llgrStale", "65535:6"},
    {"noLlgr", "65535:7"},           {"blackhole", "65535:666"}, {"noExport", "65535:65281"},
    {"noAdvertise", "65535:65282"},  {"localAs", "65535:65283"}, {"noPeer", "65535:65284"},
};

std::string joined(const std::vector<std::string>& words, std::string_view separator = " ") {
  std::string out;
  for (const std::string& w : words) {
    if (!out.empty()) out += separator;
    out += w;
  }
  return out;
}

std::string asPathText(const AsPath& path) {
  std::vector<std::string> words;
  for (const ribpolicy::AsSegment& s : path) {
    std::vector<std::string> asns;
    for (const U32 as : s.asns) asns.push_back(std::to_string(as));
    if (s.set) {
      words.push_back('{' + joined(asns, ",") + '}');
    } else {
      words.insert(words.end(), asns.begin(), asns.end());
    }
  }
  return words.empty() ? "empty" : joined(words);
}

std::size_t kindOf(const RouteFieldRow& row) {
  return static_cast<std::size_t>(row.community);
}

// The value of a row's attribute as a user reads it, or nothing when it is absent.
std::optional<std::string> valueText(const RouteFieldRow& row, const RouteAttributes& a) {
  switch (row.value) {
    case RouteValue::asPath:
      if (!a.asPath) return std::nullopt;
      return asPathText(*a.asPath);
    case RouteValue::communities: {
      const auto& c = a.communities[kindOf(row)];
      if (!c) return std::nullopt;
      return c->empty() ? "none" : joined(*c);
    }
    case RouteValue::number:
      if (!(a.*row.number)) return std::nullopt;
      return std::to_string(*(a.*row.number));
    case RouteValue::origin:
    case RouteValue::address:
      return a.*row.text;
  }
  return std::nullopt;
}

// The speaker's words for a community: ExaBGP names an extended one by its type.
std::string speakerCommunity(const std::string& c) {
  if (c.starts_with("rt:")) return "target:" + c.substr(3);
  if (c.starts_with("soo:")) return "origin:" + c.substr(4);
  return c;
}

std::string speakerRoute(const RouteCheck& c) {
  const RouteAttributes r = sentAttributes(c);
  std::string line = "route " + c.prefix + " next-hop " + *r.nextHop;
  line += " origin " + *r.origin;
  line += " local-preference " + std::to_string(*r.localPreference);
  if (r.med) line += " med " + std::to_string(*r.med);
  if (r.asPath && !r.asPath->empty()) {
    line += " as-path [";
    for (const ribpolicy::AsSegment& s : *r.asPath) {
      if (s.set) line += " (";
      for (const U32 as : s.asns) line += ' ' + std::to_string(as);
      if (s.set) line += " )";
    }
    line += " ]";
  }
  static constexpr std::string_view kKeywords[] = {"community", "extended-community",
                                                   "large-community"};
  for (std::size_t k = 0; k < ribpolicy::kRouteCommunityKinds; ++k) {
    const auto& values = r.communities[k];
    if (!values || values->empty()) continue;
    line += ' ' + std::string(kKeywords[k]) + " [";
    for (const std::string& v : *values) line += ' ' + speakerCommunity(v);
    line += " ]";
  }
  return line + ';';
}

// bgpd's words for an extended community ("RT:65001:7") in the route's form ("rt:65001:7").
std::string extendedCommunity(const std::string& word) {
  const std::size_t colon = word.find(':');
  if (colon == std::string::npos) return word;
  std::string type = word.substr(0, colon);
  std::transform(type.begin(), type.end(), type.begin(),
                 [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
  return type + word.substr(colon);
}

std::vector<std::string> words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

RouteAttributes attributesOf(const Json& path) {
  RouteAttributes a;
  a.asPath = AsPath{};
  if (const auto p = path.find("aspath"); p != path.end() && p->contains("segments")) {
    for (const Json& s : (*p)["segments"]) {
      ribpolicy::AsSegment segment;
      segment.set = s.value("type", "") == "as-set";
      for (const Json& as : s["list"]) segment.asns.push_back(as.get<U32>());
      a.asPath->push_back(std::move(segment));
    }
  }
  std::vector<std::string> standard;
  if (const auto c = path.find("community"); c != path.end() && c->contains("list")) {
    for (const Json& v : (*c)["list"]) {
      std::string word = v.get<std::string>();
      for (const auto& [name, value] : kWellKnown) {
        if (word == name) word = value;
      }
      standard.push_back(std::move(word));
    }
  }
  std::vector<std::string> extended;
  if (const auto c = path.find("extendedCommunity"); c != path.end()) {
    for (const std::string& w : words(c->value("string", ""))) {
      extended.push_back(extendedCommunity(w));
    }
  }
  std::vector<std::string> large;
  if (const auto c = path.find("largeCommunity"); c != path.end()) {
    large = words(c->value("string", ""));
  }
  a.communities = {standard, extended, large};
  for (auto& c : a.communities) std::sort(c->begin(), c->end());
  if (path.contains("metric")) a.med = path["metric"].get<U32>();
  std::string origin = path.value("origin", "");
  std::transform(origin.begin(), origin.end(), origin.begin(),
                 [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
  a.origin = origin;
  if (const auto hops = path.find("nexthops"); hops != path.end() && !hops->empty()) {
    a.nextHop = hops->front().value("ip", "");
  }
  if (path.contains("locPrf")) a.localPreference = path["locPrf"].get<U32>();
  return a;
}

}  // namespace

RouteAttributes sentAttributes(const RouteCheck& check) {
  RouteAttributes a = check.route;
  if (!a.asPath) a.asPath = AsPath{};
  for (auto& c : a.communities) {
    if (!c) c = std::vector<std::string>{};
    std::sort(c->begin(), c->end());
  }
  if (!a.origin) a.origin = "igp";
  if (!a.nextHop) a.nextHop = std::string(check.ipv6 ? kDefaultNextHop6 : kDefaultNextHop4);
  if (!a.localPreference) a.localPreference = 100;
  return a;
}

std::vector<std::string> changesOf(const RouteCheck& check, const Answer& answer) {
  const RouteAttributes sent = sentAttributes(check);
  std::vector<std::string> changes;
  for (const RouteFieldRow& row : ribpolicy::kRouteFields) {
    const std::optional<std::string> before = valueText(row, sent);
    const std::optional<std::string> after = valueText(row, answer.attributes);
    if (before == after) continue;
    changes.push_back(std::string(row.key) + ' ' + before.value_or("none") + " -> " +
                      after.value_or("none"));
  }
  return changes;
}

std::optional<RoutePlan> planPeers(const std::vector<RouteCheck>& checks,
                                   const std::vector<std::string>& maps) {
  RoutePlan plan;
  std::vector<std::set<std::string>> prefixes;
  for (std::size_t i = 0; i < checks.size(); ++i) {
    std::size_t p = 0;
    while (p < plan.peers.size() &&
           (plan.peers[p].map != maps[i] || prefixes[p].count(checks[i].prefix) > 0)) {
      ++p;
    }
    if (p == plan.peers.size()) {
      if (p == kMostPeers) return std::nullopt;
      Peer peer;
      peer.address = "127.0.0." + std::to_string(p + 2);
      peer.map = maps[i];
      plan.peers.push_back(std::move(peer));
      prefixes.emplace_back();
    }
    prefixes[p].insert(checks[i].prefix);
    plan.peers[p].routes.push_back(i);
    ++(checks[i].ipv6 ? plan.peers[p].ipv6 : plan.peers[p].ipv4);
    plan.peerOf.push_back(p);
  }
  return plan;
}

std::string speakerConfiguration(const RoutePlan& plan, const std::vector<RouteCheck>& checks,
                                 U32 as) {
  std::string text;
  for (const Peer& peer : plan.peers) {
    text += "neighbor " + std::string(kBgpdAddress) + " {\n";
    text += "  router-id " + peer.address + ";\n  local-address " + peer.address + ";\n";
    text += "  local-as " + std::to_string(as) + ";\n  peer-as " + std::to_string(as) + ";\n";
    text += "  passive true;\n  family {\n";
    if (peer.ipv4 > 0) text += "    ipv4 unicast;\n";
    if (peer.ipv6 > 0) text += "    ipv6 unicast;\n";
    text += "  }\n  static {\n";
    for (const std::size_t i : peer.routes) text += "    " + speakerRoute(checks[i]) + '\n';
    text += "  }\n}\n";
  }
  return text;
}

std::vector<std::string> neighborLines(const RoutePlan& plan, U32 as, int port, bool newRouter) {
  std::vector<std::string> lines = {"router bgp " + std::to_string(as)};
  if (newRouter) lines.push_back("bgp router-id " + std::string(kBgpdAddress));
  for (const Peer& peer : plan.peers) {
    const std::string n = "neighbor " + peer.address;
    lines.push_back(n + " remote-as internal");
    lines.push_back(n + " port " + std::to_string(port));
    lines.push_back(n + " update-source " + std::string(kBgpdAddress));
    // bgpd tries again a second after a refused connection, not after two minutes: the
    // speaker may be a moment late to listen.
    lines.push_back(n + " timers connect 1");
    for (const bool ipv6 : {false, true}) {
      if ((ipv6 ? peer.ipv6 : peer.ipv4) == 0) continue;
      lines.push_back(ipv6 ? "address-family ipv6 unicast" : "address-family ipv4 unicast");
      lines.push_back(n + " activate");
      // The Adj-RIB-In it keeps counts what the peer sent, denied routes too.
      lines.push_back(n + " soft-reconfiguration inbound");
      lines.push_back(n + " route-map " + peer.map + " in");
      lines.push_back("exit-address-family");
    }
  }
  lines.push_back("exit");
  return lines;
}

std::vector<std::string> neighborRemoval(const RoutePlan& plan, U32 as, bool newRouter) {
  if (newRouter) return {"no router bgp " + std::to_string(as)};
  std::vector<std::string> lines = {"router bgp " + std::to_string(as)};
  for (const Peer& peer : plan.peers) lines.push_back("no neighbor " + peer.address);
  lines.push_back("exit");
  return lines;
}

std::vector<std::string> countCommands(const RoutePlan& plan) {
  std::vector<std::string> commands;
  for (const Peer& peer : plan.peers) {
    for (const bool ipv6 : {false, true}) {
      if ((ipv6 ? peer.ipv6 : peer.ipv4) == 0) continue;
      commands.push_back(std::string("show bgp ") + (ipv6 ? "ipv6" : "ipv4") +
                         " unicast neighbors " + peer.address + " prefix-counts json");
    }
  }
  return commands;
}

std::optional<std::size_t> routesToCome(const RoutePlan& plan, const std::string& answers) {
  std::istringstream in(answers);
  std::size_t toCome = 0;
  for (const Peer& peer : plan.peers) {
    for (const std::size_t sent : {peer.ipv4, peer.ipv6}) {
      if (sent == 0) continue;
      Json counts;
      try {
        in >> counts;
      } catch (const Json::exception&) {
        return std::nullopt;
      }
      std::size_t taken = 0;
      if (const auto walk = counts.find("ribTableWalkCounters"); walk != counts.end()) {
        taken = walk->value("Adj-in", std::size_t{0});
      }
      toCome += sent > taken ? sent - taken : 0;
    }
  }
  return toCome;
}

std::vector<Answer> answersOf(const RoutePlan& plan, const std::vector<RouteCheck>& checks,
                              const Json& ipv4, const Json& ipv6) {
  std::vector<Answer> answers(checks.size());
  for (std::size_t i = 0; i < checks.size(); ++i) {
    const Json& table = checks[i].ipv6 ? ipv6 : ipv4;
    const auto routes = table.find("routes");
    if (routes == table.end()) continue;
    const auto paths = routes->find(checks[i].prefix);
    if (paths == routes->end()) continue;
    const std::string& peer = plan.peers[plan.peerOf[i]].address;
    for (const Json& path : *paths) {
      const auto from = path.find("peer");
      if (from == path.end() || from->value("peerId", "") != peer) continue;
      answers[i].permit = true;
      answers[i].attributes = attributesOf(path);
    }
  }
  return answers;
}

Verdict judge(const RouteCheck& check, const Answer& answer) {
  Verdict v;
  const ribpolicy::RouteExpectation& e = check.expect;
  std::vector<std::string> expected;
  std::vector<std::string> got;
  v.passed = e.permit == answer.permit;
  for (const RouteFieldRow& row : ribpolicy::kRouteFields) {
    const std::string key(row.key);
    const std::optional<std::string> actual = valueText(row, answer.attributes);
    bool named = false;
    if (const std::optional<std::string> want = valueText(row, e.attributes)) {
      named = true;
      expected.push_back(key + ' ' + *want);
      bool same = want == actual;
      if (row.value == RouteValue::communities) {
        std::vector<std::string> a = *e.attributes.communities[kindOf(row)];
        std::sort(a.begin(), a.end());
        same = answer.attributes.communities[kindOf(row)] == a;
      }
      if (answer.permit && !same) v.passed = false;
    }
    if (row.value == RouteValue::communities) {
      const std::vector<std::string> has =
          answer.attributes.communities[kindOf(row)].value_or(std::vector<std::string>{});
      auto holds = [&](const std::string& c) {
        return std::find(has.begin(), has.end(), c) != has.end();
      };
      const auto& includes = e.includes[kindOf(row)];
      const auto& excludes = e.excludes[kindOf(row)];
      if (!includes.empty()) expected.push_back(key + " including " + joined(includes));
      if (!excludes.empty()) expected.push_back(key + " excluding " + joined(excludes));
      named = named || !includes.empty() || !excludes.empty();
      if (answer.permit && (!std::all_of(includes.begin(), includes.end(), holds) ||
                            std::any_of(excludes.begin(), excludes.end(), holds))) {
        v.passed = false;
      }
    }
    if (named) got.push_back(key + ' ' + actual.value_or("none"));
  }
  v.expected = e.permit ? "permit" : "deny";
  if (!expected.empty()) v.expected += " with " + joined(expected, ", ");
  v.got = answer.permit ? "permit" : "deny";
  if (answer.permit && !got.empty()) v.got += " with " + joined(got, ", ");
  return v;
}

std::string answerText(const Answer& answer) {
  if (!answer.permit) return "deny";
  std::vector<std::string> shown;
  for (const RouteFieldRow& row : ribpolicy::kRouteFields) {
    if (const auto v = valueText(row, answer.attributes))
      shown.push_back(std::string(row.key) + ' ' + *v);
  }
  return shown.empty() ? "permit" : "permit with " + joined(shown, ", ");
}

std::string routeText(const RouteCheck& check) {
  std::string text = check.prefix;
  for (const RouteFieldRow& row : ribpolicy::kRouteFields) {
    if (const auto v = valueText(row, check.route)) text += ' ' + std::string(row.key) + ' ' + *v;
  }
  return text;
}

}  // namespace frr
