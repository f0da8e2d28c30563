#include "tools/ribpolicy/ScenarioParser.h"

#include <yaml.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <istream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "framework/l3/VrfName.h"
#include "framework/vela/Address.h"

namespace ribpolicy {

std::string InputError::format(std::string_view file) const {
  return std::string(file) + ':' + std::to_string(line_) + ':' + std::to_string(column_) +
         ": error: " + what();
}

namespace {

using Routing::RouteMap::CommunitySet;
using Routing::RouteMap::LargeCommunity;
using Routing::RouteMap::MatchOption;
using Routing::RouteMap::MatchRule;
using Routing::RouteMap::SetClauses;
using Routing::RouteMap::SetFlagBit;

// --- Positions and messages ------------------------------------------------------------

// Text as it appears in a message: control bytes escaped, so that the message stays on the
// one line ribpolicy prints.
std::string printable(std::string_view s) {
  std::string out;
  for (const char ch : s) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x20 || c == 0x7f) {
      char buf[5];
      std::snprintf(buf, sizeof buf, "\\x%02x", c);
      out += buf;
    } else {
      out += ch;
    }
  }
  return out;
}

// A value as it appears in a message: quoted, printable and shortened when long.
std::string quote(std::string_view s) {
  constexpr std::size_t kMax = 60;
  return "'" + printable(s.substr(0, kMax)) + (s.size() > kMax ? "...'" : "'");
}

// --- The document -------------------------------------------------------------------------

// The document as the reader walks it, built from the YAML parser's events: one small record
// per node, the children of a list or mapping side by side (a mapping's as key, value, key,
// value), and each scalar's text. An alias stands for its anchored node itself, so that
// repeating a section costs one index, not a copy.
//
// The entries of a list, which is where a large configuration is large, are read while the
// text is still being parsed, each as soon as its events close, and their nodes given back
// (see DocumentBuilder): the list's node then keeps what was read instead of its children.
enum class NodeKind : std::uint8_t { null, scalar, sequence, map };

class Node;

// The entries of one list, read as they were parsed. The reader takes them where it would
// have read the list's children, so whatever was wrong in them is reported at that point of
// its walk, as if it had read them only then.
class EarlyList {
 public:
  explicit EarlyList(std::string path) : path_(std::move(path)) {}
  virtual ~EarlyList() = default;
  EarlyList(const EarlyList&) = delete;
  EarlyList& operator=(const EarlyList&) = delete;

  // Reads the next entry; after the first bad one, the rest are not looked at.
  void add(const Node& entry);
  // After the last entry.
  virtual void finish() = 0;

  std::optional<InputError> error;
  StepMarks marks;  // where the entries named things, under path_

 protected:
  virtual void read(const Node& entry) = 0;

 private:
  std::string path_;  // "SECTION/NAME" of the list
};

class Document {
 public:
  struct Record {
    NodeKind kind;
    int line;
    int column;
    // scalar: where its text starts in texts_; list and mapping: the first child's index in
    // kids_; a list read early: its index in lists_.
    std::uint32_t first;
    std::uint32_t count;  // scalar: the length of its text; list and mapping: the children
                          // (a mapping counts keys and values); a list read early: 0
    bool early = false;   // a list whose entries were read early
  };

  const Record& record(std::uint32_t i) const { return nodes_[i]; }
  std::uint32_t kid(std::uint32_t i) const { return kids_[i]; }
  std::string_view text(const Record& r) const {
    return std::string_view(texts_).substr(r.first, r.count);
  }
  std::uint32_t root() const { return root_; }
  // The entries of a list read early, which the reader takes once: nothing can lead its walk
  // to the list's node a second time, as no alias can name a node inside it.
  std::unique_ptr<EarlyList> takeList(const Record& r) const { return std::move(lists_[r.first]); }

 private:
  friend class DocumentBuilder;
  std::vector<Record> nodes_;
  std::vector<std::uint32_t> kids_;
  std::string texts_;  // every scalar's text, one after the other
  mutable std::vector<std::unique_ptr<EarlyList>> lists_;
  std::uint32_t root_ = 0;
};

// A handle on one node of a Document.
class Node {
 public:
  Node(const Document& doc, std::uint32_t index) : doc_(&doc), index_(index) {}

  NodeKind kind() const { return rec().kind; }
  bool IsNull() const { return kind() == NodeKind::null; }
  bool IsScalar() const { return kind() == NodeKind::scalar; }
  bool IsSequence() const { return kind() == NodeKind::sequence; }
  bool IsMap() const { return kind() == NodeKind::map; }
  std::string_view Scalar() const { return doc_->text(rec()); }
  // The number of items of a list, or of members of a mapping.
  std::size_t size() const { return IsMap() ? rec().count / 2 : IsSequence() ? rec().count : 0; }
  int line() const { return rec().line; }
  int column() const { return rec().column; }
  // A list whose entries the builder has read already (see EarlyList); it has no items.
  bool early() const { return rec().early; }
  std::unique_ptr<EarlyList> takeEarlyList() const { return doc_->takeList(rec()); }

  // The i-th item of a list (i < size()).
  Node operator[](std::size_t i) const {
    return Node(*doc_, doc_->kid(rec().first + static_cast<std::uint32_t>(i)));
  }

  // Iterates a list's items, or a mapping's members as (key, value) pairs.
  class iterator;
  iterator begin() const;
  iterator end() const;

 private:
  bool collection() const { return (IsMap() || IsSequence()) && !early(); }
  const Document::Record& rec() const { return doc_->record(index_); }
  const Document* doc_;
  std::uint32_t index_;
};

class Node::iterator {
 public:
  iterator(const Node& n, std::uint32_t at) : doc_(n.doc_), map_(n.IsMap()), at_(at) {}
  Node operator*() const { return Node(*doc_, doc_->kid(at_)); }
  const std::pair<Node, Node>* operator->() {
    member_.emplace(Node(*doc_, doc_->kid(at_)), Node(*doc_, doc_->kid(at_ + 1)));
    return &*member_;
  }
  iterator& operator++() {
    at_ += map_ ? 2 : 1;
    return *this;
  }
  bool operator!=(const iterator& o) const { return at_ != o.at_; }

 private:
  const Document* doc_;
  bool map_;
  std::uint32_t at_;
  std::optional<std::pair<Node, Node>> member_;
};

Node::iterator Node::begin() const {
  return iterator(*this, collection() ? rec().first : 0);
}
Node::iterator Node::end() const {
  return iterator(*this, collection() ? rec().first + rec().count : 0);
}

// The 1-based position of a node.
std::pair<int, int> positionOf(const Node& n) {
  return {n.line(), n.column()};
}

[[noreturn]] void fail(const Node& at, const std::string& message) {
  const auto [line, column] = positionOf(at);
  throw InputError(line, column, message);
}

std::string describe(const Node& n) {
  switch (n.kind()) {
    case NodeKind::scalar:
      return quote(n.Scalar());
    case NodeKind::sequence:
      return n.size() == 0 ? "an empty list" : "a list";
    case NodeKind::map:
      return "a mapping";
    case NodeKind::null:
      return "nothing";
  }
  return "nothing";
}

[[noreturn]] void expected(const Node& at, std::string_view key, std::string_view what) {
  fail(at, std::string(key) + ": expected " + std::string(what) + ", got " + describe(at));
}

std::string joinKeys(const std::vector<std::string_view>& keys) {
  std::string out;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (i) out += i + 1 == keys.size() ? " or " : ", ";
    out += keys[i];
  }
  return out;
}

// --- Where things are named -------------------------------------------------------------

// Records the marks of the step being read (see StepMarks). The reader is a recursive descent,
// so the path of the node at hand is a stack: a MarkScope adds one name to it for as long as
// the reader is inside that node.
class MarkRecorder {
 public:
  explicit MarkRecorder(StepMarks& marks) : MarkRecorder(marks, own_) {}
  // Records under `path`, which the recorder extends and gives back as it was.
  MarkRecorder(StepMarks& marks, std::string& path) : marks_(marks), outer_(current_), path_(path) {
    current_ = this;
  }
  ~MarkRecorder() { current_ = outer_; }
  MarkRecorder(const MarkRecorder&) = delete;
  MarkRecorder& operator=(const MarkRecorder&) = delete;

  // Records `n` at the current path extended by `name` (or at the current path itself).
  static void mark(const Node& n, std::string_view name = {}) {
    if (!current_) return;
    const std::size_t size = current_->path_.size();
    if (!name.empty()) current_->push(name);
    const auto [line, column] = positionOf(n);
    if (current_->marks_.pathBytes() + current_->path_.size() > kMaxPathBytes) {
      throw InputError(line, column, "invalid YAML: too much text");
    }
    current_->marks_.record(current_->path_, Mark{line, column});
    current_->path_.resize(size);
  }

  // Takes the marks recorded while a list was read early (its entries' paths are whole).
  static void adopt(const Node& list, StepMarks& early) {
    if (!current_) return;
    if (current_->marks_.pathBytes() + early.pathBytes() > kMaxPathBytes) {
      const auto [line, column] = positionOf(list);
      throw InputError(line, column, "invalid YAML: too much text");
    }
    current_->marks_.take(early);
  }

 private:
  friend class MarkScope;
  void push(std::string_view name) {
    if (!path_.empty()) path_ += '/';
    path_ += name;
  }

  // The marks of one step keep their paths' text in one string of at most this size.
  static constexpr std::size_t kMaxPathBytes = std::numeric_limits<std::uint32_t>::max();
  static inline MarkRecorder* current_ = nullptr;
  StepMarks& marks_;
  MarkRecorder* outer_;
  std::string own_;
  std::string& path_;
};

class MarkScope {
 public:
  MarkScope(const Node& n, std::string_view name) {
    MarkRecorder::mark(n, name);
    if (MarkRecorder* r = MarkRecorder::current_) {
      size_ = r->path_.size();
      r->push(name);
    }
  }
  ~MarkScope() {
    if (MarkRecorder* r = MarkRecorder::current_) r->path_.resize(size_);
  }
  MarkScope(const MarkScope&) = delete;
  MarkScope& operator=(const MarkScope&) = delete;

 private:
  std::size_t size_ = 0;
};

