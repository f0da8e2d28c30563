#!/usr/bin/env bash
# Sets up, builds everything (library, program, tests, benchmarks) and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --build --preset release
ctest --preset release --timeout 300 -j2
