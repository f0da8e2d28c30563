// The FRR configuration equal in meaning to a committed engine tree.
//
// The translation reads the engine tree, what the library sent, never the scenario's
// configuration: prefix lists (an ".ipv6." id is an IPv6 list), standard access lists (the
// mask turned into a wildcard), AS-path lists, the configured community lists split by kind
// into community, extended and large lists of values or of expressions, and route maps with
// their `call`, match and set lines. The library's own objects become FRR forms where FRR has
// one: a match on the ".exact." copy of a list is `exact-match` on the list itself, a
// clause's community values are the values of `set community`, and a delete clause becomes a
// `set comm-list L delete` of a configured list equal to it, or of a list made from the
// clause's entries under the clause list's own name.
//
// Whatever FRR cannot hold with the same meaning is named, never dropped in silence: a gap
// with a note at the place of the object or entry it concerns and the scenario path
// (StepMarks) of the configuration it came from. The same tree always gives the same text.
#pragma once

#include <string>
#include <vector>

#include "framework/rib/EngineModel.h"
#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/frr/Config.h"

namespace frr {

// One engine object or clause without an FRR form.
struct Gap {
  std::string markPath;  // where the scenario configures it (a StepMarks path)
  std::string message;   // what has no FRR form, with its object: "route-map RM permit 10: ..."
};

struct Translation {
  Config config;
  std::vector<Gap> gaps;  // in the order of the printed notes
};

Translation translate(const Rib::EngineModel::Node& root);

// The longest line the translation writes. FRR's vtysh drops a longer line of a file without
// a word (measured: 4,094 bytes and more), so a longer one has no FRR form.
inline constexpr std::size_t kLongestLine = 4000;

}  // namespace frr