void EarlyList::add(const Node& entry) {
  if (error) return;
  MarkRecorder recorder(marks, path_);
  try {
    read(entry);
  } catch (const InputError& e) {
    error = e;
  }
}

// --- Mappings with a fixed set of keys --------------------------------------------------

// The members of one mapping, checked against the keys its context allows: an unknown or a
// repeated key is an error at the key itself.
class Fields {
 public:
  Fields(const Node& node, std::string what, const std::vector<std::string_view>& allowed)
      : node_(node), what_(std::move(what)) {
    if (node.IsNull()) return;
    if (!node.IsMap()) expected(node, what_, "a mapping");
    members_.reserve(node.size());
    for (auto it = node.begin(); it != node.end(); ++it) {
      const Node key = it->first;
      if (!key.IsScalar()) expected(key, what_, "a key name");
      const std::string_view name = key.Scalar();
      if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
        fail(key, "unknown key " + quote(name) + " in " + what_ + " (expected " +
                      joinKeys(allowed) + ")");
      }
      for (const Member& m : members_) {
        if (m.name == name) {
          fail(key, "duplicate key " + quote(name) + " in " + what_ + " (first at line " +
                        std::to_string(positionOf(m.key).first) + ")");
        }
      }
      members_.push_back({name, key, it->second});
    }
  }

  const Node& node() const { return node_; }
  const std::string& what() const { return what_; }

  const Node* get(std::string_view name) const {
    for (const Member& m : members_) {
      if (m.name == name) return &m.value;
    }
    return nullptr;
  }
  const Node& need(std::string_view name) const {
    if (const Node* v = get(name)) return *v;
    fail(node_, what_ + ": missing key " + quote(name));
  }
  // Refuses every present key outside `allowed`: the keys that belong to another form of
  // the same mapping (another match option, another kind of community entry).
  void restrict(const std::vector<std::string_view>& allowed, const std::string& context) const {
    for (const Member& m : members_) {
      if (std::find(allowed.begin(), allowed.end(), m.name) == allowed.end()) {
        fail(m.key, "key " + quote(m.name) + " does not apply to " + context + " (expected " +
                        joinKeys(allowed) + ")");
      }
    }
  }

 private:
  struct Member {
    std::string_view name;  // the document's own text
    Node key;
    Node value;
  };
  Node node_;
  std::string what_;
  std::vector<Member> members_;
};

// --- Scalars ------------------------------------------------------------------------------

std::optional<std::uint64_t> parseUnsigned(std::string_view s) {
  unsigned base = 10;
  if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    base = 16;
    s.remove_prefix(2);
  }
  if (s.empty()) return std::nullopt;
  std::uint64_t v = 0;
  for (char c : s) {
    unsigned d;
    if (c >= '0' && c <= '9') {
      d = static_cast<unsigned>(c - '0');
    } else if (base == 16 && c >= 'a' && c <= 'f') {
      d = static_cast<unsigned>(c - 'a' + 10);
    } else if (base == 16 && c >= 'A' && c <= 'F') {
      d = static_cast<unsigned>(c - 'A' + 10);
    } else {
      return std::nullopt;
    }
    if (v > (std::numeric_limits<std::uint64_t>::max() - d) / base) return std::nullopt;
    v = v * base + d;
  }
  return v;
}

std::optional<std::int64_t> parseSigned(std::string_view s) {
  bool negative = false;
  if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
    negative = s[0] == '-';
    s.remove_prefix(1);
  }
  const auto magnitude = parseUnsigned(s);
  if (!magnitude) return std::nullopt;
  constexpr std::uint64_t kMax =
      static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (negative) {
    if (*magnitude > kMax + 1) return std::nullopt;
    if (*magnitude == kMax + 1) return std::numeric_limits<std::int64_t>::min();
    return -static_cast<std::int64_t>(*magnitude);
  }
  if (*magnitude > kMax) return std::nullopt;
  return static_cast<std::int64_t>(*magnitude);
}

std::string_view scalar(const Node& n, std::string_view key, std::string_view what) {
  if (!n.IsScalar()) expected(n, key, what);
  return n.Scalar();
}

std::string text(const Node& n, std::string_view key) {
  return std::string(scalar(n, key, "a string"));
}

// A name of a configured object: any non-empty string.
std::string name(const Node& n, std::string_view key) {
  const std::string_view s = scalar(n, key, "a name");
  if (s.empty()) expected(n, key, "a non-empty name");
  return std::string(s);
}

U32 u32(const Node& n, std::string_view key, U32 lo = 0, U32 hi = std::numeric_limits<U32>::max(),
        std::string_view what = {}) {
  const std::string range =
      what.empty() ? "a number from " + std::to_string(lo) + " to " + std::to_string(hi)
                   : std::string(what);
  const auto v = parseUnsigned(scalar(n, key, range));
  if (!v || *v < lo || *v > hi) expected(n, key, range);
  return static_cast<U32>(*v);
}

S64 s64(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "a signed 64-bit number";
  const auto v = parseSigned(scalar(n, key, kWhat));
  if (!v) expected(n, key, kWhat);
  return *v;
}

bool boolean(const Node& n, std::string_view key) {
  const std::string_view s = scalar(n, key, "true or false");
  if (s == "true" || s == "True" || s == "TRUE") return true;
  if (s == "false" || s == "False" || s == "FALSE") return false;
  expected(n, key, "true or false");
}

bool optionalBool(const Fields& f, std::string_view key, bool fallback) {
  const Node* v = f.get(key);
  return v ? boolean(*v, key) : fallback;
}

const Node& sequence(const Node& n, std::string_view key, std::string_view what) {
  if (!n.IsSequence()) expected(n, key, what);
  return n;
}

Acl::MatchPermit action(const Node& n) {
  constexpr std::string_view kWhat = "permit or deny";
  const std::string_view s = scalar(n, "action", kWhat);
  if (s == "permit" || s == "0") return Acl::permit;
  if (s == "deny" || s == "1") return Acl::deny;
  expected(n, "action", kWhat);
}

// --- Addresses ----------------------------------------------------------------------------

Vela::IpAddr ipv4(const Node& n, std::string_view key) {
  const auto a = Vela::IpAddr::parse(scalar(n, key, "an IPv4 address"));
  if (!a) expected(n, key, "an IPv4 address A.B.C.D");
  return *a;
}

Vela::Ip6Addr ipv6(const Node& n, std::string_view key) {
  const auto a = Vela::Ip6Addr::parse(scalar(n, key, "an IPv6 address"));
  if (!a) expected(n, key, "an IPv6 address");
  return *a;
}

// Splits "ADDRESS/LENGTH" and checks the length against `maxLength`; the address part is
// left to the caller.
std::pair<std::string_view, U32> splitPrefix(const Node& n, std::string_view key,
                                             std::string_view what, U32 maxLength) {
  const std::string_view s = scalar(n, key, what);
  const std::size_t slash = s.find('/');
  if (slash == std::string::npos) expected(n, key, what);
  const auto len = parseUnsigned(std::string_view(s).substr(slash + 1));
  if (!len || std::string_view(s).substr(slash + 1).starts_with("0x")) expected(n, key, what);
  if (*len > maxLength) {
    fail(n, std::string(key) + ": prefix length " + std::to_string(*len) +
                " out of range (expected 0 to " + std::to_string(maxLength) + ") in " + quote(s));
  }
  return {std::string_view(s).substr(0, slash), static_cast<U32>(*len)};
}

Vela::Prefix ipv4Prefix(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "an IPv4 prefix A.B.C.D/N";
  const auto [addr, len] = splitPrefix(n, key, kWhat, 32);
  const auto a = Vela::IpAddr::parse(addr);
  if (!a) fail(n, std::string(key) + ": bad IPv4 address " + quote(addr) + " in " + describe(n));
  return Vela::Prefix(*a, len);
}

Vela::Ip6Prefix ipv6Prefix(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "an IPv6 prefix ADDRESS/N";
  const auto [addr, len] = splitPrefix(n, key, kWhat, 128);
  const auto a = Vela::Ip6Addr::parse(addr);
  if (!a) fail(n, std::string(key) + ": bad IPv6 address " + quote(addr) + " in " + describe(n));
  return Vela::Ip6Prefix(*a, len);
}

// "A.B.C.D/M.M.M.M" or "A.B.C.D/N".
Vela::IpAddrWithFullMask addressWithMask(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "an IPv4 address with a mask, A.B.C.D/M.M.M.M or A.B.C.D/N";
  const std::string_view s = scalar(n, key, kWhat);
  const std::size_t slash = s.find('/');
  if (slash == std::string::npos) expected(n, key, kWhat);
  const std::string_view addr = std::string_view(s).substr(0, slash);
  const std::string_view mask = std::string_view(s).substr(slash + 1);
  const auto a = Vela::IpAddr::parse(addr);
  if (!a) fail(n, std::string(key) + ": bad IPv4 address " + quote(addr) + " in " + quote(s));
  if (mask.find('.') != std::string_view::npos) {
    const auto m = Vela::IpAddr::parse(mask);
    if (!m) fail(n, std::string(key) + ": bad mask " + quote(mask) + " in " + quote(s));
    return Vela::IpAddrWithFullMask(*a, m->value());
  }
  const auto len = parseUnsigned(mask);
  if (!len || mask.starts_with("0x")) expected(n, key, kWhat);
  if (*len > 32) {
    fail(n, std::string(key) + ": prefix length " + std::to_string(*len) +
                " out of range (expected 0 to 32) in " + quote(s));
  }
  const U32 bits = *len == 0 ? 0u : ~0u << (32 - *len);
  return Vela::IpAddrWithFullMask(*a, bits);
}

// --- Communities --------------------------------------------------------------------------

std::vector<std::string_view> splitColons(std::string_view s) {
  std::vector<std::string_view> out;
  std::size_t start = 0;
  for (;;) {
    const std::size_t at = s.find(':', start);
    out.push_back(
        s.substr(start, at == std::string_view::npos ? std::string_view::npos : at - start));
    if (at == std::string_view::npos) return out;
    start = at + 1;
  }
}

