#include "tools/ribpolicy/format/EntryChecks.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <optional>
#include <regex>
#include <set>
#include <string_view>
#include <tuple>
#include <vector>

#include "tools/ribpolicy/format/Format.h"

namespace ribpolicy::reader {

void checkLengthRange(const Fields& f, const std::string& prefix, U32 length, U32 ge, U32 le) {
  const std::string ofPrefix = " the prefix length of " + prefix;
  if (le != 0 && le < length) {
    fail(f.need("le"), "le: " + std::to_string(le) + " is below" + ofPrefix +
                           "; the entry would match no prefix");
  }
  if (ge != 0 && ge < length) {
    fail(f.need("ge"), "ge: " + std::to_string(ge) + " is below" + ofPrefix + " (expected " +
                           std::to_string(length) + " or more, or no ge for none)");
  }
  if (ge != 0 && le != 0 && ge > le) {
    fail(f.need("ge"), "ge: " + std::to_string(ge) + " is above le " + std::to_string(le) +
                           "; the entry would match no prefix");
  }
}

namespace {

// The compilers of both dialects descend once per nesting level and per term, so a long or
// deeply nested text could exhaust the stack; no AS path needs either.
constexpr std::size_t kLongestExpression = 1024;
constexpr std::size_t kDeepestNesting = 64;

// Why `regex` is not an expression of the dialect `flags` gives, or nothing when it is.
std::optional<std::string> compileError(const std::string& regex,
                                        std::regex_constants::syntax_option_type flags) {
  try {
    const std::regex compiled(regex, flags | std::regex::nosubs);
    return std::nullopt;
  } catch (const std::regex_error& e) {
    std::string why = e.what();
    while (!why.empty() && (why.back() == '.' || why.back() == ' ')) why.pop_back();
    return why;
  }
}

}  // namespace

std::pair<bool, bool> asPathDialects(const Node& n, const std::string& regex) {
  if (regex.size() > kLongestExpression) {
    fail(n, "regex: an expression of " + std::to_string(regex.size()) + " bytes (at most " +
                std::to_string(kLongestExpression) + ")");
  }
  std::size_t depth = 0;
  for (const char c : regex) {
    depth += c == '(' ? 1 : 0;
    if (depth > kDeepestNesting) {
      fail(n, "regex: parentheses nested deeper than " + std::to_string(kDeepestNesting));
    }
    if (c == ')' && depth > 0) --depth;
  }
  const std::optional<std::string> posix = compileError(regex, std::regex::extended);
  const std::optional<std::string> perl = compileError(regex, std::regex::ECMAScript);
  if (posix && perl) {
    fail(n,
         "regex: " + quote(regex) + " is a regular expression in neither dialect (" + *posix + ")");
  }
  return {!posix, !perl};
}

namespace {

std::string hostBitsText(const std::string& what, const std::string& written, const char* past,
                         const std::string& network) {
  return what + ' ' + written + " has host bits set past its " + past +
         "; the engine gets the address as written (the network is " + network + ")";
}

}  // namespace

std::optional<std::string> hostBitsNote(const Vela::Prefix& p) {
  const std::uint32_t mask = p.length() == 0 ? 0u : ~0u << (32 - p.length());
  if ((p.address().value() & ~mask) == 0) return std::nullopt;
  return hostBitsText(
      "prefix", p.toString(), "length",
      Vela::Prefix(Vela::IpAddr(p.address().value() & mask), p.length()).toString());
}

std::optional<std::string> hostBitsNote(const Vela::Ip6Prefix& p) {
  Vela::Ip6Addr::Bytes bytes = p.address().bytes();
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::size_t kept = p.length() > 8 * i ? p.length() - 8 * i : 0;
    if (kept < 8) bytes[i] &= static_cast<std::uint8_t>(0xff00u >> kept);
  }
  if (bytes == p.address().bytes()) return std::nullopt;
  return hostBitsText("prefix", p.toString(), "length",
                      Vela::Ip6Prefix(Vela::Ip6Addr(bytes), p.length()).toString());
}

std::optional<std::string> hostBitsNote(const Vela::IpAddrWithFullMask& source) {
  const std::uint32_t address = source.address().value();
  if ((address & ~source.mask()) == 0) return std::nullopt;
  return hostBitsText(
      "source", source.toString(), "mask",
      Vela::IpAddrWithFullMask(Vela::IpAddr(address & source.mask()), source.mask()).toString());
}

