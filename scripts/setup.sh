#!/usr/bin/env bash
# Installs the build tools and libraries that are missing (Debian packages), then configures
# the release build in build/. Safe to run again: it installs nothing that is present.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/packages.sh
cmake --preset release >/dev/null
