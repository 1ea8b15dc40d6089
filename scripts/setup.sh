#!/usr/bin/env bash
# Installs, from Debian's packages, whatever the build, tests and benchmarks
# need and the machine lacks. Does nothing when all is there.
set -euo pipefail

packages=(cmake g++ make pkg-config libexpat1-dev libgtest-dev libbenchmark-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
