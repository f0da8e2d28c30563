// Shared fixture of the community tests: every test records the operations and commits it
// causes and compares them, as whole streams, with the lines it expects.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/root/Root.h"
#include "framework/config/AclListConfig.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/rib/MioSink.h"
#include "framework/vox/Trace.h"

namespace RibRouteMap::test {

using Lines = std::vector<std::string>;
using SetPtr = Vox::Ptr<Routing::RouteMap::CommunitySet const>;

inline Lines concat(std::initializer_list<Lines> parts) {
  Lines out;
  for (const Lines& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

// A set clause holding its own standard values.
inline SetPtr standardSet(std::vector<U32> values, Acl::CommSetFlag flag) {
  auto s = Vox::make<Routing::RouteMap::CommunitySet>();
  s->standard = std::move(values);
  s->flag = flag;
  return s;
}

// A set clause that draws its communities from the named lists.
inline SetPtr listSet(std::set<std::string> names, Acl::CommSetFlag flag) {
  auto s = Vox::make<Routing::RouteMap::CommunitySet>();
  s->useCL = true;
  s->communityListName = std::move(names);
  s->flag = flag;
  return s;
}

inline Vox::Ptr<Acl::CommunityListEntry> listEntry(U32 seqno, Acl::MatchPermit permit,
                                                   Acl::CommunityListType type,
                                                   std::set<Acl::CommunityValue> values = {},
                                                   std::string regex = {}) {
  auto e = Vox::make<Acl::CommunityListEntry>(seqno);
  e->permitIs(permit);
  e->listTypeIs(type);
  e->communitiesIs(std::move(values));
  e->regexIs(std::move(regex));
  return e;
}

class CommunityStreamTest : public ::testing::Test {
 protected:
  void SetUp() override { rmRoot = nullptr; }
  void TearDown() override {
    rmRoot = nullptr;
    Vox::traceOutputIs(nullptr);
    Vox::traceLevelIs("RouteMap", -1);
  }

  Lines lines() const { return recorder_.lines(); }
  // The lines recorded by `action` alone.
  template <class F>
  Lines linesOf(F&& action) {
    recorder_.clear();
    action();
    Lines out = recorder_.lines();
    recorder_.clear();
    return out;
  }

  // A root of the test's VRF that holds `config` as the VRF's configured lists.
  Vox::Ptr<Root> makeRoot(const Vox::Ptr<Acl::AclListConfig>& config = nullptr) {
    Vox::Ptr<Root> root = rootFactory("root");
    root->vrfNameIs("default");
    if (config) root->aclListConfigIs(config);
    return root;
  }

  // Sends the library's trace lines to `traces_` from here on.
  void captureTraces() {
    Vox::traceOutputIs(&traces_);
    Vox::traceLevelIs("RouteMap", 9);
  }

  Rib::Recorder recorder_;
  Rib::ScopedSink sink_{&recorder_};
  Vox::Ptr<Mio> mio_ = mioFactory("default");
  std::ostringstream traces_;
};

}  // namespace RibRouteMap::test
