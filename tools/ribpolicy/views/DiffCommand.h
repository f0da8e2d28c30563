// `ribpolicy diff OLD NEW`: what changing a device from one configuration to another sends to
// the engine, and the net change it makes. Each side is a step of a scenario, FILE (its last
// step) or FILE:N. The library starts afresh on the old step's configuration, as a running
// device holds it, then takes the new step's; the answer depends on the two configurations
// only, not on the history of either scenario.
//
//   text:  diff a.yaml:2 -> b.yaml:3
//
//          operations
//                 routeMap     policy/route-map="RM1"        {name="RM1"}
//            ---- commit
//
//          net change
//            +  policy/route-map="RM1"                         {name="RM1"}
//   JSON:  {"old":"a.yaml:2","new":"b.yaml:3","same":false,"operations":[{"op":...},
//           {"commit":"engine"}],"diff":[{"added":...}]}
//
// Operations and changes are written as `run` and `run --diff` write them (TextWriter.h,
// Diff.h). The exit status is 0 when the engine ends the same, 1 when it changes, 2 on bad
// input (a step beyond the scenario's, two VRFs).
#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

#include "RibText/JsonLinesWriter.h"
#include "tools/ribpolicy/format/Scenario.h"

namespace ribpolicy {

// A side as the command line names it: FILE, or FILE:N for step N. FILE:N is read as step N only
// when no file of the whole name exists.
struct StepRef {
  std::string file;
  std::optional<std::size_t> step;  // from 1; nothing for the last
};
StepRef stepRef(const std::string& arg);

// A loaded side: the scenario, the step asked for, and the name messages give the file.
struct DiffInput {
  const Scenario& scenario;
  std::optional<std::size_t> step;
  std::string shown;
};

struct DiffOptions {
  bool json = false;
  bool numeric = false;  // the text with tags and values as numbers
  RibText::Tags tags = RibText::Tags::numbers;
};

int diffCommand(const DiffInput& before, const DiffInput& after, const DiffOptions& options,
                std::ostream& out, std::ostream& err);

}  // namespace ribpolicy
