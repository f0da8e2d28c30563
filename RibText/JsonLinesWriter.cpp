#include "RibText/JsonLinesWriter.h"

#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace RibText {

using Rib::CommitKind;
using Rib::MioOp;
using Rib::OpRecord;
using Rib::PathEntry;
using Rib::Reset;
using Rib::typeName;
using Rib::typeOf;
using Rib::ValueData;

void JsonLinesWriter::appendTaggedValue(std::string& out, U32 tag, const ValueData& data) {
  out += '[';
  out += std::to_string(tag);
  out += ",\"";
  out += typeName(typeOf(data));
  out += '"';
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32>) {
          out += ',' + std::to_string(x);
        } else if constexpr (std::is_same_v<T, U8>) {
          // A U8 is a number, not a character.
          out += ',' + std::to_string(static_cast<unsigned>(x));
        } else if constexpr (std::is_same_v<T, std::string>) {
          out += ',';
          JsonLinesWriter::appendJsonString(out, x);
        } else if constexpr (std::is_same_v<T, bool>) {
          out += x ? ",true" : ",false";
        } else if constexpr (std::is_same_v<T, Vela::IpAddr> || std::is_same_v<T, Vela::Ip6Addr>) {
          out += ',';
          JsonLinesWriter::appendJsonString(out, x.toString());
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          out += ",[";
          for (std::size_t i = 0; i < x.size(); ++i) {
            if (i) out += ',';
            out += std::to_string(x[i]);
          }
          out += ']';
        } else if constexpr (std::is_same_v<T, Reset>) {
          // A reset carries no payload: [tag,"reset"].
        } else {
          static_assert(!sizeof(T), "every value type needs a JSON form");
        }
      },
      data);
  out += ']';
}

void JsonLinesWriter::appendJsonString(std::string& out, std::string_view s) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c > 0x7e) {
      // One escape per byte, never a UTF-8 decoding: packed binary strings must come back
      // byte for byte, and most of them are not valid UTF-8 at all.
      out += "\\u00";
      out += kHex[c >> 4];
      out += kHex[c & 0xf];
    } else {
      out += static_cast<char>(c);
    }
  }
  out += '"';
}

void JsonLinesWriter::appendPath(std::string& out, const std::vector<PathEntry>& path) {
  out += '[';
  for (std::size_t i = 0; i < path.size(); ++i) {
    const PathEntry& e = path[i];
    if (i) out += ',';
    out += '[';
    out += std::to_string(e.tag);
    switch (e.kind) {
      case PathEntry::Kind::none:
        break;
      case PathEntry::Kind::string:
        out += ',';
        appendJsonString(out, e.str);
        break;
      case PathEntry::Kind::u32:
        out += ',' + std::to_string(e.u32);
        break;
    }
    out += ']';
  }
  out += ']';
}

std::string JsonLinesWriter::opLine(const OpRecord& op) {
  std::string out = "{\"op\":";
  appendJsonString(out, op.name);
  out += ",\"path\":";
  appendPath(out, op.path);
  if (!op.values.empty()) {
    out += ",\"values\":[";
    for (std::size_t i = 0; i < op.values.size(); ++i) {
      if (i) out += ',';
      appendTaggedValue(out, op.values[i].tag, op.values[i].data);
    }
    out += ']';
  }
  if (!op.scalars.empty()) {
    out += ",\"scalars\":[";
    for (std::size_t i = 0; i < op.scalars.size(); ++i) {
      if (i) out += ',';
      appendTaggedValue(out, op.scalars[i].tag,
                        ValueData(std::in_place_type<U32>, op.scalars[i].value));
    }
    out += ']';
  }
  if (op.del) out += ",\"del\":true";
  out += '}';
  return out;
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

void JsonLinesWriter::execute(const MioOp& op) {
  out_ << opLine(OpRecord::of(op)) << '\n';
}

void JsonLinesWriter::commit(CommitKind kind) {
  out_ << commitLine(kind) << '\n';
}

}  // namespace RibText
