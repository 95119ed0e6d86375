#!/usr/bin/env bash
# Builds the benchmarks (Release) and runs every one of them; each prints its
# figures beside the anchors it measures in the same run.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
dir=build/bench
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DSO3D_BUILD_BENCH=ON -DSO3D_BUILD_TESTS=OFF >/dev/null
cmake --build "$dir" -j "$(nproc)"
for bench in "$dir"/bench/*_bench; do
  echo "== $(basename "$bench")"
  "$bench" --benchmark_min_time=0.2 "$@"
done
