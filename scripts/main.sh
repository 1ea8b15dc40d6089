#!/usr/bin/env bash
# Sets up the machine, builds the library and its tool, and runs the main job:
# posteriors of the bundled asia model given a positive x-ray.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DORVIL_BUILD_TESTS=OFF >/dev/null
cmake --build build -j"$(nproc)"
./build/orvil infer examples/models/asia.xqel --evidence xray=yes
