// The values of one engine node, by tag, as the engine model keeps them.
//
// A model of a million entries holds a few million values, most of them a 32-bit number or a
// flag. A tree of variants costs about a hundred bytes a value; here a node's values sit in
// one heap block, sorted by tag, each as its tag and type, then its payload (a string or a
// word list with its length in front), numbers in as few bytes as they need, so that the
// values of a prefix-list entry take about twenty bytes. Values are read by decoding them:
// iteration yields TaggedValue copies in tag order.
//
// The same encoding carries the values of staged operations (`encode`, `applyEncoded`), so a
// commit moves bytes from the staged operation to the node without making a variant.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "framework/rib/Mio.h"

namespace Rib {

class ValueSet {
 public:
  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = TaggedValue;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = TaggedValue;

    const_iterator() = default;
    TaggedValue operator*() const;
    U32 tag() const;
    const_iterator& operator++();
    const_iterator operator++(int) {
      const_iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const const_iterator& a, const const_iterator& b) {
      return a.at_ == b.at_;
    }

   private:
    friend class ValueSet;
    explicit const_iterator(const char* at) : at_(at) {}
    const char* at_ = nullptr;
  };

  ValueSet() = default;
  ValueSet(const ValueSet& other);
  ValueSet& operator=(const ValueSet& other);
  ValueSet(ValueSet&&) noexcept = default;
  ValueSet& operator=(ValueSet&&) noexcept = default;
  ~ValueSet() = default;

  bool empty() const { return !block_; }
  std::size_t size() const;
  const_iterator begin() const;
  const_iterator end() const;
  // The value of `tag`, or end().
  const_iterator find(U32 tag) const;
  bool contains(U32 tag) const { return find(tag) != end(); }

  // Sets the value of `tag`, replacing the earlier one; a Reset removes the tag instead.
  void set(U32 tag, const ValueData& value) {
    std::string encoded;
    encode(encoded, tag, value);
    applyEncoded(encoded, 1, false);
  }
  void erase(U32 tag);
  void clear() { block_.reset(); }

  // Appends one value in the set's encoding.
  static void encode(std::string& out, U32 tag, const ValueData& value);
  // Applies `count` encoded values in order, as `set` would one at a time; with `replace` the
  // set is cleared first. One new block is made for the lot.
  void applyEncoded(std::string_view encoded, std::size_t count, bool replace);
  // The number of bytes of the encoded value at the front of `encoded`.
  static std::size_t encodedSize(const char* encoded);
  // Numbers as the encoding writes them: seven bits a byte, low bits first, the high bit set
  // on every byte but the last. `readNumber` moves `at` past the number.
  static void appendNumber(std::string& out, std::uint64_t v);
  static std::uint64_t readNumber(const char*& at);

  // Equal sets hold the same tags with the same values; the encoding is canonical, so the
  // blocks are compared byte by byte.
  friend bool operator==(const ValueSet& a, const ValueSet& b);

 private:
  // Null when empty; otherwise the number of bytes of the values (as appendNumber writes it)
  // and the values.
  std::unique_ptr<char[]> block_;
};

}  // namespace Rib
