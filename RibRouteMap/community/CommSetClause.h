// The value types that name a community-set clause of a route-map sequence and the set it last
// issued, as the community-list user tracking keys and keeps them.
//
// Both have a text form, "Value('TYPE', ** {'FIELD': VALUE, ...})", with a parsing
// constructor that reads it back, so that the tracking's contents can be written out and read
// in again; and a clause has a 32-bit hash that is the same from run to run and from one
// build to the next.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "framework/config/AclTypes.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/vox/Ptr.h"
#include "framework/vox/Types.h"

namespace RibRouteMap {

// Names one community-set clause of a route-map sequence.
struct MapEntryCommSetClause {
  Vox::String mapName;
  U32 mapSeqno = 0;
  Acl::CommSetFlag flag = Acl::commSetNone_;

  MapEntryCommSetClause() = default;
  MapEntryCommSetClause(Vox::String m, U32 s, Acl::CommSetFlag f)
      : mapName(std::move(m)), mapSeqno(s), flag(f) {}
  // Parses the text form; nothing when it is not of that form.
  static std::optional<MapEntryCommSetClause> fromString(std::string_view text);

  friend bool operator==(const MapEntryCommSetClause&, const MapEntryCommSetClause&) = default;
  // By map name (byte order), then sequence, then flag ordinal.
  friend bool operator<(const MapEntryCommSetClause& a, const MapEntryCommSetClause& b);
  // 32-bit MurmurHash3 over (string hash of mapName, mapSeqno, flag) with its finalizer.
  U32 hash() const;
  // "Value('RibRouteMap::MapEntryCommSetClause', ** {'mapName': M, 'mapSeqno': S, 'flag': F})"
  std::string toString() const;
};

// One clause with the set it last issued.
struct CommSetClauseInMapEntry {
  MapEntryCommSetClause mapEntryClause;
  Vox::Ptr<Routing::RouteMap::CommunitySet const> commSet;

  // Parses the text form (the set in the form written by toString); nothing when malformed.
  static std::optional<CommSetClauseInMapEntry> fromString(std::string_view text);
  // Equal when both clauses are equal and both sets hold the same contents.
  friend bool operator==(const CommSetClauseInMapEntry& a, const CommSetClauseInMapEntry& b);
  // "Value('RibRouteMap::CommSetClauseInMapEntry', ** {'mapEntryClause': C, 'commSet': S})"
  std::string toString() const;
};

}  // namespace RibRouteMap

// A clause keys hash containers by its own hash.
template <>
struct std::hash<RibRouteMap::MapEntryCommSetClause> {
  std::size_t operator()(const RibRouteMap::MapEntryCommSetClause& c) const { return c.hash(); }
};
