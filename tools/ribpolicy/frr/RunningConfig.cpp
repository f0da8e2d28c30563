#include "tools/ribpolicy/frr/RunningConfig.h"

#include <charconv>
#include <optional>
#include <vector>

#include "tools/ribpolicy/frr/Words.h"

namespace frr {

namespace {

std::vector<std::string_view> words(std::string_view line) {
  std::vector<std::string_view> out;
  while (!line.empty()) {
    const std::size_t blank = line.find(' ');
    if (blank != 0) out.push_back(line.substr(0, blank));
    if (blank == std::string_view::npos) break;
    line.remove_prefix(blank + 1);
  }
  return out;
}

std::optional<U32> number(std::string_view s) {
  U32 v = 0;
  const auto r = std::from_chars(s.data(), s.data() + s.size(), v);
  if (r.ec != std::errc() || r.ptr != s.data() + s.size()) return std::nullopt;
  return v;
}

// "permit 2001:db8::/32 le 64" with the prefix written as the translation writes it.
std::string prefixBody(std::string_view body, bool v6) {
  std::vector<std::string_view> w = words(body);
  if (w.size() < 2) return std::string(body);
  std::string prefix(w[1]);
  if (v6) {
    if (auto p = Vela::Ip6Prefix::parse(w[1])) prefix = prefixText(p->address(), p->length());
  } else if (auto p4 = Vela::Prefix::parse(w[1])) {
    prefix = prefixText(p4->address(), p4->length());
  }
  std::string out = std::string(w[0]) + ' ' + prefix;
  for (std::size_t i = 2; i < w.size(); ++i) out += ' ' + std::string(w[i]);
  return out;
}

// A route-map line with its IPv6 address written as the translation writes it.
std::string mapLine(std::string_view line) {
  for (std::string_view head : {"match ipv6 next-hop address ", "set ipv6 next-hop global "}) {
    if (!line.starts_with(head)) continue;
    if (auto a = Vela::Ip6Addr::parse(line.substr(head.size()))) {
      return std::string(head) + a->toString();
    }
  }
  return std::string(line);
}

// The rest of `line` after its first `n` words.
std::string_view after(std::string_view line, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return {};
    line.remove_prefix(blank + 1);
  }
  return line;
}

struct ListForm {
  std::string_view head;  // the words before the name
  Kind kind;
  bool typed;  // a community list: "standard", "expanded" or a number comes first
};

constexpr ListForm kListForms[] = {
    {"access-list", Kind::accessList, false},
    {"ip prefix-list", Kind::prefixList, false},
    {"ipv6 prefix-list", Kind::ipv6PrefixList, false},
    {"bgp as-path access-list", Kind::asPathList, false},
    {"bgp community-list", Kind::communityList, true},
    {"bgp extcommunity-list", Kind::extCommunityList, true},
    {"bgp large-community-list", Kind::largeCommunityList, true},
};

// Reads one list entry line into `config`; false when the line is none.
bool readListEntry(std::string_view line, Config& config) {
  for (const ListForm& f : kListForms) {
    if (!line.starts_with(f.head) || line.size() == f.head.size() || line[f.head.size()] != ' ') {
      continue;
    }
    const std::size_t headWords = words(f.head).size();
    const std::vector<std::string_view> w = words(line);
    std::size_t at = headWords;
    bool expanded = false;
    if (f.typed && at < w.size()) {
      if (w[at] == "standard" || w[at] == "expanded") {
        expanded = w[at] == "expanded";
        ++at;
      } else if (auto n = number(w[at])) {
        expanded = *n >= 100;  // FRR's numbered lists: 1-99 of values, 100-500 of expressions
      }
    }
    if (at + 3 >= w.size() || w[at + 1] != "seq") return false;
    const auto seq = number(w[at + 2]);
    if (!seq) return false;
    const std::string_view body = after(line, at + 3);
    Object& o = config.object(f.kind, std::string(w[at]));
    o.expanded = expanded;
    const bool prefix = f.kind == Kind::prefixList || f.kind == Kind::ipv6PrefixList;
    o.entries[*seq].body =
        prefix ? prefixBody(body, f.kind == Kind::ipv6PrefixList) : std::string(body);
    return true;
  }
  return false;
}

}  // namespace

Config parseRunningConfig(std::string_view text) {
  Config config;
  Entry* entry = nullptr;  // the route-map entry whose lines follow
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.starts_with(' ')) {
      const std::size_t first = line.find_first_not_of(' ');
      // A comment inside a route-map entry is no line of it (FRR prints none; the
      // translation's text holds its notes there).
      if (entry && first != std::string_view::npos && line[first] != '!') {
        entry->lines.push_back(mapLine(line.substr(first)));
      }
      continue;
    }
    entry = nullptr;
    if (line.starts_with("route-map ")) {
      const std::vector<std::string_view> w = words(line);
      const auto seq = w.size() == 4 ? number(w[3]) : std::nullopt;
      if (seq && (w[2] == "permit" || w[2] == "deny")) {
        entry = &config.object(Kind::routeMap, std::string(w[1])).entries[*seq];
        entry->body = std::string(w[2]);
      }
      continue;
    }
    readListEntry(line, config);
  }
  for (auto& [key, o] : config.objects) {
    for (auto& [seq, e] : o.entries) sortLines(e.lines);
  }
  return config;
}

}  // namespace frr
