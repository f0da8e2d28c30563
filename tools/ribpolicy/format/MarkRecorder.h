// Where the reader is in a step's document, for the marks that locate every object, entry and
// clause of the step (StepMarks) and the warnings found while reading. Used by the scenario
// reader alone.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/format/ScenarioValues.h"

namespace ribpolicy::reader {

// Records the marks of the step being read (see StepMarks). The reader is a recursive descent,
// so the path of the node at hand is a stack: a MarkScope adds one name to it for as long as
// the reader is inside that node.
class MarkRecorder {
 public:
  explicit MarkRecorder(StepMarks& marks) : MarkRecorder(marks, own_) {}
  // Records under `path`, which the recorder extends and gives back as it was.
  MarkRecorder(StepMarks& marks, std::string& path) : marks_(marks), outer_(current_), path_(path) {
    current_ = this;
  }
  ~MarkRecorder() { current_ = outer_; }
  MarkRecorder(const MarkRecorder&) = delete;
  MarkRecorder& operator=(const MarkRecorder&) = delete;

  // Records `n` at the current path extended by `name` (or at the current path itself).
  static void mark(const Node& n, std::string_view name = {}) {
    if (!current_) return;
    const std::size_t size = current_->path_.size();
    if (!name.empty()) current_->push(name);
    if (current_->marks_.pathBytes() + current_->path_.size() > kMaxPathBytes) {
      throw InputError(n.line(), n.column(), "invalid YAML: too much text");
    }
    current_->marks_.record(current_->path_, Mark{n.line(), n.column()});
    current_->path_.resize(size);
  }

  // Takes the marks recorded while a list was read early (its entries' paths are whole).
  static void adopt(const Node& list, StepMarks& early) {
    if (!current_) return;
    if (current_->marks_.pathBytes() + early.pathBytes() > kMaxPathBytes) {
      throw InputError(list.line(), list.column(), "invalid YAML: too much text");
    }
    current_->marks_.take(early);
  }

  // Notes a warning at `n` in the step being read.
  static void warn(Mark at, WarningClass warning, std::string message) {
    if (current_) current_->marks_.notes.push_back({at, warning, std::move(message)});
  }
  static void warn(const Node& n, WarningClass warning, std::string message) {
    warn(Mark{n.line(), n.column()}, warning, std::move(message));
  }

 private:
  friend class MarkScope;
  void push(std::string_view name) {
    if (!path_.empty()) path_ += '/';
    path_ += name;
  }

  // The marks of one step keep their paths' text in one string of at most this size.
  static constexpr std::size_t kMaxPathBytes = std::numeric_limits<std::uint32_t>::max();
  static inline MarkRecorder* current_ = nullptr;
  StepMarks& marks_;
  MarkRecorder* outer_;
  std::string own_;
  std::string& path_;
};

class MarkScope {
 public:
  MarkScope(const Node& n, std::string_view name) {
    MarkRecorder::mark(n, name);
    if (MarkRecorder* r = MarkRecorder::current_) {
      size_ = r->path_.size();
      r->push(name);
    }
  }
  ~MarkScope() {
    if (MarkRecorder* r = MarkRecorder::current_) r->path_.resize(size_);
  }
  MarkScope(const MarkScope&) = delete;
  MarkScope& operator=(const MarkScope&) = delete;

 private:
  std::size_t size_ = 0;
};

}  // namespace ribpolicy::reader
