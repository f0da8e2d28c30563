// The AS-path commands of the command channel: AS-path access lists, their entries and the
// VRF's regular-expression dialect.
//
// Lists and entries are addressed by path texts rather than bare names: a list by
// "/policy/asplist " and its name, an entry by its sequence number followed by
// "/asplist/entry". The regular expression goes to the engine as configured; whether it is
// valid in the VRF's dialect is decided before a command is issued. None of these commits.
#pragma once

#include "RibRouteMap/mio/MioChannel.h"
#include "framework/config/AclTypes.h"

namespace RibRouteMap {

class MioAsPath : public virtual MioChannel {
 public:
  void doAddAsPathList(const String& name) const;
  void doDeleteAsPathList(const String& name) const;
  // The origin travels as a mask: 257, 258, 260 for origins 0, 1, 2 and 256 (any origin) for
  // every other value. Only a permit entry carries the permit flag; its absence means deny.
  void doAddAsPathListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                            const String& regex, Acl::BGPOrigin origin) const;
  void doDelAsPathListEntry(const String& name, U32 seqno) const;
  // The dialect, as a scalar of the VRF's global policy node: 2 for dialect 1, else 1.
  void doAsPathRegexMode(Acl::RegexMode mode) const;

 protected:
  MioAsPath() = default;
};

}  // namespace RibRouteMap
