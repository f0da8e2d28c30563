// No scenario can make a line of its own in FRR: every name FRR would hold as one word and
// every expression it would hold as the rest of a line is tried, on every kind of object and
// reference, with what would split, end or comment out the line. `frr` refuses each at its
// place; `check` and `run` without FRR take the scenario as before.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/Harness.h"
#include "tools/ribpolicy/frr/Names.h"

namespace {

using frr::kLongestName;
using test_support::runTool;
using test_support::scenarioFile;

struct Place {
  const char* what;
  const char* config;  // YAML, indented by six blanks; NAME stands for the name
  int line;            // the line of the scenario that holds the name
  bool expression;     // an AS-path or community expression rather than a name
};

const Place kPlaces[] = {
    {"prefix list",
     "      prefix-lists:\n        NAME: [{seq: 10, action: permit, prefix: 1.0.0.0/8}]\n", 4,
     false},
    {"IPv6 prefix list",
     "      ipv6-prefix-lists:\n        NAME: [{seq: 10, action: permit, prefix: \"::/0\"}]\n", 4,
     false},
    {"AS-path list",
     "      as-path-lists:\n        NAME: [{seq: 10, action: permit, regex: \"^1$\"}]\n", 4, false},
    {"community list",
     "      community-lists:\n        NAME: [{seq: 10, action: permit, type: standard, "
     "communities: [\"1:1\"]}]\n",
     4, false},
    {"access list",
     "      access-lists:\n        NAME: [{seq: 10, action: permit, source: 1.0.0.0/8}]\n", 4,
     false},
    {"route map", "      route-maps:\n        NAME: [{seq: 10, action: permit}]\n", 4, false},
    {"peer filter", "      peer-filters:\n        NAME: [{seq: 10, action: permit}]\n", 4, false},
    {"dynamic prefix list", "      dynamic-prefix-lists:\n        NAME: {}\n", 4, false},
    {"matched prefix list",
     "      route-maps:\n        RM:\n          - {seq: 10, action: permit,\n"
     "             match: [{option: prefix-list, value: NAME}]}\n",
     6, false},
    {"matched community list",
     "      route-maps:\n        RM:\n          - {seq: 10, action: permit,\n"
     "             match: [{option: community, lists: [NAME]}]}\n",
     6, false},
    {"sub-route-map",
     "      route-maps:\n        RM:\n          - {seq: 10, action: permit,\n"
     "             sub-route-map: NAME}\n",
     6, false},
    {"community list of a delete clause",
     "      route-maps:\n        RM:\n          - {seq: 10, action: permit,\n"
     "             set: {community-delete: {lists: [NAME]}}}\n",
     6, false},
    {"AS-path expression",
     "      as-path-lists:\n        A:\n          - {seq: 10, action: permit, regex: NAME}\n", 4,
     true},
    {"community expression",
     "      community-lists:\n        C:\n"
     "          - {seq: 10, action: permit, type: standard-regex, regex: NAME}\n",
     4, true},
};

struct Bad {
  const char* yaml;  // a YAML double-quoted scalar
  const char* problem;
};

const Bad kBadNames[] = {
    {R"("a b")", "holds a blank"},
    {R"("a\tb")", "holds the control character \\x09"},
    {R"("a\nroute-map X permit 1")", "holds a blank"},
    {R"("a\x01")", "holds the control character \\x01"},
    {R"("!a")", "begins with '!', which makes a configuration line a comment"},
    {R"("#a")", "begins with '#', which makes a configuration line a comment"},
};

const Bad kBadExpressions[] = {
    {R"("^1\n$")", "holds the control character \\x0a"},
    {R"("^1  2$")", "holds two blanks in a row, which FRR joins into one"},
    {R"(" ^1$")", "begins or ends with a blank, which FRR drops"},
    {R"("!1")", "begins with '!', which makes a configuration line a comment"},
};

std::string scenarioWith(const Place& p, const std::string& name) {
  std::string config = p.config;
  config.replace(config.find("NAME"), 4, name);
  return "steps:\n  - config:\n" + config;
}

// What FRR cannot hold is refused by `frr`, at the line that holds it; without FRR nothing
// changes.
TEST(FrrNamesTest, RefusedAtTheirPlace) {
  const std::string longName = '"' + std::string(kLongestName + 1, 'n') + '"';
  for (const Place& p : kPlaces) {
    std::vector<Bad> bad(p.expression ? std::begin(kBadExpressions) : std::begin(kBadNames),
                         p.expression ? std::end(kBadExpressions) : std::end(kBadNames));
    if (!p.expression) bad.push_back({longName.c_str(), "is longer than FRR's 128 bytes"});
    for (const Bad& b : bad) {
      const std::string file = scenarioFile("names-refused.yaml", scenarioWith(p, b.yaml));
      const auto r = runTool({"frr", file});
      EXPECT_EQ(r.status, 2) << p.what << ' ' << b.yaml;
      EXPECT_NE(r.err.find(file + ':' + std::to_string(p.line) + ':'), std::string::npos)
          << p.what << ' ' << b.yaml << ": " << r.err;
      EXPECT_NE(r.err.find(std::string(b.problem) + "; FRR cannot hold it"), std::string::npos)
          << p.what << ' ' << b.yaml << ": " << r.err;
      EXPECT_EQ(r.out, "");
      EXPECT_EQ(runTool({"check", file}).status, 0) << p.what << ' ' << b.yaml;
      EXPECT_EQ(runTool({"run", file}).status, 0) << p.what << ' ' << b.yaml;
    }
  }
}

// Words that FRR holds as they stand pass: marks inside a word, UTF-8, the longest name.
TEST(FrrNamesTest, WordsFrrHoldsPass) {
  const std::string longest = '"' + std::string(kLongestName, 'n') + '"';
  for (const Place& p : kPlaces) {
    for (const std::string& good :
         {std::string(R"("a!b?c#")"), std::string(R"("caf\u00e9")"), longest}) {
      const std::string name = p.expression ? std::string(R"("^1 2$")") : good;
      const auto r = runTool({"frr", scenarioFile("names-held.yaml", scenarioWith(p, name))});
      EXPECT_EQ(r.err.find(": error: "), std::string::npos) << p.what << ' ' << name << r.err;
      EXPECT_EQ(r.status, 0) << p.what << ' ' << name;
    }
  }
}

// Bytes that are not UTF-8 cannot come from a YAML file, but never reach FRR either.
TEST(FrrNamesTest, BytesThatAreNotUtf8) {
  EXPECT_EQ(frr::nameProblem("caf\xe9"), "is not UTF-8");
  EXPECT_EQ(frr::nameProblem("\xc0\xaf"), "is not UTF-8");              // an overlong '/'
  EXPECT_EQ(frr::expressionProblem("^\xed\xa0\x80$"), "is not UTF-8");  // a surrogate
  EXPECT_EQ(frr::nameProblem("caf\xc3\xa9"), std::nullopt);
}

}  // namespace
