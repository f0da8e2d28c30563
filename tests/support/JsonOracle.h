// The JSON library as the tests' oracle for the program's JSON: the text that nlohmann prints
// for a value built the plain way, in the program's escaping (every byte outside printable
// ASCII as one \u00XX).
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace test_support {

using Json = nlohmann::ordered_json;

// The JSON string value that carries the bytes of `bytes` one code point each, so that the
// library, which escapes code points, escapes each byte once.
inline std::string jsonBytes(std::string_view bytes) {
  std::string out;
  for (const char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      out += static_cast<char>(0xc0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3f));
    }
  }
  return out;
}

// Compact or indented text, ASCII only. The library writes five control characters in short
// forms (\n, \t ...), which are turned into the \u00XX form; a backslash always begins an
// escape, so each escape is taken whole.
inline std::string jsonText(const Json& json, bool indented) {
  const std::string dumped = json.dump(indented ? 2 : -1, ' ', true);
  std::string out;
  for (std::size_t i = 0; i < dumped.size(); ++i) {
    if (dumped[i] != '\\' || i + 1 == dumped.size()) {
      out += dumped[i];
      continue;
    }
    const char next = dumped[++i];
    switch (next) {
      case 'b':
        out += "\\u0008";
        break;
      case 't':
        out += "\\u0009";
        break;
      case 'n':
        out += "\\u000a";
        break;
      case 'f':
        out += "\\u000c";
        break;
      case 'r':
        out += "\\u000d";
        break;
      default:
        out += '\\';
        out += next;
        break;
    }
  }
  return out;
}

}  // namespace test_support
