#include "RibText/JsonLinesWriter.h"

#include <type_traits>
#include <utility>
#include <variant>

#include "RibText/TagNames.h"

namespace RibText {

using Rib::CommitKind;
using Rib::OpRecord;
using Rib::PathEntry;
using Rib::ValueData;

void writeValueItems(JsonWriter& w, const ValueData& data) {
  w.item().string(Rib::typeName(Rib::typeOf(data)));
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32> || std::is_same_v<T, U8>) {
          // A U8 is a number, not a character.
          w.item().number(x);
        } else if constexpr (std::is_same_v<T, std::string>) {
          w.item().string(x);
        } else if constexpr (std::is_same_v<T, bool>) {
          w.item().boolean(x);
        } else if constexpr (std::is_same_v<T, Vela::IpAddr>) {
          // Written digit by digit: a state of a million entries holds a million addresses,
          // and formatting each through the C library would cost more than the rest.
          w.item().raw("\"");
          for (int shift = 24; shift >= 0; shift -= 8) {
            w.number((x.value() >> shift) & 0xff);
            if (shift > 0) w.raw(".");
          }
          w.raw("\"");
        } else if constexpr (std::is_same_v<T, Vela::Ip6Addr>) {
          w.item().string(x.toString());
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          w.item().open('[');
          for (const U32 word : x) w.item().number(word);
          w.close(']');
        } else if constexpr (std::is_same_v<T, Rib::Reset>) {
          // A reset carries no payload.
        } else {
          static_assert(!sizeof(T), "every value type needs a JSON form");
        }
      },
      data);
}

void writeTaggedValue(JsonWriter& w, U32 tag, const ValueData& data) {
  w.open('[');
  w.item().number(tag);
  writeValueItems(w, data);
  w.close(']');
}

void writeTag(JsonWriter& w, U32 tag, std::optional<std::string_view> name, Tags tags) {
  if (tags == Tags::names && name) {
    w.string(*name);
  } else {
    w.number(tag);
  }
}

void writeValueItems(JsonWriter& w, U32 nodeTag, U32 tag, const ValueData& data, Tags tags) {
  if (tags == Tags::names) {
    if (const auto* bytes = std::get_if<std::string>(&data);
        bytes && isPackedAsPath(nodeTag, tag)) {
      if (const auto numbers = packedAsNumbers(*bytes)) {
        w.item().string("as-path");
        w.item().open('[');
        for (const U32 as : *numbers) w.item().number(as);
        w.close(']');
        return;
      }
    }
    if (const auto* words = std::get_if<std::vector<U32>>(&data)) {
      if (const auto texts = communityTexts(nodeTag, tag, *words)) {
        w.item().string("communities");
        w.item().open('[');
        for (const std::string& t : *texts) w.item().string(t);
        w.close(']');
        return;
      }
    }
  }
  writeValueItems(w, data);
}

void writeTaggedValue(JsonWriter& w, U32 nodeTag, U32 tag, const ValueData& data, Tags tags) {
  w.open('[');
  writeTag(w.item(), tag, valueTagName(nodeTag, tag), tags);
  writeValueItems(w, nodeTag, tag, data, tags);
  w.close(']');
}

void writePath(JsonWriter& w, const std::vector<PathEntry>& path, Tags tags) {
  w.open('[');
  for (const PathEntry& e : path) {
    w.item().open('[');
    writeTag(w.item(), e.tag, pathTagName(e.tag), tags);
    switch (e.kind) {
      case PathEntry::Kind::none:
        break;
      case PathEntry::Kind::string:
        w.item().string(e.str);
        break;
      case PathEntry::Kind::u32:
        w.item().number(e.u32);
        break;
    }
    w.close(']');
  }
  w.close(']');
}

std::string JsonLinesWriter::opLine(const OpRecord& op, Tags tags) {
  JsonWriter w;
  w.open('{');
  w.member("op").string(op.name);
  writePath(w.member("path"), op.path, tags);
  if (!op.values.empty()) {
    const U32 node = nodeTagOf(op.path);
    w.member("values").open('[');
    for (const Rib::TaggedValue& v : op.values)
      writeTaggedValue(w.item(), node, v.tag, v.data, tags);
    w.close(']');
  }
  if (!op.scalars.empty()) {
    w.member("scalars").open('[');
    for (const Rib::OpScalar& s : op.scalars) {
      w.item().open('[');
      writeTag(w.item(), s.tag, scalarTagName(s.tag), tags);
      writeValueItems(w, ValueData(std::in_place_type<U32>, s.value));
      w.close(']');
    }
    w.close(']');
  }
  if (op.del) w.member("del").boolean(true);
  w.close('}');
  return w.take();
}

std::string JsonLinesWriter::commitLine(CommitKind kind) {
  switch (kind) {
    case CommitKind::engine:
      return "{\"commit\":\"engine\"}";
    case CommitKind::operation:
      return "{\"commit\":\"op\"}";
  }
  return {};
}

void JsonLinesWriter::execute(const Rib::MioOp& op) {
  out_ << opLine(OpRecord::of(op), tags_) << '\n';
}

void JsonLinesWriter::commit(CommitKind kind) {
  out_ << commitLine(kind) << '\n';
}

}  // namespace RibText
