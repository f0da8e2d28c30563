#include "RibRouteMap/community/CommSetClause.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

namespace RibRouteMap {

namespace {

// --- Hash -----------------------------------------------------------------------------------

// 32-bit MurmurHash3: the clause hash must be the same from run to run and from one build to
// the next, so it is spelled out rather than taken from std::hash.
constexpr U32 kHashSeed = 0x9747b28cu;

constexpr U32 rotl32(U32 x, int r) {
  return (x << r) | (x >> (32 - r));
}

constexpr U32 scramble(U32 k) {
  return rotl32(k * 0xcc9e2d51u, 15) * 0x1b873593u;
}

constexpr U32 mixBlock(U32 h, U32 k) {
  return rotl32(h ^ scramble(k), 13) * 5 + 0xe6546b64u;
}

constexpr U32 finalize(U32 h, U32 length) {
  h ^= length;
  h ^= h >> 16;
  h *= 0x85ebca6bu;
  h ^= h >> 13;
  h *= 0xc2b2ae35u;
  h ^= h >> 16;
  return h;
}

U32 murmurBytes(std::string_view bytes, U32 seed) {
  const std::size_t blocks = bytes.size() / 4;
  U32 h = seed;
  for (std::size_t i = 0; i < blocks; ++i) {
    U32 k;
    std::memcpy(&k, bytes.data() + i * 4, 4);  // little-endian blocks, as on the agent's platforms
    h = mixBlock(h, k);
  }
  // The tail's bytes, lowest first, scrambled into the hash without the block's rotation.
  U32 k = 0;
  for (std::size_t i = bytes.size() & 3; i > 0; --i) {
    k = (k << 8) | static_cast<unsigned char>(bytes[blocks * 4 + i - 1]);
  }
  if ((bytes.size() & 3) != 0) h ^= scramble(k);
  return finalize(h, static_cast<U32>(bytes.size()));
}

// --- Text forms -----------------------------------------------------------------------------

constexpr std::string_view kClausePrefix =
    "Value('RibRouteMap::MapEntryCommSetClause', ** {'mapName': ";
constexpr std::string_view kClauseSeqno = ", 'mapSeqno': ";
constexpr std::string_view kClauseFlag = ", 'flag': ";
constexpr std::string_view kValueEnd = "})";

constexpr std::string_view kRecordPrefix =
    "Value('RibRouteMap::CommSetClauseInMapEntry', ** {'mapEntryClause': ";
constexpr std::string_view kRecordSet = ", 'commSet': ";

// The set's form follows the same Value(...) shape. List names are quoted and escaped, so the
// text of a set never holds a bare quote of its own and the record can be split at the last
// "'commSet'" key whatever the route-map name holds.
constexpr std::string_view kSetPrefix =
    "Value('Routing::RouteMap::CommunitySet', ** {'standard': [";
constexpr std::string_view kSetExtended = "], 'extended': [";
constexpr std::string_view kSetLarge = "], 'large': [";
constexpr std::string_view kSetUseCL = "], 'useCL': ";
constexpr std::string_view kSetNames = ", 'communityListName': [";
constexpr std::string_view kSetFlag = "], 'flag': ";
constexpr std::string_view kNoSet = "None";

void appendNumber(std::string& out, std::uint64_t v) {
  char digits[20];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, v).ptr);
}

// `s` in single quotes: the quote and the backslash escaped with a backslash, every byte
// outside printable ASCII as \xNN.
void appendQuoted(std::string& out, std::string_view s) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '\'';
  for (unsigned char c : s) {
    if (c == '\'' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c > 0x7e) {
      out += "\\x";
      out += kHex[c >> 4];
      out += kHex[c & 0xf];
    } else {
      out += static_cast<char>(c);
    }
  }
  out += '\'';
}

// The items of `items`, each written by `write`, separated by ", ".
template <class Items, class Write>
void appendItems(std::string& out, const Items& items, Write write) {
  bool first = true;
  for (const auto& item : items) {
    if (!first) out += ", ";
    first = false;
    write(item);
  }
}

// The whole of `text` as a number of type T; false for anything else.
template <class T>
bool parseNumber(std::string_view text, T& out, int base = 10) {
  const char* end = text.data() + text.size();
  auto [ptr, ec] = std::from_chars(text.data(), end, out, base);
  return !text.empty() && ec == std::errc() && ptr == end;
}

