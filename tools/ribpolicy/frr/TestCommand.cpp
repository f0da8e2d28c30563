// `ribpolicy test FILE --engine frr`: the scenario's route checks, answered by bgpd.
//
// Each step is applied to bgpd as `run --engine frr` applies it. A step with route checks then
// gets neighbors of the test's own, one peer a map under test with the map inbound, and a
// speaker (ExaBGP, a child of the program) that sends the step's routes; once bgpd's
// Adj-RIB-In holds every route sent, its tables are read and each check is judged on what bgpd
// did. The neighbors and the speaker go again before the next step, on every path out.
#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <thread>

#include "RibText/JsonWriter.h"
#include "framework/rib/MioSink.h"
#include "tools/ribpolicy/Cli.h"
#include "tools/ribpolicy/agent/Agent.h"
#include "tools/ribpolicy/format/RouteReader.h"
#include "tools/ribpolicy/frr/Commands.h"
#include "tools/ribpolicy/frr/Follower.h"
#include "tools/ribpolicy/frr/Routes.h"
#include "tools/ribpolicy/frr/Sink.h"
#include "tools/ribpolicy/frr/Speaker.h"

namespace frr {

namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::json;
using ribpolicy::RouteCheck;

// The AS of the test's own `router bgp` when bgpd has none.
constexpr U32 kTestAs = 64999;

// False, with the error written at the check, when a check names a map that the step does not
// configure or that FRR cannot hold.
bool checksHold(const ribpolicy::Scenario& scenario, const std::string& shown, std::ostream& err) {
  for (std::size_t s = 0; s < scenario.steps.size(); ++s) {
    const ribpolicy::Step& step = scenario.steps[s];
    for (const RouteCheck& c : step.routes) {
      const auto& maps = c.peerFilter ? step.config.peerFilters : step.config.routeMaps;
      const std::string what =
          std::string(c.peerFilter ? "peer filter" : "route map") + " '" + c.map + "'";
      if (!maps.count(c.map)) {
        located(err, shown, c.mark, "error",
                what + " is not configured in step " + std::to_string(s + 1));
        return false;
      }
      if (c.peerFilter) {
        located(err, shown, c.mark, "error",
                what + " has no FRR form: no route can be sent through it");
        return false;
      }
    }
  }
  return true;
}

// The AS of bgpd's own `router bgp` in its default VRF, if it has one.
std::optional<U32> routerAs(const std::string& runningConfig) {
  std::istringstream lines(runningConfig);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string router, bgp, vrf;
    U32 as = 0;
    if (words >> router >> bgp >> as && router == "router" && bgp == "bgp" && !(words >> vrf)) {
      return as;
    }
  }
  return std::nullopt;
}

// The hits of one map under test by sequence, from `show route-map NAME json`.
struct MapCounts {
  std::string map;
  std::vector<std::pair<U32, std::size_t>> hits;
};

std::vector<MapCounts> countsOf(const Vtysh& vtysh, const std::set<std::string>& maps) {
  std::vector<MapCounts> all;
  for (const std::string& map : maps) {
    MapCounts counts{map, {}};
    const Json j = Json::parse(vtysh.ask({"show route-map " + map + " json"}).text, nullptr, false);
    if (!j.is_discarded() && j.contains("BGP") && j["BGP"].contains(map)) {
      for (const Json& rule : j["BGP"][map].value("rules", Json::array())) {
        counts.hits.emplace_back(rule.value("sequenceNumber", U32{0}),
                                 rule.value("invoked", std::size_t{0}));
      }
    }
    all.push_back(std::move(counts));
  }
  return all;
}

void writeCounts(std::size_t step, const MapCounts& counts, bool json, std::ostream& out) {
  if (json) {
    RibText::JsonWriter line;
    line.open('{');
    line.member("step").number(step);
    line.member("map").string(counts.map);
    line.member("hits").open('{');
    for (const auto& [seq, n] : counts.hits) line.member(std::to_string(seq)).number(n);
    line.close('}');
    line.member("unreached").open('[');
    for (const auto& [seq, n] : counts.hits) {
      if (n == 0) line.item().number(seq);
    }
    line.close(']').close('}');
    out << line.text() << '\n';
    return;
  }
  std::string hits;
  std::string unreached;
  for (const auto& [seq, n] : counts.hits) {
    hits += (hits.empty() ? "" : ", ") + std::to_string(seq) + ": " + std::to_string(n);
    if (n == 0) unreached += (unreached.empty() ? "" : ", ") + std::to_string(seq);
  }
  out << "step " << step << ": map " << counts.map << ": hits by sequence "
      << (hits.empty() ? "none" : hits)
      << "; reached by no route: " << (unreached.empty() ? "none" : unreached) << '\n';
}

