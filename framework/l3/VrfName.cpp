#include "framework/l3/VrfName.h"

#include <ostream>

#include "framework/vox/Fatal.h"

namespace L3 {

VrfName::VrfName(std::string_view name) : name_(name) {
  if (name_.size() > maxLength) Vox::fatal("VrfName::bytes > VrfName::maxLength not allowed");
}

std::ostream& operator<<(std::ostream& os, const VrfName& v) {
  return os << v.string();
}

}  // namespace L3
