#!/usr/bin/env bash
# Runs `ribpolicy verify` on the three deep-nesting scenarios: a chain of N route maps joined
# by sub-route-maps with names in ascending order, the same chain with names in descending
# order, and a chain of N dynamic prefix lists whose match maps refer to the next list. Each
# scenario configures the chain unreferenced, references its head, then drops the reference;
# every step must equal a fresh start.
#   scripts/deep-chain.sh [N] [RIBPOLICY]     (defaults: 100000, build/bin/ribpolicy)
set -euo pipefail
n=${1:-100000}
tool=${2:-build/bin/ribpolicy}
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

# Each step writes the whole chain again: an alias would count every repeated node against
# the reader's limit on what aliases may repeat.
gen_maps() {
  awk -v n="$n" -v desc="$1" '
  function maps() {
    print "    route-maps:"
    for (i = 0; i < n; i++) {
      a = desc ? n - 1 - i : i; b = desc ? a - 1 : a + 1
      printf "      R%07d:\n", a
      if (i + 1 < n) printf "        - {seq: 10, action: permit, sub-route-map: R%07d}\n", b
      else print "        - {seq: 10, action: permit}"
    }
  }
  BEGIN {
    print "steps:\n- name: unreferenced\n  config:"; maps()
    print "- name: head referenced\n  config:"; maps()
    printf "    policy-map: {route-maps: [R%07d]}\n", desc ? n - 1 : 0
    print "- name: reference dropped\n  config:"; maps()
  }'
}
gen_lists() {
  awk -v n="$n" '
  function config() {
    print "    dynamic-prefix-lists:"
    for (i = 0; i < n; i++) printf "      D%07d: {match-map: M%07d}\n", i, i
    print "    route-maps:"
    for (i = 0; i < n; i++) {
      printf "      M%07d:\n", i
      if (i + 1 < n) {
        printf "        - {seq: 10, action: permit, match: [{option: dynamic-prefix-list, value: D%07d}]}\n", i + 1
      } else {
        print "        - {seq: 10, action: permit}"
      }
    }
  }
  BEGIN {
    print "steps:\n- name: unreferenced\n  config:"; config()
    print "- name: head referenced\n  config:"; config()
    print "    policy-map: {dynamic-prefix-lists: [D0000000]}"
    print "- name: reference dropped\n  config:"; config()
  }'
}
gen_maps 0 > "$dir/ascending.yaml"
gen_maps 1 > "$dir/descending.yaml"
gen_lists > "$dir/lists.yaml"
for s in ascending descending lists; do
  echo "== $s chain of $n"
  "$tool" verify "$dir/$s.yaml"
done
