#include "tools/ribpolicy/format/FormatJson.h"

#include <optional>
#include <span>
#include <string_view>
#include <type_traits>

#include "RibText/JsonWriter.h"
#include "tools/ribpolicy/format/Format.h"

namespace ribpolicy {

namespace {

using RibText::JsonWriter;

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
void refers(JsonWriter& w, const std::optional<ObjectKind>& kind) {
  if (kind) {
    w.member("refers").string(sectionOf(*kind).key);
  } else {
    w.member("refers").raw("null");
  }
}

void keyList(JsonWriter& w, std::string_view name, const auto& keys) {
  w.member(name).open('[');
  for (const std::string_view key : keys) {
    if (!key.empty()) w.item().string(key);
  }
  w.close(']');
}

// A row that names what a key of the configuration refers to.
void keyRefers(JsonWriter& w, std::string_view key, ObjectKind kind) {
  w.item().open('{');
  w.member("key").string(key);
  w.member("refers").string(sectionOf(kind).key);
  w.close('}');
}

void sections(JsonWriter& w) {
  w.member("sections").open('[');
  forEachSection([&](const auto& section) {
    using Def = typename std::decay_t<decltype(section)>::Definition;
    w.item().open('{');
    w.member("key").string(section.key);
    w.member("label").string(section.label);
    w.member("versioning").string(versioningName(section.versioning));
    w.member("entries").boolean(EntryDefinition<Def>);
    keyList(w, "keys", definitionKeys<Def>());
    w.member("usedOnlyHere").boolean(section.usedOnlyHere);
    w.close('}');
  });
  w.close(']');
}

void matchForms(JsonWriter& w) {
  w.member("matchForms").open('[');
  for (const MatchFormRow& form : kMatchForms) {
    w.item().open('{');
    w.member("name").string(form.name);
    keyList(w, "keys", form.keys);
    keyList(w, "required", std::span(form.keys.data(), form.required));
    if (form.low != 0 || form.high != kNoLimit) {
      w.member("low").number(form.low);
      w.member("high").number(form.high);
    }
    w.close('}');
  }
  w.close(']');
}

void matchOptions(JsonWriter& w) {
  w.member("matchOptions").open('[');
  for (const MatchOptionRow& row : kMatchOptions) {
    w.item().open('{');
    if (row.name.empty()) {
      w.member("name").raw("null");
    } else {
      w.member("name").string(row.name);
    }
    w.member("option").number(static_cast<U32>(row.option));
    w.member("form").string(formRow(row.form).name);
    refers(w, row.refers);
    w.close('}');
  }
  w.close(']');
}

void setClauses(JsonWriter& w) {
  w.member("setClauses").open('[');
  for (const SetClauseRow& row : kSetClauses) {
    w.item().open('{');
    w.member("key").string(row.key);
    w.member("bit").number(static_cast<U32>(row.bit));
    w.member("form").string(setFormName(row.form));
    if (row.form == SetForm::number) {
      w.member("low").number(row.low);
      w.member("high").number(row.high);
      if (!row.names.empty()) {
        w.member("names").open('{');
        for (const NamedNumber& n : row.names) w.member(n.name).number(n.number);
        w.close('}');
      }
    }
    if (row.form == SetForm::communities) {
      w.member("communities").string(communityKindName(row.communityKind));
      w.member("flags").open('[');
      for (U32 flag = 0; flag < 8; ++flag) {
        if (carries(row, static_cast<Acl::CommSetFlag>(flag))) w.item().number(flag);
      }
      w.close(']');
      w.member("defaultFlag").number(static_cast<U32>(row.defaultFlag));
      w.member("linkBandwidth").boolean(row.linkBandwidth);
    }
    refers(w, row.refers);
    w.close('}');
  }
  w.close(']');
}

}  // namespace

std::string formatTableJson() {
  JsonWriter w(true);
  w.open('{');
  w.member("config").open('[');
  for (const ModeRow& mode : kModes) w.item().string(mode.key);
  for (const SectionRow& row : kSections) w.item().string(row.key);
  w.item().string(kPolicyMapSection.key);
  w.close(']');
  w.member("modes").open('[');
  for (const ModeRow& mode : kModes) w.item().string(mode.key);
  w.close(']');
  sections(w);
  w.member("policyMap").open('{');
  w.member("key").string(kPolicyMapSection.key);
  w.member("lists").open('[');
  for (const HeldNamesRow& row : kPolicyMapLists) keyRefers(w, row.key, row.kind);
  w.close(']').close('}');
  w.member("dynamicPrefixListFields").open('[');
  for (const NameFieldRow& row : kDynamicPrefixListFields) keyRefers(w, row.key, row.kind);
  w.close(']');
  keyList(w, "matchRuleKeys", kMatchRuleKeys);
  matchForms(w);
  matchOptions(w);
  setClauses(w);
  w.close('}');
  return w.take() + '\n';
}

}  // namespace ribpolicy
