// The words of FRR's policy lines: values written as FRR writes them, and what FRR 8.4 refuses
// of them. Each refusal was measured on bgpd 8.4.4; the translation names a value FRR refuses
// as having no FRR form instead of sending a line that FRR would turn down.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "framework/vela/Address.h"
#include "framework/vox/Types.h"

namespace frr {

using Vox::S64;
using Vox::U32;
using Vox::U8;

// A standard community as FRR writes it: a well-known name ("no-export", "blackhole") or
// AA:NN.
std::string standardCommunity(U32 value);

// The communities of a set or list entry of kind 0 (standard, one word each), 1 (extended,
// two) or 2 (large, three), sorted by value as FRR prints them; extended ones as route
// targets and sites of origin ("rt 64496:100 soo 192.0.2.1:7"). Nothing, with `problem`
// said, for a set FRR cannot hold: no values, a word count that is not whole communities, an
// extended value of another type.
std::optional<std::string> communityValues(U32 kind, const std::vector<U32>& words,
                                           std::string& problem);

// Why FRR refuses an AS-path expression: it takes digits, blanks and ^$.*+?()[]{}|_-,\ only,
// with `_` for a boundary between AS numbers, and compiles the result; nothing when it takes it.
std::optional<std::string> asPathExpressionProblem(std::string_view regex);
// Why FRR refuses a community expression (it must compile), or nothing.
std::optional<std::string> communityExpressionProblem(std::string_view regex);

// Why FRR refuses a next hop: `set ip next-hop` takes no 0.0.0.0, broadcast, multicast or
// class E address; `set ipv6 next-hop global` no unspecified, loopback, link-local or multicast
// one. Nothing when it takes it.
std::optional<std::string> nextHopProblem(Vela::IpAddr address);
std::optional<std::string> nextHopProblem(const Vela::Ip6Addr& address);

// A prefix with the bits beyond its length cleared, as FRR keeps it: "10.0.0.0/8".
std::string prefixText(Vela::IpAddr address, U32 length);
std::string prefixText(const Vela::Ip6Addr& address, U32 length);

// `text` with every control character written as \xNN, so that it stays on one line.
std::string oneLine(std::string_view text);

// A name FRR takes for a numbered community list (digits only): it holds such a list by its
// number, of values or of expressions by the number's range, so a name of digits keeps
// neither its form nor its meaning.
bool numberedListName(std::string_view name);

}  // namespace frr
