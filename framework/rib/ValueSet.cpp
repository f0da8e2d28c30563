#include "framework/rib/ValueSet.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/vox/SmallVector.h"

namespace Rib {

namespace {

// Each value: its tag and type as one number (tag * 8 + type), then its payload. Numbers are
// written seven bits a byte, low bits first, the high bit telling that more follow: most tags
// and numbers the engine sees fit in one to three bytes. Addresses are kept whole.
constexpr unsigned kTypeBits = 3;

std::uint64_t readNumber(const char*& at) {
  std::uint64_t v = 0;
  for (unsigned shift = 0;; shift += 7) {
    const auto byte = static_cast<unsigned char>(*at++);
    v |= std::uint64_t{byte & 0x7fu} << shift;
    if (byte < 0x80) return v;
  }
}

void skipNumber(const char*& at) {
  while (static_cast<unsigned char>(*at++) >= 0x80) {
  }
}

U32 readU32(const char*& at) {
  return static_cast<U32>(readNumber(at));
}

U32 fixedU32(const char* at) {
  U32 v;
  std::memcpy(&v, at, sizeof v);
  return v;
}

struct Head {
  U32 tag;
  ValueType type;
};

Head readHead(const char*& at) {
  const std::uint64_t key = readNumber(at);
  return {static_cast<U32>(key >> kTypeBits),
          static_cast<ValueType>(key & ((1u << kTypeBits) - 1))};
}

// Moves `at` past the payload of a value of `type`.
void skipPayload(ValueType type, const char*& at) {
  switch (type) {
    case ValueType::u32:
      skipNumber(at);
      return;
    case ValueType::u8:
    case ValueType::flag:
      ++at;
      return;
    case ValueType::str:
      at += readNumber(at);
      return;
    case ValueType::ipv4:
      at += sizeof(U32);
      return;
    case ValueType::ipv6:
      at += sizeof(Vela::Ip6Addr::Bytes);
      return;
    case ValueType::words:
      for (std::uint64_t n = readNumber(at); n > 0; --n) skipNumber(at);
      return;
    case ValueType::reset:
      return;
  }
}

ValueData decode(ValueType type, const char* at) {
  switch (type) {
    case ValueType::u32:
      return ValueData(std::in_place_type<U32>, readU32(at));
    case ValueType::u8:
      return ValueData(std::in_place_type<U8>, static_cast<U8>(*at));
    case ValueType::str: {
      const std::size_t size = readNumber(at);
      return ValueData(std::in_place_type<std::string>, at, size);
    }
    case ValueType::flag:
      return ValueData(std::in_place_type<bool>, *at != 0);
    case ValueType::ipv4:
      return ValueData(std::in_place_type<Vela::IpAddr>, fixedU32(at));
    case ValueType::ipv6: {
      Vela::Ip6Addr::Bytes b;
      std::memcpy(b.data(), at, b.size());
      return ValueData(std::in_place_type<Vela::Ip6Addr>, b);
    }
    case ValueType::words: {
      std::vector<U32> words(readNumber(at));
      for (U32& w : words) w = readU32(at);
      return ValueData(std::in_place_type<std::vector<U32>>, std::move(words));
    }
    case ValueType::reset:
      return ValueData(std::in_place_type<Reset>);
  }
  return {};
}

// A block is the number of bytes of its values, then the values.
std::size_t blockBytes(const char* block, const char*& values) {
  values = block;
  return block ? readNumber(values) : 0;
}

}  // namespace

void ValueSet::appendNumber(std::string& out, std::uint64_t v) {
  char bytes[10];
  std::size_t n = 0;
  while (v >= 0x80) {
    bytes[n++] = static_cast<char>(0x80 | (v & 0x7f));
    v >>= 7;
  }
  bytes[n++] = static_cast<char>(v);
  out.append(bytes, n);
}

std::uint64_t ValueSet::readNumber(const char*& at) {
  return Rib::readNumber(at);
}

std::size_t ValueSet::encodedSize(const char* encoded) {
  const char* at = encoded;
  const Head head = readHead(at);
  skipPayload(head.type, at);
  return static_cast<std::size_t>(at - encoded);
}

void ValueSet::encode(std::string& out, U32 tag, const ValueData& value) {
  appendNumber(out, (std::uint64_t{tag} << kTypeBits) | value.index());
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32>) {
          appendNumber(out, x);
        } else if constexpr (std::is_same_v<T, U8>) {
          out += static_cast<char>(x);
        } else if constexpr (std::is_same_v<T, std::string>) {
          appendNumber(out, x.size());
          out += x;
        } else if constexpr (std::is_same_v<T, bool>) {
          out += static_cast<char>(x ? 1 : 0);
        } else if constexpr (std::is_same_v<T, Vela::IpAddr>) {
          const U32 v = x.value();
          out.append(reinterpret_cast<const char*>(&v), sizeof v);
        } else if constexpr (std::is_same_v<T, Vela::Ip6Addr>) {
          out.append(reinterpret_cast<const char*>(x.bytes().data()), x.bytes().size());
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          appendNumber(out, x.size());
          for (const U32 w : x) appendNumber(out, w);
        } else {
          static_assert(std::is_same_v<T, Reset>);
        }
      },
      value);
}

