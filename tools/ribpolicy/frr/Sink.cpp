#include "tools/ribpolicy/frr/Sink.h"

#include <sstream>

#include "tools/ribpolicy/frr/Delta.h"
#include "tools/ribpolicy/frr/RunningConfig.h"
#include "tools/ribpolicy/frr/Translate.h"

namespace frr {

namespace {

// How many of the lines a daemon already holds a refusal shows.
constexpr std::size_t kShownLines = 10;

}  // namespace

const char* kindText(Failure::Kind kind) {
  switch (kind) {
    case Failure::Kind::differs:
      return "FRR differs from the translation";
    case Failure::Kind::refused:
      return "FRR refused lines";
    case Failure::Kind::gone:
      return "bgpd cannot be used";
    case Failure::Kind::occupied:
      return "bgpd holds policy of its own";
  }
  return "FRR failed";
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

void Sink::fail(Failure::Kind kind, std::string what, std::vector<std::string> details) {
  if (!failure_) failure_ = Failure{kind, step_, std::move(what), std::move(details)};
}

bool Sink::open(Held held) {
  const Vtysh::Reply r = vtysh_.show();
  if (r.trouble != Vtysh::Trouble::none) {
    fail(Failure::Kind::gone, vtysh_.unreachable().value_or(r.text));
    return false;
  }
  Config there = parseRunningConfig(r.text);
  std::vector<std::string> lines = policyLines(there);
  if (lines.empty()) return true;
  if (held == Held::adopt) {
    holds_ = std::move(there);
    return true;
  }
  const std::size_t count = lines.size();
  if (lines.size() > kShownLines) lines.resize(kShownLines);
  fail(Failure::Kind::occupied,
       "bgpd in " + vtysh_.where() + " already holds policy this run did not make (" +
           std::to_string(count) +
           " lines); point the run at a bgpd without policy, or pass --frr-replace to take it over",
       std::move(lines));
  return false;
}

void Sink::commit(Rib::CommitKind kind) {
  model_.commit(kind);
  ++commits_;
  if (!perStep_) sync();
}

void Sink::stepIs(std::size_t step) {
  step_ = step;
  commits_ = 0;
  sent_.clear();
}

void Sink::stepDone() {
  if (perStep_) sync();
}

void Sink::sync() {
  if (failure_) return;
  const Translation t = translate(model_.committed());
  bringTo(t.config,
          perStep_ ? "step " + std::to_string(step_)
                   : "commit " + std::to_string(commits_) + " of step " + std::to_string(step_));
}

bool Sink::bringTo(const Config& target, const std::string& what, bool wiped) {
  if (failure_) return false;
  std::vector<std::string> lines = delta(holds_, wiped ? Config{} : target);
  if (wiped) {
    const std::vector<std::string> fresh = delta(Config{}, target);
    lines.insert(lines.end(), fresh.begin(), fresh.end());
  }
  if (lines.empty()) return true;
  sent_.push_back("! " + what);
  sent_.insert(sent_.end(), lines.begin(), lines.end());
  ++batches_;
  const Vtysh::Reply applied = vtysh_.apply(lines);
  if (applied.trouble == Vtysh::Trouble::gone) {
    fail(Failure::Kind::gone, applied.text + " (at " + what + ")", lines);
    return false;
  }
  if (applied.trouble == Vtysh::Trouble::refused) {
    std::vector<std::string> details = linesOf(applied.text);
    details.push_back("the lines sent:");
    details.insert(details.end(), lines.begin(), lines.end());
    fail(Failure::Kind::refused, "FRR refused lines of " + what, std::move(details));
    return false;
  }
  Config there = parseRunningConfig(applied.text);
  std::vector<std::string> differ = differences(target, there, "the translation", "FRR");
  if (!differ.empty()) {
    holds_ = std::move(there);
    fail(Failure::Kind::differs,
         "FRR's running configuration differs from the translation after " + what,
         std::move(differ));
    return false;
  }
  holds_ = target;
  return true;
}

}  // namespace frr
