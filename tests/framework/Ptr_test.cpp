#include "framework/vox/Ptr.h"

#include <gtest/gtest.h>

#include "framework/vox/Reactor.h"

namespace {

// Counts its own destructions so a test can see exactly when the count word lets go.
struct Counted : Vox::Reactor {
  explicit Counted(int* deaths) : deaths_(deaths) {}
  ~Counted() override { ++*deaths_; }
  int* deaths_;
};

// The count proper, the two flags and the destruction mask are laid out as the count word says.
TEST(PtrTest, CountWordLayout) {
  EXPECT_EQ(Vox::PtrInterface::kNotificationActiveBit, 1u << 29);
  EXPECT_EQ(Vox::PtrInterface::kZombieBit, 1u << 31);
  EXPECT_EQ(Vox::PtrInterface::kCountMask, 0x5fffffffu);
}

// Copies and moves share one count; the last release destroys.
TEST(PtrTest, LastReferenceDestroys) {
  int deaths = 0;
  {
    Vox::Ptr<Counted> a = Vox::make<Counted>(&deaths);
    EXPECT_EQ(a->references(), 1u);
    Vox::Ptr<Counted const> b = a;
    EXPECT_EQ(a->references(), 2u);
    Vox::Ptr<Counted> c = std::move(a);
    EXPECT_EQ(c->references(), 2u);
    b = nullptr;
    EXPECT_EQ(c->references(), 1u);
    EXPECT_EQ(deaths, 0);
  }
  EXPECT_EQ(deaths, 1);
}

// The flag bits live in the count word but never keep an entity alive.
TEST(PtrTest, FlagsDoNotKeepAlive) {
  int deaths = 0;
  {
    Vox::Ptr<Counted> a = Vox::make<Counted>(&deaths);
    a->hasNotificationActiveIs(true);
    a->voxDoZombieReactors(true);
    EXPECT_EQ(a->countWord(), 1u | (1u << 29) | (1u << 31));
    EXPECT_EQ(a->references(), 1u);
  }
  EXPECT_EQ(deaths, 1);
}

// The atomic switch changes how the count moves, not what it counts.
TEST(PtrTest, ThreadSafeSwitchKeepsCounting) {
  int deaths = 0;
  Vox::threadSafePointers = true;
  {
    Vox::Ptr<Counted> a = Vox::make<Counted>(&deaths);
    Vox::Ptr<Counted> b = a;
    EXPECT_EQ(a->references(), 2u);
  }
  Vox::threadSafePointers = false;
  EXPECT_EQ(deaths, 1);
}

// A null pointer where a valid one is required is the framework's range error.
TEST(PtrDeathTest, ValidPtrRefusesNull) {
  Vox::Ptr<Counted> none;
  EXPECT_DEATH(Vox::validPtr(none), "null ValidPtr");
}

}  // namespace
