#!/usr/bin/env bash
# Fuzzes the scenario reader: installs clang and the libraries that are missing, builds the
# fuzz preset (build-fuzz/), replays the seed inputs of fuzz/corpus/ and then fuzzes for
# SECONDS (default 60; 0 only replays). Exits non-zero on any crash, sanitizer report, leak
# or hang; the input that caused it is left in build-fuzz/artifacts/. Inputs that reached
# new code are kept in build-fuzz/corpus/ for the next run.
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
if ! [[ "$seconds" =~ ^[0-9]+$ ]]; then
  echo "usage: scripts/fuzz.sh [SECONDS]" >&2
  exit 2
fi

scripts/packages.sh clang libclang-rt-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

fuzzer=build-fuzz/bin/scenario_reader_fuzzer
mkdir -p build-fuzz/corpus build-fuzz/artifacts
export UBSAN_OPTIONS=print_stacktrace=1
# Inputs up to 16 KiB hold the largest example and a few thousand nested brackets; an input
# that takes ten seconds is a hang.
options=(-max_len=16384 -timeout=10 -rss_limit_mb=2048 -dict=fuzz/scenario.dict
         -artifact_prefix=build-fuzz/artifacts/)

seeds=(fuzz/corpus/*)
echo "replaying ${#seeds[@]} seed inputs"
if ! "$fuzzer" "${options[@]}" "${seeds[@]}" >build-fuzz/replay.log 2>&1; then
  tail -n 60 build-fuzz/replay.log
  echo "fuzz: a seed input failed (build-fuzz/replay.log)" >&2
  exit 1
fi
if [ "$seconds" -eq 0 ]; then exit 0; fi

echo "fuzzing for $seconds s"
# The writable corpus comes first: libFuzzer adds new inputs to the first directory only,
# so the checked-in seeds stay as they are.
if ! "$fuzzer" "${options[@]}" -max_total_time="$seconds" -print_final_stats=1 \
    build-fuzz/corpus fuzz/corpus >build-fuzz/fuzz.log 2>&1; then
  tail -n 80 build-fuzz/fuzz.log
  echo "fuzz: failure found, input in build-fuzz/artifacts/ (log build-fuzz/fuzz.log)" >&2
  exit 1
fi
grep -E '^(Done|stat::(number_of_executed_units|average_exec_per_sec|new_units_added|peak_rss_mb))' \
  build-fuzz/fuzz.log
