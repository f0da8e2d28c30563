// The routing engine's command library: paths, value lists, operations and commits.
//
// An operation names one node of the engine's policy tree by a path of numeric tags (each
// alone, or with a string or 32-bit key), carries a list of tagged values and optional scalars
// set on the operation itself, and is either a set or a delete. `MioOp::doExecute` hands it to
// the engine at once; changes take effect at the next commit.
//
// There is no engine here: executed operations and commits go to the process's current
// MioSink (see MioSink.h), which the agent chooses. With no sink set they are dropped.
//
// Operations are built by the million at start-up, so their parts keep the common sizes
// inline (a path of up to eight entries, up to eight values, no scalar heap block), an
// operation makes its value list only when one is asked for and not given, and its name is
// a view of the caller's text: operation names are literals of the command vocabulary. The
// three objects recycle their storage, since each lives for one call.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "framework/vela/Address.h"
#include "framework/vox/Ptr.h"
#include "framework/vox/Recycled.h"
#include "framework/vox/SmallVector.h"
#include "framework/vox/Types.h"

namespace Rib {

// One entry of a path: a tag alone, or a tag with a string or a 32-bit key.
struct PathEntry {
  enum class Kind : std::uint8_t { none, string, u32 };
  U32 tag = 0;
  Kind kind = Kind::none;
  U32 u32 = 0;
  std::string str;

  friend bool operator==(const PathEntry&, const PathEntry&) = default;
  // Tag first, then key: numbers numerically, strings byte-wise.
  friend bool operator<(const PathEntry& a, const PathEntry& b);
};

class MioTagArray : public Vox::PtrInterface, public Vox::Recycled<MioTagArray> {
 public:
  using Entries = Vox::SmallVector<PathEntry, 8>;

  // Provided, so that making one (value-initialization) does not zero the inline storage.
  MioTagArray() {}  // NOLINT(modernize-use-equals-default)

  void doPushPath(U32 tag) { entries_.emplace_back(tag, PathEntry::Kind::none, 0u, std::string()); }
  void doPushString(U32 tag, std::string_view key) {
    entries_.emplace_back(tag, PathEntry::Kind::string, 0u, std::string(key));
  }
  void doPushU32(U32 tag, U32 key) {
    entries_.emplace_back(tag, PathEntry::Kind::u32, key, std::string());
  }
  // Drops the last entry, so that one prefix serves the paths of a batch of siblings.
  void doPopPath() { entries_.pop_back(); }
  const Entries& entries() const { return entries_; }

 private:
  Entries entries_;
};

// Clears the value of its tag (doPushReset).
struct Reset {
  friend bool operator==(Reset, Reset) = default;
};

// The typed payload of one value; the alternative's index is its type.
using ValueData =
    std::variant<U32, U8, std::string, bool, Vela::IpAddr, Vela::Ip6Addr, std::vector<U32>, Reset>;

enum class ValueType : std::uint8_t { u32, u8, str, flag, ipv4, ipv6, words, reset };
inline ValueType typeOf(const ValueData& d) {
  return static_cast<ValueType>(d.index());
}
// "u32", "u8", "str", "flag", "ipv4", "ipv6", "words", "reset".
const char* typeName(ValueType t);

struct TaggedValue {
  U32 tag = 0;
  ValueData data;
  friend bool operator==(const TaggedValue&, const TaggedValue&) = default;
};

class MioValueTagArray : public Vox::PtrInterface, public Vox::Recycled<MioValueTagArray> {
 public:
  using Values = Vox::SmallVector<TaggedValue, 8>;

  // Provided, so that making one (value-initialization) does not zero the inline storage.
  MioValueTagArray() {}  // NOLINT(modernize-use-equals-default)

  void doPushU32(U32 tag, U32 v) { values_.emplace_back(tag, v); }
  void doPushU8(U32 tag, U8 v) { values_.emplace_back(tag, v); }
  void doPushString(U32 tag, std::string_view v) { values_.emplace_back(tag, std::string(v)); }
  void doPushFlag(U32 tag, bool v) { values_.emplace_back(tag, v); }
  void doPushIpAddr(U32 tag, Vela::IpAddr v) { values_.emplace_back(tag, v); }
  void doPushIp6Addr(U32 tag, const Vela::Ip6Addr& v) { values_.emplace_back(tag, v); }
  void doPushScalar(U32 tag, U32 count, const U32* words) {
    values_.emplace_back(tag, std::vector<U32>(words, words + count));
  }
  void doPushReset(U32 tag) { values_.emplace_back(tag, Reset{}); }
  const Values& values() const { return values_; }
  bool empty() const { return values_.empty(); }

 private:
  Values values_;
};

// A scalar set directly on an operation (doSetU32).
struct OpScalar {
  U32 tag = 0;
  U32 value = 0;
  friend bool operator==(const OpScalar&, const OpScalar&) = default;
};

class MioOp : public Vox::PtrInterface, public Vox::Recycled<MioOp> {
 public:
  // `name` must outlive the operation (it is a literal everywhere in this system).
  MioOp(std::string_view name, Vox::Ptr<MioTagArray> path) : name_(name), path_(std::move(path)) {}

  std::string_view name() const { return name_; }
  const Vox::Ptr<MioTagArray>& path() const { return path_; }
  // The operation's value list; an empty one is made on the first call if none was given.
  const Vox::Ptr<MioValueTagArray>& value() const {
    if (!value_) value_ = Vox::make<MioValueTagArray>();
    return value_;
  }
  // The values for reading, without making a list: empty when none was given or pushed.
  const MioValueTagArray::Values& values() const;
  void valueIs(Vox::Ptr<MioValueTagArray> v) {
    if (v != value_) value_ = std::move(v);
  }
  bool deleteFlag() const { return delete_; }
  void deleteFlagIs(bool d) { delete_ = d; }
  const Vox::SmallVector<OpScalar, 1>& scalars() const { return scalars_; }
  // The third argument is the engine library's option word; this system always passes 0.
  void doSetU32(U32 tag, U32 value, U32 /*options*/) { scalars_.push_back({tag, value}); }

  // Hands the operation to the engine (the current sink).
  void doExecute() const;
  // Commits everything executed so far through this operation.
  void doCommit() const;

 private:
  std::string_view name_;
  Vox::Ptr<MioTagArray> path_;
  mutable Vox::Ptr<MioValueTagArray> value_;
  Vox::SmallVector<OpScalar, 1> scalars_;
  bool delete_ = false;
};

class MioCommit {
 public:
  // Commits everything executed so far.
  static void doCommit();
};

}  // namespace Rib
