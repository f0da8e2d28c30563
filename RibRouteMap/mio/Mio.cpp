#include "RibRouteMap/mio/Mio.h"

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/root/Root.h"
#include "RibRouteMap/root/Trace.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

Vox::Ptr<Mio> mioFactory(const L3::VrfName& vrfName) {
  return Vox::make<Mio>(vrfName);
}

std::string Mio::toString(PrefixListFamily f) {
  switch (f) {
    case PrefixListFamily::ipv4:
      return "ipv4";
    case PrefixListFamily::ipv6:
      return "ipv6";
  }
  return std::to_string(static_cast<U32>(f));
}

std::optional<Mio::PrefixListFamily> Mio::prefixListFamily(std::string_view text) {
  if (text == "ipv4") return PrefixListFamily::ipv4;
  if (text == "ipv6") return PrefixListFamily::ipv6;
  return std::nullopt;
}

std::optional<Mio::PrefixListFamily> Mio::prefixListFamily(U32 value) {
  if (value > 1) return std::nullopt;
  return static_cast<PrefixListFamily>(value);
}

std::ostream& operator<<(std::ostream& os, Mio::PrefixListFamily f) {
  return os << Mio::toString(f);
}

Vox::String Mio::prefixListId(std::string_view name, PrefixListFamily family) {
  switch (family) {
    case PrefixListFamily::ipv4:
      return Vox::String(name);
    case PrefixListFamily::ipv6:
      return ".ipv6." + Vox::String(name);
  }
  Vox::fatal("Assertion failed: 0 (prefixListId: unknown prefix-list family)");
}

RibPath Mio::ribPathIs(U32 tag) const {
  RM_TRACE(traceHandler,
           "RibRouteMap::RibPath RibRouteMap::mioVrePath(L3::VrfName, bool) " << vrfName_);
  if (rmRoot && !(rmRoot->vrfName() == vrfName_)) {
    Vox::fatal("Assertion failed: rmRoot->vrfName() == vrfName");
  }
  RibPath path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(tag);
  return path;
}

RibPath Mio::ribMapSeqPathIs(std::string_view mapName, U32 seqno) const {
  RibPath path = ribPathIs(Tag::policyRoot);
  path->doPushString(Tag::routeMap, mapName);
  path->doPushPath(Tag::routeMapSeqs);
  path->doPushU32(Tag::routeMapSeq, seqno);
  return path;
}

RibPath Mio::ribSetPathIs(std::string_view mapName, U32 seqno) const {
  RibPath path = ribMapSeqPathIs(mapName, seqno);
  path->doPushPath(Tag::setActions);
  return path;
}

RibValue Mio::ribValueIs() const {
  return Vox::make<Rib::MioValueTagArray>();
}

RibOp Mio::ribOpIs(std::string_view opName, const RibPath& path) const {
  return Vox::validPtr(Vox::make<Rib::MioOp>(opName, path));
}

void Mio::ribExecute(std::string_view opName, const RibPath& path, const RibValue& values,
                     bool del) const {
  RibOp op = ribOpIs(opName, path);
  if (values) op->valueIs(values);
  if (del) op->deleteFlagIs(true);
  op->doExecute();
}

void Mio::doCommit() const {
  Rib::MioCommit::doCommit();
}

void Mio::doSyncCommit() const {
  const Vox::String key = Vox::String("/policy/asplist ") + "not_a_funny_name";
  RibPath path = ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::asPathLists);
  path->doPushString(Tag::asPathListKey, key);
  RibOp op = ribOpIs("deleteAsPathList", path);
  op->deleteFlagIs(true);
  op->doExecute();
  op->doCommit();
}

void Mio::doRouteMapOpConfig(Routing::RouteMap::RouteMapOpModeType mode) const {
  RM_TRACE(traceHandler,
           "void RibRouteMap::Mio::doRouteMapOpConfig("
           "Routing::RouteMap::RouteMapOpModeType)"
               << " vrf: " << vrfName_ << " config: " << mode);
  // The global options node is addressed directly: no VRF trace and no root check.
  RibPath path = Vox::make<Rib::MioTagArray>();
  path->doPushPath(Tag::globalPolicy);
  RibOp op = ribOpIs("RouteMapSetOpMode", path);
  op->doSetU32(Tag::scalarRouteMapOpMode, mode, 0);
  op->doExecute();
}

