#!/usr/bin/env bash
# The effect's two renderers against FFmpeg's own `hue`, side by side in one run: wall time, peak
# resident memory and system time (/usr/bin/time) of whole processes, start-up included, each case
# the median of RUNS runs taken in turn with its peers (alternating, so that a busy spell of a
# shared machine falls on all of them). Cases: 24 x 1080p PNG (beside `hue`, FFmpeg's RGB filter
# `huesaturation` on the same frames); 48 x 1080p H.264 + AAC to H.264; the frei0r module inside
# FFmpeg against `hue` and Debian's hueshift0r + saturat0r; one 640 x 360 PNG; --version. Prints a
# table of ratios (FFmpeg's time over fxhost's: above 1 means fxhost is faster; memory and system
# time fxhost's over FFmpeg's).
#   scripts/bench-renderers.sh [RUNS]     (default 3)
#   BENCH_KINDS="movie" FXHOST_BEFORE=/path/to/fxhost scripts/bench-renderers.sh
#     only the kinds named (png movie f0r small version), and an older fxhost's movie_before beside them
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD
RUNS=${1:-3}
need=()
command -v ffmpeg >/dev/null || need+=(ffmpeg)
[ -e /usr/lib/frei0r-1/hueshift0r.so ] || need+=(frei0r-plugins)
[ -x /usr/bin/time ] || need+=(time)
if [ ${#need[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" != 0 ] && SUDO=sudo
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${need[@]}" >/dev/null
fi
[ -f build/build.ninja ] || cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j2 --target fxhost frei0r-ostrivane-hue-and-saturation >/dev/null
FX=$ROOT/build/bin/fxhost
WORK=$(mktemp -d "${TMPDIR:-/tmp}/ostrivane-renderers.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
export FREI0R_PATH=$ROOT/build/lib/frei0r-1:/usr/lib/frei0r-1
log() { echo "bench: $*" >&2; }

# Inputs: 24 PNG frames and a 48-frame H.264 + AAC movie of 1080p, and one 640 x 360 PNG.
ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=1920x1080:rate=24" -frames:v 24 "$WORK/png_%04d.png"
ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=1920x1080:rate=24" -f lavfi -i "sine=frequency=440:sample_rate=48000" \
  -map 0:v -map 1:a -frames:v 48 -t 2 -c:v libx264 -pix_fmt yuv420p -c:a aac "$WORK/movie.mp4"
ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=640x360:rate=1" -frames:v 1 "$WORK/small.png"

# One run of a case: "seconds peak_MiB system_seconds" appended to WORK/NAME.
run() {
  local name=$1; shift
  rm -rf "$WORK/out"; mkdir -p "$WORK/out"
  /usr/bin/time -f "%e %M %S" -o "$WORK/t" "$@" >/dev/null 2>"$WORK/err_$name" || { cat "$WORK/err_$name" >&2; exit 1; }
  awk '{ printf "%s %.1f %s\n", $1, $2 / 1024, $3 }' "$WORK/t" >> "$WORK/$name"
}
median() { sort -n -k"$2" "$WORK/$1" | awk -v k="$2" '{ v[NR] = $k } END { print v[int((NR + 1) / 2)] }'; }

# Into the modules as the README's chain converts (zimg through zscale, what fxhost does itself); the
# frei0r cases end in 4:2:0, as the hue job encodes: from RGBA FFmpeg would give libx264 4:4:4.
F0R="zscale=filter=lanczos:matrixin=170m,format=gbrp,format=rgba"
TO_YUV=",format=yuv420p"
HUE=(--set "Hue Value=90" --set Saturation=1.5)
f0r() { ffmpeg -v error -nostdin -i "$WORK/movie.mp4" -vf "$1" -c:a copy "$WORK/out/o.mp4"; }
# One function a case, named KIND_WHO; the peer of each kind is its _ffmpeg (or f0r_hue).
png_cpu() { "$FX" -q render --renderer cpu "${HUE[@]}" "$WORK/png_%04d.png" "$WORK/out/o_%04d.png"; }
png_gl() { "$FX" -q render --renderer gl "${HUE[@]}" "$WORK/png_%04d.png" "$WORK/out/o_%04d.png"; }
png_ffmpeg() { ffmpeg -v error -nostdin -i "$WORK/png_%04d.png" -vf hue=h=90:s=1.5 "$WORK/out/o_%04d.png"; }
png_huesat() { ffmpeg -v error -nostdin -i "$WORK/png_%04d.png" -vf huesaturation=hue=90:saturation=0.5 "$WORK/out/o_%04d.png"; }
movie_cpu() { "$FX" -q render --renderer cpu "${HUE[@]}" "$WORK/movie.mp4" "$WORK/out/o.mp4"; }
movie_gl() { "$FX" -q render --renderer gl "${HUE[@]}" "$WORK/movie.mp4" "$WORK/out/o.mp4"; }
movie_ffmpeg() { ffmpeg -v error -nostdin -i "$WORK/movie.mp4" -vf hue=h=90:s=1.5 -c:a copy "$WORK/out/o.mp4"; }
f0r_cpu() { FXHOST_RENDERER=cpu f0r "$F0R,frei0r=ostrivane-hue-and-saturation:0.25|0.75$TO_YUV"; }
f0r_gl() { FXHOST_RENDERER=gl f0r "$F0R,frei0r=ostrivane-hue-and-saturation:0.25|0.75$TO_YUV"; }
f0r_debian() { f0r "$F0R,frei0r=hueshift0r:0.25,frei0r=saturat0r:0.1875$TO_YUV"; }
f0r_hue() { f0r hue=h=90:s=1.5; }
small_cpu() { "$FX" -q render --renderer cpu "${HUE[@]}" "$WORK/small.png" "$WORK/out/o.png"; }
small_gl() { "$FX" -q render --renderer gl "${HUE[@]}" "$WORK/small.png" "$WORK/out/o.png"; }
small_ffmpeg() { ffmpeg -v error -nostdin -i "$WORK/small.png" -vf hue=h=90:s=1.5 "$WORK/out/o.png"; }
movie_before() { "$FXHOST_BEFORE" -q render --renderer cpu "${HUE[@]}" "$WORK/movie.mp4" "$WORK/out/o.mp4"; }
version_fx() { "$FX" --version; }
version_ffmpeg() { ffmpeg -version; }
export -f f0r png_cpu png_gl png_ffmpeg png_huesat movie_cpu movie_gl movie_ffmpeg movie_before f0r_cpu f0r_gl f0r_debian f0r_hue \
  small_cpu small_gl small_ffmpeg version_fx version_ffmpeg
export FX WORK F0R TO_YUV FXHOST_BEFORE="${FXHOST_BEFORE:-}"
KINDS=${BENCH_KINDS:-png movie f0r small version}
BEFORE_CASE=$([ -n "$FXHOST_BEFORE" ] && echo "|before" || true)
members() { declare -F | awk '{ print $3 }' | grep -E "^$1_(cpu|gl|ffmpeg|huesat|debian|hue|fx$BEFORE_CASE)$" | sort; }

for ((i = 1; i <= RUNS; i++)); do
  for group in $KINDS; do
    for name in $(members "$group"); do
      log "run $i: $name"
      run "$name" bash -c "$name"
    done
  done
done

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
row() {  # case, peer: median seconds, MiB and system seconds, and the ratios against the peer's
  local t m s pt pm ps
  t=$(median "$1" 1); m=$(median "$1" 2); s=$(median "$1" 3); pt=$(median "$2" 1); pm=$(median "$2" 2); ps=$(median "$2" 3)
  printf '| %-13s | %7s | %8s | %6s | %-14s | %10s | %12s | %9s |\n' "$1" "$t" "$m" "$s" "$2" "$(ratio "$pt" "$t")" \
    "$(ratio "$m" "$pm")" "$(awk -v a="$s" -v b="$ps" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "-" }')"
}
echo "load average at the end: $(cut -d' ' -f1-3 /proc/loadavg); median of $RUNS"
printf '| %-13s | %7s | %8s | %6s | %-14s | %10s | %12s | %9s |\n' case "s" "MiB" "sys s" "against" "speed x" "memory x" "sys x"
printf '|%s|%s|%s|%s|%s|%s|%s|%s|\n' --------------- --------- ---------- -------- ---------------- ------------ -------------- -----------
for group in $KINDS; do
  [ "$group" = f0r ] && continue
  peer=$(members "$group" | grep -E '_ffmpeg$')
  for name in $(members "$group" | grep -v -E '_ffmpeg$'); do row "$name" "$peer"; done
done
case " $KINDS " in *" png "*) row png_cpu png_huesat ;; esac
case " $KINDS " in
  *" f0r "*)
    for name in f0r_cpu f0r_gl f0r_debian; do row "$name" f0r_hue; done
    row f0r_cpu f0r_debian
    ;;
esac
