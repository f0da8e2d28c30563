// Route checks on bgpd: which peer sends which route, what the speaker and bgpd are told, and
// what bgpd did to each route, read from its own answers. Nothing here decides what a map does
// to a route: a route the map denied is absent from bgpd's table, and a permitted one carries
// there the attributes the map left it.
//
// Each map under test gets a peer of its own (127.0.0.x) with the map applied inbound, and a
// further one for every route whose prefix that map's first peer already sends, so that every
// route of a step is one path in bgpd's table, known by its prefix and its peer.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/ribpolicy/format/Scenario.h"

namespace frr {

using Vox::U32;

struct Peer {
  std::string address;              // 127.0.0.x
  std::string map;                  // the FRR route map applied inbound
  std::vector<std::size_t> routes;  // indexes into the step's checks
  std::size_t ipv4 = 0;             // routes of each family
  std::size_t ipv6 = 0;
};

struct RoutePlan {
  std::vector<Peer> peers;
  std::vector<std::size_t> peerOf;  // by check
};

// The most peers a step can have: 127.0.0.2 to 127.0.0.254.
inline constexpr std::size_t kMostPeers = 253;

// The peers of `checks`, each test under the FRR route map `maps[i]`; nothing when they need
// more than kMostPeers.
std::optional<RoutePlan> planPeers(const std::vector<ribpolicy::RouteCheck>& checks,
                                   const std::vector<std::string>& maps);

// ExaBGP's configuration: one passive neighbor per peer, its routes as static routes, the
// attributes a route does not give at their stated defaults.
std::string speakerConfiguration(const RoutePlan& plan,
                                 const std::vector<ribpolicy::RouteCheck>& checks, U32 as);

// The lines that make bgpd connect to each peer (iBGP in `as`, to `port`) and apply its map
// inbound; with `newRouter`, the `router bgp` they go in is the test's own too.
std::vector<std::string> neighborLines(const RoutePlan& plan, U32 as, int port, bool newRouter);
// The lines that take them away again.
std::vector<std::string> neighborRemoval(const RoutePlan& plan, U32 as, bool newRouter);

// The `show` commands whose answers say how many routes bgpd has taken from each peer, and
// whether it has taken them all (the peers' Adj-RIB-In, before the maps).
std::vector<std::string> countCommands(const RoutePlan& plan);
// From their answers, in order: how many routes are still to come; nothing when an answer
// cannot be read.
std::optional<std::size_t> routesToCome(const RoutePlan& plan, const std::string& answers);

// What bgpd did to a route: denied (absent), or permitted with these attributes.
struct Answer {
  bool permit = false;
  ribpolicy::RouteAttributes attributes;
  friend bool operator==(const Answer&, const Answer&) = default;
};

// The answers for every check from bgpd's tables (`show bgp ipv4|ipv6 unicast json detail`).
std::vector<Answer> answersOf(const RoutePlan& plan,
                              const std::vector<ribpolicy::RouteCheck>& checks,
                              const nlohmann::json& ipv4, const nlohmann::json& ipv6);

struct Verdict {
  bool passed = true;
  std::string expected;  // "permit with med 50", "deny"
  std::string got;       // the same words for what bgpd did, on the attributes expected
};
Verdict judge(const ribpolicy::RouteCheck& check, const Answer& answer);

// "permit with med 50, communities 65000:1 65001:2 ...": every attribute a route came out
// with, or "deny".
std::string answerText(const Answer& answer);

// The attributes the speaker sends for a check's route: what it gives, the rest at their
// defaults, communities in order.
ribpolicy::RouteAttributes sentAttributes(const ribpolicy::RouteCheck& check);
// What a map that permitted the route changed of it: "med none -> 50", "communities none ->
// 64496:100", in the order of the route's keys.
std::vector<std::string> changesOf(const ribpolicy::RouteCheck& check, const Answer& answer);

// A route in a line: "10.1.0.0/24 as-path 65001 {65002,65003} med 100".
std::string routeText(const ribpolicy::RouteCheck& check);

}  // namespace frr
