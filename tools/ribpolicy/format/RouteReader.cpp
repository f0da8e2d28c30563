#include "tools/ribpolicy/format/RouteReader.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "tools/ribpolicy/format/Format.h"
#include "tools/ribpolicy/format/ScenarioValues.h"

namespace ribpolicy {

namespace {

using namespace reader;

std::string twoWords(std::uint64_t high, std::uint64_t low) {
  return std::to_string(high) + ':' + std::to_string(low);
}

// A route's communities travel in the forms the engine answers in, so that what comes back can
// be compared as text: "65001:1", "rt:65001:7" or "soo:65001:7", "1:2:3".
std::string community(const Node& n, RouteCommunity kind, std::string_view key) {
  switch (kind) {
    case RouteCommunity::standard: {
      const U32 v = standardCommunity(n, key);
      return twoWords(v >> 16, v & 0xffffu);
    }
    case RouteCommunity::extended: {
      constexpr std::string_view kWhat =
          "an extended community rt:AS:N or soo:AS:N (AS of 16 bits)";
      const std::string_view s = textOf(n, key, kWhat);
      const std::size_t first = s.find(':');
      const std::size_t second = first == std::string_view::npos ? first : s.find(':', first + 1);
      if (second == std::string_view::npos) expected(n, key, kWhat);
      const std::string_view type = s.substr(0, first);
      const auto as = parseUnsigned(s.substr(first + 1, second - first - 1));
      const auto local = parseUnsigned(s.substr(second + 1));
      if ((type != "rt" && type != "soo") || !as || !local || *as > 0xffff ||
          *local > 0xffffffffu) {
        expected(n, key, kWhat);
      }
      return std::string(type) + ':' + twoWords(*as, *local);
    }
    case RouteCommunity::large: {
      const Routing::RouteMap::LargeCommunity l = largeCommunity(n, key);
      return std::to_string(l.global) + ':' + twoWords(l.local1, l.local2);
    }
  }
  return {};
}

std::vector<std::string> communities(const Node& n, RouteCommunity kind, std::string_view key) {
  std::vector<std::string> out;
  if (n.isNull()) return out;
  for (const Node& x : list(n, key, "a list of communities").items()) {
    std::string c = community(x, kind, key);
    if (std::find(out.begin(), out.end(), c) != out.end()) {
      fail(x, std::string(key) + ": community " + quote(c) + " given twice");
    }
    out.push_back(std::move(c));
  }
  return out;
}

AsPath asPath(const Node& n, std::string_view key) {
  AsPath path;
  if (n.isNull()) return path;
  for (const Node& x :
       list(n, key, "a list of AS numbers, with a list inside for an AS set").items()) {
    if (x.isList()) {
      if (x.size() == 0) expected(x, key, "an AS set of at least one AS number");
      AsSegment set{.set = true, .asns = {}};
      for (const Node& as : x.items()) set.asns.push_back(number(as, key));
      path.push_back(std::move(set));
      continue;
    }
    if (path.empty() || path.back().set) path.push_back({});
    path.back().asns.push_back(number(x, key));
  }
  return path;
}

std::string origin(const Node& n, std::string_view key) {
  const std::string_view s = textOf(n, key, "igp, egp or incomplete");
  if (std::find(std::begin(kRouteOrigins), std::end(kRouteOrigins), s) == std::end(kRouteOrigins)) {
    expected(n, key, "igp, egp or incomplete");
  }
  return std::string(s);
}

std::string address(const Node& n, std::string_view key, bool ipv6) {
  return ipv6 ? reader::ipv6(n, key).toString() : ipv4(n, key).toString();
}

// Reads one attribute of `row` into `into`; communities of an expectation may instead be a
// mapping {includes, excludes}, which goes to `expect`.
void readField(const RouteFieldRow& row, const Node& v, bool ipv6, RouteAttributes& into,
               RouteExpectation* expect) {
  switch (row.value) {
    case RouteValue::asPath:
      into.asPath = asPath(v, row.key);
      return;
    case RouteValue::communities: {
      const auto k = static_cast<std::size_t>(row.community);
      if (expect && v.isMapping()) {
        const Fields f(v, std::string(row.key), kCommunityTestKeys);
        if (const Node* x = f.get("includes"))
          expect->includes[k] = communities(*x, row.community, "includes");
        if (const Node* x = f.get("excludes"))
          expect->excludes[k] = communities(*x, row.community, "excludes");
        for (const std::string& c : expect->includes[k]) {
          const auto& ex = expect->excludes[k];
          if (std::find(ex.begin(), ex.end(), c) != ex.end()) {
            fail(v, std::string(row.key) + ": " + quote(c) + " both included and excluded");
          }
        }
        return;
      }
      into.communities[k] = communities(v, row.community, row.key);
      return;
    }
    case RouteValue::number:
      into.*row.number = number(v, row.key);
      return;
    case RouteValue::origin:
      into.*row.text = origin(v, row.key);
      return;
    case RouteValue::address:
      into.*row.text = address(v, row.key, ipv6);
      return;
  }
}

std::vector<std::string_view> fieldKeys(bool withPrefix) {
  std::vector<std::string_view> keys;
  if (withPrefix) keys.push_back("prefix");
  for (const RouteFieldRow& row : kRouteFields) keys.push_back(row.key);
  return keys;
}

// The route of a check, or of a table of routes: its prefix and the attributes it gives.
void readRoute(const Node& route, RouteCheck& c) {
  static const std::vector<std::string_view> kRouteKeys = fieldKeys(true);
  const Fields r(route, "route", kRouteKeys);
  if (route.isNull()) expected(route, "route", "a mapping with a prefix");
  const Node& prefix = r.need("prefix");
  const std::string_view p = textOf(prefix, "prefix", "an IPv4 or IPv6 prefix");
  c.ipv6 = p.find(':') != std::string_view::npos;
  c.prefix =
      c.ipv6 ? ipv6Prefix(prefix, "prefix").toString() : ipv4Prefix(prefix, "prefix").toString();
  for (const RouteFieldRow& row : kRouteFields) {
    if (const Node* v = r.get(row.key)) readField(row, *v, c.ipv6, c.route, nullptr);
  }
}

RouteCheck readCheck(const Node& n) {
  const Fields f(n, "route check", kRouteCheckKeys);
  if (n.isNull()) expected(n, "route check", "a mapping {map, route, expect}");
  RouteCheck c;
  c.mark = {n.line(), n.column()};
  const Node* map = f.get("map");
  const Node* filter = f.get("peer-filter");
  if (map && filter)
    fail(*filter, "peer-filter: a route check tests one map: give map or peer-filter");
  if (!map && !filter) fail(n, "route check: missing key 'map' (or 'peer-filter')");
  c.peerFilter = filter != nullptr;
  c.map = name(map ? *map : *filter, map ? "map" : "peer-filter");

  readRoute(f.need("route"), c);

  const Node& result = f.need("expect");
  const std::string_view e = textOf(result, "expect", "permit or deny");
  if (e != kRouteResults[0] && e != kRouteResults[1]) expected(result, "expect", "permit or deny");
  c.expect.permit = e == kRouteResults[0];
  if (const Node* a = f.get("attributes")) {
    if (!c.expect.permit) fail(*a, "attributes: a denied route has none (expect: deny)");
    static const std::vector<std::string_view> kAttributeKeys = fieldKeys(false);
    const Fields x(*a, "attributes", kAttributeKeys);
    for (const RouteFieldRow& row : kRouteFields) {
      if (const Node* v = x.get(row.key))
        readField(row, *v, c.ipv6, c.expect.attributes, &c.expect);
    }
  }
  return c;
}

}  // namespace

std::vector<RouteCheck> readRouteChecks(const Node& n) {
  std::vector<RouteCheck> checks;
  if (n.isNull()) return checks;
  for (const Node& x : list(n, "routes", "a list of route checks").items()) {
    checks.push_back(readCheck(x));
  }
  return checks;
}

namespace {

// A table of routes is read whole: nothing in it is read early.
class NothingEarly final : public yaml::EarlyReading {
 public:
  Entered enter(std::optional<Context>, bool, const std::string*) const override { return {}; }
  std::unique_ptr<yaml::EarlyList> start(Context, std::string_view) const override {
    return nullptr;
  }
};

}  // namespace

std::vector<RouteCheck> readRouteTable(std::string_view text, const std::string& map) {
  const NothingEarly plan;
  const yaml::Document doc = yaml::readDocument(text, plan);
  const Node root = doc.root();
  if (!root.isList() || root.size() == 0) expected(root, "routes", "a list of at least one route");
  std::vector<RouteCheck> routes;
  for (const Node& x : root.items()) {
    RouteCheck c;
    c.map = map;
    c.mark = {x.line(), x.column()};
    readRoute(x, c);
    routes.push_back(std::move(c));
  }
  return routes;
}

}  // namespace ribpolicy
