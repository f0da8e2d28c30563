// The translation's own rules, one configuration and the FRR text it gives a row: exact entries
// and length ranges, wildcards, the kinds of a community list split, well-known community
// names, the library's own lists turned into FRR forms, and what has none.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/Harness.h"
#include "tools/ribpolicy/frr/Translate.h"

namespace {

// The FRR text of a one-step scenario whose config section is `yaml`.
std::string translationOf(const std::string& yaml) {
  ribpolicy::LibraryRootGuard keepRoot;
  Rib::EngineModel model;
  ribpolicy::Agent agent("default");
  {
    Rib::ScopedSink sink(&model);
    agent.applyStep(test_support::configOf(yaml), ribpolicy::InputSet::all());
  }
  Rib::ScopedSink quiet(nullptr);
  agent.teardown();
  return frr::configText(frr::translate(model.committed()).config);
}

struct Case {
  const char* what;
  const char* config;  // YAML, indented by six blanks
  const char* frr;
};

const Case kCases[] = {
    {"an exact entry is bare; ranges keep their bounds; host bits go",
     "      prefix-lists:\n"
     "        P:\n"
     "          - {seq: 10, action: permit, prefix: 10.1.2.3/8}\n"
     "          - {seq: 20, action: deny, prefix: 10.0.0.0/8, ge: 16}\n"
     "          - {seq: 30, action: permit, prefix: 10.0.0.0/8, le: 24}\n"
     "          - {seq: 40, action: permit, prefix: 11.0.0.0/8, ge: 8, le: 8}\n"
     "          - {seq: 60, action: permit, prefix: 10.0.0.0/8}\n"
     "      ipv6-prefix-lists:\n"
     "        P: [{seq: 5, action: permit, prefix: \"2001:db8::1/32\", ge: 48, le: 64}]\n",
     "ip prefix-list P seq 10 permit 10.0.0.0/8\n"
     "ip prefix-list P seq 20 deny 10.0.0.0/8 ge 16\n"
     "ip prefix-list P seq 30 permit 10.0.0.0/8 le 24\n"
     "ip prefix-list P seq 40 permit 11.0.0.0/8\n"
     "! no FRR form: ip prefix-list P seq 60: repeats the value of an earlier entry (FRR keeps "
     "one; the later never decides)\n"
     "!\n"
     "ipv6 prefix-list P seq 5 permit 2001:db8::/32 ge 48 le 64\n"
     "!\n"},
    {"an access list's mask becomes a wildcard",
     "      access-lists:\n"
     "        A:\n"
     "          - {seq: 10, action: permit, source: 192.0.2.0/255.255.255.0}\n"
     "          - {seq: 20, action: deny, source: 10.0.0.0/255.0.255.0}\n",
     "access-list A seq 10 permit 192.0.2.0 0.0.0.255\n"
     "access-list A seq 20 deny 10.0.0.0 0.255.0.255\n"
     "!\n"},
    {"AS-path entries of any origin in the first dialect only; a deactivated list is absent",
     "      as-path-lists:\n"
     "        A:\n"
     "          - {seq: 10, action: deny, regex: \"^64500_\"}\n"
     "          - {seq: 20, action: permit, regex: \"_1$\", origin: 1}\n"
     "          - {seq: 30, action: permit, regex: \"^6450[\", valid: [true, true]}\n"
     "          - {seq: 40, action: permit, regex: \"^a$\"}\n"
     "        OFF: [{seq: 10, action: permit, regex: \"^1$\", valid: [false, true]}]\n",
     "bgp as-path access-list A seq 10 deny ^64500_\n"
     "! no FRR form: bgp as-path access-list A seq 20: matches origin mask 258 only\n"
     "! no FRR form: bgp as-path access-list A seq 30: the expression does not compile\n"
     "! no FRR form: bgp as-path access-list A seq 40: the expression holds 'a'; FRR takes "
     "digits, blanks and ^$.*+?()[]{}|_-,\\ only\n"
     "!\n"},
    {"the second dialect has no form",
     "      as-path-regex-mode: 1\n"
     "      as-path-lists:\n"
     "        A: [{seq: 10, action: permit, regex: \"^1$\"}]\n",
     "! no FRR form: bgp as-path access-list A: its expressions are of the second dialect "
     "(as-path-regex-mode 1)\n!\n"},
    {"one community list of three kinds is three FRR lists; well-known values go by name",
     "      community-lists:\n"
     "        C:\n"
     "          - {seq: 10, action: permit, type: standard, communities: [\"65535:65281\", "
     "\"64496:7\", \"65535:666\"]}\n"
     "          - {seq: 20, action: deny, type: large, communities: [\"64496:1:2\"]}\n"
     "          - {seq: 30, action: permit, type: extended, communities: [\"0x0002fbf000000064\", "
     "\"0x000300640000000a\"]}\n"
     "          - {seq: 40, action: permit, type: standard-regex, regex: \"^1:\"}\n"
     "          - {seq: 50, action: permit, type: extended, communities: "
     "[\"0x0001000a0000000b\"]}\n"
     "        \"42\": [{seq: 10, action: permit, type: standard, communities: [\"1:1\"]}]\n",
     "! no FRR form: community list 42: FRR takes a name of digits for a numbered list, of values "
     "or expressions by its number\n"
     "bgp community-list standard C seq 10 permit 64496:7 blackhole no-export\n"
     "! no FRR form: bgp community-list C seq 40: an expression in a list of values (FRR keeps a "
     "list of one form)\n"
     "bgp extcommunity-list standard C seq 30 permit rt 64496:100 soo 100:10\n"
     "! no FRR form: bgp extcommunity-list C seq 50: extended community 0x0001000a0000000b is "
     "neither a route target nor a site of origin\n"
     "bgp large-community-list standard C seq 20 deny 64496:1:2\n"
     "!\n"},
    {"matches: prefix lists of both families, the exact copy, one next hop; several lists and "
     "inverted matches have no form",
     "      route-maps:\n"
     "        RM:\n"
     "          - seq: 10\n"
     "            action: deny\n"
     "            match:\n"
     "              - {option: ipv6-prefix-list, value: P}\n"
     "              - {option: next-hop-prefix-list, value: N}\n"
     "              - {option: community, lists: [C], exact: true}\n"
     "              - {option: large-community, lists: [L]}\n"
     "              - {option: next-hop, value: 192.0.2.9}\n"
     "          - seq: 20\n"
     "            action: permit\n"
     "            match:\n"
     "              - {option: access-list, value: A, invert: true}\n"
     "              - {option: extended-community, lists: [E1, E2]}\n"
     "              - {option: as-range, value: 1, upper: 2}\n"
     "              - {option: interface, value: \"e1\\nroute-map X permit 1\"}\n",
     "route-map RM deny 10\n"
     " match community C exact-match\n"
     " match ip next-hop address 192.0.2.9\n"
     " match ip next-hop prefix-list N\n"
     " match ipv6 address prefix-list P\n"
     " match large-community L\n"
     "exit\n!\n"
     "route-map RM permit 20\n"
     " ! no FRR form: match access-list A, inverted\n"
     " ! no FRR form: match interface e1\\x0aroute-map X permit 1\n"
     " ! no FRR form: match as-range 1\n"
     " ! no FRR form: match extended-community E1 E2: several lists (FRR matches one)\n"
     "exit\n!\n"},
    {"sets: values of a clause, a delete of a configured list by its name, of values by a list "
     "of its own, prepends, one IPv4 next hop",
     "      community-lists:\n"
     "        D: [{seq: 10, action: permit, type: standard-regex, regex: \"^64496:\"}]\n"
     "      route-maps:\n"
     "        RM:\n"
     "          - seq: 10\n"
     "            action: permit\n"
     "            sub-route-map: SUB\n"
     "            set:\n"
     "              community: {values: [\"65535:65282\", \"1:2\"], flag: 3}\n"
     "              community-delete: {lists: [D]}\n"
     "              as-path-prepend: [64496, 64497]\n"
     "              next-hop-unchanged: true\n"
     "              metric: {value: 7, med-type: 0}\n"
     "              origin: 3\n"
     "          - seq: 20\n"
     "            action: permit\n"
     "            set:\n"
     "              community: {values: [\"1:2\"], flag: 2}\n"
     "              community-delete: {values: [\"1:3\", \"1:4\"]}\n"
     "              large-community: {values: [\"1:2:3\"], flag: 1}\n"
     "              as-path-prepend-last-as: 3\n"
     "              next-hop: 192.0.2.1\n"
     "              next-hop-peer-address: true\n"
     "        SUB: [{seq: 10, action: permit}]\n",
     "bgp community-list standard .clRM20del seq 10 permit 1:3 1:4\n"
     "bgp community-list expanded D seq 10 permit ^64496:\n"
     "bgp large-community-list standard .lRM20 seq 10 permit 1:2:3\n"
     "!\n"
     "route-map RM permit 10\n"
     " call SUB\n"
     " set as-path prepend 64496 64497\n"
     " set comm-list D delete\n"
     " set community 1:2 no-advertise\n"
     " set ip next-hop unchanged\n"
     " set metric 7\n"
     " set origin incomplete\n"
     "exit\n!\n"
     "route-map RM permit 20\n"
     " ! no FRR form: set next-hop, next-hop-peer-address and next-hop-unchanged together (FRR "
     "keeps one)\n"
     " set as-path prepend last-as 3\n"
     " set comm-list .clRM20del delete\n"
     " set community 1:2 additive\n"
     " set large-comm-list .lRM20 delete\n"
     "exit\n!\n"
     "route-map SUB permit 10\n"
     "exit\n!\n"},
    {"extended sets add route targets and sites of origin; replacing, a med type and values from "
     "lists have no form",
     "      route-maps:\n"
     "        RM:\n"
     "          - seq: 10\n"
     "            action: permit\n"
     "            set:\n"
     "              extended-community: {values: [\"0x0002fbf000000064\", \"0x000300640000000a\"], "
     "flag: 2}\n"
     "              large-community: {values: [\"1:2:3\"], flag: 3}\n"
     "          - seq: 20\n"
     "            action: permit\n"
     "            set:\n"
     "              extended-community: {values: [\"0x0002fbf000000064\"], flag: 3}\n"
     "              community: {lists: [C], flag: 2}\n"
     "              metric: {value: 7, med-type: 2}\n",
     "route-map RM permit 10\n"
     " set extcommunity rt 64496:100\n"
     " set extcommunity soo 100:10\n"
     " set large-community 1:2:3\n"
     "exit\n!\n"
     "route-map RM permit 20\n"
     " ! no FRR form: set metric applied by its med-type (engine action 16 = 2)\n"
     " ! no FRR form: set community with values drawn from community lists\n"
     " ! no FRR form: set extended-community replacing the route's (FRR 8.4 only adds)\n"
     "exit\n!\n"},
    {"a cycle of calls is never written; peer filters and dynamic prefix lists are named",
     "      route-maps:\n"
     "        A: [{seq: 10, action: permit, sub-route-map: B}]\n"
     "        B: [{seq: 10, action: permit, sub-route-map: A}]\n"
     "        C: [{seq: 10, action: permit, sub-route-map: A}]\n"
     "      peer-filters:\n"
     "        PF: [{seq: 10, action: permit}]\n"
     "      dynamic-prefix-lists:\n"
     "        D: {match-map: C}\n"
     "      policy-map: {dynamic-prefix-lists: [D]}\n",
     "! no FRR form: route-map .PEER_FILTER.PF: peer filter PF\n"
     "route-map A permit 10\n"
     " ! no FRR form: call B: a cycle of calls among A, B\n"
     "exit\n!\n"
     "route-map B permit 10\n"
     " ! no FRR form: call A: a cycle of calls among A, B\n"
     "exit\n!\n"
     "route-map C permit 10\n"
     " call A\n"
     "exit\n!\n"
     "! no FRR form: dynamic prefix list D\n"
     "!\n"},
};

TEST(FrrTranslationTest, Rules) {
  for (const Case& c : kCases) EXPECT_EQ(translationOf(c.config), c.frr) << c.what;
}

}  // namespace
