#include "RibRouteMap/filterlist/MioAsPath.h"

#include <string>

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

namespace {

const Vox::String kListKeyPrefix = "/policy/asplist ";
const Vox::String kEntryKeySuffix = "/asplist/entry";

// Bit 8 marks the mask; origins 0, 1 and 2 add one bit each, and a mask without one of
// those bits matches routes of any origin.
constexpr U32 kAnyOrigin = 256;

U32 originMask(Acl::BGPOrigin origin) {
  return origin <= 2 ? kAnyOrigin | (1u << origin) : kAnyOrigin;
}

RibPath asPathListPath(const MioChannel& mio, const Vox::String& name) {
  RibPath path = mio.ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::asPathLists);
  path->doPushString(Tag::asPathListKey, kListKeyPrefix + name);
  return path;
}

RibPath asPathEntryPath(const MioChannel& mio, const Vox::String& name, U32 seqno) {
  RibPath path = asPathListPath(mio, name);
  path->doPushPath(Tag::asPathEntries);
  path->doPushString(Tag::asPathEntryKey, std::to_string(seqno) + kEntryKeySuffix);
  return path;
}

}  // namespace

void MioAsPath::doAddAsPathList(const String& name) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doAddAsPathList(Vox::String)"
                             << " name: " << name);
  RibValue v = ribValueIs();
  v->doPushString(Tag::AsPathValue::name, name);
  ribExecute("addAsPathList", asPathListPath(*this, name), v);
}

void MioAsPath::doDeleteAsPathList(const String& name) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doDeleteAsPathList(Vox::String)"
                             << " name: " << name);
  ribExecute("deleteAsPathList", asPathListPath(*this, name), nullptr, true);
}

void MioAsPath::doAddAsPathListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                                     const String& regex, Acl::BGPOrigin origin) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddAsPathListEntry(Vox::String, U32, Acl::MatchPermit, "
           "Vox::String, Acl::BGPOrigin)"
               << " name: " << name << " seqno: " << seqno << " permit: " << permit
               << " regex: " << regex << " origin: " << origin);
  RibValue v = ribValueIs();
  v->doPushU32(Tag::AsPathValue::entrySeqno, seqno);
  v->doPushString(Tag::AsPathValue::entryRegex, regex);
  v->doPushU32(Tag::AsPathValue::entryOrigin, originMask(origin));
  if (permit == Acl::permit) v->doPushFlag(Tag::AsPathValue::entryPermit, true);
  ribExecute("addAsPathListEntry", asPathEntryPath(*this, name, seqno), v);
}

void MioAsPath::doDelAsPathListEntry(const String& name, U32 seqno) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doDelAsPathListEntry(Vox::String, U32)"
                             << " name: " << name << " seqno: " << seqno);
  ribExecute("delAsPathListEntry", asPathEntryPath(*this, name, seqno), nullptr, true);
}

void MioAsPath::doAsPathRegexMode(Acl::RegexMode mode) const {
  RibPath path = ribPathIs(Tag::globalPolicy);
  RibOp op = ribOpIs("AsPathRegexMode", path);
  op->doSetU32(Tag::scalarAsPathRegexMode, mode == 1 ? 2 : 1, 0);
  op->doExecute();
}

}  // namespace RibRouteMap
