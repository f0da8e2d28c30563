// Which route-map community clauses draw on which community list.
//
// A standard-community set clause may take its values from named community lists; its
// internal engine list then refers to those lists' entry sets. When a list changes, every
// clause that uses it must be issued again. CommListUsers keeps, per list name, the clauses
// (map, sequence, flag) that use the list together with the set each clause last issued, so
// the clause can be rebuilt from the current configuration without the route map's help.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "framework/config/AclTypes.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/vox/Entity.h"

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

struct MapEntryCommSetClauseHash {
  std::size_t operator()(const MapEntryCommSetClause& c) const { return c.hash(); }
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

// The clauses that use one community list, keyed by clause.
class CommSetClauseMapEntryColl : public Vox::PtrInterface,
                                  public Vox::NotifierBase<CommSetClauseMapEntryColl> {
 public:
  class Notifiee : public Vox::NotifieeBase<CommSetClauseMapEntryColl, Notifiee> {
   public:
    virtual void onCommSetClause(const MapEntryCommSetClause& /*clause*/) {}
  };

  using Coll =
      std::unordered_map<MapEntryCommSetClause, CommSetClauseInMapEntry, MapEntryCommSetClauseHash>;

  explicit CommSetClauseMapEntryColl(Vox::Name name) : name_(std::move(name)) {}
  const Vox::Name& name() const { return name_; }
  const Coll& commSetClause() const { return clauses_; }
  bool empty() const { return clauses_.empty(); }
  // Stores the record under its clause, replacing an earlier one.
  void commSetClauseIs(const CommSetClauseInMapEntry& record);
  void commSetClauseDel(const MapEntryCommSetClause& clause);

 private:
  Vox::Name name_;
  Coll clauses_;
};

Vox::Ptr<CommSetClauseMapEntryColl> commSetClauseMapEntryCollFactory(const Vox::Name& name);

// Per VRF: the clause collections, keyed by community-list name (ascending).
class CommListUsers : public Vox::PtrInterface, public Vox::NotifierBase<CommListUsers> {
 public:
  class Notifiee : public Vox::NotifieeBase<CommListUsers, Notifiee> {
   public:
    virtual void onCommListUser(const Vox::Name& /*listName*/) {}
  };

  using Coll = std::map<Vox::Name, Vox::Ptr<CommSetClauseMapEntryColl>, std::less<>>;

  explicit CommListUsers(Vox::Name name) : name_(std::move(name)) {}
  const Vox::Name& name() const { return name_; }
  const Coll& commListUser() const { return users_; }
  Vox::Ptr<CommSetClauseMapEntryColl> commListUser(std::string_view listName) const;
  // The collection of `listName`, created if absent.
  Vox::Ptr<CommSetClauseMapEntryColl> commListUserIs(const Vox::Name& listName);
  void commListUserDel(const Vox::Name& listName);
  void commListUserDelAll();

 private:
  Vox::Name name_;
  Coll users_;
};

}  // namespace RibRouteMap
