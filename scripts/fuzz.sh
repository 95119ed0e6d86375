#!/usr/bin/env bash
# Builds the libFuzzer targets in fuzz/ (clang, AddressSanitizer and
# UndefinedBehaviorSanitizer; build/fuzz), makes their seed corpora from the
# fixture writer, fuzz/seeds and ../shared/testdata/lightwave, replays every committed
# finding (fuzz/regressions/<target>/) and seed, then fuzzes each target.
#
#   bash scripts/fuzz.sh                    # replay, then 20 s per target (the test command)
#   bash scripts/fuzz.sh 3600               # a campaign: one hour per target
#   FUZZ_JOBS=8 bash scripts/fuzz.sh 3600 image_decode   # one target, 8 processes at once
#
# New inputs go to build/fuzz/corpus/<target>/, crashes to build/fuzz/findings/.
# A finding is fixed, then its input is committed under fuzz/regressions/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-20}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(object_reader object_load image_decode scene_reader scene_draw)

bash scripts/deps.sh clang libclang-rt-14-dev
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DSO3D_FUZZ=ON -DSO3D_BUILD_TESTS=OFF -DSO3D_BUILD_GLES=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/fuzz -j "$(nproc)" --target fuzz_make_seeds "${targets[@]/#/fuzz_}"

seeds=build/fuzz/seeds
rm -rf "$seeds"
build/fuzz/fuzz/fuzz_make_seeds "$seeds"
for t in fuzz/seeds/*/; do mkdir -p "$seeds/$(basename "$t")" && cp "$t"* "$seeds/$(basename "$t")/"; done
shared=../shared/testdata/lightwave
if [ -d "$shared" ]; then
  for t in object_reader object_load; do find "$shared" -name '*.lwo' -size -256k -exec cp {} "$seeds/$t/" \;; done
  for t in scene_reader scene_draw; do find "$shared" -name '*.lws' -exec cp {} "$seeds/$t/" \;; done
  find "$shared" \( -name '*.png' -o -name '*.jpg' -o -name '*.bmp' \) -size -256k -exec cp {} "$seeds/image_decode/" \;
fi

for t in "${targets[@]}"; do
  case $t in
    object_*) dict=fuzz/dict/lwo.dict ;;
    scene_*) dict=fuzz/dict/scene.dict ;;
    *) dict=fuzz/dict/image.dict ;;
  esac
  exe=build/fuzz/fuzz/fuzz_$t
  corpus=build/fuzz/corpus/$t
  findings=build/fuzz/findings
  mkdir -p "$corpus" "$findings" "fuzz/regressions/$t"
  options=(-dict="$dict" -timeout=10 -rss_limit_mb=2048 -max_len=262144 -artifact_prefix="$findings/$t-")
  echo "== fuzz $t: replaying $(ls "fuzz/regressions/$t" | wc -l) findings and $(ls "$seeds/$t" | wc -l) seeds"
  "$exe" "${options[@]}" -runs=0 "fuzz/regressions/$t" "$seeds/$t" 2>&1 | tail -n 2
  echo "== fuzz $t: $seconds s"
  jobs=()
  [ -n "${FUZZ_JOBS:-}" ] && jobs=(-fork="$FUZZ_JOBS")
  "$exe" "${options[@]}" "${jobs[@]}" -max_total_time="$seconds" -print_final_stats=1 \
    "$corpus" "$seeds/$t" "fuzz/regressions/$t" 2>&1 | grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb|#[0-9]+ +DONE)|ERROR|SUMMARY' || true
  [ "${PIPESTATUS[0]}" -eq 0 ] || { echo "fuzz $t: a finding, kept in $findings"; exit 1; }
done
