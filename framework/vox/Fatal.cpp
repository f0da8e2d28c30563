#include "framework/vox/Fatal.h"

#include <cstdio>
#include <cstdlib>

namespace Vox {

void fatal(std::string_view message) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  std::fflush(stderr);
  std::abort();
}

}  // namespace Vox
