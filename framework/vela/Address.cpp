#include "framework/vela/Address.h"

#include <cctype>
#include <cstdio>
#include <vector>

namespace Vela {

namespace {

// A decimal number of at most `maxDigits` digits and at most `max`; nothing otherwise.
std::optional<std::uint32_t> decimal(std::string_view s, std::uint32_t max, std::size_t maxDigits) {
  if (s.empty() || s.size() > maxDigits) return std::nullopt;
  std::uint64_t v = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return std::nullopt;
    v = v * 10 + static_cast<std::uint64_t>(c - '0');
  }
  if (v > max) return std::nullopt;
  return static_cast<std::uint32_t>(v);
}

std::optional<std::uint32_t> hexGroup(std::string_view s) {
  if (s.empty() || s.size() > 4) return std::nullopt;
  std::uint32_t v = 0;
  for (char c : s) {
    const int d = std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                  : (c >= 'a' && c <= 'f')                    ? c - 'a' + 10
                  : (c >= 'A' && c <= 'F')                    ? c - 'A' + 10
                                                              : -1;
    if (d < 0) return std::nullopt;
    v = v * 16 + static_cast<std::uint32_t>(d);
  }
  return v;
}

std::vector<std::string_view> split(std::string_view s, char sep) {
  std::vector<std::string_view> out;
  std::size_t start = 0;
  for (;;) {
    const std::size_t at = s.find(sep, start);
    out.push_back(
        s.substr(start, at == std::string_view::npos ? std::string_view::npos : at - start));
    if (at == std::string_view::npos) return out;
    start = at + 1;
  }
}

// Splits "ADDR/LEN" at the one slash.
bool splitPrefix(std::string_view text, std::string_view& addr, std::string_view& len) {
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos || text.find('/', slash + 1) != std::string_view::npos) {
    return false;
  }
  addr = text.substr(0, slash);
  len = text.substr(slash + 1);
  return true;
}

}  // namespace

std::optional<IpAddr> IpAddr::parse(std::string_view text) {
  const auto parts = split(text, '.');
  if (parts.size() != 4) return std::nullopt;
  std::uint32_t v = 0;
  for (auto p : parts) {
    auto octet = decimal(p, 255, 3);
    if (!octet) return std::nullopt;
    v = (v << 8) | *octet;
  }
  return IpAddr(v);
}

std::string IpAddr::toString() const {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%u.%u.%u.%u", (value_ >> 24) & 0xff, (value_ >> 16) & 0xff,
                (value_ >> 8) & 0xff, value_ & 0xff);
  return buf;
}

std::optional<Ip6Addr> Ip6Addr::parse(std::string_view text) {
  // Groups before and after the one "::" (if any); an IPv4 tail stands for two groups.
  std::vector<std::uint32_t> head, tail;
  std::string_view left = text, right;
  bool compressed = false;
  if (const std::size_t dc = text.find("::"); dc != std::string_view::npos) {
    if (text.find("::", dc + 1) != std::string_view::npos) return std::nullopt;
    compressed = true;
    left = text.substr(0, dc);
    right = text.substr(dc + 2);
  }
  auto groups = [](std::string_view s, std::vector<std::uint32_t>& out, bool allowV4) {
    if (s.empty()) return true;
    auto parts = split(s, ':');
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (allowV4 && i + 1 == parts.size() && parts[i].find('.') != std::string_view::npos) {
        auto v4 = IpAddr::parse(parts[i]);
        if (!v4) return false;
        out.push_back(v4->value() >> 16);
        out.push_back(v4->value() & 0xffff);
        continue;
      }
      auto g = hexGroup(parts[i]);
      if (!g) return false;
      out.push_back(*g);
    }
    return true;
  };
  if (!groups(left, head, !compressed) || !groups(right, tail, true)) return std::nullopt;
  const std::size_t n = head.size() + tail.size();
  if (compressed ? n > 7 : n != 8) return std::nullopt;
  std::vector<std::uint32_t> all = head;
  all.resize(8 - tail.size(), 0);
  all.insert(all.end(), tail.begin(), tail.end());
  Bytes b{};
  for (std::size_t i = 0; i < 8; ++i) {
    b[2 * i] = static_cast<std::uint8_t>(all[i] >> 8);
    b[2 * i + 1] = static_cast<std::uint8_t>(all[i]);
  }
  return Ip6Addr(b);
}

