#include "framework/vela/Address.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Vela::Ip6Addr;
using Vela::Ip6Prefix;
using Vela::IpAddr;
using Vela::IpAddrWithFullMask;
using Vela::Prefix;

struct Ip4Case {
  const char* text;
  std::uint32_t value;
};

// Dotted text parses to the host-order number and prints back unchanged.
TEST(IpAddrTest, ParsesAndPrints) {
  const Ip4Case cases[] = {
      {"0.0.0.0", 0},
      {"10.0.0.1", 0x0a000001},
      {"192.168.1.254", 0xc0a801fe},
      {"255.255.255.255", 0xffffffff},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto a = IpAddr::parse(c.text);
    ASSERT_TRUE(a.has_value());
    EXPECT_EQ(a->value(), c.value);
    EXPECT_EQ(a->toString(), c.text);
  }
}

// Anything but four decimal octets of 0 to 255 is refused.
TEST(IpAddrTest, RefusesMalformed) {
  const char* cases[] = {"",           "1.2.3",    "1.2.3.4.5", "256.0.0.1", "1..2.3",
                         "1.2.3.",     ".1.2.3",   "a.b.c.d",   " 1.2.3.4",  "1.2.3.4 ",
                         "1234.1.1.1", "-1.2.3.4", "0x1.2.3.4", "1.2.3.4/8"};
  for (const char* text : cases) {
    EXPECT_FALSE(IpAddr::parse(text).has_value()) << text;
  }
}

struct Ip6Case {
  const char* text;
  const char* canonical;
};