struct StepResult {
  std::vector<Answer> answers;
  std::vector<MapCounts> counts;  // with --counts
  std::string trouble;            // why the routes could not be tested
};

// Sends the step's routes and reads what bgpd did to them.
StepResult sendRoutes(const Vtysh& vtysh, const std::vector<RouteCheck>& checks, bool counts,
                      std::chrono::milliseconds timeout) {
  StepResult result;
  std::vector<std::string> maps;
  maps.reserve(checks.size());
  for (const RouteCheck& c : checks) maps.push_back(c.map);
  const std::optional<RoutePlan> plan = planPeers(checks, maps);
  if (!plan) {
    result.trouble = "the step's routes need more than " + std::to_string(kMostPeers) +
                     " peers (one a map, and one more for each repeated prefix)";
    return result;
  }
  const Vtysh::Reply running = vtysh.show();
  if (running.trouble != Vtysh::Trouble::none) {
    result.trouble = running.text;
    return result;
  }
  const std::optional<U32> held = routerAs(running.text);
  const U32 as = held.value_or(kTestAs);
  // Over iBGP bgpd drops a route whose path holds its own AS as a loop: no map would see it.
  for (const RouteCheck& c : checks) {
    for (const ribpolicy::AsSegment& segment : c.route.asPath.value_or(ribpolicy::AsPath{})) {
      if (std::find(segment.asns.begin(), segment.asns.end(), as) == segment.asns.end()) continue;
      result.trouble = "the route at line " + std::to_string(c.mark.line) +
                       " holds bgpd's own AS " + std::to_string(as) +
                       " in its path, which bgpd drops as a loop before any map";
      return result;
    }
  }
  const int port = freePort();
  if (port == 0) {
    result.trouble = "no free TCP port on the loopback for the speaker";
    return result;
  }
  const std::set<std::string> tested(maps.begin(), maps.end());
  if (counts) {
    std::vector<std::string> clear;
    clear.reserve(tested.size());
    for (const std::string& m : tested) clear.push_back("clear route-map counter " + m);
    vtysh.ask(clear);
  }
  const Vtysh::Reply added = vtysh.apply(neighborLines(*plan, as, port, !held));
  // Whatever happens next, the test's neighbors go again.
  struct Removal {
    const Vtysh& vtysh;
    std::vector<std::string> lines;
    ~Removal() { vtysh.apply(lines); }
  } removal{vtysh, neighborRemoval(*plan, as, !held)};
  if (added.trouble != Vtysh::Trouble::none) {
    result.trouble = "bgpd refused the test's neighbors: " + added.text;
    return result;
  }
  std::vector<std::string> addresses;
  for (const Peer& p : plan->peers) addresses.push_back(p.address);
  Speaker speaker;
  if (!speaker.start(speakerConfiguration(*plan, checks, as), addresses, port)) {
    result.trouble = speaker.trouble();
    return result;
  }
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    const Vtysh::Reply r = vtysh.ask(countCommands(*plan));
    if (r.trouble != Vtysh::Trouble::none) {
      result.trouble = r.text;
      return result;
    }
    const std::optional<std::size_t> left = routesToCome(*plan, r.text);
    if (left && *left == 0) break;
    if (!speaker.running()) {
      result.trouble = "ExaBGP stopped before bgpd had every route:\n" + speaker.log();
      return result;
    }
    if (Clock::now() > deadline) {
      result.trouble = "bgpd did not take every route within the time limit (" +
                       (left ? std::to_string(*left) + " still to come" : "no count") + ")";
      return result;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  bool ipv6 = false;
  for (const RouteCheck& c : checks) ipv6 = ipv6 || c.ipv6;
  std::vector<std::string> shows = {"show bgp ipv4 unicast json detail"};
  if (ipv6) shows.push_back("show bgp ipv6 unicast json detail");
  const Vtysh::Reply tables = vtysh.ask(shows);
  if (tables.trouble != Vtysh::Trouble::none) {
    result.trouble = tables.text;
    return result;
  }
  std::istringstream in(tables.text);
  Json v4;
  Json v6;
  try {
    in >> v4;
    if (ipv6) in >> v6;
  } catch (const Json::exception& e) {
    result.trouble = std::string("bgpd's tables could not be read: ") + e.what();
    return result;
  }
  result.answers = answersOf(*plan, checks, v4, v6);
  if (counts) result.counts = countsOf(vtysh, tested);
  return result;
}

// A JSON line about a check, opened with where the check is and the route it sent.
void openCheckLine(RibText::JsonWriter& line, std::size_t step, const RouteCheck& check) {
  line.open('{');
  line.member("step").number(step);
  line.member("map").string(check.map);
  line.member("line").number(static_cast<std::size_t>(check.mark.line));
  line.member("route").string(routeText(check));
}

// "step N: map NAME: PREFIX (line L): ", how a text line about a check begins.
std::string checkPlace(std::size_t step, const RouteCheck& check) {
  return "step " + std::to_string(step) + ": map " + check.map + ": " + check.prefix + " (line " +
         std::to_string(check.mark.line) + "): ";
}

// Writes what the test of one check found: with `table`, what the map did to the route;
// otherwise the verdict, a line only for a failed check in text. Counts the verdict.
void writeResult(std::size_t step, const RouteCheck& check, const Answer& answer, bool table,
                 bool json, std::ostream& out, std::size_t& passed, std::size_t& failed) {
  if (table) {
    const std::vector<std::string> changes =
        answer.permit ? changesOf(check, answer) : std::vector<std::string>{};
    if (json) {
      RibText::JsonWriter line;
      line.open('{');
      line.member("route").string(routeText(check));
      line.member("result").string(answer.permit ? "permit" : "deny");
      line.member("changes").open('[');
      for (const std::string& c : changes) line.item().string(c);
      line.close(']');
      out << line.close('}').text() << '\n';
      return;
    }
    out << routeText(check) << ": " << (answer.permit ? "permit" : "deny");
    if (answer.permit) {
      std::string text;
      for (const std::string& c : changes) text += ", " + c;
      out << (changes.empty() ? ", unchanged" : text);
    }
    out << '\n';
    return;
  }
  const Verdict v = judge(check, answer);
  ++(v.passed ? passed : failed);
  if (json) {
    RibText::JsonWriter line;
    openCheckLine(line, step, check);
    line.member("passed").boolean(v.passed);
    line.member("expected").string(v.expected);
    line.member("got").string(v.got);
    out << line.close('}').text() << '\n';
  } else if (!v.passed) {
    out << checkPlace(step, check) << "expected " << v.expected << ", got " << v.got << '\n';
  }
}

// The answers for `routes` after a fresh start of the step on the wiped daemon; bgpd then goes
// back to the incremental state. Nothing, with `trouble` said or left to the sink's failure,
// when the FRR side failed.
std::optional<std::vector<Answer>> freshAnswers(const std::string& vrf,
                                                const ribpolicy::ScenarioConfig& config, Sink& frr,
                                                const Vtysh& vtysh,
                                                const std::vector<RouteCheck>& routes,
                                                std::chrono::milliseconds timeout,
                                                std::string& trouble) {
  const Config fresh = freshTranslation(vrf, config);
  const std::string n = std::to_string(frr.step());
  const Config incremental = frr.holds();
  if (!frr.bringTo(fresh, "the fresh start of step " + n + " on the wiped daemon", true)) {
    return std::nullopt;
  }
  for (const RouteCheck& c : routes) {
    if (!fresh.find(Kind::routeMap, c.map)) {
      trouble = "step " + n + ": route map '" + c.map + "' is not in bgpd after a fresh start";
      break;
    }
  }
  StepResult r;
  if (trouble.empty()) r = sendRoutes(vtysh, routes, false, timeout);
  if (!frr.bringTo(incremental, "the return to the incremental state after step " + n)) {
    return std::nullopt;
  }
  if (trouble.empty() && !r.trouble.empty()) trouble = "step " + n + " (fresh): " + r.trouble;
  if (!trouble.empty()) return std::nullopt;
  return r.answers;
}

void writeDifference(std::size_t step, const RouteCheck& check, const Answer& incremental,
                     const Answer& fresh, bool json, std::ostream& out) {
  if (json) {
    RibText::JsonWriter line;
    openCheckLine(line, step, check);
    line.member("incremental").string(answerText(incremental));
    line.member("fresh").string(answerText(fresh));
    out << line.close('}').text() << '\n';
    return;
  }
  out << checkPlace(step, check) << "incremental " << answerText(incremental) << "; fresh start "
      << answerText(fresh) << '\n';
}

// The table of routes of --routes, or nothing with the error written.
std::optional<std::vector<RouteCheck>> routeTable(const TestOptions& options, std::ostream& err) {
  const bool stdinFile = options.routes == "-";
  const std::string shown = stdinFile ? "<stdin>" : options.routes;
  try {
    std::ifstream file;
    if (!stdinFile) file.open(options.routes, std::ios::binary);
    std::istream& in = stdinFile ? *options.in : file;
    if (!in) throw ribpolicy::InputError(1, 1, "cannot read the file of routes");
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    return ribpolicy::readRouteTable(text, options.map);
  } catch (const ribpolicy::InputError& e) {
    err << e.format(shown) << '\n';
    return std::nullopt;
  }
}

}  // namespace

