// The values of a scenario, each read from one node of its YAML document and checked: numbers,
// names, addresses, prefixes, communities, and mappings with a fixed set of keys. Every
// refusal is an InputError at the node, naming the key and what was expected ("prefix:
// expected an IPv4 prefix A.B.C.D/N, got 'x'"), so that nothing the library would stop on
// can get past the reader.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "framework/config/AclTypes.h"
#include "framework/config/RouteMapConfig.h"
#include "framework/vela/Address.h"
#include "framework/vox/Types.h"
#include "tools/ribpolicy/format/Format.h"
#include "tools/ribpolicy/format/YamlDocument.h"

namespace ribpolicy::reader {

using Vox::S64;
using Vox::U32;

using yaml::Node;

// --- Messages -----------------------------------------------------------------------------

// A value as it appears in a message: quoted, printable and shortened when long.
std::string quote(std::string_view text);
// "'x'", "a list", "an empty list", "a mapping" or "nothing".
std::string describe(const Node& n);
// "a, b or c".
std::string joinKeys(std::span<const std::string_view> keys);
// Whether `b` is `a` with one byte inserted, removed or replaced, or two neighbours swapped.
bool oneEditApart(std::string_view a, std::string_view b);
// "; did you mean 'k'?" for the first of `known` one edit away from `name`, or nothing.
std::string didYouMean(std::string_view name, std::span<const std::string_view> known);

[[noreturn]] void fail(const Node& at, const std::string& message);
// "KEY: expected WHAT, got DESCRIPTION".
[[noreturn]] void expected(const Node& at, std::string_view key, std::string_view what);

// --- Mappings with a fixed set of keys ----------------------------------------------------

// The members of one mapping, checked against the keys its context allows: an unknown or a
// repeated key is an error at the key itself. Nothing reads as a mapping without members.
class Fields {
 public:
  Fields(const Node& node, std::string what, std::span<const std::string_view> allowed);
  Fields(const Node& node, std::string what, std::initializer_list<std::string_view> allowed)
      : Fields(node, std::move(what), std::span(allowed.begin(), allowed.size())) {}

  const Node& node() const { return node_; }
  const std::string& what() const { return what_; }

  const Node* get(std::string_view name) const;
  const Node& need(std::string_view name) const;
  // Refuses every present key outside `allowed`: the keys that belong to another form of the
  // same mapping (another match option, another kind of community entry).
  void restrict(std::span<const std::string_view> allowed, const std::string& context) const;
  void restrict(std::initializer_list<std::string_view> allowed, const std::string& context) const {
    restrict(std::span(allowed.begin(), allowed.size()), context);
  }

 private:
  struct Field {
    std::string_view name;  // the document's own text
    Node key;
    Node value;
  };
  Node node_;
  std::string what_;
  std::vector<Field> members_;
};

// --- Numbers, names and texts ---------------------------------------------------------------

// Decimal, or hexadecimal after 0x; nothing on anything else or on overflow.
std::optional<std::uint64_t> parseUnsigned(std::string_view text);
// The same with an optional sign, within a signed 64-bit number.
std::optional<std::int64_t> parseSigned(std::string_view text);

// The text of a text node; `what` is what the message says was expected instead.
std::string_view textOf(const Node& n, std::string_view key, std::string_view what);
std::string text(const Node& n, std::string_view key);
// A name of a configured object: any non-empty text.
std::string name(const Node& n, std::string_view key);
// A number within [low, high]; `what` names the range in messages, by default its bounds.
U32 number(const Node& n, std::string_view key, U32 low = 0,
           U32 high = std::numeric_limits<U32>::max(), std::string_view what = {});
// The same, or the number of one of `names`.
U32 namedNumber(const Node& n, std::string_view key, std::span<const NamedNumber> names,
                U32 low = 0, U32 high = std::numeric_limits<U32>::max(),
                std::string_view what = {});
S64 signedNumber(const Node& n, std::string_view key);
bool boolean(const Node& n, std::string_view key);
bool optionalBool(const Fields& f, std::string_view key, bool fallback);
const Node& list(const Node& n, std::string_view key, std::string_view what);
Acl::MatchPermit action(const Node& n);
// A list of AS numbers, by position.
std::map<U32, U32> asNumbers(const Node& n, std::string_view key);
// A bandwidth: a non-negative decimal number that fits a float.
float bandwidth(const Node& n);

// --- Addresses ----------------------------------------------------------------------------

Vela::IpAddr ipv4(const Node& n, std::string_view key);
Vela::Ip6Addr ipv6(const Node& n, std::string_view key);
Vela::Prefix ipv4Prefix(const Node& n, std::string_view key);
Vela::Ip6Prefix ipv6Prefix(const Node& n, std::string_view key);
// "A.B.C.D/M.M.M.M" or "A.B.C.D/N".
Vela::IpAddrWithFullMask addressWithMask(const Node& n, std::string_view key);

// --- Communities --------------------------------------------------------------------------

U32 standardCommunity(const Node& n, std::string_view key);
std::uint64_t extendedCommunity(const Node& n, std::string_view key);
Routing::RouteMap::LargeCommunity largeCommunity(const Node& n, std::string_view key);
// A community of the kind of a community-list entry of type `type`.
Acl::CommunityValue communityValue(const Node& n, Acl::CommunityListType type);
// A community-list entry type, by name or number.
Acl::CommunityListType communityListType(const Node& n);
// A community-set flag, 0 to 3 in decimal or by name (none, delete, additive, replace, or the
// configuration's own commSetNone ... commSetReplace).
Acl::CommSetFlag commSetFlag(const Node& n, std::string_view key);

}  // namespace ribpolicy::reader
