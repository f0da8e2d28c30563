// Feeds arbitrary bytes to the scenario reader. The reader's contract is that any input is
// either a scenario or an InputError that points into the input with a one-line message;
// anything else (another exception, a crash, a sanitizer report, a leak, a hang) is a fault
// that libFuzzer reports with the input that caused it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/ribpolicy/format/ScenarioParser.h"

namespace {

// The lines of the input as YAML counts them: a line ends at LF, CR LF, a lone CR, or the
// UTF-8 forms of NEL, LS and PS.
std::size_t lineCount(std::string_view text) {
  std::size_t lines = 1;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string_view rest = text.substr(i);
    if (rest[0] == '\n' || (rest[0] == '\r' && !rest.starts_with("\r\n")) ||
        rest.starts_with("\xc2\x85") || rest.starts_with("\xe2\x80\xa8") ||
        rest.starts_with("\xe2\x80\xa9")) {
      ++lines;
    }
  }
  return lines;
}

// The position must lie on a line of the input (one past the last line for a fault at the
// very end) and the message must stay on one line, as ribpolicy prints it.
void checkError(const ribpolicy::InputError& e, std::string_view text) {
  const std::size_t lines = lineCount(text);
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
