#!/usr/bin/env bash
# Fails when libso3d.so exports anything beyond the documented API listed in
# scripts/exported_api.txt (classes, records' functions and globals), or when
# something listed there is no longer exported.
set -euo pipefail
lib=${1:?usage: check_exports.sh path/to/libso3d.so}
expected="$(dirname "$0")/exported_api.txt"
# One line per exported class or free function: "vtable for soScene" and
# "soScene::Load(...)" both become "soScene".
actual=$(nm -DC --defined-only "$lib" | cut -d' ' -f3- |
  sed -E 's/^(vtable|typeinfo|typeinfo name) for //; s/\(.*//; s/::.*//' | sort -u)
if ! diff <(grep -v '^#' "$expected" | sort -u) <(echo "$actual") >/tmp/so3d_exports.diff; then
  echo "exports: libso3d.so differs from $expected (< listed only, > exported only):"
  grep '^[<>]' /tmp/so3d_exports.diff
  exit 1
fi
echo "exports: $(echo "$actual" | wc -l) names, as documented"
