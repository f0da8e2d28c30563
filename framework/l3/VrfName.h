// The name of a VRF, bounded in length like an interface name.
#pragma once

#include <string>
#include <string_view>

namespace L3 {

class VrfName {
 public:
  static constexpr std::size_t maxLength = 64;

  VrfName() = default;
  // A name longer than maxLength is refused with a fatal error.
  VrfName(std::string_view name);  // NOLINT(google-explicit-constructor)
  VrfName(const char* name) : VrfName(std::string_view(name)) {}  // NOLINT

  const std::string& string() const { return name_; }
  bool empty() const { return name_.empty(); }
  friend bool operator==(const VrfName&, const VrfName&) = default;

 private:
  std::string name_;
};

std::ostream& operator<<(std::ostream& os, const VrfName& v);

}  // namespace L3
