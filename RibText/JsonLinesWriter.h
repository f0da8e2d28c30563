// The operation stream as JSON lines, the program's format for other programs.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "framework/rib/MioSink.h"

namespace RibText {

// Writes every operation and commit as one JSON object a line:
//   {"op":"routeMap","path":[[512],[576,"RM1"]],"values":[[0,"str","RM1"]]}
//   {"op":"RouteMapSetOpMode","path":[[256]],"scalars":[[18,"u32",0]]}
//   {"op":"deleteRouteMap","path":[[512],[576,"RM1"]],"del":true}
//   {"commit":"engine"}   {"commit":"op"}
// "values", "scalars" and "del" appear only when present. In strings, '"' and '\' are
// escaped and every byte outside 0x20..0x7e is written as \u00XX, one escape per byte, so
// packed binary strings survive exactly.
class JsonLinesWriter : public Rib::MioSink {
 public:
  explicit JsonLinesWriter(std::ostream& out) : out_(out) {}
  void execute(const Rib::MioOp& op) override;
  void commit(Rib::CommitKind kind) override;

  // One line each, without the line end (execute and commit add it).
  static std::string opLine(const Rib::OpRecord& op);
  static std::string commitLine(Rib::CommitKind kind);
  // Appends `s` as a JSON string, quotes included, escaped as above.
  static void appendJsonString(std::string& out, std::string_view s);
  // Appends a path, [[512],[576,"RM1"]], and one value, [0,"str","RM1"], as in an operation.
  static void appendPath(std::string& out, const std::vector<Rib::PathEntry>& path);
  static void appendTaggedValue(std::string& out, U32 tag, const Rib::ValueData& data);

 private:
  std::ostream& out_;
};

}  // namespace RibText
