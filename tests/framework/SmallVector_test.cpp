#include "framework/vox/SmallVector.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Long enough that every copy owns heap memory: a lost or doubled element shows to the sanitizers.
std::string text(int i) {
  return "element number " + std::to_string(i) + " of the small vector under test";
}

using Small = Vox::SmallVector<std::string, 3>;

Small filled(int n) {
  Small v;
  for (int i = 0; i < n; ++i) v.push_back(text(i));
  return v;
}

std::vector<std::string> contents(const Small& v) {
  return {v.begin(), v.end()};
}

std::vector<std::string> expected(int n) {
  std::vector<std::string> out;
  for (int i = 0; i < n; ++i) out.push_back(text(i));
  return out;
}

// Each size on both sides of the inline capacity: the elements and the storage they live in.
TEST(SmallVectorTest, GrowthPastInlineCapacity) {
  for (int n : {0, 1, 3, 4, 7, 40}) {
    SCOPED_TRACE(n);
    const Small v = filled(n);
    EXPECT_EQ(contents(v), expected(n));
    EXPECT_EQ(v.isInline(), n <= 3);
    EXPECT_GE(v.capacity(), v.size());
  }
}

// Copies are equal and independent; moves take the elements and leave the source empty and
// inline, a heap block changing hands without its elements being touched.
TEST(SmallVectorTest, CopyAndMove) {
  for (int n : {2, 3, 9}) {
    SCOPED_TRACE(n);
    Small original = filled(n);
    Small copy = original;
    EXPECT_EQ(copy, original);
    copy[0] = text(99);
    EXPECT_EQ(contents(original), expected(n));

    const std::string* block = original.data();
    Small moved = std::move(original);
    EXPECT_EQ(contents(moved), expected(n));
    EXPECT_TRUE(
        original.empty());  // NOLINT(bugprone-use-after-move): moved-from state is the contract
    EXPECT_TRUE(original.isInline());
    EXPECT_EQ(moved.data() == block, n > 3);

    Small assigned = filled(5);
    assigned = std::move(moved);
    EXPECT_EQ(contents(assigned), expected(n));
    assigned = copy;
    EXPECT_EQ(assigned, copy);
    original.push_back(text(0));  // a moved-from vector is usable again
    EXPECT_EQ(contents(original), expected(1));
  }
}

// Equality looks at every element and at the length.
TEST(SmallVectorTest, Equality) {
  const Small three = filled(3);
  EXPECT_EQ(three, filled(3));
  EXPECT_NE(three, filled(2));
  EXPECT_NE(three, filled(4));
  Small other = filled(3);
  other[2] = text(9);
  EXPECT_NE(three, other);
}

// Pushing one of its own elements while full keeps the element intact across the move to the heap.
TEST(SmallVectorTest, PushOfOwnElementWhileFull) {
  Small v = filled(3);
  v.push_back(v[0]);
  v.emplace_back(v[1]);
  EXPECT_EQ(contents(v), (std::vector<std::string>{text(0), text(1), text(2), text(0), text(1)}));
  v.pop_back();
  v.pop_back();
  EXPECT_EQ(contents(v), expected(3));
}

// Taking an element from an empty vector is a fatal precondition.
TEST(SmallVectorDeathTest, PopOfEmptyIsFatal) {
  Small v;
  EXPECT_DEATH(v.pop_back(), "pop_back\\(\\) of an empty SmallVector");
}

}  // namespace
