// The operation stream as JSON lines, for another program to read.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "RibText/JsonWriter.h"
#include "framework/rib/MioSink.h"

namespace RibText {

// Writes every operation and commit as one JSON object a line:
//   {"op":"routeMap","path":[[512],[576,"RM1"]],"values":[[0,"str","RM1"]]}
//   {"op":"RouteMapSetOpMode","path":[[256]],"scalars":[[18,"u32",0]]}
//   {"op":"deleteRouteMap","path":[[512],[576,"RM1"]],"del":true}
//   {"commit":"engine"}   {"commit":"op"}
// "values", "scalars" and "del" appear only when present. Strings are escaped a byte at a time
// (JsonWriter.h), so packed binary strings survive exactly.
class JsonLinesWriter : public Rib::MioSink {
 public:
  explicit JsonLinesWriter(std::ostream& out) : out_(out) {}
  void execute(const Rib::MioOp& op) override;
  void commit(Rib::CommitKind kind) override;

  // One line each, without the line end (execute and commit add it).
  static std::string opLine(const Rib::OpRecord& op);
  static std::string commitLine(Rib::CommitKind kind);

 private:
  std::ostream& out_;
};

// A path, [[512],[576,"RM1"]], and one value, [0,"str","RM1"], as an operation's line has them.
void writePath(JsonWriter& w, const std::vector<Rib::PathEntry>& path);
void writeTaggedValue(JsonWriter& w, U32 tag, const Rib::ValueData& data);
// A value's type and payload as items of an array that is open: "u32",7 or "reset" alone.
void writeValueItems(JsonWriter& w, const Rib::ValueData& data);

}  // namespace RibText
