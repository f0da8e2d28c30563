#include "tools/converge/ScenarioWriter.h"

#include <yaml.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <variant>

#include "tools/ribpolicy/format/Format.h"

namespace converge {

namespace {

using ribpolicy::MapEntryDef;
using ribpolicy::MatchForm;
using ribpolicy::ScenarioConfig;
using ribpolicy::SetClauseRow;
using ribpolicy::SetForm;
using Routing::RouteMap::CommunitySet;
using Routing::RouteMap::MatchRule;
using Routing::RouteMap::SetClauses;

// --- The emitter --------------------------------------------------------------------------

// Events go to a libyaml emitter, which writes into a string.
class Emitter {
 public:
  Emitter() {
    if (!yaml_emitter_initialize(&emitter_)) throw std::runtime_error("YAML emitter: no memory");
    yaml_emitter_set_output(&emitter_, &Emitter::append, &out_);
    yaml_emitter_set_width(&emitter_, 100);
    yaml_emitter_set_indent(&emitter_, 2);
    yaml_event_t e;
    yaml_stream_start_event_initialize(&e, YAML_UTF8_ENCODING);
    emit(e);
    yaml_document_start_event_initialize(&e, nullptr, nullptr, nullptr, 1);
    emit(e);
  }
  ~Emitter() { yaml_emitter_delete(&emitter_); }
  Emitter(const Emitter&) = delete;
  Emitter& operator=(const Emitter&) = delete;

  std::string finish() {
    yaml_event_t e;
    yaml_document_end_event_initialize(&e, 1);
    emit(e);
    yaml_stream_end_event_initialize(&e);
    emit(e);
    return std::move(out_);
  }

  void mapStart(bool flow = false) {
    yaml_event_t e;
    yaml_mapping_start_event_initialize(&e, nullptr, nullptr, 1,
                                        flow ? YAML_FLOW_MAPPING_STYLE : YAML_BLOCK_MAPPING_STYLE);
    emit(e);
  }
  void mapEnd() {
    yaml_event_t e;
    yaml_mapping_end_event_initialize(&e);
    emit(e);
  }
  void seqStart(bool flow = false) {
    yaml_event_t e;
    yaml_sequence_start_event_initialize(
        &e, nullptr, nullptr, 1, flow ? YAML_FLOW_SEQUENCE_STYLE : YAML_BLOCK_SEQUENCE_STYLE);
    emit(e);
  }
  void seqEnd() {
    yaml_event_t e;
    yaml_sequence_end_event_initialize(&e);
    emit(e);
  }

  // A string. The emitter quotes what plain text cannot hold; the words that read back as
  // nothing are quoted here.
  void text(std::string_view s) {
    static constexpr std::string_view kNull[] = {"", "~", "null", "Null", "NULL"};
    const bool null = std::find(std::begin(kNull), std::end(kNull), s) != std::end(kNull);
    scalar(s, null ? YAML_DOUBLE_QUOTED_SCALAR_STYLE : YAML_ANY_SCALAR_STYLE);
  }
  void number(std::uint64_t v) { scalar(std::to_string(v), YAML_PLAIN_SCALAR_STYLE); }
  void signedNumber(S64 v) { scalar(std::to_string(v), YAML_PLAIN_SCALAR_STYLE); }
  void boolean(bool v) { scalar(v ? "true" : "false", YAML_PLAIN_SCALAR_STYLE); }

  // A key and its value, in one call.
  void key(std::string_view k) { scalar(k, YAML_PLAIN_SCALAR_STYLE); }
  void textAt(std::string_view k, std::string_view v) {
    key(k);
    text(v);
  }
  void numberAt(std::string_view k, std::uint64_t v) {
    key(k);
    number(v);
  }
  void signedAt(std::string_view k, S64 v) {
    key(k);
    signedNumber(v);
  }
  void booleanAt(std::string_view k, bool v) {
    key(k);
    boolean(v);
  }

 private:
  static int append(void* data, unsigned char* buffer, std::size_t size) {
    static_cast<std::string*>(data)->append(reinterpret_cast<const char*>(buffer), size);
    return 1;
  }
  void scalar(std::string_view s, yaml_scalar_style_t style) {
    yaml_event_t e;
    yaml_scalar_event_initialize(&e, nullptr, nullptr,
                                 reinterpret_cast<const yaml_char_t*>(s.data()),
                                 static_cast<int>(s.size()), 1, 1, style);
    emit(e);
  }
  void emit(yaml_event_t& e) {
    if (!yaml_emitter_emit(&emitter_, &e)) {
      throw std::runtime_error(std::string("YAML emitter: ") +
                               (emitter_.problem ? emitter_.problem : "refused an event"));
    }
  }

