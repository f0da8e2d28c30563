// The translator's insides, shared by the two files that hold it (Translate.cpp: lists,
// community lists and the whole; TranslateMaps.cpp: route maps and their clauses).
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "RibRouteMap/mio/Tags.h"
#include "tools/ribpolicy/frr/Translate.h"
#include "tools/ribpolicy/frr/Words.h"

namespace frr::detail {

namespace T = RibRouteMap::Tag;
namespace A = RibRouteMap::SetAction;
namespace C = RibRouteMap::Tag::CommValue;
namespace PL = RibRouteMap::Tag::PrefixListValue;
namespace ACL = RibRouteMap::Tag::StdAclValue;
namespace ASP = RibRouteMap::Tag::AsPathValue;
namespace RM = RibRouteMap::Tag::RouteMapValue;
namespace M = RibRouteMap::Tag::MatchValue;

using Node = Rib::EngineModel::Node;

// The keys the library gives its nodes (see the tag table of the command channel).
inline constexpr std::string_view kIpv6Id = ".ipv6.";
inline constexpr std::string_view kAsPathListKey = "/policy/asplist ";
inline constexpr std::string_view kCommListKey = "/policy/commlist ";
inline constexpr std::string_view kCommSetKey = "/policy/commset ";
inline constexpr std::string_view kCommEntryKey = "/commlist/entry ";
inline constexpr std::string_view kExact = ".exact.";
inline constexpr std::string_view kPeerFilter = ".PEER_FILTER.";

// FRR's ranges of sequence numbers: route-map entries, and prefix-list and access-list
// entries (which take no 0).
inline constexpr U32 kLastMapSeq = 65535;

// The engine's regular-expression dialect that FRR shares (the configuration's mode 0).
inline constexpr U32 kSharedRegexMode = 1;
inline constexpr U32 kAnyOrigin = 256;

template <class V>
std::optional<V> valueOf(const Node& n, U32 tag) {
  const auto it = n.values.find(tag);
  if (it == n.values.end()) return std::nullopt;
  const Rib::TaggedValue v = *it;
  if (const V* x = std::get_if<V>(&v.data)) return *x;
  return std::nullopt;
}

inline bool flagOf(const Node& n, U32 tag) {
  return valueOf<bool>(n, tag).value_or(false);
}

inline const Node* child(const Node& n, U32 tag) {
  const auto it = n.children.find(Rib::PathEntryView(tag, Rib::PathEntry::Kind::none, 0, {}));
  return it == n.children.end() ? nullptr : &it->second;
}

inline const Node* child(const Node& n, U32 tag, std::string_view key) {
  const auto it = n.children.find(Rib::PathEntryView(tag, Rib::PathEntry::Kind::string, 0, key));
  return it == n.children.end() ? nullptr : &it->second;
}

// Calls f(key, node) for each child of `tag` that holds anything.
template <class F>
void eachChild(const Node& n, U32 tag, F&& f) {
  for (const auto& [key, c] : n.children) {
    if (key.tag() == tag && c.meaningful()) f(key.view(), c);
  }
}

inline std::string action(bool permit) {
  return permit ? "permit" : "deny";
}

// The community kinds: their set nodes and the FRR list kind.
struct CommKind {
  U32 sets;
  U32 setKey;
  Kind list;
  const char* name;
};
inline constexpr CommKind kCommKinds[] = {
    {T::commSetStandard, T::commSetStandardKey, Kind::communityList, "community"},
    {T::commSetExtended, T::commSetExtendedKey, Kind::extCommunityList, "extcommunity"},
    {T::commSetLarge, T::commSetLargeKey, Kind::largeCommunityList, "large-community"},
};

// One entry of an engine community list.
struct CommEntry {
  std::string set;  // the name of the community set it refers to
  U32 seq = 0;
  U32 kind = 0;
  bool permit = false;
  bool exact = false;
};

// Whether an entry of a ".exact." copy stands for an entry of the list itself.
inline bool sameButExact(const CommEntry& a, const CommEntry& b) {
  return a.set == b.set && a.seq == b.seq && a.kind == b.kind && a.permit == b.permit;
}

// The values of a set or the text of an expression, as FRR writes them after "permit ".
struct CommBody {
  bool expanded = false;
  std::string text;
};

class Translator {
 public:
  explicit Translator(const Node& root) : root_(root) {}

  Translation run();

 private:
  // The scenario path of an object of a section.
  static std::string mark(std::string_view section, std::string_view name) {
    return std::string(section) + '/' + std::string(name);
  }
  // A note's text holds engine strings that no check made words of FRR (an interface, a text
  // match): written as one line of plain text, it stays a comment.
  void note(std::vector<Note>& notes, const std::string& text, std::string markPath) {
    notes.push_back({oneLine(text), std::move(markPath)});
  }

  void global();
  void prefixLists();
  void accessLists();
  void asPathLists();
  void communityLists();
  void routeMaps();
  void dynamicPrefixLists();
  void breakCallCycles();
  void unknownBranches();
  void dropLongLines();

  // Community sets and lists.
  const Node* commSet(U32 kind, std::string_view name) const;
  const Node* commList(const std::string& name) const;
  const Node* clauseOwnSet(const std::vector<CommEntry>& entries, const std::string& list) const;
  // Adds a list that a clause needs under its own name; false when a configured list has it.
  bool madeList(Kind kind, const std::string& name, bool expanded,
                const std::map<U32, std::string>& entries);
  std::vector<CommEntry> commEntries(const Node& list) const;
  std::optional<CommBody> commBody(U32 kind, const Node& set, std::string& problem) const;
  bool exactCopyMatches(const std::string& name) const;

  // Route-map entries.
  struct MapEntry {
    std::string map;
    U32 seq;
    std::string markBase;  // "route-maps/RM/10"
    std::vector<std::string> lines;
    std::vector<Note> notes;
  };
  void matches(const Node& seq, MapEntry& e);
  void sets(const Node& set, MapEntry& e);
  void communitySet(const Node& set, MapEntry& e);
  void communityDelete(const Node& set, MapEntry& e);
  void extendedSet(const Node& set, MapEntry& e);
  void largeSet(const Node& set, MapEntry& e);
  void gapIn(MapEntry& e, std::string_view clause, const std::string& text) {
    note(e.notes, text, e.markBase + '/' + std::string(clause));
  }

  const Node& root_;
  const Node* policy_ = nullptr;
  Translation out_;
  U32 regexMode_ = kSharedRegexMode;
  std::set<std::string> clauseLists_;  // the community lists that set clauses name
  std::set<ObjectKey> made_;           // the lists made for clauses
};

// The scenario path of the object an FRR object comes from.
std::string noteMark(const ObjectKey& key);

}  // namespace frr::detail
