// The community clauses of a route-map sequence.
//
// Standard communities are always applied through an internal list of the sequence (".cl"),
// whether the clause names its own values (then held in an internal set, ".cs", that the list's
// single entry refers to) or draws on configured community lists (then the internal list
// refers to those lists' entry sets directly). Extended and large communities go through one
// set per sequence (".e", ".l"). Every internal object is rebuilt whole: deleted, then added.
#include "RibRouteMap/community/MioCommunity.h"

#include <cstdio>
#include <string>

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "framework/vox/Assert.h"

namespace RibRouteMap {

namespace {

// The internal clause list has a single entry under this sequence number.
constexpr U32 kInternalEntrySeqno = 10;

// `names` split at single spaces, each part prefixed with ".exact.", joined again.
Vox::String exactNames(const Vox::String& names) {
  Vox::String out;
  std::size_t start = 0;
  while (true) {
    const std::size_t space = names.find(' ', start);
    if (start != 0) out += ' ';
    out += MioCommunity::kExactPrefix;
    out += names.substr(start, space == Vox::String::npos ? Vox::String::npos : space - start);
    if (space == Vox::String::npos) break;
    start = space + 1;
  }
  return out;
}

}  // namespace

void MioCommunity::doSetCommunity(const String& mapName, U32 seqno,
                                  const CommunitySetPtr& set) const {
  const Routing::RouteMap::CommunitySet& cs = *Vox::validPtr(set);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doSetCommunity(Vox::String, U32, "
           "Vox::Ptr<Routing::RouteMap::CommunitySet const>)"
               << "( " << mapName << "," << seqno << ",_)"
               << "flag=" << Acl::valueToStrep(cs.flag) << ", useCL=" << cs.useCL);
  doDeleteInternalCommunityList(mapName, seqno, cs.flag);
  doAddInternalCommunityList(mapName, seqno, set);
  doApplyCommListToRouteMap(mapName, seqno, getInternalCommunityListName(mapName, seqno, cs.flag),
                            cs.flag);
}

void MioCommunity::doAddInternalCommunityList(const String& mapName, U32 seqno,
                                              const CommunitySetPtr& set) const {
  const Routing::RouteMap::CommunitySet& cs = *Vox::validPtr(set);
  const String clName = getInternalCommunityListName(mapName, seqno, cs.flag);
  const String csName = getInternalCommunitySetName(mapName, seqno, cs.flag);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doAddInternalCommunityList(Vox::String, "
           "U32, Vox::Ptr<Routing::RouteMap::CommunitySet const>)"
               << "( " << mapName << "," << seqno << ")"
               << "clName=" << clName << ", csName=" << csName);
  if (cs.useCL) {
    doAddInternalMergeCommunityListName(mapName, seqno, set);
    return;
  }
  doAddSetCommSet(csName, set, Acl::communityStandard);
  doAddCommunityList(clName);
  // The list only carries the communities to set and is never matched against a route; its
  // entry goes in as a deny, like every entry of an internal list.
  doAddCommunitySetToList(clName, kInternalEntrySeqno, csName, Acl::deny);
}

void MioCommunity::doAddInternalMergeCommunityListName(const String& mapName, U32 seqno,
                                                       const CommunitySetPtr& set) const {
  const Routing::RouteMap::CommunitySet& cs = *Vox::validPtr(set);
  const String clName = getInternalCommunityListName(mapName, seqno, cs.flag);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doAddInternalMergeCommunityListName(Vox::String, U32, "
           "Vox::Ptr<Routing::RouteMap::CommunitySet const>)"
               << "( " << mapName << "," << seqno << ")"
               << "clName=" << clName);
  doAddCommunityList(clName);
  // The configured lists of the VRF; without them the list stays empty until the refresh of
  // its users fills it once the named lists are configured.
  const AclListConfigPtr& config = aclListConfig_;
  for (const std::string& listName : cs.communityListName) {
    RM_TRACE(traceCommand, "merging: " << listName << "into " << clName);
    if (!config) continue;
    const Vox::Ptr<Acl::CommunityList const> list = config->communityList(listName);
    if (!list) continue;
    // The internal list refers to the sets made for the named list's entries; entries of two
    // lists with the same sequence number coexist, since an entry is keyed by its set's name.
    for (const auto& [entrySeqno, entry] : list->communityListEntry()) {
      doAddCommunitySetToList(clName, entrySeqno, getCommunitySetName(listName, entrySeqno),
                              entry->permit());
    }
  }
}

void MioCommunity::doApplyCommListToRouteMap(const String& mapName, U32 seqno, const String& clName,
                                             Acl::CommSetFlag flag) const {
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doApplyCommListToRouteMap(Vox::String, "
           "U32, Vox::String, Acl::CommSetFlag)"
               << " Set  Private  clName=" << clName << " to routemap=" << mapName);
  RibValue v = ribValueIs();
  if (flag == Acl::commSetDelete_) {
    v->doPushString(Tag::CommValue::stdListDelete, clName);
  } else {
    v->doPushString(Tag::CommValue::stdListAdd, clName);
    v->doPushFlag(Tag::CommValue::stdListKeep, flag != Acl::commSetReplace_);
  }
  ribExecute("setCommunity", ribSetPathIs(mapName, seqno), v);
}

void MioCommunity::doDeleteInternalCommunityList(const String& mapName, U32 seqno,
                                                 Acl::CommSetFlag flag) const {
  const String clName = getInternalCommunityListName(mapName, seqno, flag);
  const String csName = getInternalCommunitySetName(mapName, seqno, flag);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doDeleteInternalCommunityList("
           "Vox::String, U32, Acl::CommSetFlag)"
               << "( " << mapName << "," << seqno << ")"
               << "deleting clName=" << clName << ", csName=" << csName);
  doDelCommunityList(clName);
  doDelCommSet(csName, Acl::communityStandard);
}

namespace {

// How an extended or a large set clause reaches the sequence's set-action node.
struct SetClauseTags {
  const char* opName;
  U32 addTag;
  U32 deleteTag;
  U32 modeTag;
  U8 additiveMode;
};

constexpr SetClauseTags kExtendedClause{"setExtCommunity", Tag::CommValue::extSetAdd,
                                        Tag::CommValue::extSetDelete, Tag::CommValue::extSetMode,
                                        2};
constexpr SetClauseTags kLargeClause{"setLargeCommunity", Tag::CommValue::largeSetAdd,
                                     Tag::CommValue::largeSetDelete, Tag::CommValue::largeSetMode,
                                     4};

// The sequence's own set of that kind is rebuilt whole, then named on the set-action node with
// the clause's mode: replacing (a false flag), adding (the kind's additive mode), or neither
// for a delete clause. `replaces` forces the replacing mode.
void applySetClause(const MioChannel& mio, const Vox::String& mapName, U32 seqno,
                    const Vox::String& setName, Acl::CommSetFlag flag, bool replaces,
                    const SetClauseTags& tags) {
  RibValue v = mio.ribValueIs();
  v->doPushString(flag == Acl::commSetDelete_ ? tags.deleteTag : tags.addTag, setName);
  if (flag == Acl::commSetReplace_ || replaces) {
    v->doPushFlag(tags.modeTag, false);
  } else if (flag != Acl::commSetDelete_) {
    v->doPushU8(tags.modeTag, tags.additiveMode);
  }
  mio.ribExecute(tags.opName, mio.ribSetPathIs(mapName, seqno), v);
}

}  // namespace

void MioCommunity::doSetExtCommunity(const String& mapName, U32 seqno,
                                     const CommunitySetPtr& set) const {
  const Routing::RouteMap::CommunitySet& cs = *Vox::validPtr(set);
  const String name = getExtCommunitySetName(mapName, seqno);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doSetExtCommunity(Vox::String, U32, "
           "Vox::Ptr<Routing::RouteMap::CommunitySet const>)"
               << "( " << mapName << "," << seqno << ") " << name);
  doDelCommSet(name, Acl::communityExtended);
  // A route carries a single link bandwidth, so a set holding one replaces rather than adds.
  const bool linkBandwidth = doAddSetCommSet(name, set, Acl::communityExtended);
  applySetClause(*this, mapName, seqno, name, cs.flag, linkBandwidth, kExtendedClause);
}

void MioCommunity::doSetLargeCommunity(const String& mapName, U32 seqno,
                                       const CommunitySetPtr& set) const {
  const Routing::RouteMap::CommunitySet& cs = *Vox::validPtr(set);
  const String name = getLargeCommunitySetName(mapName, seqno);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doSetLargeCommunity(Vox::String, U32, "
           "Vox::Ptr<Routing::RouteMap::CommunitySet const>)"
               << "( " << mapName << "," << seqno << ") " << name);
  doDelCommSet(name, Acl::communityLarge);
  doAddSetCommSet(name, set, Acl::communityLarge);
  applySetClause(*this, mapName, seqno, name, cs.flag, false, kLargeClause);
}

void MioCommunity::doSetExtCommunityLbwOpts(const String& mapName, U32 seqno,
                                            Acl::ExtCommLinkBandwidthSetFlag flag,
                                            float bandwidth) const {
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doSetExtCommunityLbwOpts(Vox::String, "
           "U32, Acl::ExtCommLinkBandwidthSetFlag, float)"
               << "( " << mapName << "," << seqno << ") flag=" << static_cast<U32>(flag)
               << ", bandwidth=" << bandwidth);
  RibValue v = ribValueIs();
  // The engine's option bits: 1 aggregate, 2 a given value, 4 and 8 the two ways of dividing.
  U8 option = 0;
  switch (flag) {
    case Acl::lbwAggregate_:
      option = 1;
      break;
    case Acl::lbwValue_: {
      char buf[64];
      std::snprintf(buf, sizeof buf, "%f", static_cast<double>(bandwidth));
      v->doPushString(Tag::CommValue::lbwBandwidth, buf);
      option = 2;
      break;
    }
    case Acl::lbwDivideEqual_:
      option = 4;
      break;
    case Acl::lbwDivideRatio_:
      option = 8;
      break;
    case Acl::lbwNone_:
      break;
  }
  // No option (or one the engine does not know) clears the option instead of setting it.
  if (option == 0) {
    v->doPushReset(Tag::CommValue::lbwOption);
  } else {
    v->doPushU8(Tag::CommValue::lbwOption, option);
  }
  ribExecute("ExtCommSetLinkBwOpts", ribSetPathIs(mapName, seqno), v);
}

void MioCommunity::doAddMatchCommunity(const String& mapName, U32 seqno,
                                       const Routing::RouteMap::CommListSet& comm, bool firstFlag,
                                       bool exact, Acl::CommunityType kind) const {
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doAddMatchCommunity(Vox::String, U32, "
           "Routing::RouteMap::CommListSet const&, bool, bool, "
           "Acl::CommunityType)"
               << "( " << mapName << "," << seqno << ") " << comm.stringValue()
               << ", exact=" << exact << ", kind=" << static_cast<U32>(kind));
  VOX_ASSERT(!comm.empty());
  String names = comm.stringValue();
  // Exact matches refer to the ".exact." copies that every configured list has.
  if (exact) names = exactNames(names);

  U32 pathTag = 0;
  U32 valueTag = 0;
  const char* opName = nullptr;
  switch (kind) {
    case Acl::communityStandard:
      pathTag = Tag::matchCommList;
      valueTag = Tag::CommValue::matchStdList;
      opName = "commList";
      break;
    case Acl::communityExtended:
      pathTag = Tag::matchExtCommList;
      valueTag = Tag::CommValue::matchExtList;
      opName = "extCommList";
      break;
    case Acl::communityLarge:
      pathTag = Tag::matchLargeCommList;
      valueTag = Tag::CommValue::matchLargeList;
      opName = "largeCommList";
      break;
  }
  if (opName == nullptr) {
    RM_TRACE(traceError, "Error: unrecognized community type: " << static_cast<U32>(kind));
    Vox::assertionFailed("0 (unrecognized community type)");
  }

  RibPath path = ribMapSeqPathIs(mapName, seqno);
  path->doPushString(pathTag, names);
  RibValue v = ribValueIs();
  if (firstFlag) v->doPushFlag(Tag::CommValue::matchInvert, true);
  v->doPushString(valueTag, names);
  ribExecute(opName, path, v);
}

void MioCommunity::doDeleteMapSeqCommObjects(const String& mapName, U32 seqno) const {
  RM_TRACE(traceCommand, "      void RibRouteMap::Mio::doDeleteMapSeqCommObjects(Vox::String, U32)"
                             << "( " << mapName << "," << seqno << ")");
  delRmFromCommListUsers(mapName, seqno);
  // Both flavours of the standard clause: every non-delete flag shares the "ar" names.
  doDeleteInternalCommunityList(mapName, seqno, Acl::commSetReplace_);
  doDeleteInternalCommunityList(mapName, seqno, Acl::commSetDelete_);
  // The extended and large sets go whether or not the sequence ever made them.
  doDelCommSet(getExtCommunitySetName(mapName, seqno), Acl::communityExtended);
  doDelCommSet(getLargeCommunitySetName(mapName, seqno), Acl::communityLarge);
}

}  // namespace RibRouteMap