  yaml_emitter_t emitter_{};
  std::string out_;
};

// --- Values -------------------------------------------------------------------------------

std::string actionText(Acl::MatchPermit p) {
  if (p == Acl::permit) return "permit";
  if (p == Acl::deny) return "deny";
  return std::to_string(static_cast<U32>(p));
}

std::string standardCommunityText(U32 v) {
  return std::to_string(v >> 16) + ':' + std::to_string(v & 0xffff);
}

std::string extendedCommunityText(std::uint64_t v) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "0x%016" PRIx64, v);
  return buf;
}

std::string largeCommunityText(U32 global, U32 local1, U32 local2) {
  return std::to_string(global) + ':' + std::to_string(local1) + ':' + std::to_string(local2);
}

std::string communityValueText(const Acl::CommunityValue& v) {
  switch (v.kind) {
    case Acl::communityStandard:
      return standardCommunityText(v.words[0]);
    case Acl::communityExtended:
      return extendedCommunityText(v.extendedValue());
    case Acl::communityLarge:
      return largeCommunityText(v.words[0], v.words[1], v.words[2]);
  }
  return {};
}

void names(Emitter& y, std::string_view key, const std::set<std::string>& list) {
  y.key(key);
  y.seqStart(true);
  for (const std::string& n : list) y.text(n);
  y.seqEnd();
}

void asNumbers(Emitter& y, std::string_view key, const std::map<U32, U32>& list) {
  y.key(key);
  y.seqStart(true);
  for (const auto& [position, as] : list) y.number(as);
  y.seqEnd();
}

// --- Match rules --------------------------------------------------------------------------

void matchRule(Emitter& y, const MatchRule& r) {
  const ribpolicy::MatchOptionRow* row = ribpolicy::matchOptionRow(r.option);
  const ribpolicy::MatchFormRow& form = ribpolicy::matchFormOf(r.option);
  y.mapStart(true);
  y.key("option");
  if (row && !row->name.empty()) {
    y.text(row->name);
  } else {
    y.number(r.option);
  }
  switch (form.form) {
    case MatchForm::listName:
    case MatchForm::text:
      y.textAt(form.keys[0], r.stringValue);
      break;
    case MatchForm::optionalText:
      if (!r.stringValue.empty()) y.textAt(form.keys[0], r.stringValue);
      break;
    case MatchForm::ipv4Address:
      y.textAt(form.keys[0], r.ipAddr.toString());
      break;
    case MatchForm::ipv6Address:
      y.textAt(form.keys[0], r.ip6Addr.toString());
      break;
    case MatchForm::communityLists:
      names(y, form.keys[0], r.commListSet.names());
      if (r.exact) y.booleanAt(form.keys[1], true);
      break;
    case MatchForm::metricType:
    case MatchForm::protocol:
    case MatchForm::routeType:
    case MatchForm::integer:
      y.numberAt(form.keys[0], r.intValue);
      break;
    case MatchForm::range:
      y.numberAt(form.keys[0], r.intValue);
      y.numberAt(form.keys[1], r.upper);
      break;
    case MatchForm::pair:
      y.key(form.keys[0]);
      y.seqStart(true);
      y.number(r.asPathLength.first);
      y.number(r.asPathLength.second);
      y.seqEnd();
      break;
    case MatchForm::passThrough:
      if (!r.stringValue.empty()) y.textAt(form.keys[0], r.stringValue);
      if (r.upper) y.numberAt(form.keys[1], r.upper);
      break;
  }
  if (r.invert) y.booleanAt("invert", true);
  y.mapEnd();
}

// --- Set clauses --------------------------------------------------------------------------

void communitySet(Emitter& y, const SetClauseRow& row, const SetClauses& s) {
  const CommunitySet* set = (s.*std::get<ribpolicy::CommunitySetField>(row.field)).ptr();
  y.key(row.key);
  y.mapStart(true);
  if (set) {
    if (!set->standard.empty() || !set->extended.empty() || !set->large.empty()) {
      y.key("values");
      y.seqStart(true);
      for (U32 v : set->standard) y.text(standardCommunityText(v));
      for (std::uint64_t v : set->extended) y.text(extendedCommunityText(v));
      for (const auto& v : set->large) y.text(largeCommunityText(v.global, v.local1, v.local2));
      y.seqEnd();
    }
    if (set->useCL) names(y, "lists", set->communityListName);
    if (set->flag != row.defaultFlag) y.numberAt("flag", set->flag);
  }
  if (row.linkBandwidth && (s.extCommLbwFlag != Acl::lbwNone_ || s.extCommLbwBandwidth != 0)) {
    y.key("link-bandwidth");
    y.mapStart(true);
    y.numberAt("option", s.extCommLbwFlag);
    if (s.extCommLbwBandwidth != 0) {
      char buf[32];
      std::snprintf(buf, sizeof buf, "%.9g", static_cast<double>(s.extCommLbwBandwidth));
      y.textAt("bandwidth", buf);
    }
    y.mapEnd();
  }
  y.mapEnd();
}

