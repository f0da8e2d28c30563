// Which route-map clauses use which community list, kept by the root and handed to the channel,
// so that a change of a list can re-issue every clause that draws on it. This is the only way
// a community-list change reaches the route maps.
#include "RibRouteMap/community/MioCommunity.h"

#include <vector>

#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

void MioCommunity::addRmClauseToCommListUsers(const String& mapName, U32 seqno,
                                              const CommunitySetPtr& set) const {
  const Routing::RouteMap::CommunitySet& cs = *Vox::validPtr(set);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::addRmClauseToCommListUsers(Vox::String, "
           "U32, Vox::Ptr<Routing::RouteMap::CommunitySet const>)"
               << "( " << mapName << "," << seqno << ")");
  const String clName = getInternalCommunityListName(mapName, seqno, cs.flag);
  const Vox::Ptr<CommListUsers>& users = commListUsers_;
  CommSetClauseInMapEntry record;
  record.mapEntryClause = MapEntryCommSetClause(mapName, seqno, cs.flag);
  record.commSet = set;
  for (const std::string& listName : cs.communityListName) {
    RM_TRACE(traceCommand, "merging: " << listName << "into " << clName);
    if (!users) continue;
    // Replacing the record keeps the set that the clause issued last.
    users->commListUserIs(listName)->commSetClauseIs(record);
  }
}

void MioCommunity::delRmFromCommListUsers(const String& mapName, U32 seqno) const {
  const Vox::Ptr<CommListUsers>& users = commListUsers_;
  if (!users) {
    // Only while the whole library is being torn down.
    RM_TRACE(traceCommand, "delRmFromCommListUsers"
                               << " commListUsers is empty. RibRouteMap SMs are getting deleted "
                                  "in a test. Return early");
    return;
  }
  static constexpr const char* kSignature =
      "      void RibRouteMap::Mio::delRmFromCommListUsers(Vox::String, U32)";
  RM_TRACE(traceCommand, kSignature << " " << mapName << ", " << seqno);

  // Names first: dropping a collection changes the map being walked.
  std::vector<Vox::Name> listNames;
  for (const auto& [listName, coll] : users->commListUser()) listNames.push_back(listName);

  for (const Vox::Name& listName : listNames) {
    const Vox::Ptr<CommSetClauseMapEntryColl> coll = users->commListUser(listName);
    if (!coll) continue;
    // A sequence's clauses differ only in their set flag, so each is found by its key: a walk
    // over every user of a list would make a start-up with n users of one list quadratic.
    for (Acl::CommSetFlag flag :
         {Acl::commSetNone_, Acl::commSetDelete_, Acl::commSetAdditive_, Acl::commSetReplace_}) {
      coll->commSetClauseDel(MapEntryCommSetClause(mapName, seqno, flag));
    }
    if (coll->empty()) {
      RM_TRACE(traceCommand, kSignature << " community-list is not longer used by any route-map:"
                                        << listName << " removing from the tracking structure");
      users->commListUserDel(listName);
    }
  }
}

void MioCommunity::refreshCommListUsersOf(const String& listName) const {
  RM_TRACE(traceCommand, "      void RibRouteMap::Mio::refreshCommListUsersOf(Vox::String)"
                             << "( " << listName << ")");
  const Vox::Ptr<CommListUsers>& users = commListUsers_;
  if (!users) return;
  const Vox::Ptr<CommSetClauseMapEntryColl> coll = users->commListUser(listName);
  if (!coll) return;
  // A copy, in clause order: re-issuing a clause cannot disturb the walk.
  std::vector<CommSetClauseInMapEntry> records;
  records.reserve(coll->commSetClause().size());
  for (const auto& [clause, record] : coll->commSetClause()) records.push_back(record);
  for (const CommSetClauseInMapEntry& record : records) {
    doSetCommunity(record.mapEntryClause.mapName, record.mapEntryClause.mapSeqno, record.commSet);
  }
}

}  // namespace RibRouteMap
