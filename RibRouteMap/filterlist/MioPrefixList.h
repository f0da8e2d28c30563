// The prefix-list commands of the command channel: IPv4 and IPv6 prefix lists and their
// entries, which share the engine's prefix-list node and are told apart by the list's key, the
// prefix-list id (the IPv6 one carries a prefix). None of these commands commits: the list's
// state machine commits a batch as a whole.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "RibRouteMap/mio/MioChannel.h"
#include "framework/config/AclListConfig.h"
#include "framework/config/AclTypes.h"
#include "framework/vela/Address.h"

namespace RibRouteMap {

class MioPrefixList : public virtual MioChannel {
 public:
  enum class PrefixListFamily : U32 { ipv4 = 0, ipv6 = 1 };
  // "ipv4" / "ipv6"; another value prints as its number.
  static std::string toString(PrefixListFamily f);
  static std::optional<PrefixListFamily> prefixListFamily(std::string_view text);
  static std::optional<PrefixListFamily> prefixListFamily(U32 value);
  // The engine's name of a prefix list: the name for IPv4, ".ipv6." and the name for IPv6.
  static String prefixListId(std::string_view name, PrefixListFamily family);

  void doAddIpPrefixList(const String& name) const;
  void doAddIpv6PrefixList(const String& name) const;
  void doDelIpPrefixList(const String& name, PrefixListFamily family) const;
  void doAddIpPrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                              const Vela::Prefix& prefix, U32 ge, U32 le) const;
  void doAddIpv6PrefixListEntry(const String& name, U32 seqno, Acl::MatchPermit permit,
                                const Vela::Ip6Prefix& prefix, U32 ge, U32 le) const;
  void doDelIpPrefixListEntry(const String& name, U32 seqno, PrefixListFamily family) const;
  // Every entry of a list, in the map's order, as doAdd...PrefixListEntry would send them
  // one by one; the list's path is built once for the batch.
  void doAddIpPrefixListEntries(const String& name, const Acl::PrefixList::EntryMap& entries) const;
  void doAddIpv6PrefixListEntries(const String& name,
                                  const Acl::Ipv6PrefixList::EntryMap& entries) const;

 protected:
  MioPrefixList() = default;

 private:
  // One entry below the list node `listPath`, which is left as it was given.
  void addIpPrefixListEntry(const RibPath& listPath, U32 seqno, Acl::MatchPermit permit,
                            const Vela::Prefix& prefix, U32 ge, U32 le) const;
  void addIpv6PrefixListEntry(const RibPath& listPath, U32 seqno, Acl::MatchPermit permit,
                              const Vela::Ip6Prefix& prefix, U32 ge, U32 le) const;
};

std::ostream& operator<<(std::ostream& os, MioPrefixList::PrefixListFamily f);

}  // namespace RibRouteMap
