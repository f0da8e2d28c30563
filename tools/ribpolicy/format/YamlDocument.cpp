#include "tools/ribpolicy/format/YamlDocument.h"

#include <yaml.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <unordered_map>
#include <utility>

namespace ribpolicy {

std::string InputError::format(std::string_view file) const {
  return std::string(file) + ':' + std::to_string(line_) + ':' + std::to_string(column_) +
         ": error: " + what();
}

std::string printable(std::string_view text) {
  std::string out;
  for (const char ch : text) {
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

}  // namespace ribpolicy

namespace ribpolicy::yaml {

namespace {

// Two shapes of YAML would have a reader give up badly or work without end, so the document
// is measured while it is read:
// - The documents read here, scenarios, nest about a dozen levels of lists and mappings.
//   Deeper nesting is refused at the list or mapping one level too deep, named where it
//   opens.
// - An alias repeats its anchored node without repeating its text, so a few kilobytes of
//   anchors and aliases can stand for billions of values, each of which the reader would
//   check and keep. Aliases may repeat a bounded number of nodes in all; the alias that
//   passes the bound is named. Sizes are counted as the reader will see them, an alias
//   inside an anchored node counting at the size of what it repeats.
//
// The entries of a list read early are handed over as soon as each one's events close, and
// the nodes of an entry given back once it has been read. This is done only where nothing can
// repeat the list: not inside an anchored node, which an alias may place elsewhere. An entry
// that anchors a node of its own keeps its nodes, for the aliases that may follow.
constexpr std::size_t kMaxNesting = 100;
constexpr std::uint64_t kMaxRepeatedNodes = 1'000'000;

}  // namespace

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
  DocumentBuilder(TextSource& source, const EarlyReading& plan) : source_(source), plan_(plan) {
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
          text(ev, mark);
          break;
        case YAML_ALIAS_EVENT:
          alias(reinterpret_cast<const char*>(ev.data.alias.anchor), mark);
          break;
        case YAML_SEQUENCE_START_EVENT:
          open(NodeKind::list, ev.data.sequence_start.anchor, mark);
          break;
        case YAML_MAPPING_START_EVENT:
          open(NodeKind::mapping, ev.data.mapping_start.anchor, mark);
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
    EarlyReading::Context context = EarlyReading::kNone;
    std::string name;        // the key of the nearest named node, where the context is not kNone
    std::string key;         // a mapping: the text key of the member being read
    bool keyed = false;      // whether `key` holds that key
    bool early = false;      // a list read early
    std::uint32_t list = 0;  // read early: its index in the document's lists
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
    return doc_.nodes_[parent.node].kind == NodeKind::mapping &&
           (scratch_.size() - parent.firstKid) % 2 == 0;
  }

  // A node enters its parent (or becomes the document) where it starts. A text key of a
  // mapping whose context the plan follows is remembered for the value that follows.
  void place(std::uint32_t node, const std::string_view* textKey = nullptr) {
    if (open_.empty()) {
      doc_.root_ = node;
      return;
    }
    Open& parent = open_.back();
    if (parent.context != EarlyReading::kNone && !parent.early && atKey()) {
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

  // What the plan makes of a list or mapping about to open; `key` is set to the text key it
  // opens under, if the plan follows its parent.
  EarlyReading::Entered enter(NodeKind kind, bool anchored, const std::string*& key) const {
    const bool list = kind == NodeKind::list;
    key = nullptr;
    if (anchored) return {};
    if (open_.empty()) return plan_.enter(std::nullopt, list, nullptr);
    const Open& parent = open_.back();
    if (parent.context == EarlyReading::kNone || parent.early) return {};
    const bool member = parent.keyed && doc_.nodes_[parent.node].kind == NodeKind::mapping &&
                        (scratch_.size() - parent.firstKid) % 2 == 1;
    if (member) key = &parent.key;
    return plan_.enter(parent.context, list, key);
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
  bool inEarlyList() const { return !open_.empty() && open_.back().early; }

  void text(const yaml_event_t& ev, const yaml_mark_t& mark) {
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
      r.kind = NodeKind::text;
      r.first = static_cast<std::uint32_t>(doc_.texts_.size());
      r.count = static_cast<std::uint32_t>(value.size());
      doc_.texts_ += value;
    }
    const std::uint32_t node = add(r);
    place(node, null ? nullptr : &value);
    ++nodes_;
    remember(s.anchor, node, 1);
    if (inEarlyList()) entryDone(node, start);
  }

  void alias(const std::string& anchor, const yaml_mark_t& mark) {
    const auto it = anchors_.find(anchor);
    if (it == anchors_.end()) {
      const auto [line, column] = where(mark);
      throw InputError(line, column, "invalid YAML: the referenced anchor is not defined");
    }
    // An alias of a node still open (a node that holds itself) counts as one node: a reader
    // that takes one node for two levels of its document stops there at once.
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
    if (inEarlyList()) entryDone(it->second.node, start);
  }

  void open(NodeKind kind, const unsigned char* anchor, const yaml_mark_t& mark) {
    const auto [line, column] = where(mark);
    if (open_.size() == kMaxNesting) {
      const std::string what = kind == NodeKind::mapping ? "mapping" : "list";
      throw InputError(line, column,
                       "invalid YAML: " + what + " nested " + std::to_string(kMaxNesting + 1) +
                           " levels deep (lists and mappings nest at most " +
                           std::to_string(kMaxNesting) + " levels)");
    }
    const Start start = here();
    const std::string* key = nullptr;
    const EarlyReading::Entered entered = enter(kind, anchor != nullptr, key);
    Open o;
    o.anchor = anchor ? reinterpret_cast<const char*>(anchor) : "";
    o.nodesBefore = nodes_;
    o.start = start;
    o.context = entered.context;
    if (o.context != EarlyReading::kNone && !open_.empty()) {
      o.name = entered.named && key ? *key : open_.back().name;
    }
    if (entered.early) {
      o.early = true;
      o.list = static_cast<std::uint32_t>(doc_.lists_.size());
      doc_.lists_.push_back(plan_.start(o.context, o.name));
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
    if (done.early) {
      // Its entries have all been read and given back; the node keeps what was read.
      r.early = true;
      r.first = done.list;
      doc_.lists_[done.list]->finish();
    }
    if (inEarlyList()) entryDone(done.node, done.start);
  }

  TextSource& source_;
  const EarlyReading& plan_;
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

Document readDocument(std::string_view text, const EarlyReading& plan) {
  StringSource source(text);
  return DocumentBuilder(source, plan).build();
}

Document readDocument(std::istream& in, const std::function<std::string()>& reread,
                      const EarlyReading& plan) {
  StreamSource source(in, reread);
  return DocumentBuilder(source, plan).build();
}

}  // namespace ribpolicy::yaml
