// Network address and prefix values of the configuration, with their text forms.
//
// Addresses are kept as values in network byte order semantics: an IpAddr holds the IPv4
// address as a host-order 32-bit number (10.0.0.1 is 0x0a000001); an Ip6Addr holds the sixteen
// address bytes in wire order. `parse` functions return nothing for malformed text, so the
// callers decide how to report it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace Vela {

class IpAddr {
 public:
  constexpr IpAddr() = default;
  constexpr explicit IpAddr(std::uint32_t hostOrder) : value_(hostOrder) {}
  static std::optional<IpAddr> parse(std::string_view text);

  constexpr std::uint32_t value() const { return value_; }
  std::string toString() const;
  friend constexpr bool operator==(IpAddr, IpAddr) = default;
  // clang-tidy 14 takes the 0 that a defaulted <=> compares its result with for a null pointer
  // where a caller uses `<`.
  friend constexpr auto operator<=>(IpAddr, IpAddr) = default;  // NOLINT(modernize-use-nullptr)

 private:
  std::uint32_t value_ = 0;
};

class Ip6Addr {
 public:
  using Bytes = std::array<std::uint8_t, 16>;
  constexpr Ip6Addr() = default;
  constexpr explicit Ip6Addr(const Bytes& b) : bytes_(b) {}
  // RFC 4291 text: eight groups, "::" for one run of zero groups, an IPv4 tail allowed.
  static std::optional<Ip6Addr> parse(std::string_view text);

  const Bytes& bytes() const { return bytes_; }
  // RFC 5952 canonical text: lower case, longest zero run of two or more groups as "::".
  std::string toString() const;
  friend bool operator==(const Ip6Addr&, const Ip6Addr&) = default;
  friend auto operator<=>(const Ip6Addr&,
                          const Ip6Addr&) = default;  // NOLINT(modernize-use-nullptr)

 private:
  Bytes bytes_{};
};

class Prefix {
 public:
  constexpr Prefix() = default;
  constexpr Prefix(IpAddr a, std::uint32_t len) : addr_(a), len_(len) {}
  // "A.B.C.D/N" with N from 0 to 32.
  static std::optional<Prefix> parse(std::string_view text);

  IpAddr address() const { return addr_; }
  std::uint32_t length() const { return len_; }
  std::string toString() const;
  friend bool operator==(const Prefix&, const Prefix&) = default;

 private:
  IpAddr addr_;
  std::uint32_t len_ = 0;
};

class Ip6Prefix {
 public:
  Ip6Prefix() = default;
  Ip6Prefix(const Ip6Addr& a, std::uint32_t len) : addr_(a), len_(len) {}
  // "ADDR/N" with N from 0 to 128.
  static std::optional<Ip6Prefix> parse(std::string_view text);

  const Ip6Addr& address() const { return addr_; }
  std::uint32_t length() const { return len_; }
  std::string toString() const;
  friend bool operator==(const Ip6Prefix&, const Ip6Prefix&) = default;

 private:
  Ip6Addr addr_;
  std::uint32_t len_ = 0;
};

// An IPv4 address with a full 32-bit mask (a standard access list's source).
class IpAddrWithFullMask {
 public:
  IpAddrWithFullMask() = default;
  // `mask` is a host-order 32-bit number (255.255.255.0 is 0xffffff00).
  IpAddrWithFullMask(IpAddr a, std::uint32_t mask) : addr_(a), mask_(mask) {}
  // "A.B.C.D/M.M.M.M" or "A.B.C.D/N" (N from 0 to 32).
  static std::optional<IpAddrWithFullMask> parse(std::string_view text);

  IpAddr address() const { return addr_; }
  std::uint32_t mask() const { return mask_; }
  std::string toString() const;
  friend bool operator==(const IpAddrWithFullMask&, const IpAddrWithFullMask&) = default;

 private:
  IpAddr addr_;
  std::uint32_t mask_ = 0;
};

std::ostream& operator<<(std::ostream& os, IpAddr a);
std::ostream& operator<<(std::ostream& os, const Ip6Addr& a);
std::ostream& operator<<(std::ostream& os, const Prefix& p);
std::ostream& operator<<(std::ostream& os, const Ip6Prefix& p);

// The kernel's name of a configured interface. Configured names use the long forms
// "Ethernet1/2", "Port-Channel10", "Vlan100", "Loopback0", "Management1"; the kernel's names
// are short and may not hold "/" or ".": the long form is replaced by its short form ("et",
// "po", "vlan", "lo", "ma") when it begins the name (case-insensitively), and every "/" and
// "." becomes "_", so "Ethernet1/2" is "et1_2" and "Ethernet3/1.100" is "et3_1_100". A name
// of none of these forms is returned unchanged. The conversion is pure and deterministic.
std::string orbIntfToKernelIntf(std::string_view configured);

}  // namespace Vela
