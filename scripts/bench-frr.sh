#!/usr/bin/env bash
# Times a one-entry change to a policy of 10,000 FRR configuration lines on a live bgpd: the FRR
# sink's step (`ribpolicy run --engine frr`, which sends the delta) against `frr-reload.py
# --reload` of the same change (package frr-pythontools, the yardstick only). The policy is
# 1,000 prefix lists of ten entries each: bgpd checks each new entry against its whole list, so
# one list of 10,000 entries would take it minutes whatever sends it.
#
# Both sides start from bgpd holding the policy and end with it holding the change; the
# policy is put back between runs, untimed. The sink's step is the time of `ribpolicy run`
# over the policy and then the change, less that of the same run whose second step changes
# nothing: both read the scenario, run the library's two steps and read bgpd's configuration to
# take it over, and only the first sends a delta (one line) and reads the result back; the time
# of reading the configuration back alone, one vtysh call, is shown beside it. Starts a
# bgpd of its own in a private path space (as root) and stops it by its pid on the way out.
# Prints each run and the medians.
#   scripts/bench-frr.sh [RUNS]      (default 5)
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-5}
bin=build/bin/ribpolicy
reload=/usr/lib/frr/frr-reload.py
if ! [[ "$runs" =~ ^[0-9]+$ ]] || [ "$runs" -lt 1 ]; then
  echo "usage: scripts/bench-frr.sh [RUNS]" >&2
  exit 2
fi
scripts/packages.sh frr frr-pythontools >&2
if [ ! -x "$bin" ]; then
  echo "bench-frr: no program at $bin (build the ribpolicy target first)" >&2
  exit 2
fi

work=$(mktemp -d)
pathspace=ribpolicy-bench-$$
rundir=/var/run/frr/$pathspace
pid=""
stop() {
  if [ -n "$pid" ] && kill -0 "$pid" 2>/dev/null; then
    kill "$pid"
    for _ in $(seq 100); do kill -0 "$pid" 2>/dev/null || break; sleep 0.05; done
    kill -0 "$pid" 2>/dev/null && kill -9 "$pid"
  fi
  rm -rf "$rundir" "$work"
}
trap stop EXIT

# The policy, then the same with entry 50 of list L0500 changed.
awk 'function lists(changed,   l, e) {
  print "      prefix-lists:"
  for (l = 0; l < 1000; l++) {
    printf "        L%04d:\n", l
    for (e = 1; e <= 10; e++) {
      printf "          - {seq: %d, action: permit, prefix: 10.%d.%d.0/24%s}\n", e * 10,
        l % 250, l / 250 * 10 + e, (changed && l == 500 && e == 5 ? ", le: 32" : "")
    }
  }
}
BEGIN {
  print "steps:\n  - name: policy of 10,000 lines\n    config:"; lists(0)
  print "  - name: one entry changed\n    config:"; lists(1)
}' > "$work/change.yaml"
awk '/^  - name: one entry changed/ { exit } { print }' "$work/change.yaml" > "$work/policy.yaml"
sed '/^  - name: one entry changed/,$ s/, le: 32//' "$work/change.yaml" > "$work/same.yaml"
"$bin" frr "$work/change.yaml" > "$work/changed.conf"

mkdir -p "$rundir"
chown frr:frr /var/run/frr "$rundir"
/usr/lib/frr/bgpd -d -A 127.0.0.1 -P 0 -p 0 -Z -N "$pathspace" -f /dev/null
for _ in $(seq 200); do [ -S "$rundir/bgpd.vty" ] && [ -s "$rundir/bgpd.pid" ] && break; sleep 0.05; done
pid=$(cat "$rundir/bgpd.pid")

now() { date +%s.%N; }
frr() { "$bin" run --engine frr --frr-pathspace "$pathspace" --frr-replace --frr-apply step "$@" > /dev/null; }

start=$(now)
frr "$work/policy.yaml"
echo "policy loaded into bgpd: $(echo "$(now) - $start" | bc) s (10,000 lines)"

elapsed() {
  local start
  start=$(now)
  "$@"
  echo "$(now) - $start" | bc
}
step=()
yardstick=()
readback=()
for i in $(seq "$runs"); do
  change=$(elapsed frr "$work/change.yaml")
  frr "$work/policy.yaml"
  same=$(elapsed frr "$work/same.yaml")
  step+=("$(echo "$change - $same" | bc)")
  yardstick+=("$(elapsed sh -c "exec $reload --reload --pathspace $pathspace --daemon bgpd \
    --rundir $work $work/changed.conf > $work/reload.log 2>&1")")
  frr "$work/policy.yaml"
  readback+=("$(elapsed sh -c "exec vtysh -N $pathspace -d bgpd -c 'show running-config' > /dev/null 2>&1")")
  echo "run $i: with the change $change s, without $same s: the sink's step ${step[-1]} s;" \
    "frr-reload.py ${yardstick[-1]} s; show running-config alone ${readback[-1]} s"
done
median() { printf '%s\n' "$@" | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
s=$(median "${step[@]}")
y=$(median "${yardstick[@]}")
r=$(median "${readback[@]}")
echo "median: the sink's step $s s, frr-reload.py --reload $y s: $(echo "scale=1; $y / $s" | bc)x"
echo "(the step reads the whole running configuration back, as its check; that alone: $r s)"
