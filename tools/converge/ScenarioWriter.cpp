#include "tools/converge/ScenarioWriter.h"

#include <yaml.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <stdexcept>
#include <string_view>

namespace converge {

namespace {

using ribpolicy::MapDef;
using ribpolicy::MapEntryDef;
using ribpolicy::ScenarioConfig;
using Routing::RouteMap::CommunitySet;
using Routing::RouteMap::MatchOption;
using Routing::RouteMap::MatchRule;
using Routing::RouteMap::SetClauses;
using Routing::RouteMap::SetFlagBit;

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

const char* communityTypeName(Acl::CommunityListType t) {
  switch (t) {
    case Acl::standardValues:
      return "standard";
    case Acl::standardRegex:
      return "standard-regex";
    case Acl::extendedValues:
      return "extended";
    case Acl::extendedRegex:
      return "extended-regex";
    case Acl::largeValues:
      return "large";
    case Acl::largeRegex:
      return "large-regex";
  }
  return "standard";
}

bool isRegexType(Acl::CommunityListType t) {
  return t == Acl::standardRegex || t == Acl::extendedRegex || t == Acl::largeRegex;
}

void names(Emitter& y, std::string_view key, const std::set<std::string>& list) {
  y.key(key);
  y.seqStart(true);
  for (const std::string& n : list) y.text(n);
  y.seqEnd();
}

// --- Lists --------------------------------------------------------------------------------

// A list is written as its entries, or as a mapping when it carries a version or a source.
template <class Entries, class WriteEntry>
void entryList(Emitter& y, const std::optional<U32>& version, const std::string& source,
               const Entries& entries, WriteEntry writeEntry) {
  const bool mapping = version || !source.empty();
  if (mapping) {
    y.mapStart();
    if (version) y.numberAt("version", *version);
    if (!source.empty()) y.textAt("source", source);
    y.key("entries");
  }
  y.seqStart();
  for (const auto& [seq, entry] : entries) writeEntry(seq, entry);
  y.seqEnd();
  if (mapping) y.mapEnd();
}

template <class Def, class WriteEntry>
void prefixLists(Emitter& y, std::string_view key, const std::map<std::string, Def>& lists,
                 WriteEntry prefixText) {
  if (lists.empty()) return;
  y.key(key);
  y.mapStart();
  for (const auto& [name, list] : lists) {
    y.text(name);
    entryList(y, list.version, "", list.entries, [&](U32 seq, const auto& e) {
      y.mapStart(true);
      y.numberAt("seq", seq);
      y.textAt("action", actionText(e.permit));
      y.textAt("prefix", prefixText(e.prefix));
      if (e.ge) y.numberAt("ge", e.ge);
      if (e.le) y.numberAt("le", e.le);
      y.mapEnd();
    });
  }
  y.mapEnd();
}

void asPathLists(Emitter& y, const std::map<std::string, ribpolicy::AsPathListDef>& lists) {
  if (lists.empty()) return;
  y.key("as-path-lists");
  y.mapStart();
  for (const auto& [name, list] : lists) {
    y.text(name);
    entryList(y, list.version, list.source, list.entries, [&](U32 seq, const Acl::AsPathEntry& e) {
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
    });
  }
  y.mapEnd();
}

void communityLists(Emitter& y, const std::map<std::string, ribpolicy::CommunityListDef>& lists) {
  if (lists.empty()) return;
  y.key("community-lists");
  y.mapStart();
  for (const auto& [name, list] : lists) {
    y.text(name);
    entryList(y, std::nullopt, "", list.entries,
              [&](U32 seq, const ribpolicy::CommunityEntryDef& e) {
                y.mapStart(true);
                y.numberAt("seq", seq);
                y.textAt("action", actionText(e.permit));
                y.textAt("type", communityTypeName(e.type));
                if (isRegexType(e.type)) {
                  y.textAt("regex", e.regex);
                } else {
                  y.key("communities");
                  y.seqStart(true);
                  for (const Acl::CommunityValue& v : e.communities) y.text(communityValueText(v));
                  y.seqEnd();
                }
                if (e.version) y.numberAt("version", *e.version);
                y.mapEnd();
              });
  }
  y.mapEnd();
}

void accessLists(Emitter& y, const std::map<std::string, ribpolicy::AccessListDef>& lists) {
  if (lists.empty()) return;
  y.key("access-lists");
  y.mapStart();
  for (const auto& [name, list] : lists) {
    y.text(name);
    entryList(y, std::nullopt, "", list.entries, [&](U32 seq, const Acl::RuleConfig& r) {
      y.mapStart(true);
      y.numberAt("seq", seq);
      y.textAt("action", actionText(r.action));
      y.textAt("source", r.filter.source().toString());
      y.mapEnd();
    });
  }
  y.mapEnd();
}

void dynamicPrefixLists(Emitter& y,
                        const std::map<std::string, ribpolicy::DynamicPrefixListDef>& lists) {
  if (lists.empty()) return;
  y.key("dynamic-prefix-lists");
  y.mapStart();
  for (const auto& [name, d] : lists) {
    y.text(name);
    y.mapStart(true);
    if (!d.matchMap.empty()) y.textAt("match-map", d.matchMap);
    if (!d.ipv4PrefixList.empty()) y.textAt("ipv4-prefix-list", d.ipv4PrefixList);
    if (!d.ipv6PrefixList.empty()) y.textAt("ipv6-prefix-list", d.ipv6PrefixList);
    if (d.version) y.numberAt("version", *d.version);
    y.mapEnd();
  }
  y.mapEnd();
}

// --- Match rules --------------------------------------------------------------------------

enum class Form : std::uint8_t {
  listName,
  ipv4Address,
  ipv6Address,
  communityLists,
  text,
  optionalText,
  integer,
  range,
  pair,
  passThrough,
};

struct KnownOption {
  MatchOption option;
  const char* name;  // null: written as its number
  Form form;
};

constexpr KnownOption kOptions[] = {
    {1, "access-list", Form::listName},
    {2, "prefix-list", Form::listName},
    {5, "gateway", Form::ipv4Address},
    {12, "next-hop", Form::ipv4Address},
    {14, "next-hop-prefix-list", Form::listName},
    {15, "resolved-next-hop-prefix-list", Form::listName},
    {100, nullptr, Form::integer},
    {101, nullptr, Form::text},
    {102, nullptr, Form::text},
    {103, "community", Form::communityLists},
    {104, "extended-community", Form::communityLists},
    {105, nullptr, Form::integer},
    {107, "interface", Form::text},
    {108, nullptr, Form::integer},
    {109, nullptr, Form::integer},
    {110, nullptr, Form::integer},
    {111, nullptr, Form::integer},
    {112, "metric-type", Form::integer},
    {113, "protocol", Form::integer},
    {115, nullptr, Form::integer},
    {116, "ipv6-prefix-list", Form::listName},
    {117, "ipv6-next-hop", Form::ipv6Address},
    {118, "ipv6-next-hop-prefix-list", Form::listName},
    {119, "ipv6-resolved-next-hop-prefix-list", Form::listName},
    {120, nullptr, Form::text},
    {121, "as-range", Form::range},
    {122, "route-type", Form::integer},
    {123, "dynamic-prefix-list", Form::listName},
    {124, "ipv6-dynamic-prefix-list", Form::listName},
    {125, "community-instances", Form::range},
    {126, "as-path-length", Form::pair},
    {127, "large-community", Form::communityLists},
    {128, "contributing-aggregate", Form::optionalText},
};

void matchRule(Emitter& y, const MatchRule& r) {
  const KnownOption* known = nullptr;
  for (const KnownOption& k : kOptions) {
    if (k.option == r.option) known = &k;
  }
  y.mapStart(true);
  y.key("option");
  if (known && known->name) {
    y.text(known->name);
  } else {
    y.number(r.option);
  }
  switch (known ? known->form : Form::passThrough) {
    case Form::listName:
    case Form::text:
      y.textAt("value", r.stringValue);
      break;
    case Form::optionalText:
      if (!r.stringValue.empty()) y.textAt("value", r.stringValue);
      break;
    case Form::ipv4Address:
      y.textAt("value", r.ipAddr.toString());
      break;
    case Form::ipv6Address:
      y.textAt("value", r.ip6Addr.toString());
      break;
    case Form::communityLists:
      names(y, "lists", r.commListSet.names());
      if (r.exact) y.booleanAt("exact", true);
      break;
    case Form::integer:
      y.numberAt("value", r.intValue);
      break;
    case Form::range:
      y.numberAt("value", r.intValue);
      y.numberAt("upper", r.upper);
      break;
    case Form::pair:
      y.key("pair");
      y.seqStart(true);
      y.number(r.asPathLength.first);
      y.number(r.asPathLength.second);
      y.seqEnd();
      break;
    case Form::passThrough:
      if (!r.stringValue.empty()) y.textAt("value", r.stringValue);
      if (r.upper) y.numberAt("upper", r.upper);
      break;
  }
  if (r.invert) y.booleanAt("invert", true);
  y.mapEnd();
}

// --- Set clauses --------------------------------------------------------------------------

void asNumbers(Emitter& y, std::string_view key, const std::map<U32, U32>& list) {
  y.key(key);
  y.seqStart(true);
  for (const auto& [position, as] : list) y.number(as);
  y.seqEnd();
}

void communitySet(Emitter& y, std::string_view key, const CommunitySet* set,
                  const SetClauses* linkBandwidth) {
  y.key(key);
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
    // The delete clause implies its flag.
    if (set->flag != Acl::commSetNone_ && key != "community-delete") {
      y.numberAt("flag", set->flag);
    }
  }
  if (linkBandwidth &&
      (linkBandwidth->extCommLbwFlag != Acl::lbwNone_ || linkBandwidth->extCommLbwBandwidth != 0)) {
    y.key("link-bandwidth");
    y.mapStart(true);
    y.numberAt("option", linkBandwidth->extCommLbwFlag);
    if (linkBandwidth->extCommLbwBandwidth != 0) {
      char buf[32];
      std::snprintf(buf, sizeof buf, "%.9g",
                    static_cast<double>(linkBandwidth->extCommLbwBandwidth));
      y.textAt("bandwidth", buf);
    }
    y.mapEnd();
  }
  y.mapEnd();
}

void setClause(Emitter& y, const SetClauses& s, SetFlagBit bit) {
  using namespace Routing::RouteMap;
  switch (bit) {
    case setAsPathPrepend:
      asNumbers(y, "as-path-prepend", s.asPathPrepend);
      return;
    case setNextHop:
      y.textAt("next-hop", s.nextHop.toString());
      return;
    case setIpv6NextHop:
      y.textAt("ipv6-next-hop", s.ipv6NextHop.toString());
      return;
    case setOrigin:
      y.numberAt("origin", s.origin);
      return;
    case setAction19:
      y.signedAt("action-19", s.action19);
      return;
    case setMetric:
      y.key("metric");
      y.mapStart(true);
      y.signedAt("value", s.metric);
      y.numberAt("med-type", s.medType);
      y.mapEnd();
      return;
    case setOspfMetricType:
      y.numberAt("ospf-metric-type", s.ospfMetricType);
      return;
    case setIsisLevel:
      y.numberAt("isis-level", s.isisLevel);
      return;
    case setAction2:
      y.numberAt("action-2", s.action2);
      return;
    case setCommunityAddReplace:
      communitySet(y, "community", s.communityAddReplace.ptr(), nullptr);
      return;
    case setCommunityDelete:
      communitySet(y, "community-delete", s.communityDelete.ptr(), nullptr);
      return;
    case setExtCommunity:
      communitySet(y, "extended-community", s.extCommunity.ptr(), &s);
      return;
    case setAction3:
      y.signedAt("action-3", s.action3);
      return;
    case setAction25:
      y.numberAt("action-25", s.action25);
      return;
    case setAction26:
      y.signedAt("action-26", s.action26);
      return;
    case setNextHopPeerAddr:
      y.booleanAt("next-hop-peer-address", s.nextHopPeerAddr);
      return;
    case setIpv6NextHopPeerAddr:
      y.booleanAt("ipv6-next-hop-peer-address", s.ipv6NextHopPeerAddr);
      return;
    case setNextHopUnchanged:
      y.booleanAt("next-hop-unchanged", s.nextHopUnchanged);
      return;
    case setIpv6NextHopUnchanged:
      y.booleanAt("ipv6-next-hop-unchanged", s.ipv6NextHopUnchanged);
      return;
    case setAsPathPrependLastAs:
      y.numberAt("as-path-prepend-last-as", s.asPathPrependLastAs);
      return;
    case setAsPathReplace:
      asNumbers(y, "as-path-replace", s.asPathReplace);
      return;
    case setAction35:
      y.signedAt("action-35", s.action35);
      return;
    case setLargeCommunity:
      communitySet(y, "large-community", s.largeCommunity.ptr(), nullptr);
      return;
  }
}

// --- Maps ---------------------------------------------------------------------------------

void mapEntry(Emitter& y, U32 seq, const MapEntryDef& e) {
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
    for (SetFlagBit bit : SetClauses::allBits()) {
      if (e.set.has(bit)) setClause(y, e.set, bit);
    }
    y.mapEnd();
  }
  y.mapEnd();
}