void Mio::doAsPathRegexMode(Acl::RegexMode mode) const {
  RibPath path = ribPathIs(Tag::globalPolicy);
  RibOp op = ribOpIs("AsPathRegexMode", path);
  op->doSetU32(Tag::scalarAsPathRegexMode, mode == 1 ? 2 : 1, 0);
  op->doExecute();
}

}  // namespace RibRouteMap

namespace RibRouteMap {

// --- Prefix lists -------------------------------------------------------------------------

namespace {

RibPath prefixListPath(const Mio& mio, const Vox::String& id) {
  RibPath path = mio.ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::prefixLists);
  path->doPushString(Tag::prefixListKey, id);
  return path;
}

// The values of an entry: sequence, permit flag, address, length, then the bounds (an entry
// with neither bound matches its own length exactly).
template <class PrefixT, class PushAddr>
RibValue prefixEntryValues(const Mio& mio, U32 seqno, Acl::MatchPermit permit,
                           const PrefixT& prefix, U32 ge, U32 le, U32 lengthTag,
                           PushAddr pushAddr) {
  RibValue v = mio.ribValueIs();
  v->doPushU32(9, seqno);
  v->doPushFlag(8, permit != Acl::deny);
  pushAddr(*v);
  v->doPushU32(lengthTag, prefix.length());
  if (ge == 0 && le == 0) {
    v->doPushU32(6, prefix.length());
    v->doPushU32(7, prefix.length());
  } else {
    if (ge != 0) v->doPushU32(6, ge);
    if (le != 0) v->doPushU32(7, le);
  }
  return v;
}

}  // namespace

void Mio::doAddIpPrefixList(const String& name) const {
  const String id = prefixListId(name, PrefixListFamily::ipv4);
  RibValue v = ribValueIs();
  v->doPushString(0, id);
  ribExecute("doAddIpPrefixList", prefixListPath(*this, id), v);
}

void Mio::doAddIpv6PrefixList(const String& name) const {
  const String id = prefixListId(name, PrefixListFamily::ipv6);
  RibValue v = ribValueIs();
  v->doPushString(0, id);
  ribExecute("doAddIpv6PrefixList", prefixListPath(*this, id), v);
}

void Mio::doDelIpPrefixList(const String& name, PrefixListFamily family) const {
  ribExecute("doDelIpPrefixList", prefixListPath(*this, prefixListId(name, family)), nullptr, true);
}

void Mio::doAddIpPrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                                 const Vela::Prefix& prefix, U32 ge, U32 le) const {
  RM_TRACE(traceCommand, "doAddIpPrefixListEntry " << seqno << ' ' << prefix);
  RibPath path = prefixListPath(*this, prefixListId(name, PrefixListFamily::ipv4));
  path->doPushU32(Tag::prefixListEntry, seqno);
  RibValue v =
      prefixEntryValues(*this, seqno, permit, prefix, ge, le, 2,
                        [&](Rib::MioValueTagArray& a) { a.doPushIpAddr(0, prefix.address()); });
  ribExecute("doAddIpPrefixListEntry", path, v);
}

void Mio::doAddIpv6PrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                                   const Vela::Ip6Prefix& prefix, U32 ge, U32 le) const {
  RibPath path = prefixListPath(*this, prefixListId(name, PrefixListFamily::ipv6));
  path->doPushU32(Tag::prefixListEntry, seqno);
  RibValue v =
      prefixEntryValues(*this, seqno, permit, prefix, ge, le, 3,
                        [&](Rib::MioValueTagArray& a) { a.doPushIp6Addr(1, prefix.address()); });
  ribExecute("doAddIpv6PrefixListEntry", path, v);
}

void Mio::doDelIpPrefixListEntry(const String& name, U32 seqno, PrefixListFamily family) const {
  RM_TRACE(traceCommand, "doDelIpPrefixListEntry " << seqno);
  RibPath path = prefixListPath(*this, prefixListId(name, family));
  path->doPushU32(Tag::prefixListEntry, seqno);
  ribExecute("doDelIpPrefixListEntry", path, nullptr, true);
}

}  // namespace RibRouteMap