std::string Ip6Addr::toString() const {
  std::uint32_t g[8];
  for (std::size_t i = 0; i < 8; ++i) {
    g[i] = (std::uint32_t{bytes_[2 * i]} << 8) | bytes_[2 * i + 1];
  }
  // The longest run of two or more zero groups (the first of equal runs) becomes "::".
  int bestStart = -1, bestLen = 0;
  for (int i = 0; i < 8;) {
    if (g[i] != 0) {
      ++i;
      continue;
    }
    int j = i;
    while (j < 8 && g[j] == 0) ++j;
    if (j - i > bestLen && j - i >= 2) {
      bestStart = i;
      bestLen = j - i;
    }
    i = j;
  }
  std::string out;
  char buf[8];
  for (int i = 0; i < 8; ++i) {
    if (i == bestStart) {
      out += "::";
      i += bestLen - 1;
      continue;
    }
    if (!out.empty() && out.back() != ':') out += ':';
    std::snprintf(buf, sizeof buf, "%x", g[i]);
    out += buf;
  }
  return out;
}

std::optional<Prefix> Prefix::parse(std::string_view text) {
  std::string_view a, l;
  if (!splitPrefix(text, a, l)) return std::nullopt;
  auto addr = IpAddr::parse(a);
  auto len = decimal(l, 32, 2);
  if (!addr || !len) return std::nullopt;
  return Prefix(*addr, *len);
}

std::string Prefix::toString() const {
  return addr_.toString() + "/" + std::to_string(len_);
}

std::optional<Ip6Prefix> Ip6Prefix::parse(std::string_view text) {
  std::string_view a, l;
  if (!splitPrefix(text, a, l)) return std::nullopt;
  auto addr = Ip6Addr::parse(a);
  auto len = decimal(l, 128, 3);
  if (!addr || !len) return std::nullopt;
  return Ip6Prefix(*addr, *len);
}

std::string Ip6Prefix::toString() const {
  return addr_.toString() + "/" + std::to_string(len_);
}

std::optional<IpAddrWithFullMask> IpAddrWithFullMask::parse(std::string_view text) {
  std::string_view a, m;
  if (!splitPrefix(text, a, m)) return std::nullopt;
  auto addr = IpAddr::parse(a);
  if (!addr) return std::nullopt;
  if (m.find('.') != std::string_view::npos) {
    auto mask = IpAddr::parse(m);
    if (!mask) return std::nullopt;
    return IpAddrWithFullMask(*addr, mask->value());
  }
  auto len = decimal(m, 32, 2);
  if (!len) return std::nullopt;
  const std::uint32_t mask = *len == 0 ? 0 : ~std::uint32_t{0} << (32 - *len);
  return IpAddrWithFullMask(*addr, mask);
}

std::string IpAddrWithFullMask::toString() const {
  return addr_.toString() + "/" + IpAddr(mask_).toString();
}

std::ostream& operator<<(std::ostream& os, IpAddr a) {
  return os << a.toString();
}
std::ostream& operator<<(std::ostream& os, const Ip6Addr& a) {
  return os << a.toString();
}
std::ostream& operator<<(std::ostream& os, const Prefix& p) {
  return os << p.toString();
}
std::ostream& operator<<(std::ostream& os, const Ip6Prefix& p) {
  return os << p.toString();
}

std::string orbIntfToKernelIntf(std::string_view configured) {
  static constexpr std::pair<std::string_view, std::string_view> kShort[] = {{"port-channel", "po"},
                                                                             {"ethernet", "et"},
                                                                             {"management", "ma"},
                                                                             {"loopback", "lo"},
                                                                             {"vlan", "vlan"}};
  std::string out;
  for (const auto& [longForm, shortForm] : kShort) {
    if (configured.size() < longForm.size()) continue;
    bool match = true;
    for (std::size_t i = 0; i < longForm.size() && match; ++i) {
      match = std::tolower(static_cast<unsigned char>(configured[i])) == longForm[i];
    }
    if (match) {
      out = std::string(shortForm) + std::string(configured.substr(longForm.size()));
      break;
    }
  }
  if (out.empty()) return std::string(configured);
  for (char& c : out) {
    if (c == '/' || c == '.') c = '_';
  }
  return out;
}

}  // namespace Vela
