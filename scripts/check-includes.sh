#!/usr/bin/env bash
# The library folders may include only the standard library and each other: any quoted
# include must name a file of the library, and any angle include a standard header.
# Within the route-map library each kind of policy object keeps to its folder: a kind includes
# another kind only through the command channel (mio/), and reaches its owning state machine
# through the filter-list state machine's header; the channel gathers the kinds' command
# headers (Mio*.h), never their state machines; root/ and filterlist/ gather the kinds.
set -u
shopt -s extglob
root=${1:-.}
cd "$root" || exit 2
bad=0
while IFS= read -r line; do
  file=${line%%:*}
  inc=$(sed -E 's/.*#include[[:space:]]*([<"][^>"]+[>"]).*/\1/' <<<"$line")
  # The route-map library builds the dynamic-prefix-list state machine, so the reverse
  # include would make the two libraries depend on each other.
  if [[ "$file" == RibDynamicPrefixList/* && "$inc" == \"RibRouteMap/* ]]; then
    echo "$file: dynamic-prefix-list library includes the route-map library: $inc"; bad=1
  fi
  # A kind's own files: its folder, or, for prefix lists and AS-path lists, which live beside
  # the filter-list state machine that holds their reactors, the files of its own name.
  mine=
  if [[ "$file" =~ ^RibRouteMap/(acl|community|routemap|peerfilter)/ ]]; then
    kind=${BASH_REMATCH[1]}; mine="RibRouteMap/$kind/*"
  elif [[ "$file" =~ ^RibRouteMap/filterlist/(Mio)?(PrefixList|AsPath) ]]; then
    kind=${BASH_REMATCH[2]}; mine="RibRouteMap/filterlist/?(Mio)$kind*"
  fi
  if [ -n "$mine" ] && [[ "$inc" == \"RibRouteMap/* ]]; then
    path=${inc//\"/}
    case "$path" in
      RibRouteMap/mio/*|RibRouteMap/filterlist/AclListConfigSm.h) ;;
      $mine) ;;
      *) echo "$file: the $kind kind includes another kind other than through the channel: $inc"; bad=1 ;;
    esac
  fi
  if [[ "$file" == RibRouteMap/mio/* && "$inc" == \"RibRouteMap/* ]]; then
    case "$inc" in
      \"RibRouteMap/mio/*|\"RibRouteMap/*/Mio*.h\") ;;
      *) echo "$file: the command channel includes more of a kind than its commands: $inc"; bad=1 ;;
    esac
  fi
  case "$inc" in
    \"framework/*|\"RibRouteMap/*|\"RibDynamicPrefixList/*|\"RoutingPolicyMap/*|\"RibText/*) ;;
    \<*\>)
      name=${inc#<}; name=${name%>}
      # Standard headers have no extension and no directory (bar the C compat ones).
      if [[ "$name" == */* || "$name" == *.* ]]; then echo "$file: non-standard include $inc"; bad=1; fi ;;
    *) echo "$file: include outside the library: $inc"; bad=1 ;;
  esac
done < <(grep -rnE '^[[:space:]]*#[[:space:]]*include' framework RibRouteMap RibDynamicPrefixList RoutingPolicyMap RibText --include='*.h' --include='*.cpp' | sed -E 's/^([^:]+):[0-9]+:/\1:/')

# The public headers, and every library header they include, are what an install holds
# (cmake/Package.cmake installs the same closure): none may hold a state machine (every one is
# a reactor, so none may include the reactor headers or define a class named ...Sm) nor define
# a macro that would reach a host's code.
public=(RibRouteMap/Host.h RibText/Text.h)
declare -A seen=()
pending=("${public[@]}")
while [ "${#pending[@]}" -gt 0 ]; do
  h=${pending[0]}
  pending=("${pending[@]:1}")
  [ -n "${seen[$h]:-}" ] && continue
  seen[$h]=1
  while IFS= read -r inc; do pending+=("$inc"); done < <(sed -nE 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"([^"]+)".*/\1/p' "$h")
done
for h in "${!seen[@]}"; do
  if grep -qE '#[[:space:]]*include[[:space:]]*"framework/vox/(Reactor|ReactorColl)\.h"' "$h"; then
    echo "$h: a public header includes the reactors"; bad=1
  fi
  if grep -qE '^[[:space:]]*(class|struct)[[:space:]]+[A-Za-z0-9_]*Sm\b[^;]*$' "$h"; then
    echo "$h: a public header holds a state machine"; bad=1
  fi
  if grep -qE '^[[:space:]]*#[[:space:]]*define' "$h"; then
    echo "$h: a public header defines a macro"; bad=1
  fi
done
if [ "$bad" -ne 0 ]; then exit 1; fi
echo "library includes: standard library and library headers only; ${#seen[@]} public headers, no state machine, no macro"
