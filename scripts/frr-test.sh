#!/usr/bin/env bash
# The FRR stage of CI: installs FRR (apt-get, as root), builds the live tests and runs the tests
# of label frr on bgpd daemons of their own: every golden scenario, the call orderings that stop
# bgpd 8.4.4, the demo at every commit, trouble on the FRR side, route checks sent by ExaBGP
# (installed beside FRR), and 200 random scenarios of the subset of equal meaning from fixed
# seeds, in two halves side by side.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/packages.sh frr
cmake --preset release >/dev/null
cmake --build --preset release --target frr_tests
ctest --preset release -L frr -j2
