// The scenario reader's handling of YAML itself, beyond the checks of each value: aliases
// that repeat whole sections, documents after the first, and where errors of the text are
// placed.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

#include "tools/ribpolicy/format/ScenarioParser.h"

namespace {

using ribpolicy::InputError;
using ribpolicy::parseScenario;
using ribpolicy::Scenario;
using namespace std::string_literals;

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
  for (std::size_t i = 0; i < 2; ++i) EXPECT_TRUE(a.steps[i].config == w.steps[i].config) << i;
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

// Scenarios read in two ways: as written, where the reader takes each list's entries as soon
// as they close, and with every '%' made an anchor, which keeps the lists whole until the
// reader walks them. The anchors end their lines, so no position moves; both readings must
// give the same scenario, marks included, or the same error (`message` when not null).
struct TwoReadings {
  const char* name;
  const char* yaml;
  int line;
  int column;
  const char* message;
};

std::string withAnchors(std::string_view yaml, bool anchored) {
  std::string out;
  int n = 0;
  for (const char c : yaml) {
    if (c != '%') {
      out += c;
    } else if (anchored) {
      out += " &a" + std::to_string(++n);
    }
  }
  return out;
}

void expectSameScenario(const Scenario& a, const Scenario& b) {
  ASSERT_EQ(a.steps.size(), b.steps.size());
  for (std::size_t i = 0; i < a.steps.size(); ++i) {
    EXPECT_TRUE(a.steps[i].config == b.steps[i].config) << "step " << i + 1;
    EXPECT_TRUE(a.steps[i].marks == b.steps[i].marks) << "step " << i + 1;
  }
}

const TwoReadings kTwoReadings[] = {
    {"every_kind_of_list", R"(steps:
  - config:
      prefix-lists:
        P1:%
          - {seq: 20, action: deny, prefix: 0.0.0.0/0}
          - {seq: 10, action: permit, prefix: 10.0.0.0/8, le: 24}
        P2:
          version: 4
          entries:%
            - {seq: 5, action: permit, prefix: 11.0.0.0/8, ge: 16}
      ipv6-prefix-lists:
        V6:%
          - {seq: 1, action: permit, prefix: "2001:db8::/32", le: 64}
      as-path-lists:
        AS:
          source: cli
          entries:%
            - {seq: 1, action: deny, regex: _65000_, origin: any, valid: [true, false]}
      community-lists:
        C:%
          - {seq: 1, action: permit, type: standard, communities: ["1:1", "2:2"]}
          - {seq: 2, action: deny, type: large-regex, regex: "^1:"}
      access-lists:
        A:%
          - {seq: 5, action: permit, source: 10.0.0.0/8}
      route-maps:
        RM:%
          - seq: 10
            action: permit
            match:
              - {option: prefix-list, value: P1}
              - {option: community, lists: [C]}
            sub-route-map: SUB
            set: {community: {lists: [C]}, origin: 2}
          - {seq: 20, action: deny}
      peer-filters:
        PF:%
          - {seq: 1, action: permit, match: [{option: as-range, value: 1, upper: 9}]}
      policy-map: {route-maps: [RM]}
  - config:
      route-maps:
        RM:%
          - {seq: 30, action: permit, sub-route-map: OTHER}
)",
     0, 0, nullptr},
    {"anchors_and_aliases_inside_entries", R"(steps:
  - config:
      prefix-lists:
        P:%
          - &e {seq: 10, action: &d deny, prefix: 10.0.0.0/8}
          - {seq: 20, action: *d, prefix: 11.0.0.0/8}
      access-lists:
        A:%
          - {seq: 1, action: *d, source: 10.0.0.0/8}
  - config:
      prefix-lists:
        P:%
          - *e
          - {seq: 30, action: permit, prefix: 12.0.0.0/8}
)",
     0, 0, nullptr},
    {"bad_entry_then_a_syntax_error", R"(steps:
  - config:
      prefix-lists:
        P:%
          - {seq: 1, action: allow, prefix: 10.0.0.0/8}
  - config: {]
)",
     6, 14, "invalid YAML: did not find expected node content"},
    {"bad_entry_then_an_unknown_key_of_its_list", R"(steps:
  - config:
      prefix-lists:
        P:
          entries:%
            - {seq: 1, action: allow, prefix: 10.0.0.0/8}
          lines: 3
)",
     7, 11, "unknown key 'lines' in prefix list 'P' (expected entries or version)"},
    {"bad_entry_then_a_bad_version", R"(steps:
  - config:
      route-maps:
        RM:
          entries:%
            - {seq: 1, action: allow}
          version: x
)",
     7, 20, "version: expected a number from 0 to 4294967295, got 'x'"},
    {"bad_entry_then_an_unknown_key_of_its_step", R"(steps:
  - config:
      access-lists:
        A:%
          - {seq: 1, action: permit, source: 10.0.0.0/33}
    input: []
)",
     6, 5, "unknown key 'input' in step 1 (expected name, config, inputs or routes)"},
    {"route_map_written_first_read_after_prefix_lists", R"(steps:
  - config:
      route-maps:
        RM:%
          - {seq: 1, action: allow}
      prefix-lists:
        P:%
          - {seq: 1, action: deny, prefix: 10.0.0.0/33}
)",
     8, 44, "prefix: prefix length 33 out of range"},
    {"first_bad_entry_of_two", R"(steps:
  - config:
      ipv6-prefix-lists:
        V:%
          - {seq: 1, action: deny, prefix: "::/129"}
          - {seq: 2, action: allow, prefix: "::/0"}
)",
     5, 44, "prefix: prefix length 129 out of range"},
    {"repeated_sequence_number_out_of_order", R"(steps:
  - config:
      community-lists:
        C:%
          - {seq: 20, action: permit, type: standard-regex, regex: "1"}
          - {seq: 10, action: permit, type: standard-regex, regex: "2"}
          - {seq: 20, action: deny, type: standard-regex, regex: "3"}
)",
     7, 19, "duplicate sequence number 20 in community list 'C' (first at line 5)"},
    {"list_named_twice_the_second_bad", R"(steps:
  - config:
      as-path-lists:
        AS:%
          - {seq: 1, action: permit, regex: x}
        AS:%
          - {seq: 1, action: allow, regex: x}
)",
     6, 9, "duplicate name 'AS' in as-path-lists (first at line 4)"},
    {"merge_key_in_an_entry", R"(steps:
  - config:
      peer-filters:
        PF:%
          - &b {seq: 1, action: permit}
          - {<<: *b, seq: 2}
)",
     6, 14, "unknown key '<<' in entry of peer filter 'PF'"},
};

