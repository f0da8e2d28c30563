// ribpolicy-converge: the long run of random convergence testing. Generates scenarios from
// consecutive seeds, checks each in a child process, and for every new kind of failure prints
// the seed, shrinks the scenario and writes it where `ribpolicy verify` can replay it.
#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <string>

#include "tools/converge/Checker.h"
#include "tools/converge/Generator.h"
#include "tools/converge/Isolation.h"
#include "tools/converge/ScenarioWriter.h"
#include "tools/converge/Shrinker.h"
#include "tools/ribpolicy/format/ScenarioParser.h"
#include "tools/ribpolicy/frr/Follower.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;  // bad usage, or the run could not go on

struct Options {
  std::uint64_t seed = 1;
  std::uint64_t count = 0;
  double seconds = 0;
  std::size_t steps = 30;
  bool unpromised = false;
  std::string out = ".";
  bool keepGoing = false;
  // FRR's bgpd behind the channel (--engine frr), in the subset of equal meaning.
  bool frr = false;
  std::string frrPathspace;
  double frrTimeout = 60;
  bool frrPerCommit = false;
  bool frrReplace = false;
};

void printFailure(const converge::Failure& f) {
  std::cout << "step " << f.step << ": " << f.signature() << '\n';
  for (const std::string& d : f.differences) std::cout << "  " << d << '\n';
}

// Shrinks a failing scenario, writes it to the output folder and says where it went.
void shrinkAndWrite(const Options& o, std::uint64_t seed, const ribpolicy::Scenario& failing,
                    const converge::Failure& failure, frr::Follower* frr) {
  const std::string signature = failure.signature();
  ribpolicy::Scenario start = failing;
  if (failure.step > 0) start.steps.resize(failure.step);
  const ribpolicy::Scenario small =
      converge::shrinkScenario(start, [&](const ribpolicy::Scenario& candidate) {
        const converge::CheckResult r = converge::checkInChild(candidate, frr);
        return r.failure && r.failure->signature() == signature;
      });
  const converge::CheckResult again = converge::checkInChild(small, frr);

  const std::string yaml = converge::writeScenario(small);
  try {
    if (!converge::sameScenario(ribpolicy::parseScenario(yaml), small)) {
      std::cout << "warning: the written scenario does not read back the same\n";
    }
  } catch (const ribpolicy::InputError& e) {
    std::cout << "warning: the written scenario does not read back: "
              << e.format("converge-" + std::to_string(seed) + ".yaml") << '\n';
  }
  std::filesystem::create_directories(o.out);
  const std::filesystem::path file =
      std::filesystem::path(o.out) / ("converge-" + std::to_string(seed) + ".yaml");
  const converge::Failure& shown = again.failure ? *again.failure : failure;
  std::ofstream out(file, std::ios::binary);
  out << "# Shrunk from seed " << seed << (o.unpromised ? " (--unpromised)" : "") << ": step "
      << shown.step << ' ' << shown.signature() << '\n';
  for (const std::string& d : shown.differences) out << "#   " << d << '\n';
  if (shown.differences.empty()) {
    // A crash: the checks run on a small stack, which the shell's limit reproduces.
    out << "# Replay: (ulimit -s " << converge::checkStackBytes() / 1024
        << "; ribpolicy verify FILE)\n";
  } else if (o.frr) {
    out << "# Replay: ribpolicy verify --engine frr FILE (a bgpd holding no policy; see the "
           "README)\n";
  } else if (o.unpromised) {
    out << "# Replay: ribpolicy verify FILE (steps with changes that are not promised to\n"
        << "# converge differ as well; the lines above are the ones that break a promise)\n";
  } else {
    out << "# Replay: ribpolicy verify FILE\n";
  }
  out << yaml;
  std::cout << "shrunk to " << small.steps.size() << " steps: " << file.string() << '\n';
  printFailure(shown);
}

