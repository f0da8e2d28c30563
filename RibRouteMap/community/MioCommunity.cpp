// Community lists, their entries and community sets on the engine.
//
// A configured list exists on the engine under its own name and as a ".exact." copy that
// exact-match clauses refer to; each configured entry becomes a community set of its own
// (named after the list and the entry's sequence number) and one entry in each copy that
// refers to that set. Sets, lists and entries are addressed by path texts rather than bare
// names.
#include "RibRouteMap/community/MioCommunity.h"

#include <optional>
#include <vector>

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

namespace {

const Vox::String kListPathPrefix = "/policy/commlist ";
const Vox::String kEntryPathPrefix = "/commlist/entry ";
const Vox::String kSetPathPrefix = "/policy/commset ";
// The node tag and key tag of a community set of `kind`; nothing for an unknown kind.
std::optional<std::pair<U32, U32>> commSetTags(Acl::CommunityType kind) {
  switch (kind) {
    case Acl::communityStandard:
      return std::pair{Tag::commSetStandard, Tag::commSetStandardKey};
    case Acl::communityExtended:
      return std::pair{Tag::commSetExtended, Tag::commSetExtendedKey};
    case Acl::communityLarge:
      return std::pair{Tag::commSetLarge, Tag::commSetLargeKey};
  }
  return std::nullopt;
}

// The kind tags of `kind`; an unknown kind has no engine meaning and ends the agent.
std::pair<U32, U32> commSetTagsOrDie(Acl::CommunityType kind) {
  const auto tags = commSetTags(kind);
  if (!tags) {
    RM_TRACE(traceError, "Error: unrecognized community type: " << static_cast<U32>(kind));
    Vox::assertionFailed("0 (unrecognized community type)");
  }
  return *tags;
}

// The community kind of an entry's list type, and whether its content is an expression.
struct EntryForm {
  Acl::CommunityType kind;
  bool regex;
};

std::optional<EntryForm> entryForm(Acl::CommunityListType type) {
  switch (type) {
    case Acl::standardValues:
      return EntryForm{Acl::communityStandard, false};
    case Acl::standardRegex:
      return EntryForm{Acl::communityStandard, true};
    case Acl::extendedValues:
      return EntryForm{Acl::communityExtended, false};
    case Acl::extendedRegex:
      return EntryForm{Acl::communityExtended, true};
    case Acl::largeValues:
      return EntryForm{Acl::communityLarge, false};
    case Acl::largeRegex:
      return EntryForm{Acl::communityLarge, true};
  }
  return std::nullopt;
}

RibPath commListPath(const MioChannel& mio, const Vox::String& listName) {
  RibPath path = mio.ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::commLists);
  path->doPushString(Tag::commListKey, kListPathPrefix + listName);
  return path;
}

RibPath commListEntryPath(const MioChannel& mio, const Vox::String& listName,
                          const Vox::String& setName) {
  RibPath path = commListPath(mio, listName);
  path->doPushPath(Tag::commListEntries);
  path->doPushString(Tag::commListEntryKey, kEntryPathPrefix + setName);
  return path;
}

RibPath commSetPath(const MioChannel& mio, const std::pair<U32, U32>& tags,
                    const Vox::String& setName) {
  RibPath path = mio.ribPathIs(Tag::policyRoot);
  path->doPushPath(tags.first);
  path->doPushString(tags.second, kSetPathPrefix + setName);
  return path;
}

// The values of a list entry that refers to set `setName`. The kind is left out for a list
// type the engine does not know.
RibValue entryValues(const MioChannel& mio, const Vox::String& setName, U32 seqno,
                     std::optional<Acl::CommunityType> kind, Acl::MatchPermit permit) {
  RibValue v = mio.ribValueIs();
  v->doPushString(Tag::CommValue::name, setName);
  v->doPushU32(Tag::CommValue::entrySeqno, seqno);
  if (kind) v->doPushU32(Tag::CommValue::entryKind, *kind);
  v->doPushFlag(Tag::CommValue::entryPermit, permit != Acl::deny);
  return v;
}

void pushWordArray(Rib::MioValueTagArray& v, const std::vector<U32>& words) {
  v.doPushScalar(Tag::CommValue::setValues, static_cast<U32>(words.size()), words.data());
}

}  // namespace

