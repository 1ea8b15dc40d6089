#!/usr/bin/env bash
# Sets up the machine, then builds warning-free and runs the whole suite twice:
# once plain, once under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
jobs="$(nproc)"

cmake -S . -B build-test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVIL_WERROR=ON >/dev/null
cmake --build build-test -j"$jobs"
ctest --test-dir build-test --output-on-failure -j"$jobs"

cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DORVIL_WERROR=ON -DORVIL_SANITIZE=ON >/dev/null
cmake --build build-asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan --output-on-failure -j"$jobs"
