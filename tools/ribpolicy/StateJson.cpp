#include "tools/ribpolicy/StateJson.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <sstream>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace ribpolicy {

std::string jsonBytes(std::string_view bytes) {
  const auto ascii = [](char ch) { return static_cast<unsigned char>(ch) < 0x80; };
  if (std::all_of(bytes.begin(), bytes.end(), ascii)) return std::string(bytes);
  std::string out;
  out.reserve(bytes.size());
  for (char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      // The code point c in UTF-8: two bytes for 0x80 to 0xff.
      out += static_cast<char>(0xc0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3f));
    }
  }
  return out;
}

std::string nodeName(const Rib::PathEntry& entry) {
  std::string out = std::to_string(entry.tag);
  switch (entry.kind) {
    case Rib::PathEntry::Kind::none:
      break;
    case Rib::PathEntry::Kind::string:
      out += "=\"" + entry.str + '"';
      break;
    case Rib::PathEntry::Kind::u32:
      out += '=' + std::to_string(entry.u32);
      break;
  }
  return jsonBytes(out);
}

Json valueJson(const Rib::ValueData& value) {
  Json out = Json::array();
  out.push_back(Rib::typeName(Rib::typeOf(value)));
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32>) {
          out.push_back(x);
        } else if constexpr (std::is_same_v<T, U8>) {
          out.push_back(static_cast<unsigned>(x));
        } else if constexpr (std::is_same_v<T, std::string>) {
          out.push_back(jsonBytes(x));
        } else if constexpr (std::is_same_v<T, bool>) {
          out.push_back(x);
        } else if constexpr (std::is_same_v<T, Vela::IpAddr> || std::is_same_v<T, Vela::Ip6Addr>) {
          out.push_back(x.toString());
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          out.push_back(x);
        } else {
          static_assert(std::is_same_v<T, Rib::Reset>);
          // A reset removes its tag from a node, so a committed node never holds one.
        }
      },
      value);
  return out;
}

std::string jsonText(const Json& json, bool indented) {
  const std::string dumped = json.dump(indented ? 2 : -1, ' ', true);
  // The serializer writes five control characters in their short forms (\n, \t ...);
  // the operation stream writes every byte outside printable ASCII as \u00XX, and the state
  // does the same. A backslash in the output always begins an escape, so each escape can
  // be taken whole.
  std::string out;
  out.reserve(dumped.size());
  for (std::size_t i = 0; i < dumped.size(); ++i) {
    if (dumped[i] != '\\' || i + 1 == dumped.size()) {
      out += dumped[i];
      continue;
    }
    const char next = dumped[++i];
    const char* code = nullptr;
    switch (next) {
      case 'b':
        code = "\\u0008";
        break;
      case 't':
        code = "\\u0009";
        break;
      case 'n':
        code = "\\u000a";
        break;
      case 'f':
        code = "\\u000c";
        break;
      case 'r':
        code = "\\u000d";
        break;
      default:
        break;
    }
    if (code) {
      out += code;
    } else {
      out += '\\';
      out += next;
    }
  }
  return out;
}

