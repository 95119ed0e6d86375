#!/usr/bin/env bash
# so3d-render as a person uses it: exit statuses, one-line messages naming
# the file and the reason, nothing written where it cannot be, no frames of
# an earlier run left beside a new one, a still at a chosen time.
set -u
render=$1 effect=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
expect() {  # expect STATUS PATTERN -- command...
  local want=$1 pattern=$2
  shift 3
  local out status
  out=$("$@" 2>&1)
  status=$?
  if [ "$status" -ne "$want" ] || ! grep -qE -- "$pattern" <<<"$out"; then
    echo "FAIL: $* -> status $status (wanted $want), output: $out"
    failures=$((failures + 1))
  fi
}
a=$effect/flat.lws b=$effect/card.lws
expect 0 "^so3d-render [0-9]+\.[0-9]+" -- "$render" --version
expect 0 "examples:" -- "$render" --help
expect 2 "unknown option --nope" -- "$render" --nope "$a"
expect 2 "bad --size" -- "$render" --size 9000x10 "$a"
expect 2 "--at gives one frame" -- "$render" --at 1 --frames 3 "$a" "$b"
expect 1 "missing.lws: cannot read" -- "$render" --out "$work/o" "$work/missing.lws"
expect 1 "cannot make the output folder" -- "$render" --out /proc/so3d "$a"
expect 1 "contact sheet's folder does not exist" -- "$render" --out "$work/o" --sheet "$work/none/s.png" "$a"
test ! -e "$work/o/frame_0000.png" || { echo "FAIL: frames written before the sheet check"; failures=$((failures + 1)); }

printf 'LWSC\n5\n\nLoadObjectLayer 1 10000000 gone.lwo\n' >"$work/empty.lws"
expect 3 "loaded no object" -- "$render" --strict --out "$work/o" "$work/empty.lws"
expect 0 "0 of 1 objects loaded, 1 not found \(gone.lwo\)" -- "$render" --frames 1 --out "$work/o" "$work/empty.lws"

mkdir -p "$work/run"
expect 0 "wrote 3 frames" -- "$render" --frames 3 --out "$work/run" "$a" "$b"
expect 0 "wrote 1 frames \(time 1.5 to 1.5\)" -- "$render" --at 1.5 --out "$work/run" "$a" "$b"
leftover=$(ls "$work/run")
[ "$leftover" = "frame_0000.png" ] || { echo "FAIL: earlier frames left: $leftover"; failures=$((failures + 1)); }

# Screen settings: the file's errors name the file and line; --set names the option.
printf 'screen 0\nposition 1 0   # moved right\nopacity 2\n' >"$work/bad.txt"
expect 1 "bad.txt:3: opacity is 0 to 1" -- "$render" --settings "$work/bad.txt" --out "$work/o" "$a"
expect 2 "--set 9:opacity=1: screen 9 is not 0 to 5" -- "$render" --set 9:opacity=1 --out "$work/o" "$a"
printf 'screen 1\nscale 0.5,0.5\nrotation 0 30\n' >"$work/good.txt"
expect 0 "wrote 1 frames" -- "$render" --settings "$work/good.txt" --set 0:opacity=0.5 --at 1 --out "$work/o" "$a" "$b"

# Video to a file and to standard output: headers, frame sizes, nothing else on stdout.
expect 0 "wrote 2 frames" -- "$render" --frames 2 --size 64x48 --video "$work/v.y4m" "$a" "$b"
head -c 9 "$work/v.y4m" | grep -q YUV4MPEG2 || { echo "FAIL: no YUV4MPEG2 header"; failures=$((failures + 1)); }
header=$(head -n 1 "$work/v.y4m" | wc -c)
[ "$(stat -c %s "$work/v.y4m")" -eq $((header + 2 * (6 + 64 * 48 * 3 / 2))) ] ||
  { echo "FAIL: y4m size"; failures=$((failures + 1)); }
bytes=$("$render" --frames 3 --size 64x48 --video - --video-format bgra "$a" "$b" 2>/dev/null | wc -c)
[ "$bytes" -eq $((3 * 64 * 48 * 4)) ] || { echo "FAIL: raw bgra on stdout: $bytes bytes"; failures=$((failures + 1)); }
expect 1 "even width and height" -- "$render" --size 63x48 --video "$work/odd.y4m" "$a"

