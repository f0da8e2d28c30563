#include "RibText/JsonLinesWriter.h"

#include <type_traits>
#include <utility>
#include <variant>

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

void writePath(JsonWriter& w, const std::vector<PathEntry>& path) {
  w.open('[');
  for (const PathEntry& e : path) {
    w.item().open('[');
    w.item().number(e.tag);
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

std::string JsonLinesWriter::opLine(const OpRecord& op) {
  JsonWriter w;
  w.open('{');
  w.member("op").string(op.name);
  writePath(w.member("path"), op.path);
  if (!op.values.empty()) {
    w.member("values").open('[');
    for (const Rib::TaggedValue& v : op.values) writeTaggedValue(w.item(), v.tag, v.data);
    w.close(']');
  }
  if (!op.scalars.empty()) {
    w.member("scalars").open('[');
    for (const Rib::OpScalar& s : op.scalars) {
      writeTaggedValue(w.item(), s.tag, ValueData(std::in_place_type<U32>, s.value));
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
  out_ << opLine(OpRecord::of(op)) << '\n';
}

void JsonLinesWriter::commit(CommitKind kind) {
  out_ << commitLine(kind) << '\n';
}

}  // namespace RibText
