#!/usr/bin/env bash
# Sets up, builds the program and runs the built-in demo scenario.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --build --preset release --target ribpolicy
build/bin/ribpolicy run "$@"