U32 standardCommunity(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "a standard community AA:NN or a 32-bit number";
  const std::string_view s = scalar(n, key, kWhat);
  const auto parts = splitColons(s);
  if (parts.size() == 1) {
    const auto v = parseUnsigned(s);
    if (!v || *v > 0xffffffffu) expected(n, key, kWhat);
    return static_cast<U32>(*v);
  }
  if (parts.size() != 2) expected(n, key, kWhat);
  const auto hi = parseUnsigned(parts[0]);
  const auto lo = parseUnsigned(parts[1]);
  if (!hi || !lo || *hi > 0xffff || *lo > 0xffff) expected(n, key, kWhat);
  return static_cast<U32>((*hi << 16) | *lo);
}

std::uint64_t extendedCommunity(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "an extended community as a 64-bit number";
  const auto v = parseUnsigned(scalar(n, key, kWhat));
  if (!v) expected(n, key, kWhat);
  return *v;
}

LargeCommunity largeCommunity(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "a large community G:L1:L2";
  const auto parts = splitColons(scalar(n, key, kWhat));
  if (parts.size() != 3) expected(n, key, kWhat);
  U32 words[3];
  for (std::size_t i = 0; i < 3; ++i) {
    const auto v = parseUnsigned(parts[i]);
    if (!v || *v > 0xffffffffu) expected(n, key, kWhat);
    words[i] = static_cast<U32>(*v);
  }
  return {words[0], words[1], words[2]};
}

// --- Lists of entries ---------------------------------------------------------------------

// A list written either as a sequence of entries or as a mapping holding them.
struct ListForm {
  std::optional<U32> version;
  std::string source;
  std::optional<Node> entries;  // the list of entries, if any
};

ListForm listForm(const Node& n, const std::string& what, bool versioned, bool sourced) {
  ListForm out;
  if (n.IsNull()) return out;
  if (n.IsSequence()) {
    out.entries = n;
    return out;
  }
  if (!n.IsMap()) {
    expected(n, what,
             versioned ? "a list of entries or a mapping {version, entries}"
                       : "a list of entries or a mapping {entries}");
  }
  std::vector<std::string_view> keys = {"entries"};
  if (versioned) keys.push_back("version");
  if (sourced) keys.push_back("source");
  Fields f(n, what, keys);
  if (const Node* v = f.get("version")) out.version = u32(*v, "version");
  if (const Node* s = f.get("source")) out.source = text(*s, "source");
  if (const Node* e = f.get("entries")) {
    if (!e->IsNull()) out.entries = sequence(*e, "entries", "a list of entries");
  }
  return out;
}

// Reads the entries of one list, one at a time: each is a mapping with a unique `seq` among
// `keys`; `body` reads the rest of it.
template <class T>
class EntryReader {
 public:
  using Body = T (*)(const Fields&, U32);
  EntryReader(const std::string& what, const std::vector<std::string_view>& keys, Body body)
      : what_(what), entry_("entry of " + what), keys_(&keys), body_(body) {}

  void read(const Node& node) {
    Fields f(node, entry_, *keys_);
    if (node.IsNull()) expected(node, entry_, "a mapping");
    const Node& seqNode = f.need("seq");
    const U32 seq = u32(seqNode, "seq");
    // Entries mostly come in ascending order, each then going at the end.
    auto at = entries_.end();
    if (!entries_.empty() && std::prev(at)->first >= seq) {
      at = entries_.lower_bound(seq);
      if (at->first == seq) {
        const auto first = std::find_if(lines_.begin(), lines_.end(),
                                        [&](const auto& l) { return l.first == seq; });
        fail(seqNode, "duplicate sequence number " + std::to_string(seq) + " in " + what_ +
                          " (first at line " + std::to_string(first->second) + ")");
      }
    }
    lines_.emplace_back(seq, seqNode.line());
    entries_.emplace_hint(at, seq, body_(f, seq));
  }
  // After the last entry: the lines are needed no more.
  void finish() { std::vector<std::pair<U32, int>>().swap(lines_); }
  std::map<U32, T> take() {
    finish();
    return std::move(entries_);
  }

 private:
  std::string what_;
  std::string entry_;
  const std::vector<std::string_view>* keys_;
  Body body_;
  std::map<U32, T> entries_;
  std::vector<std::pair<U32, int>> lines_;  // each sequence number's line, in reading order
};

template <class T>
class EarlyEntries final : public EarlyList {
 public:
  EarlyEntries(std::string path, EntryReader<T> reader)
      : EarlyList(std::move(path)), reader_(std::move(reader)) {}
  void finish() override { reader_.finish(); }
  EntryReader<T>& reader() { return reader_; }

 protected:
  void read(const Node& entry) override { reader_.read(entry); }

 private:
  EntryReader<T> reader_;
};

// The entries of `list` (a list of entries, or nothing): the ones the builder has read already,
// or else read here.
template <class T>
std::map<U32, T> readEntries(const std::optional<Node>& list, EntryReader<T> reader) {
  if (!list) return {};
  if (list->early()) {
    const std::unique_ptr<EarlyList> early = list->takeEarlyList();
    if (early->error) throw *early->error;
    MarkRecorder::adopt(*list, early->marks);
    // The builder starts a list's reader by the same section row as the one that led here.
    return static_cast<EarlyEntries<T>&>(*early).reader().take();
  }
  for (const Node& entry : *list) reader.read(entry);
  return reader.take();
}

// Starts reading a list's entries early, by the reader `start` makes for it.
template <class T>
std::unique_ptr<EarlyList> early(std::string path, EntryReader<T> reader) {
  return std::make_unique<EarlyEntries<T>>(std::move(path), std::move(reader));
}

// Calls `f(name, value)` for each member of a section that maps names to objects.
template <class F>
void forEachNamed(const Node* section, std::string_view sectionName, F&& f) {
  if (!section || section->IsNull()) return;
  if (!section->IsMap()) expected(*section, sectionName, "a mapping from names to definitions");
  MarkScope in(*section, sectionName);
  std::map<std::string, int> firstLine;
  for (auto it = section->begin(); it != section->end(); ++it) {
    const std::string n = name(it->first, sectionName);
    if (auto at = firstLine.find(n); at != firstLine.end()) {
      fail(it->first, "duplicate name " + quote(n) + " in " + std::string(sectionName) +
                          " (first at line " + std::to_string(at->second) + ")");
    }
    firstLine.emplace(n, positionOf(it->first).first);
    MarkScope at(it->first, n);
    f(n, it->second);
  }
}

std::set<std::string> nameList(const Node& n, std::string_view key) {
  std::set<std::string> out;
  if (n.IsNull()) return out;
  for (const Node& x : sequence(n, key, "a list of names")) {
    if (!out.insert(name(x, key)).second) {
      fail(x, std::string(key) + ": duplicate name " + quote(x.Scalar()));
    }
    MarkRecorder::mark(x, x.Scalar());
  }
  return out;
}

// --- Prefix, AS-path, community and access lists -----------------------------------------

// The entries of an IPv4 (Acl::PrefixEntry) or IPv6 (Acl::Ipv6PrefixEntry) prefix list.
template <class Entry>
EntryReader<Entry> prefixEntries(const std::string& what) {
  static const std::vector<std::string_view> kKeys = {"seq", "action", "prefix", "ge", "le"};
  return EntryReader<Entry>(what, kKeys, [](const Fields& f, U32 seq) {
    constexpr bool kIpv4 = std::is_same_v<Entry, Acl::PrefixEntry>;
    constexpr U32 kMaxLength = kIpv4 ? 32 : 128;
    Entry e;
    e.seqno = seq;
    e.permit = action(f.need("action"));
    if constexpr (kIpv4) {
      e.prefix = ipv4Prefix(f.need("prefix"), "prefix");
    } else {
      e.prefix = ipv6Prefix(f.need("prefix"), "prefix");
    }
    if (const Node* v = f.get("ge")) e.ge = u32(*v, "ge", 0, kMaxLength);
    if (const Node* v = f.get("le")) e.le = u32(*v, "le", 0, kMaxLength);
    return e;
  });
}

template <class Entry>
Versioned<EntryList<Entry>> parsePrefixList(const Node& n, const std::string& what) {
  const ListForm form = listForm(n, what, true, false);
  Versioned<EntryList<Entry>> def;
  def.version = form.version;
  def.entries = readEntries(form.entries, prefixEntries<Entry>(what));
  return def;
}

EntryReader<Acl::AsPathEntry> asPathEntries(const std::string& what) {
  static const std::vector<std::string_view> kKeys = {"seq", "action", "regex", "origin", "valid"};
  return EntryReader<Acl::AsPathEntry>(what, kKeys, [](const Fields& f, U32 seq) {
    Acl::AsPathEntry e;
    e.seqno = seq;
    e.permit = action(f.need("action"));
    e.regex = text(f.need("regex"), "regex");
    e.origin = 0xffffffffu;  // any origin
    if (const Node* o = f.get("origin")) {
      if (!(o->IsScalar() && o->Scalar() == "any")) {
        e.origin = u32(*o, "origin", 0, 0xffffffffu, "0, 1, 2 or any");
      }
    }
    e.validMode0 = true;
    e.validMode1 = true;
    if (const Node* v = f.get("valid")) {
      constexpr std::string_view kWhat = "a pair [valid in mode 0, valid in mode 1]";
      if (!v->IsSequence() || v->size() != 2) expected(*v, "valid", kWhat);
      e.validMode0 = boolean((*v)[0], "valid");
      e.validMode1 = boolean((*v)[1], "valid");
    }
    return e;
  });
}

AsPathListDef parseAsPathList(const Node& n, const std::string& what) {
  const ListForm form = listForm(n, what, true, true);
  AsPathListDef def;
  def.version = form.version;
  def.source = form.source;
  def.entries = readEntries(form.entries, asPathEntries(what));
  return def;
}

struct CommunityTypeName {
  std::string_view name;
  Acl::CommunityListType type;
};
constexpr CommunityTypeName kCommunityTypes[] = {
    {"standard", Acl::standardValues}, {"standard-regex", Acl::standardRegex},
    {"extended", Acl::extendedValues}, {"extended-regex", Acl::extendedRegex},
    {"large", Acl::largeValues},       {"large-regex", Acl::largeRegex},
};

