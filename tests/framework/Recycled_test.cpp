#include "framework/vox/Recycled.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "framework/vox/Ptr.h"

namespace {

// A reference-counted object released through its base, as the engine operations are; each
// test has its own type, so its own list.
template <int kTest>
struct Pooled : Vox::PtrInterface, Vox::Recycled<Pooled<kTest>, 4> {
  explicit Pooled(std::string t) : text(std::move(t)) {}
  std::string text;
};

// A larger class that inherits the allocation functions: its blocks are never kept.
struct Larger : Pooled<3> {
  Larger() : Pooled("larger") {}
  char extra[64] = {};
};

// A released block is the next one handed out, and what is built there is whole.
TEST(RecycledTest, ReleasedBlockIsReused) {
  if (!Vox::kRecycling) GTEST_SKIP() << "nothing is kept under AddressSanitizer";
  const void* first = nullptr;
  {
    auto p = Vox::make<Pooled<1>>("first object, long enough to own heap memory");
    first = p.ptr();
  }
  EXPECT_EQ(Pooled<1>::kept(), 1u);
  auto q = Vox::make<Pooled<1>>("second object, long enough to own heap memory");
  EXPECT_EQ(q.ptr(), first);
  EXPECT_EQ(q->text, "second object, long enough to own heap memory");
  EXPECT_EQ(Pooled<1>::kept(), 0u);
}

// Releasing more objects than the list keeps leaves the list at its bound; the rest go back.
TEST(RecycledTest, KeepsAtMostItsBound) {
  if (!Vox::kRecycling) GTEST_SKIP() << "nothing is kept under AddressSanitizer";
  {
    std::vector<Vox::Ptr<Pooled<2>>> many;
    for (int i = 0; i < 10; ++i) many.push_back(Vox::make<Pooled<2>>(std::to_string(i)));
  }
  EXPECT_EQ(Pooled<2>::kept(), 4u);
  {
    std::vector<Vox::Ptr<Pooled<2>>> again;
    for (int i = 0; i < 6; ++i) again.push_back(Vox::make<Pooled<2>>(std::to_string(i)));
    EXPECT_EQ(Pooled<2>::kept(), 0u);
  }
  EXPECT_EQ(Pooled<2>::kept(), 4u);
}

// A derived class of another size takes nothing from the list and gives nothing to it.
TEST(RecycledTest, OtherSizesBypassTheList) {
  { auto kept = Vox::make<Pooled<3>>("kept"); }
  const std::size_t before = Pooled<3>::kept();
  {
    auto p = Vox::make<Larger>();
    EXPECT_EQ(p->text, "larger");
    EXPECT_EQ(Pooled<3>::kept(), before);
  }
  EXPECT_EQ(Pooled<3>::kept(), before);
}

}  // namespace