void setClause(Emitter& y, const SetClauseRow& row, const SetClauses& s) {
  switch (row.form) {
    case SetForm::asNumbers:
      asNumbers(y, row.key, s.*std::get<ribpolicy::AsNumbersField>(row.field));
      return;
    case SetForm::ipv4Address:
      y.textAt(row.key, (s.*std::get<ribpolicy::Ipv4Field>(row.field)).toString());
      return;
    case SetForm::ipv6Address:
      y.textAt(row.key, (s.*std::get<ribpolicy::Ipv6Field>(row.field)).toString());
      return;
    case SetForm::number:
      if (const auto* byte = std::get_if<ribpolicy::ByteField>(&row.field)) {
        y.numberAt(row.key, s.*(*byte));
      } else {
        y.numberAt(row.key, s.*std::get<ribpolicy::NumberField>(row.field));
      }
      return;
    case SetForm::signedNumber:
      y.signedAt(row.key, s.*std::get<ribpolicy::SignedField>(row.field));
      return;
    case SetForm::boolean:
      y.booleanAt(row.key, s.*std::get<ribpolicy::FlagField>(row.field));
      return;
    case SetForm::metric:
      y.key(row.key);
      y.mapStart(true);
      y.signedAt("value", s.*std::get<ribpolicy::SignedField>(row.field));
      y.numberAt("med-type", s.medType);
      y.mapEnd();
      return;
    case SetForm::communities:
      communitySet(y, row, s);
      return;
  }
}

// --- Entries ------------------------------------------------------------------------------

// The fields of a record entry, by the form their member's type gives.
void writeField(Emitter& y, std::string_view key, Acl::MatchPermit v, bool) {
  y.textAt(key, actionText(v));
}
void writeField(Emitter& y, std::string_view key, const Vela::Prefix& v, bool) {
  y.textAt(key, v.toString());
}
void writeField(Emitter& y, std::string_view key, const Vela::Ip6Prefix& v, bool) {
  y.textAt(key, v.toString());
}
void writeField(Emitter& y, std::string_view key, U32 v, bool optional) {
  if (v != 0 || !optional) y.numberAt(key, v);
}
void writeField(Emitter& y, std::string_view key, const std::string& v, bool optional) {
  if (!v.empty() || !optional) y.textAt(key, v);
}

// An entry that is a plain record, by its rows; the other kinds each have a writer below.
template <ribpolicy::RecordEntry Entry>
void writeEntry(Emitter& y, U32 seq, const Entry& e) {
  y.mapStart(true);
  y.numberAt("seq", seq);
  for (const ribpolicy::EntryField<Entry>& field : ribpolicy::EntryFields<Entry>::kRows) {
    std::visit([&](auto member) { writeField(y, field.key, e.*member, field.optional); },
               field.member);
  }
  y.mapEnd();
}

void writeEntry(Emitter& y, U32 seq, const Acl::AsPathEntry& e) {
  y.mapStart(true);
  y.numberAt("seq", seq);
  y.textAt("action", actionText(e.permit));
  y.textAt("regex", e.regex);
  if (e.origin != 0xffffffffu) y.numberAt("origin", e.origin);
  if (!e.validMode0 || !e.validMode1) {
    y.key("valid");
    y.seqStart(true);
    y.boolean(e.validMode0);
    y.boolean(e.validMode1);
    y.seqEnd();
  }
  y.mapEnd();
}

void writeEntry(Emitter& y, U32 seq, const ribpolicy::CommunityEntryDef& e) {
  const ribpolicy::CommunityListTypeRow& type = ribpolicy::communityListTypeRow(e.type);
  y.mapStart(true);
  y.numberAt("seq", seq);
  y.textAt("action", actionText(e.permit));
  y.textAt("type", type.name);
  if (type.expression) {
    y.textAt("regex", e.regex);
  } else {
    y.key("communities");
    y.seqStart(true);
    for (const Acl::CommunityValue& v : e.communities) y.text(communityValueText(v));
    y.seqEnd();
  }
  if (e.version) y.numberAt("version", *e.version);
  y.mapEnd();
}

void writeEntry(Emitter& y, U32 seq, const Acl::RuleConfig& r) {
  y.mapStart(true);
  y.numberAt("seq", seq);
  y.textAt("action", actionText(r.action));
  y.textAt("source", r.filter.source().toString());
  y.mapEnd();
}

