// A YAML document as a reader walks it, read with libyaml: lists, mappings and texts with the
// line and column where each begins, anchors and aliases, and the guards that keep a hostile
// text from making the walk give up badly or go on without end.
//
// The document is read as its text arrives, never held whole. It keeps one small record per
// node and every text once; an alias stands for its anchored node itself, so that repeating a
// large part costs one index. Where a reader says so (EarlyReading), the entries of a list are
// handed to it while the text is still being parsed, each as soon as its text closes, and
// their nodes given back: the document then holds the outline of a large list rather than
// every value in it.
//
// Bad text becomes an InputError at the place it names; this unit knows nothing of what the
// document means.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace ribpolicy {

// Bad input at a 1-based line and column.
class InputError : public std::runtime_error {
 public:
  InputError(int line, int column, const std::string& message)
      : std::runtime_error(message), line_(line), column_(column) {}
  int line() const { return line_; }
  int column() const { return column_; }
  // "FILE:LINE:COL: error: MESSAGE"
  std::string format(std::string_view file) const;

 private:
  int line_;
  int column_;
};

// Text as it appears in a message: control bytes as \xNN, so that the message stays on the
// one line it is printed on.
std::string printable(std::string_view text);

}  // namespace ribpolicy

namespace ribpolicy::yaml {

enum class NodeKind : std::uint8_t { null, text, list, mapping };

class Node;
struct Member;

// The entries of one list, handed over one by one as the document is read. Whatever is wrong
// with an entry is for the implementation to keep until its reader reaches the list: reading
// the document goes on.
class EarlyList {
 public:
  EarlyList() = default;
  virtual ~EarlyList() = default;
  EarlyList(const EarlyList&) = delete;
  EarlyList& operator=(const EarlyList&) = delete;

  virtual void add(const Node& entry) = 0;
  // After the last entry.
  virtual void finish() = 0;
};

// Which lists are read early. Every list and mapping gets a context from the one it opens in;
// the reader numbers its contexts, kNone saying that nothing inside is read early (what is
// inside an anchored node, which an alias may repeat elsewhere, always gets kNone). A list is
// read early only where the reader's walk takes it for a list of entries whatever the rest of
// the document holds.
class EarlyReading {
 public:
  using Context = std::uint32_t;
  static constexpr Context kNone = 0;

  struct Entered {
    Context context = kNone;
    bool named = false;  // the key it opens under names the lists read early inside it
    bool early = false;  // a list whose entries are read early
  };

  EarlyReading() = default;
  virtual ~EarlyReading() = default;
  EarlyReading(const EarlyReading&) = delete;
  EarlyReading& operator=(const EarlyReading&) = delete;

  // A list (`list`) or mapping opens inside one of context `parent` (none: it is the document),
  // as the value of the member `key` of a mapping; `key` is null for an item of a list, and for
  // a value whose key is not a text.
  virtual Entered enter(std::optional<Context> parent, bool list, const std::string* key) const = 0;
  // The reader of a list `enter` says to read early; `name` is the key of the nearest node
  // that is named, the list included.
  virtual std::unique_ptr<EarlyList> start(Context list, std::string_view name) const = 0;
};

class Document {
 public:
  struct Record {
    NodeKind kind;
    int line;
    int column;
    // text: where it starts in texts_; list and mapping: the first child's index in kids_; a
    // list read early: its index in lists_.
    std::uint32_t first;
    std::uint32_t count;  // text: its length; list and mapping: the children (a mapping counts
                          // keys and values); a list read early: 0
    bool early = false;   // a list whose entries were read early
  };

  const Record& record(std::uint32_t i) const { return nodes_[i]; }
  std::uint32_t kid(std::uint32_t i) const { return kids_[i]; }
  std::string_view text(const Record& r) const {
    return std::string_view(texts_).substr(r.first, r.count);
  }
  Node root() const;
  // The entries of a list read early, which a reader takes once: nothing can lead a walk to
  // the list's node a second time, as no alias can name a node inside it.
  std::unique_ptr<EarlyList> takeList(const Record& r) const { return std::move(lists_[r.first]); }

