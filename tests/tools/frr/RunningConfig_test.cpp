// Reading FRR's running configuration back: what bgpd 8.4.4 printed, and every golden
// scenario's translation read back from its own text.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/Harness.h"
#include "tools/ribpolicy/format/ScenarioParser.h"
#include "tools/ribpolicy/frr/Names.h"
#include "tools/ribpolicy/frr/RunningConfig.h"
#include "tools/ribpolicy/frr/Translate.h"

namespace {

namespace fs = std::filesystem;

// The policy sections of what bgpd printed are read and the rest is left out; a numbered
// community list is of values or of expressions by its number; IPv6 addresses are written as
// the translation writes them (FRR prints an IPv4-compatible one with a dotted tail).
TEST(FrrRunningConfigTest, PolicySectionsOfWhatBgpdPrinted) {
  const frr::Config c = frr::parseRunningConfig(
      "Building configuration...\n"
      "Current configuration:\n"
      "!\n"
      "frr version 8.4.4\n"
      "frr defaults traditional\n"
      "hostname vm\n"
      "bgp no-rib\n"
      "!\n"
      "router bgp 64496\n"
      " neighbor 192.0.2.2 remote-as 64497\n"
      " !\n"
      " address-family ipv4 unicast\n"
      "  neighbor 192.0.2.2 route-map RM in\n"
      " exit-address-family\n"
      "exit\n"
      "!\n"
      "access-list A seq 10 permit 192.0.2.0 0.0.0.255\n"
      "!\n"
      "ip prefix-list P seq 5 permit 10.1.0.0/16 ge 24\n"
      "!\n"
      "ipv6 prefix-list P6 seq 10 deny 2001:DB8:0:0::/32 le 64\n"
      "!\n"
      "bgp as-path access-list S seq 10 deny ^64500_\n"
      "!\n"
      "bgp community-list 50 seq 10 permit 1:1 no-export\n"
      "bgp community-list 150 seq 10 permit ^1:\n"
      "bgp extcommunity-list standard E seq 10 permit rt 64496:100\n"
      "bgp large-community-list expanded L seq 5 permit ^1:2:\n"
      "!\n"
      "route-map RM permit 10\n"
      " set metric 5\n"
      " match ipv6 next-hop address ::ffff:102:304\n"
      " set ipv6 next-hop global ::1.2.3.4\n"
      " call SUB\n"
      "exit\n"
      "!\n"
      "end\n");
  EXPECT_EQ(frr::policyLines(c),
            (std::vector<std::string>{
                "access-list A seq 10 permit 192.0.2.0 0.0.0.255",
                "ip prefix-list P seq 5 permit 10.1.0.0/16 ge 24",
                "ipv6 prefix-list P6 seq 10 deny 2001:db8::/32 le 64",
                "bgp as-path access-list S seq 10 deny ^64500_",
                "bgp community-list expanded 150 seq 10 permit ^1:",
                "bgp community-list standard 50 seq 10 permit 1:1 no-export",
                "bgp extcommunity-list standard E seq 10 permit rt 64496:100",
                "bgp large-community-list expanded L seq 5 permit ^1:2:",
                "route-map RM permit 10",
                "route-map RM permit 10: call SUB",
                "route-map RM permit 10: match ipv6 next-hop address ::ffff:102:304",
                "route-map RM permit 10: set ipv6 next-hop global ::102:304",
                "route-map RM permit 10: set metric 5",
            }));
}

// Every step of every golden scenario: the translation's text reads back as the translation.
TEST(FrrRunningConfigTest, EveryTranslationReadsBack) {
  const fs::path scenarios = fs::path(RIBPOLICY_SOURCE_DIR) / "tests" / "scenarios";
  std::size_t steps = 0;
  for (const auto& f : fs::recursive_directory_iterator(scenarios)) {
    if (f.path().extension() != ".yaml") continue;
    if (fs::exists(fs::path(f.path()).replace_extension(".error"))) continue;  // refused
    const ribpolicy::Scenario s =
        ribpolicy::parseScenario(test_support::readFile(f.path().string()));
    if (frr::refusal(s)) continue;  // names FRR cannot hold as words never reach it
    ribpolicy::LibraryRootGuard keepRoot;
    Rib::EngineModel model;
    ribpolicy::Agent agent(s.vrf);
    {
      Rib::ScopedSink sink(&model);
      for (std::size_t i = 0; i < s.steps.size(); ++i) {
        const ribpolicy::Step& step = s.steps[i];
        agent.applyStep(step.config, step.inputs);
        ++steps;
        const frr::Config t = frr::translate(model.committed()).config;
        EXPECT_EQ(frr::policyLines(frr::parseRunningConfig(frr::configText(t))),
                  frr::policyLines(t))
            << f.path() << " step " << i + 1;
      }
    }
    Rib::ScopedSink quiet(nullptr);
    agent.teardown();
  }
  EXPECT_GT(steps, 100u);
}

}  // namespace
