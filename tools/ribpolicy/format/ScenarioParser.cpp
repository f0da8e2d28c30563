#include "tools/ribpolicy/format/ScenarioParser.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "framework/l3/VrfName.h"
#include "tools/ribpolicy/format/ActionNames.h"
#include "tools/ribpolicy/format/EntryChecks.h"
#include "tools/ribpolicy/format/Format.h"
#include "tools/ribpolicy/format/MarkRecorder.h"
#include "tools/ribpolicy/format/RouteReader.h"
#include "tools/ribpolicy/format/ScenarioValues.h"

namespace ribpolicy {

namespace {

using namespace reader;
using Routing::RouteMap::CommunitySet;
using Routing::RouteMap::MatchOption;
using Routing::RouteMap::MatchRule;
using Routing::RouteMap::SetClauses;

// --- Where things are named ---------------------------------------------------------------

std::set<std::string> nameList(const Node& n, std::string_view key) {
  std::set<std::string> out;
  if (n.isNull()) return out;
  for (const Node& x : list(n, key, "a list of names").items()) {
    if (!out.insert(name(x, key)).second) {
      fail(x, std::string(key) + ": duplicate name " + quote(x.text()));
    }
    MarkRecorder::mark(x, x.text());
  }
  return out;
}

// --- Lists of entries ---------------------------------------------------------------------

// A list written either as a sequence of entries or as a mapping holding them.
struct ListForm {
  std::optional<U32> version;
  std::string source;
  std::optional<Node> entries;  // the list of entries, if any
};

template <class Def>
ListForm listForm(const Node& n, const std::string& what) {
  ListForm out;
  if (n.isNull()) return out;
  if (n.isList()) {
    out.entries = n;
    return out;
  }
  if (!n.isMapping()) {
    expected(n, what,
             VersionedDefinition<Def> ? "a list of entries or a mapping {version, entries}"
                                      : "a list of entries or a mapping {entries}");
  }
  static const std::vector<std::string_view> kKeys = definitionKeys<Def>();
  Fields f(n, what, kKeys);
  if (const Node* v = f.get("version")) out.version = number(*v, "version");
  if (const Node* s = f.get("source")) out.source = text(*s, "source");
  if (const Node* e = f.get("entries")) {
    if (!e->isNull()) out.entries = list(*e, "entries", "a list of entries");
  }
  return out;
}

// Reads the entries of one list, one at a time: each is a mapping with a unique `seq` among
// `keys`; `body` reads the rest of it.
template <class T>
class EntryReader {
 public:
  using Body = T (*)(const Fields&, U32);
  EntryReader(const std::string& what, std::span<const std::string_view> keys, Body body)
      : what_(what), entry_("entry of " + what), keys_(keys), body_(body) {}

  void read(const Node& node) {
    Fields f(node, entry_, keys_);
    if (node.isNull()) expected(node, entry_, "a mapping");
    const Node& seqNode = f.need("seq");
    const U32 seq = number(seqNode, "seq");
    // Entries mostly come in ascending order, each then going at the end.
    auto at = entries_.end();
    if (!entries_.empty() && std::prev(at)->first >= seq) {
      at = entries_.lower_bound(seq);
      if (at->first == seq) {
        const auto first = std::find_if(lines_.begin(), lines_.end(),
                                        [&](const auto& l) { return l.first == seq; });
        fail(seqNode, "duplicate sequence number " + std::to_string(seq) + " in " + what_ +
                          " (first at line " + std::to_string(first->second.line) + ")");
      }
    }
    lines_.emplace_back(seq, Mark{seqNode.line(), seqNode.column()});
    entries_.emplace_hint(at, seq, body_(f, seq));
  }
  // After the last entry: what the whole list holds is noted at its entries' sequence numbers,
  // and then the places are needed no more.
  void finish() {
    if constexpr (requires(const std::map<U32, T>& m) { listNotes(std::string(), m); }) {
      if (!lines_.empty()) {
        std::sort(lines_.begin(), lines_.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        for (EntryNote& note : listNotes(what_, entries_)) {
          const auto at = std::lower_bound(lines_.begin(), lines_.end(), note.seq,
                                           [](const auto& l, U32 seq) { return l.first < seq; });
          MarkRecorder::warn(at->second, note.warning, std::move(note.message));
        }
      }
    }
    std::vector<std::pair<U32, Mark>>().swap(lines_);
  }
  std::map<U32, T> take() {
    finish();
    return std::move(entries_);
  }

 private:
  std::string what_;
  std::string entry_;
  std::span<const std::string_view> keys_;
  Body body_;
  std::map<U32, T> entries_;
  std::vector<std::pair<U32, Mark>> lines_;  // each sequence number's place, in reading order
};

// The entries of one list, read while the document was parsed. Whatever was wrong with them is
// kept until the walk takes the list, so that it is reported at that point of the walk, as if
// the list had been read only then; after the first bad entry, the rest are not looked at.
template <class T>
class EarlyEntries final : public yaml::EarlyList {
 public:
  EarlyEntries(std::string path, EntryReader<T> reader)
      : path_(std::move(path)), reader_(std::move(reader)) {}

