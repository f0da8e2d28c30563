// The operation stream for people: one line per operation or commit, in aligned columns.
//
//   step 1: initial
//          routeMap        policy/route-map="RM1"                 {name="RM1"}
//          routeMapSeq     policy/route-map="RM1"/seqs/seq=10     {seq=10 permit=true}
//     DEL  deleteRouteMap  policy/route-map="RM1"
//     ---- commit
//     ---- commit (op)
//
// Deletes carry "DEL" in the first column so that they stand out; commits are rules across
// the operation columns. Tags are named and communities and AS paths written in their usual
// forms (RibText/TagNames.h); the numeric form writes every tag and value as the engine gets it
// (`512/576="RM1"/577/578=10 {0:u32=10 1:flag=true}`). Strings are quoted with bytes outside
// printable ASCII as \xHH.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "framework/rib/MioSink.h"

namespace ribpolicy {

class TextWriter : public Rib::MioSink {
 public:
  enum class Form : std::uint8_t { readable, numeric };
  // The column at which an operation's values (or a change's) begin, after its path.
  static constexpr std::size_t kPathWidth = 60;

  explicit TextWriter(std::ostream& out, Form form = Form::readable) : out_(out), form_(form) {}

  void execute(const Rib::MioOp& op) override;
  void commit(Rib::CommitKind kind) override;

  // Starts a step: its header line, and counting its operations afresh.
  void stepIs(std::size_t number, std::string_view name, std::string_view note);
  // Ends a step; says so when it sent nothing.
  void stepDone();

  static std::string opLine(const Rib::OpRecord& op, Form form);
  static std::string commitLine(Rib::CommitKind kind);

 private:
  std::ostream& out_;
  Form form_;
  std::size_t lines_ = 0;
};

}  // namespace ribpolicy
