// The operation stream for people: one line per operation or commit, in aligned columns.
//
//   step 1: initial
//          routeMap                 512/576="RM1"                    {0:str="RM1"}
//          routeMapSeq              512/576="RM1"/577/578=10         {0:u32=10 1:flag=true}
//     DEL  deleteRouteMap           512/576="RM1"
//     ---- commit
//     ---- commit (op)
//
// Deletes carry "DEL" in the first column so that they stand out; commits are rules across
// the operation columns. Strings are quoted with bytes outside printable ASCII as \xHH.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include "framework/rib/MioSink.h"

namespace ribpolicy {

class TextWriter : public Rib::MioSink {
 public:
  explicit TextWriter(std::ostream& out) : out_(out) {}

  void execute(const Rib::MioOp& op) override;
  void commit(Rib::CommitKind kind) override;

  // Starts a step: its header line, and counting its operations afresh.
  void stepIs(std::size_t number, std::string_view name, std::string_view note);
  // Ends a step; says so when it sent nothing.
  void stepDone();

  static std::string opLine(const Rib::OpRecord& op);
  static std::string commitLine(Rib::CommitKind kind);

 private:
  std::ostream& out_;
  std::size_t lines_ = 0;
};

}  // namespace ribpolicy