  void add(const Node& entry) override {
    if (error) return;
    MarkRecorder recorder(marks, path_);
    try {
      reader_.read(entry);
    } catch (const InputError& e) {
      error = e;
    }
  }
  void finish() override {
    if (error) return;
    MarkRecorder recorder(marks, path_);
    reader_.finish();
  }
  EntryReader<T>& reader() { return reader_; }

  std::optional<InputError> error;
  StepMarks marks;  // where the entries named things, under path_

 private:
  std::string path_;  // "SECTION/NAME" of the list
  EntryReader<T> reader_;
};

// The entries of `list` (a list of entries, or nothing): the ones read early, or else read here.
template <class T>
std::map<U32, T> readEntries(const std::optional<Node>& list, EntryReader<T> reader) {
  if (!list) return {};
  if (list->readEarly()) {
    const std::unique_ptr<yaml::EarlyList> taken = list->takeEarlyList();
    // The plan starts a list's reader by the same section as the one that led here.
    auto& early = static_cast<EarlyEntries<T>&>(*taken);
    if (early.error) throw *early.error;
    MarkRecorder::adopt(*list, early.marks);
    return early.reader().take();
  }
  for (const Node& entry : list->items()) reader.read(entry);
  return reader.take();
}

// The reader of the entries of each kind of list; `what` names the list in messages.
template <class Entry>
EntryReader<Entry> entryReader(const std::string& what);

// The entries of an IPv4 (Acl::PrefixEntry) or IPv6 (Acl::Ipv6PrefixEntry) prefix list.
template <class Entry>
EntryReader<Entry> prefixEntries(const std::string& what) {
  static constexpr auto kKeys = entryKeys<Entry>();
  return EntryReader<Entry>(what, kKeys, [](const Fields& f, U32 seq) {
    constexpr bool kIpv4 = std::is_same_v<Entry, Acl::PrefixEntry>;
    constexpr U32 kMaxLength = kIpv4 ? 32 : 128;
    Entry e;
    e.seqno = seq;
    e.permit = action(f.need("action"));
    if constexpr (kIpv4) {
      e.prefix = ipv4Prefix(f.need("prefix"), "prefix");
    } else {
      e.prefix = ipv6Prefix(f.need("prefix"), "prefix");
    }
    if (const Node* v = f.get("ge")) e.ge = number(*v, "ge", 0, kMaxLength);
    if (const Node* v = f.get("le")) e.le = number(*v, "le", 0, kMaxLength);
    checkLengthRange(f, e.prefix.toString(), e.prefix.length(), e.ge, e.le);
    if (std::optional<std::string> note = hostBitsNote(e.prefix)) {
      MarkRecorder::warn(f.need("prefix"), WarningClass::hostBits, std::move(*note));
    }
    return e;
  });
}

template <>
EntryReader<Acl::PrefixEntry> entryReader(const std::string& what) {
  return prefixEntries<Acl::PrefixEntry>(what);
}

template <>
EntryReader<Acl::Ipv6PrefixEntry> entryReader(const std::string& what) {
  return prefixEntries<Acl::Ipv6PrefixEntry>(what);
}

template <>
EntryReader<Acl::AsPathEntry> entryReader(const std::string& what) {
  static constexpr std::string_view kKeys[] = {"seq", "action", "regex", "origin", "valid"};
  return EntryReader<Acl::AsPathEntry>(what, kKeys, [](const Fields& f, U32 seq) {
    Acl::AsPathEntry e;
    e.seqno = seq;
    e.permit = action(f.need("action"));
    e.regex = text(f.need("regex"), "regex");
    e.origin = 0xffffffffu;  // any origin
    if (const Node* o = f.get("origin")) {
      if (!(o->isText() && o->text() == "any")) {
        e.origin = namedNumber(*o, "origin", kAsPathOrigins, 0, 0xffffffffu,
                               "0, 1, 2, igp, egp, incomplete or any");
      }
    }
    // The configuration computes an expression's validity in each dialect; `valid` overrides
    // it, which is how a scenario shows the library an entry invalid in both.
    if (const Node* v = f.get("valid")) {
      constexpr std::string_view kWhat = "a pair [valid in mode 0, valid in mode 1]";
      if (!v->isList() || v->size() != 2) expected(*v, "valid", kWhat);
      e.validMode0 = boolean((*v)[0], "valid");
      e.validMode1 = boolean((*v)[1], "valid");
    } else {
      std::tie(e.validMode0, e.validMode1) = asPathDialects(f.need("regex"), e.regex);
    }
    return e;
  });
}

template <>
EntryReader<CommunityEntryDef> entryReader(const std::string& what) {
  static constexpr std::string_view kKeys[] = {"seq",         "action", "type",
                                               "communities", "regex",  "version"};
  return EntryReader<CommunityEntryDef>(what, kKeys, [](const Fields& f, U32) {
    CommunityEntryDef e;
    e.permit = action(f.need("action"));
    e.type = communityListType(f.need("type"));
    if (const Node* v = f.get("version")) e.version = number(*v, "version");
    const CommunityListTypeRow& type = communityListTypeRow(e.type);
    const std::string context = "a community entry of type " + std::string(type.name);
    if (type.expression) {
      f.restrict({"seq", "action", "type", "regex", "version"}, context);
      e.regex = text(f.need("regex"), "regex");
    } else {
      f.restrict({"seq", "action", "type", "communities", "version"}, context);
      const Node& values = f.need("communities");
      if (!values.isNull()) {
        for (const Node& v : list(values, "communities", "a list of communities").items()) {
          e.communities.insert(communityValue(v, e.type));
        }
      }
    }
    return e;
  });
}

template <>
EntryReader<Acl::RuleConfig> entryReader(const std::string& what) {
  static constexpr std::string_view kKeys[] = {"seq", "action", "source"};
  return EntryReader<Acl::RuleConfig>(what, kKeys, [](const Fields& f, U32) {
    Acl::RuleConfig r;
    r.action = action(f.need("action"));
    const Node& at = f.need("source");
    const Vela::IpAddrWithFullMask source = addressWithMask(at, "source");
    if (std::optional<std::string> note = hostBitsNote(source)) {
      MarkRecorder::warn(at, WarningClass::hostBits, std::move(*note));
    }
    r.filter = Acl::IpFilter(source);
    return r;
  });
}

// --- Route maps: match rules --------------------------------------------------------------

MatchOption matchOption(const Node& n) {
  const std::string_view s = textOf(n, "option", "a match option name or number");
  for (const MatchOptionRow& row : kMatchOptions) {
    if (!row.name.empty() && s == row.name) return row.option;
  }
  const auto v = parseUnsigned(s);
  if (!v || *v > 0xffffffffu) {
    std::vector<std::string_view> names;
    for (const MatchOptionRow& row : kMatchOptions) {
      if (!row.name.empty()) names.push_back(row.name);
    }
    fail(n, "option: unknown match option " + quote(s) +
                " (expected a number or a name: " + joinKeys(names) + ")" + didYouMean(s, names));
  }
  return static_cast<MatchOption>(*v);
}

MatchRule parseMatchRule(const Node& n) {
  Fields f(n, "match rule", kMatchRuleKeys);
  if (n.isNull()) expected(n, "match rule", "a mapping");
  MatchRule r;
  r.option = matchOption(f.need("option"));
  r.invert = optionalBool(f, "invert", false);
  const std::string label = optionLabel(r.option);
  MarkScope at(n, "match");
  MarkScope option(n, label);
  // The option's form takes its own keys, between `option` and `invert` as messages list them.
  const MatchFormRow& form = matchFormOf(r.option);
  std::array<std::string_view, 4> allowed = {"option"};
  std::size_t count = 1;
  for (const std::string_view key : form.keys) {
    if (!key.empty()) allowed[count++] = key;
  }
  allowed[count++] = "invert";
  f.restrict(std::span(allowed.data(), count), "match option " + label);
  // The node of the form's i-th key; one of the required ones must be there.
  auto value = [&](std::size_t i) -> const Node* {
    return i < form.required ? &f.need(form.keys[i]) : f.get(form.keys[i]);
  };
  switch (form.form) {
    case MatchForm::listName:
      r.stringValue = name(*value(0), form.keys[0]);
      MarkRecorder::mark(*value(0));
      break;
    case MatchForm::ipv4Address:
      r.ipAddr = ipv4(*value(0), form.keys[0]);
      break;
    case MatchForm::ipv6Address:
      r.ip6Addr = ipv6(*value(0), form.keys[0]);
      break;
    case MatchForm::communityLists: {
      const Node& lists = *value(0);
      std::set<std::string> names = nameList(lists, form.keys[0]);
      if (names.empty()) expected(lists, form.keys[0], "at least one community-list name");
      r.commListSet = Routing::RouteMap::CommListSet(std::move(names));
      r.stringValue = r.commListSet.stringValue();
      r.exact = optionalBool(f, form.keys[1], false);
      break;
    }
    case MatchForm::text:
      r.stringValue = text(*value(0), form.keys[0]);
      break;
    case MatchForm::optionalText:
      if (const Node* v = value(0)) {
        r.stringValue = text(*v, form.keys[0]);
        MarkRecorder::mark(*v);  // the contributing-aggregate map's name
      }
      break;
    case MatchForm::metricType:
    case MatchForm::protocol:
    case MatchForm::routeType:
    case MatchForm::integer:
      r.intValue = number(*value(0), form.keys[0], form.low, form.high, form.what);
      break;
    case MatchForm::range:
      r.intValue = number(*value(0), form.keys[0]);
      r.upper = number(*value(1), form.keys[1]);
      break;
    case MatchForm::pair: {
      const Node& p = *value(0);
      if (!p.isList() || p.size() != 2) expected(p, form.keys[0], "a pair [first, second]");
      r.asPathLength = {number(p[0], form.keys[0]), number(p[1], form.keys[0])};
      break;
    }
    case MatchForm::passThrough:
      if (const Node* v = value(0)) {
        r.stringValue = text(*v, form.keys[0]);
        if (const auto x = parseUnsigned(r.stringValue); x && *x <= 0xffffffffu) {
          r.intValue = static_cast<U32>(*x);
        }
      }
      if (const Node* v = value(1)) r.upper = number(*v, form.keys[1]);
      break;
  }
  return r;
}

// --- Route maps: set clauses --------------------------------------------------------------

// The words messages use for the community-set flags, by number.
constexpr const auto& kFlagWords = kCommSetFlagNames;

// A community set clause: the values of the row's kind, the lists, and the flag the row allows.
void readCommunitySet(const SetClauseRow& row, const Node& n, SetClauses& into) {
  const std::string key(row.key);
  std::vector<std::string_view> keys = {"values", "lists", "flag"};
  if (row.linkBandwidth) keys.push_back("link-bandwidth");
  Fields f(n, key, keys);
  if (n.isNull()) expected(n, key, "a community set {values, lists, flag}");
  MarkScope at(n, "set");
  MarkScope clause(n, key);
  auto set = Vox::make<CommunitySet>();
  set->flag = row.defaultFlag;
  if (const Node* v = f.get("flag")) {
    set->flag = commSetFlag(*v, "flag");
    if (!carries(row, set->flag)) {
      // A clause that carries one flag only is the delete clause.
      if (row.flags == (1u << row.defaultFlag)) {
        expected(*v, "flag", std::to_string(row.defaultFlag) + " (" + key + " always deletes)");
      }
      std::vector<std::string> allowed;
      for (U32 flag = 0; flag < std::size(kFlagWords); ++flag) {
        if (carries(row, static_cast<Acl::CommSetFlag>(flag)))
          allowed.push_back(std::to_string(flag));
      }
      std::string message = "flag: " + key + " cannot carry flag " + std::to_string(set->flag) +
                            " (" + std::string(kFlagWords[set->flag]) + "); expected ";
      std::vector<std::string_view> words(allowed.begin(), allowed.end());
      message += joinKeys(words);
      for (const SetClauseRow& other : kSetClauses) {
        if (other.form == SetForm::communities && other.communityKind == row.communityKind &&
            carries(other, set->flag)) {
          message += ", or use " + std::string(other.key);
        }
      }
      fail(*v, message);
    }
  }
  if (const Node* v = f.get("values")) {
    if (!v->isNull()) {
      for (const Node& x : list(*v, "values", "a list of communities").items()) {
        switch (row.communityKind) {
          case Acl::communityStandard:
            set->standard.push_back(standardCommunity(x, "values"));
            break;
          case Acl::communityExtended:
            set->extended.push_back(extendedCommunity(x, "values"));
            break;
          case Acl::communityLarge:
            set->large.push_back(largeCommunity(x, "values"));
            break;
        }
      }
    }
  }
  if (const Node* v = f.get("lists")) {
    set->useCL = true;
    set->communityListName = nameList(*v, "lists");
  }
  if (const Node* v = row.linkBandwidth ? f.get("link-bandwidth") : nullptr) {
    Fields l(*v, "link-bandwidth", {"option", "bandwidth"});
    if (v->isNull()) expected(*v, "link-bandwidth", "a mapping {option, bandwidth}");
    into.extCommLbwFlag = static_cast<Acl::ExtCommLinkBandwidthSetFlag>(
        number(l.need("option"), "option", 0, 4, "a link-bandwidth option from 0 to 4"));
    if (const Node* b = l.get("bandwidth")) into.extCommLbwBandwidth = bandwidth(*b);
  }
  into.*std::get<CommunitySetField>(row.field) = set;
}

void readSetClause(const SetClauseRow& row, const Node& v, SetClauses& into) {
  switch (row.form) {
    case SetForm::asNumbers:
      into.*std::get<AsNumbersField>(row.field) = asNumbers(v, row.key);
      return;
    case SetForm::ipv4Address:
      into.*std::get<Ipv4Field>(row.field) = ipv4(v, row.key);
      return;
    case SetForm::ipv6Address:
      into.*std::get<Ipv6Field>(row.field) = ipv6(v, row.key);
      return;
    case SetForm::number: {
      const U32 n = namedNumber(v, row.key, row.names, row.low, row.high, row.what);
      if (const ByteField* byte = std::get_if<ByteField>(&row.field)) {
        into.*(*byte) = static_cast<U8>(n);
      } else {
        into.*std::get<NumberField>(row.field) = n;
      }
      return;
    }
    case SetForm::signedNumber:
      into.*std::get<SignedField>(row.field) = signedNumber(v, row.key);
      return;
    case SetForm::boolean:
      into.*std::get<FlagField>(row.field) = boolean(v, row.key);
      return;
    case SetForm::metric: {
      Fields m(v, std::string(row.key), {"value", "med-type"});
      if (v.isNull()) expected(v, row.key, "a mapping {value, med-type}");
      into.*std::get<SignedField>(row.field) = signedNumber(m.need("value"), "value");
      if (const Node* t = m.get("med-type")) {
        into.medType = number(*t, "med-type", 0, 8, "a med type from 0 to 8");
      }
      return;
    }
    case SetForm::communities:
      readCommunitySet(row, v, into);
      return;
  }
}

SetClauseDefs parseSetClauses(const Node& n) {
  const std::vector<std::string_view>& kKeys = setKeys();
  SetClauseDefs s;
  // A key outside the table with a number may be a name of the scenario's action-names map,
  // which is known only once the whole document is read (NamedAction).
  std::vector<std::string_view> keys;
  if (n.isMapping()) {
    for (const yaml::Member& m : n.members()) {
      if (!m.key.isText() || std::find(kKeys.begin(), kKeys.end(), m.key.text()) != kKeys.end())
        continue;
      const auto v = m.value.isText() ? parseSigned(m.value.text()) : std::nullopt;
      if (!v) continue;
      if (keys.empty()) keys = kKeys;
      keys.push_back(m.key.text());
      s.named.push_back({std::string(m.key.text()), *v, m.key.line(), m.key.column(),
                         m.value.line(), m.value.column()});
    }
  }
  std::optional<Fields> fields;
  try {
    fields.emplace(n, "set", keys.empty() ? kKeys : keys);
  } catch (const InputError& e) {
    if (!std::string_view(e.what()).starts_with("unknown key ")) throw;
    const std::string_view message = e.what();
    const auto open = message.find('\'');
    const auto close = message.find('\'', open + 1);
    throw InputError(
        e.line(), e.column(),
        std::string(message) + unnamedActionsNote(message.substr(open + 1, close - open - 1)));
  }
  const Fields& f = *fields;
  // In the table's order, whatever the order of the keys in the file.
  for (const SetClauseRow& row : kSetClauses) {
    if (const Node* v = f.get(row.key)) {
      readSetClause(row, *v, s);
      s.flags |= 1u << row.bit;
    }
  }
  return s;
}

// The entries of a route map or a peer filter.
template <>
EntryReader<MapEntryDef> entryReader(const std::string& what) {
  static constexpr std::string_view kKeys[] = {"seq", "action", "match", "sub-route-map", "set"};
  return EntryReader<MapEntryDef>(what, kKeys, [](const Fields& f, U32 seq) {
    MarkScope at(f.node(), std::to_string(seq));
    MapEntryDef e;
    e.permit = action(f.need("action"));
    if (const Node* m = f.get("match")) {
      if (!m->isNull()) {
        std::map<MatchOption, int> firstLine;
        for (const Node& r : list(*m, "match", "a list of match rules").items()) {
          MatchRule rule = parseMatchRule(r);
          if (auto it = firstLine.find(rule.option); it != firstLine.end()) {
            fail(r, "match: option " + optionLabel(rule.option) +
                        " given twice in one entry (first at line " + std::to_string(it->second) +
                        ")");
          }
          firstLine.emplace(rule.option, r.line());
          e.match.emplace(rule.option, std::move(rule));
        }
      }
    }
    if (const Node* s = f.get("sub-route-map")) {
      e.subRouteMap = text(*s, "sub-route-map");
      MarkRecorder::mark(*s, "sub-route-map");
    }
    if (const Node* s = f.get("set")) e.set = parseSetClauses(*s);
    return e;
  });
}

// --- Definitions --------------------------------------------------------------------------

// What a definition is called in messages: "prefix list 'PL'".
std::string definitionName(const SectionRow& row, std::string_view name) {
  return std::string(row.label) + ' ' + quote(name);
}

// The reader of a definition that is not a list of entries.
template <class Def>
Def readObject(const Node& n, const std::string& what);

template <>
DynamicPrefixListDef readObject(const Node& n, const std::string& what) {
  static const std::vector<std::string_view> kKeys = definitionKeys<DynamicPrefixListDef>();
  Fields f(n, what, kKeys);
  DynamicPrefixListDef d;
  for (const NameFieldRow& field : kDynamicPrefixListFields) {
    if (const Node* v = f.get(field.key)) {
      d.*field.member = text(*v, field.key);
      MarkRecorder::mark(*v, field.key);
    }
  }
  if (const Node* v = f.get("version")) d.version = number(*v, "version");
  return d;
}

// One definition of a section: a list of entries, with its version and source where its kind
// has them, or an object of fields.
template <class Def>
Def readDefinition(const Node& n, const std::string& what) {
  if constexpr (EntryDefinition<Def>) {
    const ListForm form = listForm<Def>(n, what);
    Def def;
    if constexpr (VersionedDefinition<Def>) def.version = form.version;
    if constexpr (SourcedDefinition<Def>) def.source = form.source;
    def.entries = readEntries(form.entries, entryReader<EntryOf<Def>>(what));
    return def;
  } else {
    return readObject<Def>(n, what);
  }
}

// --- Sections, steps, scenario ------------------------------------------------------------

// Calls `f(name, value)` for each member of a section that maps names to objects.
template <class F>
void forEachNamed(const Node* section, std::string_view sectionName, F&& f) {
  if (!section || section->isNull()) return;
  if (!section->isMapping()) {
    expected(*section, sectionName, "a mapping from names to definitions");
  }
  MarkScope in(*section, sectionName);
  std::map<std::string, int> firstLine;
  for (const yaml::Member& member : section->members()) {
    const std::string n = name(member.key, sectionName);
    if (auto at = firstLine.find(n); at != firstLine.end()) {
      fail(member.key, "duplicate name " + quote(n) + " in " + std::string(sectionName) +
                           " (first at line " + std::to_string(at->second) + ")");
    }
    firstLine.emplace(n, member.key.line());
    MarkScope at(member.key, n);
    f(n, member.value);
  }
}

ScenarioConfig parseConfig(const Node& n) {
  // The modes, the sections, then the policy map.
  static const std::vector<std::string_view> kKeys = [] {
    std::vector<std::string_view> keys;
    for (const ModeRow& mode : kModes) keys.push_back(mode.key);
    for (const SectionRow& row : kSections) keys.push_back(row.key);
    keys.push_back(kPolicyMapSection.key);
    return keys;
  }();
  const Fields f(n, "config", kKeys);
  ScenarioConfig c;
  for (const ModeRow& mode : kModes) {
    if (const Node* v = f.get(mode.key)) c.*mode.member = number(*v, mode.key);
  }
  forEachSection([&](const auto& section) {
    using Def = typename std::decay_t<decltype(section)>::Definition;
    forEachNamed(f.get(section.key), section.key, [&](const std::string& nm, const Node& v) {
      (c.*section.member).emplace(nm, readDefinition<Def>(v, definitionName(section, nm)));
    });
  });
  if (const Node* v = f.get(kPolicyMapSection.key)) {
    static const std::vector<std::string_view> kHeld = [] {
      std::vector<std::string_view> keys;
      for (const HeldNamesRow& held : kPolicyMapLists) keys.push_back(held.key);
      return keys;
    }();
    Fields p(*v, std::string(kPolicyMapSection.key), kHeld);
    MarkScope at(*v, kPolicyMapSection.key);
    for (const HeldNamesRow& held : kPolicyMapLists) {
      if (const Node* x = p.get(held.key)) {
        MarkScope names(*x, held.key);
        c.policyMap.*held.member = nameList(*x, held.key);
      }
    }
  }
  return c;
}

InputSet parseInputs(const Node& n) {
  InputSet set;
  if (n.isNull()) return set;
  std::string names;
  for (Input i : kAllInputs) {
    if (!names.empty()) names += ", ";
    names += inputName(i);
  }
  for (const Node& x : list(n, "inputs", "a list of input names").items()) {
    const std::string_view s = textOf(x, "inputs", "an input name");
    bool found = false;
    for (Input i : kAllInputs) {
      if (s != inputName(i)) continue;
      if (set.has(i)) fail(x, "inputs: " + quote(s) + " listed twice");
      set.set(i, true);
      found = true;
    }
    if (!found) fail(x, "inputs: unknown input " + quote(s) + " (expected one of " + names + ")");
  }
  return set;
}

Step parseStep(const Node& n, std::size_t number) {
  const std::string what = "step " + std::to_string(number);
  Fields f(n, what, {"name", "config", "inputs", "routes"});
  if (n.isNull()) expected(n, what, "a mapping {name, config, inputs, routes}");
  Step s;
  s.marks.step = {n.line(), n.column()};
  MarkRecorder recorder(s.marks);
  if (const Node* v = f.get("name")) s.name = text(*v, "name");
  s.config = parseConfig(f.need("config"));
  if (const Node* v = f.get("inputs")) s.inputs = parseInputs(*v);
  if (const Node* v = f.get("routes")) s.routes = readRouteChecks(*v);
  s.marks.seal();
  return s;
}

Scenario parseRoot(const Node& root) {
  if (!root.isMapping()) expected(root, "scenario", "a mapping with 'steps'");
  Fields f(root, "scenario", {"vrf", "action-names", "steps"});
  const ActionNames actionNames = parseActionNames(f.get("action-names"));
  Scenario sc;
  if (const Node* v = f.get("vrf")) {
    sc.vrf = text(*v, "vrf");
    if (sc.vrf.size() > L3::VrfName::maxLength) {
      fail(*v, "vrf: expected a name of at most " + std::to_string(L3::VrfName::maxLength) +
                   " bytes, got " + std::to_string(sc.vrf.size()) + " bytes");
    }
  }
  const Node& steps = f.need("steps");
  if (!steps.isList() || steps.size() == 0) {
    expected(steps, "steps", "a list of at least one step");
  }
  std::size_t number = 0;
  for (const Node& s : steps.items()) sc.steps.push_back(parseStep(s, ++number));
  for (Step& step : sc.steps) resolveNamedActions(step.config, actionNames);
  return sc;
}

// --- Reading lists early ------------------------------------------------------------------

// Starts reading the entries of a list of a section early; `path` is "SECTION/NAME".
using StartEarly = std::unique_ptr<yaml::EarlyList> (*)(std::string path, const std::string& what);

template <class Def>
std::unique_ptr<yaml::EarlyList> startEarly(std::string path, const std::string& what) {
  return std::make_unique<EarlyEntries<EntryOf<Def>>>(std::move(path),
                                                      entryReader<EntryOf<Def>>(what));
}

template <class Def>
constexpr StartEarly startOf() {
  if constexpr (EntryDefinition<Def>) {
    return &startEarly<Def>;
  } else {
    return nullptr;
  }
}

// By section, in the table's order; null for a section of objects that are not lists.
constexpr std::array<StartEarly, kSections.size()> kStartEarly = std::apply(
    [](const auto&... s) {
      return std::array<StartEarly, sizeof...(s)>{
          startOf<typename std::decay_t<decltype(s)>::Definition>()...};
    },
    kSectionTable);

// The lists read as the document is parsed: the entries of every list of every section, in
// every step, wherever the walk above takes the list for a list of entries whatever else the
// document holds (steps, a step's config, a section, a definition, its entries, each under a
// text key).
class ScenarioReading final : public yaml::EarlyReading {
 public:
  Entered enter(std::optional<Context> parent, bool isList, const std::string* key) const override {
    if (!parent) return {isList ? kNone : kRoot};
    switch (*parent) {
      case kRoot:
        return {isList && key && *key == "steps" ? kSteps : kNone};
      case kSteps:
        return {isList ? kNone : kStep};
      case kStep:
        return {!isList && key && *key == "config" ? kConfig : kNone};
      case kConfig:
        if (isList || !key) return {};
        for (std::size_t i = 0; i < kSections.size(); ++i) {
          if (kStartEarly[i] && kSections[i].key == *key) return {section(i, kSectionLevel)};
        }
        return {};
      default:
        break;
    }
    const std::size_t i = (*parent - kFirstSection) / kLevels;
    switch ((*parent - kFirstSection) % kLevels) {
      case kSectionLevel:
        if (!key) return {};
        return isList ? Entered{section(i, kEntriesLevel), true, true}
                      : Entered{section(i, kDefinitionLevel), true, false};
      case kDefinitionLevel:
        return isList && key && *key == "entries" ? Entered{section(i, kEntriesLevel), false, true}
                                                  : Entered{};
      default:
        return {};
    }
  }

