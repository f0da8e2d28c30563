// FRR's policy configuration as a model: objects keyed by kind and name, their entries by
// sequence number, a route-map entry's call, match and set lines. The translation of an engine
// tree, the lines read back from `show running-config` and the delta between two translations
// all work on this one model, so that what is printed, what is sent and what is compared
// cannot drift apart.
//
// Printed, a configuration is what `vtysh -f` takes as it stands and what FRR itself prints
// after a fresh apply of it: sections in FRR's order (access lists, IPv4 and IPv6 prefix lists,
// AS-path lists, community, extended and large community lists, route maps), objects by name
// in byte order, entries by sequence number, a route map's `call` first and then its match and
// set lines in byte order. What the engine holds and FRR cannot is kept beside the objects as
// notes, printed as `! no FRR form: ...` comments at the place of the object or entry they
// concern; notes never take part in a comparison or a delta.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/vox/Types.h"

namespace frr {

using Vox::S64;
using Vox::U32;
using Vox::U8;

// The kinds of FRR policy object, in the order FRR prints its sections. Dynamic prefix lists
// and peer filters have no FRR object; they appear only as notes at their place.
enum class Kind : std::uint8_t {
  accessList,
  prefixList,
  ipv6PrefixList,
  asPathList,
  communityList,
  extCommunityList,
  largeCommunityList,
  routeMap,
  dynamicPrefixList,
};

// What the engine holds at a place and FRR cannot, and where the scenario configures it.
struct Note {
  std::string text;
  std::string markPath;  // a StepMarks path
};

// A list entry's body ("permit 10.0.0.0/8 le 24"), or a route-map entry's action ("permit",
// "deny") with its lines.
struct Entry {
  std::string body;
  std::vector<std::string> lines;  // route maps only, as FRR orders them (see sortLines)

  friend bool operator==(const Entry&, const Entry&) = default;
};

struct Object {
  // A community list of expressions (`expanded`) rather than of values (`standard`); FRR keeps
  // one list of a name either way.
  bool expanded = false;
  std::map<U32, Entry> entries;
  std::vector<Note> notes;  // about the object, printed before its lines
  // About one entry, printed at the entry's place: inside a route-map entry's block, or where
  // a list entry without an FRR form would stand. A note's text names its entry itself,
  // except in a route-map entry, whose opening line stands above it.
  std::map<U32, std::vector<Note>> entryNotes;
};

using ObjectKey = std::pair<Kind, std::string>;

struct Config {
  std::vector<Note> notes;  // about the policy as a whole
  std::map<ObjectKey, Object> objects;

  // The object of `key`, made empty if absent.
  Object& object(Kind kind, const std::string& name) { return objects[{kind, name}]; }
  const Object* find(Kind kind, const std::string& name) const;
};

// The command that begins an object's lines: "ip prefix-list NAME", "bgp community-list
// expanded NAME", "route-map NAME" ...
std::string objectCommand(Kind kind, const std::string& name, bool expanded);
// One list entry as FRR prints it: "ip prefix-list NAME seq 10 permit 10.0.0.0/8".
std::string entryLine(Kind kind, const std::string& name, bool expanded, U32 seq,
                      const std::string& body);
// The line that opens a route-map entry: "route-map NAME permit 10".
std::string mapEntryLine(const std::string& name, const std::string& action, U32 seq);

// Orders a route-map entry's lines as FRR prints them: `call` first, then byte order.
void sortLines(std::vector<std::string>& lines);

// The configuration as FRR configuration text, notes as comments.
std::string configText(const Config& config);

// Every note in the order the text prints them, a route-map entry's prefixed by its opening
// line ("route-map RM permit 10: set metric 5 with med type 2").
std::vector<Note> notesInOrder(const Config& config);

// Every policy line of a configuration that FRR would hold, one string each, sorted: a list
// entry as entryLine gives it, a route-map entry's opening line, and each of its lines as
// "route-map NAME permit 10: LINE". Objects without entries hold nothing in FRR and give no
// line.
std::vector<std::string> policyLines(const Config& config);

// Whether a route-map entry's line is its call of another map (which FRR wants before the
// entry's other lines go, and after they come).
bool isCall(const std::string& line);

// The lines on which two configurations differ, sorted, each prefixed by which side has it:
// "only in LEFT: LINE" or "only in RIGHT: LINE".
std::vector<std::string> differences(const Config& left, const Config& right,
                                     std::string_view leftName, std::string_view rightName);

}  // namespace frr
