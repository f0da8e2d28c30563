// References through deep nesting: a chain of N route maps, each sequence naming the next map
// as its sub-route-map (names descending along the chain, so the start-up builds the chain's
// tail first), and a chain of N dynamic prefix lists whose match maps match on the next list.
//
// Each iteration enters the chain's head into the policy-reference map and withdraws it again:
// the reference travels the whole chain and back, one policy-map notification at a time. The
// time per link (the `per_link` counter) stays flat from 1k to 100k when the propagation is
// linear; a stack-bound propagation would not reach 100k at all.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "bench/Library.h"

namespace {

namespace RM = Routing::RouteMap;
const RoutingPolicyMap::Requester kExternal{0, 0, "external", "bench"};

std::string name(char kind, int i) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%c%07d", kind, i);
  return buf;
}

Vox::Ptr<RM::Map> oneSequenceMap(const std::string& mapName, const RM::MatchRule* match,
                                 const std::string& subRouteMap) {
  auto map = Vox::make<RM::Map>(mapName);
  auto entry = Vox::make<RM::MapEntry>(10);
  if (match) entry->matchRuleIs(*match);
  entry->subRouteMapIs(subRouteMap);
  map->mapEntryIs(entry);
  map->versionIs(1);
  return map;
}

struct Chain {
  Vox::Ptr<RM::Config> routeMaps = Vox::make<RM::Config>();
  Vox::Ptr<Routing::DynamicPrefixList::Config> lists =
      Vox::make<Routing::DynamicPrefixList::Config>();
  Vox::Ptr<RoutingPolicyMap::PolicyMap> policyMap = Vox::make<RoutingPolicyMap::PolicyMap>();
  Vox::Ptr<RibRouteMap::Root> root;

  void start() {
    root = bench::makeRoot();
    root->inputsIs(bench::vrfInputs(routeMaps, nullptr, lists, policyMap));
  }
  ~Chain() { bench::dropRoot(root); }
};

// R(n-1) -> R(n-2) -> ... -> R0; the head is R(n-1).
void subRouteMapChain(Chain& c, int n) {
  for (int i = 0; i < n; ++i) {
    c.routeMaps->routeMapIs(oneSequenceMap(name('R', i), nullptr, i > 0 ? name('R', i - 1) : ""));
  }
}

// D0 -match map-> M0 -matches-> D1 -> M1 -> ... ; the head is D0.
void matchMapChain(Chain& c, int n) {
  for (int i = 0; i < n; ++i) {
    auto list = Vox::make<Routing::DynamicPrefixList::DynamicPrefixListEntry>(name('D', i));
    list->matchMapIs(name('M', i));
    list->versionIs(1);
    c.lists->dynamicPrefixListIs(list);
    RM::MatchRule rule;
    rule.option = RM::matchDynamicPrefixList;
    rule.stringValue = name('D', i + 1);
    c.routeMaps->routeMapIs(oneSequenceMap(name('M', i), i + 1 < n ? &rule : nullptr, ""));
  }
}

void BM_ReferenceSubRouteMapChain(benchmark::State& state) {
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  const int n = static_cast<int>(state.range(0));
  Chain chain;
  subRouteMapChain(chain, n);
  chain.start();
  const std::string head = name('R', n - 1);
  for (auto _ : state) {
    chain.policyMap->routeMapIs(head)->reasonIs(kExternal, true);
    chain.policyMap->routeMapDel(head);
  }
  state.counters["per_link"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * n,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["referenced_after"] = static_cast<double>(chain.policyMap->routeMap().size());
}
BENCHMARK(BM_ReferenceSubRouteMapChain)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

void BM_ReferenceMatchMapChain(benchmark::State& state) {
  Rib::CountingSink sink;
  Rib::ScopedSink scope(&sink);
  const int n = static_cast<int>(state.range(0));
  Chain chain;
  matchMapChain(chain, n);
  chain.start();
  const std::string head = name('D', 0);
  for (auto _ : state) {
    chain.policyMap->dynamicPrefixListIs(head)->reasonIs(kExternal, true);
    chain.policyMap->dynamicPrefixListDel(head);
  }
  state.counters["per_link"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * n,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["ops_per_round"] = static_cast<double>(sink.ops()) / state.iterations();
}
BENCHMARK(BM_ReferenceMatchMapChain)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
