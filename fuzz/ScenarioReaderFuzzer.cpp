// Feeds arbitrary bytes to the scenario reader. The reader's contract is that any input is
// either a scenario or an InputError that points into the input with a one-line message;
// anything else (another exception, a crash, a sanitizer report, a leak, a hang) is a fault
// that libFuzzer reports with the input that caused it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/ribpolicy/ScenarioParser.h"

namespace {

// The position must lie on a line of the input (one past the last line for a fault at the
// very end) and the message must stay on one line, as ribpolicy prints it.
void checkError(const ribpolicy::InputError& e, std::string_view text) {
  std::size_t lines = 1;
  for (char c : text) lines += c == '\n' ? 1 : 0;
  if (e.line() < 1 || e.column() < 1 || static_cast<std::size_t>(e.line()) > lines) std::abort();
  const std::string shown = e.format("f");
  if (std::string_view(e.what()).empty()) std::abort();
  for (char c : shown) {
    if (c == '\n' || c == '\r') std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    ribpolicy::parseScenario(text);
  } catch (const ribpolicy::InputError& e) {
    checkError(e, text);
  }
  return 0;
}