  std::unique_ptr<yaml::EarlyList> start(Context list, std::string_view name) const override {
    const std::size_t i = (list - kFirstSection) / kLevels;
    return kStartEarly[i](std::string(kSections[i].key) + '/' + std::string(name),
                          definitionName(kSections[i], name));
  }

 private:
  static constexpr Context kRoot = 1;
  static constexpr Context kSteps = 2;
  static constexpr Context kStep = 3;
  static constexpr Context kConfig = 4;
  // Each section that holds lists has three contexts from here: the section, one definition
  // written as a mapping, and one list's entries.
  static constexpr Context kFirstSection = 5;
  static constexpr Context kLevels = 3;
  static constexpr Context kSectionLevel = 0;
  static constexpr Context kDefinitionLevel = 1;
  static constexpr Context kEntriesLevel = 2;
  static constexpr Context section(std::size_t i, Context level) {
    return kFirstSection + static_cast<Context>(i) * kLevels + level;
  }
};

}  // namespace

Scenario parseScenario(std::string_view text) {
  const ScenarioReading plan;
  const yaml::Document doc = yaml::readDocument(text, plan);
  return parseRoot(doc.root());
}

Scenario parseScenario(std::istream& in, const std::function<std::string()>& reread) {
  const ScenarioReading plan;
  const yaml::Document doc = yaml::readDocument(in, reread, plan);
  return parseRoot(doc.root());
}

}  // namespace ribpolicy
