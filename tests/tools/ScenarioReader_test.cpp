// The scenario reader's handling of YAML itself, beyond the checks of each value: aliases
// that repeat whole sections, documents after the first, and where errors of the text are
// placed.
#include <gtest/gtest.h>

#include <string>

#include "tools/ribpolicy/ScenarioParser.h"

namespace {

using ribpolicy::InputError;
using ribpolicy::parseScenario;
using ribpolicy::Scenario;
using ribpolicy::ScenarioConfig;

// The parts of two configurations that the library sees, compared whole.
void expectSameConfig(const ScenarioConfig& a, const ScenarioConfig& b) {
  EXPECT_EQ(a.prefixLists, b.prefixLists);
  EXPECT_EQ(a.accessLists, b.accessLists);
  EXPECT_EQ(a.policyMap.routeMaps, b.policyMap.routeMaps);
  ASSERT_EQ(a.routeMaps.size(), b.routeMaps.size());
  for (auto x = a.routeMaps.begin(), y = b.routeMaps.begin(); x != a.routeMaps.end(); ++x, ++y) {
    EXPECT_EQ(x->first, y->first);
    ASSERT_EQ(x->second.entries.size(), y->second.entries.size()) << x->first;
    for (const auto& [seq, entry] : x->second.entries) {
      ASSERT_TRUE(y->second.entries.contains(seq)) << x->first << ' ' << seq;
      EXPECT_TRUE(entry.sameAs(y->second.entries.at(seq))) << x->first << ' ' << seq;
    }
  }
}

constexpr const char* kSections = R"(
      prefix-lists:
        P1:
          - {seq: 10, action: permit, prefix: 10.0.0.0/8, le: 24}
          - {seq: 20, action: deny, prefix: 0.0.0.0/0}
      access-lists:
        A: [{seq: 5, action: permit, source: 10.0.0.0/8}]
      route-maps:
        RM:
          - seq: 10
            action: permit
            match: [{option: prefix-list, value: P1}]
            set: {as-path-prepend: [65001, 65002], community: {values: ["1:2"]}}
      policy-map: {route-maps: [RM]}
)";

// A step whose sections are aliases of an earlier step's reads as the sections written again.
TEST(ScenarioReaderTest, AliasedSectionsReadAsTheSectionsWrittenOut) {
  const std::string aliased = std::string("steps:\n  - config:") + R"(
      prefix-lists: &p
        P1:
          - {seq: 10, action: permit, prefix: 10.0.0.0/8, le: 24}
          - {seq: 20, action: deny, prefix: 0.0.0.0/0}
      access-lists: &a
        A: [{seq: 5, action: permit, source: 10.0.0.0/8}]
      route-maps: &r
        RM:
          - seq: 10
            action: permit
            match: [{option: prefix-list, value: P1}]
            set: {as-path-prepend: [65001, 65002], community: {values: ["1:2"]}}
      policy-map: &m {route-maps: [RM]}
  - config: {prefix-lists: *p, access-lists: *a, route-maps: *r, policy-map: *m}
)";
  const std::string written =
      std::string("steps:\n  - config:") + kSections + "  - config:" + kSections;
  const Scenario a = parseScenario(aliased);
  const Scenario w = parseScenario(written);
  ASSERT_EQ(a.steps.size(), 2u);
  ASSERT_EQ(w.steps.size(), 2u);
  ASSERT_EQ(a.steps[1].config.routeMaps.size(), 1u);
  for (std::size_t i = 0; i < 2; ++i) expectSameConfig(a.steps[i].config, w.steps[i].config);
}

// A list whose items are all one alias holds that item as often as it is named.
TEST(ScenarioReaderTest, AliasRepeatedInAListCountsEachTime) {
  const Scenario s = parseScenario(
      "steps:\n  - &step {config: {prefix-lists: {P: [{seq: 1, action: permit, prefix: "
      "10.0.0.0/8}]}}}\n  - *step\n  - *step\n");
  ASSERT_EQ(s.steps.size(), 3u);
  EXPECT_EQ(s.steps[2].config.prefixLists, s.steps[0].config.prefixLists);
}

// Only the first document of the stream is the scenario.
TEST(ScenarioReaderTest, DocumentsAfterTheFirstAreNotRead) {
  const Scenario s = parseScenario("steps:\n  - config: {}\n---\nsteps: [[[\n");
  EXPECT_EQ(s.steps.size(), 1u);
}

struct BadText {
  const char* name;
  const char* yaml;
  int line;
  int column;
  const char* message;
};

const BadText kBadTexts[] = {
    {"empty_file", "", 1, 1, "scenario: expected a mapping with 'steps', got nothing"},
    {"undefined_alias", "steps:\n  - *nothing\n", 2, 5,
     "invalid YAML: the referenced anchor is not defined"},
    {"list_that_holds_itself", "steps: &s [*s]\n", 1, 8, "step 1: expected a mapping, got a list"},
    {"error_after_crlf_lines", "steps:\r\n  - config:\r\n      prefix-list: {}\r\n", 3, 7,
     "unknown key 'prefix-list' in config"},
};

class ScenarioReaderErrors : public ::testing::TestWithParam<BadText> {};

// The reader refuses the text at the expected place with the expected message.
TEST_P(ScenarioReaderErrors, RefusedAt) {
  const BadText& c = GetParam();
  try {
    parseScenario(c.yaml);
    FAIL() << "accepted";
  } catch (const InputError& e) {
    EXPECT_EQ(e.line(), c.line) << e.what();
    EXPECT_EQ(e.column(), c.column) << e.what();
    EXPECT_EQ(std::string(e.what()).rfind(c.message, 0), 0u) << e.what();
  }
}

INSTANTIATE_TEST_SUITE_P(Table, ScenarioReaderErrors, ::testing::ValuesIn(kBadTexts),
                         [](const ::testing::TestParamInfo<BadText>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
