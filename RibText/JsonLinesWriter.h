// The operation stream as JSON lines, for another program to read.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "RibText/JsonWriter.h"
#include "framework/rib/MioSink.h"

namespace RibText {

// How a JSON output writes tags. Programs get the engine's numbers; a person reading JSON gets
// names from the one dictionary (TagNames.h), with AS paths as AS numbers and communities in
// their usual texts:
//   numbers: {"op":"routeMap","path":[[512],[576,"RM1"]],"values":[[0,"str","RM1"]]}
//   names:
//   {"op":"routeMap","path":[["policy"],["route-map","RM1"]],"values":[["name","str","RM1"]]}
// A tag the dictionary does not name keeps its number; a named value whose form the names
// change says so in its type: "as-path" ([64496,64496]) and "communities" (["65535:666"]).
enum class Tags : std::uint8_t { numbers, names };

// Writes every operation and commit as one JSON object a line:
//   {"op":"routeMap","path":[[512],[576,"RM1"]],"values":[[0,"str","RM1"]]}
//   {"op":"RouteMapSetOpMode","path":[[256]],"scalars":[[18,"u32",0]]}
//   {"op":"deleteRouteMap","path":[[512],[576,"RM1"]],"del":true}
//   {"commit":"engine"}   {"commit":"op"}
// "values", "scalars" and "del" appear only when present. Strings are escaped a byte at a time
// (JsonWriter.h), so packed binary strings survive exactly.
class JsonLinesWriter : public Rib::MioSink {
 public:
  explicit JsonLinesWriter(std::ostream& out, Tags tags = Tags::numbers) : out_(out), tags_(tags) {}
  void execute(const Rib::MioOp& op) override;
  void commit(Rib::CommitKind kind) override;

  // One line each, without the line end (execute and commit add it).
  static std::string opLine(const Rib::OpRecord& op, Tags tags = Tags::numbers);
  static std::string commitLine(Rib::CommitKind kind);

 private:
  std::ostream& out_;
  Tags tags_;
};

// A path, [[512],[576,"RM1"]], and one value, [0,"str","RM1"], as an operation's line has them.
void writePath(JsonWriter& w, const std::vector<Rib::PathEntry>& path, Tags tags = Tags::numbers);
void writeTaggedValue(JsonWriter& w, U32 tag, const Rib::ValueData& data);
// The same under a node whose path ends in `nodeTag`, with the tag and value named when `tags`
// says so.
void writeTaggedValue(JsonWriter& w, U32 nodeTag, U32 tag, const Rib::ValueData& data, Tags tags);
// A value's type and payload as items, named as above.
void writeValueItems(JsonWriter& w, U32 nodeTag, U32 tag, const Rib::ValueData& data, Tags tags);
// A tag as a JSON item: its number, or its name (the number where it has none).
void writeTag(JsonWriter& w, U32 tag, std::optional<std::string_view> name, Tags tags);
// A value's type and payload as items of an array that is open: "u32",7 or "reset" alone.
void writeValueItems(JsonWriter& w, const Rib::ValueData& data);

}  // namespace RibText
