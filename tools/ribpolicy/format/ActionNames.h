// The engine's unnamed set actions (action-2, action-19, ...) and the names a scenario gives
// them. The engine numbers these actions and names none, so the format keys them by number;
// an `action-names:` map at the top of a scenario lets a team write `local-preference: 150`
// for `action-2: 150`. A map's entries are read while the document streams in, before the map
// of names is known, so clauses under a name wait in the entry and are moved to their actions
// once the whole document has been read.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/ribpolicy/format/Scenario.h"
#include "tools/ribpolicy/format/ScenarioValues.h"

namespace ribpolicy {
struct SetClauseRow;
}

namespace ribpolicy::reader {

// The scenario's names for the engine's unnamed actions: name -> the action's row.
using ActionNames = std::map<std::string, const SetClauseRow*, std::less<>>;

// The keys of the engine's unnamed actions, by their numbers: "action-2, action-3, ...".
const std::string& unnamedActionKeys();
// What a refusal of an unknown set key adds: why a familiar action is not there, and how to
// name it.
std::string unnamedActionsNote(std::string_view key);
std::string unknownSetKey(std::string_view key, std::span<const std::string_view> keys);
// Every key of a set clause, in the table's order.
const std::vector<std::string_view>& setKeys();

// The `action-names` mapping at `n` (none when absent).
ActionNames parseActionNames(const Node* n);
// Moves the clauses written under the scenario's action names to their actions, in every map
// of `config`; a name the map does not hold is an unknown set key, located at the clause.
void resolveNamedActions(ScenarioConfig& config, const ActionNames& names);

}  // namespace ribpolicy::reader
