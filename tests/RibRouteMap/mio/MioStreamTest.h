// A fixture for tests that read the operations a Mio sends as one golden stream.
//
// Operations go to a Recorder for the length of each test. The root is set aside so that the
// channel's root check does not apply: these tests exercise commands, not a configured VRF.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "RibRouteMap/mio/Mio.h"
#include "RibRouteMap/root/Root.h"
#include "framework/rib/MioSink.h"
#include "framework/vox/Trace.h"

namespace RibRouteMapTest {

// The sequence path of map "RM", sequence 10, in the recorder's text form.
inline const std::string kSeq = R"(512/576="RM"/577/578=10)";
// Its set-action node.
inline const std::string kSet = kSeq + "/601";

class MioStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    savedRoot_ = RibRouteMap::rmRoot;
    RibRouteMap::rmRoot = nullptr;
  }
  void TearDown() override { RibRouteMap::rmRoot = savedRoot_; }

  std::vector<std::string> lines() const { return recorder_.lines(); }

  Rib::Recorder recorder_;
  Rib::ScopedSink sink_{&recorder_};
  Vox::Ptr<RibRouteMap::Mio> mio_ = RibRouteMap::mioFactory("default");

 private:
  Vox::Ptr<RibRouteMap::Root> savedRoot_;
};

// Collects the "RouteMap" trace lines up to `level` while it lives.
class TraceCapture {
 public:
  explicit TraceCapture(int level) {
    Vox::traceLevelIs("RouteMap", level);
    Vox::traceOutputIs(&out_);
  }
  ~TraceCapture() {
    Vox::traceOutputIs(nullptr);
    Vox::traceLevelIs("RouteMap", -1);
  }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  std::vector<std::string> lines() const {
    std::vector<std::string> out;
    std::istringstream in(out_.str());
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
  }

 private:
  std::ostringstream out_;
};

}  // namespace RibRouteMapTest
