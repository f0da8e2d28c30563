#include "framework/config/AclTypes.h"

namespace Acl {

namespace {
constexpr const char* kFlagNames[] = {"commSetNone", "commSetDelete", "commSetAdditive",
                                      "commSetReplace"};
}

std::string valueToStrep(CommSetFlag f) {
  if (static_cast<U32>(f) < 4) return kFlagNames[f];
  return std::to_string(static_cast<U32>(f));
}

std::optional<CommSetFlag> sequenceToValue(std::string_view text) {
  for (U32 i = 0; i < 4; ++i) {
    if (text == kFlagNames[i]) return static_cast<CommSetFlag>(i);
  }
  if (text.empty() || text.size() > 9) return std::nullopt;
  U32 v = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    v = v * 10 + static_cast<U32>(c - '0');
  }
  return static_cast<CommSetFlag>(v);
}

}  // namespace Acl
