#include "framework/rib/ValueSet.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "framework/vox/SmallVector.h"

namespace Rib {

namespace {

// Each value: tag (4 bytes), type (1 byte), payload. Numbers in the machine's byte order: the
// encoding never leaves the process.
constexpr std::size_t kHead = sizeof(U32) + 1;

U32 readU32(const char* at) {
  U32 v;
  std::memcpy(&v, at, sizeof v);
  return v;
}

void appendU32(std::string& out, U32 v) {
  out.append(reinterpret_cast<const char*>(&v), sizeof v);
}

ValueType typeAt(const char* value) {
  return static_cast<ValueType>(static_cast<unsigned char>(value[sizeof(U32)]));
}

std::size_t payloadSize(ValueType type, const char* payload) {
  switch (type) {
    case ValueType::u32:
    case ValueType::ipv4:
      return sizeof(U32);
    case ValueType::u8:
    case ValueType::flag:
      return 1;
    case ValueType::str:
      return sizeof(U32) + readU32(payload);
    case ValueType::ipv6:
      return sizeof(Vela::Ip6Addr::Bytes);
    case ValueType::words:
      return sizeof(U32) * (1 + std::size_t{readU32(payload)});
    case ValueType::reset:
      return 0;
  }
  return 0;
}

ValueData decode(ValueType type, const char* payload) {
  switch (type) {
    case ValueType::u32:
      return ValueData(std::in_place_type<U32>, readU32(payload));
    case ValueType::u8:
      return ValueData(std::in_place_type<U8>, static_cast<U8>(payload[0]));
    case ValueType::str:
      return ValueData(std::in_place_type<std::string>, payload + sizeof(U32), readU32(payload));
    case ValueType::flag:
      return ValueData(std::in_place_type<bool>, payload[0] != 0);
    case ValueType::ipv4:
      return ValueData(std::in_place_type<Vela::IpAddr>, readU32(payload));
    case ValueType::ipv6: {
      Vela::Ip6Addr::Bytes b;
      std::memcpy(b.data(), payload, b.size());
      return ValueData(std::in_place_type<Vela::Ip6Addr>, b);
    }
    case ValueType::words: {
      std::vector<U32> words(readU32(payload));
      if (!words.empty()) std::memcpy(words.data(), payload + sizeof(U32), words.size() * 4);
      return ValueData(std::in_place_type<std::vector<U32>>, std::move(words));
    }
    case ValueType::reset:
      return ValueData(std::in_place_type<Reset>);
  }
  return {};
}

const char* valuesOf(const std::unique_ptr<char[]>& block) {
  return block ? block.get() + sizeof(U32) : nullptr;
}

}  // namespace

std::size_t ValueSet::encodedSize(const char* encoded) {
  return kHead + payloadSize(typeAt(encoded), encoded + kHead);
}

void ValueSet::encode(std::string& out, U32 tag, const ValueData& value) {
  appendU32(out, tag);
  out += static_cast<char>(value.index());
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        if constexpr (std::is_same_v<T, U32>) {
          appendU32(out, x);
        } else if constexpr (std::is_same_v<T, U8>) {
          out += static_cast<char>(x);
        } else if constexpr (std::is_same_v<T, std::string>) {
          appendU32(out, static_cast<U32>(x.size()));
          out += x;
        } else if constexpr (std::is_same_v<T, bool>) {
          out += static_cast<char>(x ? 1 : 0);
        } else if constexpr (std::is_same_v<T, Vela::IpAddr>) {
          appendU32(out, x.value());
        } else if constexpr (std::is_same_v<T, Vela::Ip6Addr>) {
          out.append(reinterpret_cast<const char*>(x.bytes().data()), x.bytes().size());
        } else if constexpr (std::is_same_v<T, std::vector<U32>>) {
          appendU32(out, static_cast<U32>(x.size()));
          out.append(reinterpret_cast<const char*>(x.data()), x.size() * sizeof(U32));
        } else {
          static_assert(std::is_same_v<T, Reset>);
        }
      },
      value);
}

TaggedValue ValueSet::const_iterator::operator*() const {
  return {readU32(at_), decode(typeAt(at_), at_ + kHead)};
}

U32 ValueSet::const_iterator::tag() const {
  return readU32(at_);
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
  const std::size_t n = sizeof(U32) + other.bytes();
  block_ = std::make_unique_for_overwrite<char[]>(n);
  std::memcpy(block_.get(), other.block_.get(), n);
  return *this;
}

std::size_t ValueSet::bytes() const {
  return block_ ? readU32(block_.get()) : 0;
}

std::size_t ValueSet::size() const {
  return static_cast<std::size_t>(std::distance(begin(), end()));
}

ValueSet::const_iterator ValueSet::begin() const {
  return const_iterator(valuesOf(block_));
}

ValueSet::const_iterator ValueSet::end() const {
  const char* values = valuesOf(block_);
  return const_iterator(values ? values + bytes() : nullptr);
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
    for (const char *at = valuesOf(block_), *last = at + bytes(); at != last;) {
      const std::size_t size = encodedSize(at);
      slots.push_back({readU32(at), at, size});
      at += size;
    }
  }
  const char* at = encoded.data();
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t size = encodedSize(at);
    const U32 tag = readU32(at);
    auto slot =
        std::find_if(slots.begin(), slots.end(), [&](const Slot& s) { return s.tag == tag; });
    if (typeAt(at) == ValueType::reset) {
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
  auto block = std::make_unique_for_overwrite<char[]>(sizeof(U32) + total);
  const U32 total32 = static_cast<U32>(total);
  std::memcpy(block.get(), &total32, sizeof total32);
  char* out = block.get() + sizeof(U32);
  for (const Slot& s : slots) {
    std::memcpy(out, s.at, s.size);
    out += s.size;
  }
  block_ = std::move(block);
}

bool operator==(const ValueSet& a, const ValueSet& b) {
  const std::size_t n = a.bytes();
  return n == b.bytes() && (n == 0 || std::memcmp(a.block_.get(), b.block_.get(), n + 4) == 0);
}

}  // namespace Rib