// A left-to-right reader over a text form; every step fails rather than guessing.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}
  std::string_view rest() const { return rest_; }

  bool literal(std::string_view lit) {
    if (!rest_.starts_with(lit)) return false;
    rest_.remove_prefix(lit.size());
    return true;
  }

  // Decimal digits only: no sign, no blank.
  template <class T>
  bool number(T& out) {
    const std::size_t n = rest_.find_first_not_of("0123456789");
    const std::string_view digits = rest_.substr(0, n);
    if (!parseNumber(digits, out)) return false;
    rest_.remove_prefix(digits.size());
    return true;
  }

  // The form appendQuoted writes.
  bool quoted(std::string& out) {
    if (!literal("'")) return false;
    out.clear();
    while (!rest_.empty()) {
      const char c = take();
      if (c == '\'') return true;
      if (c != '\\') {
        out += c;
      } else if (rest_.starts_with('\'') || rest_.starts_with('\\')) {
        out += take();
      } else if (unsigned v = 0;
                 literal("x") && rest_.size() >= 2 && parseNumber(rest_.substr(0, 2), v, 16)) {
        out += static_cast<char>(v);
        rest_.remove_prefix(2);
      } else {
        return false;
      }
    }
    return false;
  }

  // Items separated by ", " up to (not including) the closing bracket that follows.
  template <class Item>
  bool list(Item&& item) {
    if (rest_.starts_with("]")) return true;
    do {
      if (!item()) return false;
    } while (literal(", "));
    return rest_.starts_with("]");
  }

  // A list of decimal numbers, appended to `out`.
  template <class T>
  bool numbers(std::vector<T>& out) {
    return list([&] {
      T v{};
      if (!number(v)) return false;
      out.push_back(v);
      return true;
    });
  }

 private:
  char take() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  std::string_view rest_;
};

std::string setText(const Vox::Ptr<Routing::RouteMap::CommunitySet const>& set) {
  if (!set) return std::string(kNoSet);
  std::string out(kSetPrefix);
  appendItems(out, set->standard, [&](U32 v) { appendNumber(out, v); });
  out += kSetExtended;
  appendItems(out, set->extended, [&](std::uint64_t v) { appendNumber(out, v); });
  out += kSetLarge;
  appendItems(out, set->large, [&](const Routing::RouteMap::LargeCommunity& l) {
    appendNumber(out, l.global);
    out += ':';
    appendNumber(out, l.local1);
    out += ':';
    appendNumber(out, l.local2);
  });
  out += kSetUseCL;
  out += set->useCL ? "True" : "False";
  out += kSetNames;
  appendItems(out, set->communityListName, [&](const std::string& n) { appendQuoted(out, n); });
  out += kSetFlag;
  out += Acl::valueToStrep(set->flag);
  out += kValueEnd;
  return out;
}

// Parses the form written by setText; false when malformed. A null set is "None".
bool parseSet(std::string_view text, Vox::Ptr<Routing::RouteMap::CommunitySet const>& out) {
  if (text == kNoSet) {
    out = nullptr;
    return true;
  }
  auto set = Vox::make<Routing::RouteMap::CommunitySet>();
  Reader r(text);
  const auto large = [&] {
    Routing::RouteMap::LargeCommunity l;
    if (!r.number(l.global) || !r.literal(":") || !r.number(l.local1) || !r.literal(":") ||
        !r.number(l.local2)) {
      return false;
    }
    set->large.push_back(l);
    return true;
  };
  const auto name = [&] {
    std::string n;
    if (!r.quoted(n)) return false;
    set->communityListName.insert(std::move(n));
    return true;
  };
  if (!r.literal(kSetPrefix) || !r.numbers(set->standard) || !r.literal(kSetExtended) ||
      !r.numbers(set->extended) || !r.literal(kSetLarge) || !r.list(large) ||
      !r.literal(kSetUseCL)) {
    return false;
  }
  if (r.literal("True")) {
    set->useCL = true;
  } else if (!r.literal("False")) {
    return false;
  }
  if (!r.literal(kSetNames) || !r.list(name) || !r.literal(kSetFlag)) return false;
  std::string_view flagText = r.rest();
  if (!flagText.ends_with(kValueEnd)) return false;
  flagText.remove_suffix(kValueEnd.size());
  const auto flag = Acl::sequenceToValue(flagText);
  if (!flag) return false;
  set->flag = *flag;
  out = std::move(set);
  return true;
}

}  // namespace

