// The route-map path at the reference load: ten thousand route maps of three sequences each,
// every sequence with a prefix-list match and a metric, into a counting sink.
//
// BM_StartUpMaps starts the library on the whole configuration of 10k and 100k maps (the cost
// of a restart; `us_per_map` stays flat when the start-up is linear);
// BM_RefreshOneMapOfTenThousand bumps one map's version among them (the cost of an
// ordinary change, which must not grow with the number of maps).
#include <benchmark/benchmark.h>

#include "bench/Library.h"

namespace {

using Vox::U32;

namespace RM = Routing::RouteMap;
constexpr int kMaps = 10'000;

Vox::Ptr<RM::Config> makeConfig(int maps = kMaps) {
  auto config = Vox::make<RM::Config>();
  for (int m = 0; m < maps; ++m) {
    auto map = Vox::make<RM::Map>("RM" + std::to_string(m));
    for (U32 s : {10u, 20u, 30u}) {
      auto e = Vox::make<RM::MapEntry>(s);
      RM::MatchRule rule;
      rule.option = RM::matchPrefixList;
      rule.stringValue = "PL" + std::to_string(m);
      e->matchRuleIs(rule);
      RM::SetClauses set;
      set.flags = 1u << RM::setMetric;
      set.metric = 100 + s;
      e->setClauseIs(RM::setMetric, set);
      map->mapEntryIs(e);
    }
    config->routeMapIs(map);
  }
  return config;
}

void BM_StartUpMaps(benchmark::State& state) {
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  const auto maps = static_cast<int>(state.range(0));
  const RibRouteMap::VrfInputs inputs = bench::vrfInputs(makeConfig(maps));
  auto root = bench::makeRoot();
  std::size_t startOps = 0;
  for (auto _ : state) {
    const std::size_t before = sink.ops();
    root->inputsIs(inputs);
    state.PauseTiming();
    startOps += sink.ops() - before;
    // Tearing the state down sends the clean-up of every sequence; it is not the start-up.
    root->inputsIs({});
    state.ResumeTiming();
  }
  state.counters["ops_per_start"] = static_cast<double>(startOps) / state.iterations();
  state.counters["us_per_map"] =
      benchmark::Counter(static_cast<double>(maps) * state.iterations() * 1e-6,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  bench::dropRoot(root);
}
BENCHMARK(BM_StartUpMaps)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_RefreshOneMapOfTenThousand(benchmark::State& state) {
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  const auto config = makeConfig();
  auto root = bench::makeRoot();
  root->inputsIs(bench::vrfInputs(config));
  auto map = config->routeMap().at("RM5000");
  U32 version = 1;
  const std::size_t before = sink.ops();
  for (auto _ : state) map->versionIs(++version);
  state.counters["ops_per_refresh"] = static_cast<double>(sink.ops() - before) / state.iterations();
  bench::dropRoot(root);
}
BENCHMARK(BM_RefreshOneMapOfTenThousand)->Unit(benchmark::kMicrosecond);

}  // namespace
