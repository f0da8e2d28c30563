#!/usr/bin/env bash
# Times the ribpolicy program on a generated scenario of N prefix-list entries (default
# 100000) and a few route maps that use the list: `check`, `run --format jsonl` (to
# /dev/null), `state` (to /dev/null) and `verify`, each with its wall time, its processor
# time (user and system; on a shared machine the steadier of the two) and its peak resident
# memory, as one table.
# A command that runs past LIMIT seconds (environment, default 600) is stopped and shown as
# such.
#   scripts/bench-tool.sh [N] [BINARY]    (BINARY defaults to build/bin/ribpolicy)
set -euo pipefail
cd "$(dirname "$0")/.."
n=${1:-100000}
bin=${2:-build/bin/ribpolicy}
limit=${LIMIT:-600}
if ! [[ "$n" =~ ^[0-9]+$ ]] || [ "$n" -lt 1 ]; then
  echo "usage: scripts/bench-tool.sh [N] [BINARY]" >&2
  exit 2
fi
if [ ! -x "$bin" ]; then
  echo "bench-tool: no program at $bin (build the ribpolicy target first)" >&2
  exit 2
fi
if [ ! -x /usr/bin/time ]; then scripts/packages.sh time; fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
scenario="$work/prefix-list-$n.yaml"

# One step: the list PL with N entries, one /24 each, and four route maps matching it.
awk -v n="$n" 'BEGIN {
  print "steps:"
  print "  - name: prefix list of " n " entries"
  print "    config:"
  print "      prefix-lists:"
  print "        PL:"
  for (i = 1; i <= n; i++) {
    a = int((i - 1) / 65536) % 224 + 1; b = int((i - 1) / 256) % 256; c = (i - 1) % 256
    printf "          - seq: %d\n            action: %s\n            prefix: %d.%d.%d.0/24\n", \
      i, (i % 7 == 0 ? "deny" : "permit"), a, b, c
    if (i % 5 == 0) print "            le: 32"
  }
  print "      route-maps:"
  for (m = 1; m <= 4; m++) {
    print "        RM" m ":"
    print "          - seq: 10"
    print "            action: permit"
    print "            match: [{option: prefix-list, value: PL}]"
    print "            set: {as-path-prepend: [6500" m "], origin: 1}"
    print "          - {seq: 20, action: deny}"
  }
}' > "$scenario"

printf 'scenario: %d entries, %s bytes; program: %s\n' "$n" "$(stat -c %s "$scenario")" "$bin"
printf '%-20s %9s %8s %14s %7s\n' command 'wall (s)' 'cpu (s)' 'peak RSS (MB)' status
measure() {
  local label=$1
  shift
  local status=0
  /usr/bin/time -f '%e %U %S %M' -o "$work/time" timeout "$limit" "$@" >/dev/null 2>"$work/err" ||
    status=$?
  read -r seconds user system kb < <(tail -n 1 "$work/time")
  if [ "$status" -eq 124 ]; then seconds=">$limit"; fi
  cpu=$(awk -v u="$user" -v s="$system" 'BEGIN { print u + s }')
  printf '%-20s %9s %8.2f %14d %7d\n' "$label" "$seconds" "$cpu" $((kb / 1024)) "$status"
  if [ "$status" -ne 0 ]; then head -n 3 "$work/err" >&2; fi
}
measure check "$bin" check "$scenario"
measure 'run --format jsonl' "$bin" run --format jsonl "$scenario"
measure state "$bin" state "$scenario"
measure verify "$bin" verify "$scenario"
