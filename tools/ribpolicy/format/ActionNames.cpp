#include "tools/ribpolicy/format/ActionNames.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tools/ribpolicy/format/Format.h"

namespace ribpolicy::reader {

namespace {

// Moves the clauses written under the scenario's action names to their actions.
void resolveNamedActions(SetClauseDefs& set, const ActionNames& names) {
  for (const NamedAction& a : set.named) {
    const auto it = names.find(a.name);
    if (it == names.end())
      throw InputError(a.keyLine, a.keyColumn, unknownSetKey(a.name, setKeys()));
    const SetClauseRow& row = *it->second;
    if (set.has(row.bit)) {
      throw InputError(a.keyLine, a.keyColumn,
                       "set: " + quote(a.name) + " and " + std::string(row.key) +
                           " are the same action, given twice");
    }
    switch (row.form) {
      case SetForm::number:
        if (a.value < 0 || a.value > std::numeric_limits<U32>::max()) {
          throw InputError(a.valueLine, a.valueColumn,
                           a.name + " (" + std::string(row.key) +
                               "): expected a number from 0 to 4294967295, got '" +
                               std::to_string(a.value) + "'");
        }
        set.*std::get<NumberField>(row.field) = static_cast<U32>(a.value);
        break;
      case SetForm::signedNumber:
        set.*std::get<SignedField>(row.field) = a.value;
        break;
      case SetForm::asNumbers:
      case SetForm::ipv4Address:
      case SetForm::ipv6Address:
      case SetForm::boolean:
      case SetForm::metric:
      case SetForm::communities:
        break;  // not an unnamed action's form
    }
    set.flags |= 1u << row.bit;
  }
  set.named.clear();
  set.named.shrink_to_fit();
}

}  // namespace

// The keys of the engine's unnamed actions, by their numbers: "action-2, action-3, ...".
const std::string& unnamedActionKeys() {
  static const std::string kKeys = [] {
    std::vector<std::pair<U32, std::string_view>> actions;
    for (const SetClauseRow& row : kSetClauses) {
      if (unnamedAction(row)) {
        const auto n = parseUnsigned(row.key.substr(row.key.find('-') + 1));
        actions.emplace_back(static_cast<U32>(n.value_or(0)), row.key);
      }
    }
    std::sort(actions.begin(), actions.end());
    std::string keys;
    for (const auto& [number, key] : actions) keys += (keys.empty() ? "" : ", ") + std::string(key);
    return keys;
  }();
  return kKeys;
}

// What a refusal of an unknown set key adds: why a familiar action is not there, and how to
// name it.
std::string unnamedActionsNote(std::string_view key) {
  const std::string& actions = unnamedActionKeys();
  return "; the engine names no such action: the actions it leaves unnamed keep its numbers (" +
         actions + "), and an action-names map at the top of the scenario can name them ({" +
         std::string(key) + ": " + actions.substr(0, actions.find(',')) + "})";
}

std::string unknownSetKey(std::string_view key, std::span<const std::string_view> keys) {
  return "unknown key " + quote(key) + " in set (expected " + joinKeys(keys) + ")" +
         unnamedActionsNote(key);
}

const std::vector<std::string_view>& setKeys() {
  static const std::vector<std::string_view> kKeys = [] {
    std::vector<std::string_view> keys;
    for (const SetClauseRow& row : kSetClauses) keys.push_back(row.key);
    return keys;
  }();
  return kKeys;
}

ActionNames parseActionNames(const Node* n) {
  ActionNames names;
  if (!n || n->isNull()) return names;
  if (!n->isMapping()) expected(*n, "action-names", "a mapping {NAME: action-N}");
  const std::string& unnamed = unnamedActionKeys();
  for (const yaml::Member& m : n->members()) {
    if (!m.key.isText()) expected(m.key, "action-names", "a name");
    const std::string_view name = m.key.text();
    const auto& keys = setKeys();
    if (std::find(keys.begin(), keys.end(), name) != keys.end()) {
      fail(m.key, "action-names: " + quote(name) + " is a set key already");
    }
    if (names.count(name)) fail(m.key, "action-names: " + quote(name) + " named twice");
    const SetClauseRow* target = nullptr;
    const std::string_view action = textOf(m.value, name, "an unnamed action (" + unnamed + ")");
    for (const SetClauseRow& row : kSetClauses) {
      if (unnamedAction(row) && row.key == action) target = &row;
    }
    if (!target) expected(m.value, name, "an unnamed action (" + unnamed + ")");
    names.emplace(std::string(name), target);
  }
  return names;
}

void resolveNamedActions(ScenarioConfig& config, const ActionNames& names) {
  for (auto* maps : {&config.routeMaps, &config.peerFilters}) {
    for (auto& [name, map] : *maps) {
      for (auto& [seq, entry] : map.entries) {
        if (!entry.set.named.empty()) resolveNamedActions(entry.set, names);
      }
    }
  }
}

}  // namespace ribpolicy::reader
