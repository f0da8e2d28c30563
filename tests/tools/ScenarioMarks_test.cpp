// Where a parsed step says the reader found each definition and reference: the places that
// the reference checks report, so a wrong line or a missing path points a user at the wrong
// line of the file.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tools/ribpolicy/format/ScenarioParser.h"

namespace ribpolicy {
void PrintTo(const Mark& m, std::ostream* os) {
  *os << m.line << ':' << m.column;
}
}  // namespace ribpolicy

namespace {

using ribpolicy::Mark;
using ribpolicy::parseScenario;
using ribpolicy::Scenario;
using ribpolicy::StepMarks;

constexpr const char* kScenario = R"(steps:
  - name: first
    config:
      prefix-lists:
        P1:
          - {seq: 10, action: permit, prefix: 10.0.0.0/8}
      route-maps:
        RM:
          - seq: 10
            action: permit
            match:
              - {option: prefix-list, value: P1}
              - {option: community, lists: [C1, C2]}
              - {option: contributing-aggregate, value: AGG}
            sub-route-map: SUB
            set:
              community: {lists: [C3]}
      dynamic-prefix-lists:
        D: {match-map: RM, ipv4-prefix-list: P1}
      policy-map:
        route-maps: [RM]
        dynamic-prefix-lists: [D]
  - config:
      route-maps: {}
)";

struct Expected {
  const char* path;
  Mark mark;
};

// Every kind of path, each at the exact line and column of the name or value it records.
TEST(ScenarioMarks, RecordsEveryDefinitionAndReferenceAtItsText) {
  const Scenario sc = parseScenario(kScenario);
  ASSERT_EQ(sc.steps.size(), 2u);
  const Expected table[] = {
      {"prefix-lists/P1", {5, 9}},
      {"route-maps/RM", {8, 9}},
      {"route-maps/RM/10", {9, 13}},
      {"route-maps/RM/10/match/prefix-list", {12, 46}},
      {"route-maps/RM/10/match/community/C1", {13, 45}},
      {"route-maps/RM/10/match/community/C2", {13, 49}},
      {"route-maps/RM/10/match/contributing-aggregate", {14, 57}},
      {"route-maps/RM/10/sub-route-map", {15, 28}},
      {"route-maps/RM/10/set/community/C3", {17, 35}},
      {"dynamic-prefix-lists/D", {19, 9}},
      {"dynamic-prefix-lists/D/match-map", {19, 24}},
      {"dynamic-prefix-lists/D/ipv4-prefix-list", {19, 46}},
      {"policy-map/route-maps/RM", {21, 22}},
      {"policy-map/dynamic-prefix-lists/D", {22, 32}},
  };
  for (const Expected& e : table) {
    const Mark* at = sc.steps[0].marks.at(e.path);
    ASSERT_NE(at, nullptr) << e.path;
    EXPECT_EQ(*at, e.mark) << e.path;
  }
}

// A path nothing recorded falls back to its nearest recorded parent, and then to the step.
TEST(ScenarioMarks, FindFallsBackToParentThenStep) {
  const Scenario sc = parseScenario(kScenario);
  EXPECT_EQ(sc.steps[0].marks.find("route-maps/RM/10/match/as-path-list"), (Mark{14, 17}));
  EXPECT_EQ(sc.steps[0].marks.find("access-lists/A"), (Mark{2, 5}));
  EXPECT_EQ(sc.steps[1].marks.find("route-maps/RM"), (Mark{24, 19}));
  EXPECT_EQ(sc.steps[1].marks.find("policy-map/route-maps/RM"), (Mark{23, 5}));
  EXPECT_EQ(sc.steps[1].marks.at("route-maps/RM"), nullptr);
}

// A path recorded more than once keeps its last record, also when a list's marks, recorded
// apart, are taken into the step's, the smaller set into the larger or the other way round.
TEST(ScenarioMarks, LastRecordOfAPathStandsAfterTakingAnotherSet) {
  for (const int others : {1, 5}) {
    StepMarks step;
    step.record("route-maps/RM", {1, 1});
    step.record("route-maps/RM/10", {2, 1});
    step.record("prefix-lists/P", {3, 1});
    StepMarks list;
    list.record("route-maps/RM/10", {10, 2});
    for (int i = 0; i < others; ++i) list.record("route-maps/RM/2" + std::to_string(i), {20, i});
    list.record("route-maps/RM/10", {11, 2});
    step.take(list);
    step.record("route-maps/RM", {30, 3});
    step.seal();
    EXPECT_EQ(list.size(), 0u);
    ASSERT_EQ(step.size(), 3u + static_cast<std::size_t>(others)) << others;
    EXPECT_EQ(*step.at("route-maps/RM"), (Mark{30, 3})) << others;
    EXPECT_EQ(*step.at("route-maps/RM/10"), (Mark{11, 2})) << others;
    EXPECT_EQ(*step.at("route-maps/RM/20"), (Mark{20, 0})) << others;
    EXPECT_EQ(*step.at("prefix-lists/P"), (Mark{3, 1})) << others;
    EXPECT_EQ(step.at("route-maps/R"), nullptr);
  }
}

}  // namespace