Acl::CommunityListType communityListType(const Node& n) {
  constexpr std::string_view kWhat =
      "standard, standard-regex, extended, extended-regex, large, large-regex or 0 to 5";
  const std::string_view s = scalar(n, "type", kWhat);
  for (const CommunityTypeName& t : kCommunityTypes) {
    if (s == t.name) return t.type;
  }
  return static_cast<Acl::CommunityListType>(u32(n, "type", 0, 5, kWhat));
}

bool isRegexType(Acl::CommunityListType t) {
  switch (t) {
    case Acl::standardRegex:
    case Acl::extendedRegex:
    case Acl::largeRegex:
      return true;
    case Acl::standardValues:
    case Acl::extendedValues:
    case Acl::largeValues:
      return false;
  }
  return false;
}

std::string_view typeName(Acl::CommunityListType t) {
  for (const CommunityTypeName& n : kCommunityTypes) {
    if (n.type == t) return n.name;
  }
  return "unknown";
}

Acl::CommunityValue communityValue(const Node& n, Acl::CommunityListType t) {
  switch (t) {
    case Acl::standardValues:
    case Acl::standardRegex:
      return Acl::CommunityValue::standard(standardCommunity(n, "communities"));
    case Acl::extendedValues:
    case Acl::extendedRegex:
      return Acl::CommunityValue::extended(extendedCommunity(n, "communities"));
    case Acl::largeValues:
    case Acl::largeRegex: {
      const LargeCommunity l = largeCommunity(n, "communities");
      return Acl::CommunityValue::large(l.global, l.local1, l.local2);
    }
  }
  return {};
}

EntryReader<CommunityEntryDef> communityEntries(const std::string& what) {
  static const std::vector<std::string_view> kKeys = {"seq",         "action", "type",
                                                      "communities", "regex",  "version"};
  return EntryReader<CommunityEntryDef>(what, kKeys, [](const Fields& f, U32) {
    CommunityEntryDef e;
    e.permit = action(f.need("action"));
    e.type = communityListType(f.need("type"));
    if (const Node* v = f.get("version")) e.version = u32(*v, "version");
    const std::string context = "a community entry of type " + std::string(typeName(e.type));
    if (isRegexType(e.type)) {
      f.restrict({"seq", "action", "type", "regex", "version"}, context);
      e.regex = text(f.need("regex"), "regex");
    } else {
      f.restrict({"seq", "action", "type", "communities", "version"}, context);
      const Node& values = f.need("communities");
      if (!values.IsNull()) {
        for (const Node& v : sequence(values, "communities", "a list of communities")) {
          e.communities.insert(communityValue(v, e.type));
        }
      }
    }
    return e;
  });
}

CommunityListDef parseCommunityList(const Node& n, const std::string& what) {
  const ListForm form = listForm(n, what, false, false);
  CommunityListDef def;
  def.entries = readEntries(form.entries, communityEntries(what));
  return def;
}

EntryReader<Acl::RuleConfig> accessRules(const std::string& what) {
  static const std::vector<std::string_view> kKeys = {"seq", "action", "source"};
  return EntryReader<Acl::RuleConfig>(what, kKeys, [](const Fields& f, U32) {
    Acl::RuleConfig r;
    r.action = action(f.need("action"));
    r.filter = Acl::IpFilter(addressWithMask(f.need("source"), "source"));
    return r;
  });
}

AccessListDef parseAccessList(const Node& n, const std::string& what) {
  const ListForm form = listForm(n, what, false, false);
  AccessListDef def;
  def.entries = readEntries(form.entries, accessRules(what));
  return def;
}

// --- Route maps: match rules --------------------------------------------------------------

// How a match option takes its value.
enum class OptionForm : std::uint8_t {
  listName,        // value: a list or map name
  ipv4Address,     // value: an IPv4 address
  ipv6Address,     // value: an IPv6 address
  communityLists,  // lists: [names], exact
  text,            // value: a string
  optionalText,    // value: a string, may be left out
  metricType,      // value: 1 or 2
  protocol,        // value: 1 to 9
  routeType,       // value: 1 to 4
  range,           // value and upper
  pair,            // pair: [first, second]
  integer,         // value: a 32-bit number
  passThrough,     // an option the library does not know: value and upper as given
};

// The match options: the name a scenario may give one by (empty for the options it gives by
// number only), the option, and the form of its value. The named ones are listed, in this
// order, when an option is unknown; any other number reads as passThrough.
struct OptionRow {
  std::string_view name;
  MatchOption option;
  OptionForm form;
};
constexpr OptionRow kOptions[] = {
    {"access-list", Routing::RouteMap::matchAccessList, OptionForm::listName},
    {"prefix-list", Routing::RouteMap::matchPrefixList, OptionForm::listName},
    {"ipv6-prefix-list", Routing::RouteMap::matchIpv6PrefixList, OptionForm::listName},
    {"gateway", Routing::RouteMap::matchGateway, OptionForm::ipv4Address},
    {"next-hop", Routing::RouteMap::matchNextHop, OptionForm::ipv4Address},
    {"ipv6-next-hop", Routing::RouteMap::matchIpv6NextHop, OptionForm::ipv6Address},
    {"next-hop-prefix-list", Routing::RouteMap::matchNextHopPrefixList, OptionForm::listName},
    {"ipv6-next-hop-prefix-list", Routing::RouteMap::matchIpv6NextHopPrefixList,
     OptionForm::listName},
    {"resolved-next-hop-prefix-list", Routing::RouteMap::matchResolvedNextHopPrefixList,
     OptionForm::listName},
    {"ipv6-resolved-next-hop-prefix-list", Routing::RouteMap::matchIpv6ResolvedNextHopPrefixList,
     OptionForm::listName},
    {"community", Routing::RouteMap::matchCommunity, OptionForm::communityLists},
    {"extended-community", Routing::RouteMap::matchExtCommunity, OptionForm::communityLists},
    {"large-community", Routing::RouteMap::matchLargeCommunity, OptionForm::communityLists},
    {"interface", Routing::RouteMap::matchInterface, OptionForm::text},
    {"metric-type", Routing::RouteMap::matchMetricType, OptionForm::metricType},
    {"protocol", Routing::RouteMap::matchProtocol, OptionForm::protocol},
    {"as-range", Routing::RouteMap::matchAsRange, OptionForm::range},
    {"route-type", Routing::RouteMap::matchRouteType, OptionForm::routeType},
    {"dynamic-prefix-list", Routing::RouteMap::matchDynamicPrefixList, OptionForm::listName},
    {"ipv6-dynamic-prefix-list", Routing::RouteMap::matchIpv6DynamicPrefixList,
     OptionForm::listName},
    {"community-instances", Routing::RouteMap::matchCommInstances, OptionForm::range},
    {"as-path-length", Routing::RouteMap::matchAsPathLength, OptionForm::pair},
    {"contributing-aggregate", Routing::RouteMap::matchContribAggAttr, OptionForm::optionalText},
    {"", 100, OptionForm::integer},
    {"", 101, OptionForm::text},
    {"", 102, OptionForm::text},
    {"", 105, OptionForm::integer},
    {"", 108, OptionForm::integer},
    {"", 109, OptionForm::integer},
    {"", 110, OptionForm::integer},
    {"", 111, OptionForm::integer},
    {"", 115, OptionForm::integer},
    {"", 120, OptionForm::text},
};

OptionForm optionForm(MatchOption option) {
  for (const OptionRow& row : kOptions) {
    if (row.option == option) return row.form;
  }
  return OptionForm::passThrough;
}

std::string optionLabel(MatchOption option) {
  for (const OptionRow& n : kOptions) {
    if (n.option == option && !n.name.empty()) return std::string(n.name);
  }
  return std::to_string(option);
}

MatchOption matchOption(const Node& n) {
  constexpr std::string_view kWhat = "a match option name or number";
  const std::string_view s = scalar(n, "option", kWhat);
  for (const OptionRow& o : kOptions) {
    if (!o.name.empty() && s == o.name) return o.option;
  }
  const auto v = parseUnsigned(s);
  if (!v || *v > 0xffffffffu) {
    std::vector<std::string_view> names;
    for (const OptionRow& o : kOptions) {
      if (!o.name.empty()) names.push_back(o.name);
    }
    fail(n, "option: unknown match option " + quote(s) +
                " (expected a number or a name: " + joinKeys(names) + ")");
  }
  return static_cast<MatchOption>(*v);
}

