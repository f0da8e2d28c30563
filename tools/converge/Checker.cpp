#include "tools/converge/Checker.h"

#include <pthread.h>

#include <exception>
#include <set>
#include <stdexcept>

#include "framework/rib/MioSink.h"
#include "tools/converge/Promises.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/agent/Verify.h"
#include "tools/ribpolicy/format/Format.h"

namespace converge {

namespace {

using Node = Rib::EngineModel::Node;
using Rib::PathEntry;

// Work that recursed once per level of nesting (propagating a reference took about two
// kilobytes a level) gives out on this stack after about a hundred levels, well within the
// chains the generator builds; sanitized builds need far more for the same work.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kStackBytes = std::size_t{16} << 20;
#else
constexpr std::size_t kStackBytes = std::size_t{256} << 10;
#endif

// Runs `body` on a thread with a stack of `bytes`, and waits for it.
void runOnStack(std::size_t bytes, const std::function<void()>& body) {
  struct Job {
    const std::function<void()>* body;
    std::exception_ptr error;
  } job{&body, nullptr};
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, bytes);
  pthread_t thread;
  const int created = pthread_create(
      &thread, &attr,
      [](void* p) -> void* {
        auto* j = static_cast<Job*>(p);
        try {
          (*j->body)();
        } catch (...) {
          j->error = std::current_exception();
        }
        return nullptr;
      },
      &job);
  pthread_attr_destroy(&attr);
  if (created != 0) throw std::runtime_error("cannot start the checking thread");
  pthread_join(thread, nullptr);
  if (job.error) std::rethrow_exception(job.error);
}

PathEntry tag(U32 t) {
  return {t, PathEntry::Kind::none, 0, {}};
}
PathEntry keyed(U32 t, std::string key) {
  return {t, PathEntry::Kind::string, 0, std::move(key)};
}

// The engine's nodes of a dynamic prefix list and of an AS-path list's entries.
std::vector<PathEntry> dynamicPrefixListPath(const std::string& name) {
  return {tag(512), tag(627), keyed(628, name)};
}
std::vector<PathEntry> asPathEntriesPath(const std::string& name) {
  return {tag(512), tag(534), keyed(535, "/policy/asplist " + name), tag(536)};
}

const Node* find(const Node& root, const std::vector<PathEntry>& path) {
  const Node* n = &root;
  for (const PathEntry& e : path) {
    auto it = n->children.find(e);
    if (it == n->children.end()) return nullptr;
    n = &it->second;
  }
  return n;
}

void erase(Node& root, const std::vector<PathEntry>& path) {
  Node* n = &root;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    auto it = n->children.find(path[i]);
    if (it == n->children.end()) return;
    n = &it->second;
  }
  n->children.erase(path.back());
}

// Removes from `engine` every value that the fresh start does not have at the same place and
// that one of the snapshots (the engine when an input went) holds there unchanged: what the
// library left behind when it lost its state.
void pruneLeftovers(Node& engine, const Node* fresh, const std::vector<const Node*>& snapshots) {
  std::vector<U32> stale;
  for (const auto& [tag, data] : engine.values) {
    const bool expected = fresh && fresh->values.contains(tag);
    bool leftOver = false;
    for (const Node* s : snapshots) {
      auto v = s->values.find(tag);
      leftOver = leftOver || (v != s->values.end() && (*v).data == data);
    }
    if (!expected && leftOver) stale.push_back(tag);
  }
  for (const U32 tag : stale) engine.values.erase(tag);
  for (auto& [entry, child] : engine.children) {
    std::vector<const Node*> below;
    for (const Node* s : snapshots) {
      auto c = s->children.find(entry);
      if (c != s->children.end()) below.push_back(&c->second);
    }
    if (below.empty()) continue;
    const Node* freshChild = nullptr;
    if (fresh) {
      auto c = fresh->children.find(entry);
      if (c != fresh->children.end()) freshChild = &c->second;
    }
    pruneLeftovers(child, freshChild, below);
  }
}

// A copy of the policy-reference map without the names in `leave`.
Vox::Ptr<RoutingPolicyMap::PolicyMap> policyMapWithout(const RoutingPolicyMap::PolicyMap& from,
                                                       const std::set<std::string>& routeMaps,
                                                       const std::set<std::string>& lists) {
  auto out = Vox::make<RoutingPolicyMap::PolicyMap>();
  for (const auto& [name, r] : from.routeMap()) {
    if (routeMaps.contains(name)) continue;
    for (const auto& reason : r->reason()) out->routeMapIs(name)->reasonIs(reason, true);
  }
  for (const auto& [name, r] : from.dynamicPrefixList()) {
    if (lists.contains(name)) continue;
    for (const auto& reason : r->reason()) out->dynamicPrefixListIs(name)->reasonIs(reason, true);
  }
  for (const auto& [name, r] : from.redistributedDynPfx()) {
    for (const auto& reason : r->reason()) out->redistributedDynPfxIs(name)->reasonIs(reason, true);
  }
  return out;
}