class ScenarioTwoReadings : public ::testing::TestWithParam<TwoReadings> {};

// Reading a list's entries as they close gives what reading them from a whole list gives.
TEST_P(ScenarioTwoReadings, SameScenarioOrSameError) {
  const TwoReadings& c = GetParam();
  if (!c.message) {
    expectSameScenario(parseScenario(withAnchors(c.yaml, false)),
                       parseScenario(withAnchors(c.yaml, true)));
    return;
  }
  for (const bool anchored : {false, true}) {
    try {
      parseScenario(withAnchors(c.yaml, anchored));
      ADD_FAILURE() << "accepted, anchored " << anchored;
    } catch (const InputError& e) {
      EXPECT_EQ(e.line(), c.line) << e.what();
      EXPECT_EQ(e.column(), c.column) << e.what();
      EXPECT_EQ(std::string(e.what()).rfind(c.message, 0), 0u) << e.what();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Table, ScenarioTwoReadings, ::testing::ValuesIn(kTwoReadings),
                         [](const ::testing::TestParamInfo<TwoReadings>& info) {
                           return std::string(info.param.name);
                         });

// An entry anchored in one list and repeated in a later step's list, and a scalar anchored in
// one entry and used by entries after it, in lists read as their entries close.
TEST(ScenarioReaderTest, AliasesOfEarlierEntriesReadAsThoseEntries) {
  const Scenario s = parseScenario(withAnchors(kTwoReadings[1].yaml, false));
  ASSERT_EQ(s.steps.size(), 2u);
  const auto& first = s.steps[0].config.prefixLists.at("P").entries;
  const auto& second = s.steps[1].config.prefixLists.at("P").entries;
  ASSERT_EQ(first.size(), 2u);
  EXPECT_EQ(first.at(20).permit, Acl::deny);
  EXPECT_EQ(s.steps[0].config.accessLists.at("A").entries.at(1).action, Acl::deny);
  ASSERT_EQ(second.size(), 2u);
  EXPECT_EQ(second.at(10), first.at(10));
  EXPECT_EQ(second.at(30).prefix, Vela::Prefix(*Vela::IpAddr::parse("12.0.0.0"), 8));
}

// Texts whose last line has no line break and holds an error, after line breaks of every kind,
// some of them split where the YAML parser's first piece of the text ends (16 KiB). The
// error stands at its own place only if the reader counted every line break as the parser
// does; read from a string and from a stream, it must be found there both ways.
struct LastLine {
  const char* name;
  std::string yaml;
  int line;
  int column;
  const char* message;
  int rereads = 0;  // of the whole text, when read from a stream
};

const std::string kPiece = "#" + std::string(16381, 'x');
constexpr const char* kUnknownKey = "unknown key 'x' in step 1";
constexpr const char* kUnclosed = "invalid YAML: did not find expected ',' or '}'";
const std::string kStepWithUnknownKey = "  - {config: {}, x: 1}";
const LastLine kLastLines[] = {
    {"cr", "steps:\r" + kStepWithUnknownKey, 2, 18, kUnknownKey},
    {"nel", "steps:\xc2\x85" + kStepWithUnknownKey, 2, 18, kUnknownKey},
    {"ls", "steps:\xe2\x80\xa8" + kStepWithUnknownKey, 2, 18, kUnknownKey},
    {"ps_after_cr", "steps:\r\xe2\x80\xa9" + kStepWithUnknownKey, 3, 18, kUnknownKey},
    {"crlf_split", kPiece + "\r\nsteps:\n" + kStepWithUnknownKey, 3, 18, kUnknownKey},
    {"cr_split", kPiece + "x\rsteps:\n" + kStepWithUnknownKey, 3, 18, kUnknownKey},
    {"ls_split", kPiece + "\xe2\x80\xa8steps:\n" + kStepWithUnknownKey, 3, 18, kUnknownKey},
    {"nel_split", kPiece + "x\xc2\x85steps:\n" + kStepWithUnknownKey, 3, 18, kUnknownKey},
    {"unclosed_at_the_end", "steps:\r  - config: {a: 1", 1, 25, kUnclosed},
    {"unclosed_before_a_last_cr", "steps:\n  - config: {a: 1\r", 3, 1, kUnclosed},
    {"nul_past_the_first_piece", kPiece + "\nsteps:\n  - name: a\x00\n"s, 3, 12,
     "invalid YAML: control characters are not allowed: \\x00", 1},
};

class ScenarioLastLine : public ::testing::TestWithParam<LastLine> {};

// The error is placed at the same line and column from a string and from a stream.
TEST_P(ScenarioLastLine, PlacedAtItsOwnLine) {
  const LastLine& c = GetParam();
  int rereads = 0;
  const std::function<std::string()> reread = [&] {
    ++rereads;
    return c.yaml;
  };
  for (const bool stream : {false, true}) {
    std::istringstream in(c.yaml);
    try {
      if (stream) {
        parseScenario(in, reread);
      } else {
        parseScenario(c.yaml);
      }
      ADD_FAILURE() << "accepted, stream " << stream;
    } catch (const InputError& e) {
      EXPECT_EQ(e.line(), c.line) << "stream " << stream << ": " << e.what();
      EXPECT_EQ(e.column(), c.column) << "stream " << stream << ": " << e.what();
      EXPECT_EQ(std::string(e.what()).rfind(c.message, 0), 0u) << e.what();
    }
  }
  // Only a byte that the parser refuses, named by its offset, is placed by the whole text,
  // read again.
  EXPECT_EQ(rereads, c.rereads);
}

INSTANTIATE_TEST_SUITE_P(Table, ScenarioLastLine, ::testing::ValuesIn(kLastLines),
                         [](const ::testing::TestParamInfo<LastLine>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
