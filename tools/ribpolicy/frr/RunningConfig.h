// The policy sections of FRR's `show running-config`, read into the configuration model:
// access lists, IPv4 and IPv6 prefix lists, AS-path lists, community, extended and large
// community lists (a numbered one of values or of expressions by its number's range) and route
// maps with their lines. Everything else (the header, `router bgp`, logging) is left out.
//
// Addresses are read and written again in the form the translation writes, since FRR prints
// some IPv6 addresses in a form of its own (an IPv4-mapped one as ::ffff:102:304).
#pragma once

#include <string_view>

#include "tools/ribpolicy/frr/Config.h"

namespace frr {

Config parseRunningConfig(std::string_view text);

}  // namespace frr
