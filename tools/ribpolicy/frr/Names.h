// Whether FRR can hold a scenario's names and expressions as words of one configuration line.
//
// Every configured name and every name a configuration refers to reaches FRR as one word of a
// line, and every AS-path and community expression as the rest of one; a blank, a control
// character or a leading `!` would split the line, end it or turn it into a comment, so that a
// scenario could inject lines of its own into the daemon. Such a scenario is refused before
// anything reaches FRR, with an error at the name. The limits are FRR's own: a name is one
// word of valid UTF-8 of at most 128 bytes (bgpd 8.4.4 refuses a longer prefix-list name, and
// stops on a name of a thousand bytes); an expression is words joined by single blanks, the
// way FRR joins them again.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tools/ribpolicy/format/Scenario.h"

namespace frr {

inline constexpr std::size_t kLongestName = 128;

// Why FRR cannot hold `name` as one word, or nothing.
std::optional<std::string> nameProblem(std::string_view name);
// Why FRR cannot hold `expression` as the rest of a line, or nothing.
std::optional<std::string> expressionProblem(std::string_view expression);

struct Refusal {
  std::size_t step = 0;  // 1-based
  ribpolicy::Mark mark;
  std::string message;
};

// The first name or expression of the scenario that FRR cannot hold, in step order.
std::optional<Refusal> refusal(const ribpolicy::Scenario& scenario);

}  // namespace frr
