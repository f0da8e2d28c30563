// The program's commands on FRR: `frr` (the translation of a step), `run --engine frr` (a
// running bgpd driven at every commit) and `verify --engine frr` (incremental against a fresh
// start on that bgpd). Each refuses a scenario whose names FRR cannot hold before anything
// else (Names.h), and reports an unusable daemon with the reason and the command that starts
// one; exit statuses are the program's.
#pragma once

#include <chrono>
#include <cstddef>
#include <istream>
#include <ostream>
#include <string>

#include "RibText/JsonLinesWriter.h"
#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/frr/Sink.h"

namespace frr {

// Writes "FILE:LINE:COL: KIND: MESSAGE".
void located(std::ostream& err, const std::string& shown, ribpolicy::Mark mark, const char* kind,
             const std::string& message);
// False, with the error written, when FRR cannot hold one of the scenario's names.
bool acceptable(const ribpolicy::Scenario& scenario, const std::string& shown, std::ostream& err);
// Reports a failure of the FRR side; the exit status it calls for (a difference is 1, a
// daemon that cannot be used or lines FRR refused are 2).
int report(const Failure& f, const std::string& shown, std::ostream& err);

// Which bgpd, and how long any one call of vtysh may take.
struct DaemonOptions {
  std::string pathspace;  // vtysh -N; empty for the default one
  bool replace = false;   // take over policy the daemon holds that the run did not make
  std::chrono::milliseconds timeout{60000};
  bool perStep = false;  // apply at the end of each step instead of at every commit
};

// Prints the FRR configuration after step `step` (1-based; 0: the last), or with `everyStep`
// after each step under a "! step N: NAME" line; warns at the configuration of every engine
// object or clause without an FRR form (errors with `werror`).
int translateCommand(const ribpolicy::Scenario& scenario, const std::string& shown,
                     std::size_t step, bool everyStep, bool werror, std::ostream& out,
                     std::ostream& err);

enum class RunFormat : std::uint8_t { text, jsonl };

struct RunOptions {
  RunFormat format = RunFormat::text;
  bool withState = false;
  bool numeric = false;
  bool diff = false;                            // each step's FRR lines instead of its operations
  RibText::Tags tags = RibText::Tags::numbers;  // of the JSON
};

// Runs the scenario with a live bgpd behind the channel beside the operation stream: at every
// commit the delta of the translation goes to bgpd, which must then hold the translation.
int runCommand(const ribpolicy::Scenario& scenario, const std::string& shown,
               const RunOptions& options, const DaemonOptions& daemon, std::ostream& out,
               std::ostream& err);

// After each step where every input is attached, compares what bgpd holds, reached
// incrementally, with what it holds after a fresh start of that step on it, wiped in between.
int verifyCommand(const ribpolicy::Scenario& scenario, const std::string& shown, bool json,
                  const DaemonOptions& daemon, std::ostream& out, std::ostream& err);

struct TestOptions {
  RunFormat format = RunFormat::text;
  bool counts = false;  // each map's hits per sequence, and the sequences no route reached
  // Each step's routes also through a fresh start of the step, with the routes whose results
  // differ reported.
  bool againstFresh = false;
  // A table of routes taken through one map instead of the scenario's checks: the map, the
  // file of routes ("-": `in`) and the step after which (0: the last).
  std::string map;
  std::string routes;
  std::size_t step = 0;
  std::istream* in = nullptr;
};

// Applies each step as `run --engine frr` does, sends the step's routes from a speaker through
// the maps they name, and prints each check that failed, then "N passed, N failed"; exit 1
// when one failed. With a map and a table of routes, applies the steps up to the one asked
// for and prints what the map does to each route instead. Needs ExaBGP besides the bgpd.
int testCommand(const ribpolicy::Scenario& scenario, const std::string& shown,
                const TestOptions& options, const DaemonOptions& daemon, std::ostream& out,
                std::ostream& err);

}  // namespace frr
