// The order in which the policy-reference map hears of references, which the engine does not
// see: references travel one notification at a time, so a map's own references come before
// those of the maps it brought in, and a new reference is entered before the one it replaces is
// withdrawn.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/Harness.h"

namespace {

using Log = std::vector<std::string>;

// Records the policy map's notifications, "+" for a name entering and "-" for one leaving.
struct PolicyWatcher : RoutingPolicyMap::PolicyMap::Notifiee {
  Log seen;
  void onRouteMap(const std::string& n) override {
    seen.push_back((notifier()->routeMap(n) ? "+rm " : "-rm ") + n);
  }
  void onDynamicPrefixList(const std::string& n) override {
    seen.push_back((notifier()->dynamicPrefixList(n) ? "+dpl " : "-dpl ") + n);
  }
};

// TOP -> MID -> LEAF, MID matching on D4 and LEAF on D6, D4 matching with the map MM.
const char* kNested =
    "      dynamic-prefix-lists: {D4: {match-map: MM}}\n"
    "      route-maps:\n"
    "        TOP: [{seq: 10, action: permit, sub-route-map: MID}]\n"
    "        MID: [{seq: 10, action: permit, sub-route-map: LEAF,\n"
    "               match: [{option: dynamic-prefix-list, value: D4}]}]\n"
    "        LEAF: [{seq: 10, action: permit, match: [{option: ipv6-dynamic-prefix-list, "
    "value: D6}]}]\n";

class PolicyReferenceTest : public ::testing::Test {
 protected:
  // Applies the configuration `yaml` followed by `policyMap` and returns what the policy map
  // heard.
  Log step(const std::string& yaml) {
    watcher.seen.clear();
    library.agent.applyStep(test_support::configOf(yaml), ribpolicy::InputSet::all());
    return watcher.seen;
  }
  test_support::LibraryAgent library{kNested};
  PolicyWatcher watcher;
  void SetUp() override { watcher.notifierIs(library.agent.policyMap()); }
};

// Referencing TOP enters MID, then what MID refers to (D4 with its match map, LEAF), then what
// LEAF refers to, one level after the other; the withdrawal goes the same way.
TEST_F(PolicyReferenceTest, ReferencesTravelOneNotificationAtATime) {
  EXPECT_EQ(step(std::string(kNested) + "      policy-map: {route-maps: [TOP]}\n"),
            (Log{"+rm MID", "+rm MM", "+dpl D4", "+rm LEAF", "+dpl D6", "+rm TOP"}));
  EXPECT_EQ(step(kNested), (Log{"-rm MID", "-rm MM", "-dpl D4", "-rm LEAF", "-dpl D6", "-rm TOP"}));
}

// TOP's sub-route-map changed from MID to LEAF: LEAF gains TOP's reason before MID, and with it
// MID's reason for LEAF, goes.
TEST_F(PolicyReferenceTest, NewSubRouteMapEnteredBeforeOldWithdrawn) {
  step(std::string(kNested) + "      policy-map: {route-maps: [TOP]}\n");
  std::string changed = std::string(kNested) + "      policy-map: {route-maps: [TOP]}\n";
  changed.replace(changed.find("sub-route-map: MID"), 18, "sub-route-map: LEAF");
  EXPECT_EQ(step(changed), (Log{"-rm MM", "-dpl D4", "-rm MID"}));
  const auto& reasons = library.agent.policyMap()->routeMap("LEAF")->reason();
  ASSERT_EQ(reasons.size(), 1u);
  EXPECT_EQ(reasons.begin()->configKey, "TOP seqNo 10");
}

// A dynamic prefix list's new match map is entered before the old one is dropped; the same
// match map is entered again on every version, restoring a reference lost meanwhile.
TEST_F(PolicyReferenceTest, MatchMapEnteredBeforeOldDropped) {
  const std::string held = "      policy-map: {dynamic-prefix-lists: [D]}\n";
  step("      dynamic-prefix-lists: {D: {match-map: A}}\n" + held);
  EXPECT_EQ(step("      dynamic-prefix-lists: {D: {match-map: B}}\n" + held),
            (Log{"+rm B", "-rm A"}));
  library.agent.policyMap()->routeMapDel("B");
  EXPECT_EQ(step("      dynamic-prefix-lists: {D: {match-map: B, version: 9}}\n" + held),
            (Log{"+rm B"}));
}

}  // namespace
