#!/usr/bin/env bash
# The cost of tracing that is switched off at run time, against tracing compiled out.
#
# Builds the benchmarks a second time with RIBPOLICY_TRACE=OFF (in build-notrace/ beside the
# release build/), runs the same start-up benchmarks in both binaries and prints the median
# CPU time of each and their difference. Usage: bench/trace-cost.sh [REPETITIONS]
# With --instructions it counts the instructions of one run of each benchmark under
# callgrind instead: slower, but the same on a busy machine as on an idle one.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
mode=time
if [ "${1:-}" = --instructions ]; then
  mode=instructions
  shift
fi
reps=${1:-5}
# One benchmark per run: the CSV report wants the same counters in every row.
filters=('BM_StartUpMaps/10000/' 'BM_StartUpPrefixLists/1000/1000/' 'BM_CommunityListFanOut/1000/')

cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$root/build" --target ribpolicy_bench -j 2 >/dev/null
cmake -S "$root" -B "$root/build-notrace" -DCMAKE_BUILD_TYPE=Release -DRIBPOLICY_TRACE=OFF \
  -DRIBPOLICY_TESTS=OFF >/dev/null
cmake --build "$root/build-notrace" --target ribpolicy_bench -j 2 >/dev/null

medians() {
  for filter in "${filters[@]}"; do
    "$1" --benchmark_filter="$filter" --benchmark_repetitions="$reps" \
      --benchmark_report_aggregates_only=true --benchmark_format=csv 2>/dev/null |
      awk -F, '$1 ~ /_median"$/ { gsub(/"/, "", $1); sub(/_median$/, "", $1); print $1, $4 }'
  done
}

instructions() {
  for filter in "${filters[@]}"; do
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$1" \
      --benchmark_filter="$filter" 2>&1 >/dev/null |
      awk -v name="${filter%/}" '/Collected :/ { print name, $NF }'
  done
}

if [ "$mode" = instructions ]; then
  if ! command -v valgrind >/dev/null; then "$root/scripts/packages.sh" valgrind; fi
  join <(instructions "$root/build/bin/ribpolicy_bench" | sort) \
       <(instructions "$root/build-notrace/bin/ribpolicy_bench" | sort) |
    awk 'BEGIN { printf "%-40s %16s %16s %8s\n", "benchmark", "off (instr)", "compiled out", "diff" }
         { printf "%-40s %16.0f %16.0f %+7.3f%%\n", $1, $2, $3, ($2 - $3) / $3 * 100 }'
  exit 0
fi

join <(medians "$root/build/bin/ribpolicy_bench" | sort) \
     <(medians "$root/build-notrace/bin/ribpolicy_bench" | sort) |
  awk 'BEGIN { printf "%-50s %14s %14s %8s\n", "benchmark", "off (cpu)", "compiled out", "diff" }
       { printf "%-50s %14.3f %14.3f %+7.2f%%\n", $1, $2, $3, ($2 - $3) / $3 * 100 }'
