// The one JSON writer of the stream's readers: the operation stream as JSON lines, the engine
// state, and the program's reports all come out of it.
//
// Engine strings are byte strings (a packed AS path holds any byte), so a string is escaped a
// byte at a time: '"' and '\' get a backslash, and every byte outside printable ASCII is one
// \u00XX escape, never a UTF-8 decoding. A JSON parser reads each such byte back as the code
// point of the same number, and the text is plain ASCII.
//
// The writer streams: a container opens with its bracket, each array item begins with item()
// and each object member with member(name), and close() ends the container ("{}" or "[]" when
// nothing was in it). Compact text has no blank at all; indented text puts every item on a line
// of its own, two blanks deeper a level, with ": " after a member's name. Text is kept in the
// writer, or, given a stream, written to it in pieces as it is made, so that a state of a
// million entries never needs its whole text at once.
#pragma once

#include <charconv>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace RibText {

class JsonWriter {
 public:
  // The text stays in the writer: text() or take().
  explicit JsonWriter(bool indented = false) : indented_(indented) {}
  // The text goes to `sink` as it is made, the last of it when the writer goes.
  JsonWriter(std::ostream& sink, bool indented) : indented_(indented), sink_(&sink) {}
  ~JsonWriter() { spill(0); }
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  JsonWriter& open(char bracket);
  JsonWriter& item();
  JsonWriter& member(std::string_view name);
  JsonWriter& close(char bracket);

  JsonWriter& string(std::string_view bytes);
  // Any integer, signed or not.
  template <class N>
  requires(std::is_integral_v<N> && !std::is_same_v<N, bool>) JsonWriter& number(N n) {
    char digits[24];
    out_.append(digits, std::to_chars(digits, digits + sizeof digits, n).ptr);
    return *this;
  }
  JsonWriter& boolean(bool b) { return raw(b ? "true" : "false"); }
  // Text that is JSON already.
  JsonWriter& raw(std::string_view text) {
    out_ += text;
    return *this;
  }

  // What is written and not yet given to the stream.
  const std::string& text() const { return out_; }
  std::string take() { return std::move(out_); }

  // `bytes` as a JSON string, quotes included, escaped as above.
  static void appendString(std::string& out, std::string_view bytes);

 private:
  void newline(std::size_t level);
  void spill(std::size_t atLeast);

  std::string out_;
  bool indented_ = false;
  std::ostream* sink_ = nullptr;
  std::vector<std::size_t> counts_;  // the items so far of each open container
};

}  // namespace RibText
