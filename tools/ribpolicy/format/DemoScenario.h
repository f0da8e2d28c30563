// The built-in demo scenario, examples/demo.yaml compiled into the program.
#pragma once

#include <string_view>

namespace ribpolicy {

std::string_view demoScenario();

}  // namespace ribpolicy