namespace {

// Writes JSON text in the layout of jsonText: two spaces a level when indented, ": " after a
// member name, every code point outside printable ASCII as \u00XX (or \uXXXX, and a pair
// of them past the first plane).
class TextWriter {
 public:
  // With a `sink`, the text goes there in pieces of about kSpillBytes as it is made (the
  // state of a million entries is several hundred megabytes of text); without one, it all
  // stays in `out`.
  TextWriter(std::string& out, bool indented, std::ostream* sink = nullptr)
      : out_(out), indented_(indented), sink_(sink) {}
  ~TextWriter() { spill(0); }
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  // A container opens with its bracket; each item or member begins with item(), and the
  // container closes with close(), which writes "{}" or "[]" when nothing was in it.
  void open(char bracket) {
    out_ += bracket;
    counts_.push_back(0);
  }
  void item() {
    spill(kSpillBytes);
    if (counts_.back()++ > 0) out_ += ',';
    newline(counts_.size());
  }
  // Text written as it is: a number, true or false.
  void raw(std::string_view text) { out_ += text; }
  // An IPv4 address as "A.B.C.D", as IpAddr::toString writes it: a million of them go
  // through here, where formatting each through the C library would cost more than the rest
  // of the value.
  void ipv4(std::uint32_t a) {
    out_ += '"';
    for (int shift = 24; shift >= 0; shift -= 8) {
      number((a >> shift) & 0xff);
      if (shift > 0) out_ += '.';
    }
    out_ += '"';
  }
  void number(std::uint64_t n) {
    char digits[20];
    const auto end = std::to_chars(digits, digits + sizeof digits, n).ptr;
    out_.append(digits, end);
  }
  void member(std::string_view name) {
    item();
    string(name);
    out_ += indented_ ? ": " : ":";
  }
  void close(char bracket) {
    const bool empty = counts_.back() == 0;
    counts_.pop_back();
    if (!empty) newline(counts_.size());
    out_ += bracket;
  }

  // `s` is UTF-8, as jsonBytes makes it.
  void string(std::string_view s) {
    out_ += '"';
    for (std::size_t i = 0; i < s.size();) {
      const auto c = static_cast<unsigned char>(s[i]);
      if (c >= 0x20 && c < 0x7f) {
        // A run of printable characters that need no backslash goes in at once.
        std::size_t end = i;
        while (end < s.size() && plain(static_cast<unsigned char>(s[end]))) ++end;
        if (end > i) {
          out_.append(s, i, end - i);
          i = end;
          continue;
        }
        out_ += '\\';
        out_ += static_cast<char>(c);
        ++i;
        continue;
      }
      const std::size_t width = c < 0x80 ? 1 : c < 0xe0 ? 2 : c < 0xf0 ? 3 : 4;
      std::uint32_t cp = width == 1 ? c : width == 2 ? c & 0x1f : width == 3 ? c & 0x0f : c & 0x07;
      for (std::size_t k = 1; k < width && i + k < s.size(); ++k) {
        cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3f);
      }
      i += width;
      if (cp > 0xffff) {
        cp -= 0x10000;
        escape(0xd800 + (cp >> 10));
        escape(0xdc00 + (cp & 0x3ff));
      } else {
        escape(cp);
      }
    }
    out_ += '"';
  }

  // A small value made as Json (an engine value, a reason), written in the same layout.
  void json(const Json& j) {
    switch (j.type()) {
      case Json::value_t::object:
        open('{');
        for (const auto& [name, value] : j.items()) {
          member(name);
          json(value);
        }
        close('}');
        break;
      case Json::value_t::array:
        open('[');
        for (const Json& x : j) {
          item();
          json(x);
        }
        close(']');
        break;
      case Json::value_t::string:
        string(j.get_ref<const std::string&>());
        break;
      case Json::value_t::null:
      case Json::value_t::boolean:
      case Json::value_t::number_integer:
      case Json::value_t::number_unsigned:
      case Json::value_t::number_float:
      case Json::value_t::binary:
      case Json::value_t::discarded:
        out_ += j.dump();
        break;
    }
  }

 private:
  static constexpr std::size_t kSpillBytes = std::size_t{1} << 16;

  static bool plain(unsigned char c) { return c >= 0x20 && c < 0x7f && c != '"' && c != '\\'; }

  void spill(std::size_t atLeast) {
    if (!sink_ || out_.size() < atLeast || out_.empty()) return;
    sink_->write(out_.data(), static_cast<std::streamsize>(out_.size()));
    out_.clear();
  }
  void newline(std::size_t level) {
    if (!indented_) return;
    // A newline and the indentation, taken from one line of spaces while it is deep enough.
    static constexpr std::string_view kIndent =
        "\n                                                                ";
    if (2 * level < kIndent.size()) {
      out_.append(kIndent.data(), 1 + 2 * level);
    } else {
      out_ += '\n';
      out_.append(2 * level, ' ');
    }
  }
  void escape(std::uint32_t cp) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(cp));
    out_ += buf;
  }

  std::string& out_;
  bool indented_;
  std::ostream* sink_;
  std::vector<std::size_t> counts_;
};