// A copy of the policy-reference map with only the reasons that `within` holds too.
Vox::Ptr<RoutingPolicyMap::PolicyMap> policyMapWithin(const RoutingPolicyMap::PolicyMap& from,
                                                      const RoutingPolicyMap::PolicyMap& within) {
  auto out = Vox::make<RoutingPolicyMap::PolicyMap>();
  auto copy = [](const RoutingPolicyMap::PolicyMap::Coll& source,
                 const RoutingPolicyMap::PolicyMap::Coll& allowed, auto is) {
    for (const auto& [name, r] : source) {
      auto a = allowed.find(name);
      if (a == allowed.end()) continue;
      for (const auto& reason : r->reason()) {
        if (a->second->reason().contains(reason)) is(name)->reasonIs(reason, true);
      }
    }
  };
  copy(from.routeMap(), within.routeMap(),
       [&](const std::string& n) { return out->routeMapIs(n); });
  copy(from.dynamicPrefixList(), within.dynamicPrefixList(),
       [&](const std::string& n) { return out->dynamicPrefixListIs(n); });
  copy(from.redistributedDynPfx(), within.redistributedDynPfx(),
       [&](const std::string& n) { return out->redistributedDynPfxIs(n); });
  return out;
}

// The engine's objects below the policy root: the first keyed node on each path. Most kinds
// sit in a collection node ("512/603/515=\"P1\""); route maps are keyed at the collection's
// own level ("512/576=\"RB\"").
std::set<std::vector<PathEntry>> objectPaths(const Node& engine) {
  std::set<std::vector<PathEntry>> out;
  auto root = engine.children.find(tag(512));
  if (root == engine.children.end()) return out;
  for (const auto& [collection, objects] : root->second.children) {
    if (collection.kind() != PathEntry::Kind::none) {
      if (objects.meaningful()) out.insert({tag(512), collection});
      continue;
    }
    for (const auto& [key, object] : objects.children) {
      if (object.meaningful()) out.insert({tag(512), collection, key});
    }
  }
  return out;
}

// The first place where two trees differ, two levels down: "engine 512/627" for the dynamic
// prefix lists, "engine 256" for the global options; empty when they are equivalent.
std::string firstArea(const Node& left, const Node& right, std::string prefix = {}) {
  static const Node kNone;
  std::set<PathEntry, std::less<>> keys;
  for (const auto& [e, n] : left.children) keys.insert(e);
  for (const auto& [e, n] : right.children) keys.insert(e);
  for (const PathEntry& e : keys) {
    auto l = left.children.find(e);
    auto r = right.children.find(e);
    const Node& ln = l == left.children.end() ? kNone : l->second;
    const Node& rn = r == right.children.end() ? kNone : r->second;
    if (Rib::EngineModel::equivalent(ln, rn)) continue;
    const std::string here = prefix + std::to_string(e.tag);
    if (!prefix.empty() || e.tag != 512) return "engine " + here;
    const std::string below = firstArea(ln, rn, here + "/");
    return below.empty() ? "engine " + here : below;
  }
  return left.values == right.values ? std::string() : "engine " + prefix;
}

}  // namespace

std::set<std::vector<PathEntry>> removedObjectPaths(const std::string& vrf,
                                                    const ribpolicy::ScenarioConfig& config,
                                                    const ribpolicy::ScenarioConfig& removed) {
  ribpolicy::ScenarioConfig with = config;
  ribpolicy::forEachSection([&](const auto& section) {
    for (const auto& [name, def] : removed.*section.member) {
      (with.*section.member).try_emplace(name, def);
    }
  });
  std::set<std::vector<PathEntry>> out;
  ribpolicy::withFreshStart(vrf, with, [&](const Node& fresh, const RoutingPolicyMap::PolicyMap&) {
    out = objectPaths(fresh);
  });
  return out;
}

