// Which route-map community clauses draw on which community list.
//
// A standard-community set clause may take its values from named community lists; its
// internal engine list then refers to those lists' entry sets. When a list changes, every
// clause that uses it must be issued again. CommListUsers keeps, per list name, the clauses
// (map, sequence, flag) that use the list together with the set each clause last issued, so
// the clause can be rebuilt from the current configuration without the route map's help.
#pragma once

#include <map>
#include <string_view>

#include "RibRouteMap/community/CommSetClause.h"
#include "framework/vox/Entity.h"

namespace RibRouteMap {

// The clauses that use one community list, keyed by clause.
class CommSetClauseMapEntryColl : public Vox::PtrInterface,
                                  public Vox::NotifierBase<CommSetClauseMapEntryColl> {
 public:
  class Notifiee : public Vox::NotifieeBase<CommSetClauseMapEntryColl, Notifiee> {
   public:
    virtual void onCommSetClause(const MapEntryCommSetClause& /*clause*/) {}
  };

  // In clause order, so that a list's clauses are re-issued in the same order on every run.
  using Coll = std::map<MapEntryCommSetClause, CommSetClauseInMapEntry>;

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