TaggedValue ValueSet::const_iterator::operator*() const {
  const char* at = at_;
  const Head head = readHead(at);
  return {head.tag, decode(head.type, at)};
}

U32 ValueSet::const_iterator::tag() const {
  const char* at = at_;
  return readHead(at).tag;
}

ValueSet::const_iterator& ValueSet::const_iterator::operator++() {
  at_ += encodedSize(at_);
  return *this;
}

ValueSet::ValueSet(const ValueSet& other) {
  *this = other;
}

ValueSet& ValueSet::operator=(const ValueSet& other) {
  if (this == &other) return *this;
  if (!other.block_) {
    block_.reset();
    return *this;
  }
  const char* values = nullptr;
  const std::size_t bytes = blockBytes(other.block_.get(), values);
  const std::size_t n = static_cast<std::size_t>(values - other.block_.get()) + bytes;
  block_ = std::make_unique_for_overwrite<char[]>(n);
  std::memcpy(block_.get(), other.block_.get(), n);
  return *this;
}

std::size_t ValueSet::size() const {
  return static_cast<std::size_t>(std::distance(begin(), end()));
}

ValueSet::const_iterator ValueSet::begin() const {
  const char* values = nullptr;
  blockBytes(block_.get(), values);
  return const_iterator(values);
}

ValueSet::const_iterator ValueSet::end() const {
  const char* values = nullptr;
  const std::size_t bytes = blockBytes(block_.get(), values);
  return const_iterator(values ? values + bytes : nullptr);
}

ValueSet::const_iterator ValueSet::find(U32 tag) const {
  const const_iterator last = end();
  for (const_iterator it = begin(); it != last; ++it) {
    const U32 t = it.tag();
    if (t == tag) return it;
    if (t > tag) break;
  }
  return last;
}

void ValueSet::erase(U32 tag) {
  std::string reset;
  encode(reset, tag, Reset{});
  applyEncoded(reset, 1, false);
}

void ValueSet::applyEncoded(std::string_view encoded, std::size_t count, bool replace) {
  // Each slot is one encoded value, in the old block or in `encoded`.
  struct Slot {
    U32 tag;
    const char* at;
    std::size_t size;
  };
  Vox::SmallVector<Slot, 16> slots;
  if (!replace) {
    for (auto it = begin(), last = end(); it != last;) {
      const char* at = it.at_;
      const U32 tag = it.tag();
      ++it;
      slots.push_back({tag, at, static_cast<std::size_t>(it.at_ - at)});
    }
  }
  const char* at = encoded.data();
  for (std::size_t i = 0; i < count; ++i) {
    const char* payload = at;
    const Head head = readHead(payload);
    const U32 tag = head.tag;
    skipPayload(head.type, payload);
    const auto size = static_cast<std::size_t>(payload - at);
    auto slot =
        std::find_if(slots.begin(), slots.end(), [&](const Slot& s) { return s.tag == tag; });
    if (head.type == ValueType::reset) {
      if (slot != slots.end()) {
        std::move(slot + 1, slots.end(), slot);
        slots.pop_back();
      }
    } else if (slot != slots.end()) {
      *slot = {tag, at, size};
    } else {
      slots.push_back({tag, at, size});
    }
    at += size;
  }
  if (slots.empty()) {
    block_.reset();
    return;
  }
  std::sort(slots.begin(), slots.end(), [](const Slot& a, const Slot& b) { return a.tag < b.tag; });
  std::size_t total = 0;
  for (const Slot& s : slots) total += s.size;
  std::string prefix;
  appendNumber(prefix, total);
  auto block = std::make_unique_for_overwrite<char[]>(prefix.size() + total);
  std::memcpy(block.get(), prefix.data(), prefix.size());
  char* out = block.get() + prefix.size();
  for (const Slot& s : slots) {
    std::memcpy(out, s.at, s.size);
    out += s.size;
  }
  block_ = std::move(block);
}

bool operator==(const ValueSet& a, const ValueSet& b) {
  const char* av = nullptr;
  const char* bv = nullptr;
  const std::size_t n = blockBytes(a.block_.get(), av);
  return n == blockBytes(b.block_.get(), bv) && (n == 0 || std::memcmp(av, bv, n) == 0);
}

}  // namespace Rib
