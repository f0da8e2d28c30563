#include "tools/ribpolicy/format/Format.h"

namespace ribpolicy {

static_assert(
    [] {
      for (std::size_t i = 0; i < std::size(kMatchForms); ++i) {
        if (static_cast<std::size_t>(kMatchForms[i].form) != i) return false;
      }
      return std::size(kMatchForms) == static_cast<std::size_t>(MatchForm::passThrough) + 1;
    }(),
    "one form row per MatchForm, in its order");

const SectionRow& sectionOf(ObjectKind kind) {
  for (const SectionRow& row : kSections) {
    if (row.kind == kind) return row;
  }
  return kPolicyMapSection;
}

const MatchOptionRow* matchOptionRow(Routing::RouteMap::MatchOption option) {
  for (const MatchOptionRow& row : kMatchOptions) {
    if (row.option == option) return &row;
  }
  return nullptr;
}

const MatchFormRow& matchFormOf(Routing::RouteMap::MatchOption option) {
  const MatchOptionRow* row = matchOptionRow(option);
  return formRow(row ? row->form : MatchForm::passThrough);
}

std::string optionLabel(Routing::RouteMap::MatchOption option) {
  const MatchOptionRow* row = matchOptionRow(option);
  return row && !row->name.empty() ? std::string(row->name) : std::to_string(option);
}

}  // namespace ribpolicy
