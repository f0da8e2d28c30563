#include "RibRouteMap/community/CommListUsers.h"

namespace RibRouteMap {

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