// --- Names --------------------------------------------------------------------------------
// The name and the number are joined without a separator (list L1 with 10 and list L11 with
// 0 both give ".L110"): the engine has always seen these names, so they stay as they are.

namespace {

// prefix, name, number, suffix: the shape of every name the library makes for its objects.
Vox::String madeName(std::string_view prefix, std::string_view name, U32 seqno,
                     std::string_view suffix = {}) {
  Vox::String out;
  out.reserve(prefix.size() + name.size() + 10 + suffix.size());
  out.append(prefix).append(name).append(std::to_string(seqno)).append(suffix);
  return out;
}

std::string_view clauseSuffix(Acl::CommSetFlag flag) {
  return flag == Acl::commSetDelete_ ? "del" : "ar";
}

}  // namespace

Vox::String MioCommunity::getCommunitySetName(std::string_view listName, U32 seqno) {
  return madeName(".", listName, seqno);
}

Vox::String MioCommunity::getInternalCommunitySetName(std::string_view mapName, U32 seqno,
                                                      Acl::CommSetFlag flag) {
  return madeName(".cs", mapName, seqno, clauseSuffix(flag));
}

Vox::String MioCommunity::getInternalCommunityListName(std::string_view mapName, U32 seqno,
                                                       Acl::CommSetFlag flag) {
  return madeName(".cl", mapName, seqno, clauseSuffix(flag));
}

Vox::String MioCommunity::getExtCommunitySetName(std::string_view mapName, U32 seqno) {
  return madeName(".e", mapName, seqno);
}

Vox::String MioCommunity::getLargeCommunitySetName(std::string_view mapName, U32 seqno) {
  return madeName(".l", mapName, seqno);
}

// --- Lists --------------------------------------------------------------------------------

void MioCommunity::doAddCommunityList(const String& name) const {
  RM_TRACE(traceCommand, "      void RibRouteMap::Mio::doAddCommunityList(Vox::String)"
                             << "( " << name << ", listPath " << kListPathPrefix + name << " )");
  RibValue v = ribValueIs();
  v->doPushString(Tag::CommValue::name, name);
  ribExecute("addCommunityList", commListPath(*this, name), v);
}

void MioCommunity::doDelCommunityList(const String& name) const {
  RM_TRACE(traceCommand, "      void RibRouteMap::Mio::doDelCommunityList(Vox::String)"
                             << "( " << name << ", listPath " << kListPathPrefix + name << " )");
  ribExecute("delCommunityList", commListPath(*this, name), nullptr, true);
  doCommit();
}

void MioCommunity::doAddCommunityListEntry(const String& listName,
                                           const Acl::CommunityListEntry& entry) const {
  const String setName = getCommunitySetName(listName, entry.seqno());
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doAddCommunityListEntry(Vox::String, "
           "Acl::CommunityListEntry const&) "
               << setName << ", name: " << listName);
  // The entry's kind may have changed since its last version, so its set is cleared in every
  // kind before the new one is made.
  doDelCommSet(setName, Acl::communityStandard);
  doDelCommSet(setName, Acl::communityExtended);
  doDelCommSet(setName, Acl::communityLarge);
  doAddListCommSet(setName, entry);

  const auto form = entryForm(entry.listType());
  const std::optional<Acl::CommunityType> kind =
      form ? std::optional<Acl::CommunityType>(form->kind) : std::nullopt;
  ribExecute("addCommunityListEntry", commListEntryPath(*this, listName, setName),
             entryValues(*this, setName, entry.seqno(), kind, entry.permit()));

  RibValue exact = entryValues(*this, setName, entry.seqno(), kind, entry.permit());
  exact->doPushFlag(Tag::CommValue::entryExact, true);
  ribExecute("addCommunityListEntryExact",
             commListEntryPath(*this, kExactPrefix + listName, setName), exact);
}

void MioCommunity::doDelCommunityListEntry(const String& listName, U32 seqno) const {
  const String setName = getCommunitySetName(listName, seqno);
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doDelCommunityListEntry(Vox::String, "
           "U32) "
               << setName << ", name: " << listName);
  // The set goes before the entries that refer to it.
  doDelCommSet(setName, Acl::communityStandard);
  doDelCommSet(setName, Acl::communityExtended);
  doDelCommSet(setName, Acl::communityLarge);
  ribExecute("delCommunityListEntry", commListEntryPath(*this, listName, setName), nullptr, true);
  ribExecute("delCommunityListEntryExact",
             commListEntryPath(*this, kExactPrefix + listName, setName), nullptr, true);
}