# A raw stream in, raw video out: at time 0 screen 0 fills the frame, so its
# centre pixel is the stream's colour.
python3 -c 'import sys; sys.stdout.buffer.write(bytes([200, 50, 10, 255]) * (64 * 48 * 3))' >"$work/in.rgba"
centre=$("$render" --size 64x48 --frames 2 --stream "0=rgba:64x48:$work/in.rgba" --video - --video-format rgba \
  "$a" 2>/dev/null | od -An -tu1 -j $(((24 * 64 + 32) * 4)) -N4 | xargs)
[ "$centre" = "200 50 10 255" ] || { echo "FAIL: stream colour through the frame: $centre"; failures=$((failures + 1)); }
# A named pipe paces the render; --after hold keeps drawing the end until the stream ends.
mkfifo "$work/live"
python3 -c 'import sys; sys.stdout.buffer.write(bytes([0, 255, 0, 255]) * (64 * 48 * 5))' >"$work/live" &
expect 0 "wrote 5 frames" -- "$render" --size 64x48 --duration 0.08 --rate 25 --after hold \
  --stream "0=bgra:64x48:$work/live" --out "$work/o" "$a" "$b"
expect 2 "needs a --stream" -- "$render" --after loop "$a"

# YUV4MPEG2 in and out: flat red on screen 0, flat blue on screen 1, converted
# on the device; the output's centre at times 0 and 2 keeps each input's Y'CbCr.
python3 - "$work" <<'EOF'
import sys
for name, yuv in (('red', (81, 90, 240)), ('blue', (41, 240, 110))):
    with open(f'{sys.argv[1]}/{name}.y4m', 'wb') as f:
        f.write(b'YUV4MPEG2 W64 H48 F25:1 Ip C420jpeg\n')
        for _ in range(2):
            f.write(b'FRAME\n' + bytes([yuv[0]]) * 64 * 48 + bytes([yuv[1]]) * 32 * 24 + bytes([yuv[2]]) * 32 * 24)
EOF
expect 0 "wrote 2 frames" -- "$render" --size 64x48 --frames 2 --stream "0=y4m:$work/red.y4m" \
  --stream "1=y4m:$work/blue.y4m" --video "$work/out.y4m" --video-format y4m444 "$a" "$b"
python3 - "$work/out.y4m" <<'EOF' || failures=$((failures + 1))
import sys
d = open(sys.argv[1], 'rb').read()
start, n, centre = d.index(b'\n') + 1, 64 * 48, 24 * 64 + 32
for k, want in enumerate(((81, 90, 240), (41, 240, 110))):
    at = start + k * (6 + 3 * n) + 6
    got = [d[at + p * n + centre] for p in range(3)]
    if any(abs(g - w) > 3 for g, w in zip(got, want)):
        sys.exit(f'FAIL: y4m round trip frame {k}: {got}, wanted {want}')
EOF
printf 'not a stream\n' >"$work/bad.y4m"
expect 1 "bad.y4m: not a YUV4MPEG2 stream" -- "$render" --stream "0=y4m:$work/bad.y4m" --out "$work/o" "$a"

# Over a transparent clear the raw output keeps alpha: mid-transition the
# corners are see-through, the centre opaque.
pixels=$("$render" --size 64x48 --frames 3 --background 00000000 --video - --video-format rgba "$a" "$b" 2>/dev/null |
  tail -c $((2 * 64 * 48 * 4)) | head -c $((64 * 48 * 4)) | od -An -tu1 -v | xargs -n4 | sed -n '2p;1569p' | xargs)
[ "$pixels" = "0 0 0 0 220 220 220 255" ] || { echo "FAIL: alpha over a clear background: $pixels"; failures=$((failures + 1)); }
expect 2 "bad --background" -- "$render" --background 12345 "$a"

if [ "$failures" -eq 0 ]; then echo "so3d-render command line: all checks passed"; fi
exit "$failures"
