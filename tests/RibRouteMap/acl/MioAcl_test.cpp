#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RibRouteMap/mio/MioStreamTest.h"

namespace {

using RibRouteMapTest::MioStreamTest;
using testing::ElementsAre;

Vela::IpAddrWithFullMask source(const char* address, std::uint32_t mask) {
  return Vela::IpAddrWithFullMask(*Vela::IpAddr::parse(address), mask);
}

using MioAclTest = MioStreamTest;

// The four commands: paths under 602, the entry's values in order, the delete flag on removals.
TEST_F(MioAclTest, CommandStreams) {
  mio_->doAddIpStdAcl("A");
  mio_->doAddIpStdAclEntry("A", 10, Acl::permit, source("192.0.2.1", 0xffffff00));
  mio_->doDelIpStdAclEntry("A", 10);
  mio_->doDelIpStdAcl("A");
  EXPECT_THAT(lines(),
              ElementsAre(R"(doAddIpStdAcl 512/602/517="A" {0:str="A"})",
                          R"(doAddIpStdAclEntry 512/602/517="A"/518=10 {9:u32=10 8:flag=true )"
                          R"(0:ipv4=192.0.2.1 4:ipv4=255.255.255.0})",
                          R"(doDelIpStdAclEntry 512/602/517="A"/518=10 del)",
                          R"(doDelIpStdAcl 512/602/517="A" del)"));
}

// Only deny (1) clears the permit flag; every other action is sent as permit.
TEST_F(MioAclTest, PermitFlagByAction) {
  const struct {
    U32 action;
    const char* flag;
  } cases[] = {{0, "true"}, {1, "false"}, {2, "true"}, {0xffffffffu, "true"}};
  for (const auto& c : cases) {
    recorder_.clear();
    mio_->doAddIpStdAclEntry("A", 5, static_cast<Acl::MatchPermit>(c.action),
                             source("10.0.0.0", 0xff000000));
    EXPECT_THAT(lines(),
                ElementsAre(std::string(R"(doAddIpStdAclEntry 512/602/517="A"/518=5 )") +
                            "{9:u32=5 8:flag=" + c.flag + " 0:ipv4=10.0.0.0 4:ipv4=255.0.0.0}"))
        << "action " << c.action;
  }
}

// The mask reaches the engine as the address written like the mask, on any host.
TEST_F(MioAclTest, MaskByteOrder) {
  const struct {
    std::uint32_t mask;
    const char* text;
  } cases[] = {{0xffffff00u, "255.255.255.0"},
               {0x000000ffu, "0.0.0.255"},
               {0xfffffffcu, "255.255.255.252"},
               {0x80000000u, "128.0.0.0"}};
  for (const auto& c : cases) {
    recorder_.clear();
    mio_->doAddIpStdAclEntry("A", 1, Acl::permit, source("198.51.100.7", c.mask));
    EXPECT_THAT(lines(),
                ElementsAre(std::string(R"(doAddIpStdAclEntry 512/602/517="A"/518=1 )") +
                            "{9:u32=1 8:flag=true 0:ipv4=198.51.100.7 4:ipv4=" + c.text + "}"));
  }
}

}  // namespace
