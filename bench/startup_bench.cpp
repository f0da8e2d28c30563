// Whole-library costs of prefix lists and community-list users, into a counting sink.
//
// BM_StartUpPrefixLists starts the library (root, state machines, Mio) on a filter-list
// configuration already filled with `lists` prefix lists of `entries` entries each; the
// entities are filled before the clock starts. BM_FloorPrefixLists builds the same operations
// (one list add, every entry, one commit per list) directly with the engine library into the
// same kind of sink: the ratio of the two `ops_per_s` counters is what the library adds.
//
// BM_PrefixEntryChange/Add/Remove change one entry of a started list of `entries` and announce
// the batch with a new version: one operation and a commit each, whatever the list's size.
//
// BM_CommunityListFanOut changes one entry of a community list that `clauses` route-map
// sequences use in a set clause: every such clause is sent again.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/Library.h"

namespace {

using Vox::U32;

// Whether this binary carries the trace code (bench/trace-cost.sh compares the two builds).
[[maybe_unused]] const bool kTraceContext =
    (benchmark::AddCustomContext("trace", Vox::kTraceCompiled ? "compiled in" : "compiled out"),
     true);

namespace RM = Routing::RouteMap;

std::string listName(int i) {
  return "PL" + std::to_string(i);
}

Vox::Ptr<Acl::AclListConfig> prefixListConfig(int lists, int entries) {
  auto config = Vox::make<Acl::AclListConfig>();
  for (int l = 0; l < lists; ++l) {
    auto list = Vox::make<Acl::PrefixList>(listName(l));
    for (int e = 0; e < entries; ++e) {
      const auto seqno = static_cast<U32>(e + 1);
      const Vela::Prefix prefix(Vela::IpAddr(0x0a000000u + (seqno << 8)), 24);
      list->entryIs({seqno, prefix, Acl::permit, 0, 0});
    }
    list->versionIs(1);
    config->prefixListIs(list);
  }
  return config;
}

using bench::dropRoot;
using bench::makeRoot;
using bench::vrfInputs;

void opsRate(benchmark::State& state, std::size_t ops) {
  state.counters["ops_per_s"] =
      benchmark::Counter(static_cast<double>(ops), benchmark::Counter::kIsRate);
  state.counters["ops_per_iter"] = static_cast<double>(ops) / state.iterations();
}

void BM_StartUpPrefixLists(benchmark::State& state) {
  const auto config = prefixListConfig(state.range(0), state.range(1));
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  std::size_t ops = 0;
  for (auto _ : state) {
    const std::size_t before = sink.ops();
    auto root = makeRoot();
    root->inputsIs(vrfInputs(nullptr, config));
    ops += sink.ops() - before;
    state.PauseTiming();
    dropRoot(root);
    state.ResumeTiming();
  }
  opsRate(state, ops);
}
BENCHMARK(BM_StartUpPrefixLists)
    ->Args({1, 1'000'000})
    ->Args({1'000, 1'000})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

void BM_FloorPrefixLists(benchmark::State& state) {
  const auto config = prefixListConfig(state.range(0), state.range(1));
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  std::size_t ops = 0;
  for (auto _ : state) {
    const std::size_t before = sink.ops();
    for (const auto& [name, list] : config->prefixList()) {
      auto listPath = Vox::make<Rib::MioTagArray>();
      listPath->doPushPath(512);
      listPath->doPushPath(603);
      listPath->doPushString(515, name);
      auto listValues = Vox::make<Rib::MioValueTagArray>();
      listValues->doPushString(0, name);
      auto listOp = Vox::make<Rib::MioOp>("doAddIpPrefixList", listPath);
      listOp->valueIs(listValues);
      listOp->doExecute();
      Rib::MioCommit::doCommit();
      for (const auto& [seqno, e] : list->entries()) {
        auto path = Vox::make<Rib::MioTagArray>();
        path->doPushPath(512);
        path->doPushPath(603);
        path->doPushString(515, name);
        path->doPushU32(516, seqno);
        auto values = Vox::make<Rib::MioValueTagArray>();
        values->doPushU32(9, seqno);
        values->doPushFlag(8, e.permit != Acl::deny);
        values->doPushIpAddr(0, e.prefix.address());
        values->doPushU32(2, e.prefix.length());
        values->doPushU32(6, e.prefix.length());
        values->doPushU32(7, e.prefix.length());
        auto op = Vox::make<Rib::MioOp>("doAddIpPrefixListEntry", path);
        op->valueIs(values);
        op->doExecute();
      }
      Rib::MioCommit::doCommit();
    }
    ops += sink.ops() - before;
  }
  opsRate(state, ops);
}
BENCHMARK(BM_FloorPrefixLists)
    ->Args({1, 1'000'000})
    ->Args({1'000, 1'000})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

enum class EntryChange { change, add, remove };

// One list of `entries` started; each iteration makes one change and announces it, and the
// clock stops while the change is undone so that every iteration starts from the same list.
void entryChange(benchmark::State& state, EntryChange kind) {
  const int entries = static_cast<int>(state.range(0));
  const auto config = prefixListConfig(1, entries);
  auto list = config->prefixList().begin()->second;
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  auto root = makeRoot();
  root->inputsIs(vrfInputs(nullptr, config));
  const auto middle = static_cast<U32>(entries / 2 + 1);
  const Acl::PrefixEntry original = *list->entry(middle);
  Acl::PrefixEntry changed = original;
  changed.le = 32;
  const Acl::PrefixEntry added{static_cast<U32>(entries + 1), original.prefix, Acl::deny, 0, 0};
  U32 version = 1;
  const std::size_t before = sink.ops();
  for (auto _ : state) {
    switch (kind) {
      case EntryChange::change:
        list->entryIs(changed);
        break;
      case EntryChange::add:
        list->entryIs(added);
        break;
      case EntryChange::remove:
        list->entryDel(middle);
        break;
    }
    list->versionIs(++version);
    state.PauseTiming();
    if (kind == EntryChange::add) {
      list->entryDel(added.seqno);
    } else {
      list->entryIs(original);
    }
    list->versionIs(++version);
    state.ResumeTiming();
  }
  // Every iteration sends two batches of one operation: the timed one and the undo.
  state.counters["ops_per_change"] =
      static_cast<double>(sink.ops() - before) / (2.0 * state.iterations());
  dropRoot(root);
}

void BM_PrefixEntryChange(benchmark::State& state) {
  entryChange(state, EntryChange::change);
}
void BM_PrefixEntryAdd(benchmark::State& state) {
  entryChange(state, EntryChange::add);
}
void BM_PrefixEntryRemove(benchmark::State& state) {
  entryChange(state, EntryChange::remove);
}
BENCHMARK(BM_PrefixEntryChange)
    ->RangeMultiplier(10)
    ->Range(1'000, 1'000'000)
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(2'000);
BENCHMARK(BM_PrefixEntryAdd)
    ->RangeMultiplier(10)
    ->Range(1'000, 1'000'000)
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(2'000);
BENCHMARK(BM_PrefixEntryRemove)
    ->RangeMultiplier(10)
    ->Range(1'000, 1'000'000)
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(2'000);

Vox::Ptr<Acl::CommunityListEntry> communityEntry(U32 seqno, U32 community) {
  auto e = Vox::make<Acl::CommunityListEntry>(seqno);
  e->permitIs(Acl::permit);
  e->communitiesIs({Acl::CommunityValue::standard(community)});
  e->versionIs(1);
  return e;
}

// `clauses` one-sequence route maps whose community set clause draws on the list "CL".
void BM_CommunityListFanOut(benchmark::State& state) {
  const int clauses = static_cast<int>(state.range(0));
  auto lists = Vox::make<Acl::AclListConfig>();
  auto list = Vox::make<Acl::CommunityList>("CL");
  list->communityListEntryIs(communityEntry(10, 0x10001));
  lists->communityListIs(list);
  auto set = Vox::make<RM::CommunitySet>();
  set->useCL = true;
  set->communityListName = {"CL"};
  set->flag = Acl::commSetAdditive_;
  auto maps = Vox::make<RM::Config>();
  for (int m = 0; m < clauses; ++m) {
    auto map = Vox::make<RM::Map>("RM" + std::to_string(m));
    auto entry = Vox::make<RM::MapEntry>(10);
    RM::SetClauses clause;
    clause.flags = 1u << RM::setCommunityAddReplace;
    clause.communityAddReplace = set;
    entry->setClauseIs(RM::setCommunityAddReplace, clause);
    map->mapEntryIs(entry);
    map->versionIs(1);
    maps->routeMapIs(map);
  }
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  auto root = makeRoot();
  root->inputsIs(vrfInputs(maps, lists));
  std::size_t ops = 0;
  U32 community = 0x10001;
  for (auto _ : state) {
    const std::size_t before = sink.ops();
    list->communityListEntryIs(communityEntry(10, ++community));
    ops += sink.ops() - before;
  }
  state.counters["ops_per_change"] = static_cast<double>(ops) / state.iterations();
  state.counters["ns_per_clause"] =
      benchmark::Counter(static_cast<double>(clauses) * state.iterations() * 1e-9,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  dropRoot(root);
}
BENCHMARK(BM_CommunityListFanOut)
    ->RangeMultiplier(10)
    ->Range(1'000, 100'000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20);

}  // namespace
