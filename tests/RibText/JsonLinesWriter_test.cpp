#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "framework/rib/Mio.h"
#include "framework/rib/MioSink.h"

#include "RibText/JsonLinesWriter.h"
#include "tests/support/Harness.h"

namespace {

using Vox::U32;
using Vox::U8;

using Rib::OpRecord;
using Rib::PathEntry;
using RibText::JsonLinesWriter;

PathEntry at(U32 tag) {
  return {tag, PathEntry::Kind::none, 0, {}};
}
PathEntry at(U32 tag, std::string key) {
  return {tag, PathEntry::Kind::string, 0, std::move(key)};
}
PathEntry at(U32 tag, U32 key) {
  return {tag, PathEntry::Kind::u32, key, {}};
}

Vela::Ip6Addr ip6(const char* text) {
  return *Vela::Ip6Addr::parse(text);
}

struct LineCase {
  const char* name;
  OpRecord op;
  const char* line;
  friend void PrintTo(const LineCase& c, std::ostream* os) { *os << c.name; }
};

class OpLineTest : public testing::TestWithParam<LineCase> {};

// The operation becomes exactly the expected line.
TEST_P(OpLineTest, WritesGoldenLine) {
  EXPECT_EQ(JsonLinesWriter::opLine(GetParam().op), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    JsonLines, OpLineTest,
    testing::Values(
        // Each kind of path entry, with u32 and flag values.
        LineCase{"PathKinds",
                 {"routeMapSeq",
                  {at(512), at(576, "RM1"), at(577), at(578, 10u)},
                  {{0, U32{10}}, {1, true}},
                  {},
                  false},
                 R"({"op":"routeMapSeq","path":[[512],[576,"RM1"],[577],[578,10]],)"
                 R"("values":[[0,"u32",10],[1,"flag",true]]})"},
        // A string value, and a u32 key at the top of its range.
        LineCase{
            "StringValue",
            {"routeMap", {at(512), at(578, 4294967295u)}, {{0, std::string("RM1")}}, {}, false},
            R"({"op":"routeMap","path":[[512],[578,4294967295]],"values":[[0,"str","RM1"]]})"},
        // A u8 is written as a number, a false flag as false.
        LineCase{"U8AndFalseFlag",
                 {"accessList", {at(512)}, {{8, U8{2}}, {0, false}}, {}, false},
                 R"({"op":"accessList","path":[[512]],"values":[[8,"u8",2],[0,"flag",false]]})"},
        // Addresses in their text forms.
        LineCase{"Addresses",
                 {"setNextHop",
                  {at(601)},
                  {{8, ip6("2001:db8::1")}, {7, Vela::IpAddr(0x01020304)}},
                  {},
                  false},
                 R"({"op":"setNextHop","path":[[601]],)"
                 R"("values":[[8,"ipv6","2001:db8::1"],[7,"ipv4","1.2.3.4"]]})"},
        // Word arrays, empty ones included, and a reset without payload.
        LineCase{
            "WordsAndReset",
            {"addCommunitySet",
             {at(524)},
             {{2, std::vector<U32>{1, 4294967295u}}, {3, std::vector<U32>{}}, {29, Rib::Reset{}}},
             {},
             false},
            R"({"op":"addCommunitySet","path":[[524]],)"
            R"("values":[[2,"words",[1,4294967295]],[3,"words",[]],[29,"reset"]]})"},
        // Scalars set on the operation.
        LineCase{"Scalars",
                 {"RouteMapSetOpMode", {at(256)}, {}, {{18, 0}}, false},
                 R"({"op":"RouteMapSetOpMode","path":[[256]],"scalars":[[18,"u32",0]]})"},
        // A delete carries "del" and nothing else.
        LineCase{"Delete",
                 {"deleteRouteMap", {at(512), at(576, "RM1")}, {}, {}, true},
                 R"({"op":"deleteRouteMap","path":[[512],[576,"RM1"]],"del":true})"},
        // With everything present, the members come in their fixed order.
        LineCase{"MemberOrder",
                 {"x", {at(1)}, {{2, U32{3}}}, {{4, 5}, {6, 7}}, true},
                 R"({"op":"x","path":[[1]],"values":[[2,"u32",3]],)"
                 R"("scalars":[[4,"u32",5],[6,"u32",7]],"del":true})"},
        // An empty path is an empty array.
        LineCase{"EmptyPath", {"x", {}, {}, {}, false}, R"({"op":"x","path":[]})"},
        // Names, keys and string values are escaped alike.
        LineCase{"EscapedEverywhere",
                 {"a\"b", {at(535, "k\\1")}, {{1, std::string("\x01")}}, {}, false},
                 R"({"op":"a\"b","path":[[535,"k\\1"]],"values":[[1,"str","\u0001"]]})"}),
    [](const testing::TestParamInfo<LineCase>& info) { return std::string(info.param.name); });

// The two kinds of commit have their own lines.
TEST(JsonLinesTest, CommitLines) {
  EXPECT_EQ(JsonLinesWriter::commitLine(Rib::CommitKind::engine), R"({"commit":"engine"})");
  EXPECT_EQ(JsonLinesWriter::commitLine(Rib::CommitKind::operation), R"({"commit":"op"})");
}

// As a sink, the writer puts every operation and commit on its own line, in order.
TEST(JsonLinesTest, WritesStreamInOrder) {
  std::ostringstream out;
  JsonLinesWriter writer(out);
  Rib::ScopedSink guard(&writer);

  auto mapPath = Vox::make<Rib::MioTagArray>();
  mapPath->doPushPath(512);
  mapPath->doPushString(576, "RM1");
  auto add = Vox::make<Rib::MioOp>("routeMap", mapPath);
  add->value()->doPushString(0, "RM1");
  add->doExecute();
  Rib::MioCommit::doCommit();
  auto del = Vox::make<Rib::MioOp>("deleteRouteMap", mapPath);
  del->deleteFlagIs(true);
  del->doExecute();
  del->doCommit();

  EXPECT_EQ(
      out.str(),
      "{\"op\":\"routeMap\",\"path\":[[512],[576,\"RM1\"]],\"values\":[[0,\"str\",\"RM1\"]]}\n"
      "{\"commit\":\"engine\"}\n"
      "{\"op\":\"deleteRouteMap\",\"path\":[[512],[576,\"RM1\"]],\"del\":true}\n"
      "{\"commit\":\"op\"}\n");
}

// Every byte value survives a standard JSON parser exactly, in keys and values.
TEST(JsonLinesTest, EveryByteSurvivesJsonParser) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  const OpRecord op{"addAsPathListEntry", {at(537, all)}, {{1, all}}, {}, false};

  const auto parsed = nlohmann::json::parse(JsonLinesWriter::opLine(op));
  EXPECT_EQ(test_support::latin1Bytes(parsed["path"][0][1].get<std::string>()), all);
  EXPECT_EQ(test_support::latin1Bytes(parsed["values"][0][2].get<std::string>()), all);
}

}  // namespace
