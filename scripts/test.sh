#!/usr/bin/env bash
# Builds so3d twice (plain, and with AddressSanitizer + UndefinedBehavior-
# Sanitizer) and runs the whole test suite in both builds.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
jobs=$(nproc)
for flavour in release asan; do
  dir=build/$flavour
  extra=()
  [ "$flavour" = asan ] && extra=(-DSO3D_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
  [ "$flavour" = release ] && extra=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
  cmake -S . -B "$dir" -G Ninja "${extra[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs"
  echo "== tests: $flavour build"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir "$dir" --output-on-failure -j "$jobs"
done
