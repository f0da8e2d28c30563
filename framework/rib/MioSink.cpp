#include "framework/rib/MioSink.h"

#include <cstdio>
#include <tuple>

namespace Rib {

bool operator<(const PathEntry& a, const PathEntry& b) {
  return std::tie(a.tag, a.kind, a.u32, a.str) < std::tie(b.tag, b.kind, b.u32, b.str);
}

const char* typeName(ValueType t) {
  switch (t) {
    case ValueType::u32:
      return "u32";
    case ValueType::u8:
      return "u8";
    case ValueType::str:
      return "str";
    case ValueType::flag:
      return "flag";
    case ValueType::ipv4:
      return "ipv4";
    case ValueType::ipv6:
      return "ipv6";
    case ValueType::words:
      return "words";
    case ValueType::reset:
      return "reset";
  }
  return "?";
}

OpRecord OpRecord::of(const MioOp& op) {
  OpRecord r;
  r.name = op.name();
  if (op.path()) r.path.assign(op.path()->entries().begin(), op.path()->entries().end());
  r.values.assign(op.values().begin(), op.values().end());
  r.scalars.assign(op.scalars().begin(), op.scalars().end());
  r.del = op.deleteFlag();
  return r;
}

void appendQuoted(std::string& out, std::string_view s) {
  out += '"';
  for (unsigned char c : s) {
    if (c < 0x20 || c > 0x7e || c == '"' || c == '\\') {
      char buf[5];
      std::snprintf(buf, sizeof buf, "\\x%02x", c);
      out += buf;
    } else {
      out += static_cast<char>(c);
    }
  }
  out += '"';
}

std::string pathText(const std::vector<PathEntry>& path) {
  std::string out;
  for (const PathEntry& e : path) {
    if (!out.empty()) out += '/';
    out += std::to_string(e.tag);
    switch (e.kind) {
      case PathEntry::Kind::none:
        break;
      case PathEntry::Kind::string:
        out += '=';
        appendQuoted(out, e.str);
        break;
      case PathEntry::Kind::u32:
        out += '=';
        out += std::to_string(e.u32);
        break;
    }
  }
  return out;
}

std::string valueText(const TaggedValue& v) {
  std::string out = std::to_string(v.tag) + ':' + typeName(typeOf(v.data));
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32>) {
          out += '=' + std::to_string(x);
        } else if constexpr (std::is_same_v<T, U8>) {
          out += '=' + std::to_string(static_cast<unsigned>(x));
        } else if constexpr (std::is_same_v<T, std::string>) {
          out += '=';
          appendQuoted(out, x);
        } else if constexpr (std::is_same_v<T, bool>) {
          out += x ? "=true" : "=false";
        } else if constexpr (std::is_same_v<T, Vela::IpAddr> || std::is_same_v<T, Vela::Ip6Addr>) {
          out += '=' + x.toString();
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          out += "=[";
          for (std::size_t i = 0; i < x.size(); ++i) {
            if (i) out += ',';
            out += std::to_string(x[i]);
          }
          out += ']';
        }
      },
      v.data);
  return out;
}

std::string opText(const OpRecord& op) {
  std::string out = op.name + ' ' + pathText(op.path);
  if (!op.values.empty()) {
    out += " {";
    for (std::size_t i = 0; i < op.values.size(); ++i) {
      if (i) out += ' ';
      out += valueText(op.values[i]);
    }
    out += '}';
  }
  if (!op.scalars.empty()) {
    out += " scalars{";
    for (std::size_t i = 0; i < op.scalars.size(); ++i) {
      if (i) out += ' ';
      out += std::to_string(op.scalars[i].tag) + ":u32=" + std::to_string(op.scalars[i].value);
    }
    out += '}';
  }
  if (op.del) out += " del";
  return out;
}

void Recorder::execute(const MioOp& op) {
  entries_.push_back({false, CommitKind::engine, OpRecord::of(op)});
}

void Recorder::commit(CommitKind kind) {
  entries_.push_back({true, kind, {}});
}

std::vector<std::string> Recorder::lines() const {
  std::vector<std::string> out;
  out.reserve(entries_.size());
  for (const Entry& e : entries_) {
    if (e.isCommit) {
      out.push_back(e.commit == CommitKind::engine ? "commit" : "commit op");
    } else {
      out.push_back(opText(e.op));
    }
  }
  return out;
}

std::vector<OpRecord> Recorder::ops() const {
  std::vector<OpRecord> out;
  for (const Entry& e : entries_) {
    if (!e.isCommit) out.push_back(e.op);
  }
  return out;
}

}  // namespace Rib
