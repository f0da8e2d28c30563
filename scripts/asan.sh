#!/usr/bin/env bash
# Builds the library, the program and the tests with AddressSanitizer, LeakSanitizer and
# UndefinedBehaviorSanitizer (the asan preset, build-asan/) and runs every test under them.
# Any sanitizer report stops its test with a failure (the preset's ASAN_OPTIONS and
# UBSAN_OPTIONS), so the script exits non-zero.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/packages.sh
cmake --preset asan >/dev/null
cmake --build --preset asan
# The tests on a live bgpd (label frr) mostly wait on the daemon; the release build runs them,
# and the sanitizers see the same FRR code through the tests that need no daemon. The checks of
# the tree and its documents (label tree) run no code the other tests do not.
ctest --preset asan --timeout 600 -LE 'frr|tree' -j2
