// The lines that bring FRR from one configuration to another, in an order bgpd 8.4.4 takes
// without harm. Nothing is sent for what did not change.
//
//  1. Every `call` that goes is removed first (`route-map N permit 5` / `no call`), also from
//     an entry or a map about to go: bgpd 8.4.4 exits when a map is later called from a map
//     that an entry removed with its call still in it had called.
//  2. Whole objects that go (or change between values and expressions): `no ip prefix-list N`,
//     `no route-map N` ... An AS-path list an entry of which goes or comes while another entry
//     holds its expression goes whole too and comes again: FRR's `no` of an AS-path entry
//     removes the first entry holding the expression, whatever the sequence number and action
//     it names, and FRR drops a new entry whose expression the list holds.
//  3. Entries that go, each by its own `no` line, before any entry is added: FRR drops an
//     entry whose value another entry of the list already holds, so a value moving from one
//     sequence number to another must leave its old place first. An entry that changes takes
//     its new value in place (FRR replaces the entry of a sequence number given again), unless
//     the list held that value elsewhere: then it goes first too.
//  4. Entries and route-map lines that are new or changed; a route-map entry's old lines go
//     before its new ones are added (a line such as `set metric` has one place in an entry).
//  5. New calls, last: no cycle of calls can form on the way, since the target holds none.
#pragma once

#include <string>
#include <vector>

#include "tools/ribpolicy/frr/Config.h"

namespace frr {

std::vector<std::string> delta(const Config& from, const Config& to);

}  // namespace frr
