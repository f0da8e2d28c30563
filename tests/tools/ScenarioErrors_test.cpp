// Bad scenarios: every one is refused with exit status 2 and one line
// "FILE:LINE:COL: error: MESSAGE" that points at the offending key or value.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/Harness.h"

namespace {

using test_support::runTool;
using test_support::scenarioFile;
using namespace std::string_view_literals;

struct BadScenario {
  const char* name;
  std::string_view yaml;  // may hold NUL bytes
  int line;
  int column;
  const char* message;  // a part of the message that names the fault
};

// A route-map entry with one set clause or match rule on line 7, for the value checks.
#define RM_ENTRY(tail)    \
  "steps:\n"              \
  "  - config:\n"         \
  "      route-maps:\n"   \
  "        RM:\n"         \
  "          - seq: 10\n" \
  "            action: permit\n" tail

// Lists nested one level past the limit, as flow brackets, as block sequences, and as the
// ten thousand unclosed brackets that the YAML reader alone refuses only as a "bad file".
const std::string kNestedFlowLists =
    "steps: " + std::string(100, '[') + std::string(100, ']') + "\n";
const std::string kNestedBlockLists = [] {
  std::string s = "steps:\n";
  for (int level = 1; level <= 100; ++level) s += std::string(2 * level, ' ') + "-\n";
  return s;
}();
const std::string kTenThousandBrackets = "steps: " + std::string(10000, '[') + "\n";

// A step with one route check on line 4, for the route checks' value checks.
#define ROUTE_CHECK(check)                                       \
  "steps:\n"                                                     \
  "  - config: {route-maps: {RM: [{seq: 1, action: permit}]}}\n" \
  "    routes:\n"                                                \
  "      - " check "\n"

const BadScenario kBadScenarios[] = {
    {"route_without_prefix", ROUTE_CHECK("{map: RM, route: {med: 1}, expect: deny}"), 4, 26,
     "route: missing key 'prefix'"},
    {"route_empty_as_set",
     ROUTE_CHECK("{map: RM, route: {prefix: 10.0.0.0/8, as-path: [1, []]}, expect: deny}"), 4, 60,
     "as-path: expected an AS set of at least one AS number"},
    {"route_extended_community_form",
     ROUTE_CHECK("{map: RM, route: {prefix: 10.0.0.0/8, extended-communities: [target:1:2]}, "
                 "expect: deny}"),
     4, 70, "extended-communities: expected an extended community rt:AS:N or soo:AS:N"},
    {"route_next_hop_of_the_other_family",
     ROUTE_CHECK("{map: RM, route: {prefix: \"2001:db8::/32\", next-hop: 192.0.2.1}, "
                 "expect: deny}"),
     4, 62, "next-hop: expected an IPv6 address"},
    {"route_community_twice",
     ROUTE_CHECK("{map: RM, route: {prefix: 10.0.0.0/8, communities: [\"1:1\", 0x10001]}, "
                 "expect: deny}"),
     4, 68, "communities: community '1:1' given twice"},
    {"route_expect_other", ROUTE_CHECK("{map: RM, route: {prefix: 10.0.0.0/8}, expect: accept}"), 4,
     56, "expect: expected permit or deny, got 'accept'"},
    {"route_attributes_of_a_deny",
     ROUTE_CHECK("{map: RM, route: {prefix: 10.0.0.0/8}, expect: deny, attributes: {med: 1}}"), 4,
     74, "attributes: a denied route has none"},
    {"route_community_included_and_excluded",
     ROUTE_CHECK("{map: RM, route: {prefix: 10.0.0.0/8}, expect: permit, attributes: "
                 "{communities: {includes: [\"1:1\"], excludes: [\"1:1\"]}}}"),
     4, 90, "communities: '1:1' both included and excluded"},
    {"route_check_of_two_maps",
     ROUTE_CHECK("{map: RM, peer-filter: RM, route: {prefix: 10.0.0.0/8}, expect: deny}"), 4, 32,
     "a route check tests one map"},
    {"yaml_syntax", "steps:\n  - config: {route-maps: }}\n", 2, 27, "invalid YAML"},
    {"unknown_top_level_key", "vrff: x\nsteps:\n  - config: {}\n", 1, 1, "unknown key 'vrff'"},
    // The keys the message lists are the schema's (the schema test holds them together).
    {"unknown_section", "steps:\n  - config:\n      prefix-list: {}\n", 3, 7,
     "); did you mean 'prefix-lists'?"},
    {"unknown_entry_key",
     "steps:\n  - config:\n      prefix-lists:\n        PL:\n"
     "          - {seq: 10, action: permit, prefix: 10.0.0.0/8, lee: 4}\n",
     5, 59, "unknown key 'lee'"},
    {"scalar_where_number_list_given", "steps:\n  - config:\n      route-map-op-mode: [1]\n", 3, 26,
     "route-map-op-mode: expected a number"},
    {"section_not_a_mapping", "steps:\n  - config:\n      prefix-lists: [PL]\n", 3, 21,
     "prefix-lists: expected a mapping"},
    {"ipv4_prefix_length_33",
     "steps:\n  - config:\n      prefix-lists:\n        PL:\n"
     "          - {seq: 10, action: permit, prefix: 10.0.0.0/33}\n",
     5, 47, "prefix length 33 out of range"},
    {"ipv6_prefix_length_129",
     "steps:\n  - config:\n      ipv6-prefix-lists:\n        PL:\n"
     "          - {seq: 10, action: permit, prefix: \"2001:db8::/129\"}\n",
     5, 47, "prefix length 129 out of range"},
    {"bad_ipv4_address",
     "steps:\n  - config:\n      prefix-lists:\n        PL:\n"
     "          - {seq: 10, action: permit, prefix: 10.0.300.0/8}\n",
     5, 47, "bad IPv4 address '10.0.300.0'"},
    {"bad_ipv6_next_hop",
     RM_ENTRY("            match: [{option: ipv6-next-hop, value: \"2001:db8:::1\"}]\n"), 7, 52,
     "expected an IPv6 address"},
    {"bad_access_list_mask",
     "steps:\n  - config:\n      access-lists:\n        A:\n"
     "          - {seq: 10, action: permit, source: 10.0.0.0/255.0.0}\n",
     5, 47, "bad mask '255.0.0'"},
    {"unknown_action",
     "steps:\n  - config:\n      prefix-lists:\n        PL:\n"
     "          - {seq: 10, action: allow, prefix: 10.0.0.0/8}\n",
     5, 31, "action: expected permit or deny, got 'allow'"},
    {"set_origin_5", RM_ENTRY("            set: {origin: 5}\n"), 7, 27,
     "origin: expected an origin of 1, 2 or 3"},
    {"med_type_12", RM_ENTRY("            set: {metric: {value: 1, med-type: 12}}\n"), 7, 48,
     "med-type: expected a med type from 0 to 8, got '12'"},
    {"protocol_10", RM_ENTRY("            match: [{option: protocol, value: 10}]\n"), 7, 47,
     "expected a protocol from 1 to 9, got '10'"},
    {"isis_level_3", RM_ENTRY("            set: {isis-level: 3}\n"), 7, 31,
     "isis-level: expected an IS-IS level"},
    {"ospf_metric_type_3", RM_ENTRY("            set: {ospf-metric-type: 3}\n"), 7, 37,
     "ospf-metric-type: expected an OSPF metric type, 1 or 2"},
    {"match_metric_type_3", RM_ENTRY("            match: [{option: metric-type, value: 3}]\n"), 7,
     50, "expected a metric type, 1 or 2"},
    {"route_type_5", RM_ENTRY("            match: [{option: route-type, value: 5}]\n"), 7, 49,
     "expected a route type from 1 to 4"},
    {"community_list_type_7",
     "steps:\n  - config:\n      community-lists:\n        C:\n"
     "          - {seq: 10, action: permit, type: 7, communities: []}\n",
     5, 45, "type: expected standard"},
    {"community_set_flag_1",
     RM_ENTRY("            set: {community: {values: [\"1:1\"], flag: 1}}\n"), 7, 54,
     "community cannot carry flag 1"},
    {"community_delete_flag_3",
     RM_ENTRY("            set: {community-delete: {lists: [C], flag: 3}}\n"), 7, 56,
     "flag: expected 1"},
    {"large_community_flag_4",
     RM_ENTRY("            set: {large-community: {values: [\"1:2:3\"], flag: 4}}\n"), 7, 62,
     "flag: expected a community-set flag from 0 to 3"},
    {"link_bandwidth_option_5",
     RM_ENTRY("            set: {extended-community: {values: [], link-bandwidth: {option: 5}}}\n"),
     7, 77, "expected a link-bandwidth option from 0 to 4"},
    {"community_match_without_lists",
     RM_ENTRY("            match: [{option: community, lists: []}]\n"), 7, 48,
     "lists: expected at least one community-list name"},
    {"duplicate_sequence_number",
     "steps:\n  - config:\n      prefix-lists:\n        PL:\n"
     "          - {seq: 10, action: permit, prefix: 10.0.0.0/8}\n"
     "          - {seq: 10, action: deny, prefix: 11.0.0.0/8}\n",
     6, 19, "duplicate sequence number 10 in prefix list 'PL' (first at line 5)"},
    {"missing_steps", "vrf: blue\n", 1, 1, "missing key 'steps'"},
    {"empty_step_list", "steps: []\n", 1, 8,
     "expected a list of at least one step, got an empty list"},
    {"step_without_config", "steps:\n  - name: first\n", 2, 5, "step 1: missing key 'config'"},
    {"unknown_input", "steps:\n  - config: {}\n    inputs: [route-map-config, routemap]\n", 3, 32,
     "unknown input 'routemap'"},
    {"vrf_longer_than_64_bytes",
     "vrf: a1234567890123456789012345678901234567890123456789012345678901234\n"
     "steps:\n  - config: {}\n",
     1, 6, "at most 64 bytes, got 65 bytes"},
    // The names and keys these messages list come from the table; the schema test holds them
    // to the schema.
    {"unknown_match_option_name",
     RM_ENTRY("            match: [{option: prefixlist, value: PL}]\n"), 7, 30,
     "option: unknown match option 'prefixlist' (expected a number or a name: access-list, "},
    {"unknown_set_key", RM_ENTRY("            set: {local-pref: 100}\n"), 7, 19,
     "unknown key 'local-pref' in set (expected as-path-prepend, "},
    {"standard_community_half_out_of_range",
     RM_ENTRY("            set: {community: {values: [\"65536:1\"]}}\n"), 7, 40,
     "expected a standard community AA:NN"},
    {"extended_community_not_a_number",
     RM_ENTRY("            set: {extended-community: {values: [\"1:2\"]}}\n"), 7, 49,
     "expected an extended community as a 64-bit number"},
    {"sequence_number_above_32_bits",
     "steps:\n  - config:\n      prefix-lists:\n        PL:\n"
     "          - {seq: 4294967296, action: permit, prefix: 10.0.0.0/8}\n",
     5, 19, "seq: expected a number from 0 to 4294967295"},
    {"unknown_set_key_explains_unnamed_actions",
     RM_ENTRY("            set: {local-preference: 100}\n"), 7, 19,
     "or large-community); the engine names no such action: the actions it leaves unnamed keep "
     "its numbers (action-2, action-3, action-19, action-25, action-26, action-35), and an "
     "action-names map at the top of the scenario can name them ({local-preference: action-2})"},
    {"unknown_set_key_with_a_mapping_explains_unnamed_actions",
     RM_ENTRY("            set: {local-preference: {value: 1}}\n"), 7, 19,
     "set (expected as-path-prepend"},
    {"action_name_of_a_named_action", "action-names: {metric: action-2}\nsteps:\n  - config: {}\n",
     1, 16, "action-names: 'metric' is a set key already"},
    {"action_name_for_a_named_action", "action-names: {lp: metric}\nsteps:\n  - config: {}\n", 1,
     20,
     "lp: expected an unnamed action (action-2, action-3, action-19, action-25, action-26, "
     "action-35), got 'metric'"},
    {"action_name_and_its_action_both_set",
     "action-names: {lp: action-2}\n" RM_ENTRY("            set: {lp: 1, action-2: 2}\n"), 8, 19,
     "set: 'lp' and action-2 are the same action, given twice"},
    {"action_name_out_of_its_actions_range",
     "action-names: {lp: action-2}\n" RM_ENTRY("            set: {lp: -1}\n"), 8, 23,
     "lp (action-2): expected a number from 0 to 4294967295, got '-1'"},
    {"route_target_local_part_too_wide_for_an_address",
     RM_ENTRY("            set: {extended-community: {values: [\"rt:192.0.2.1:65536\"]}}\n"), 7, 49,
     "expected an extended community as a 64-bit number, rt:AS:N"},
    {"site_of_origin_with_a_short_address",
     RM_ENTRY("            set: {extended-community: {values: [\"soo:1.2.3:4\"]}}\n"), 7, 49,
     "got 'soo:1.2.3:4'"},
    {"unknown_well_known_community",
     RM_ENTRY("            set: {community: {values: [no-exports]}}\n"), 7, 40,
     "or a well-known name (internet, graceful-shutdown, blackhole, no-export, no-advertise, "
     "local-AS), got 'no-exports'"},
    {"unknown_origin_name", RM_ENTRY("            set: {origin: igb}\n"), 7, 27,
     "origin: expected an origin of 1, 2 or 3, or igp, egp or incomplete, got 'igb'"},
    {"unknown_flag_name", RM_ENTRY("            set: {community: {values: [], flag: bogus}}\n"), 7,
     49, "or its name (none, delete, additive, replace), got 'bogus'"},
    {"signed_value_above_64_bits", RM_ENTRY("            set: {action-3: 9223372036854775808}\n"),
     7, 29, "action-3: expected a signed 64-bit number"},
    {"duplicate_key", RM_ENTRY("            action: deny\n"), 7, 13, "duplicate key 'action'"},
    {"regex_on_a_value_community_entry",
     "steps:\n  - config:\n      community-lists:\n        C:\n"
     "          - {seq: 10, action: permit, type: standard, regex: \"^1:\"}\n",
     5, 55, "key 'regex' does not apply to a community entry of type standard"},
    {"prepend_last_as_256", RM_ENTRY("            set: {as-path-prepend-last-as: 256}\n"), 7, 44,
     "expected a number from 0 to 255"},
    {"match_option_given_by_name_and_number",
     RM_ENTRY("            match: [{option: prefix-list, value: A}, {option: 2, value: B}]\n"), 7,
     54, "option prefix-list given twice"},
    {"nul_byte_after_a_dash", "steps:\n  -\0\n"sv, 2, 4,
     "control characters are not allowed: \\x00"},
    {"yaml_message_escapes_control_bytes", "steps:\n  - name: \"a\x7f\"\n", 2, 13,
     "control characters are not allowed: \\x7f"},
    {"unknown_escape_in_a_quoted_name", "steps:\n  - name: \"a\\q\"\n", 2, 13,
     "unknown escape character: q"},
    {"unknown_escape_after_multibyte_text",
     "\xef\xbb\xbfsteps:\n  - name: \"\xc3\xa9t\xc3\xa9 \xe2\x82\xac\\\xc3\xa7\"\n", 2, 17,
     "unknown escape character: \xc3\xa7"},
    {"flow_lists_nested_101_levels", kNestedFlowLists.c_str(), 1, 107,
     "invalid YAML: list nested 101 levels deep (lists and mappings nest at most 100 levels)"},
    {"block_lists_nested_101_levels", kNestedBlockLists.c_str(), 101, 201,
     "list nested 101 levels deep"},
    {"ten_thousand_open_brackets", kTenThousandBrackets.c_str(), 1, 107, "nested 101 levels deep"},
    {"aliases_repeating_over_a_million_nodes",
     "a: &a [x, x, x, x, x, x, x, x, x, x]\n"
     "b: &b [*a, *a, *a, *a, *a, *a, *a, *a, *a, *a]\n"
     "c: &c [*b, *b, *b, *b, *b, *b, *b, *b, *b, *b]\n"
     "d: &d [*c, *c, *c, *c, *c, *c, *c, *c, *c, *c]\n"
     "e: &e [*d, *d, *d, *d, *d, *d, *d, *d, *d, *d]\n"
     "f: &f [*e, *e, *e, *e, *e, *e, *e, *e, *e, *e]\n",
     6, 36, "invalid YAML: aliases repeat more than 1000000 nodes"},
};

class ScenarioErrorsTest : public ::testing::TestWithParam<BadScenario> {};

// The scenario is refused with status 2 and exactly one error line at the expected position.
TEST_P(ScenarioErrorsTest, RefusedWithPosition) {
  const BadScenario& c = GetParam();
  const std::string file = scenarioFile(std::string(c.name) + ".yaml", std::string(c.yaml));
  const auto r = runTool({"check", file});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  const std::string prefix =
      file + ':' + std::to_string(c.line) + ':' + std::to_string(c.column) + ": error: ";
  EXPECT_EQ(r.err.rfind(prefix, 0), 0u) << r.err;
  EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line expected: " << r.err;
}

INSTANTIATE_TEST_SUITE_P(Table, ScenarioErrorsTest, ::testing::ValuesIn(kBadScenarios),
                         [](const ::testing::TestParamInfo<BadScenario>& info) {
                           return std::string(info.param.name);
                         });

// The subcommands that run a scenario refuse bad input the same way: an origin of 5, which the
// library would take as fatal, never reaches it.
TEST(ScenarioErrorsTest, RunStateAndVerifyRefuseToo) {
  const std::string file = scenarioFile("origin5.yaml", RM_ENTRY("            set: {origin: 5}\n"));
  for (const char* command : {"run", "state", "verify"}) {
    const auto r = runTool({command, file});
    EXPECT_EQ(r.status, 2) << command;
    EXPECT_EQ(r.out, "") << command;
    EXPECT_EQ(r.err.rfind(file + ":7:27: error: ", 0), 0u) << command << ": " << r.err;
  }
}

// `test` refuses, at the check and before it needs an engine, a check whose map the step does
// not configure or that names a peer filter, which has no FRR form; and it needs --engine frr.
TEST(ScenarioErrorsTest, TestRefusesMapsItCannotSendRoutesThrough) {
  const std::string file =
      scenarioFile("route-maps.yaml",
                   "steps:\n"
                   "  - config: {peer-filters: {PF: [{seq: 1, action: permit}]}}\n"
                   "    routes:\n"
                   "      - {map: PF, route: {prefix: 10.0.0.0/8}, expect: deny}\n");
  auto r = runTool({"test", "--engine", "frr", file});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, file + ":4:9: error: route map 'PF' is not configured in step 1\n");
  const std::string second =
      scenarioFile("peer-filter.yaml",
                   "steps:\n"
                   "  - config: {peer-filters: {PF: [{seq: 1, action: permit}]}}\n"
                   "    routes:\n"
                   "      - {peer-filter: PF, route: {prefix: 10.0.0.0/8}, expect: deny}\n");
  r = runTool({"test", "--engine", "frr", second});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, second +
                       ":4:9: error: peer filter 'PF' has no FRR form: no route can be sent "
                       "through it\n");
  r = runTool({"test", second});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("test needs a live engine: give --engine frr"), std::string::npos);
}

// A file that cannot be read is bad input too, reported at its first position.
TEST(ScenarioErrorsTest, UnreadableFile) {
  const auto r = runTool({"check", ::testing::TempDir() + "no-such-scenario.yaml"});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("no-such-scenario.yaml:1:1: error: "), std::string::npos) << r.err;
}

}  // namespace
