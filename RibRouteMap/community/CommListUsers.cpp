#include "RibRouteMap/community/CommListUsers.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <tuple>

namespace RibRouteMap {

namespace {

// --- Hashing ------------------------------------------------------------------------------

// 32-bit MurmurHash3: the clause hash must be the same from run to run and from one build to
// the next, so it is spelled out rather than taken from std::hash.
constexpr U32 kHashSeed = 0x9747b28cu;

constexpr U32 rotl32(U32 x, int r) {
  return (x << r) | (x >> (32 - r));
}

constexpr U32 mixBlock(U32 h, U32 k) {
  k *= 0xcc9e2d51u;
  k = rotl32(k, 15);
  k *= 0x1b873593u;
  h ^= k;
  h = rotl32(h, 13);
  return h * 5 + 0xe6546b64u;
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
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  const std::size_t blocks = bytes.size() / 4;
  U32 h = seed;
  for (std::size_t i = 0; i < blocks; ++i) {
    U32 k;
    std::memcpy(&k, data + i * 4, 4);  // little-endian blocks, as on the agent's platforms
    h = mixBlock(h, k);
  }
  const unsigned char* tail = data + blocks * 4;
  U32 k = 0;
  switch (bytes.size() & 3) {
    case 3:
      k ^= static_cast<U32>(tail[2]) << 16;
      [[fallthrough]];
    case 2:
      k ^= static_cast<U32>(tail[1]) << 8;
      [[fallthrough]];
    case 1:
      k ^= tail[0];
      k *= 0xcc9e2d51u;
      k = rotl32(k, 15);
      k *= 0x1b873593u;
      h ^= k;
      break;
    case 0:
      break;
  }
  return finalize(h, static_cast<U32>(bytes.size()));
}

// --- Text forms ---------------------------------------------------------------------------

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

void appendQuoted(std::string& out, std::string_view s) {
  out += '\'';
  for (unsigned char c : s) {
    if (c == '\'' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c > 0x7e) {
      char buf[5];
      std::snprintf(buf, sizeof buf, "\\x%02x", c);
      out += buf;
    } else {
      out += static_cast<char>(c);
    }
  }
  out += '\'';
}

template <class T>
bool parseNumber(std::string_view text, T& out) {
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  auto [ptr, ec] = std::from_chars(text.data(), end, out);
  return ec == std::errc() && ptr == end;
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

  template <class T>
  bool number(T& out) {
    std::size_t n = 0;
    while (n < rest_.size() && rest_[n] >= '0' && rest_[n] <= '9') ++n;
    if (!parseNumber(rest_.substr(0, n), out)) return false;
    rest_.remove_prefix(n);
    return true;
  }

  bool quoted(std::string& out) {
    if (!literal("'")) return false;
    out.clear();
    while (!rest_.empty()) {
      const char c = rest_.front();
      rest_.remove_prefix(1);
      if (c == '\'') return true;
      if (c != '\\') {
        out += c;
        continue;
      }
      if (rest_.empty()) return false;
      const char e = rest_.front();
      rest_.remove_prefix(1);
      if (e == '\'' || e == '\\') {
        out += e;
      } else if (e == 'x' && rest_.size() >= 2) {
        unsigned v = 0;
        auto [ptr, ec] = std::from_chars(rest_.data(), rest_.data() + 2, v, 16);
        if (ec != std::errc() || ptr != rest_.data() + 2) return false;
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

 private:
  std::string_view rest_;
};

std::string setText(const Vox::Ptr<Routing::RouteMap::CommunitySet const>& set) {
  if (!set) return std::string(kNoSet);
  std::string out(kSetPrefix);
  for (std::size_t i = 0; i < set->standard.size(); ++i) {
    if (i) out += ", ";
    out += std::to_string(set->standard[i]);
  }
  out += kSetExtended;
  for (std::size_t i = 0; i < set->extended.size(); ++i) {
    if (i) out += ", ";
    out += std::to_string(set->extended[i]);
  }
  out += kSetLarge;
  for (std::size_t i = 0; i < set->large.size(); ++i) {
    if (i) out += ", ";
    const auto& l = set->large[i];
    out +=
        std::to_string(l.global) + ':' + std::to_string(l.local1) + ':' + std::to_string(l.local2);
  }
  out += kSetUseCL;
  out += set->useCL ? "True" : "False";
  out += kSetNames;
  bool first = true;
  for (const std::string& n : set->communityListName) {
    if (!first) out += ", ";
    first = false;
    appendQuoted(out, n);
  }
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
  if (!r.literal(kSetPrefix)) return false;
  if (!r.list([&] {
        U32 v = 0;
        if (!r.number(v)) return false;
        set->standard.push_back(v);
        return true;
      })) {
    return false;
  }
  if (!r.literal(kSetExtended)) return false;
  if (!r.list([&] {
        std::uint64_t v = 0;
        if (!r.number(v)) return false;
        set->extended.push_back(v);
        return true;
      })) {
    return false;
  }
  if (!r.literal(kSetLarge)) return false;
  if (!r.list([&] {
        Routing::RouteMap::LargeCommunity l;
        if (!r.number(l.global) || !r.literal(":") || !r.number(l.local1) || !r.literal(":") ||
            !r.number(l.local2)) {
          return false;
        }
        set->large.push_back(l);
        return true;
      })) {
    return false;
  }
  if (!r.literal(kSetUseCL)) return false;
  if (r.literal("True")) {
    set->useCL = true;
  } else if (!r.literal("False")) {
    return false;
  }
  if (!r.literal(kSetNames)) return false;
  if (!r.list([&] {
        std::string n;
        if (!r.quoted(n)) return false;
        set->communityListName.insert(std::move(n));
        return true;
      })) {
    return false;
  }
  if (!r.literal(kSetFlag)) return false;
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
  out += std::to_string(mapSeqno);
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
  std::string_view rest = text.substr(seqAt + kClauseSeqno.size());
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

// --- CommSetClauseMapEntryColl ------------------------------------------------------------

void CommSetClauseMapEntryColl::commSetClauseIs(const CommSetClauseInMapEntry& record) {
  const MapEntryCommSetClause key = record.mapEntryClause;
  auto [it, inserted] = clauses_.try_emplace(key, record);
  if (!inserted) {
    const bool same = it->second == record;
    // The latest set is kept even when its contents are unchanged, so the record always
    // refers to the set that the route map holds now.
    it->second = record;
    if (same) return;
  }
  notify([&](Notifiee& n) { n.onCommSetClause(key); });
}

void CommSetClauseMapEntryColl::commSetClauseDel(const MapEntryCommSetClause& clause) {
  const MapEntryCommSetClause key = clause;  // `clause` may be the stored key itself
  if (clauses_.erase(key) == 0) return;
  notify([&](Notifiee& n) { n.onCommSetClause(key); });
}

Vox::Ptr<CommSetClauseMapEntryColl> commSetClauseMapEntryCollFactory(const Vox::Name& name) {
  return Vox::validPtr(Vox::make<CommSetClauseMapEntryColl>(name));
}

// --- CommListUsers ------------------------------------------------------------------------

Vox::Ptr<CommSetClauseMapEntryColl> CommListUsers::commListUser(std::string_view listName) const {
  auto it = users_.find(listName);
  return it == users_.end() ? nullptr : it->second;
}

Vox::Ptr<CommSetClauseMapEntryColl> CommListUsers::commListUserIs(const Vox::Name& listName) {
  if (auto it = users_.find(listName); it != users_.end()) return it->second;
  const Vox::Name key = listName;
  Vox::Ptr<CommSetClauseMapEntryColl> coll = commSetClauseMapEntryCollFactory(key);
  users_.emplace(key, coll);
  notify([&](Notifiee& n) { n.onCommListUser(key); });
  return coll;
}

void CommListUsers::commListUserDel(const Vox::Name& listName) {
  const Vox::Name key = listName;  // `listName` may be the stored key itself
  auto it = users_.find(key);
  if (it == users_.end()) return;
  users_.erase(it);
  notify([&](Notifiee& n) { n.onCommListUser(key); });
}

void CommListUsers::commListUserDelAll() {
  while (!users_.empty()) commListUserDel(users_.begin()->first);
}

}  // namespace RibRouteMap