 private:
  friend class DocumentBuilder;
  std::vector<Record> nodes_;
  std::vector<std::uint32_t> kids_;
  std::string texts_;  // every text, one after the other
  mutable std::vector<std::unique_ptr<EarlyList>> lists_;
  std::uint32_t root_ = 0;
};

// A handle on one node of a Document.
class Node {
 public:
  Node(const Document& doc, std::uint32_t index) : doc_(&doc), index_(index) {}

  NodeKind kind() const { return rec().kind; }
  bool isNull() const { return kind() == NodeKind::null; }
  bool isText() const { return kind() == NodeKind::text; }
  bool isList() const { return kind() == NodeKind::list; }
  bool isMapping() const { return kind() == NodeKind::mapping; }
  std::string_view text() const { return doc_->text(rec()); }
  // The number of items of a list, or of members of a mapping.
  std::size_t size() const { return isMapping() ? rec().count / 2 : isList() ? rec().count : 0; }
  int line() const { return rec().line; }
  int column() const { return rec().column; }
  // A list whose entries were read early (see EarlyReading); it has no items.
  bool readEarly() const { return rec().early; }
  std::unique_ptr<EarlyList> takeEarlyList() const { return doc_->takeList(rec()); }

  // The i-th item of a list (i < size()).
  Node operator[](std::size_t i) const {
    return Node(*doc_, doc_->kid(rec().first + static_cast<std::uint32_t>(i)));
  }

  // The children of a list (items) or a mapping (members); none of anything else.
  template <class Child>
  class Children;
  Children<Node> items() const;
  Children<Member> members() const;

 private:
  const Document::Record& rec() const { return doc_->record(index_); }
  const Document* doc_;
  std::uint32_t index_;
};

// A member of a mapping.
struct Member {
  Node key;
  Node value;
};

template <class Child>
class Node::Children {
 public:
  class iterator {
   public:
    iterator(const Document* doc, std::uint32_t at) : doc_(doc), at_(at) {}
    Child operator*() const {
      if constexpr (std::is_same_v<Child, Member>) {
        return {Node(*doc_, doc_->kid(at_)), Node(*doc_, doc_->kid(at_ + 1))};
      } else {
        return Node(*doc_, doc_->kid(at_));
      }
    }
    iterator& operator++() {
      at_ += std::is_same_v<Child, Member> ? 2 : 1;
      return *this;
    }
    bool operator!=(const iterator& o) const { return at_ != o.at_; }

   private:
    const Document* doc_;
    std::uint32_t at_;
  };

  Children(const Document* doc, std::uint32_t first, std::uint32_t count)
      : doc_(doc), first_(first), count_(count) {}
  iterator begin() const { return iterator(doc_, first_); }
  iterator end() const { return iterator(doc_, first_ + count_); }

 private:
  const Document* doc_;
  std::uint32_t first_;
  std::uint32_t count_;
};

inline Node::Children<Node> Node::items() const {
  const bool has = isList() && !readEarly();
  return {doc_, has ? rec().first : 0, has ? rec().count : 0};
}

inline Node::Children<Member> Node::members() const {
  const bool has = isMapping();
  return {doc_, has ? rec().first : 0, has ? rec().count : 0};
}

inline Node Document::root() const {
  return Node(*this, root_);
}

// Reads the first document of `text`; a text without one is a document of nothing.
Document readDocument(std::string_view text, const EarlyReading& plan);

// The same for the text `in` holds, read a piece at a time; `reread` returns the whole text
// again, which is read only to place an error that libyaml names by a byte offset (a byte it
// refuses, an unknown escape).
Document readDocument(std::istream& in, const std::function<std::string()>& reread,
                      const EarlyReading& plan);

}  // namespace ribpolicy::yaml
