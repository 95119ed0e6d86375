#!/usr/bin/env bash
# The main job: builds the library and its tools, then boots the module as a
# host would and prints what it registered.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/release -j "$(nproc)" --target so3d-info
./build/release/tools/so3d-info