// --- MapEntryCommSetClause ----------------------------------------------------------------

bool operator<(const MapEntryCommSetClause& a, const MapEntryCommSetClause& b) {
  return std::tie(a.mapName, a.mapSeqno, a.flag) < std::tie(b.mapName, b.mapSeqno, b.flag);
}

U32 MapEntryCommSetClause::hash() const {
  U32 h = kHashSeed;
  h = mixBlock(h, murmurBytes(mapName, kHashSeed));
  h = mixBlock(h, mapSeqno);
  h = mixBlock(h, static_cast<U32>(flag));
  return finalize(h, 3 * sizeof(U32));
}

std::string MapEntryCommSetClause::toString() const {
  std::string out(kClausePrefix);
  out += mapName;
  out += kClauseSeqno;
  appendNumber(out, mapSeqno);
  out += kClauseFlag;
  out += Acl::valueToStrep(flag);
  out += kValueEnd;
  return out;
}

std::optional<MapEntryCommSetClause> MapEntryCommSetClause::fromString(std::string_view text) {
  if (!text.starts_with(kClausePrefix) || !text.ends_with(kValueEnd)) return std::nullopt;
  text.remove_prefix(kClausePrefix.size());
  text.remove_suffix(kValueEnd.size());
  // The map name is written as it stands, so the fields after it are found from the right:
  // neither the number nor the flag can hold the separator.
  const std::size_t seqAt = text.rfind(kClauseSeqno);
  if (seqAt == std::string_view::npos) return std::nullopt;
  const std::string_view rest = text.substr(seqAt + kClauseSeqno.size());
  const std::size_t flagAt = rest.find(kClauseFlag);
  if (flagAt == std::string_view::npos) return std::nullopt;
  U32 seqno = 0;
  if (!parseNumber(rest.substr(0, flagAt), seqno)) return std::nullopt;
  const auto flag = Acl::sequenceToValue(rest.substr(flagAt + kClauseFlag.size()));
  if (!flag) return std::nullopt;
  return MapEntryCommSetClause(Vox::String(text.substr(0, seqAt)), seqno, *flag);
}

// --- CommSetClauseInMapEntry --------------------------------------------------------------

bool operator==(const CommSetClauseInMapEntry& a, const CommSetClauseInMapEntry& b) {
  if (!(a.mapEntryClause == b.mapEntryClause)) return false;
  if (!a.commSet || !b.commSet) return a.commSet == b.commSet;
  return a.commSet == b.commSet || a.commSet->sameAs(*b.commSet);
}

std::string CommSetClauseInMapEntry::toString() const {
  std::string out(kRecordPrefix);
  out += mapEntryClause.toString();
  out += kRecordSet;
  out += setText(commSet);
  out += kValueEnd;
  return out;
}

std::optional<CommSetClauseInMapEntry> CommSetClauseInMapEntry::fromString(std::string_view text) {
  if (!text.starts_with(kRecordPrefix) || !text.ends_with(kValueEnd)) return std::nullopt;
  text.remove_prefix(kRecordPrefix.size());
  text.remove_suffix(kValueEnd.size());
  // The clause ends with "})" and the set's text never holds the set key, so the last
  // "}), 'commSet': " is the split point even when the map name holds the same characters.
  const std::string split = std::string(kValueEnd) + std::string(kRecordSet);
  const std::size_t at = text.rfind(split);
  if (at == std::string_view::npos) return std::nullopt;
  auto clause = MapEntryCommSetClause::fromString(text.substr(0, at + kValueEnd.size()));
  if (!clause) return std::nullopt;
  CommSetClauseInMapEntry record;
  record.mapEntryClause = std::move(*clause);
  if (!parseSet(text.substr(at + split.size()), record.commSet)) return std::nullopt;
  return record;
}

}  // namespace RibRouteMap