MatchRule parseMatchRule(const Node& n) {
  Fields f(n, "match rule", {"option", "value", "invert", "upper", "lists", "exact", "pair"});
  if (n.IsNull()) expected(n, "match rule", "a mapping");
  MatchRule r;
  r.option = matchOption(f.need("option"));
  r.invert = optionalBool(f, "invert", false);
  const std::string label = optionLabel(r.option);
  const std::string context = "match option " + label;
  MarkScope at(n, "match");
  MarkScope option(n, label);
  switch (optionForm(r.option)) {
    case OptionForm::listName:
      f.restrict({"option", "value", "invert"}, context);
      r.stringValue = name(f.need("value"), "value");
      MarkRecorder::mark(f.need("value"));
      break;
    case OptionForm::ipv4Address:
      f.restrict({"option", "value", "invert"}, context);
      r.ipAddr = ipv4(f.need("value"), "value");
      break;
    case OptionForm::ipv6Address:
      f.restrict({"option", "value", "invert"}, context);
      r.ip6Addr = ipv6(f.need("value"), "value");
      break;
    case OptionForm::communityLists: {
      f.restrict({"option", "lists", "exact", "invert"}, context);
      const Node& lists = f.need("lists");
      std::set<std::string> names = nameList(lists, "lists");
      if (names.empty()) expected(lists, "lists", "at least one community-list name");
      r.commListSet = Routing::RouteMap::CommListSet(std::move(names));
      r.stringValue = r.commListSet.stringValue();
      r.exact = optionalBool(f, "exact", false);
      break;
    }
    case OptionForm::text:
      f.restrict({"option", "value", "invert"}, context);
      r.stringValue = text(f.need("value"), "value");
      break;
    case OptionForm::optionalText:
      f.restrict({"option", "value", "invert"}, context);
      if (const Node* v = f.get("value")) {
        r.stringValue = text(*v, "value");
        MarkRecorder::mark(*v);  // the contributing-aggregate map's name
      }
      break;
    case OptionForm::metricType:
      f.restrict({"option", "value", "invert"}, context);
      r.intValue = u32(f.need("value"), "value", 1, 2, "a metric type, 1 or 2");
      break;
    case OptionForm::protocol:
      f.restrict({"option", "value", "invert"}, context);
      r.intValue = u32(f.need("value"), "value", 1, 9, "a protocol from 1 to 9");
      break;
    case OptionForm::routeType:
      f.restrict({"option", "value", "invert"}, context);
      r.intValue = u32(f.need("value"), "value", 1, 4, "a route type from 1 to 4");
      break;
    case OptionForm::range:
      f.restrict({"option", "value", "upper", "invert"}, context);
      r.intValue = u32(f.need("value"), "value");
      r.upper = u32(f.need("upper"), "upper");
      break;
    case OptionForm::pair: {
      f.restrict({"option", "pair", "invert"}, context);
      const Node& p = f.need("pair");
      if (!p.IsSequence() || p.size() != 2) expected(p, "pair", "a pair [first, second]");
      r.asPathLength = {u32(p[0], "pair"), u32(p[1], "pair")};
      break;
    }
    case OptionForm::integer:
      f.restrict({"option", "value", "invert"}, context);
      r.intValue = u32(f.need("value"), "value");
      break;
    case OptionForm::passThrough:
      f.restrict({"option", "value", "upper", "invert"}, context);
      if (const Node* v = f.get("value")) {
        r.stringValue = text(*v, "value");
        if (const auto x = parseUnsigned(r.stringValue); x && *x <= 0xffffffffu) {
          r.intValue = static_cast<U32>(*x);
        }
      }
      if (const Node* v = f.get("upper")) r.upper = u32(*v, "upper");
      break;
  }
  return r;
}

// --- Route maps: set clauses --------------------------------------------------------------

std::map<U32, U32> asList(const Node& n, std::string_view key) {
  std::map<U32, U32> out;
  U32 position = 0;
  for (const Node& x : sequence(n, key, "a list of AS numbers")) {
    out.emplace(position++, u32(x, key));
  }
  return out;
}

Acl::CommSetFlag commSetFlag(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "a community-set flag from 0 to 3";
  const auto f = Acl::sequenceToValue(scalar(n, key, kWhat));
  if (!f || static_cast<U32>(*f) > 3) expected(n, key, kWhat);
  return *f;
}

struct LinkBandwidth {
  Acl::ExtCommLinkBandwidthSetFlag option = Acl::lbwNone_;
  float bandwidth = 0;
};

float bandwidth(const Node& n) {
  constexpr std::string_view kWhat = "a bandwidth (a non-negative number)";
  // strtod reads up to a NUL, which the document's text does not end with.
  const std::string s(scalar(n, "bandwidth", kWhat));
  if (s.empty()) expected(n, "bandwidth", kWhat);
  errno = 0;
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  if (errno != 0 || end != s.c_str() + s.size() || !std::isfinite(v) || v < 0 ||
      v > std::numeric_limits<float>::max()) {
    expected(n, "bandwidth", kWhat);
  }
  return static_cast<float>(v);
}

// A community set clause: `kind` says which values it takes; `defaultFlag` is the flag when
// none is given; `refuse(flag)` names a flag the clause cannot carry (or nothing).
Vox::Ptr<CommunitySet const> parseCommunitySet(const Node& n, const std::string& key,
                                               Acl::CommunityType kind,
                                               Acl::CommSetFlag defaultFlag, LinkBandwidth* lbw) {
  std::vector<std::string_view> keys = {"values", "lists", "flag"};
  if (lbw) keys.push_back("link-bandwidth");
  Fields f(n, key, keys);
  if (n.IsNull()) expected(n, key, "a community set {values, lists, flag}");
  MarkScope at(n, "set");
  MarkScope clause(n, key);
  auto set = Vox::make<CommunitySet>();
  set->flag = defaultFlag;
  if (const Node* v = f.get("flag")) {
    set->flag = commSetFlag(*v, "flag");
    if (key == "community" && set->flag == Acl::commSetDelete_) {
      fail(*v,
           "flag: community cannot carry flag 1 (delete); expected 0, 2 or 3, or use "
           "community-delete");
    }
    if (key == "community-delete" && set->flag != Acl::commSetDelete_) {
      expected(*v, "flag", "1 (community-delete always deletes)");
    }
  }
  if (const Node* v = f.get("values")) {
    if (!v->IsNull()) {
      for (const Node& x : sequence(*v, "values", "a list of communities")) {
        switch (kind) {
          case Acl::communityStandard:
            set->standard.push_back(standardCommunity(x, "values"));
            break;
          case Acl::communityExtended:
            set->extended.push_back(extendedCommunity(x, "values"));
            break;
          case Acl::communityLarge:
            set->large.push_back(largeCommunity(x, "values"));
            break;
        }
      }
    }
  }
  if (const Node* v = f.get("lists")) {
    set->useCL = true;
    set->communityListName = nameList(*v, "lists");
  }
  if (lbw) {
    if (const Node* v = f.get("link-bandwidth")) {
      Fields l(*v, "link-bandwidth", {"option", "bandwidth"});
      if (v->IsNull()) expected(*v, "link-bandwidth", "a mapping {option, bandwidth}");
      lbw->option = static_cast<Acl::ExtCommLinkBandwidthSetFlag>(
          u32(l.need("option"), "option", 0, 4, "a link-bandwidth option from 0 to 4"));
      if (const Node* b = l.get("bandwidth")) lbw->bandwidth = bandwidth(*b);
    }
  }
  return set;
}

// The set clauses, one row per key: its flag bit and how its value reads. The rows are read
// in this order, whatever the order of the keys in the file.
struct SetClauseRow {
  std::string_view key;
  SetFlagBit bit;
  void (*read)(const Node& value, SetClauses& into);
};

SetClauseDefs parseSetClauses(const Node& n) {
  using namespace Routing::RouteMap;
  static const SetClauseRow kRows[] = {
      {"as-path-prepend", setAsPathPrepend,
       [](const Node& v, SetClauses& s) { s.asPathPrepend = asList(v, "as-path-prepend"); }},
      {"next-hop", setNextHop,
       [](const Node& v, SetClauses& s) { s.nextHop = ipv4(v, "next-hop"); }},
      {"ipv6-next-hop", setIpv6NextHop,
       [](const Node& v, SetClauses& s) { s.ipv6NextHop = ipv6(v, "ipv6-next-hop"); }},
      {"origin", setOrigin,
       [](const Node& v, SetClauses& s) {
         s.origin = u32(v, "origin", 1, 3, "an origin of 1, 2 or 3");
       }},
      {"action-19", setAction19,
       [](const Node& v, SetClauses& s) { s.action19 = s64(v, "action-19"); }},
      {"metric", setMetric,
       [](const Node& v, SetClauses& s) {
         Fields m(v, "metric", {"value", "med-type"});
         if (v.IsNull()) expected(v, "metric", "a mapping {value, med-type}");
         s.metric = s64(m.need("value"), "value");
         if (const Node* t = m.get("med-type")) {
           s.medType = u32(*t, "med-type", 0, 8, "a med type from 0 to 8");
         }
       }},
      {"ospf-metric-type", setOspfMetricType,
       [](const Node& v, SetClauses& s) {
         s.ospfMetricType = u32(v, "ospf-metric-type", 1, 2, "an OSPF metric type, 1 or 2");
       }},
      {"isis-level", setIsisLevel,
       [](const Node& v, SetClauses& s) {
         s.isisLevel = u32(v, "isis-level", 0, 2, "an IS-IS level, 0, 1 or 2");
       }},
      {"action-2", setAction2,
       [](const Node& v, SetClauses& s) { s.action2 = u32(v, "action-2"); }},
      {"community", setCommunityAddReplace,
       [](const Node& v, SetClauses& s) {
         s.communityAddReplace =
             parseCommunitySet(v, "community", Acl::communityStandard, Acl::commSetNone_, nullptr);
       }},
      {"community-delete", setCommunityDelete,
       [](const Node& v, SetClauses& s) {
         s.communityDelete = parseCommunitySet(v, "community-delete", Acl::communityStandard,
                                               Acl::commSetDelete_, nullptr);
       }},
      {"extended-community", setExtCommunity,
       [](const Node& v, SetClauses& s) {
         LinkBandwidth lbw;
         s.extCommunity = parseCommunitySet(v, "extended-community", Acl::communityExtended,
                                            Acl::commSetNone_, &lbw);
         s.extCommLbwFlag = lbw.option;
         s.extCommLbwBandwidth = lbw.bandwidth;
       }},
      {"action-3", setAction3,
       [](const Node& v, SetClauses& s) { s.action3 = s64(v, "action-3"); }},
      {"action-25", setAction25,
       [](const Node& v, SetClauses& s) { s.action25 = u32(v, "action-25"); }},
      {"action-26", setAction26,
       [](const Node& v, SetClauses& s) { s.action26 = s64(v, "action-26"); }},
      {"next-hop-peer-address", setNextHopPeerAddr,
       [](const Node& v, SetClauses& s) {
         s.nextHopPeerAddr = boolean(v, "next-hop-peer-address");
       }},
      {"ipv6-next-hop-peer-address", setIpv6NextHopPeerAddr,
       [](const Node& v, SetClauses& s) {
         s.ipv6NextHopPeerAddr = boolean(v, "ipv6-next-hop-peer-address");
       }},
      {"next-hop-unchanged", setNextHopUnchanged,
       [](const Node& v, SetClauses& s) { s.nextHopUnchanged = boolean(v, "next-hop-unchanged"); }},
      {"ipv6-next-hop-unchanged", setIpv6NextHopUnchanged,
       [](const Node& v, SetClauses& s) {
         s.ipv6NextHopUnchanged = boolean(v, "ipv6-next-hop-unchanged");
       }},
      {"as-path-prepend-last-as", setAsPathPrependLastAs,
       [](const Node& v, SetClauses& s) {
         s.asPathPrependLastAs = static_cast<U8>(u32(v, "as-path-prepend-last-as", 0, 255));
       }},
      {"as-path-replace", setAsPathReplace,
       [](const Node& v, SetClauses& s) { s.asPathReplace = asList(v, "as-path-replace"); }},
      {"action-35", setAction35,
       [](const Node& v, SetClauses& s) { s.action35 = s64(v, "action-35"); }},
      {"large-community", setLargeCommunity,
       [](const Node& v, SetClauses& s) {
         s.largeCommunity = parseCommunitySet(v, "large-community", Acl::communityLarge,
                                              Acl::commSetNone_, nullptr);
       }},
  };
  static const std::vector<std::string_view> kKeys = [] {
    std::vector<std::string_view> keys;
    for (const SetClauseRow& row : kRows) keys.push_back(row.key);
    return keys;
  }();
  const Fields f(n, "set", kKeys);
  SetClauseDefs s;
  for (const SetClauseRow& row : kRows) {
    if (const Node* v = f.get(row.key)) {
      row.read(*v, s);
      s.flags |= 1u << row.bit;
    }
  }
  return s;
}

