#include "RibRouteMap/acl/MioAcl.h"

#include "RibRouteMap/mio/Tags.h"
#include "RibRouteMap/mio/Trace.h"

namespace RibRouteMap {

namespace {

RibPath stdAclPath(const MioChannel& mio, const Vox::String& name) {
  RibPath path = mio.ribPathIs(Tag::policyRoot);
  path->doPushPath(Tag::stdAcls);
  path->doPushString(Tag::stdAcl, name);
  return path;
}

RibPath stdAclEntryPath(const MioChannel& mio, const Vox::String& name, U32 seqno) {
  RibPath path = stdAclPath(mio, name);
  path->doPushU32(Tag::stdAclEntry, seqno);
  return path;
}

// The engine takes the mask as an address whose dotted form is the mask itself. The mask is
// a host-order number (255.255.255.0 is 0xffffff00), and an IpAddr is built from exactly such
// a number, so the conversion to network order is the IpAddr itself: swapping the bytes here
// would send 0.255.255.255 on a little-endian host.
Vela::IpAddr maskAddress(std::uint32_t mask) {
  return Vela::IpAddr(mask);
}

}  // namespace

void MioAcl::doAddIpStdAcl(const String& name) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doAddIpStdAcl(Vox::String)"
                             << " name: " << name);
  RibValue v = ribValueIs();
  v->doPushString(Tag::StdAclValue::name, name);
  ribExecute("doAddIpStdAcl", stdAclPath(*this, name), v);
}

void MioAcl::doAddIpStdAclEntry(const String& name, U32 seqno, Acl::MatchPermit action,
                                const Vela::IpAddrWithFullMask& source) const {
  RM_TRACE(traceCommand,
           "void RibRouteMap::Mio::doAddIpStdAclEntry(Vox::String, U32, Acl::MatchPermit, "
           "Vela::IpAddrWithFullMask)"
               << " name: " << name << " seqno: " << seqno << " action: " << action
               << " source: " << source.toString());
  RibValue v = ribValueIs();
  v->doPushU32(Tag::StdAclValue::seqno, seqno);
  // Only deny denies: any other configured action is sent as permit.
  v->doPushFlag(Tag::StdAclValue::permit, action != Acl::deny);
  v->doPushIpAddr(Tag::StdAclValue::address, source.address());
  v->doPushIpAddr(Tag::StdAclValue::mask, maskAddress(source.mask()));
  ribExecute("doAddIpStdAclEntry", stdAclEntryPath(*this, name, seqno), v);
}

void MioAcl::doDelIpStdAcl(const String& name) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doDelIpStdAcl(Vox::String)"
                             << " name: " << name);
  ribExecute("doDelIpStdAcl", stdAclPath(*this, name), nullptr, true);
}

void MioAcl::doDelIpStdAclEntry(const String& name, U32 seqno) const {
  RM_TRACE(traceCommand, "void RibRouteMap::Mio::doDelIpStdAclEntry(Vox::String, U32)"
                             << " name: " << name << " seqno: " << seqno);
  ribExecute("doDelIpStdAclEntry", stdAclEntryPath(*this, name, seqno), nullptr, true);
}

}  // namespace RibRouteMap
