// The standard access-list commands of the command channel: a named list of permit or deny
// entries, each an IPv4 source address with a full mask.
//
// A list is replaced whole by its state machine (delete, commit, add with every entry,
// commit), so the entry delete is never needed there; none of these commands commits.
#pragma once

#include "RibRouteMap/mio/MioChannel.h"
#include "framework/config/AclTypes.h"
#include "framework/vela/Address.h"

namespace RibRouteMap {

class MioAcl : public virtual MioChannel {
 public:
  void doAddIpStdAcl(const String& name) const;
  // The permit flag is true unless `action` is deny.
  void doAddIpStdAclEntry(const String& name, U32 seqno, Acl::MatchPermit action,
                          const Vela::IpAddrWithFullMask& source) const;
  void doDelIpStdAcl(const String& name) const;
  void doDelIpStdAclEntry(const String& name, U32 seqno) const;

 protected:
  MioAcl() = default;
};

}  // namespace RibRouteMap
