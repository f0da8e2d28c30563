// The references of one step's configuration: which object (a route map or peer filter entry,
// a dynamic prefix list, the policy map) names which other object, the names that no
// configured object answers to, the configured objects that nothing names, and the chains of
// route maps and dynamic prefix lists that lead back to where they start. `ribpolicy check`
// reports what is found as warnings; `ribpolicy graph` draws it.
//
// None of these is an error for the library: it sends a route map that names a missing list,
// keeps a list nobody uses, and follows a cycle one notification at a time. They are what a
// person writing a configuration most often gets wrong.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/ribpolicy/format/Format.h"
#include "tools/ribpolicy/format/Scenario.h"

namespace ribpolicy {

struct ObjectRef {
  ObjectKind kind = ObjectKind::policyMap;
  std::string name;  // empty for the policy map
  // NOLINTNEXTLINE(modernize-use-nullptr): the defaulted comparison has no pointer in it.
  friend auto operator<=>(const ObjectRef&, const ObjectRef&) = default;
  friend bool operator==(const ObjectRef&, const ObjectRef&) = default;
};

struct Reference {
  ObjectRef from;
  std::optional<U32> seq;  // the route-map or peer-filter entry that refers
  // How `from` refers: "match OPTION" ("match prefix-list", "match community" ...),
  // "sub-route-map", "set CLAUSE" ("set community-delete" ...), the dynamic prefix list's
  // field ("match-map", "ipv4-prefix-list" ...), or "policy map".
  std::string via;
  ObjectRef to;
  std::string markPath;    // where the step's text names `to` (a StepMarks path)
  bool configured = true;  // `to` is configured
  bool onCycle = false;    // `from` and `to` lie on one cycle and this reference links them
};

// Whether a reference keeps its target in the policy map: the library enters a route map's
// sub-route-maps and dynamic prefix lists, and a dynamic prefix list's match map, for as long
// as the referring object is there itself. A closed chain of these keeps its members in the
// policy map after the last outside reference is gone. A contributing-aggregate map is only
// named to the engine, so a chain through it holds nothing.
bool entersPolicyMap(const Reference& r);

// Route maps and dynamic prefix lists that reach each other through references that enter the
// policy map (sub-route-maps, matched dynamic prefix lists, match maps).
struct Cycle {
  std::vector<ObjectRef> members;  // sorted
  // The shortest closed chain from the smallest member, as indexes into the references.
  std::vector<std::size_t> chain;
};

struct ReferenceAnalysis {
  std::vector<ObjectRef> objects;     // the configured objects, sorted
  std::vector<Reference> references;  // by referring object, entry, then as the entry lists them
  std::vector<ObjectRef> unused;      // configured objects that nothing refers to, sorted
  std::vector<Cycle> cycles;          // in the order of their smallest objects
};

ReferenceAnalysis analyzeReferences(const ScenarioConfig& config);

// One thing worth a warning, at a StepMarks path of the step it was found in.
struct Finding {
  std::string path;
  std::string message;
  WarningClass warning = WarningClass::undefined;
  // NOLINTNEXTLINE(modernize-use-nullptr): the defaulted comparison has no pointer in it.
  friend auto operator<=>(const Finding&, const Finding&) = default;
  friend bool operator==(const Finding&, const Finding&) = default;
};

// Undefined names, unused objects and cycles, in that order.
std::vector<Finding> referenceFindings(const ReferenceAnalysis& analysis);

struct Warning {
  std::size_t step = 0;  // 1-based
  Mark mark;
  std::string message;
  WarningClass warning = WarningClass::undefined;
};

// The findings of every step of `scenario` and what the reader noted in it, each reported
// once: see the definition for how steps that repeat a configuration are folded.
std::vector<Warning> scenarioWarnings(const Scenario& scenario);

}  // namespace ribpolicy
