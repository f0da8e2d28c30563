// The cost of the command channel beside the cost of the operations it builds.
//
// Both benchmarks send operations of the shape of a prefix-list entry (path 512, 603, 515,
// 516; six values) into a counting sink. BM_MioPrefixEntry goes through the VRF's Mio, with
// its path building, root check and trace checks; BM_FloorPrefixEntry builds the same
// operations directly with the engine library. Their ratio is the channel's overhead.
#include <benchmark/benchmark.h>

#include "RibRouteMap/mio/Mio.h"
#include "framework/rib/MioSink.h"

namespace {

using Vox::U32;

constexpr int kOps = 1'000'000;

void BM_MioPrefixEntry(benchmark::State& state) {
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  auto mio = RibRouteMap::mioFactory("default");
  const Vela::Prefix prefix(Vela::IpAddr(0x0a000000), 24);
  for (auto _ : state) {
    for (U32 seq = 0; seq < kOps; ++seq) {
      mio->doAddIpPrefixListEntry("CUSTOMERS", seq, Acl::permit, prefix, 0, 0);
    }
  }
  state.SetItemsProcessed(state.iterations() * kOps);
  benchmark::DoNotOptimize(sink.values());
}
BENCHMARK(BM_MioPrefixEntry)->Unit(benchmark::kMillisecond);

void BM_FloorPrefixEntry(benchmark::State& state) {
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  const Vela::IpAddr addr(0x0a000000);
  for (auto _ : state) {
    for (U32 seq = 0; seq < kOps; ++seq) {
      auto path = Vox::make<Rib::MioTagArray>();
      path->doPushPath(512);
      path->doPushPath(603);
      path->doPushString(515, "CUSTOMERS");
      path->doPushU32(516, seq);
      auto values = Vox::make<Rib::MioValueTagArray>();
      values->doPushU32(9, seq);
      values->doPushFlag(8, true);
      values->doPushIpAddr(0, addr);
      values->doPushU32(2, 24);
      values->doPushU32(6, 24);
      values->doPushU32(7, 24);
      auto op = Vox::make<Rib::MioOp>("doAddIpPrefixListEntry", path);
      op->valueIs(values);
      op->doExecute();
    }
  }
  state.SetItemsProcessed(state.iterations() * kOps);
  benchmark::DoNotOptimize(sink.values());
}
BENCHMARK(BM_FloorPrefixEntry)->Unit(benchmark::kMillisecond);

}  // namespace
