#include "RibRouteMap/routemap/RibRouteMapUtil.h"

#include <map>
#include <utility>

#include "RibRouteMap/mio/Tags.h"

namespace RibRouteMap {

namespace {

// Option -> (path tag of the match node, value tag of the matched value).
using MatchOptionTable = std::map<Routing::RouteMap::MatchOption, std::pair<U32, U32>>;

bool lookUp(const MatchOptionTable& table, Routing::RouteMap::MatchOption option, U32* pathTag,
            U32* valueTag) {
  const auto it = table.find(option);
  if (it == table.end()) return false;
  *pathTag = it->second.first;
  *valueTag = it->second.second;
  return true;
}

}  // namespace

bool ribIsMatchOptionInt(Routing::RouteMap::MatchOption option, U32* pathTag, U32* valueTag) {
  // Built on first use and kept for the life of the process.
  static const MatchOptionTable table = {
      {100, {Tag::matchOption100, 2}},  {105, {Tag::matchOption105, 21}},
      {108, {Tag::matchOption108, 4}},  {109, {Tag::matchOption109, 18}},
      {110, {Tag::matchOption110, 17}}, {111, {Tag::matchOption111, 26}},
      {115, {Tag::matchOption115, 3}},
  };
  return lookUp(table, option, pathTag, valueTag);
}

bool ribIsMatchOptionStr(Routing::RouteMap::MatchOption option, U32* pathTag, U32* valueTag) {
  // Option 103 is listed for completeness; the match dispatcher sends community matches
  // through their own command before it consults this table.
  static const MatchOptionTable table = {
      {101, {Tag::matchOption101, 9}},
      {102, {Tag::matchOption102, 10}},
      {103, {Tag::matchCommList, 13}},
      {120, {Tag::matchOption120, 27}},
  };
  return lookUp(table, option, pathTag, valueTag);
}

}  // namespace RibRouteMap
