#!/usr/bin/env bash
# Sets up, builds the program and runs the built-in demo scenario.
set -euo pipefail
cd "$(dirname "$0")/.."
# Set-up and build talk on standard error, so the program's output can be piped as it is
# (for example `./scripts/demo.sh --format jsonl | jq .`).
scripts/setup.sh >&2
cmake --build --preset release --target ribpolicy >&2
build/bin/ribpolicy run "$@"
