#include "tools/ribpolicy/format/ScenarioValues.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "tools/ribpolicy/format/Format.h"

namespace ribpolicy::reader {

// --- Messages -----------------------------------------------------------------------------

std::string quote(std::string_view s) {
  constexpr std::size_t kMax = 60;
  std::string out = "'";
  out += printable(s.substr(0, kMax));
  out += s.size() > kMax ? "...'" : "'";
  return out;
}

std::string describe(const Node& n) {
  switch (n.kind()) {
    case yaml::NodeKind::text:
      return quote(n.text());
    case yaml::NodeKind::list:
      return n.size() == 0 ? "an empty list" : "a list";
    case yaml::NodeKind::mapping:
      return "a mapping";
    case yaml::NodeKind::null:
      return "nothing";
  }
  return "nothing";
}

[[noreturn]] void expected(const Node& at, std::string_view key, std::string_view what) {
  fail(at, std::string(key) + ": expected " + std::string(what) + ", got " + describe(at));
}

std::string joinKeys(std::span<const std::string_view> keys) {
  std::string out;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (i) out += i + 1 == keys.size() ? " or " : ", ";
    out += keys[i];
  }
  return out;
}

[[noreturn]] void fail(const Node& at, const std::string& message) {
  throw InputError(at.line(), at.column(), message);
}

// --- Mappings with a fixed set of keys --------------------------------------------------

bool oneEditApart(std::string_view a, std::string_view b) {
  if (a == b) return false;
  if (a.size() > b.size()) std::swap(a, b);
  if (b.size() - a.size() > 1) return false;
  std::size_t i = 0;
  while (i < a.size() && a[i] == b[i]) ++i;
  if (a.size() < b.size()) return a.substr(i) == b.substr(i + 1);  // one byte inserted
  if (a.substr(i + 1) == b.substr(i + 1)) return true;             // one byte replaced
  // Two neighbours swapped.
  return i + 1 < a.size() && a[i] == b[i + 1] && a[i + 1] == b[i] &&
         a.substr(i + 2) == b.substr(i + 2);
}

std::string didYouMean(std::string_view name, std::span<const std::string_view> known) {
  for (const std::string_view k : known) {
    if (oneEditApart(name, k)) return "; did you mean " + quote(k) + "?";
  }
  return {};
}

Fields::Fields(const Node& node, std::string what, std::span<const std::string_view> allowed)
    : node_(node), what_(std::move(what)) {
  if (node.isNull()) return;
  if (!node.isMapping()) expected(node, what_, "a mapping");
  members_.reserve(node.size());
  for (const yaml::Member& member : node.members()) {
    const Node& key = member.key;
    if (!key.isText()) expected(key, what_, "a key name");
    const std::string_view name = key.text();
    if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
      fail(key, "unknown key " + quote(name) + " in " + what_ + " (expected " + joinKeys(allowed) +
                    ")" + didYouMean(name, allowed));
    }
    for (const Field& m : members_) {
      if (m.name == name) {
        fail(key, "duplicate key " + quote(name) + " in " + what_ + " (first at line " +
                      std::to_string(m.key.line()) + ")");
      }
    }
    members_.push_back({name, key, member.value});
  }
}

const Node* Fields::get(std::string_view name) const {
  for (const Field& m : members_) {
    if (m.name == name) return &m.value;
  }
  return nullptr;
}

const Node& Fields::need(std::string_view name) const {
  if (const Node* v = get(name)) return *v;
  fail(node_, what_ + ": missing key " + quote(name));
}

void Fields::restrict(std::span<const std::string_view> allowed, const std::string& context) const {
  for (const Field& m : members_) {
    if (std::find(allowed.begin(), allowed.end(), m.name) == allowed.end()) {
      fail(m.key, "key " + quote(m.name) + " does not apply to " + context + " (expected " +
                      joinKeys(allowed) + ")");
    }
  }
}

// --- Numbers, names and texts
// ------------------------------------------------------------------------------

