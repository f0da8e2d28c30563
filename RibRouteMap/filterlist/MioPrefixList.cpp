#include "RibRouteMap/filterlist/MioPrefixList.h"

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"
#include "framework/vox/Fatal.h"

namespace RibRouteMap {

std::string MioPrefixList::toString(PrefixListFamily f) {
  switch (f) {
    case PrefixListFamily::ipv4:
      return "ipv4";
    case PrefixListFamily::ipv6:
      return "ipv6";
  }
  return std::to_string(static_cast<U32>(f));
}

std::optional<MioPrefixList::PrefixListFamily> MioPrefixList::prefixListFamily(
    std::string_view text) {
  if (text == "ipv4") return PrefixListFamily::ipv4;
  if (text == "ipv6") return PrefixListFamily::ipv6;
  return std::nullopt;
}

std::optional<MioPrefixList::PrefixListFamily> MioPrefixList::prefixListFamily(U32 value) {
  if (value > 1) return std::nullopt;
  return static_cast<PrefixListFamily>(value);
}

std::ostream& operator<<(std::ostream& os, MioPrefixList::PrefixListFamily f) {
  return os << MioPrefixList::toString(f);
}

Vox::String MioPrefixList::prefixListId(std::string_view name, PrefixListFamily family) {
  switch (family) {
    case PrefixListFamily::ipv4:
      return Vox::String(name);
    case PrefixListFamily::ipv6:
      return ".ipv6." + Vox::String(name);
  }
  Vox::assertionFailed("0 (prefixListId: unknown prefix-list family)");
}

namespace {

// The list's node; an IPv4 list's key is its name as it stands, without a copy of its own.
RibPath prefixListPath(const MioChannel& mio, std::string_view name,
                       MioPrefixList::PrefixListFamily family) {
  RibPath path = mio.ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::prefixLists);
  if (family == MioPrefixList::PrefixListFamily::ipv4) {
    path->doPushString(Tag::prefixListKey, name);
  } else {
    path->doPushString(Tag::prefixListKey, MioPrefixList::prefixListId(name, family));
  }
  return path;
}

// The values of an entry: sequence, permit flag, address, length, then the bounds (an entry
// with neither bound matches its own length exactly).
template <class PrefixT, class PushAddr>
RibValue prefixEntryValues(const MioChannel& mio, U32 seqno, Acl::MatchPermit permit,
                           const PrefixT& prefix, U32 ge, U32 le, U32 lengthTag,
                           PushAddr pushAddr) {
  RibValue v = mio.ribValueIs();
  v->doPushU32(Tag::PrefixListValue::seqno, seqno);
  v->doPushFlag(Tag::PrefixListValue::permit, permit != Acl::deny);
  pushAddr(*v);
  v->doPushU32(lengthTag, prefix.length());
  if (ge == 0 && le == 0) {
    v->doPushU32(Tag::PrefixListValue::ge, prefix.length());
    v->doPushU32(Tag::PrefixListValue::le, prefix.length());
  } else {
    if (ge != 0) v->doPushU32(Tag::PrefixListValue::ge, ge);
    if (le != 0) v->doPushU32(Tag::PrefixListValue::le, le);
  }
  return v;
}

}  // namespace

void MioPrefixList::doAddIpPrefixList(const String& name) const {
  const String id = prefixListId(name, PrefixListFamily::ipv4);
  RibValue v = ribValueIs();
  v->doPushString(Tag::PrefixListValue::name, id);
  ribExecute("doAddIpPrefixList", prefixListPath(*this, name, PrefixListFamily::ipv4), v);
}

void MioPrefixList::doAddIpv6PrefixList(const String& name) const {
  const String id = prefixListId(name, PrefixListFamily::ipv6);
  RibValue v = ribValueIs();
  v->doPushString(Tag::PrefixListValue::name, id);
  ribExecute("doAddIpv6PrefixList", prefixListPath(*this, name, PrefixListFamily::ipv6), v);
}