int testCommand(const ribpolicy::Scenario& scenario, const std::string& shown,
                const TestOptions& options, const DaemonOptions& daemon, std::ostream& out,
                std::ostream& err) {
  if (!acceptable(scenario, shown, err)) return ribpolicy::kExitBadInput;
  const bool table = !options.map.empty();
  const std::size_t last = table && options.step > 0 ? options.step : scenario.steps.size();
  std::vector<RouteCheck> tableRoutes;
  if (table) {
    std::optional<std::vector<RouteCheck>> read = routeTable(options, err);
    if (!read) return ribpolicy::kExitBadInput;
    tableRoutes = std::move(*read);
    if (!scenario.steps[last - 1].config.routeMaps.count(options.map)) {
      err << "ribpolicy: error: --map: " << shown << " configures no route map '" << options.map
          << "' in step " << last << '\n';
      return ribpolicy::kExitBadInput;
    }
  } else if (!checksHold(scenario, shown, err)) {
    return ribpolicy::kExitBadInput;
  }
  if (const std::optional<std::string> why = Speaker::whyNot()) {
    err << "ribpolicy: error: " << *why << '\n';
    return ribpolicy::kExitBadInput;
  }
  const Vtysh vtysh(daemon.pathspace, daemon.timeout);
  Sink frr(vtysh, daemon.perStep);
  if (!frr.open(daemon.replace ? Sink::Held::adopt : Sink::Held::refuse))
    return report(*frr.failure(), shown, err);

  const bool json = options.format == RunFormat::jsonl;
  std::size_t passed = 0;
  std::size_t failed = 0;
  std::size_t differ = 0;  // routes whose result differs after a fresh start
  std::string trouble;
  ribpolicy::LibraryRootGuard keepRoot;
  ribpolicy::Agent agent(scenario.vrf);
  {
    Rib::ScopedSink sink(&frr);
    for (std::size_t i = 0; i < last; ++i) {
      const ribpolicy::Step& step = scenario.steps[i];
      frr.stepIs(i + 1);
      agent.applyStep(step.config, step.inputs);
      frr.stepDone();
      if (frr.failure()) break;
      const std::vector<RouteCheck>& routes = !table          ? step.routes
                                              : i + 1 == last ? tableRoutes
                                                              : std::vector<RouteCheck>{};
      if (routes.empty()) continue;
      for (const RouteCheck& c : routes) {
        if (frr.holds().find(Kind::routeMap, c.map)) continue;
        const std::string what = "route map '" + c.map + "' is not in bgpd after step " +
                                 std::to_string(i + 1) + " (the engine holds no such map)";
        if (table) {
          trouble = what;
        } else {
          located(err, shown, c.mark, "error", what);
          trouble = "-";
        }
        break;
      }
      if (!trouble.empty()) break;
      const StepResult r = sendRoutes(vtysh, routes, options.counts, daemon.timeout);
      if (!r.trouble.empty()) {
        trouble = "step " + std::to_string(i + 1) + ": " + r.trouble;
        break;
      }
      for (std::size_t c = 0; c < routes.size(); ++c) {
        writeResult(i + 1, routes[c], r.answers[c], table, json, out, passed, failed);
      }
      for (const MapCounts& m : r.counts) writeCounts(i + 1, m, json, out);
      if (!options.againstFresh || table || !agent.attached().complete()) continue;
      const std::optional<std::vector<Answer>> fresh =
          freshAnswers(scenario.vrf, step.config, frr, vtysh, routes, daemon.timeout, trouble);
      if (!fresh) break;
      for (std::size_t c = 0; c < routes.size(); ++c) {
        if ((*fresh)[c] == r.answers[c]) continue;
        ++differ;
        writeDifference(i + 1, routes[c], r.answers[c], (*fresh)[c], json, out);
      }
    }
  }
  Rib::ScopedSink quiet(nullptr);
  agent.teardown();
  if (frr.failure()) return report(*frr.failure(), shown, err);
  if (!trouble.empty()) {
    if (trouble != "-") err << "ribpolicy: error: " << shown << ' ' << trouble << '\n';
    return ribpolicy::kExitBadInput;
  }
  if (table) {
    out.flush();
    return ribpolicy::kExitOk;
  }
  if (json) {
    RibText::JsonWriter line;
    line.open('{');
    line.member("passed").number(passed);
    line.member("failed").number(failed);
    if (options.againstFresh) line.member("differ").number(differ);
    out << line.close('}').text() << '\n';
  } else {
    out << passed << " passed, " << failed << " failed";
    if (options.againstFresh) out << ", " << differ << " differ from a fresh start";
    out << '\n';
  }
  out.flush();
  return failed > 0 || differ > 0 ? ribpolicy::kExitDifferent : ribpolicy::kExitOk;
}

}  // namespace frr
