#include "RibRouteMap/peerfilter/PeerFilterConfigSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RibRouteMap/mio/MioStreamTest.h"
#include "tests/support/Agent.h"

namespace {

using RibRouteMapTest::TraceCapture;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing_support::Agent;
using testing_support::entry;
using testing_support::join;
using testing_support::seqCommCleanup;
namespace RM = Routing::RouteMap;

const std::string kPf = ".PEER_FILTER.A";

std::vector<std::string> deleteMap(const std::string& map) {
  return {"deleteRouteMap 512/576=\"" + map + "\" del", "commit"};
}

std::vector<std::string> insertSeq(const std::string& map, U32 s, bool permit) {
  const std::string n = std::to_string(s);
  return {"routeMap 512/576=\"" + map + "\" {0:str=\"" + map + "\"}",
          "routeMapSeq 512/576=\"" + map + "\"/577/578=" + n + " {0:u32=" + n +
              " 1:flag=" + (permit ? "true" : "false") + "}"};
}

// The community clean-up of filter A's sequences 10 and 20, after its route map's delete.
std::vector<std::string> cleanupA() {
  return join({seqCommCleanup(kPf, 10), seqCommCleanup(kPf, 20)});
}

// The stream of one whole refresh of filter A with sequences 10 (permit) and 20 (deny).
std::vector<std::string> refreshA() {
  return join({deleteMap(kPf),
               cleanupA(),
               insertSeq(kPf, 10, true),
               insertSeq(kPf, 20, false),
               {"commit"}});
}

// The committed engine node of the route map `name`, if any.
const Rib::EngineModel::Node* engineMap(const Agent& agent, const std::string& name) {
  const auto& top = agent.model.committed().children;
  auto policy = top.find(Rib::PathEntry{512, Rib::PathEntry::Kind::none, 0, {}});
  if (policy == top.end()) return nullptr;
  auto map =
      policy->second.children.find(Rib::PathEntry{576, Rib::PathEntry::Kind::string, 0, name});
  return map == policy->second.children.end() ? nullptr : &map->second;
}

class PeerFilterConfigSmTest : public testing::Test {
 protected:
  // Adds filter A the way an agent does: empty, then its entries, then version 1.
  Vox::Ptr<RM::Map> addFilterA() {
    auto map = Vox::make<RM::Map>("A");
    agent.peerFilterConfig->peerFilterIs(map);
    map->mapEntryIs(entry(10));
    map->mapEntryIs(entry(20, Acl::deny));
    map->versionIs(1);
    return map;
  }
  RibRouteMap::PeerFilterConfigSm& sm() { return *agent.root->vrfStatusSm()->peerFilterConfigSm(); }

  Agent agent;
};

using PeerFilterConfigSmDeathTest = PeerFilterConfigSmTest;

// A new filter is sent under its reserved route-map name: empty at once, whole on its version.
TEST_F(PeerFilterConfigSmTest, AddingAFilter) {
  agent.take();
  addFilterA();
  EXPECT_EQ(agent.take(), join({deleteMap(kPf),
                                {"commit"},
                                deleteMap(kPf),
                                insertSeq(kPf, 10, true),
                                insertSeq(kPf, 20, false),
                                {"commit"}}));
}

// A removed filter is traced at level 1, its route map deleted and committed, then the community
// objects of its sequences removed; its reactor is gone.
TEST_F(PeerFilterConfigSmTest, RemovingAFilter) {
  addFilterA();
  agent.take();
  TraceCapture trace(1);
  agent.peerFilterConfig->peerFilterDel("A");
  EXPECT_EQ(agent.take(), join({deleteMap(kPf), cleanupA()}));
  EXPECT_THAT(trace.lines(), ElementsAre("Delete peer filter A"));
  EXPECT_FALSE(sm().peerFilter().find("A"));
}

// A version change with nothing else changed still replaces the whole filter.
TEST_F(PeerFilterConfigSmTest, VersionChangeAloneResends) {
  auto map = addFilterA();
  agent.take();
  map->versionIs(2);
  EXPECT_EQ(agent.take(), refreshA());
}

// A new map entity under the same name is followed and sent at once.
TEST_F(PeerFilterConfigSmTest, ReplacedMapEntityIsSent) {
  auto old = addFilterA();
  agent.take();
  auto replacement = Vox::make<RM::Map>("A");
  replacement->mapEntryIs(entry(5, Acl::deny));
  agent.peerFilterConfig->peerFilterIs(replacement);
  EXPECT_EQ(agent.take(), join({deleteMap(kPf), cleanupA(), insertSeq(kPf, 5, false), {"commit"}}));
  old->versionIs(9);
  EXPECT_TRUE(agent.take().empty()) << "the replaced map is no longer watched";
}

// A route map and a peer filter of the same name never touch each other's engine objects.
TEST_F(PeerFilterConfigSmTest, RouteMapOfTheSameNameStaysApart) {
  auto routeMap = agent.addMap("A");
  routeMap->mapEntryIs(entry(1));
  routeMap->versionIs(1);
  addFilterA();
  const Rib::EngineModel::Node filterBefore = *engineMap(agent, kPf);
  const Rib::EngineModel::Node mapBefore = *engineMap(agent, "A");
  agent.take();

  routeMap->versionIs(2);
  agent.routeMapConfig->routeMapDel("A");
  EXPECT_THAT(agent.take(), Each(Not(HasSubstr("PEER_FILTER"))));
  EXPECT_FALSE(engineMap(agent, "A"));
  ASSERT_TRUE(engineMap(agent, kPf));
  EXPECT_TRUE(Rib::EngineModel::equivalent(*engineMap(agent, kPf), filterBefore));

  routeMap = agent.addMap("A");
  routeMap->mapEntryIs(entry(1));
  routeMap->versionIs(1);
  agent.take();
  agent.peerFilterConfig->peerFilterDel("A");
  EXPECT_EQ(agent.take(), join({deleteMap(kPf), cleanupA()}));
  ASSERT_TRUE(engineMap(agent, "A"));
  EXPECT_TRUE(Rib::EngineModel::equivalent(*engineMap(agent, "A"), mapBefore));
}

// A null map is refused by the collection mutator, naming the collection.
TEST_F(PeerFilterConfigSmDeathTest, NullFilterRefused) {
  EXPECT_DEATH(sm().peerFilter().is(nullptr),
               "null _peerFilter parameter to mutator for "
               "RibRouteMap::PeerFilterConfigSm::peerFilter not allowed");
}

}  // namespace