// [TYPE, VALUE], as valueJson makes it and TextWriter::json writes it.
void writeValue(TextWriter& w, const Rib::ValueData& value) {
  w.open('[');
  w.item();
  w.string(Rib::typeName(Rib::typeOf(value)));
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32>) {
          w.item();
          w.number(x);
        } else if constexpr (std::is_same_v<T, U8>) {
          w.item();
          w.number(x);
        } else if constexpr (std::is_same_v<T, std::string>) {
          w.item();
          w.string(jsonBytes(x));
        } else if constexpr (std::is_same_v<T, bool>) {
          w.item();
          w.raw(x ? "true" : "false");
        } else if constexpr (std::is_same_v<T, Vela::IpAddr>) {
          w.item();
          w.ipv4(x.value());
        } else if constexpr (std::is_same_v<T, Vela::Ip6Addr>) {
          w.item();
          w.string(x.toString());
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          w.item();
          w.open('[');
          for (const U32 word : x) {
            w.item();
            w.number(word);
          }
          w.close(']');
        } else {
          static_assert(std::is_same_v<T, Rib::Reset>);
        }
      },
      value);
  w.close(']');
}

// The names of the nodes on the way down whose objects are not written yet: a node is written
// only once something below it holds a value, so that whether a subtree means anything is
// found out by the one walk that writes it.
struct Pending {
  std::vector<std::string> names;
  std::size_t open = 0;  // how many of them are written

  void writeOut(TextWriter& w) {
    for (; open < names.size(); ++open) {
      w.member(names[open]);
      w.open('{');
    }
  }
};

void writeEngine(TextWriter& w, const Rib::EngineModel::Node& node, Pending& pending) {
  if (!node.values.empty()) {
    pending.writeOut(w);
    w.member("=");
    w.open('{');
    for (const auto& [tag, value] : node.values) {
      char digits[10];
      w.member(std::string_view(digits, std::to_chars(digits, digits + sizeof digits, tag).ptr));
      writeValue(w, value);
    }
    w.close('}');
  }
  for (const auto& [entry, child] : node.children) {
    pending.names.push_back(nodeName(entry));
    writeEngine(w, child, pending);
    if (pending.open == pending.names.size()) {
      w.close('}');
      --pending.open;
    }
    pending.names.pop_back();
  }
}

void writeRequesters(TextWriter& w, const RoutingPolicyMap::PolicyMap::Coll& coll) {
  w.open('{');
  for (const auto& [name, requester] : coll) {
    w.member(jsonBytes(name));
    w.open('[');
    for (const RoutingPolicyMap::Requester& r : requester->reason()) {
      w.item();
      w.json(Json::array({r.plugin, r.mode, jsonBytes(r.configCli), jsonBytes(r.configKey)}));
    }
    w.close(']');
  }
  w.close('}');
}

}  // namespace

void writeState(std::ostream& out, const Rib::EngineModel::Node& engine,
                const RoutingPolicyMap::PolicyMap& map, bool indented) {
  std::string buffer;
  TextWriter w(buffer, indented, &out);
  w.open('{');
  w.member("engine");
  w.open('{');
  Pending pending;
  writeEngine(w, engine, pending);
  w.close('}');
  w.member("policy-map");
  w.open('{');
  w.member("route-maps");
  writeRequesters(w, map.routeMap());
  w.member("dynamic-prefix-lists");
  writeRequesters(w, map.dynamicPrefixList());
  w.member("redistributed-dynamic-prefix-lists");
  writeRequesters(w, map.redistributedDynPfx());
  w.close('}');
  w.close('}');
}

std::string stateText(const Rib::EngineModel::Node& engine, const RoutingPolicyMap::PolicyMap& map,
                      bool indented) {
  std::ostringstream out;
  writeState(out, engine, map, indented);
  return std::move(out).str();
}

}  // namespace ribpolicy