void writeEntry(Emitter& y, U32 seq, const MapEntryDef& e) {
  const bool plain = e.match.empty() && e.subRouteMap.empty() && e.set.flags == 0;
  y.mapStart(plain);
  y.numberAt("seq", seq);
  y.textAt("action", actionText(e.permit));
  if (!e.match.empty()) {
    y.key("match");
    y.seqStart();
    for (const auto& [option, rule] : e.match) matchRule(y, rule);
    y.seqEnd();
  }
  if (!e.subRouteMap.empty()) y.textAt("sub-route-map", e.subRouteMap);
  if (e.set.flags != 0) {
    y.key("set");
    y.mapStart();
    for (const SetClauseRow& row : ribpolicy::kSetClauses) {
      if (e.set.has(row.bit)) setClause(y, row, e.set);
    }
    y.mapEnd();
  }
  y.mapEnd();
}

// --- Definitions --------------------------------------------------------------------------

void writeObject(Emitter& y, const ribpolicy::DynamicPrefixListDef& d) {
  y.mapStart(true);
  for (const ribpolicy::NameFieldRow& field : ribpolicy::kDynamicPrefixListFields) {
    if (!(d.*field.member).empty()) y.textAt(field.key, d.*field.member);
  }
  if (d.version) y.numberAt("version", *d.version);
  y.mapEnd();
}

// A list is written as its entries, or as a mapping when it carries a version or a source.
template <class Def>
void writeDefinition(Emitter& y, const Def& def) {
  if constexpr (ribpolicy::EntryDefinition<Def>) {
    std::optional<U32> version;
    std::string_view source;
    if constexpr (ribpolicy::VersionedDefinition<Def>) version = def.version;
    if constexpr (ribpolicy::SourcedDefinition<Def>) source = def.source;
    const bool mapping = version || !source.empty();
    if (mapping) {
      y.mapStart();
      if (version) y.numberAt("version", *version);
      if (!source.empty()) y.textAt("source", source);
      y.key("entries");
    }
    y.seqStart();
    for (const auto& [seq, entry] : def.entries) writeEntry(y, seq, entry);
    y.seqEnd();
    if (mapping) y.mapEnd();
  } else {
    writeObject(y, def);
  }
}

void config(Emitter& y, const ScenarioConfig& c) {
  y.mapStart();
  for (const ribpolicy::ModeRow& mode : ribpolicy::kModes) {
    if (c.*mode.member) y.numberAt(mode.key, c.*mode.member);
  }
  ribpolicy::forEachSection([&](const auto& section) {
    const auto& objects = c.*section.member;
    if (objects.empty()) return;
    y.key(section.key);
    y.mapStart();
    for (const auto& [name, def] : objects) {
      y.text(name);
      writeDefinition(y, def);
    }
    y.mapEnd();
  });
  if (!(c.policyMap == ribpolicy::PolicyMapDef{})) {
    y.key(ribpolicy::kPolicyMapSection.key);
    y.mapStart();
    for (const ribpolicy::HeldNamesRow& held : ribpolicy::kPolicyMapLists) {
      if (!(c.policyMap.*held.member).empty()) names(y, held.key, c.policyMap.*held.member);
    }
    y.mapEnd();
  }
  y.mapEnd();
}

}  // namespace

std::string writeScenario(const ribpolicy::Scenario& scenario) {
  Emitter y;
  y.mapStart();
  if (scenario.vrf != "default") y.textAt("vrf", scenario.vrf);
  y.key("steps");
  y.seqStart();
  for (const ribpolicy::Step& step : scenario.steps) {
    y.mapStart();
    if (!step.name.empty()) y.textAt("name", step.name);
    y.key("config");
    config(y, step.config);
    if (!step.inputs.complete()) {
      y.key("inputs");
      y.seqStart(true);
      for (ribpolicy::Input i : ribpolicy::kAllInputs) {
        if (step.inputs.has(i)) y.text(ribpolicy::inputName(i));
      }
      y.seqEnd();
    }
    y.mapEnd();
  }
  y.seqEnd();
  y.mapEnd();
  return y.finish();
}

bool sameScenario(const ribpolicy::Scenario& a, const ribpolicy::Scenario& b) {
  return a.vrf == b.vrf &&
         std::equal(a.steps.begin(), a.steps.end(), b.steps.begin(), b.steps.end(),
                    [](const ribpolicy::Step& x, const ribpolicy::Step& y) {
                      return x.name == y.name && x.inputs == y.inputs && x.config == y.config;
                    });
}

}  // namespace converge