void maps(Emitter& y, std::string_view key, const std::map<std::string, MapDef>& section) {
  if (section.empty()) return;
  y.key(key);
  y.mapStart();
  for (const auto& [name, map] : section) {
    y.text(name);
    entryList(y, map.version, "", map.entries,
              [&](U32 seq, const MapEntryDef& e) { mapEntry(y, seq, e); });
  }
  y.mapEnd();
}

// --- Steps --------------------------------------------------------------------------------

void config(Emitter& y, const ScenarioConfig& c) {
  y.mapStart();
  if (c.routeMapOpMode) y.numberAt("route-map-op-mode", c.routeMapOpMode);
  if (c.asPathRegexMode) y.numberAt("as-path-regex-mode", c.asPathRegexMode);
  prefixLists(y, "prefix-lists", c.prefixLists, [](const Vela::Prefix& p) { return p.toString(); });
  prefixLists(y, "ipv6-prefix-lists", c.ipv6PrefixLists,
              [](const Vela::Ip6Prefix& p) { return p.toString(); });
  asPathLists(y, c.asPathLists);
  communityLists(y, c.communityLists);
  accessLists(y, c.accessLists);
  dynamicPrefixLists(y, c.dynamicPrefixLists);
  maps(y, "route-maps", c.routeMaps);
  maps(y, "peer-filters", c.peerFilters);
  if (!c.policyMap.routeMaps.empty() || !c.policyMap.dynamicPrefixLists.empty()) {
    y.key("policy-map");
    y.mapStart();
    if (!c.policyMap.routeMaps.empty()) names(y, "route-maps", c.policyMap.routeMaps);
    if (!c.policyMap.dynamicPrefixLists.empty()) {
      names(y, "dynamic-prefix-lists", c.policyMap.dynamicPrefixLists);
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