std::optional<std::uint64_t> parseUnsigned(std::string_view s) {
  unsigned base = 10;
  if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    base = 16;
    s.remove_prefix(2);
  }
  if (s.empty()) return std::nullopt;
  std::uint64_t v = 0;
  for (char c : s) {
    unsigned d;
    if (c >= '0' && c <= '9') {
      d = static_cast<unsigned>(c - '0');
    } else if (base == 16 && c >= 'a' && c <= 'f') {
      d = static_cast<unsigned>(c - 'a' + 10);
    } else if (base == 16 && c >= 'A' && c <= 'F') {
      d = static_cast<unsigned>(c - 'A' + 10);
    } else {
      return std::nullopt;
    }
    if (v > (std::numeric_limits<std::uint64_t>::max() - d) / base) return std::nullopt;
    v = v * base + d;
  }
  return v;
}

std::optional<std::int64_t> parseSigned(std::string_view s) {
  bool negative = false;
  if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
    negative = s[0] == '-';
    s.remove_prefix(1);
  }
  const auto magnitude = parseUnsigned(s);
  if (!magnitude) return std::nullopt;
  constexpr std::uint64_t kMax =
      static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (negative) {
    if (*magnitude > kMax + 1) return std::nullopt;
    if (*magnitude == kMax + 1) return std::numeric_limits<std::int64_t>::min();
    return -static_cast<std::int64_t>(*magnitude);
  }
  if (*magnitude > kMax) return std::nullopt;
  return static_cast<std::int64_t>(*magnitude);
}

std::string_view textOf(const Node& n, std::string_view key, std::string_view what) {
  if (!n.isText()) expected(n, key, what);
  return n.text();
}

std::string text(const Node& n, std::string_view key) {
  return std::string(textOf(n, key, "a string"));
}

std::string name(const Node& n, std::string_view key) {
  const std::string_view s = textOf(n, key, "a name");
  if (s.empty()) expected(n, key, "a non-empty name");
  return std::string(s);
}

U32 namedNumber(const Node& n, std::string_view key, std::span<const NamedNumber> names, U32 low,
                U32 high, std::string_view what) {
  if (n.isText()) {
    for (const NamedNumber& name : names) {
      if (n.text() == name.name) return name.number;
    }
  }
  return number(n, key, low, high, what);
}

U32 number(const Node& n, std::string_view key, U32 lo, U32 hi, std::string_view what) {
  const std::string range =
      what.empty() ? "a number from " + std::to_string(lo) + " to " + std::to_string(hi)
                   : std::string(what);
  const auto v = parseUnsigned(textOf(n, key, range));
  if (!v || *v < lo || *v > hi) expected(n, key, range);
  return static_cast<U32>(*v);
}

S64 signedNumber(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "a signed 64-bit number";
  const auto v = parseSigned(textOf(n, key, kWhat));
  if (!v) expected(n, key, kWhat);
  return *v;
}

bool boolean(const Node& n, std::string_view key) {
  const std::string_view s = textOf(n, key, "true or false");
  if (s == "true" || s == "True" || s == "TRUE") return true;
  if (s == "false" || s == "False" || s == "FALSE") return false;
  expected(n, key, "true or false");
}

bool optionalBool(const Fields& f, std::string_view key, bool fallback) {
  const Node* v = f.get(key);
  return v ? boolean(*v, key) : fallback;
}

const Node& list(const Node& n, std::string_view key, std::string_view what) {
  if (!n.isList()) expected(n, key, what);
  return n;
}

Acl::MatchPermit action(const Node& n) {
  constexpr std::string_view kWhat = "permit or deny";
  const std::string_view s = textOf(n, "action", kWhat);
  if (s == "permit" || s == "0") return Acl::permit;
  if (s == "deny" || s == "1") return Acl::deny;
  expected(n, "action", kWhat);
}

std::map<U32, U32> asNumbers(const Node& n, std::string_view key) {
  std::map<U32, U32> out;
  U32 position = 0;
  for (const Node& x : list(n, key, "a list of AS numbers").items()) {
    out.emplace(position++, number(x, key));
  }
  return out;
}

