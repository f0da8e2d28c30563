#!/usr/bin/env bash
# Installs the Debian packages that the build needs, and any package named on the command
# line, when they are missing (apt-get; as root, or through sudo). Installs nothing, and
# needs no network, when all of them are present.
set -euo pipefail

# FRR comes with ExaBGP, the speaker that `ribpolicy test` sends routes to bgpd with.
named=("$@")
for p in "$@"; do
  if [ "$p" = frr ]; then named+=(exabgp); fi
done
packages=(g++ cmake make libyaml-dev nlohmann-json3-dev libcli11-dev
          libgtest-dev libgmock-dev libbenchmark-dev pkg-config
          python3 python3-yaml python3-jsonschema "${named[@]}")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ "${#missing[@]}" -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq "${missing[@]}"
fi