// The entries of a route map or a peer filter.
EntryReader<MapEntryDef> mapEntries(const std::string& what) {
  static const std::vector<std::string_view> kKeys = {"seq", "action", "match", "sub-route-map",
                                                      "set"};
  return EntryReader<MapEntryDef>(what, kKeys, [](const Fields& f, U32 seq) {
    MarkScope at(f.node(), std::to_string(seq));
    MapEntryDef e;
    e.permit = action(f.need("action"));
    if (const Node* m = f.get("match")) {
      if (!m->IsNull()) {
        std::map<MatchOption, int> firstLine;
        for (const Node& r : sequence(*m, "match", "a list of match rules")) {
          MatchRule rule = parseMatchRule(r);
          if (auto it = firstLine.find(rule.option); it != firstLine.end()) {
            fail(r, "match: option " + optionLabel(rule.option) +
                        " given twice in one entry (first at line " + std::to_string(it->second) +
                        ")");
          }
          firstLine.emplace(rule.option, positionOf(r).first);
          e.match.emplace(rule.option, std::move(rule));
        }
      }
    }
    if (const Node* s = f.get("sub-route-map")) {
      e.subRouteMap = text(*s, "sub-route-map");
      MarkRecorder::mark(*s, "sub-route-map");
    }
    if (const Node* s = f.get("set")) e.set = parseSetClauses(*s);
    return e;
  });
}

MapDef parseMap(const Node& n, const std::string& what) {
  const ListForm form = listForm(n, what, true, false);
  MapDef def;
  def.version = form.version;
  def.entries = readEntries(form.entries, mapEntries(what));
  return def;
}

// --- Sections, steps, scenario ------------------------------------------------------------

DynamicPrefixListDef parseDynamicPrefixList(const Node& n, const std::string& what) {
  Fields f(n, what, {"match-map", "ipv4-prefix-list", "ipv6-prefix-list", "version"});
  DynamicPrefixListDef d;
  if (const Node* v = f.get("match-map")) {
    d.matchMap = text(*v, "match-map");
    MarkRecorder::mark(*v, "match-map");
  }
  if (const Node* v = f.get("ipv4-prefix-list")) {
    d.ipv4PrefixList = text(*v, "ipv4-prefix-list");
    MarkRecorder::mark(*v, "ipv4-prefix-list");
  }
  if (const Node* v = f.get("ipv6-prefix-list")) {
    d.ipv6PrefixList = text(*v, "ipv6-prefix-list");
    MarkRecorder::mark(*v, "ipv6-prefix-list");
  }
  if (const Node* v = f.get("version")) d.version = u32(*v, "version");
  return d;
}

// The sections that map names to definitions, one row each: the key, what one definition
// is called in messages, how it reads into the configuration and, for the lists of entries,
// how the builder starts reading a list's entries early. They are read in this order.
struct SectionRow {
  std::string_view key;
  std::string_view label;
  void (*read)(const std::string& name, const std::string& what, const Node& value,
               ScenarioConfig& into);
  std::unique_ptr<EarlyList> (*early)(std::string path, const std::string& what);
};

constexpr SectionRow kSections[] = {
    {"prefix-lists", "prefix list",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.prefixLists.emplace(nm, parsePrefixList<Acl::PrefixEntry>(v, what));
     },
     [](std::string path, const std::string& what) {
       return early(std::move(path), prefixEntries<Acl::PrefixEntry>(what));
     }},
    {"ipv6-prefix-lists", "IPv6 prefix list",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.ipv6PrefixLists.emplace(nm, parsePrefixList<Acl::Ipv6PrefixEntry>(v, what));
     },
     [](std::string path, const std::string& what) {
       return early(std::move(path), prefixEntries<Acl::Ipv6PrefixEntry>(what));
     }},
    {"as-path-lists", "AS-path list",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.asPathLists.emplace(nm, parseAsPathList(v, what));
     },
     [](std::string path, const std::string& what) {
       return early(std::move(path), asPathEntries(what));
     }},
    {"community-lists", "community list",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.communityLists.emplace(nm, parseCommunityList(v, what));
     },
     [](std::string path, const std::string& what) {
       return early(std::move(path), communityEntries(what));
     }},
    {"access-lists", "access list",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.accessLists.emplace(nm, parseAccessList(v, what));
     },
     [](std::string path, const std::string& what) {
       return early(std::move(path), accessRules(what));
     }},
    {"route-maps", "route map",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.routeMaps.emplace(nm, parseMap(v, what));
     },
     [](std::string path, const std::string& what) {
       return early(std::move(path), mapEntries(what));
     }},
    {"peer-filters", "peer filter",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.peerFilters.emplace(nm, parseMap(v, what));
     },
     [](std::string path, const std::string& what) {
       return early(std::move(path), mapEntries(what));
     }},
    {"dynamic-prefix-lists", "dynamic prefix list",
     [](const std::string& nm, const std::string& what, const Node& v, ScenarioConfig& c) {
       c.dynamicPrefixLists.emplace(nm, parseDynamicPrefixList(v, what));
     },
     nullptr},
};

// What a definition is called in messages: "prefix list 'PL'".
std::string definitionName(const SectionRow& row, std::string_view name) {
  return std::string(row.label) + ' ' + quote(name);
}

ScenarioConfig parseConfig(const Node& n) {
  // The modes, the sections, then the policy map.
  static const std::vector<std::string_view> kKeys = [] {
    std::vector<std::string_view> keys = {"route-map-op-mode", "as-path-regex-mode"};
    for (const SectionRow& row : kSections) keys.push_back(row.key);
    keys.push_back("policy-map");
    return keys;
  }();
  const Fields f(n, "config", kKeys);
  ScenarioConfig c;
  if (const Node* v = f.get("route-map-op-mode")) {
    c.routeMapOpMode = u32(*v, "route-map-op-mode");
  }
  if (const Node* v = f.get("as-path-regex-mode")) {
    c.asPathRegexMode = u32(*v, "as-path-regex-mode");
  }
  for (const SectionRow& row : kSections) {
    forEachNamed(f.get(row.key), row.key, [&](const std::string& nm, const Node& v) {
      row.read(nm, definitionName(row, nm), v, c);
    });
  }
  if (const Node* v = f.get("policy-map")) {
    Fields p(*v, "policy-map", {"route-maps", "dynamic-prefix-lists"});
    MarkScope at(*v, "policy-map");
    if (const Node* x = p.get("route-maps")) {
      MarkScope maps(*x, "route-maps");
      c.policyMap.routeMaps = nameList(*x, "route-maps");
    }
    if (const Node* x = p.get("dynamic-prefix-lists")) {
      MarkScope lists(*x, "dynamic-prefix-lists");
      c.policyMap.dynamicPrefixLists = nameList(*x, "dynamic-prefix-lists");
    }
  }
  return c;
}

InputSet parseInputs(const Node& n) {
  InputSet set;
  if (n.IsNull()) return set;
  std::string names;
  for (Input i : kAllInputs) {
    if (!names.empty()) names += ", ";
    names += inputName(i);
  }
  for (const Node& x : sequence(n, "inputs", "a list of input names")) {
    const std::string_view s = scalar(x, "inputs", "an input name");
    bool found = false;
    for (Input i : kAllInputs) {
      if (s != inputName(i)) continue;
      if (set.has(i)) fail(x, "inputs: " + quote(s) + " listed twice");
      set.set(i, true);
      found = true;
    }
    if (!found) fail(x, "inputs: unknown input " + quote(s) + " (expected one of " + names + ")");
  }
  return set;
}

Step parseStep(const Node& n, std::size_t number) {
  const std::string what = "step " + std::to_string(number);
  Fields f(n, what, {"name", "config", "inputs"});
  if (n.IsNull()) expected(n, what, "a mapping {name, config, inputs}");
  Step s;
  const auto [line, column] = positionOf(n);
  s.marks.step = {line, column};
  MarkRecorder recorder(s.marks);
  if (const Node* v = f.get("name")) s.name = text(*v, "name");
  s.config = parseConfig(f.need("config"));
  if (const Node* v = f.get("inputs")) s.inputs = parseInputs(*v);
  s.marks.seal();
  return s;
}

Scenario parseRoot(const Node& root) {
  if (!root.IsMap()) expected(root, "scenario", "a mapping with 'steps'");
  Fields f(root, "scenario", {"vrf", "steps"});
  Scenario sc;
  if (const Node* v = f.get("vrf")) {
    sc.vrf = text(*v, "vrf");
    if (sc.vrf.size() > L3::VrfName::maxLength) {
      fail(*v, "vrf: expected a name of at most " + std::to_string(L3::VrfName::maxLength) +
                   " bytes, got " + std::to_string(sc.vrf.size()) + " bytes");
    }
  }
  const Node& steps = f.need("steps");
  if (!steps.IsSequence() || steps.size() == 0)
    expected(steps, "steps", "a list of at least one step");
  std::size_t number = 0;
  for (const Node& s : steps) sc.steps.push_back(parseStep(s, ++number));
  return sc;
}

// --- Reading the document -----------------------------------------------------------------