float bandwidth(const Node& n) {
  constexpr std::string_view kWhat = "a bandwidth (a non-negative number)";
  // strtod reads up to a NUL, which the document's text does not end with.
  const std::string s(textOf(n, "bandwidth", kWhat));
  if (s.empty()) expected(n, "bandwidth", kWhat);
  errno = 0;
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  if (errno != 0 || end != s.c_str() + s.size() || !std::isfinite(v) || v < 0 ||
      v > std::numeric_limits<float>::max()) {
    expected(n, "bandwidth", kWhat);
  }
  return static_cast<float>(v);
}

// --- Addresses ----------------------------------------------------------------------------

Vela::IpAddr ipv4(const Node& n, std::string_view key) {
  const auto a = Vela::IpAddr::parse(textOf(n, key, "an IPv4 address"));
  if (!a) expected(n, key, "an IPv4 address A.B.C.D");
  return *a;
}

Vela::Ip6Addr ipv6(const Node& n, std::string_view key) {
  const auto a = Vela::Ip6Addr::parse(textOf(n, key, "an IPv6 address"));
  if (!a) expected(n, key, "an IPv6 address");
  return *a;
}

// Splits "ADDRESS/LENGTH" and checks the length against `maxLength`; the address part is
// left to the caller.
std::pair<std::string_view, U32> splitPrefix(const Node& n, std::string_view key,
                                             std::string_view what, U32 maxLength) {
  const std::string_view s = textOf(n, key, what);
  const std::size_t slash = s.find('/');
  if (slash == std::string::npos) expected(n, key, what);
  const auto len = parseUnsigned(std::string_view(s).substr(slash + 1));
  if (!len || std::string_view(s).substr(slash + 1).starts_with("0x")) expected(n, key, what);
  if (*len > maxLength) {
    fail(n, std::string(key) + ": prefix length " + std::to_string(*len) +
                " out of range (expected 0 to " + std::to_string(maxLength) + ") in " + quote(s));
  }
  return {std::string_view(s).substr(0, slash), static_cast<U32>(*len)};
}

// "ADDRESS/LENGTH" of one family, the length within the family's bits.
template <class Prefix, class Address>
Prefix prefix(const Node& n, std::string_view key, std::string_view what, U32 maxLength,
              std::string_view family) {
  const auto [addr, len] = splitPrefix(n, key, what, maxLength);
  const auto a = Address::parse(addr);
  if (!a) {
    fail(n, std::string(key) + ": bad " + std::string(family) + " address " + quote(addr) + " in " +
                describe(n));
  }
  return Prefix(*a, len);
}

Vela::Prefix ipv4Prefix(const Node& n, std::string_view key) {
  return prefix<Vela::Prefix, Vela::IpAddr>(n, key, "an IPv4 prefix A.B.C.D/N", 32, "IPv4");
}

Vela::Ip6Prefix ipv6Prefix(const Node& n, std::string_view key) {
  return prefix<Vela::Ip6Prefix, Vela::Ip6Addr>(n, key, "an IPv6 prefix ADDRESS/N", 128, "IPv6");
}

// "A.B.C.D/M.M.M.M" or "A.B.C.D/N".
Vela::IpAddrWithFullMask addressWithMask(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "an IPv4 address with a mask, A.B.C.D/M.M.M.M or A.B.C.D/N";
  const std::string_view s = textOf(n, key, kWhat);
  const std::size_t slash = s.find('/');
  if (slash == std::string::npos) expected(n, key, kWhat);
  const std::string_view addr = std::string_view(s).substr(0, slash);
  const std::string_view mask = std::string_view(s).substr(slash + 1);
  const auto a = Vela::IpAddr::parse(addr);
  if (!a) fail(n, std::string(key) + ": bad IPv4 address " + quote(addr) + " in " + quote(s));
  if (mask.find('.') != std::string_view::npos) {
    const auto m = Vela::IpAddr::parse(mask);
    if (!m) fail(n, std::string(key) + ": bad mask " + quote(mask) + " in " + quote(s));
    return Vela::IpAddrWithFullMask(*a, m->value());
  }
  const auto len = parseUnsigned(mask);
  if (!len || mask.starts_with("0x")) expected(n, key, kWhat);
  if (*len > 32) {
    fail(n, std::string(key) + ": prefix length " + std::to_string(*len) +
                " out of range (expected 0 to 32) in " + quote(s));
  }
  const U32 bits = *len == 0 ? 0u : ~0u << (32 - *len);
  return Vela::IpAddrWithFullMask(*a, bits);
}

