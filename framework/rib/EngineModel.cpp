#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "framework/rib/EngineModel.h"

namespace Rib {

namespace {

using Node = EngineModel::Node;

// Staged operations are kept in chunks that double from the first size up to the largest (an
// operation larger than that gets a chunk of its own), so that a million of them never need
// one block of their size, and the few operations of an ordinary commit need one small block,
// which the model keeps from one commit to the next.
constexpr std::size_t kFirstChunkBytes = std::size_t{4} << 10;
constexpr std::size_t kChunkBytes = std::size_t{1} << 20;

// An add overwrites whatever the engine held for its node; any other set merges into it.
bool replacesValues(std::string_view opName) {
  return opName.starts_with("add") || opName.starts_with("doAdd");
}

// A staged operation: flags (1 byte: 1 delete, 2 replaces values), the path's length, each
// entry as its tag, kind (1 byte) and key (a number, or a string's length and bytes), the
// value count, then the values and the scalars (as u32 values) in ValueSet's encoding.
// Numbers are written as ValueSet writes them.
enum : char { kDelete = 1, kReplace = 2 };

void appendNumber(std::string& out, std::size_t v) {
  ValueSet::appendNumber(out, v);
}

U32 readOpNumber(const char*& at) {
  return static_cast<U32>(ValueSet::readNumber(at));
}

template <class Path, class Values, class Scalars>
void encodeOp(std::string& out, std::string_view name, const Path& path, const Values& values,
              const Scalars& scalars, bool del) {
  out += static_cast<char>(del ? kDelete : replacesValues(name) ? kReplace : 0);
  appendNumber(out, path.size());
  for (const PathEntry& e : path) {
    appendNumber(out, e.tag);
    out += static_cast<char>(e.kind);
    switch (e.kind) {
      case PathEntry::Kind::none:
        break;
      case PathEntry::Kind::u32:
        appendNumber(out, e.u32);
        break;
      case PathEntry::Kind::string:
        appendNumber(out, e.str.size());
        out += e.str;
        break;
    }
  }
  // A delete's values change nothing.
  if (del) {
    appendNumber(out, 0);
    return;
  }
  appendNumber(out, values.size() + scalars.size());
  for (const TaggedValue& v : values) ValueSet::encode(out, v.tag, v.data);
  for (const OpScalar& s : scalars) {
    ValueSet::encode(out, s.tag, ValueData(std::in_place_type<U32>, s.value));
  }
}

PathEntryView readEntry(const char*& at) {
  const U32 tag = readOpNumber(at);
  const auto kind = static_cast<PathEntry::Kind>(*at++);
  switch (kind) {
    case PathEntry::Kind::none:
      break;
    case PathEntry::Kind::u32:
      return {tag, kind, readOpNumber(at), {}};
    case PathEntry::Kind::string: {
      const U32 size = readOpNumber(at);
      const std::string_view key(at, size);
      at += size;
      return {tag, kind, 0, key};
    }
  }
  return {tag, kind, 0, {}};
}

// Applies the encoded operation at `at` and returns the position after it.
const char* applyEncoded(Node& root, const char* at) {
  const char flags = *at++;
  const U32 depth = readOpNumber(at);
  if (flags & kDelete) {
    if (depth == 0) {
      root = Node{};
      readOpNumber(at);
      return at;
    }
    Node* parent = &root;
    for (U32 i = 0; i + 1 < depth; ++i) {
      const PathEntryView e = readEntry(at);
      if (parent) {
        auto it = parent->children.find(e);
        parent = it == parent->children.end() ? nullptr : &it->second;
      }
    }
    const PathEntryView last = readEntry(at);
    if (parent) parent->children.erase(last);
    readOpNumber(at);
    return at;
  }
  Node* node = &root;
  for (U32 i = 0; i < depth; ++i) node = &node->children[readEntry(at)];
  const U32 count = readOpNumber(at);
  const char* values = at;
  for (U32 i = 0; i < count; ++i) at += ValueSet::encodedSize(at);
  node->values.applyEncoded(std::string_view(values, static_cast<std::size_t>(at - values)), count,
                            (flags & kReplace) != 0);
  return at;
}

bool sameValues(const Node& a, const Node& b) {
  return a.values == b.values;
}

// The values of the tags whose values differ, on the side of `self`.
std::vector<TaggedValue> differingValues(const Node& self, const Node& other) {
  std::vector<TaggedValue> out;
  for (const auto& [tag, data] : self.values) {
    auto it = other.values.find(tag);
    if (it != other.values.end() && (*it).data == data) continue;
    out.push_back(TaggedValue{tag, data});
  }
  return out;
}

using Difference = EngineModel::Difference;

void collectDifferences(const Node& left, const Node& right, std::vector<PathEntry>& path,
                        std::vector<Difference>& out) {
  if (!sameValues(left, right)) {
    out.push_back({Difference::Where::valuesDiffer, path, differingValues(left, right),
                   differingValues(right, left)});
  }
  const auto onlyOn = [&](Difference::Where where) { out.push_back({where, path, {}, {}}); };
  // Both child maps are ordered by the same key, so one merged pass visits tree order.
  auto l = left.children.begin();
  auto r = right.children.begin();
  while (l != left.children.end() || r != right.children.end()) {
    const bool takeLeft =
        r == right.children.end() || (l != left.children.end() && l->first < r->first);
    const bool takeRight =
        l == left.children.end() || (r != right.children.end() && r->first < l->first);
    if (takeLeft) {
      if (l->second.meaningful()) {
        path.push_back(l->first);
        onlyOn(Difference::Where::onlyLeft);
        path.pop_back();
      }
      ++l;
    } else if (takeRight) {
      if (r->second.meaningful()) {
        path.push_back(r->first);
        onlyOn(Difference::Where::onlyRight);
        path.pop_back();
      }
      ++r;
    } else {
      // A node without meaning on one side counts as absent there.
      const bool lm = l->second.meaningful();
      const bool rm = r->second.meaningful();
      path.push_back(l->first);
      if (lm && rm) {
        collectDifferences(l->second, r->second, path, out);
      } else if (lm) {
        onlyOn(Difference::Where::onlyLeft);
      } else if (rm) {
        onlyOn(Difference::Where::onlyRight);
      }
      path.pop_back();
      ++l;
      ++r;
    }
  }
}

}  // namespace

bool operator<(const PathEntryView& a, const PathEntryView& b) {
  if (a.tag != b.tag) return a.tag < b.tag;
  if (a.kind != b.kind) return a.kind < b.kind;
  switch (a.kind) {
    case PathEntry::Kind::none:
      return false;
    case PathEntry::Kind::u32:
      return a.u32 < b.u32;
    case PathEntry::Kind::string:
      return a.str < b.str;
  }
  return false;
}

NodeKey::NodeKey(const PathEntryView& e) : tag_(e.tag), kind_(e.kind), u32_(0) {
  switch (kind_) {
    case PathEntry::Kind::none:
      break;
    case PathEntry::Kind::u32:
      u32_ = e.u32;
      break;
    case PathEntry::Kind::string: {
      const auto size = static_cast<U32>(e.str.size());
      str_ = new char[sizeof size + size];
      std::memcpy(str_, &size, sizeof size);
      std::memcpy(str_ + sizeof size, e.str.data(), size);
      break;
    }
  }
}

NodeKey& NodeKey::operator=(const NodeKey& other) {
  if (this != &other) *this = NodeKey(other);
  return *this;
}

NodeKey::NodeKey(NodeKey&& other) noexcept : tag_(other.tag_), kind_(other.kind_), u32_(0) {
  if (kind_ == PathEntry::Kind::string) {
    str_ = other.str_;
    other.kind_ = PathEntry::Kind::none;
  } else {
    u32_ = other.u32_;
  }
}

NodeKey& NodeKey::operator=(NodeKey&& other) noexcept {
  if (this == &other) return *this;
  if (kind_ == PathEntry::Kind::string) delete[] str_;
  tag_ = other.tag_;
  kind_ = other.kind_;
  if (kind_ == PathEntry::Kind::string) {
    str_ = other.str_;
    other.kind_ = PathEntry::Kind::none;
  } else {
    u32_ = other.u32_;
  }
  return *this;
}

NodeKey::~NodeKey() {
  if (kind_ == PathEntry::Kind::string) delete[] str_;
}

PathEntryView NodeKey::view() const {
  switch (kind_) {
    case PathEntry::Kind::none:
      break;
    case PathEntry::Kind::u32:
      return {tag_, kind_, u32_, {}};
    case PathEntry::Kind::string: {
      U32 size;
      std::memcpy(&size, str_, sizeof size);
      return {tag_, kind_, 0, std::string_view(str_ + sizeof size, size)};
    }
  }
  return {tag_, kind_, 0, {}};
}

EngineModel::Children::Children(const Children& other)
    : map_(other.map_ ? std::make_unique<Map>(*other.map_) : nullptr) {}

EngineModel::Children& EngineModel::Children::operator=(const Children& other) {
  if (this != &other) map_ = other.map_ ? std::make_unique<Map>(*other.map_) : nullptr;
  return *this;
}

EngineModel::Children::~Children() = default;

namespace {
// What begin() and end() of a node without children point into.
EngineModel::Children::Map& noChildren() {
  static EngineModel::Children::Map none;
  return none;
}
}  // namespace

EngineModel::Children::iterator EngineModel::Children::begin() {
  return map_ ? map_->begin() : noChildren().begin();
}
EngineModel::Children::iterator EngineModel::Children::end() {
  return map_ ? map_->end() : noChildren().end();
}
EngineModel::Children::const_iterator EngineModel::Children::begin() const {
  return map_ ? map_->cbegin() : noChildren().cbegin();
}
EngineModel::Children::const_iterator EngineModel::Children::end() const {
  return map_ ? map_->cend() : noChildren().cend();
}

EngineModel::Children::iterator EngineModel::Children::find(const PathEntryView& key) {
  return map_ ? map_->find(key) : end();
}
EngineModel::Children::const_iterator EngineModel::Children::find(const PathEntryView& key) const {
  return map_ ? map_->find(key) : end();
}

EngineModel::Node& EngineModel::Children::operator[](const PathEntryView& key) {
  if (!map_) map_ = std::make_unique<Map>();
  auto it = map_->lower_bound(key);
  if (it == map_->end() || key < it->first) {
    it = map_->emplace_hint(it, std::piecewise_construct, std::forward_as_tuple(key),
                            std::forward_as_tuple());
  }
  return it->second;
}

std::size_t EngineModel::Children::erase(const PathEntryView& key) {
  if (!map_) return 0;
  auto it = map_->find(key);
  if (it == map_->end()) return 0;
  map_->erase(it);
  if (map_->empty()) map_.reset();
  return 1;
}

bool EngineModel::Node::meaningful() const {
  if (!values.empty()) return true;
  for (const auto& [entry, child] : children) {
    if (child.meaningful()) return true;
  }
  return false;
}

void EngineModel::execute(const MioOp& op) {
  static const MioTagArray::Entries kNoPath{};
  std::string& encoded = scratch_;
  encoded.clear();
  encodeOp(encoded, op.name(), op.path() ? op.path()->entries() : kNoPath, op.values(),
           op.scalars(), op.deleteFlag());
  if (chunks_.empty()) chunks_.emplace_back();
  if (chunks_.back().size() + encoded.size() > chunks_.back().capacity()) {
    const bool fresh = chunks_.back().empty();
    const std::size_t grown =
        fresh ? kFirstChunkBytes : std::min(kChunkBytes, 2 * chunks_.back().capacity());
    const std::size_t bytes = std::max(grown, encoded.size());
    (fresh ? chunks_.back() : chunks_.emplace_back()).reserve(bytes);
  }
  chunks_.back() += encoded;
  ++staged_;
}

// Both kinds of commit take everything executed so far: the sync commit differs only in how
// it reaches the engine.
void EngineModel::commit(CommitKind /*kind*/) {
  // Each chunk but the first goes as soon as it is applied, so that the tree grows into the
  // memory the stage gives back; the first stays for the next commit.
  for (std::size_t i = 0; i < chunks_.size(); ++i) {
    const std::string& chunk = chunks_[i];
    for (const char *at = chunk.data(), *last = at + chunk.size(); at != last;) {
      at = applyEncoded(root_, at);
    }
    if (i > 0) std::string().swap(chunks_[i]);
  }
  if (!chunks_.empty()) {
    chunks_.resize(1);
    chunks_.front().clear();
  }
  staged_ = 0;
}

void EngineModel::apply(Node& root, const OpRecord& op) {
  std::string encoded;
  encodeOp(encoded, op.name, op.path, op.values, op.scalars, op.del);
  applyEncoded(root, encoded.data());
}

bool EngineModel::equivalent(const Node& a, const Node& b) {
  if (!sameValues(a, b)) return false;
  auto l = a.children.begin();
  auto r = b.children.begin();
  while (l != a.children.end() || r != b.children.end()) {
    if (r == b.children.end() || (l != a.children.end() && l->first < r->first)) {
      if (l->second.meaningful()) return false;
      ++l;
    } else if (l == a.children.end() || r->first < l->first) {
      if (r->second.meaningful()) return false;
      ++r;
    } else {
      const bool lm = l->second.meaningful();
      const bool rm = r->second.meaningful();
      if (lm != rm) return false;
      if (lm && !equivalent(l->second, r->second)) return false;
      ++l;
      ++r;
    }
  }
  return true;
}

std::vector<EngineModel::Difference> EngineModel::differenceList(const Node& left,
                                                                 const Node& right) {
  std::vector<Difference> out;
  std::vector<PathEntry> path;
  collectDifferences(left, right, path, out);
  return out;
}

std::string EngineModel::differenceText(const Difference& d) {
  const auto values = [](const std::vector<TaggedValue>& side) {
    std::string out = "{";
    for (const TaggedValue& v : side) {
      if (out.size() > 1) out += ' ';
      out += valueText(v);
    }
    return out + '}';
  };
  switch (d.where) {
    case Difference::Where::onlyLeft:
      return "only in left: " + pathText(d.path);
    case Difference::Where::onlyRight:
      return "only in right: " + pathText(d.path);
    case Difference::Where::valuesDiffer:
      return "values differ at " + pathText(d.path) + ": " + values(d.left) + " vs " +
             values(d.right);
  }
  return {};
}

std::vector<std::string> EngineModel::differences(const Node& left, const Node& right) {
  std::vector<std::string> out;
  for (const Difference& d : differenceList(left, right)) out.push_back(differenceText(d));
  return out;
}

}  // namespace Rib
