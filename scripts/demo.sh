#!/usr/bin/env bash
# The main job: builds the library and its tools, boots the module as a host
# would and prints what it registered, then renders the project's demo
# transition on the OpenGL ES device (the CPU rasteriser where there is no
# GPU) to PNG frames and a contact sheet.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
build=build/release
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j "$(nproc)" --target so3d-info so3d-render so3d-demo-effect
"./$build/tools/so3d-info"

demo=build/demo
mkdir -p "$demo"
# The demo effect is made by a small program of the project's own.
"./$build/examples/so3d-demo-effect" "$demo/effect"
rm -f "$demo"/frame_*.png
"./$build/tools/so3d-render" --size 720x480 --frames 10 --out "$demo" --sheet "$demo/contact_sheet.png" \
  "$demo/effect/flat.lws" "$demo/effect/card.lws"
echo
echo "frames:        $(pwd)/$demo/frame_0000.png ... frame_0009.png"
echo "contact sheet: $(pwd)/$demo/contact_sheet.png"
