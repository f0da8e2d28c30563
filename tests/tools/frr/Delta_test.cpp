// The delta between two FRR configurations (written as FRR prints them), a row each: what goes
// before what comes, calls removed first and added last, nothing for what stays.
#include <gtest/gtest.h>

#include <string>

#include "tools/ribpolicy/frr/Delta.h"
#include "tools/ribpolicy/frr/RunningConfig.h"

namespace {

struct Case {
  const char* what;
  const char* from;
  const char* to;
  const char* lines;  // the delta, one line each
};

const Case kCases[] = {
    {"nothing for what stays", "ip prefix-list P seq 10 permit 10.0.0.0/8\n",
     "ip prefix-list P seq 10 permit 10.0.0.0/8\n", ""},
    {"a changed entry takes its new value in place", "ip prefix-list P seq 10 permit 10.0.0.0/8\n",
     "ip prefix-list P seq 10 deny 10.0.0.0/8 le 24\n",
     "ip prefix-list P seq 10 deny 10.0.0.0/8 le 24\n"},
    {"a value moving to another sequence number leaves its old place before any entry is added",
     "ip prefix-list P seq 10 permit 10.0.0.0/8\n"
     "ip prefix-list P seq 20 permit 11.0.0.0/8\n",
     "ip prefix-list P seq 10 permit 11.0.0.0/8\n"
     "ip prefix-list P seq 30 permit 10.0.0.0/8\n",
     "no ip prefix-list P seq 10 permit 10.0.0.0/8\n"
     "no ip prefix-list P seq 20 permit 11.0.0.0/8\n"
     "ip prefix-list P seq 10 permit 11.0.0.0/8\n"
     "ip prefix-list P seq 30 permit 10.0.0.0/8\n"},
    {"an entry whose old value another entry takes goes before that entry comes",
     "bgp community-list standard C seq 40 permit 1:1\n",
     "bgp community-list standard C seq 20 permit 1:1\n"
     "bgp community-list standard C seq 40 permit 2:2\n",
     "no bgp community-list standard C seq 40 permit 1:1\n"
     "bgp community-list standard C seq 20 permit 1:1\n"
     "bgp community-list standard C seq 40 permit 2:2\n"},
    {"an AS-path entry whose expression another entry holds cannot go alone",
     "bgp as-path access-list S seq 15 deny ^65000_\n"
     "bgp as-path access-list S seq 40 permit ^65000_\n",
     "bgp as-path access-list S seq 15 deny ^65000_\n",
     "no bgp as-path access-list S\n"
     "bgp as-path access-list S seq 15 deny ^65000_\n"},
    {"an AS-path expression moving to another sequence number cannot come alone",
     "bgp as-path access-list S seq 40 permit _6451[0-9]_\n",
     "bgp as-path access-list S seq 20 permit _6451[0-9]_\n"
     "bgp as-path access-list S seq 40 permit ^65000_\n",
     "no bgp as-path access-list S\n"
     "bgp as-path access-list S seq 20 permit _6451[0-9]_\n"
     "bgp as-path access-list S seq 40 permit ^65000_\n"},
    {"a list of values becoming one of expressions goes whole and comes again",
     "bgp community-list standard C seq 10 permit 1:1\n",
     "bgp community-list expanded C seq 10 permit ^1:\n",
     "no bgp community-list standard C\n"
     "bgp community-list expanded C seq 10 permit ^1:\n"},
    {"objects that go are removed whole",
     "access-list A seq 10 permit 10.0.0.0 0.255.255.255\n"
     "bgp as-path access-list S seq 10 permit ^1$\n"
     "route-map R permit 10\n set metric 1\nexit\n",
     "", "no access-list A\nno bgp as-path access-list S\nno route-map R\n"},
    {"an entry's call goes before the entry, and before anything else",
     "ip prefix-list P seq 10 permit 10.0.0.0/8\n"
     "route-map RE permit 5\n call RA\n match ip address prefix-list P\nexit\n"
     "route-map RE permit 10\nexit\n",
     "route-map RE permit 10\nexit\n",
     "route-map RE permit 5\n no call\nexit\n"
     "no ip prefix-list P\n"
     "no route-map RE permit 5\n"},
    {"calls that change direction: the old one goes first, the new one comes last",
     "route-map A permit 10\n call B\nexit\nroute-map B permit 10\nexit\n",
     "route-map A permit 10\nexit\nroute-map B permit 10\n call A\n set metric 3\nexit\n",
     "route-map A permit 10\n no call\nexit\n"
     "route-map B permit 10\n set metric 3\nexit\n"
     "route-map B permit 10\n call A\nexit\n"},
    {"an entry's old lines go before its new ones; a prepend goes without its AS numbers; the "
     "action changes in place",
     "route-map R permit 10\n set as-path prepend 1 2\n set metric 5\n set origin igp\nexit\n",
     "route-map R deny 10\n set metric 6\n set origin igp\nexit\n",
     "route-map R deny 10\n no set as-path prepend\n no set metric 5\n set metric 6\nexit\n"},
};

TEST(FrrDeltaTest, Order) {
  for (const Case& c : kCases) {
    std::string lines;
    for (const std::string& l :
         frr::delta(frr::parseRunningConfig(c.from), frr::parseRunningConfig(c.to))) {
      lines += l + '\n';
    }
    EXPECT_EQ(lines, c.lines) << c.what;
  }
}

}  // namespace
