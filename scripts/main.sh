#!/usr/bin/env bash
# Sets up the machine, builds the library and its tool, and runs the main job.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DORVIL_BUILD_TESTS=OFF >/dev/null
cmake --build build -j"$(nproc)"
./build/build_network
