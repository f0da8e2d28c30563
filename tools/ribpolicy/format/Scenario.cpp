#include "tools/ribpolicy/format/Scenario.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace ribpolicy {

std::string_view warningClassName(WarningClass c) {
  switch (c) {
    case WarningClass::undefined:
      return "undefined";
    case WarningClass::unused:
      return "unused";
    case WarningClass::cycle:
      return "cycle";
    case WarningClass::hostBits:
      return "host-bits";
    case WarningClass::unreachable:
      return "unreachable";
    case WarningClass::shadowed:
      return "shadowed";
    case WarningClass::transient:
      return "transient";
  }
  return "";
}

void StepMarks::record(std::string_view p, Mark mark) {
  // A path recorded again at once (a scope's own place, then its value's) keeps one record.
  if (!records_.empty() && path(records_.back()) == p) {
    records_.back().mark = mark;
    return;
  }
  records_.push_back(
      {static_cast<std::uint32_t>(paths_.size()), static_cast<std::uint32_t>(p.size()), mark});
  paths_ += p;
}

void StepMarks::take(StepMarks& other) {
  if (records_.size() < other.records_.size()) {
    // The larger set keeps its storage, and what was recorded here goes in front of it, its
    // paths too, so that offsets still follow the order of recording.
    std::swap(paths_, other.paths_);
    std::swap(records_, other.records_);
    const std::size_t later = paths_.size();
    paths_ += other.paths_;
    std::rotate(paths_.begin(), paths_.begin() + static_cast<std::ptrdiff_t>(later), paths_.end());
    const auto shift = static_cast<std::uint32_t>(other.paths_.size());
    for (Record& r : records_) r.offset += shift;
    records_.insert(records_.begin(), other.records_.begin(), other.records_.end());
  } else {
    for (const Record& r : other.records_) record(other.path(r), r.mark);
  }
  notes.insert(notes.end(), std::make_move_iterator(other.notes.begin()),
               std::make_move_iterator(other.notes.end()));
  other = StepMarks();
}

void StepMarks::seal() {
  // Records are made in the order of their offsets, so ordering by path, then offset, puts
  // the last record of each path last among its own.
  std::sort(records_.begin(), records_.end(), [&](const Record& a, const Record& b) {
    const int order = path(a).compare(path(b));
    return order < 0 || (order == 0 && a.offset < b.offset);
  });
  auto out = records_.begin();
  for (auto it = records_.begin(); it != records_.end(); ++it) {
    const auto next = std::next(it);
    if (next != records_.end() && path(*next) == path(*it)) continue;
    *out++ = *it;
  }
  records_.erase(out, records_.end());
}

const Mark* StepMarks::at(std::string_view p) const {
  const auto it =
      std::lower_bound(records_.begin(), records_.end(), p,
                       [&](const Record& r, std::string_view x) { return path(r) < x; });
  if (it == records_.end() || path(*it) != p) return nullptr;
  return &it->mark;
}

bool operator==(const StepMarks& a, const StepMarks& b) {
  if (a.step != b.step || a.records_.size() != b.records_.size() || a.notes != b.notes) {
    return false;
  }
  for (std::size_t i = 0; i < a.records_.size(); ++i) {
    if (a.path(a.records_[i]) != b.path(b.records_[i]) ||
        a.records_[i].mark != b.records_[i].mark) {
      return false;
    }
  }
  return true;
}

}  // namespace ribpolicy
