#!/usr/bin/env bash
# Checks the layering, then builds so3d twice (plain with warnings as errors,
# and with AddressSanitizer + UndefinedBehaviorSanitizer) and runs the whole
# test suite in both builds. The plain build's library is held to its
# documented exports, and its package is installed and built against as a
# host would (scripts/test_install.sh). Last, concurrent loads run under
# ThreadSanitizer, and the fuzz targets replay their corpora.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
python3 scripts/check_layers.py .
jobs=$(nproc)
for flavour in release asan; do
  dir=build/$flavour
  extra=()
  [ "$flavour" = asan ] && extra=(-DSO3D_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
  [ "$flavour" = release ] && extra=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DSO3D_WERROR=ON)
  cmake -S . -B "$dir" -G Ninja "${extra[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs"
  if [ "$flavour" = release ]; then bash scripts/check_exports.sh "$dir/libso3d.so"; fi
  echo "== tests: $flavour build"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir "$dir" --output-on-failure -j "$jobs"
  if [ "$flavour" = release ]; then bash scripts/test_install.sh "$dir"; fi
done

# Loads on two threads at once, under ThreadSanitizer.
cmake -S . -B build/tsan -G Ninja -DSO3D_SANITIZE_THREAD=ON -DCMAKE_BUILD_TYPE=Debug -DSO3D_BUILD_GLES=OFF >/dev/null
cmake --build build/tsan -j "$jobs" --target thread_tests
echo "== tests: thread sanitizer"
TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build/tsan --output-on-failure -R '^Threads\.'


# Every fuzz target replays its committed findings and seeds, then fuzzes
# for a short while (scripts/fuzz.sh runs long campaigns).
bash scripts/fuzz.sh "${SO3D_FUZZ_SECONDS:-15}"