// --- Communities --------------------------------------------------------------------------

namespace {

std::vector<std::string_view> splitColons(std::string_view s) {
  std::vector<std::string_view> out;
  std::size_t start = 0;
  for (;;) {
    const std::size_t at = s.find(':', start);
    out.push_back(
        s.substr(start, at == std::string_view::npos ? std::string_view::npos : at - start));
    if (at == std::string_view::npos) return out;
    start = at + 1;
  }
}

// The well-known standard communities by the names people write them with.
constexpr std::pair<std::string_view, U32> kWellKnownCommunities[] = {
    {"internet", 0x00000000},  {"graceful-shutdown", 0xffff0000}, {"blackhole", 0xffff029a},
    {"no-export", 0xffffff01}, {"no-advertise", 0xffffff02},      {"local-AS", 0xffffff03},
};

// A dotted IPv4 address, or nothing.
std::optional<U32> dottedAddress(std::string_view s) {
  U32 address = 0;
  std::size_t parts = 0;
  for (std::size_t start = 0; start <= s.size(); ++parts) {
    const std::size_t dot = std::min(s.find('.', start), s.size());
    const std::string_view part = s.substr(start, dot - start);
    const auto v = part.size() > 3 ? std::nullopt : parseUnsigned(part);
    if (!v || *v > 255 || parts == 4) return std::nullopt;
    address = (address << 8) | static_cast<U32>(*v);
    start = dot + 1;
  }
  return parts == 4 ? std::optional<U32>(address) : std::nullopt;
}

// A route target or site of origin as the stream prints it (rt:64496:100, rt:192.0.2.1:7,
// soo:4200000000:9), or nothing: the transitive two-byte AS, IPv4 address and four-byte AS
// kinds, chosen by the administrator part as the printer chooses them, so that what it prints
// reads back as the same value.
std::optional<std::uint64_t> routeTargetOrOrigin(std::string_view s) {
  U32 subType = 0;
  if (s.starts_with("rt:")) {
    subType = 2;
  } else if (s.starts_with("soo:")) {
    subType = 3;
  } else {
    return std::nullopt;
  }
  s.remove_prefix(s.find(':') + 1);
  const std::size_t colon = s.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto local = parseUnsigned(s.substr(colon + 1));
  const std::string_view admin = s.substr(0, colon);
  if (!local) return std::nullopt;
  U32 upper = 0;
  U32 lower = 0;
  if (admin.find('.') != std::string_view::npos) {
    const auto address = dottedAddress(admin);
    if (!address || *local > 0xffff) return std::nullopt;
    upper = (0x01u << 24) | (subType << 16) | (*address >> 16);
    lower = ((*address & 0xffff) << 16) | static_cast<U32>(*local);
  } else {
    const auto as = parseUnsigned(admin);
    if (!as || *as > 0xffffffffu) return std::nullopt;
    if (*as <= 0xffff) {
      if (*local > 0xffffffffu) return std::nullopt;
      upper = (subType << 16) | static_cast<U32>(*as);
      lower = static_cast<U32>(*local);
    } else {
      if (*local > 0xffff) return std::nullopt;
      upper = (0x02u << 24) | (subType << 16) | static_cast<U32>(*as >> 16);
      lower = static_cast<U32>(((*as & 0xffff) << 16) | *local);
    }
  }
  return (static_cast<std::uint64_t>(upper) << 32) | lower;
}

}  // namespace