namespace {

// A list stops at the first entry that matches, so nothing after an entry that matches
// everything is ever reached: one warning, at the first entry after it.
template <class Entries, class MatchesAll>
void afterCatchAll(const std::string& what, const Entries& entries, MatchesAll matchesAll,
                   const char* everything, EntryNotes& out) {
  for (auto it = entries.begin(); it != entries.end(); ++it) {
    if (!matchesAll(it->second)) continue;
    const auto next = std::next(it);
    if (next == entries.end()) return;
    const auto more = static_cast<std::size_t>(std::distance(next, entries.end())) - 1;
    std::string message = what + " entry " + std::to_string(next->first) +
                          " is never reached: entry " + std::to_string(it->first) +
                          " before it matches " + everything;
    if (more == 1) message += " (nor is the entry after it)";
    if (more > 1) message += " (nor are the " + std::to_string(more) + " entries after it)";
    out.push_back({next->first, WarningClass::unreachable, std::move(message)});
    return;
  }
}

template <class Entry>
EntryNotes prefixNotes(const std::string& what, const std::map<U32, Entry>& entries, U32 longest) {
  EntryNotes out;
  afterCatchAll(
      what, entries,
      [&](const Entry& e) { return e.prefix.length() == 0 && e.ge == 0 && e.le == longest; },
      "every prefix", out);
  return out;
}

}  // namespace

EntryNotes listNotes(const std::string& what, const std::map<U32, Acl::PrefixEntry>& entries) {
  return prefixNotes(what, entries, 32);
}

EntryNotes listNotes(const std::string& what, const std::map<U32, Acl::Ipv6PrefixEntry>& entries) {
  return prefixNotes(what, entries, 128);
}

EntryNotes listNotes(const std::string& what, const std::map<U32, Acl::RuleConfig>& entries) {
  EntryNotes out;
  afterCatchAll(
      what, entries, [](const Acl::RuleConfig& r) { return r.filter.source().mask() == 0; },
      "every address", out);
  return out;
}

EntryNotes listNotes(const std::string& what, const std::map<U32, MapEntryDef>& entries) {
  EntryNotes out;
  afterCatchAll(
      what, entries, [](const MapEntryDef& e) { return e.match.empty(); },
      "every route (it has no match rules)", out);
  // Those are reported already, and the shadowed ones come before them.
  const U32 reached = out.empty() ? std::numeric_limits<U32>::max() : out.front().seq;
  // An entry whose every match rule a later entry also holds takes every route the later one
  // would: the later one is shadowed. Earlier entries are found by their first rule, so that a
  // long map of distinct rules costs one lookup per rule.
  using RuleKey =
      std::tuple<Routing::RouteMap::MatchOption, std::string, U32, Vela::IpAddr, Vela::Ip6Addr, U32,
                 std::pair<U32, U32>, bool, std::set<std::string>, bool>;
  auto key = [](const Routing::RouteMap::MatchRule& r) {
    return RuleKey(r.option, r.stringValue, r.intValue, r.ipAddr, r.ip6Addr, r.upper,
                   r.asPathLength, r.invert, r.commListSet.names(), r.exact);
  };
  std::map<RuleKey, std::vector<U32>> byFirstRule;
  for (const auto& item : entries) {
    const U32 seq = item.first;
    const MapEntryDef& entry = item.second;
    if (seq >= reached) break;
    std::optional<U32> shadow;
    for (const auto& [option, rule] : entry.match) {
      const auto found = byFirstRule.find(key(rule));
      if (found == byFirstRule.end()) continue;
      for (const U32 earlier : found->second) {
        if (shadow && *shadow < earlier) break;
        const auto& rules = entries.at(earlier).match;
        if (std::all_of(rules.begin(), rules.end(), [&](const auto& r) {
              const auto same = entry.match.find(r.first);
              return same != entry.match.end() && same->second == r.second;
            })) {
          shadow = earlier;
          break;
        }
      }
    }
    if (!entry.match.empty()) byFirstRule[key(entry.match.begin()->second)].push_back(seq);
    if (!shadow) continue;
    const auto& rules = entries.at(*shadow).match;
    std::string message = what;
    message += " entry " + std::to_string(seq) + " is never reached: entry " +
               std::to_string(*shadow) + " before it takes every route it would (";
    for (auto r = rules.begin(); r != rules.end(); ++r) {
      message += (r == rules.begin() ? "match " : ", match ") + optionLabel(r->first);
    }
    message += rules.size() == entry.match.size() ? ", the same rules)" : ", fewer rules)";
    out.push_back({seq, WarningClass::shadowed, std::move(message)});
  }
  return out;
}

}  // namespace ribpolicy::reader
