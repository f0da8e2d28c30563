// The engine model under random changes, which the program's scripts never make: entries of
// one prefix list added in random order and committed at once (BM_ModelRandomStart), and a
// list of N entries whose entries are removed and added again at random places, a commit
// each (BM_ModelChurn). The time per entry grows with the depth of the list's tree of children
// (and the cache misses on the way down), not with the number of entries.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "framework/rib/EngineModel.h"

namespace {

using Vox::U32;

void executeEntry(U32 seq, bool del) {
  auto path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(512);
  path->doPushPath(603);
  path->doPushString(515, "CUSTOMERS");
  path->doPushU32(516, seq);
  auto op = Vox::make<Rib::MioOp>(del ? "delIpPrefixListEntry" : "doAddIpPrefixListEntry", path);
  if (del) {
    op->deleteFlagIs(true);
  } else {
    auto values = Vox::make<Rib::MioValueTagArray>();
    values->doPushU32(9, seq);
    values->doPushFlag(8, true);
    values->doPushIpAddr(0, Vela::IpAddr(0x0a000000 + (seq << 8)));
    values->doPushU32(2, 24);
    values->doPushU32(6, 24);
    values->doPushU32(7, 24);
    op->valueIs(values);
  }
  op->doExecute();
}

std::vector<U32> shuffled(U32 n) {
  std::vector<U32> seqs(n);
  std::iota(seqs.begin(), seqs.end(), U32{1});
  std::shuffle(seqs.begin(), seqs.end(), std::mt19937(7));
  return seqs;
}

void BM_ModelRandomStart(benchmark::State& state) {
  const auto n = static_cast<U32>(state.range(0));
  const std::vector<U32> seqs = shuffled(n);
  for (auto _ : state) {
    auto model = std::make_unique<Rib::EngineModel>();
    {
      Rib::ScopedSink scope(model.get());
      for (const U32 seq : seqs) executeEntry(seq, false);
      Rib::MioCommit::doCommit();
    }
    benchmark::DoNotOptimize(model->committed().children.size());
    // Taking the model apart is not part of the work.
    state.PauseTiming();
    model.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_ModelRandomStart)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);

void BM_ModelChurn(benchmark::State& state) {
  const auto n = static_cast<U32>(state.range(0));
  Rib::EngineModel model;
  Rib::ScopedSink scope(&model);
  for (U32 seq = 1; seq <= n; ++seq) executeEntry(seq, false);
  Rib::MioCommit::doCommit();
  const std::vector<U32> seqs = shuffled(n);
  std::size_t next = 0;
  for (auto _ : state) {
    const U32 seq = seqs[next++ % seqs.size()];
    executeEntry(seq, true);
    Rib::MioCommit::doCommit();
    executeEntry(seq, false);
    Rib::MioCommit::doCommit();
  }
  state.SetItemsProcessed(state.iterations() * 2);
  benchmark::DoNotOptimize(model.committed().children.size());
}
BENCHMARK(BM_ModelChurn)->Arg(10'000)->Arg(100'000)->Arg(1'000'000);

}  // namespace
