// The library's fatal preconditions: values without an engine meaning and null entities given to
// the state machines' collections stop the agent with a message that names the fault. No
// scenario reaches them: the program refuses such values before the library sees them.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "RibDynamicPrefixList/DynPfxConfigSm.h"
#include "RibRouteMap/acl/IpAclConfigSm.h"
#include "RibRouteMap/community/CommunityListSm.h"
#include "RibRouteMap/filterlist/AclListConfigSm.h"
#include "RibRouteMap/filterlist/AsPathListSm.h"
#include "RibRouteMap/filterlist/PrefixListSm.h"
#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/peerfilter/PeerFilterConfigSm.h"
#include "RibRouteMap/root/VrfStatusSm.h"
#include "RibRouteMap/routemap/RouteMapConfigSm.h"
#include "tests/support/Harness.h"

namespace {

using Vox::U32;

namespace RM = Routing::RouteMap;

struct NullCase {
  const char* name;
  std::function<void(RibRouteMap::VrfStatusSm&)> mutate;
  friend void PrintTo(const NullCase& c, std::ostream* os) { *os << c.name; }
};

std::string nullCaseName(const ::testing::TestParamInfo<NullCase>& info) {
  return info.param.name;
}

class NullMutatorDeathTest : public ::testing::TestWithParam<NullCase> {};

// A null entity given to a state machine's collection is refused, naming the parameter and the
// collection.
TEST_P(NullMutatorDeathTest, IsRefused) {
  test_support::LibraryAgent agent("      access-lists: {A: []}\n");
  const NullCase& c = GetParam();
  const std::string what = c.name;
  const std::string collection = what.substr(what.rfind('_') + 1);
  const std::string owner = what.substr(0, what.rfind('_'));
  const std::string ns = owner == "DynPfxConfigSm" ? "RibDynamicPrefixList::" : "RibRouteMap::";
  EXPECT_DEATH(c.mutate(agent.vrf()), "null _" + collection + " parameter to mutator for " + ns +
                                          owner + "::" + collection + " not allowed");
}

INSTANTIATE_TEST_SUITE_P(
    Collections, NullMutatorDeathTest,
    ::testing::Values(NullCase{"RouteMapConfigSm_routeMap",
                               [](auto& v) { v.routeMapConfigSm()->routeMap().is(nullptr); }},
                      NullCase{"PeerFilterConfigSm_peerFilter",
                               [](auto& v) { v.peerFilterConfigSm()->peerFilter().is(nullptr); }},
                      NullCase{"AclListConfigSm_pathList",
                               [](auto& v) { v.aclListConfigSm()->pathList().is(nullptr); }},
                      NullCase{"AclListConfigSm_prefixList",
                               [](auto& v) { v.aclListConfigSm()->prefixList().is(nullptr); }},
                      NullCase{"AclListConfigSm_ipv6PrefixList",
                               [](auto& v) { v.aclListConfigSm()->ipv6PrefixList().is(nullptr); }},
                      NullCase{"AclListConfigSm_communityList",
                               [](auto& v) { v.aclListConfigSm()->communityList().is(nullptr); }},
                      NullCase{"IpAclConfigSm_acl",
                               [](auto& v) { v.aclConfigSm()->ipConfigSm()->acl().is(nullptr); }},
                      NullCase{
                          "DynPfxConfigSm_dynamicPrefixList",
                          [](auto& v) { v.dynPfxConfigSm()->dynamicPrefixList().is(nullptr); }}),
    nullCaseName);

// --- Commands ---------------------------------------------------------------------------

// Map RM with one sequence whose set clause `bit` holds what `fill` writes.
Vox::Ptr<RM::Map> mapWithClause(RM::SetFlagBit bit,
                                const std::function<void(RM::SetClauses&)>& fill) {
  auto entry = Vox::make<RM::MapEntry>(10);
  RM::SetClauses clauses;
  fill(clauses);
  clauses.flags |= 1u << bit;
  entry->setClauseIs(bit, clauses);
  auto map = Vox::make<RM::Map>("RM");
  map->mapEntryIs(entry);
  return map;
}

Vox::Ptr<RM::CommunitySet const> communitySet(Acl::CommSetFlag flag) {
  auto s = Vox::make<RM::CommunitySet>();
  s->standard = {1};
  s->flag = flag;
  return s;
}

RM::MatchRule intRule(U32 option, U32 value) {
  RM::MatchRule r;
  r.option = option;
  r.intValue = value;
  return r;
}

struct FatalCase {
  const char* name;
  std::function<void(const RibRouteMap::Mio&)> command;
  const char* message;  // a regular expression for what the agent writes before it stops
  friend void PrintTo(const FatalCase& c, std::ostream* os) { *os << c.name; }
};

std::string fatalCaseName(const ::testing::TestParamInfo<FatalCase>& info) {
  return info.param.name;
}

class FatalValueDeathTest : public ::testing::TestWithParam<FatalCase> {};

// The command stops the agent with its message; error traces are on, as on a device.
TEST_P(FatalValueDeathTest, StopsTheAgent) {
  const FatalCase& c = GetParam();
  ribpolicy::LibraryRootGuard keepRoot;
  RibRouteMap::rmRoot = nullptr;  // the commands alone, outside a configured VRF
  auto mio = RibRouteMap::mioFactory("default");
  EXPECT_DEATH(
      {
        Vox::traceLevelIs("RouteMap", 0);
        c.command(*mio);
      },
      c.message);
}

const Acl::CommunityType kKind7 = static_cast<Acl::CommunityType>(7);

INSTANTIATE_TEST_SUITE_P(
    Commands, FatalValueDeathTest,
    ::testing::Values(
        FatalCase{"origin_5",
                  [](auto& m) {
                    m.doInsertRouteMap(mapWithClause(RM::setOrigin, [](auto& s) { s.origin = 5; }),
                                       "RM");
                  },
                  "doInsertRouteMap invalid origin 5\n.*Assertion failed"},
        FatalCase{"origin_0",
                  [](auto& m) {
                    m.doInsertRouteMap(mapWithClause(RM::setOrigin, [](auto& s) { s.origin = 0; }),
                                       "RM");
                  },
                  "doInsertRouteMap invalid origin 0\n.*Assertion failed"},
        FatalCase{"ospf_metric_type_3",
                  [](auto& m) {
                    m.doInsertRouteMap(
                        mapWithClause(RM::setOspfMetricType, [](auto& s) { s.ospfMetricType = 3; }),
                        "RM");
                  },
                  "doInsertRouteMap invalid metric type: 3\n.*Assertion failed"},
        FatalCase{"isis_level_3",
                  [](auto& m) {
                    m.doInsertRouteMap(
                        mapWithClause(RM::setIsisLevel, [](auto& s) { s.isisLevel = 3; }), "RM");
                  },
                  "doInsertRouteMap invalid level: 3\n.*Assertion failed"},
        FatalCase{"add_or_replace_clause_carrying_delete",
                  [](auto& m) {
                    m.doInsertRouteMap(mapWithClause(RM::setCommunityAddReplace,
                                                     [](auto& s) {
                                                       s.communityAddReplace =
                                                           communitySet(Acl::commSetDelete_);
                                                     }),
                                       "RM");
                  },
                  "Assertion failed: entryPtr->communityAddReplace\\(\\)->flag\\(\\) != "
                  "Acl::commSetDelete_"},
        FatalCase{"delete_clause_not_carrying_delete",
                  [](auto& m) {
                    m.doInsertRouteMap(mapWithClause(RM::setCommunityDelete,
                                                     [](auto& s) {
                                                       s.communityDelete =
                                                           communitySet(Acl::commSetAdditive_);
                                                     }),
                                       "RM");
                  },
                  "Assertion failed: entryPtr->communityDelete\\(\\)->flag\\(\\) == "
                  "Acl::commSetDelete_"},
        FatalCase{"med_type_9", [](auto& m) { m.doSetMetric("RM", 10, 50, 9); },
                  "Error: invalid med type 9\n.*Assertion failed"},
        FatalCase{"med_type_12", [](auto& m) { m.doSetMetric("RM", 10, 50, 12); },
                  "Error: invalid med type 12\n.*Assertion failed"},
        FatalCase{"protocol_10", [](auto& m) { m.doAddMatchRule("RM", 10, intRule(113, 10)); },
                  R"(Assertion failed: 0 && "Unsupported protocol")"},
        FatalCase{"protocol_0", [](auto& m) { m.doAddMatchRule("RM", 10, intRule(113, 0)); },
                  R"(Assertion failed: 0 && "Unsupported protocol")"},
        FatalCase{"match_metric_type_3",
                  [](auto& m) { m.doAddMatchRule("RM", 10, intRule(112, 3)); }, "Assertion failed"},
        FatalCase{"route_type_5", [](auto& m) { m.doAddMatchRule("RM", 10, intRule(122, 5)); },
                  "Assertion failed"},
        FatalCase{"route_type_0", [](auto& m) { m.doAddMatchRule("RM", 10, intRule(122, 0)); },
                  "Assertion failed"},
        FatalCase{"community_match_on_no_list",
                  [](auto& m) {
                    m.doAddMatchCommunity("RM", 10, {}, false, false, Acl::communityStandard);
                  },
                  "Assertion failed: !comm.empty\\(\\)"},
        FatalCase{"community_match_of_kind_7",
                  [](auto& m) { m.doAddMatchCommunity("RM", 10, {"A"}, false, false, kKind7); },
                  "Error: unrecognized community type: 7\n(.|\n)*Assertion failed"},
        FatalCase{"community_set_of_kind_7",
                  [](auto& m) { m.doAddSetCommSet("S", communitySet(Acl::commSetNone_), kKind7); },
                  "Error: unrecognized community type: 7\n(.|\n)*Assertion failed"},
        FatalCase{"community_set_deleted_as_kind_7", [](auto& m) { m.doDelCommSet("S", kKind7); },
                  "Error: unrecognized community type: 7\n(.|\n)*Assertion failed"},
        FatalCase{"prefix_list_family_2",
                  [](auto&) {
                    RibRouteMap::Mio::prefixListId(
                        "A", static_cast<RibRouteMap::Mio::PrefixListFamily>(2));
                  },
                  "prefixListId"},
        FatalCase{"command_channel_of_another_vrf",
                  [](auto&) {
                    auto root = RibRouteMap::rootFactory("r1");
                    root->vrfNameIs("red");
                    RibRouteMap::mioFactory("blue")->ribPathIs(512);
                  },
                  "rmRoot->vrfName\\(\\) == vrfName"},
        FatalCase{
            "filter_tni_below_0",
            [](auto&) { Acl::IpFilter(*Vela::IpAddrWithFullMask::parse("10.0.0.0/8")).tniIs(-1); },
            "IpFilterBase::tni < 0 or > 16777215 not allowed"},
        FatalCase{"filter_vni_above_24_bits",
                  [](auto&) {
                    Acl::IpFilter(*Vela::IpAddrWithFullMask::parse("10.0.0.0/8")).vniIs(16777216);
                  },
                  "IpFilterBase::vni < 0 or > 16777215 not allowed"}),
    fatalCaseName);

}  // namespace
