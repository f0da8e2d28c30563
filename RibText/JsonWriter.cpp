#include "RibText/JsonWriter.h"

namespace RibText {

namespace {

// Text is given to the stream in pieces of about this size.
constexpr std::size_t kSpillBytes = std::size_t{1} << 16;

bool plain(unsigned char c) {
  return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

}  // namespace

void JsonWriter::appendString(std::string& out, std::string_view bytes) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  for (std::size_t i = 0; i < bytes.size();) {
    // A run of bytes that need no escape goes in at once.
    std::size_t end = i;
    while (end < bytes.size() && plain(static_cast<unsigned char>(bytes[end]))) ++end;
    out.append(bytes, i, end - i);
    if (end == bytes.size()) break;
    const auto c = static_cast<unsigned char>(bytes[end]);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else {
      out += "\\u00";
      out += kHex[c >> 4];
      out += kHex[c & 0xf];
    }
    i = end + 1;
  }
  out += '"';
}

JsonWriter& JsonWriter::open(char bracket) {
  out_ += bracket;
  counts_.push_back(0);
  return *this;
}

JsonWriter& JsonWriter::item() {
  spill(kSpillBytes);
  if (counts_.back()++ > 0) out_ += ',';
  newline(counts_.size());
  return *this;
}

JsonWriter& JsonWriter::member(std::string_view name) {
  item();
  appendString(out_, name);
  out_ += indented_ ? ": " : ":";
  return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
  const bool empty = counts_.back() == 0;
  counts_.pop_back();
  if (!empty) newline(counts_.size());
  out_ += bracket;
  return *this;
}

JsonWriter& JsonWriter::string(std::string_view bytes) {
  appendString(out_, bytes);
  return *this;
}

void JsonWriter::newline(std::size_t level) {
  if (!indented_) return;
  // A newline and the indentation, taken from one line of blanks while it is deep enough.
  static constexpr std::string_view kIndent =
      "\n                                                                ";
  if (2 * level < kIndent.size()) {
    out_.append(kIndent.data(), 1 + 2 * level);
  } else {
    out_ += '\n';
    out_.append(2 * level, ' ');
  }
}

void JsonWriter::spill(std::size_t atLeast) {
  if (!sink_ || out_.size() < atLeast || out_.empty()) return;
  sink_->write(out_.data(), static_cast<std::streamsize>(out_.size()));
  out_.clear();
}

}  // namespace RibText