// Two shapes of YAML would have the reader give up badly or work without end, so the
// document is measured while it is read:
// - A scenario nests about a dozen levels of lists and mappings. Deeper nesting is refused
//   at the list or mapping one level too deep, named where it opens.
// - An alias repeats its anchored node without repeating its text, so a few kilobytes of
//   anchors and aliases can stand for billions of values, each of which the reader would
//   check and keep. Aliases may repeat a bounded number of nodes in all; the alias that
//   passes the bound is named. Sizes are counted as the reader will see them, an alias
//   inside an anchored node counting at the size of what it repeats.
//
// The entries of a list are read as soon as each one's events close, and the nodes of an
// entry given back once it has been read, so that the document holds the scenario's outline
// rather than every value of it. This is done only where the reader's walk will take the
// list for a list of entries whatever else the document holds (steps, a step's config, a
// section, a definition, its entries, each under a scalar key) and where nothing can
// repeat it: not inside an anchored node, which an alias may place elsewhere. An entry that
// anchors a node of its own keeps its nodes, for the aliases that may follow.
constexpr std::size_t kMaxNesting = 100;
constexpr std::uint64_t kMaxRepeatedNodes = 1'000'000;

// Where the builder takes the text from: a piece at a time as the YAML parser asks for it,
// and whole only to place an error that the parser names by a byte offset.
class TextSource {
 public:
  virtual ~TextSource() = default;
  // Copies the next bytes into `into`; 0 at the end.
  virtual std::size_t read(char* into, std::size_t size) = 0;
  virtual std::string_view whole() = 0;
};

class StringSource final : public TextSource {
 public:
  explicit StringSource(std::string_view text) : text_(text) {}
  std::size_t read(char* into, std::size_t size) override {
    const std::size_t n = std::min(size, text_.size() - at_);
    std::copy_n(text_.data() + at_, n, into);
    at_ += n;
    return n;
  }
  std::string_view whole() override { return text_; }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

class StreamSource final : public TextSource {
 public:
  StreamSource(std::istream& in, const std::function<std::string()>& reread)
      : in_(in), reread_(reread) {}
  std::size_t read(char* into, std::size_t size) override {
    const std::streamsize n = in_.rdbuf()->sgetn(into, static_cast<std::streamsize>(size));
    return n > 0 ? static_cast<std::size_t>(n) : 0;
  }
  std::string_view whole() override {
    if (!whole_) whole_ = reread_();
    return *whole_;
  }

 private:
  std::istream& in_;
  const std::function<std::string()>& reread_;
  std::optional<std::string> whole_;
};

class DocumentBuilder {
 public:
  explicit DocumentBuilder(TextSource& source) : source_(source) {
    if (!yaml_parser_initialize(&parser_)) throw InputError(1, 1, "invalid YAML: out of memory");
    yaml_parser_set_input(&parser_, &DocumentBuilder::readText, this);
  }
  ~DocumentBuilder() { yaml_parser_delete(&parser_); }
  DocumentBuilder(const DocumentBuilder&) = delete;
  DocumentBuilder& operator=(const DocumentBuilder&) = delete;

  // Reads the first document of the stream; a stream without one is a document of nothing.
  Document build() {
    bool started = false;
    for (;;) {
      Event e(parser_);
      if (!e.ok) syntaxError();
      const yaml_event_t& ev = e.event;
      const yaml_mark_t& mark = ev.start_mark;
      switch (ev.type) {
        case YAML_DOCUMENT_START_EVENT:
          started = true;
          break;
        case YAML_SCALAR_EVENT:
          scalar(ev, mark);
          break;
        case YAML_ALIAS_EVENT:
          alias(reinterpret_cast<const char*>(ev.data.alias.anchor), mark);
          break;
        case YAML_SEQUENCE_START_EVENT:
          open(NodeKind::sequence, ev.data.sequence_start.anchor, mark);
          break;
        case YAML_MAPPING_START_EVENT:
          open(NodeKind::map, ev.data.mapping_start.anchor, mark);
          break;
        case YAML_SEQUENCE_END_EVENT:
        case YAML_MAPPING_END_EVENT:
          close();
          break;
        case YAML_NO_EVENT:
        case YAML_STREAM_START_EVENT:
          break;
        case YAML_DOCUMENT_END_EVENT:
        case YAML_STREAM_END_EVENT:
          if (!started || doc_.nodes_.empty()) {
            doc_.root_ = add({NodeKind::null, 1, 1, 0, 0});
          }
          return std::move(doc_);
      }
    }
  }

 private:
  // One event, released when done with.
  struct Event {
    explicit Event(yaml_parser_t& p) : ok(yaml_parser_parse(&p, &event) != 0) {}
    ~Event() {
      if (ok) yaml_event_delete(&event);
    }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    yaml_event_t event{};
    bool ok;
  };

  // What a list or mapping is to the reader's walk, as far as reading entries early goes.
  enum class Context : std::uint8_t {
    other,       // anything else, or anything that an alias may repeat
    root,        // the scenario
    steps,       // its steps
    step,        // one step
    config,      // a step's config
    section,     // a section of lists of entries
    definition,  // one list written as a mapping {version, entries, ...}
    entries,     // one list's entries
  };
  // How far the document reached when a node began: what to give back once it has been read.
  struct Start {
    std::size_t nodes;
    std::size_t kids;
    std::size_t texts;
    std::uint64_t anchors;
  };
  struct Open {
    std::uint32_t node = 0;
    std::size_t firstKid = 0;  // in scratch_
    std::string anchor;
    std::uint64_t nodesBefore = 0;
    Start start{};
    Context context = Context::other;
    const SectionRow* row = nullptr;  // section, definition, entries
    std::string name;                 // definition, entries: the list's name
    std::string key;                  // a mapping: the scalar key of the member being read
    bool keyed = false;               // whether `key` holds that key
    std::uint32_t list = 0;           // entries: its index in the document's lists
  };
  struct Anchor {
    std::uint32_t node;
    std::uint64_t size;
  };

  [[noreturn]] void syntaxError() {
    std::string message = parser_.problem ? parser_.problem : "bad file";
    if (parser_.context) message += std::string(" ") + parser_.context;
    if (parser_.error == YAML_READER_ERROR) {
      // The reader names a byte offset only.
      const auto [line, column] = positionAt(parser_.problem_offset);
      // The byte it refuses, when it names one, is what the writer has to find.
      if (parser_.problem_value >= 0 && parser_.problem_value < 0x100) {
        message += ": " + std::string(1, static_cast<char>(parser_.problem_value));
      }
      throw InputError(line, column, "invalid YAML: " + printable(message));
    }
    const yaml_mark_t& m = parser_.problem_mark;
    if (parser_.error == YAML_SCANNER_ERROR &&
        message.starts_with("found unknown escape character")) {
      const std::string_view text = source_.whole();
      // The mark is at the backslash and counts characters, not bytes; the character after
      // the backslash, whole, is what the writer has to change.
      const std::size_t at = byteOfCharacter(text, m.index) + 1;
      if (at < text.size()) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::size_t width = lead < 0xc0 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
        message = "unknown escape character: " + std::string(text.substr(at, width));
      }
    }
    const auto [line, column] = where(m);
    throw InputError(line, column, "invalid YAML: " + printable(message));
  }

  // Hands the YAML parser the next piece of the text, counting its lines on the way.
  static int readText(void* data, unsigned char* buffer, std::size_t size,
                      std::size_t* size_read) noexcept {
    auto& self = *static_cast<DocumentBuilder*>(data);
    try {
      char* const into = reinterpret_cast<char*>(buffer);
      *size_read = self.source_.read(into, size);
      self.count(std::string_view(into, *size_read));
      return 1;
    } catch (...) {
      *size_read = 0;
      return 0;  // the parser reports an input error
    }
  }

  // Counts the line breaks as the parser does (LF, CR not before LF, NEL, LS, PS) and the
  // lines and columns of the text's end as positionAt does; at the end of the text, sets
  // lastLine_.
  void count(std::string_view piece) {
    if (piece.empty()) {
      if (!ended_ && afterCr_) ++breaks_;
      if (!ended_ && size_ > 0 && last_ != '\n' && last_ != '\r') lastLine_ = breaks_;
      ended_ = true;
      return;
    }
    size_ += piece.size();
    // Most pieces hold LF line ends only and start clear of a break begun before them.
    if (!afterCr_ && last_ < 0x80 && piece.find('\r') == std::string_view::npos &&
        piece.find('\xc2') == std::string_view::npos &&
        piece.find('\xe2') == std::string_view::npos) {
      const auto lfs = static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
      breaks_ += lfs;
      newlines_ += lfs;
      const std::size_t lastLf = piece.rfind('\n');
      sinceNewline_ = lastLf == std::string_view::npos ? sinceNewline_ + piece.size()
                                                       : piece.size() - lastLf - 1;
      beforeLast_ = piece.size() > 1 ? static_cast<unsigned char>(piece[piece.size() - 2]) : last_;
      last_ = static_cast<unsigned char>(piece.back());
      return;
    }
    for (const char ch : piece) {
      const auto c = static_cast<unsigned char>(ch);
      if (afterCr_ && c != '\n') ++breaks_;
      afterCr_ = c == '\r';
      if (c == '\n') {
        ++breaks_;
        ++newlines_;
        sinceNewline_ = 0;
      } else {
        ++sinceNewline_;
        if ((beforeLast_ == 0xe2 && last_ == 0x80 && (c == 0xa8 || c == 0xa9)) ||
            (last_ == 0xc2 && c == 0x85)) {
          ++breaks_;
        }
      }
      beforeLast_ = last_;
      last_ = c;
    }
  }

  // The 1-based position of a parser's mark. Past a last line without a line break, the
  // parser marks the end of the text on a line of its own making; such marks are placed at
  // the end of the last line instead.
  std::pair<int, int> where(const yaml_mark_t& m) const {
    if (m.line > lastLine_) {
      return {static_cast<int>(newlines_) + 1, static_cast<int>(sinceNewline_) + 1};
    }
    return {static_cast<int>(m.line) + 1, static_cast<int>(m.column) + 1};
  }

