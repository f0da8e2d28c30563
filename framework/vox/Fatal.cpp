#include "framework/vox/Fatal.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace Vox {

void fatal(std::string_view message) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  std::fflush(stderr);
  std::abort();
}

void assertionFailed(std::string_view what) {
  std::string message = "Assertion failed: ";
  message += what;
  fatal(message);
}

}  // namespace Vox
