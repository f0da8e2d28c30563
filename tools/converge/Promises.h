// What the library promises after each step of a scenario, worked out from the scenario alone.
//
// After every step that leaves all inputs attached, the engine must equal what a fresh start on
// the step's configuration produces, and the policy-reference map must hold the same reasons.
// Four kinds of change are not promised to converge; for each, the library promises something
// weaker, and the checker holds it to that instead:
//  - a change held back: an object's contents changed without a version change (an explicit
//    `version:`), so the library has not been told to act on it, or an object still has
//    version 0, which the library takes for incomplete. Convergence is promised again after a
//    step at which every change has been announced.
//  - a stale AS-path deactivation: an entry that was inapplicable turned valid (or was replaced
//    by a valid one) while its list was deactivated. The list stays deactivated (defined in the
//    engine, without entries) until it is reevaluated by a regular-expression mode change or a
//    restart.
//  - leftovers of changes while an input was detached (or held back when it went): the
//    library dropped its state and sends everything configured again when re-attached, so
//    what it no longer knows stays in the engine, and the references it entered stay in the
//    policy-reference map. The fresh start must be contained in both; anything more in the
//    engine must be left over from the engine as it was when the input went, belong to an
//    object removed while detached, or be a dynamic prefix list that a left-over reference
//    holds.
//  - reference cycles: route maps and dynamic prefix lists that refer to each other (through
//    sub-route-maps, dynamic-prefix-list matches and match maps) keep each other referenced
//    after the outside reference goes. The engine may differ only in dynamic prefix lists on or
//    reachable from a cycle, and the policy-reference map only in such names.
//
// The tracker follows the library's own bookkeeping where the promise depends on it: the
// objects' versions as the agent sets them, and per AS-path list the set of sequence numbers
// the library holds for inapplicable.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tools/ribpolicy/format/Format.h"
#include "tools/ribpolicy/format/Scenario.h"

namespace converge {

// An object that carries a version of its own: an object of a section versioned by object, or
// one entry of a list of a section versioned by entry.
struct VersionedObject {
  ribpolicy::ObjectKind kind = ribpolicy::ObjectKind::prefixList;
  std::string name;
  U32 seq = 0;  // the entry, where the section versions its entries; 0 otherwise
  // NOLINTNEXTLINE(modernize-use-nullptr): the defaulted comparison has no pointer in it.
  friend auto operator<=>(const VersionedObject&, const VersionedObject&) = default;
};

struct StepPromise {
  bool attached = false;  // every input is attached after the step: there is a state to check
  bool heldBack = false;  // some change has not been announced by a version change
  std::set<std::string> staleAsPathLists;
  // Something other than an addition happened while detached, or a change was still held
  // back when the state went: at this step or an earlier one.
  bool leftovers = false;
  // The objects removed while the library's state was gone, as they were, at this step or an
  // earlier one.
  ribpolicy::ScenarioConfig removedWhileDetached;
  // Names on or reachable from a reference cycle, at this step or an earlier one.
  std::set<std::string> cycleRouteMaps;
  std::set<std::string> cycleDynamicPrefixLists;

  // Whether the step asks for exact convergence: nothing above applies.
  bool exact() const {
    return !heldBack && staleAsPathLists.empty() && !leftovers && cycleRouteMaps.empty() &&
           cycleDynamicPrefixLists.empty();
  }
};

class PromiseTracker {
 public:
  // Follows one more step and says what is promised after it.
  StepPromise step(const ribpolicy::Step& step);

  // The version the agent has given `object` so far (0 when it does not exist).
  U32 version(const VersionedObject& object) const;

 private:
  void trackAsPathLists(const ribpolicy::ScenarioConfig& from, const ribpolicy::ScenarioConfig& to);
  void trackVersions(const ribpolicy::ScenarioConfig& from, const ribpolicy::ScenarioConfig& to);

  bool started_ = false;
  ribpolicy::ScenarioConfig config_;
  ribpolicy::InputSet inputs_;
  std::map<VersionedObject, U32> versions_;
  std::set<VersionedObject> pending_;      // changed since the last version change
  std::set<VersionedObject> unannounced_;  // at version 0, which a fresh start would not give
  // Per AS-path list, the entries the library holds for inapplicable; kept while the
  // library's state exists.
  std::map<std::string, std::set<U32>> inapplicable_;
  bool leftovers_ = false;
  ribpolicy::ScenarioConfig removedWhileDetached_;
  std::set<std::string> cycleRouteMaps_;
  std::set<std::string> cycleDynamicPrefixLists_;
};

// The promise after every step of `scenario`, in order.
std::vector<StepPromise> promisesOf(const ribpolicy::Scenario& scenario);

// The route maps and dynamic prefix lists of `config` that lie on a reference cycle or can be
// reached from one.
struct CycleNames {
  std::set<std::string> routeMaps;
  std::set<std::string> dynamicPrefixLists;
  bool empty() const { return routeMaps.empty() && dynamicPrefixLists.empty(); }
};
CycleNames cycleNames(const ribpolicy::ScenarioConfig& config);

// Whether `to` only adds to `from`: new objects, new entries, new references; nothing removed
// or changed. Such a step is safe while an input is detached, since what is sent again on
// re-attach covers all of it.
bool onlyAdds(const ribpolicy::ScenarioConfig& from, const ribpolicy::ScenarioConfig& to);

}  // namespace converge
