#include "tools/converge/Promises.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "tools/ribpolicy/format/References.h"

namespace converge {

namespace {

using ribpolicy::ScenarioConfig;

// Whether an AS-path entry's expression is valid in `mode`; no entry is valid in a mode the
// library does not know.
bool validIn(const Acl::AsPathEntry& e, U32 mode) {
  if (mode == 0) return e.validMode0;
  if (mode == 1) return e.validMode1;
  return false;
}

std::set<U32> inapplicableEntries(const ribpolicy::AsPathListDef& list, U32 mode) {
  std::set<U32> out;
  for (const auto& [seq, entry] : list.entries) {
    if (!validIn(entry, mode)) out.insert(seq);
  }
  return out;
}

// One entry notification of an AS-path list, as the library handles it: an entry gone leaves
// the set, an inapplicable one joins it, and a valid one changes nothing; in particular an
// entry that turns valid stays in the set.
void notifyAsPathEntry(std::set<U32>& inapplicable, U32 seq, const Acl::AsPathEntry* entry,
                       U32 mode) {
  if (!entry) {
    inapplicable.erase(seq);
  } else if (!validIn(*entry, mode)) {
    inapplicable.insert(seq);
  }
}

// Whether `to` keeps everything `from` holds: with the same fields and, for a list, every
// entry of `from` unchanged; `to` may hold more entries.
template <class Def>
bool keeps(const Def& from, const Def& to) {
  if constexpr (ribpolicy::EntryDefinition<Def>) {
    if (to.entries.size() != from.entries.size()) {
      Def kept = to;
      std::erase_if(kept.entries, [&](const auto& e) { return !from.entries.contains(e.first); });
      return kept == from;
    }
  }
  return to == from;
}

// Adds the objects of `from` that `to` no longer has to `removed`, as they were.
void keepRemoved(const ScenarioConfig& from, const ScenarioConfig& to, ScenarioConfig& removed) {
  ribpolicy::forEachSection([&](const auto& section) {
    for (const auto& [name, def] : from.*section.member) {
      if (!(to.*section.member).contains(name)) {
        (removed.*section.member).insert_or_assign(name, def);
      }
    }
  });
}

}  // namespace

CycleNames cycleNames(const ScenarioConfig& config) {
  // What a cycle keeps in the policy map is what its members enter there, and so on: every
  // object reachable from a member through references that enter the policy map.
  const ribpolicy::ReferenceAnalysis analysis = ribpolicy::analyzeReferences(config);
  std::map<ribpolicy::ObjectRef, std::vector<ribpolicy::ObjectRef>> next;
  for (const ribpolicy::Reference& r : analysis.references) {
    if (ribpolicy::entersPolicyMap(r)) next[r.from].push_back(r.to);
  }
  std::set<ribpolicy::ObjectRef> reached;
  std::vector<ribpolicy::ObjectRef> todo;
  for (const ribpolicy::Cycle& c : analysis.cycles)
    todo.insert(todo.end(), c.members.begin(), c.members.end());
  while (!todo.empty()) {
    const ribpolicy::ObjectRef o = std::move(todo.back());
    todo.pop_back();
    if (!reached.insert(o).second) continue;
    if (auto it = next.find(o); it != next.end())
      todo.insert(todo.end(), it->second.begin(), it->second.end());
  }
  CycleNames out;
  for (const ribpolicy::ObjectRef& o : reached) {
    (o.kind == ribpolicy::ObjectKind::routeMap ? out.routeMaps : out.dynamicPrefixLists)
        .insert(o.name);
  }
  return out;
}

bool onlyAdds(const ScenarioConfig& from, const ScenarioConfig& to) {
  bool adds = true;
  ribpolicy::forEachSection([&](const auto& section) {
    for (const auto& [name, def] : from.*section.member) {
      auto it = (to.*section.member).find(name);
      adds = adds && it != (to.*section.member).end() && keeps(def, it->second);
    }
  });
  for (const ribpolicy::HeldNamesRow& held : ribpolicy::kPolicyMapLists) {
    const std::set<std::string>& before = from.policyMap.*held.member;
    const std::set<std::string>& after = to.policyMap.*held.member;
    adds = adds && std::includes(after.begin(), after.end(), before.begin(), before.end());
  }
  return adds;
}

U32 PromiseTracker::version(const VersionedObject& object) const {
  auto it = versions_.find(object);
  return it == versions_.end() ? 0 : it->second;
}

void PromiseTracker::trackAsPathLists(const ScenarioConfig& from, const ScenarioConfig& to) {
  // The steps of the agent in its order: the mode first, which reevaluates every list as it
  // still is; then the lists, removals first, each changed entry notified in ascending order.
  if (from.asPathRegexMode != to.asPathRegexMode) {
    for (const auto& [name, list] : from.asPathLists) {
      inapplicable_[name] = inapplicableEntries(list, to.asPathRegexMode);
    }
  }
  for (const auto& [name, list] : from.asPathLists) {
    if (!to.asPathLists.contains(name)) inapplicable_.erase(name);
  }
  for (const auto& [name, list] : to.asPathLists) {
    auto before = from.asPathLists.find(name);
    std::set<U32>& held = inapplicable_[name];
    if (before == from.asPathLists.end()) {
      held.clear();
      for (const auto& [seq, entry] : list.entries) {
        notifyAsPathEntry(held, seq, &entry, to.asPathRegexMode);
      }
      continue;
    }
    ribpolicy::forEachKey(before->second.entries, list.entries,
                          [&](U32 seq, const Acl::AsPathEntry* b, const Acl::AsPathEntry* a) {
                            if (b && a && *b == *a) return;
                            notifyAsPathEntry(held, seq, a, to.asPathRegexMode);
                          });
  }
}

void PromiseTracker::trackVersions(const ScenarioConfig& from, const ScenarioConfig& to) {
  // The agent's versions: a new object takes the explicit version or 1; an existing one the
  // explicit version, or one more when its contents changed. A change is announced when the
  // version moves; until then it is held back.
  auto follow = [&](const VersionedObject& o, const std::optional<U32>& explicitVersion, bool isNew,
                    bool changed) {
    U32& current = versions_[o];
    const U32 next = isNew             ? explicitVersion.value_or(1)
                     : explicitVersion ? *explicitVersion
                     : changed         ? current + 1
                                       : current;
    if (isNew ? next == 0 : (next == current && changed)) {
      pending_.insert(o);
    } else if (isNew || next != current) {
      pending_.erase(o);
    }
    // An object that never left version 0 is incomplete to the library, while a fresh start
    // that gives it no explicit version announces it with version 1.
    if (next == 0 && explicitVersion.value_or(1) != 0) {
      unannounced_.insert(o);
    } else {
      unannounced_.erase(o);
    }
    current = next;
  };
  auto forget = [&](const VersionedObject& o) {
    versions_.erase(o);
    pending_.erase(o);
    unannounced_.erase(o);
  };
  ribpolicy::forEachSection([&](const auto& section) {
    using Def = typename std::decay_t<decltype(section)>::Definition;
    const ribpolicy::ObjectKind kind = section.kind;
    if constexpr (ribpolicy::VersionedDefinition<Def>) {
      ribpolicy::forEachKey(from.*section.member, to.*section.member,
                            [&](const std::string& name, const Def* b, const Def* a) {
                              const VersionedObject o{kind, name, 0};
                              if (!a) {
                                forget(o);
                              } else {
                                follow(o, a->version, !b, b && !(b->contents() == a->contents()));
                              }
                            });
    } else if constexpr (ribpolicy::EntryDefinition<Def>) {
      using Entry = ribpolicy::EntryOf<Def>;
      if constexpr (ribpolicy::VersionedDefinition<Entry>) {
        // Each entry of a list carries its own version.
        const Def none;
        ribpolicy::forEachKey(from.*section.member, to.*section.member,
                              [&](const std::string& name, const Def* b, const Def* a) {
                                ribpolicy::forEachKey(
                                    b ? b->entries : none.entries, a ? a->entries : none.entries,
                                    [&](U32 seq, const Entry* eb, const Entry* ea) {
                                      const VersionedObject o{kind, name, seq};
                                      if (!ea) {
                                        forget(o);
                                      } else {
                                        follow(o, ea->version, !eb,
                                               eb && !(eb->contents() == ea->contents()));
                                      }
                                    });
                              });
      }
    }
  });
}

StepPromise PromiseTracker::step(const ribpolicy::Step& step) {
  const ScenarioConfig& to = step.config;
  // The library's state lives while every input is attached; a step's configuration changes
  // reach it only if it lived through the step before.
  const bool restart = started_;
  const bool stateDuring = started_ && inputs_.complete();
  if (stateDuring) trackAsPathLists(config_, to);
  if (started_ && !stateDuring && !onlyAdds(config_, to)) {
    leftovers_ = true;
    keepRemoved(config_, to, removedWhileDetached_);
  }
  trackVersions(config_, to);
  const bool stateAfter = step.inputs.complete();
  if (stateAfter && !stateDuring) {
    // A start (or a re-attach) reads everything as it stands. A re-attach comes back to an
    // engine that may still hold what a held-back change removed: nothing will delete it.
    if (restart && !pending_.empty()) leftovers_ = true;
    pending_.clear();
    inapplicable_.clear();
    for (const auto& [name, list] : to.asPathLists) {
      inapplicable_[name] = inapplicableEntries(list, to.asPathRegexMode);
    }
  }
  if (!stateAfter) inapplicable_.clear();
  const CycleNames cycles = cycleNames(to);
  cycleRouteMaps_.insert(cycles.routeMaps.begin(), cycles.routeMaps.end());
  cycleDynamicPrefixLists_.insert(cycles.dynamicPrefixLists.begin(),
                                  cycles.dynamicPrefixLists.end());
  started_ = true;
  config_ = to;
  inputs_ = step.inputs;

  StepPromise p;
  p.attached = stateAfter;
  p.heldBack = !pending_.empty() || !unannounced_.empty();
  for (const auto& [name, held] : inapplicable_) {
    if (held != inapplicableEntries(to.asPathLists.at(name), to.asPathRegexMode)) {
      p.staleAsPathLists.insert(name);
    }
  }
  p.leftovers = leftovers_;
  p.removedWhileDetached = removedWhileDetached_;
  p.cycleRouteMaps = cycleRouteMaps_;
  p.cycleDynamicPrefixLists = cycleDynamicPrefixLists_;
  return p;
}

std::vector<StepPromise> promisesOf(const ribpolicy::Scenario& scenario) {
  PromiseTracker tracker;
  std::vector<StepPromise> out;
  for (const ribpolicy::Step& s : scenario.steps) out.push_back(tracker.step(s));
  return out;
}

}  // namespace converge