// Any valid form parses and prints in the canonical form, which parses to the same address.
TEST(Ip6AddrTest, PrintsCanonicalForm) {
  const Ip6Case cases[] = {
      {"2001:db8::1", "2001:db8::1"},
      // Upper case and leading zeros go.
      {"2001:0DB8:0000:0000:0000:0000:0000:0001", "2001:db8::1"},
      {"::", "::"},
      {"0:0:0:0:0:0:0:0", "::"},
      {"::1", "::1"},
      {"1::", "1::"},
      {"fe80::", "fe80::"},
      // A single zero group is not compressed.
      {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
      {"2001:db8::1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
      // The longest zero run wins; of equal runs, the first.
      {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
      {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
      // "::" may stand for a single group on input.
      {"1:2:3:4:5:6:7::", "1:2:3:4:5:6:7:0"},
      {"1:2:3:4::5:6:7", "1:2:3:4:0:5:6:7"},
      // An IPv4 tail is two groups.
      {"::ffff:192.0.2.1", "::ffff:c000:201"},
      {"1:2:3:4:5:6:1.2.3.4", "1:2:3:4:5:6:102:304"},
      {"::1.2.3.4", "::102:304"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto a = Ip6Addr::parse(c.text);
    ASSERT_TRUE(a.has_value());
    EXPECT_EQ(a->toString(), c.canonical);
    EXPECT_EQ(Ip6Addr::parse(c.canonical), a);
  }
}

// The bytes are kept in wire order, the IPv4 tail in the last four.
TEST(Ip6AddrTest, KeepsWireOrder) {
  const auto a = Ip6Addr::parse("2001:db8::ffff:192.0.2.1");
  ASSERT_TRUE(a.has_value());
  const Ip6Addr::Bytes expected = {0x20, 0x01, 0x0d, 0xb8, 0,   0, 0, 0,
                                   0,    0,    0xff, 0xff, 192, 0, 2, 1};
  EXPECT_EQ(a->bytes(), expected);
}

// Wrong group counts, stray colons, a second "::", bad digits and misplaced IPv4 are refused.
TEST(Ip6AddrTest, RefusesMalformed) {
  const char* cases[] = {
      "",
      ":",
      ":::",
      "1:::2",
      "1::2::3",
      ":1::2",
      "1::2:",
      ":1:2:3:4:5:6:7",
      "1:2:3:4:5:6:7",
      "1:2:3:4:5:6:7:8:9",
      "1:2:3:4:5:6:7:8::",
      "::1:2:3:4:5:6:7:8",
      "12345::",
      "g::",
      "1.2.3.4::",
      "1.2.3.4",
      "::1.2.3.4:5",
      "::1.2.3",
      "::256.0.0.1",
      "1:2:3:4:5:6:7:1.2.3.4",
      "2001:db8::1/64",
      " ::1",
  };
  for (const char* text : cases) {
    EXPECT_FALSE(Ip6Addr::parse(text).has_value()) << text;
  }
}

// An IPv4 prefix takes a length of 0 to 32 and keeps its address as written.
TEST(PrefixTest, ParsesLengthBounds) {
  const char* valid[] = {"0.0.0.0/0", "10.0.0.0/8", "10.1.2.3/8", "1.2.3.4/32"};
  for (const char* text : valid) {
    SCOPED_TRACE(text);
    const auto p = Prefix::parse(text);
    ASSERT_TRUE(p.has_value());
    EXPECT_EQ(p->toString(), text);
  }
  EXPECT_EQ(Prefix::parse("10.0.0.0/8"), Prefix(IpAddr(0x0a000000), 8));
  const char* invalid[] = {"1.2.3.4/33", "1.2.3.4",     "1.2.3.4/", "/8",         "1.2.3.4/8/8",
                           "1.2.3.4/-1", "1.2.3.4/032", "1.2.3/8",  "1.2.3.4/ 8", "1.2.3.4/x"};
  for (const char* text : invalid) {
    EXPECT_FALSE(Prefix::parse(text).has_value()) << text;
  }
}

// An IPv6 prefix takes a length of 0 to 128 and prints its address canonically.
TEST(Ip6PrefixTest, ParsesLengthBounds) {
  const Ip6Case valid[] = {
      {"::/0", "::/0"},
      {"2001:0db8::/32", "2001:db8::/32"},
      {"::1/128", "::1/128"},
  };
  for (const auto& c : valid) {
    SCOPED_TRACE(c.text);
    const auto p = Ip6Prefix::parse(c.text);
    ASSERT_TRUE(p.has_value());
    EXPECT_EQ(p->toString(), c.canonical);
  }
  EXPECT_EQ(Ip6Prefix::parse("2001:db8::/32"), Ip6Prefix(*Ip6Addr::parse("2001:db8::"), 32));
  const char* invalid[] = {"::/129", "::/1280",  "2001:db8::", "::/",
                           "/64",    "::/64/64", "1.2.3.4/8"};
  for (const char* text : invalid) {
    EXPECT_FALSE(Ip6Prefix::parse(text).has_value()) << text;
  }
}

struct MaskCase {
  const char* text;
  std::uint32_t address;
  std::uint32_t mask;
  const char* printed;
};

// The mask is given dotted or as a length, and always prints dotted.
TEST(IpAddrWithFullMaskTest, ParsesDottedMaskAndLength) {
  const MaskCase cases[] = {
      {"10.0.0.0/255.0.0.0", 0x0a000000, 0xff000000, "10.0.0.0/255.0.0.0"},
      {"10.0.0.0/8", 0x0a000000, 0xff000000, "10.0.0.0/255.0.0.0"},
      {"1.2.3.4/0", 0x01020304, 0, "1.2.3.4/0.0.0.0"},
      {"1.2.3.4/1", 0x01020304, 0x80000000, "1.2.3.4/128.0.0.0"},
      {"1.2.3.4/32", 0x01020304, 0xffffffff, "1.2.3.4/255.255.255.255"},
      {"192.168.0.0/23", 0xc0a80000, 0xfffffe00, "192.168.0.0/255.255.254.0"},
      // A dotted mask is taken as written, even when not contiguous.
      {"10.0.0.0/0.255.0.255", 0x0a000000, 0x00ff00ff, "10.0.0.0/0.255.0.255"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto a = IpAddrWithFullMask::parse(c.text);
    ASSERT_TRUE(a.has_value());
    EXPECT_EQ(a->address().value(), c.address);
    EXPECT_EQ(a->mask(), c.mask);
    EXPECT_EQ(a->toString(), c.printed);
  }
  const char* invalid[] = {"10.0.0.0/33", "10.0.0.0/255.0.0", "10.0.0.0",    "10.0.0.0/256.0.0.0",
                           "10.0.0/8",    "10.0.0.0/",        "10.0.0.0/8/8"};
  for (const char* text : invalid) {
    EXPECT_FALSE(IpAddrWithFullMask::parse(text).has_value()) << text;
  }
}

struct IntfCase {
  const char* configured;
  const char* kernel;
};

// Long interface forms become short ones, "/" and "." become "_"; other names stay as they are.
TEST(OrbIntfToKernelIntfTest, ConvertsNames) {
  const IntfCase cases[] = {
      {"Ethernet1/2", "et1_2"},
      {"Ethernet3/1.100", "et3_1_100"},
      {"ethernet7", "et7"},
      {"ETHERNET5", "et5"},
      {"Port-Channel10", "po10"},
      {"port-channel10.5", "po10_5"},
      {"Vlan100", "vlan100"},
      {"Loopback0", "lo0"},
      {"Management1/1", "ma1_1"},
      // Not one of the long forms (an abbreviation, another kind): unchanged, "/" included.
      {"Eth1/1", "Eth1/1"},
      {"Tunnel1/2", "Tunnel1/2"},
      {"Vl", "Vl"},
      {"", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Vela::orbIntfToKernelIntf(c.configured), c.kernel) << c.configured;
  }
}

}  // namespace