  // The byte offset of the character the parser counts as number `index`: it counts the
  // characters of UTF-8 text, after a byte-order mark.
  static std::size_t byteOfCharacter(std::string_view text, std::size_t index) {
    std::size_t i = text.starts_with("\xef\xbb\xbf") ? 3 : 0;
    for (; i < text.size(); ++i) {
      if ((static_cast<unsigned char>(text[i]) & 0xc0) == 0x80) continue;  // a continuation
      if (index == 0) return i;
      --index;
    }
    return text.size();
  }

  // The 1-based line and column of a byte offset into the text.
  std::pair<int, int> positionAt(std::size_t offset) {
    const std::string_view text = source_.whole();
    offset = std::min(offset, text.size());
    int line = 1;
    int column = 1;
    for (std::size_t i = 0; i < offset; ++i) {
      if (text[i] == '\n') {
        ++line;
        column = 1;
      } else {
        ++column;
      }
    }
    return {line, column};
  }

  std::uint32_t add(const Document::Record& r) {
    if (doc_.nodes_.size() >= std::numeric_limits<std::uint32_t>::max() - 1) {
      throw InputError(r.line, r.column, "invalid YAML: too many nodes");
    }
    const auto index = static_cast<std::uint32_t>(doc_.nodes_.size());
    doc_.nodes_.push_back(r);
    return index;
  }
  Start here() const {
    return {doc_.nodes_.size(), doc_.kids_.size(), doc_.texts_.size(), anchorsMade_};
  }

  // Whether the node about to enter the innermost open mapping is one of its keys.
  bool atKey() const {
    const Open& parent = open_.back();
    return doc_.nodes_[parent.node].kind == NodeKind::map &&
           (scratch_.size() - parent.firstKid) % 2 == 0;
  }

  // A node enters its parent (or becomes the document) where it starts. A scalar key of a
  // mapping whose context says what its values are is remembered for the value that follows.
  void place(std::uint32_t node, const std::string_view* textKey = nullptr) {
    if (open_.empty()) {
      doc_.root_ = node;
      return;
    }
    Open& parent = open_.back();
    if (parent.context != Context::other && parent.context != Context::entries && atKey()) {
      parent.keyed = textKey != nullptr;
      if (textKey) parent.key = *textKey;
    }
    scratch_.push_back(node);
  }
  void remember(const unsigned char* anchor, std::uint32_t node, std::uint64_t size) {
    if (!anchor) return;
    anchors_[reinterpret_cast<const char*>(anchor)] = {node, size};
    ++anchorsMade_;
  }

  // The context of a list or mapping about to open, and the section row it belongs to.
  std::pair<Context, const SectionRow*> contextOf(NodeKind kind, bool anchored) const {
    constexpr std::pair<Context, const SectionRow*> kOther{Context::other, nullptr};
    if (anchored) return kOther;
    if (open_.empty()) return {kind == NodeKind::map ? Context::root : Context::other, nullptr};
    const Open& parent = open_.back();
    const bool member = parent.keyed && doc_.nodes_[parent.node].kind == NodeKind::map &&
                        (scratch_.size() - parent.firstKid) % 2 == 1;
    const bool map = kind == NodeKind::map;
    const bool list = kind == NodeKind::sequence;
    switch (parent.context) {
      case Context::root:
        return member && list && parent.key == "steps" ? std::pair{Context::steps, nullptr}
                                                       : kOther;
      case Context::steps:
        return map ? std::pair{Context::step, nullptr} : kOther;
      case Context::step:
        return member && map && parent.key == "config" ? std::pair{Context::config, nullptr}
                                                       : kOther;
      case Context::config:
        if (!member || !map) return kOther;
        for (const SectionRow& row : kSections) {
          if (row.early && row.key == parent.key) return {Context::section, &row};
        }
        return kOther;
      case Context::section:
        if (!member) return kOther;
        if (list) return {Context::entries, parent.row};
        return map ? std::pair{Context::definition, parent.row} : kOther;
      case Context::definition:
        return member && list && parent.key == "entries" ? std::pair{Context::entries, parent.row}
                                                         : kOther;
      case Context::entries:
      case Context::other:
        return kOther;
    }
    return kOther;
  }

  // After an entry of a list read early has been placed whole: reads it and, unless it
  // anchors something, gives its nodes back.
  void entryDone(std::uint32_t node, const Start& start) {
    doc_.lists_[open_.back().list]->add(Node(doc_, node));
    scratch_.pop_back();
    if (anchorsMade_ != start.anchors) return;
    doc_.nodes_.resize(start.nodes);
    doc_.kids_.resize(start.kids);
    doc_.texts_.resize(start.texts);
  }
  bool inEntries() const { return !open_.empty() && open_.back().context == Context::entries; }

  void scalar(const yaml_event_t& ev, const yaml_mark_t& mark) {
    const auto& s = ev.data.scalar;
    const std::string_view value(reinterpret_cast<const char*>(s.value), s.length);
    // An untagged plain scalar spelling nothing is the null node.
    const bool null =
        s.style == YAML_PLAIN_SCALAR_STYLE && !s.tag &&
        (value.empty() || value == "~" || value == "null" || value == "Null" || value == "NULL");
    const auto [line, column] = where(mark);
    const Start start = here();
    Document::Record r{NodeKind::null, line, column, 0, 0};
    if (!null) {
      if (doc_.texts_.size() + value.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw InputError(r.line, r.column, "invalid YAML: too much text");
      }
      r.kind = NodeKind::scalar;
      r.first = static_cast<std::uint32_t>(doc_.texts_.size());
      r.count = static_cast<std::uint32_t>(value.size());
      doc_.texts_ += value;
    }
    const std::uint32_t node = add(r);
    place(node, null ? nullptr : &value);
    ++nodes_;
    remember(s.anchor, node, 1);
    if (inEntries()) entryDone(node, start);
  }

  void alias(const std::string& anchor, const yaml_mark_t& mark) {
    const auto it = anchors_.find(anchor);
    if (it == anchors_.end()) {
      const auto [line, column] = where(mark);
      throw InputError(line, column, "invalid YAML: the referenced anchor is not defined");
    }
    // An alias of a node still open (a node that holds itself) counts as one node: the
    // reader never takes one node for two levels of a scenario, so it stops there at once.
    const std::uint64_t size = it->second.size;
    nodes_ += size;
    repeated_ += size - 1;
    if (repeated_ > kMaxRepeatedNodes) {
      const auto [line, column] = where(mark);
      throw InputError(
          line, column,
          "invalid YAML: aliases repeat more than " + std::to_string(kMaxRepeatedNodes) + " nodes");
    }
    const Start start = here();
    place(it->second.node);
    if (inEntries()) entryDone(it->second.node, start);
  }

  void open(NodeKind kind, const unsigned char* anchor, const yaml_mark_t& mark) {
    const auto [line, column] = where(mark);
    if (open_.size() == kMaxNesting) {
      const std::string what = kind == NodeKind::map ? "mapping" : "list";
      throw InputError(line, column,
                       "invalid YAML: " + what + " nested " + std::to_string(kMaxNesting + 1) +
                           " levels deep (lists and mappings nest at most " +
                           std::to_string(kMaxNesting) + " levels)");
    }
    const Start start = here();
    const auto [context, row] = contextOf(kind, anchor != nullptr);
    Open o;
    o.anchor = anchor ? reinterpret_cast<const char*>(anchor) : "";
    o.nodesBefore = nodes_;
    o.start = start;
    o.context = context;
    o.row = row;
    if (context == Context::definition || context == Context::entries) {
      const Open& parent = open_.back();
      o.name = context == Context::definition || parent.context == Context::section ? parent.key
                                                                                    : parent.name;
    }
    if (context == Context::entries) {
      o.list = static_cast<std::uint32_t>(doc_.lists_.size());
      doc_.lists_.push_back(
          row->early(std::string(row->key) + '/' + o.name, definitionName(*row, o.name)));
    }
    o.node = add({kind, line, column, 0, 0});
    place(o.node);
    remember(anchor, o.node, 1);
    o.firstKid = scratch_.size();
    open_.push_back(std::move(o));
    ++nodes_;
  }

  void close() {
    const Open done = std::move(open_.back());
    open_.pop_back();
    Document::Record& r = doc_.nodes_[done.node];
    r.first = static_cast<std::uint32_t>(doc_.kids_.size());
    r.count = static_cast<std::uint32_t>(scratch_.size() - done.firstKid);
    doc_.kids_.insert(doc_.kids_.end(),
                      scratch_.begin() + static_cast<std::ptrdiff_t>(done.firstKid),
                      scratch_.end());
    scratch_.resize(done.firstKid);
    if (!done.anchor.empty()) anchors_[done.anchor] = {done.node, nodes_ - done.nodesBefore};
    if (done.context == Context::entries) {
      // Its entries have all been read and given back; the node keeps what was read.
      r.early = true;
      r.first = done.list;
      doc_.lists_[done.list]->finish();
    }
    if (inEntries()) entryDone(done.node, done.start);
  }

  TextSource& source_;
  // The text read so far: its size, line breaks, '\n' bytes and the bytes after the last one,
  // and its last two bytes.
  std::size_t size_ = 0;
  std::size_t breaks_ = 0;
  std::size_t newlines_ = 0;
  std::size_t sinceNewline_ = 0;
  unsigned char last_ = 0;
  unsigned char beforeLast_ = 0;
  bool afterCr_ = false;
  bool ended_ = false;
  std::size_t lastLine_ = std::numeric_limits<std::size_t>::max();  // 0-based
  yaml_parser_t parser_{};
  Document doc_;
  std::vector<Open> open_;
  std::vector<std::uint32_t> scratch_;
  std::unordered_map<std::string, Anchor> anchors_;
  std::uint64_t nodes_ = 0;
  std::uint64_t repeated_ = 0;
  std::uint64_t anchorsMade_ = 0;
};

}  // namespace

Scenario parseScenario(std::string_view text) {
  StringSource source(text);
  const Document doc = DocumentBuilder(source).build();
  return parseRoot(Node(doc, doc.root()));
}

Scenario parseScenario(std::istream& in, const std::function<std::string()>& reread) {
  StreamSource source(in, reread);
  const Document doc = DocumentBuilder(source).build();
  return parseRoot(Node(doc, doc.root()));
}

}  // namespace ribpolicy