void MioCommunity::doAddCommunitySetToList(const String& listName, U32 seqno, const String& setName,
                                           Acl::MatchPermit permit) const {
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doAddCommunitySetToList(Vox::String, "
           "U32, Vox::String, Acl::MatchPermit)"
               << "( " << listName << ", " << seqno << ", " << setName << ", "
               << static_cast<U32>(permit) << " )");
  ribExecute("addCommunityListEntry", commListEntryPath(*this, listName, setName),
             entryValues(*this, setName, seqno, Acl::communityStandard, permit));
}

// --- Sets ---------------------------------------------------------------------------------

void MioCommunity::doAddListCommSet(const String& setName,
                                    const Acl::CommunityListEntry& entry) const {
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doAddListCommSet(Vox::String, "
           "Acl::CommunityListEntry const&) "
               << setName << ", entry listType: " << static_cast<U32>(entry.listType()));
  const auto form = entryForm(entry.listType());
  // A list type the engine does not know gets neither a kind nor any content: the set is
  // named and left empty.
  RibPath path;
  if (form) {
    path = commSetPath(*this, commSetTagsOrDie(form->kind), setName);
  } else {
    path = ribPathIs(Tag::policyRoot);
  }
  RibValue v = ribValueIs();
  v->doPushString(Tag::CommValue::name, setName);
  if (form && form->regex) {
    v->doPushString(Tag::CommValue::setRegex, entry.regex());
  } else if (form) {
    std::vector<U32> words;
    for (const Acl::CommunityValue& c : entry.communities()) {
      words.insert(words.end(), c.words, c.words + c.wordCount());
    }
    pushWordArray(*v, words);
  }
  ribExecute("addCommunitySet", path, v);
  doCommit();
}

bool MioCommunity::doAddSetCommSet(const String& setName, const CommunitySetPtr& set,
                                   Acl::CommunityType kind) const {
  RM_TRACE(traceCommand,
           "      bool RibRouteMap::Mio::doAddSetCommSet(Vox::String, "
           "Vox::Ptr<Routing::RouteMap::CommunitySet const>, Acl::CommunityType)"
               << "( " << setName << ", extended " << (kind == Acl::communityExtended) << ", large "
               << (kind == Acl::communityLarge) << " )");
  const Routing::RouteMap::CommunitySet& cs = *Vox::validPtr(set);
  RibPath path = commSetPath(*this, commSetTagsOrDie(kind), setName);

  RibValue v = ribValueIs();
  v->doPushString(Tag::CommValue::name, setName);
  if (cs.flag == Acl::commSetAdditive_) v->doPushFlag(Tag::CommValue::setAdditive, true);
  std::vector<U32> words;
  bool linkBandwidth = false;
  switch (kind) {
    case Acl::communityStandard:
      words = cs.standard;
      break;
    case Acl::communityExtended:
      for (std::uint64_t e : cs.extended) {
        words.push_back(static_cast<U32>(e >> 32));
        words.push_back(static_cast<U32>(e));
        // Type 0x00 or 0x40 (transitive or not), sub-type 0x04: the link bandwidth.
        if (((e >> 48) & 0xbfffu) == 0x0004u) linkBandwidth = true;
      }
      break;
    case Acl::communityLarge:
      for (const Routing::RouteMap::LargeCommunity& l : cs.large) {
        words.push_back(l.global);
        words.push_back(l.local1);
        words.push_back(l.local2);
      }
      break;
  }
  pushWordArray(*v, words);
  ribExecute("addCommunitySet", path, v);
  doCommit();
  return linkBandwidth;
}

void MioCommunity::doDelCommSet(const String& setName, Acl::CommunityType kind) const {
  RM_TRACE(traceCommand,
           "      void RibRouteMap::Mio::doDelCommSet(Vox::String, "
           "Acl::CommunityType) "
               << setName << ", extended: " << (kind == Acl::communityExtended)
               << ", large: " << (kind == Acl::communityLarge));
  ribExecute("delCommunitySet", commSetPath(*this, commSetTagsOrDie(kind), setName), nullptr, true);
  doCommit();
}

}  // namespace RibRouteMap
