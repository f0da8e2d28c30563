#!/usr/bin/env bash
# Times 50,000 routes, each with attributes of its own, taken through one route map end to end
# by `ribpolicy test --map M --routes FILE` (the policy applied, ExaBGP started, the routes
# sent, bgpd's results read and printed) against ExaBGP alone delivering the same routes to the
# same bgpd from a static configuration (from its start until bgpd's Adj-RIB-In holds every
# route). Both figures come from one run of this script, on a bgpd of its own in a private path
# space (as root), stopped by its pid on the way out; the ratio is the program's time over
# ExaBGP's.
#   scripts/bench-routes.sh [ROUTES]      (default 50000)
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-50000}
bin=build/bin/ribpolicy
if ! [[ "$count" =~ ^[0-9]+$ ]] || [ "$count" -lt 1 ] || [ "$count" -gt 16000000 ]; then
  echo "usage: scripts/bench-routes.sh [ROUTES]" >&2
  exit 2
fi
scripts/packages.sh frr >&2
if [ ! -x "$bin" ]; then
  echo "bench-routes: no program at $bin (build the ribpolicy target first)" >&2
  exit 2
fi

work=$(mktemp -d)
pathspace=ribpolicy-bench-routes-$$
rundir=/var/run/frr/$pathspace
pid=""
speaker=""
stopPid() {
  local p=$1
  if [ -n "$p" ] && kill -0 "$p" 2>/dev/null; then
    kill "$p"
    for _ in $(seq 100); do kill -0 "$p" 2>/dev/null || break; sleep 0.05; done
    kill -0 "$p" 2>/dev/null && kill -9 "$p"
  fi
  return 0
}
stop() {
  stopPid "$speaker"
  stopPid "$pid"
  rm -rf "$rundir" "$work"
}
trap stop EXIT

# The policy: customer space tagged and given a metric, the rest denied.
cat > "$work/policy.yaml" <<'YAML'
steps:
  - config:
      prefix-lists:
        P: [{seq: 10, action: permit, prefix: 10.0.0.0/8, le: 24}]
      route-maps:
        M:
          - seq: 10
            action: permit
            match: [{option: prefix-list, value: P}]
            set:
              metric: {value: 50}
              community: {values: ["64496:100"], flag: 2}
YAML
# The routes, each its own prefix, path, community and med; the same as ExaBGP's static routes.
# Their paths stay below bgpd's own AS 64999, which it drops as a loop before any map.
awk -v n="$count" 'BEGIN {
  for (i = 0; i < n; i++) {
    printf "- {prefix: 10.%d.%d.0/24, as-path: [64500, %d], communities: [\"64500:%d\"], med: %d}\n",
      int(i / 256) % 256, i % 256, 64501 + i % 400, i % 65536, i
  }
}' > "$work/routes.yaml"
port=17979
awk -v n="$count" -v port="$port" 'BEGIN {
  print "neighbor 127.0.0.1 {\n  router-id 127.0.0.2;\n  local-address 127.0.0.2;"
  print "  local-as 64999;\n  peer-as 64999;\n  passive true;\n  family {\n    ipv4 unicast;\n  }"
  print "  static {"
  for (i = 0; i < n; i++) {
    printf "    route 10.%d.%d.0/24 next-hop 192.0.2.1 origin igp local-preference 100 med %d as-path [ 64500 %d ] community [ 64500:%d ];\n",
      int(i / 256) % 256, i % 256, i, 64501 + i % 400, i % 65536
  }
  print "  }\n}"
}' > "$work/exabgp.conf"

mkdir -p "$rundir" && chown frr:frr /var/run/frr "$rundir"
/usr/lib/frr/bgpd -d -Z -p 0 -P 0 -A 127.0.0.1 -N "$pathspace" -f /dev/null
for _ in $(seq 100); do [ -s "$rundir/bgpd.pid" ] && [ -S "$rundir/bgpd.vty" ] && break; sleep 0.05; done
pid=$(cat "$rundir/bgpd.pid")
vty() { vtysh -N "$pathspace" -d bgpd "$@" 2>/dev/null; }
now() { date +%s.%N; }

# ExaBGP alone: the policy and the neighbor as the program makes them, then the speaker with
# the settings the program gives it.
"$bin" run --engine frr --frr-pathspace "$pathspace" --frr-apply step "$work/policy.yaml" >/dev/null
vty -c "configure terminal" -c "router bgp 64999" -c "bgp router-id 127.0.0.1" \
  -c "neighbor 127.0.0.2 remote-as internal" -c "neighbor 127.0.0.2 port $port" \
  -c "neighbor 127.0.0.2 update-source 127.0.0.1" -c "neighbor 127.0.0.2 timers connect 1" \
  -c "address-family ipv4 unicast" -c "neighbor 127.0.0.2 activate" \
  -c "neighbor 127.0.0.2 soft-reconfiguration inbound" -c "neighbor 127.0.0.2 route-map M in" \
  >/dev/null
start=$(now)
env exabgp.tcp.port=$port exabgp.tcp.bind=127.0.0.2 exabgp.api.cli=false exabgp.daemon.user=root \
  exabgp.daemon.drop=false exabgp.log.level=WARNING \
  exabgp.log.destination="$work/exabgp.log" exabgp "$work/exabgp.conf" >"$work/exabgp.out" 2>&1 &
speaker=$!
taken=0
until [ "$taken" -ge "$count" ]; do
  taken=$(vty -c "show bgp ipv4 unicast neighbors 127.0.0.2 prefix-counts json" |
    python3 -c 'import json,sys; print(json.load(sys.stdin).get("ribTableWalkCounters",{}).get("Adj-in",0))' 2>/dev/null || echo 0)
  kill -0 "$speaker" 2>/dev/null || { echo "bench-routes: ExaBGP stopped" >&2; cat "$work/exabgp.out" >&2; exit 1; }
  sleep 0.1
done
alone=$(echo "$(now) - $start" | bc)
stopPid "$speaker"
speaker=""
vty -c "configure terminal" -c "no router bgp 64999" >/dev/null

# The program end to end, on the same bgpd, its policy taken over.
start=$(now)
"$bin" test --engine frr --frr-pathspace "$pathspace" --frr-replace --frr-timeout 300 \
  --map M --routes "$work/routes.yaml" "$work/policy.yaml" >"$work/results.txt"
tool=$(echo "$(now) - $start" | bc)
results=$(wc -l <"$work/results.txt")
if [ "$results" -ne "$count" ]; then
  echo "bench-routes: $results results for $count routes" >&2
  exit 1
fi
printf 'routes: %d (each its own prefix, path, community and med)\n' "$count"
printf 'ExaBGP alone, start to the last route in bgpd: %.2f s\n' "$alone"
printf 'ribpolicy test --map --routes, end to end:    %.2f s\n' "$tool"
printf 'ratio: %.2f\n' "$(echo "$tool / $alone" | bc -l)"