int run(const Options& o) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  const std::uint64_t count = o.count == 0 && o.seconds == 0 ? 1000 : o.count;
  const converge::GeneratorOptions generator{o.steps, o.unpromised, o.frr};
  const frr::Vtysh vtysh(o.frrPathspace,
                         std::chrono::milliseconds(static_cast<long long>(o.frrTimeout * 1000)));
  std::optional<frr::Follower> follower;
  if (o.frr) {
    // Every scenario clears the daemon's policy: one that holds policy of its own is used only
    // when --frr-replace says so.
    frr::Sink probe(vtysh, true);
    if (!probe.open(o.frrReplace ? frr::Sink::Held::adopt : frr::Sink::Held::refuse)) {
      std::cerr << "ribpolicy-converge: error: " << probe.failure()->what << '\n';
      for (const std::string& d : probe.failure()->details) std::cerr << "  " << d << '\n';
      return kExitUsage;
    }
    follower.emplace(vtysh, !o.frrPerCommit);
  }
  frr::Follower* const frr = follower ? &*follower : nullptr;

  std::uint64_t scenarios = 0;
  std::uint64_t steps = 0;
  std::uint64_t compared = 0;
  std::uint64_t failures = 0;
  std::set<std::string> seen;
  for (std::uint64_t n = 0; (count == 0 || n < count) && (o.seconds == 0 || elapsed() < o.seconds);
       ++n) {
    const std::uint64_t seed = o.seed + n;
    const ribpolicy::Scenario scenario = converge::generateScenario(seed, generator);
    const converge::CheckResult r = converge::checkInChild(scenario, frr);
    ++scenarios;
    steps += r.steps;
    compared += r.compared;
    if (!r.failure) continue;
    // A daemon that cannot be used fails every scenario after it; the run stops there.
    if (o.frr && vtysh.unreachable()) {
      std::cerr << "ribpolicy-converge: error: seed " << seed << ": " << *vtysh.unreachable()
                << '\n';
      return kExitUsage;
    }
    ++failures;
    const bool fresh = seen.insert(r.failure->signature()).second;
    std::cout << "seed " << seed << ": ";
    printFailure(*r.failure);
    if (fresh) shrinkAndWrite(o, seed, scenario, *r.failure, frr);
    if (!o.keepGoing) break;
  }
  // The daemon is left without policy, for the next run.
  if (o.frr) {
    frr::Sink last(vtysh, true);
    if (last.open(frr::Sink::Held::adopt)) last.bringTo(frr::Config{}, "the end of the run");
  }
  const double seconds = elapsed();
  std::cout << scenarios << " scenarios, " << steps << " steps (" << compared
            << " compared with a fresh start) in " << seconds
            << " s: " << static_cast<std::uint64_t>(scenarios * 60 / seconds) << " scenarios/min, "
            << static_cast<std::uint64_t>(steps / seconds) << " steps/s; " << failures
            << " failed (" << seen.size() << " kinds)\n";
  return failures == 0 ? kExitOk : kExitFailed;
}

int parseAndRun(int argc, char** argv) {
  Options o;
  CLI::App app{
      "Random convergence testing: random scenarios, each step compared with a fresh start; "
      "failures are shrunk and written as scenario files"};
  app.add_option("--seed", o.seed,
                 "seed of the first scenario (default 1); scenario N uses seed + N");
  app.add_option("--count", o.count, "number of scenarios (default 1000 unless --seconds)");
  app.add_option("--seconds", o.seconds, "stop starting scenarios after this many seconds")
      ->check(CLI::NonNegativeNumber);
  app.add_option("--steps", o.steps, "steps per scenario after the first (default 30)")
      ->check(CLI::Range(1, 100000));
  app.add_flag("--unpromised", o.unpromised,
               "also make changes the library does not promise to converge (explicit versions, "
               "stale AS-path deactivations, changes while detached, reference cycles), checked "
               "against its weaker promises");
  app.add_option("--out", o.out, "folder for the shrunk failing scenarios (default .)");
  app.add_flag("--keep-going", o.keepGoing,
               "go on after a failure; each new kind of failure is shrunk once");
  std::string engine = "model";
  app.add_option("--engine", engine,
                 "model, or frr: also drive a running bgpd of FRR with the subset of equal "
                 "meaning and hold it to the translation and to a fresh start on it")
      ->check(CLI::IsMember({"model", "frr"}));
  app.add_option("--frr-pathspace", o.frrPathspace, "the bgpd's path space (vtysh -N NAME)");
  app.add_flag("--frr-replace", o.frrReplace,
               "use a bgpd that holds policy of its own (each scenario clears it; otherwise "
               "such a bgpd is refused)");
  app.add_option("--frr-timeout", o.frrTimeout, "seconds any one call of vtysh may take (60)")
      ->check(CLI::PositiveNumber);
  std::string apply = "step";
  app.add_option("--frr-apply", apply, "step (the default) or commit: when bgpd gets the change")
      ->check(CLI::IsMember({"commit", "step"}));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      app.exit(e);
      return kExitOk;
    }
    std::cerr << "ribpolicy-converge: error: " << e.what() << " (see --help)\n";
    return kExitUsage;
  }
  o.frr = engine == "frr";
  o.frrPerCommit = apply == "commit";
  return run(o);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return parseAndRun(argc, argv);
  } catch (const std::exception& e) {
    // The output folder cannot be written, or a child process cannot be started.
    std::cerr << "ribpolicy-converge: error: " << e.what() << '\n';
    return kExitUsage;
  }
}