U32 standardCommunity(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat =
      "a standard community AA:NN, a 32-bit number or a well-known name (internet, "
      "graceful-shutdown, blackhole, no-export, no-advertise, local-AS)";
  const std::string_view s = textOf(n, key, kWhat);
  for (const auto& [wellKnown, value] : kWellKnownCommunities) {
    if (s == wellKnown) return value;
  }
  const auto parts = splitColons(s);
  if (parts.size() == 1) {
    const auto v = parseUnsigned(s);
    if (!v || *v > 0xffffffffu) expected(n, key, kWhat);
    return static_cast<U32>(*v);
  }
  if (parts.size() != 2) expected(n, key, kWhat);
  const auto hi = parseUnsigned(parts[0]);
  const auto lo = parseUnsigned(parts[1]);
  if (!hi || !lo || *hi > 0xffff || *lo > 0xffff) expected(n, key, kWhat);
  return static_cast<U32>((*hi << 16) | *lo);
}

std::uint64_t extendedCommunity(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat =
      "an extended community as a 64-bit number, rt:AS:N, rt:A.B.C.D:N, soo:AS:N or "
      "soo:A.B.C.D:N";
  const std::string_view s = textOf(n, key, kWhat);
  if (s.starts_with("rt:") || s.starts_with("soo:")) {
    const auto v = routeTargetOrOrigin(s);
    if (!v) expected(n, key, kWhat);
    return *v;
  }
  const auto v = parseUnsigned(s);
  if (!v) expected(n, key, kWhat);
  return *v;
}

Routing::RouteMap::LargeCommunity largeCommunity(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat = "a large community G:L1:L2";
  const auto parts = splitColons(textOf(n, key, kWhat));
  if (parts.size() != 3) expected(n, key, kWhat);
  U32 words[3];
  for (std::size_t i = 0; i < 3; ++i) {
    const auto v = parseUnsigned(parts[i]);
    if (!v || *v > 0xffffffffu) expected(n, key, kWhat);
    words[i] = static_cast<U32>(*v);
  }
  return {words[0], words[1], words[2]};
}

Acl::CommSetFlag commSetFlag(const Node& n, std::string_view key) {
  constexpr std::string_view kWhat =
      "a community-set flag from 0 to 3 or its name (none, delete, additive, replace)";
  const std::string_view s = textOf(n, key, kWhat);
  for (U32 flag = 0; flag < std::size(kCommSetFlagNames); ++flag) {
    if (s == kCommSetFlagNames[flag]) return static_cast<Acl::CommSetFlag>(flag);
  }
  const auto f = Acl::sequenceToValue(s);
  if (!f || static_cast<U32>(*f) > 3) expected(n, key, kWhat);
  return *f;
}

Acl::CommunityListType communityListType(const Node& n) {
  constexpr std::string_view kWhat =
      "standard, standard-regex, extended, extended-regex, large, large-regex or 0 to 5";
  const std::string_view s = textOf(n, "type", kWhat);
  for (const CommunityListTypeRow& row : kCommunityListTypes) {
    if (s == row.name) return row.type;
  }
  return static_cast<Acl::CommunityListType>(number(n, "type", 0, 5, kWhat));
}

Acl::CommunityValue communityValue(const Node& n, Acl::CommunityListType t) {
  switch (t) {
    case Acl::standardValues:
    case Acl::standardRegex:
      return Acl::CommunityValue::standard(standardCommunity(n, "communities"));
    case Acl::extendedValues:
    case Acl::extendedRegex:
      return Acl::CommunityValue::extended(extendedCommunity(n, "communities"));
    case Acl::largeValues:
    case Acl::largeRegex: {
      const Routing::RouteMap::LargeCommunity l = largeCommunity(n, "communities");
      return Acl::CommunityValue::large(l.global, l.local1, l.local2);
    }
  }
  return {};
}

}  // namespace ribpolicy::reader
