// Reads text that a JSON parser decoded to UTF-8 back to one byte per code point. The
// writers escape every byte outside printable ASCII as its own code point below 0x100, so
// this recovers exactly the bytes that were written.
#pragma once

#include <string>

namespace testing_support {

inline std::string latin1Bytes(const std::string& utf8) {
  std::string out;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80 || i + 1 == utf8.size()) {
      out += static_cast<char>(c);
    } else {
      const auto next = static_cast<unsigned char>(utf8[++i]);
      out += static_cast<char>(((c & 0x03) << 6) | (next & 0x3f));
    }
  }
  return out;
}

}  // namespace testing_support
