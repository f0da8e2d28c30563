// The JSON writer's strings: bytes, escaped one at a time.
#include "RibText/JsonWriter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct EscapeCase {
  const char* name;
  std::string in;
  const char* out;
  friend void PrintTo(const EscapeCase& c, std::ostream* os) { *os << c.name; }
};

class EscapeTest : public testing::TestWithParam<EscapeCase> {};

// The bytes become exactly the expected JSON string, quotes included.
TEST_P(EscapeTest, EscapesBytes) {
  std::string out = "prefix:";
  RibText::JsonWriter::appendString(out, GetParam().in);
  EXPECT_EQ(out, std::string("prefix:") + GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(
    JsonWriter, EscapeTest,
    testing::Values(
        // Nothing to escape.
        EscapeCase{"Plain", "RM1", R"("RM1")"},
        // The empty string is two quotes.
        EscapeCase{"Empty", "", R"("")"},
        // Quotes and backslashes get a backslash.
        EscapeCase{"QuoteAndBackslash", "a\"b\\c", R"("a\"b\\c")"},
        // Control bytes have no short forms: one \u00XX each.
        EscapeCase{"Controls", "\n\t\r\x1f", R"("\u000a\u0009\u000d\u001f")"},
        // The printable range ends are kept; DEL just past it is escaped.
        EscapeCase{"PrintableEdges", " ~\x7f", R"(" ~\u007f")"},
        // A packed binary string keeps its zero bytes and high bytes, one escape per byte.
        EscapeCase{"PackedBinary", std::string("\x00\x00\xfd\xe8\x80\xff", 6),
                   R"("\u0000\u0000\u00fd\u00e8\u0080\u00ff")"},
        // UTF-8 text is not decoded: each of its bytes is escaped by itself.
        EscapeCase{"Utf8NotDecoded", "\xc3\xa9", R"("\u00c3\u00a9")"}),
    [](const testing::TestParamInfo<EscapeCase>& info) { return std::string(info.param.name); });

}  // namespace
