// What the reader checks in an entry beyond the form of its values, as a router's own
// configuration would: a prefix entry's length range that no prefix can meet, an AS-path
// expression that is a regular expression in neither dialect (errors), and what is worth a
// warning in the entries of one list: a prefix with host bits set, entries after one that
// matches everything, a map entry that an earlier one with the same or fewer match rules
// always takes first.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "framework/config/AclTypes.h"
#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/format/ScenarioValues.h"

namespace ribpolicy::reader {

// Refuses `ge` and `le` (0 for none, as the configuration keeps them) where the engine's range
// would hold no length of the prefix: `le` below its length, `ge` between 1 and below its
// length, or `ge` above `le`. The error stands at the bound at fault.
void checkLengthRange(const Fields& f, const std::string& prefix, U32 length, U32 ge, U32 le);

// Whether `regex` is a regular expression of dialect 0 (POSIX extended, as AS-path lists are
// conventionally written) and of dialect 1 (the Perl-style ECMAScript syntax). An expression
// of neither is an error at `n`, with the reason.
std::pair<bool, bool> asPathDialects(const Node& n, const std::string& regex);

// The warning about a prefix whose address has bits set past its length (a source past its
// mask), naming the network, or nothing.
std::optional<std::string> hostBitsNote(const Vela::Prefix& p);
std::optional<std::string> hostBitsNote(const Vela::Ip6Prefix& p);
std::optional<std::string> hostBitsNote(const Vela::IpAddrWithFullMask& source);

// A warning about one entry of a list, found once the whole list is read.
struct EntryNote {
  U32 seq = 0;
  WarningClass warning = WarningClass::unreachable;
  std::string message;
};
using EntryNotes = std::vector<EntryNote>;

// `what` names the list in messages ("prefix list 'PL'").
EntryNotes listNotes(const std::string& what, const std::map<U32, Acl::PrefixEntry>& entries);
EntryNotes listNotes(const std::string& what, const std::map<U32, Acl::Ipv6PrefixEntry>& entries);
EntryNotes listNotes(const std::string& what, const std::map<U32, Acl::RuleConfig>& entries);
EntryNotes listNotes(const std::string& what, const std::map<U32, MapEntryDef>& entries);

}  // namespace ribpolicy::reader
