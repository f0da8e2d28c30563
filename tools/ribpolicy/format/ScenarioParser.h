// Reads a scenario from YAML text and checks every value before anything reaches the
// library: bad input becomes an InputError naming the position (1-based line and column),
// the offending key or value and what was expected. The format is the one Format.h lays out.
#pragma once

#include <functional>
#include <istream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/format/YamlDocument.h"

namespace ribpolicy {

// Parses and validates `text`; throws InputError on the first problem.
Scenario parseScenario(std::string_view text);

// The same for the text that `in` holds, read a piece at a time so that it is never held
// whole; `reread` returns the whole text again, which is read only to place an error that
// the YAML parser names by a byte offset (a byte it refuses, an unknown escape).
Scenario parseScenario(std::istream& in, const std::function<std::string()>& reread);

}  // namespace ribpolicy
