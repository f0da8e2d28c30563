// The scenario format in one table: the sections of a step's configuration, the match options
// and the set clauses of a map entry, each one row with what the program needs to know of it.
//
// The reader checks a scenario against these rows and the writer writes by them; the reference
// analysis finds references through them; the convergence tester's generator, shrinker and
// promises walk them; `ribpolicy format-table` prints them, which is how the schema's test
// holds docs/scenario.schema.json to the program. A match option is one row here; a section
// is one row, its definition's type in Scenario.h, and the code that reads, writes, applies and
// draws its entries (the README's list for a new kind).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <variant>
#include <vector>

#include "tools/ribpolicy/format/Scenario.h"

namespace ribpolicy {

// The kinds of configured object, in the order in which the reference analysis lists them.
enum class ObjectKind : std::uint8_t {
  policyMap,
  routeMap,
  peerFilter,
  dynamicPrefixList,
  prefixList,
  ipv6PrefixList,
  communityList,
  accessList,
  asPathList,
};

// --- Sections -----------------------------------------------------------------------------

// Where the objects of a section carry an explicit version.
enum class Versioning : std::uint8_t {
  none,
  object,   // each object, under `version` (a list written as a mapping, a dynamic prefix list)
  entries,  // each entry of a list, among the entry's keys
};

struct SectionRow {
  std::string_view key;    // in `config`, and the first name of the section's marks
  std::string_view label;  // what messages call one object of the section
  ObjectKind kind;
  Versioning versioning;
  // Whether only this configuration can use an object of the section, so that one nothing here
  // refers to is worth a warning. Sessions apply prefix lists and AS-path lists directly, peers
  // name peer filters, and other features of the router use standard access lists; community
  // lists, route maps (which the policy map records when used) and dynamic prefix lists are
  // used only through what the configuration says.
  bool usedOnlyHere;
};

// A section with its member of the scenario configuration, which maps names to definitions.
template <class Def>
struct Section : SectionRow {
  using Definition = Def;
  std::map<std::string, Def> ScenarioConfig::*member;
};

// The sections of named objects, in the order in which they are read, written and listed.
inline constexpr std::tuple kSectionTable{
    Section<Ipv4PrefixListDef>{
        {"prefix-lists", "prefix list", ObjectKind::prefixList, Versioning::object, false},
        &ScenarioConfig::prefixLists},
    Section<Ipv6PrefixListDef>{{"ipv6-prefix-lists", "IPv6 prefix list", ObjectKind::ipv6PrefixList,
                                Versioning::object, false},
                               &ScenarioConfig::ipv6PrefixLists},
    Section<AsPathListDef>{
        {"as-path-lists", "AS-path list", ObjectKind::asPathList, Versioning::object, false},
        &ScenarioConfig::asPathLists},
    Section<CommunityListDef>{
        {"community-lists", "community list", ObjectKind::communityList, Versioning::entries, true},
        &ScenarioConfig::communityLists},
    Section<AccessListDef>{
        {"access-lists", "access list", ObjectKind::accessList, Versioning::none, false},
        &ScenarioConfig::accessLists},
    Section<MapDef>{{"route-maps", "route map", ObjectKind::routeMap, Versioning::object, true},
                    &ScenarioConfig::routeMaps},
    Section<MapDef>{
        {"peer-filters", "peer filter", ObjectKind::peerFilter, Versioning::object, false},
        &ScenarioConfig::peerFilters},
    Section<DynamicPrefixListDef>{{"dynamic-prefix-lists", "dynamic prefix list",
                                   ObjectKind::dynamicPrefixList, Versioning::object, true},
                                  &ScenarioConfig::dynamicPrefixLists},
};

// Calls `f(section)` for every section, in the table's order.
template <class F>
void forEachSection(F&& f) {
  std::apply([&](const auto&... section) { (f(section), ...); }, kSectionTable);
}

// The rows of kSectionTable without their members, in the same order.
inline constexpr auto kSections = std::apply(
    [](const auto&... section) {
      return std::array<SectionRow, sizeof...(section)>{SectionRow(section)...};
    },
    kSectionTable);

// Whether a definition is a list of entries, and the type of its entries.
template <class Def>
concept EntryDefinition = requires(const Def& d) {
  d.entries;
};
template <class Def>
using EntryOf = typename decltype(Def::entries)::mapped_type;

// Whether a definition carries a version of its own, and one a source text.
template <class Def>
concept VersionedDefinition = requires(const Def& d) {
  d.version;
};
template <class Def>
concept SourcedDefinition = requires(const Def& d) {
  d.source;
};

namespace detail {
template <class Def>
constexpr bool sectionAgrees(const Section<Def>& s) {
  bool entriesVersioned = false;
  if constexpr (EntryDefinition<Def>) entriesVersioned = VersionedDefinition<EntryOf<Def>>;
  return VersionedDefinition<Def> == (s.versioning == Versioning::object) &&
         entriesVersioned == (s.versioning == Versioning::entries);
}
}  // namespace detail
static_assert(std::apply([](const auto&... s) { return (detail::sectionAgrees(s) && ...); },
                         kSectionTable),
              "a section's versioning must be the one its definitions carry");

// The keys of a definition written as a mapping: a list's entries, with its version and its
// source where its kind has them, or the fields of an object.
template <class Def>
std::vector<std::string_view> definitionKeys();

// The modes: single numbers of the configuration, before the sections.
struct ModeRow {
  std::string_view key;
  U32 ScenarioConfig::*member;
};
inline constexpr ModeRow kModes[] = {
    {"route-map-op-mode", &ScenarioConfig::routeMapOpMode},
    {"as-path-regex-mode", &ScenarioConfig::asPathRegexMode},
};

// The policy map, after the sections: the names the rest of the agent refers to, by kind.
inline constexpr SectionRow kPolicyMapSection{"policy-map", "policy map", ObjectKind::policyMap,
                                              Versioning::none, false};
struct HeldNamesRow {
  std::string_view key;
  ObjectKind kind;
  std::set<std::string> PolicyMapDef::*member;
};
inline constexpr HeldNamesRow kPolicyMapLists[] = {
    {"route-maps", ObjectKind::routeMap, &PolicyMapDef::routeMaps},
    {"dynamic-prefix-lists", ObjectKind::dynamicPrefixList, &PolicyMapDef::dynamicPrefixLists},
};

// The section of a kind (the policy map's for the policy map).
const SectionRow& sectionOf(ObjectKind kind);

// The fields of a dynamic prefix list, each naming an object of one kind.
struct NameFieldRow {
  std::string_view key;
  ObjectKind kind;
  std::string DynamicPrefixListFields::*member;
};
inline constexpr NameFieldRow kDynamicPrefixListFields[] = {
    {"match-map", ObjectKind::routeMap, &DynamicPrefixListFields::matchMap},
    {"ipv4-prefix-list", ObjectKind::prefixList, &DynamicPrefixListFields::ipv4PrefixList},
    {"ipv6-prefix-list", ObjectKind::ipv6PrefixList, &DynamicPrefixListFields::ipv6PrefixList},
};

// The types of a community-list entry: by values or by expression, for each kind of value.
struct CommunityListTypeRow {
  std::string_view name;
  Acl::CommunityListType type;
  bool expression;  // the entry holds a regular expression rather than values
};
// Indexed by Acl::CommunityListType.
inline constexpr CommunityListTypeRow kCommunityListTypes[] = {
    {"standard", Acl::standardValues, false}, {"standard-regex", Acl::standardRegex, true},
    {"extended", Acl::extendedValues, false}, {"extended-regex", Acl::extendedRegex, true},
    {"large", Acl::largeValues, false},       {"large-regex", Acl::largeRegex, true},
};
// The row of a type; every type a scenario can hold has one.
constexpr const CommunityListTypeRow& communityListTypeRow(Acl::CommunityListType type) {
  return kCommunityListTypes[type < std::size(kCommunityListTypes) ? type : Acl::standardValues];
}

template <class Def>
std::vector<std::string_view> definitionKeys() {
  std::vector<std::string_view> keys;
  if constexpr (EntryDefinition<Def>) {
    keys.push_back("entries");
    if constexpr (VersionedDefinition<Def>) keys.push_back("version");
    if constexpr (SourcedDefinition<Def>) keys.push_back("source");
  } else {
    static_assert(std::is_same_v<Def, DynamicPrefixListDef>, "an object's fields are in a table");
    for (const NameFieldRow& field : kDynamicPrefixListFields) keys.push_back(field.key);
    keys.push_back("version");
  }
  return keys;
}

// --- Entry fields -------------------------------------------------------------------------

// The fields of an entry that is a plain record, besides its `seq`: each a key and the member
// that holds its value, whose type is the value's form (an action, an IPv4 or IPv6 prefix, a
// number, a text). The writer writes such an entry by its rows and the generator draws one by
// them, so that a new kind of such entries needs no code of its own there; the reader keeps a
// function per kind for what ties fields together (a length range within its prefix).
template <class Entry>
struct EntryField {
  using Member = std::variant<Acl::MatchPermit Entry::*, Vela::Prefix Entry::*,
                              Vela::Ip6Prefix Entry::*, U32 Entry::*, std::string Entry::*>;
  std::string_view key;
  Member member;
  bool optional;  // absent when zero (a number) or empty (a text), and then written out
};

// The rows of each kind of plain-record entry, specialized beside the kind.
template <class Entry>
struct EntryFields;

template <class Entry>
concept RecordEntry = requires {
  EntryFields<Entry>::kRows;
};

// The keys of a record entry, `seq` first, in row order.
template <RecordEntry Entry>
constexpr auto entryKeys() {
  constexpr auto& rows = EntryFields<Entry>::kRows;
  std::array<std::string_view, std::size(rows) + 1> keys{"seq"};
  for (std::size_t i = 0; i < std::size(rows); ++i) keys[i + 1] = rows[i].key;
  return keys;
}

template <class Entry>
struct PrefixEntryFields {
  static constexpr EntryField<Entry> kRows[] = {
      {"action", &Entry::permit, false},
      {"prefix", &Entry::prefix, false},
      {"ge", &Entry::ge, true},
      {"le", &Entry::le, true},
  };
};
template <>
struct EntryFields<Acl::PrefixEntry> : PrefixEntryFields<Acl::PrefixEntry> {};
template <>
struct EntryFields<Acl::Ipv6PrefixEntry> : PrefixEntryFields<Acl::Ipv6PrefixEntry> {};

// --- Match options ------------------------------------------------------------------------

// How a match option takes its value.
enum class MatchForm : std::uint8_t {
  listName,
  ipv4Address,
  ipv6Address,
  communityLists,
  text,
  optionalText,
  metricType,
  protocol,
  routeType,
  range,
  pair,
  integer,
  passThrough,  // an option the library does not know
};

inline constexpr U32 kNoLimit = std::numeric_limits<U32>::max();

struct MatchFormRow {
  MatchForm form;
  std::string_view name;  // the schema names the form's keys "match-NAME"
  // The keys of the form besides `option` and `invert`; the first `required` must be given.
  std::array<std::string_view, 2> keys;
  std::size_t required;
  // A number value's range and, when it is narrower than a 32-bit number, how messages call it.
  U32 low = 0;
  U32 high = kNoLimit;
  std::string_view what = {};
};

// Indexed by MatchForm.
inline constexpr MatchFormRow kMatchForms[] = {
    {MatchForm::listName, "listName", {"value"}, 1},
    {MatchForm::ipv4Address, "ipv4Address", {"value"}, 1},
    {MatchForm::ipv6Address, "ipv6Address", {"value"}, 1},
    {MatchForm::communityLists, "communityLists", {"lists", "exact"}, 1},
    {MatchForm::text, "text", {"value"}, 1},
    {MatchForm::optionalText, "optionalText", {"value"}, 0},
    {MatchForm::metricType, "metricType", {"value"}, 1, 1, 2, "a metric type, 1 or 2"},
    {MatchForm::protocol, "protocol", {"value"}, 1, 1, 9, "a protocol from 1 to 9"},
    {MatchForm::routeType, "routeType", {"value"}, 1, 1, 4, "a route type from 1 to 4"},
    {MatchForm::range, "range", {"value", "upper"}, 2},
    {MatchForm::pair, "pair", {"pair"}, 1},
    {MatchForm::integer, "integer", {"value"}, 1},
    {MatchForm::passThrough, "passThrough", {"value", "upper"}, 0},
};

constexpr const MatchFormRow& formRow(MatchForm form) {
  return kMatchForms[static_cast<std::size_t>(form)];
}

// Every key a match rule may hold, in the order in which messages list them.
inline constexpr std::string_view kMatchRuleKeys[] = {"option", "value", "invert", "upper",
                                                      "lists",  "exact", "pair"};

struct MatchOptionRow {
  std::string_view name;  // empty for the options a scenario gives by number only
  Routing::RouteMap::MatchOption option;
  MatchForm form;
  std::optional<ObjectKind> refers = std::nullopt;  // what its value or lists name
};

// The options the library knows, named ones first, in the order in which messages list the
// names. Any other number is passed through.
inline constexpr MatchOptionRow kMatchOptions[] = {
    {"access-list", Routing::RouteMap::matchAccessList, MatchForm::listName,
     ObjectKind::accessList},
    {"prefix-list", Routing::RouteMap::matchPrefixList, MatchForm::listName,
     ObjectKind::prefixList},
    {"ipv6-prefix-list", Routing::RouteMap::matchIpv6PrefixList, MatchForm::listName,
     ObjectKind::ipv6PrefixList},
    {"gateway", Routing::RouteMap::matchGateway, MatchForm::ipv4Address},
    {"next-hop", Routing::RouteMap::matchNextHop, MatchForm::ipv4Address},
    {"ipv6-next-hop", Routing::RouteMap::matchIpv6NextHop, MatchForm::ipv6Address},
    {"next-hop-prefix-list", Routing::RouteMap::matchNextHopPrefixList, MatchForm::listName,
     ObjectKind::prefixList},
    {"ipv6-next-hop-prefix-list", Routing::RouteMap::matchIpv6NextHopPrefixList,
     MatchForm::listName, ObjectKind::ipv6PrefixList},
    {"resolved-next-hop-prefix-list", Routing::RouteMap::matchResolvedNextHopPrefixList,
     MatchForm::listName, ObjectKind::prefixList},
    {"ipv6-resolved-next-hop-prefix-list", Routing::RouteMap::matchIpv6ResolvedNextHopPrefixList,
     MatchForm::listName, ObjectKind::ipv6PrefixList},
    {"community", Routing::RouteMap::matchCommunity, MatchForm::communityLists,
     ObjectKind::communityList},
    {"extended-community", Routing::RouteMap::matchExtCommunity, MatchForm::communityLists,
     ObjectKind::communityList},
    {"large-community", Routing::RouteMap::matchLargeCommunity, MatchForm::communityLists,
     ObjectKind::communityList},
    {"interface", Routing::RouteMap::matchInterface, MatchForm::text},
    {"metric-type", Routing::RouteMap::matchMetricType, MatchForm::metricType},
    {"protocol", Routing::RouteMap::matchProtocol, MatchForm::protocol},
    {"as-range", Routing::RouteMap::matchAsRange, MatchForm::range},
    {"route-type", Routing::RouteMap::matchRouteType, MatchForm::routeType},
    {"dynamic-prefix-list", Routing::RouteMap::matchDynamicPrefixList, MatchForm::listName,
     ObjectKind::dynamicPrefixList},
    {"ipv6-dynamic-prefix-list", Routing::RouteMap::matchIpv6DynamicPrefixList, MatchForm::listName,
     ObjectKind::dynamicPrefixList},
    {"community-instances", Routing::RouteMap::matchCommInstances, MatchForm::range},
    {"as-path-length", Routing::RouteMap::matchAsPathLength, MatchForm::pair},
    {"contributing-aggregate", Routing::RouteMap::matchContribAggAttr, MatchForm::optionalText,
     ObjectKind::routeMap},
    {"", 100, MatchForm::integer},
    {"", 101, MatchForm::text},
    {"", 102, MatchForm::text},
    {"", 105, MatchForm::integer},
    {"", 108, MatchForm::integer},
    {"", 109, MatchForm::integer},
    {"", 110, MatchForm::integer},
    {"", 111, MatchForm::integer},
    {"", 115, MatchForm::integer},
    {"", 120, MatchForm::text},
};

// The row of a known option, or null for one that is passed through.
const MatchOptionRow* matchOptionRow(Routing::RouteMap::MatchOption option);
const MatchFormRow& matchFormOf(Routing::RouteMap::MatchOption option);
// The option's name, or its number when it has none: how messages and marks name it.
std::string optionLabel(Routing::RouteMap::MatchOption option);

// --- Names of numbers -----------------------------------------------------------------------

// A name the format takes for a number, beside the number itself.
struct NamedNumber {
  std::string_view name;
  U32 number;
};

// A route's origin, by the names people know: a set clause numbers them from 1, an AS-path
// entry from 0 (each takes the engine's own numbers).
inline constexpr NamedNumber kSetOrigins[] = {{"igp", 1}, {"egp", 2}, {"incomplete", 3}};
inline constexpr NamedNumber kAsPathOrigins[] = {{"igp", 0}, {"egp", 1}, {"incomplete", 2}};

// The community-set flags by number.
inline constexpr std::string_view kCommSetFlagNames[] = {"none", "delete", "additive", "replace"};

// --- Set clauses --------------------------------------------------------------------------

// How a set clause takes its value.
enum class SetForm : std::uint8_t {
  asNumbers,  // a list of AS numbers
  ipv4Address,
  ipv6Address,
  number,        // within the row's range
  signedNumber,  // a signed 64-bit number
  boolean,
  metric,       // {value, med-type}: the metric and the med type
  communities,  // {values, lists, flag}, and link-bandwidth where the row allows it
};

// The clause's field in the library's set clauses; its type follows the form.
using AsNumbersField = std::map<U32, U32> Routing::RouteMap::SetClauses::*;
using Ipv4Field = Vela::IpAddr Routing::RouteMap::SetClauses::*;
using Ipv6Field = Vela::Ip6Addr Routing::RouteMap::SetClauses::*;
using NumberField = U32 Routing::RouteMap::SetClauses::*;
using ByteField = U8 Routing::RouteMap::SetClauses::*;
using SignedField = S64 Routing::RouteMap::SetClauses::*;
using FlagField = bool Routing::RouteMap::SetClauses::*;
using CommunitySetField =
    Vox::Ptr<Routing::RouteMap::CommunitySet const> Routing::RouteMap::SetClauses::*;
using SetField = std::variant<AsNumbersField, Ipv4Field, Ipv6Field, NumberField, ByteField,
                              SignedField, FlagField, CommunitySetField>;

struct SetClauseRow {
  std::string_view key;
  Routing::RouteMap::SetFlagBit bit;
  SetForm form;
  SetField field;
  // number: the range and, when narrower than a 32-bit number, how messages call it.
  U32 low = 0;
  U32 high = kNoLimit;
  std::string_view what = {};
  std::span<const NamedNumber> names = {};  // number: names it takes beside the numbers
  // communities: the kind of the values, the flags the clause may carry (bit N for flag N),
  // the flag when none is given, and whether it takes a link-bandwidth option.
  Acl::CommunityType communityKind = Acl::communityStandard;
  std::uint8_t flags = 0;
  Acl::CommSetFlag defaultFlag = Acl::commSetNone_;
  bool linkBandwidth = false;
  std::optional<ObjectKind> refers = std::nullopt;  // what its lists name
};

namespace detail {
using Routing::RouteMap::SetClauses;
inline constexpr std::uint8_t kEveryFlag = 0b1111;
}  // namespace detail

// Every set clause, in the order of their bits: the order in which they are read and written.
inline constexpr SetClauseRow kSetClauses[] = {
    {.key = "as-path-prepend",
     .bit = Routing::RouteMap::setAsPathPrepend,
     .form = SetForm::asNumbers,
     .field = &detail::SetClauses::asPathPrepend},
    {.key = "next-hop",
     .bit = Routing::RouteMap::setNextHop,
     .form = SetForm::ipv4Address,
     .field = &detail::SetClauses::nextHop},
    {.key = "ipv6-next-hop",
     .bit = Routing::RouteMap::setIpv6NextHop,
     .form = SetForm::ipv6Address,
     .field = &detail::SetClauses::ipv6NextHop},
    {.key = "origin",
     .bit = Routing::RouteMap::setOrigin,
     .form = SetForm::number,
     .field = &detail::SetClauses::origin,
     .low = 1,
     .high = 3,
     .what = "an origin of 1, 2 or 3, or igp, egp or incomplete",
     .names = kSetOrigins},
    {.key = "action-19",
     .bit = Routing::RouteMap::setAction19,
     .form = SetForm::signedNumber,
     .field = &detail::SetClauses::action19},
    {.key = "metric",
     .bit = Routing::RouteMap::setMetric,
     .form = SetForm::metric,
     .field = &detail::SetClauses::metric},
    {.key = "ospf-metric-type",
     .bit = Routing::RouteMap::setOspfMetricType,
     .form = SetForm::number,
     .field = &detail::SetClauses::ospfMetricType,
     .low = 1,
     .high = 2,
     .what = "an OSPF metric type, 1 or 2"},
    {.key = "isis-level",
     .bit = Routing::RouteMap::setIsisLevel,
     .form = SetForm::number,
     .field = &detail::SetClauses::isisLevel,
     .low = 0,
     .high = 2,
     .what = "an IS-IS level, 0, 1 or 2"},
    {.key = "action-2",
     .bit = Routing::RouteMap::setAction2,
     .form = SetForm::number,
     .field = &detail::SetClauses::action2},
    {.key = "community",
     .bit = Routing::RouteMap::setCommunityAddReplace,
     .form = SetForm::communities,
     .field = &detail::SetClauses::communityAddReplace,
     .communityKind = Acl::communityStandard,
     .flags = 0b1101,
     .refers = ObjectKind::communityList},
    {.key = "community-delete",
     .bit = Routing::RouteMap::setCommunityDelete,
     .form = SetForm::communities,
     .field = &detail::SetClauses::communityDelete,
     .communityKind = Acl::communityStandard,
     .flags = 0b0010,
     .defaultFlag = Acl::commSetDelete_,
     .refers = ObjectKind::communityList},
    {.key = "extended-community",
     .bit = Routing::RouteMap::setExtCommunity,
     .form = SetForm::communities,
     .field = &detail::SetClauses::extCommunity,
     .communityKind = Acl::communityExtended,
     .flags = detail::kEveryFlag,
     .linkBandwidth = true,
     .refers = ObjectKind::communityList},
    {.key = "action-3",
     .bit = Routing::RouteMap::setAction3,
     .form = SetForm::signedNumber,
     .field = &detail::SetClauses::action3},
    {.key = "action-25",
     .bit = Routing::RouteMap::setAction25,
     .form = SetForm::number,
     .field = &detail::SetClauses::action25},
    {.key = "action-26",
     .bit = Routing::RouteMap::setAction26,
     .form = SetForm::signedNumber,
     .field = &detail::SetClauses::action26},
    {.key = "next-hop-peer-address",
     .bit = Routing::RouteMap::setNextHopPeerAddr,
     .form = SetForm::boolean,
     .field = &detail::SetClauses::nextHopPeerAddr},
    {.key = "ipv6-next-hop-peer-address",
     .bit = Routing::RouteMap::setIpv6NextHopPeerAddr,
     .form = SetForm::boolean,
     .field = &detail::SetClauses::ipv6NextHopPeerAddr},
    {.key = "next-hop-unchanged",
     .bit = Routing::RouteMap::setNextHopUnchanged,
     .form = SetForm::boolean,
     .field = &detail::SetClauses::nextHopUnchanged},
    {.key = "ipv6-next-hop-unchanged",
     .bit = Routing::RouteMap::setIpv6NextHopUnchanged,
     .form = SetForm::boolean,
     .field = &detail::SetClauses::ipv6NextHopUnchanged},
    {.key = "as-path-prepend-last-as",
     .bit = Routing::RouteMap::setAsPathPrependLastAs,
     .form = SetForm::number,
     .field = &detail::SetClauses::asPathPrependLastAs,
     .low = 0,
     .high = 255},
    {.key = "as-path-replace",
     .bit = Routing::RouteMap::setAsPathReplace,
     .form = SetForm::asNumbers,
     .field = &detail::SetClauses::asPathReplace},
    {.key = "action-35",
     .bit = Routing::RouteMap::setAction35,
     .form = SetForm::signedNumber,
     .field = &detail::SetClauses::action35},
    {.key = "large-community",
     .bit = Routing::RouteMap::setLargeCommunity,
     .form = SetForm::communities,
     .field = &detail::SetClauses::largeCommunity,
     .communityKind = Acl::communityLarge,
     .flags = detail::kEveryFlag,
     .refers = ObjectKind::communityList},
};

// --- Route checks -------------------------------------------------------------------------

// The keys of one route check of a step's `routes`: the map under test (`map` for a route map,
// `peer-filter` for a peer filter, one of them), the route sent, and what must come of it.
inline constexpr std::string_view kRouteCheckKeys[] = {"map", "peer-filter", "route", "expect",
                                                       "attributes"};
// The results a check may expect.
inline constexpr std::string_view kRouteResults[] = {"permit", "deny"};
// A community kind of `attributes` written as a mapping instead of a list of values.
inline constexpr std::string_view kCommunityTestKeys[] = {"includes", "excludes"};

// How a route attribute takes its value.
enum class RouteValue : std::uint8_t {
  asPath,       // AS numbers, a list within the list for an AS set
  communities,  // a list of communities of the row's kind
  number,       // a 32-bit number
  origin,       // igp, egp or incomplete
  address,      // an address of the route's family
};

struct RouteFieldRow {
  std::string_view key;
  RouteValue value;
  // What the speaker sends when a route does not give the attribute.
  std::string_view fallback;
  RouteCommunity community = RouteCommunity::standard;  // communities: their kind
  std::optional<U32> RouteAttributes::*number = nullptr;
  std::optional<std::string> RouteAttributes::*text = nullptr;
};

// The attributes of a route (after its `prefix`) and of `attributes`, in the order in which
// they are read, sent and compared.
inline constexpr RouteFieldRow kRouteFields[] = {
    {.key = "as-path", .value = RouteValue::asPath, .fallback = "an empty path"},
    {.key = "communities",
     .value = RouteValue::communities,
     .fallback = "none",
     .community = RouteCommunity::standard},
    {.key = "extended-communities",
     .value = RouteValue::communities,
     .fallback = "none",
     .community = RouteCommunity::extended},
    {.key = "large-communities",
     .value = RouteValue::communities,
     .fallback = "none",
     .community = RouteCommunity::large},
    {.key = "med",
     .value = RouteValue::number,
     .fallback = "none",
     .number = &RouteAttributes::med},
    {.key = "origin",
     .value = RouteValue::origin,
     .fallback = "igp",
     .text = &RouteAttributes::origin},
    {.key = "next-hop",
     .value = RouteValue::address,
     .fallback = "192.0.2.1, or 2001:db8::1 for an IPv6 prefix",
     .text = &RouteAttributes::nextHop},
    {.key = "local-preference",
     .value = RouteValue::number,
     .fallback = "100",
     .number = &RouteAttributes::localPreference},
};
inline constexpr std::string_view kRouteOrigins[] = {"igp", "egp", "incomplete"};

// Whether a set clause is one of the engine's unnamed actions (action-2, action-19, ...): the
// engine numbers them and names none, so the format keys them by number, and a scenario's
// action-names map may give them names of its own.
constexpr bool unnamedAction(const SetClauseRow& row) {
  return row.key.starts_with("action-");
}

// Whether a community clause may carry `flag`.
constexpr bool carries(const SetClauseRow& row, Acl::CommSetFlag flag) {
  return flag < 8 && ((row.flags >> flag) & 1u) != 0;
}

}  // namespace ribpolicy
