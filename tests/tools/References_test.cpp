// The reference analysis where a scenario cannot show it well: which objects count as used,
// which chains are cycles, and chains far longer than any scenario would hold.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/Harness.h"
#include "tools/ribpolicy/format/References.h"

namespace {

using ribpolicy::analyzeReferences;
using ribpolicy::ReferenceAnalysis;
using ribpolicy::ScenarioConfig;
using test_support::configOf;

// "route-maps/A route-maps/B": the unused objects by section and name.
std::string unusedOf(const ReferenceAnalysis& a) {
  std::string out;
  for (const auto& o : a.unused) {
    if (!out.empty()) out += ' ';
    out += ribpolicy::sectionOf(o.kind).key;
    out += '/' + o.name;
  }
  return out;
}

// "A>B>A; S>S": each cycle's chain by the names it passes through.
std::string cyclesOf(const ReferenceAnalysis& a) {
  std::string out;
  for (const auto& c : a.cycles) {
    if (!out.empty()) out += "; ";
    for (std::size_t i : c.chain) out += a.references[i].from.name + '>';
    out += a.references[c.chain.front()].from.name;
  }
  return out;
}

struct Case {
  const char* what;
  const char* config;  // YAML, indented by six blanks
  const char* unused;
  const char* cycles;
};

const Case kCases[] = {
    {"a map used only as sub-route-map of an unused map is used; the unused one is not",
     "      route-maps:\n"
     "        TOP: [{seq: 10, action: permit, sub-route-map: SUB}]\n"
     "        SUB: [{seq: 10, action: permit}]\n",
     "route-maps/TOP", ""},
    {"naming itself does not make a map used, but makes it a cycle",
     "      route-maps:\n"
     "        S: [{seq: 10, action: permit, sub-route-map: S}]\n",
     "route-maps/S", "S>S"},
    {"a match map and a matched dynamic prefix list are used; a list the match names too",
     "      prefix-lists:\n"
     "        P: [{seq: 10, action: permit, prefix: 10.0.0.0/8}]\n"
     "      dynamic-prefix-lists:\n"
     "        D: {match-map: M, ipv4-prefix-list: P}\n"
     "      route-maps:\n"
     "        M: [{seq: 10, action: permit}]\n"
     "        USER: [{seq: 10, action: permit, match: [{option: dynamic-prefix-list, value: D}]}]\n"
     "      policy-map: {route-maps: [USER]}\n",
     "", ""},
    {"a route map through a dynamic prefix list back to itself is a cycle",
     "      dynamic-prefix-lists:\n"
     "        D: {match-map: M}\n"
     "      route-maps:\n"
     "        M: [{seq: 10, action: permit, match: [{option: ipv6-dynamic-prefix-list, value: "
     "D}]}]\n"
     "      policy-map: {route-maps: [M]}\n",
     "", "M>D>M"},
    {"two rings are two cycles, and a map that leads into a ring is not on it",
     "      route-maps:\n"
     "        IN: [{seq: 10, action: permit, sub-route-map: A}]\n"
     "        A: [{seq: 10, action: permit, sub-route-map: B}]\n"
     "        B: [{seq: 10, action: permit, sub-route-map: A}]\n"
     "        X: [{seq: 10, action: permit, sub-route-map: Y}]\n"
     "        Y: [{seq: 10, action: permit, sub-route-map: Z}]\n"
     "        Z: [{seq: 10, action: permit, sub-route-map: X}]\n"
     "      policy-map: {route-maps: [IN, X]}\n",
     "", "A>B>A; X>Y>Z>X"},
    {"a contributing-aggregate map holds nothing in the policy map, so it closes no cycle",
     "      route-maps:\n"
     "        A: [{seq: 10, action: permit, sub-route-map: B}]\n"
     "        B: [{seq: 10, action: permit, match: [{option: contributing-aggregate, value: "
     "A}]}]\n",
     "", ""},
    {"a peer filter's sub-route-map and community lists are used",
     "      community-lists:\n"
     "        C: [{seq: 10, action: permit, type: standard, communities: [\"65000:1\"]}]\n"
     "      route-maps:\n"
     "        SUB: [{seq: 10, action: permit}]\n"
     "      peer-filters:\n"
     "        PF: [{seq: 10, action: permit, sub-route-map: SUB, set: {community: {lists: "
     "[C]}}}]\n",
     "", ""},
    {"a missing sub-route-map is no cycle and leaves the referring map used from the policy map",
     "      route-maps:\n"
     "        A: [{seq: 10, action: permit, sub-route-map: GONE}]\n"
     "      policy-map: {route-maps: [A]}\n",
     "", ""},
};

// Each case's unused objects and cycles are exactly the expected ones.
TEST(ReferenceAnalysis, FindsUnusedObjectsAndCycles) {
  for (const Case& c : kCases) {
    const ReferenceAnalysis a = analyzeReferences(configOf(c.config));
    EXPECT_EQ(unusedOf(a), c.unused) << c.what;
    EXPECT_EQ(cyclesOf(a), c.cycles) << c.what;
  }
}

// A ring of maps, each the next one's sub-route-map: long enough that following it by
// recursion would exhaust the stack.
ScenarioConfig ringOfMaps(std::size_t n, bool closed) {
  ScenarioConfig c;
  char name[24];
  for (std::size_t i = 0; i < n; ++i) {
    std::snprintf(name, sizeof name, "R%06zu", i);
    ribpolicy::MapEntryDef entry;
    if (closed || i + 1 < n) {
      char next[24];
      std::snprintf(next, sizeof next, "R%06zu", (i + 1) % n);
      entry.subRouteMap = next;
    }
    c.routeMaps[name].entries.emplace(10, entry);
  }
  return c;
}

// The closed ring is one cycle through every map, each reference on it; the open chain is none.
TEST(ReferenceAnalysis, FollowsLongChains) {
  constexpr std::size_t kMaps = 200000;
  const ReferenceAnalysis ring = analyzeReferences(ringOfMaps(kMaps, true));
  ASSERT_EQ(ring.cycles.size(), 1u);
  EXPECT_EQ(ring.cycles[0].members.size(), kMaps);
  ASSERT_EQ(ring.cycles[0].chain.size(), kMaps);
  EXPECT_EQ(ring.references[ring.cycles[0].chain.back()].from.name, "R199999");
  for (const auto& r : ring.references) EXPECT_TRUE(r.onCycle) << r.from.name;

  const ReferenceAnalysis chain = analyzeReferences(ringOfMaps(kMaps, false));
  EXPECT_TRUE(chain.cycles.empty());
  ASSERT_EQ(chain.unused.size(), 1u);
  EXPECT_EQ(chain.unused[0].name, "R000000");
  for (const auto& r : chain.references) ASSERT_FALSE(r.onCycle) << r.from.name;
}

}  // namespace
