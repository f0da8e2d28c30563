#include "tools/ribpolicy/format/FormatJson.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <span>
#include <string_view>
#include <type_traits>

#include "tools/ribpolicy/format/Format.h"

namespace ribpolicy {

namespace {

using Json = nlohmann::ordered_json;

std::string_view versioningName(Versioning v) {
  switch (v) {
    case Versioning::none:
      return "none";
    case Versioning::object:
      return "object";
    case Versioning::entries:
      return "entries";
  }
  return "none";
}

std::string_view setFormName(SetForm form) {
  switch (form) {
    case SetForm::asNumbers:
      return "asNumbers";
    case SetForm::ipv4Address:
      return "ipv4Address";
    case SetForm::ipv6Address:
      return "ipv6Address";
    case SetForm::number:
      return "number";
    case SetForm::signedNumber:
      return "signedNumber";
    case SetForm::boolean:
      return "boolean";
    case SetForm::metric:
      return "metric";
    case SetForm::communities:
      return "communities";
  }
  return "";
}

std::string_view communityKindName(Acl::CommunityType kind) {
  switch (kind) {
    case Acl::communityStandard:
      return "standard";
    case Acl::communityExtended:
      return "extended";
    case Acl::communityLarge:
      return "large";
  }
  return "";
}

// A kind of object by the section that configures it.
Json refers(const std::optional<ObjectKind>& kind) {
  return kind ? Json(sectionOf(*kind).key) : Json(nullptr);
}

Json keyList(const auto& keys) {
  Json out = Json::array();
  for (const std::string_view key : keys) {
    if (!key.empty()) out.push_back(key);
  }
  return out;
}

Json sections() {
  Json out = Json::array();
  forEachSection([&](const auto& section) {
    using Def = typename std::decay_t<decltype(section)>::Definition;
    Json s = Json::object();
    s["key"] = section.key;
    s["label"] = section.label;
    s["versioning"] = versioningName(section.versioning);
    s["entries"] = EntryDefinition<Def>;
    s["keys"] = keyList(definitionKeys<Def>());
    s["usedOnlyHere"] = section.usedOnlyHere;
    out.push_back(std::move(s));
  });
  return out;
}

Json matchForms() {
  Json out = Json::array();
  for (const MatchFormRow& form : kMatchForms) {
    Json f = Json::object();
    f["name"] = form.name;
    f["keys"] = keyList(form.keys);
    f["required"] = keyList(std::span(form.keys.data(), form.required));
    if (form.low != 0 || form.high != kNoLimit) {
      f["low"] = form.low;
      f["high"] = form.high;
    }
    out.push_back(std::move(f));
  }
  return out;
}

Json matchOptions() {
  Json out = Json::array();
  for (const MatchOptionRow& row : kMatchOptions) {
    Json o = Json::object();
    o["name"] = row.name.empty() ? Json(nullptr) : Json(row.name);
    o["option"] = row.option;
    o["form"] = formRow(row.form).name;
    o["refers"] = refers(row.refers);
    out.push_back(std::move(o));
  }
  return out;
}

Json setClauses() {
  Json out = Json::array();
  for (const SetClauseRow& row : kSetClauses) {
    Json c = Json::object();
    c["key"] = row.key;
    c["bit"] = static_cast<U32>(row.bit);
    c["form"] = setFormName(row.form);
    if (row.form == SetForm::number) {
      c["low"] = row.low;
      c["high"] = row.high;
      if (!row.names.empty()) {
        Json names = Json::object();
        for (const NamedNumber& n : row.names) names[std::string(n.name)] = n.number;
        c["names"] = std::move(names);
      }
    }
    if (row.form == SetForm::communities) {
      c["communities"] = communityKindName(row.communityKind);
      Json flags = Json::array();
      for (U32 flag = 0; flag < 8; ++flag) {
        if (carries(row, static_cast<Acl::CommSetFlag>(flag))) flags.push_back(flag);
      }
      c["flags"] = std::move(flags);
      c["defaultFlag"] = static_cast<U32>(row.defaultFlag);
      c["linkBandwidth"] = row.linkBandwidth;
    }
    c["refers"] = refers(row.refers);
    out.push_back(std::move(c));
  }
  return out;
}

}  // namespace

std::string formatTableJson() {
  Json table = Json::object();
  Json config = Json::array();
  Json modes = Json::array();
  for (const ModeRow& mode : kModes) {
    config.push_back(mode.key);
    modes.push_back(mode.key);
  }
  for (const SectionRow& row : kSections) config.push_back(row.key);
  config.push_back(kPolicyMapSection.key);
  table["config"] = std::move(config);
  table["modes"] = std::move(modes);
  table["sections"] = sections();
  Json held = Json::array();
  for (const HeldNamesRow& row : kPolicyMapLists) {
    held.push_back({{"key", row.key}, {"refers", sectionOf(row.kind).key}});
  }
  table["policyMap"] = {{"key", kPolicyMapSection.key}, {"lists", std::move(held)}};
  Json fields = Json::array();
  for (const NameFieldRow& row : kDynamicPrefixListFields) {
    fields.push_back({{"key", row.key}, {"refers", sectionOf(row.kind).key}});
  }
  table["dynamicPrefixListFields"] = std::move(fields);
  table["matchRuleKeys"] = keyList(kMatchRuleKeys);
  table["matchForms"] = matchForms();
  table["matchOptions"] = matchOptions();
  table["setClauses"] = setClauses();
  return table.dump(2) + '\n';
}

}  // namespace ribpolicy
