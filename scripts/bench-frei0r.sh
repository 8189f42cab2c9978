#!/usr/bin/env bash
# The frei0r module in FFmpeg against `fxhost render`, FFmpeg's own hue filter and Debian's
# hueshift0r + saturat0r through the same conversions, side by side in one run, on a 1080p
# H.264 + AAC movie; wall time, peak resident memory and system time (/usr/bin/time -v) of each. Before timing, the module's frames are checked to be the very
# pixels fxhost renders. Prints `key value` lines (bench.sh reads them) and a table.
#   scripts/bench-frei0r.sh [FRAMES]     (default 48)
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD
FRAMES=${1:-48}
if [ ! -e /usr/lib/frei0r-1/hueshift0r.so ]; then
  SUDO=""; [ "$(id -u)" != 0 ] && SUDO=sudo
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends frei0r-plugins >/dev/null
fi
[ -f build/build.ninja ] || cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j2 --target fxhost frei0r-ostrivane-hue-and-saturation >/dev/null
FXHOST=$ROOT/build/bin/fxhost
export FREI0R_PATH=$ROOT/build/lib/frei0r-1:/usr/lib/frei0r-1
WORK=$(mktemp -d "${TMPDIR:-/tmp}/ostrivane-frei0r-bench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

# fxhost reads an untagged stream as BT.601 at limited range, chroma sited as H.264 sites it, through
# zimg as zscale converts with filter=lanczos (the README's chain); FFmpeg is asked for the same
# conversion so both feed the effect the same bytes.
TO_RGBA="zscale=filter=lanczos:matrixin=170m,format=gbrp,format=rgba"
FREI0R="$TO_RGBA,frei0r=ostrivane-hue-and-saturation:0.25|0.75"
# Debian's pair at the same turn (90 of 360 degrees) and saturation (1.5 on its 0 to 8 scale).
DEBIAN="$TO_RGBA,frei0r=hueshift0r:0.25,frei0r=saturat0r:0.1875"
# Timed runs encode 4:2:0 as the hue run does: from RGBA FFmpeg would give libx264 4:4:4, twice the
# chroma to encode, which is the encoder's cost, not the filter's.
TO_YUV=",format=yuv420p"
SECONDS_LONG=$(awk -v n="$FRAMES" 'BEGIN { printf "%.3f", n / 24 }')
ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=1920x1080:rate=24" -f lavfi -i "sine=frequency=440:sample_rate=48000" \
  -map 0:v -map 1:a -frames:v "$FRAMES" -t "$SECONDS_LONG" -c:v libx264 -pix_fmt yuv420p -c:a aac "$WORK/movie.mp4"

# Same pixels first: the effect's RGBA frames, before either encodes them.
"$FXHOST" -q render --frames 1-4 --set "Hue Value=90" --set "Saturation=1.5" "$WORK/movie.mp4" "$WORK/fx_%04d.png"
ffmpeg -v error -nostdin -i "$WORK/fx_%04d.png" -f rawvideo -pix_fmt rgba "$WORK/fx.raw"
ffmpeg -v error -nostdin -i "$WORK/movie.mp4" -vf "$FREI0R" -frames:v 4 -f rawvideo -pix_fmt rgba "$WORK/f0r.raw"
if cmp -s "$WORK/fx.raw" "$WORK/f0r.raw"; then SAME=yes; else SAME=NO; fi

# fps from wall seconds, peak RSS (MiB) and system seconds of one command, from /usr/bin/time -v.
measure() {
  local name=$1; shift
  local t0 t1
  t0=$(date +%s.%N)
  /usr/bin/time -v -o "$WORK/time_$name" "$@" >/dev/null 2>"$WORK/err_$name"
  t1=$(date +%s.%N)
  awk -v a="$t0" -v b="$t1" -v n="$FRAMES" 'BEGIN { printf "%.2f ", n / (b - a) }'
  awk -F': ' '/Maximum resident set size/ { rss = $2 / 1024 } /System time/ { sys = $2 }
              END { printf "%.0f %s\n", rss, sys }' "$WORK/time_$name"
}
read -r FX_FPS FX_RSS FX_SYS < <(measure fxhost "$FXHOST" render --set "Hue Value=90" --set "Saturation=1.5" \
  "$WORK/movie.mp4" "$WORK/out_fx.mp4")
read -r F0R_FPS F0R_RSS F0R_SYS < <(measure frei0r ffmpeg -v error -nostdin -i "$WORK/movie.mp4" -vf "$FREI0R$TO_YUV" \
  -c:a copy -y "$WORK/out_f0r.mp4")
read -r HUE_FPS HUE_RSS HUE_SYS < <(measure hue ffmpeg -v error -nostdin -i "$WORK/movie.mp4" -vf hue=h=90:s=1.5 \
  -c:a copy -y "$WORK/out_hue.mp4")
read -r DEB_FPS DEB_RSS DEB_SYS < <(measure debian ffmpeg -v error -nostdin -i "$WORK/movie.mp4" -vf "$DEBIAN$TO_YUV" \
  -c:a copy -y "$WORK/out_debian.mp4")
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
RATIO=$(ratio "$F0R_FPS" "$FX_FPS")
OVER_HUE=$(ratio "$F0R_FPS" "$HUE_FPS")
OVER_DEBIAN=$(ratio "$F0R_FPS" "$DEB_FPS")

echo "frei0r_same_pixels $SAME"
echo "frei0r_fps $F0R_FPS"
echo "frei0r_rss_mib $F0R_RSS"
echo "fxhost_movie_fps $FX_FPS"
echo "fxhost_movie_rss_mib $FX_RSS"
echo "ffmpeg_hue_fps $HUE_FPS"
echo "ffmpeg_hue_rss_mib $HUE_RSS"
echo "frei0r_sys_s $F0R_SYS"
echo "ffmpeg_hue_sys_s $HUE_SYS"
echo "debian_frei0r_fps $DEB_FPS"
echo "debian_frei0r_rss_mib $DEB_RSS"
echo "debian_frei0r_sys_s $DEB_SYS"
echo "frei0r_over_fxhost $RATIO"
echo "frei0r_over_hue $OVER_HUE"
echo "frei0r_over_debian $OVER_DEBIAN"
echo "load_average $(cut -d' ' -f1-3 /proc/loadavg)"
echo
row() { printf '| %-46s | %8s | %13s | %7s |\n' "$@"; }
row "$FRAMES frames of 1080p H.264 + AAC" "fps" "peak RSS MiB" "sys s"
row "----------------------------------------------" "--------" "-------------" "-------"
row "ffmpeg -vf frei0r=ostrivane-hue-and-saturation" "$F0R_FPS" "$F0R_RSS" "$F0R_SYS"
row "fxhost render" "$FX_FPS" "$FX_RSS" "$FX_SYS"
row "ffmpeg -vf hue" "$HUE_FPS" "$HUE_RSS" "$HUE_SYS"
row "ffmpeg -vf frei0r=hueshift0r,frei0r=saturat0r" "$DEB_FPS" "$DEB_RSS" "$DEB_SYS"
echo "module / fxhost render: $RATIO (target >= 0.9); same pixels: $SAME"
echo "module / hue: $OVER_HUE (target >= 0.85); module / Debian's pair: $OVER_DEBIAN (target >= 1.3)"