void MioPrefixList::doDelIpPrefixList(const String& name, PrefixListFamily family) const {
  ribExecute("doDelIpPrefixList", prefixListPath(*this, name, family), nullptr, true);
}

void MioPrefixList::doAddIpPrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                                           const Vela::Prefix& prefix, U32 ge, U32 le) const {
  RibPath path = prefixListPath(*this, name, PrefixListFamily::ipv4);
  addIpPrefixListEntry(path, seqno, permit, prefix, ge, le);
}

void MioPrefixList::addIpPrefixListEntry(const RibPath& listPath, U32 seqno,
                                         Acl::MatchPermit permit, const Vela::Prefix& prefix,
                                         U32 ge, U32 le) const {
  RM_TRACE(traceCommand, "doAddIpPrefixListEntry " << seqno << ' ' << prefix);
  listPath->doPushU32(Tag::prefixListEntry, seqno);
  RibValue v =
      prefixEntryValues(*this, seqno, permit, prefix, ge, le, Tag::PrefixListValue::ipv4Length,
                        [&](Rib::MioValueTagArray& a) {
                          a.doPushIpAddr(Tag::PrefixListValue::ipv4Address, prefix.address());
                        });
  ribExecute("doAddIpPrefixListEntry", listPath, v);
  listPath->doPopPath();
}

void MioPrefixList::doAddIpv6PrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                                             const Vela::Ip6Prefix& prefix, U32 ge, U32 le) const {
  RibPath path = prefixListPath(*this, name, PrefixListFamily::ipv6);
  addIpv6PrefixListEntry(path, seqno, permit, prefix, ge, le);
}

void MioPrefixList::addIpv6PrefixListEntry(const RibPath& listPath, U32 seqno,
                                           Acl::MatchPermit permit, const Vela::Ip6Prefix& prefix,
                                           U32 ge, U32 le) const {
  listPath->doPushU32(Tag::prefixListEntry, seqno);
  RibValue v =
      prefixEntryValues(*this, seqno, permit, prefix, ge, le, Tag::PrefixListValue::ipv6Length,
                        [&](Rib::MioValueTagArray& a) {
                          a.doPushIp6Addr(Tag::PrefixListValue::ipv6Address, prefix.address());
                        });
  ribExecute("doAddIpv6PrefixListEntry", listPath, v);
  listPath->doPopPath();
}

// A batch shares the list's path: each entry pushes its key, executes, and pops the key again
// (the operation does not outlive its execution). The path trace and the root check still
// happen once per entry, as they would for a path of its own.
void MioPrefixList::doAddIpPrefixListEntries(const String& name,
                                             const Acl::PrefixList::EntryMap& entries) const {
  RibPath path = prefixListPath(*this, name, PrefixListFamily::ipv4);
  bool first = true;
  for (const auto& [seqno, e] : entries) {
    if (!first) ribPathChecked();
    first = false;
    addIpPrefixListEntry(path, seqno, e.permit, e.prefix, e.ge, e.le);
  }
}

void MioPrefixList::doAddIpv6PrefixListEntries(const String& name,
                                               const Acl::Ipv6PrefixList::EntryMap& entries) const {
  RibPath path = prefixListPath(*this, name, PrefixListFamily::ipv6);
  bool first = true;
  for (const auto& [seqno, e] : entries) {
    if (!first) ribPathChecked();
    first = false;
    addIpv6PrefixListEntry(path, seqno, e.permit, e.prefix, e.ge, e.le);
  }
}

void MioPrefixList::doDelIpPrefixListEntry(const String& name, U32 seqno,
                                           PrefixListFamily family) const {
  RM_TRACE(traceCommand, "doDelIpPrefixListEntry " << seqno);
  RibPath path = prefixListPath(*this, name, family);
  path->doPushU32(Tag::prefixListEntry, seqno);
  ribExecute("doDelIpPrefixListEntry", path, nullptr, true);
}

}  // namespace RibRouteMap
