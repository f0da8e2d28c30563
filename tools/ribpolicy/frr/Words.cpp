#include "tools/ribpolicy/frr/Words.h"

#include <regex.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "RibText/TagNames.h"

namespace frr {

namespace {

struct WellKnown {
  U32 value;
  const char* name;
};

// The communities FRR prints by name.
constexpr std::array kWellKnown = {
    WellKnown{0x00000000, "internet"},        WellKnown{0xFFFF0000, "graceful-shutdown"},
    WellKnown{0xFFFF0001, "accept-own"},      WellKnown{0xFFFF0002, "route-filter-translated-v4"},
    WellKnown{0xFFFF0003, "route-filter-v4"}, WellKnown{0xFFFF0004, "route-filter-translated-v6"},
    WellKnown{0xFFFF0005, "route-filter-v6"}, WellKnown{0xFFFF0006, "llgr-stale"},
    WellKnown{0xFFFF0007, "no-llgr"},         WellKnown{0xFFFF0008, "accept-own-nexthop"},
    WellKnown{0xFFFF029A, "blackhole"},       WellKnown{0xFFFFFF01, "no-export"},
    WellKnown{0xFFFFFF02, "no-advertise"},    WellKnown{0xFFFFFF03, "local-AS"},
    WellKnown{0xFFFFFF04, "no-peer"},
};

bool compiles(const std::string& expression) {
  regex_t re;
  const int rc = regcomp(&re, expression.c_str(), REG_EXTENDED | REG_NOSUB);
  if (rc == 0) regfree(&re);
  return rc == 0;
}

}  // namespace

std::string standardCommunity(U32 value) {
  for (const WellKnown& w : kWellKnown) {
    if (w.value == value) return w.name;
  }
  return std::to_string(value >> 16) + ':' + std::to_string(value & 0xffff);
}

std::optional<std::string> communityValues(U32 kind, const std::vector<U32>& words,
                                           std::string& problem) {
  const std::size_t width = kind + 1;
  if (kind > 2 || words.size() % width != 0) {
    problem = "community values of an unknown width";
    return std::nullopt;
  }
  if (words.empty()) {
    problem = "no community values";
    return std::nullopt;
  }
  using Value = std::array<U32, 3>;
  std::vector<Value> values;
  for (std::size_t i = 0; i < words.size(); i += width) {
    Value v{};
    std::copy_n(words.begin() + static_cast<std::ptrdiff_t>(i), width, v.begin());
    values.push_back(v);
  }
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  std::string out;
  for (const Value& v : values) {
    std::string word;
    if (kind == 0) {
      word = standardCommunity(v[0]);
    } else if (kind == 2) {
      word = RibText::largeCommunity(v[0], v[1], v[2]);
    } else {
      word = RibText::extendedCommunity(v[0], v[1]);
      const bool rt = word.starts_with("rt:");
      if (!rt && !word.starts_with("soo:")) {
        problem = "extended community " + word + " is neither a route target nor a site of origin";
        return std::nullopt;
      }
      word[rt ? 2 : 3] = ' ';
    }
    if (!out.empty()) out += ' ';
    out += word;
  }
  return out;
}

std::optional<std::string> asPathExpressionProblem(std::string_view regex) {
  if (regex.empty()) return "an empty expression";
  constexpr std::string_view kTaken = " ^$.*+?()[]{}|_-,\\";
  std::string expanded;
  for (const char c : regex) {
    if ((c < '0' || c > '9') && kTaken.find(c) == std::string_view::npos) {
      return std::string("the expression holds '") + c +
             "'; FRR takes digits, blanks and ^$.*+?()[]{}|_-,\\ only";
    }
    // `_` stands for what may separate AS numbers; any group keeps the compile check honest.
    if (c == '_') {
      expanded += "(^|[,{}() ]|$)";
    } else {
      expanded += c;
    }
  }
  if (!compiles(expanded)) return "the expression does not compile";
  return std::nullopt;
}

std::optional<std::string> communityExpressionProblem(std::string_view regex) {
  if (regex.empty()) return "an empty expression";
  if (!compiles(std::string(regex))) return "the expression does not compile";
  return std::nullopt;
}

std::optional<std::string> nextHopProblem(Vela::IpAddr address) {
  const U32 v = address.value();
  if (v == 0 || v == 0xffffffff || (v >> 28) >= 0xe) {
    return "FRR takes no next hop " + address.toString();
  }
  return std::nullopt;
}

std::optional<std::string> nextHopProblem(const Vela::Ip6Addr& address) {
  const Vela::Ip6Addr::Bytes& b = address.bytes();
  const bool zeroHead = std::all_of(b.begin(), b.end() - 1, [](std::uint8_t x) { return x == 0; });
  const bool unspecifiedOrLoopback = zeroHead && b[15] <= 1;
  const bool linkLocal = b[0] == 0xfe && (b[1] & 0xc0) == 0x80;
  const bool multicast = b[0] == 0xff;
  if (unspecifiedOrLoopback || linkLocal || multicast) {
    return "FRR takes no global next hop " + address.toString();
  }
  return std::nullopt;
}

std::string prefixText(Vela::IpAddr address, U32 length) {
  const U32 mask = length == 0 ? 0 : length >= 32 ? 0xffffffffu : ~(0xffffffffu >> length);
  return Vela::IpAddr(address.value() & mask).toString() + '/' + std::to_string(length);
}

std::string prefixText(const Vela::Ip6Addr& address, U32 length) {
  Vela::Ip6Addr::Bytes b = address.bytes();
  for (std::size_t i = 0; i < b.size(); ++i) {
    const U32 bits = i * 8;
    if (bits >= length) {
      b[i] = 0;
    } else if (length - bits < 8) {
      b[i] = static_cast<std::uint8_t>(b[i] & (0xff << (8 - (length - bits))));
    }
  }
  return Vela::Ip6Addr(b).toString() + '/' + std::to_string(length);
}

std::string oneLine(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto b = static_cast<unsigned char>(c);
    if (b >= 0x20 && b != 0x7f) {
      out += c;
      continue;
    }
    char hex[5];
    std::snprintf(hex, sizeof hex, "\\x%02x", b);
    out += hex;
  }
  return out;
}

bool numberedListName(std::string_view name) {
  return !name.empty() &&
         std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace frr
