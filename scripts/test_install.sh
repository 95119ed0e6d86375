#!/usr/bin/env bash
# The package as a host developer meets it: installs a build into a scratch
# prefix, builds examples/host_minimal.cpp against it twice (find_package and
# pkg-config) and runs both on the installed demo effect; then makes the
# Debian package, checks its contents, unpacks it into a scratch root and
# renders the demo with its so3d-render. In CI (as root) the package is also
# installed for real with apt-get.
set -euo pipefail
build=${1:?usage: test_install.sh BUILD_DIR}
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$build" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
say() { echo "install: $*"; }

# The README shows the example host whole: its copy must be the file.
awk '/<!-- examples\/host_minimal.cpp -->/{grab=1; getline; next} grab && /^```$/{exit} grab' \
  "$root/README.md" >"$work/readme_host.cpp"
if ! cmp -s "$work/readme_host.cpp" "$root/examples/host_minimal.cpp"; then
  echo "install: the README's host program differs from examples/host_minimal.cpp"
  exit 1
fi

prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
effect=$prefix/share/so3d/effects/demo
libdir=$(dirname "$(find "$prefix" -name 'libso3d.so' | head -n 1)")

# A separate project, as a host would write it.
mkdir -p "$work/host"
cp "$root/examples/host_minimal.cpp" "$work/host/"
cat > "$work/host/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(so3d 0.2 REQUIRED)
add_executable(host_minimal host_minimal.cpp)
target_link_libraries(host_minimal PRIVATE so3d::so3d so3d::gles)
CMAKE
cmake -S "$work/host" -B "$work/host/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/host/build" >/dev/null
mkdir -p "$work/out-cmake" "$work/out-pc"
"$work/host/build/host_minimal" "$effect/flat.lws" "$effect/card.lws" "$work/out-cmake" 3
test -s "$work/out-cmake/host_2.png"
say "find_package(so3d) host built and ran"

export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046
g++ -std=c++20 -o "$work/host_pc" "$work/host/host_minimal.cpp" $(pkg-config --cflags --libs so3d-gles) \
  -Wl,-rpath,"$libdir"
"$work/host_pc" "$effect/flat.lws" "$effect/card.lws" "$work/out-pc" 3
cmp "$work/out-cmake/host_2.png" "$work/out-pc/host_2.png"
say "pkg-config so3d-gles host built and ran, same frames"

(cd "$build" && cpack -G DEB >/dev/null)
deb=$(ls "$build"/so3d_*.deb | head -n 1)
contents=$(dpkg-deb --contents "$deb")
for f in ./usr/bin/so3d-render ./usr/bin/so3d-info ./usr/include/so3d/module/so3d.h \
         ./usr/lib/cmake/so3d/so3dConfig.cmake ./usr/lib/pkgconfig/so3d.pc ./usr/share/so3d/effects/demo/flat.lws; do
  grep -q " $f\$" <<<"$contents" || { echo "install: $deb lacks $f"; exit 1; }
done
grep -q "libso3d.so.0 -> " <<<"$contents" || { echo "install: $deb lacks the libso3d.so.0 link"; exit 1; }
dpkg-deb --field "$deb" Depends | grep -q libegl1
dpkg-deb -x "$deb" "$work/root"
"$work/root/usr/bin/so3d-render" --frames 2 --out "$work/out-deb" \
  "$work/root/usr/share/so3d/effects/demo/flat.lws" "$work/root/usr/share/so3d/effects/demo/card.lws" >/dev/null
test -s "$work/out-deb/frame_0001.png"
plugin=$(grep -o '\./usr/lib/.*gstreamer-1.0/libgstso3d.so' <<<"$contents" || true)
[ -n "$plugin" ] || { echo "install: $deb lacks the GStreamer plugin"; exit 1; }
GST_PLUGIN_PATH=$(dirname "$work/root/$plugin") GST_REGISTRY=$work/registry.bin gst-inspect-1.0 so3dtransition >/dev/null
say "$(basename "$deb") holds the library, headers, tools, demo and GStreamer plugin; its so3d-render renders the demo"

if [ "${CI:-}" = true ] && [ "$(id -u)" -eq 0 ]; then
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "$deb" >/dev/null
  so3d-render --frames 2 --out "$work/out-apt" /usr/share/so3d/effects/demo/flat.lws \
    /usr/share/so3d/effects/demo/card.lws >/dev/null
  test -s "$work/out-apt/frame_0001.png"
  GST_REGISTRY=$work/registry-apt.bin gst-inspect-1.0 so3dtransition >/dev/null
  say "apt-get installed $(basename "$deb"); /usr/bin/so3d-render renders the demo, GStreamer finds so3dtransition"
  DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq so3d >/dev/null
fi