Comparison compareAsPromised(const std::string& vrf, const ribpolicy::Step& step,
                             const StepPromise& promise, const Node& engine,
                             const RoutingPolicyMap::PolicyMap& policyMap,
                             const Leftovers& leftovers) {
  Comparison out;
  ribpolicy::withFreshStart(
      vrf, step.config, [&](const Node& fresh, const RoutingPolicyMap::PolicyMap& freshMap) {
        const bool exact = promise.exact();
        // The trees are copied only when parts of them are left out.
        Node leftCopy;
        Node rightCopy;
        if (!exact) {
          leftCopy = engine;
          rightCopy = fresh;
        }
        Node& left = leftCopy;
        Node& right = rightCopy;
        for (const std::string& name : promise.cycleDynamicPrefixLists) {
          erase(left, dynamicPrefixListPath(name));
          erase(right, dynamicPrefixListPath(name));
        }
        for (const std::string& name : promise.staleAsPathLists) {
          const Node* entries = find(left, asPathEntriesPath(name));
          if (entries && entries->meaningful()) {
            out.differences.push_back("AS-path list \"" + name +
                                      "\" holds entries while an entry it held inapplicable keeps "
                                      "it deactivated");
            out.area = "AS-path deactivation";
          }
          erase(left, asPathEntriesPath(name));
          erase(right, asPathEntriesPath(name));
        }
        if (promise.leftovers) {
          std::vector<const Node*> roots;
          roots.reserve(leftovers.snapshots.size());
          for (const Node& s : leftovers.snapshots) roots.push_back(&s);
          pruneLeftovers(left, &right, roots);
          for (const std::vector<PathEntry>& path : leftovers.removedObjects) {
            if (!find(right, path)) erase(left, path);
          }
          // A dynamic prefix list that only a left-over reference holds stays in the engine.
          for (const auto& [name, r] : policyMap.dynamicPrefixList()) {
            if (!freshMap.dynamicPrefixList(name) && !find(right, dynamicPrefixListPath(name))) {
              erase(left, dynamicPrefixListPath(name));
            }
          }
        }
        const Node& l = exact ? engine : left;
        const Node& r = exact ? fresh : right;
        for (std::string& line : Rib::EngineModel::differences(l, r)) {
          out.differences.push_back(std::move(line));
        }
        if (out.area.empty()) out.area = firstArea(l, r);

        auto lm =
            policyMapWithout(policyMap, promise.cycleRouteMaps, promise.cycleDynamicPrefixLists);
        const auto rm =
            policyMapWithout(freshMap, promise.cycleRouteMaps, promise.cycleDynamicPrefixLists);
        // References the library entered before it lost its state may outlive it.
        if (promise.leftovers) lm = policyMapWithin(*lm, *rm);
        for (std::string& line : ribpolicy::policyMapDifferences(*lm, *rm)) {
          // "policy-map route-maps \"RA\": ..." names its section in the first two words.
          if (out.area.empty()) out.area = line.substr(0, line.find(' ', line.find(' ') + 1));
          out.differences.push_back(std::move(line));
        }
      });
  return out;
}

namespace {

// A failure of the FRR side, named by its kind alone so that a shrunk scenario can be told to
// fail the same way.
Failure frrFailure(std::size_t step, const frr::Failure& f) {
  std::vector<std::string> details = {f.what};
  details.insert(details.end(), f.details.begin(), f.details.end());
  return Failure{step, frr::kindText(f.kind), "frr", std::move(details)};
}

CheckResult run(const ribpolicy::Scenario& scenario, const CheckOptions& options) {
  ribpolicy::LibraryRootGuard keepRoot;
  CheckResult result;
  Rib::EngineModel model;
  ribpolicy::Agent agent(scenario.vrf);
  PromiseTracker tracker;
  Leftovers leftovers;
  std::vector<Rib::MioSink*> sinks = {&model};
  if (options.frr) {
    if (!options.frr->open(frr::Sink::Held::adopt) || !options.frr->clear()) {
      result.failure = frrFailure(0, *options.frr->failure());
      return result;
    }
    sinks.push_back(&options.frr->sink());
  }
  Rib::TeeSink tee(std::move(sinks));
  {
    Rib::ScopedSink sink(&tee);
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      const ribpolicy::Step& step = scenario.steps[i];
      if (options.onStep) options.onStep(i + 1);
      if (options.frr) options.frr->stepIs(i + 1);
      const StepPromise promise = tracker.step(step);
      // The engine as the library left it when it lost its state, taken as it comes back.
      if (promise.leftovers && agent.started() && !agent.attached().complete() &&
          step.inputs.complete()) {
        leftovers.snapshots.push_back(model.committed());
      }
      agent.applyStep(step.config, step.inputs);
      ++result.steps;
      if (options.frr) {
        const bool exact = promise.attached && !promise.heldBack && promise.exact();
        std::vector<std::string> differ = options.frr->stepDone(scenario.vrf, step.config, exact);
        if (options.frr->failure()) {
          result.failure = frrFailure(i + 1, *options.frr->failure());
          break;
        }
        if (!differ.empty()) {
          result.failure =
              Failure{i + 1, "FRR differs from a fresh start on it", "frr", std::move(differ)};
          break;
        }
      }
      if (!promise.attached || promise.heldBack) continue;
      ++result.compared;
      if (promise.leftovers) {
        leftovers.removedObjects =
            removedObjectPaths(scenario.vrf, step.config, promise.removedWhileDetached);
      }
      Comparison c = compareAsPromised(scenario.vrf, step, promise, model.committed(),
                                       *agent.policyMap(), leftovers);
      if (!c.differences.empty()) {
        result.failure = Failure{i + 1, "differs from a fresh start", std::move(c.area),
                                 std::move(c.differences)};
        break;
      }
    }
  }
  Rib::DiscardingSink dropped;
  Rib::ScopedSink quiet(&dropped);
  agent.teardown();
  return result;
}

}  // namespace

std::string Failure::signature() const {
  return area.empty() ? what : what + " in " + area;
}

std::size_t checkStackBytes() {
  return kStackBytes;
}

CheckResult checkScenario(const ribpolicy::Scenario& scenario, const CheckOptions& options) {
  CheckResult result;
  runOnStack(kStackBytes, [&] { result = run(scenario, options); });
  return result;
}

}  // namespace converge
