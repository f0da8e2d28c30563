// The format table (Format.h) as one JSON object, which `ribpolicy format-table` prints: the
// keys of the configuration, the sections, the policy map, the match options with their value
// forms, and the set clauses. Programs that check or write scenarios (the schema's test, an
// editor's completion) read it instead of spelling the format again.
#pragma once

#include <string>

namespace ribpolicy {

// The table as JSON text, indented.
std::string formatTableJson();

}  // namespace ribpolicy
