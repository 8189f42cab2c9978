#!/usr/bin/env bash
# The movie path's own cost: fxhost with the pass-through bundle (an effect that copies its input,
# built with the tests, never installed) against ffmpeg doing the same decode and encode, and with
# the real effect against ffmpeg's hue filter. 1080p H.264 + AAC in, H.264 out with the sound
# copied. Every command runs once a round, one after the other, for BENCH_ROUNDS rounds; the
# ratios are medians of the rounds' own ratios, so that a shared machine's load hits both sides.
#   scripts/bench-movie.sh                         about 3 minutes on two cores
#   FXHOST_BEFORE=/path/to/fxhost scripts/bench-movie.sh   also an older fxhost, side by side
set -euo pipefail
cd "$(dirname "$0")/.."
ROUNDS=${BENCH_ROUNDS:-3} FRAMES=${BENCH_MOVIE_FRAMES:-48} LONG=${BENCH_LONG_FRAMES:-240}
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DOSTRIVANE_TESTS=ON >/dev/null
cmake --build build -j2 --target fxhost PassThrough HueAndSaturation >/dev/null
FXHOST=$PWD/build/bin/fxhost
PASS=$PWD/build/passthrough/PassThrough.plugin
EFFECT=$PWD/build/bin/HueAndSaturation.plugin
BEFORE=${FXHOST_BEFORE:-}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/ostrivane-bench-movie.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
log() { echo "bench-movie: $*" >&2; }

movie() {  # FRAMES PATH
  ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=1920x1080:rate=24" -f lavfi -i "sine=frequency=440:sample_rate=48000" \
    -map 0:v -map 1:a -frames:v "$1" -t "$(awk -v n="$1" 'BEGIN { printf "%.3f", n / 24 }')" \
    -c:v libx264 -pix_fmt yuv420p -c:a aac -y "$2"
}
# Runs a command under /usr/bin/time; appends "wall_s peak_rss_kib cpu_s system_s" to $WORK/NAME.
measure() {
  local name=$1; shift
  /usr/bin/time -f "%e %M %U %S" -o "$WORK/last" "$@" >/dev/null 2>"$WORK/$name.err"
  tail -1 "$WORK/last" | awk '{ print $1, $2, $3 + $4, $4 }' >>"$WORK/$name"
  grep '^per frame' "$WORK/$name.err" | sed 's/^per frame: //' >"$WORK/$name.split" || true
}
IN=$WORK/in.mp4
movie "$FRAMES" "$IN"
JOBS="pass copy hue effect"
[ -n "$BEFORE" ] && JOBS="$JOBS before_pass before_effect"
for round in $(seq 1 "$ROUNDS"); do
  log "round $round of $ROUNDS"
  measure pass "$FXHOST" render --times --plugin "$PASS" "$IN" "$WORK/pass.mp4"
  measure copy ffmpeg -v error -nostdin -i "$IN" -c:a copy -y "$WORK/copy.mp4"
  measure hue ffmpeg -v error -nostdin -i "$IN" -vf hue=h=90:s=1.5 -c:a copy -y "$WORK/hue.mp4"
  measure effect "$FXHOST" render --times --plugin "$EFFECT" --set "Hue Value=90" --set Saturation=1.5 "$IN" "$WORK/effect.mp4"
  if [ -n "$BEFORE" ]; then
    measure before_pass "$BEFORE" render --times --plugin "$PASS" "$IN" "$WORK/before_pass.mp4"
    measure before_effect "$BEFORE" render --times --plugin "$EFFECT" --set "Hue Value=90" --set Saturation=1.5 "$IN" "$WORK/before_effect.mp4"
  fi
  rm -f "$WORK"/*.mp4.tmp "$WORK/pass.mp4" "$WORK/effect.mp4" "$WORK/before_pass.mp4" "$WORK/before_effect.mp4"
done
log "memory over a long movie ($LONG frames against $FRAMES)"
movie "$LONG" "$WORK/long.mp4"
measure long "$FXHOST" render --times --plugin "$PASS" "$WORK/long.mp4" "$WORK/long_out.mp4"

# Median over the rounds of column COL (1 wall, 2 rss, 3 cpu, 4 system) of A divided by B, round by round.
median_ratio() {
  paste -d' ' "$WORK/$1" "$WORK/$2" | awk -v c="$3" '{ print ($(c + 4) > 0) ? $c / $(c + 4) : 0 }' | sort -g |
    awk '{ v[NR] = $1 } END { printf "%.2f", (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
median() { sort -g -k"$2" "$WORK/$1" | awk -v c="$2" '{ v[NR] = $c } END { print v[int((NR + 1) / 2)] }'; }
fps() { awk -v w="$(median "$1" 1)" -v n="$FRAMES" 'BEGIN { printf "%.2f", n / w }'; }
mib() { awk -v k="$(median "$1" 2)" 'BEGIN { printf "%.0f", k / 1024 }'; }
check() { awk -v v="$1" -v op="$2" -v t="$3" 'BEGIN { ok = (op == "<=") ? v <= t : v >= t; print ok ? "yes" : "NO" }'; }
row() { printf '| %-56s | %13s | %5s | %-6s | %-3s |\n' "$@"; }

echo
echo "Machine: $(nproc) cores, load average $(cut -d' ' -f1-3 /proc/loadavg), $ROUNDS rounds of $FRAMES frames"
echo "Start-up alone: fxhost --version $(/usr/bin/time -f '%e s %M KiB' "$FXHOST" --version 2>&1 >/dev/null | tail -1), ffmpeg -version $(/usr/bin/time -f '%e s %M KiB' ffmpeg -version 2>&1 >/dev/null | tail -1)"
row "Measure (medians over rounds)" "Value" "Ratio" "Target" "Met"
row "--------------------------------------------------------" "-------------" "-----" "------" "---"
r=$(median_ratio copy pass 1)
row "fps, fxhost pass-through / ffmpeg -c:a copy" "$(fps pass) / $(fps copy)" "$r" ">= 0.9" "$(check "$r" ">=" 0.9)"
r=$(median_ratio hue pass 1)
row "fps, fxhost pass-through / ffmpeg hue" "$(fps pass) / $(fps hue)" "$r" ">= 1.0" "$(check "$r" ">=" 1.0)"
r=$(median_ratio hue effect 1)
row "fps, fxhost effect / ffmpeg hue" "$(fps effect) / $(fps hue)" "$r" ">= 0.9" "$(check "$r" ">=" 0.9)"
r=$(median_ratio pass copy 3)
row "CPU s (user + system), fxhost pass-through / ffmpeg copy" "$(printf '%.2f / %.2f' "$(median pass 3)" "$(median copy 3)")" "$r" "-" "-"
r=$(median_ratio pass copy 2)
row "peak RSS MiB, fxhost pass-through / ffmpeg copy" "$(mib pass) / $(mib copy)" "$r" "<= 1.2" "$(check "$r" "<=" 1.2)"
r=$(median_ratio effect hue 2)
row "peak RSS MiB, fxhost effect / ffmpeg hue" "$(mib effect) / $(mib hue)" "$r" "<= 1.2" "$(check "$r" "<=" 1.2)"
r=$(median_ratio pass copy 4)
row "system s, fxhost pass-through / ffmpeg copy" "$(printf '%.2f / %.2f' "$(median pass 4)" "$(median copy 4)")" "$r" "-" "-"
r=$(median_ratio effect hue 4)
row "system s, fxhost effect / ffmpeg hue" "$(printf '%.2f / %.2f' "$(median effect 4)" "$(median hue 4)")" "$r" "<= 1.5" "$(check "$r" "<=" 1.5)"
r=$(awk -v a="$(cut -d' ' -f2 "$WORK/long")" -v b="$(median pass 2)" 'BEGIN { printf "%.2f", a / b }')
row "peak RSS MiB, pass-through $LONG / $FRAMES frames" "$(( $(cut -d' ' -f2 "$WORK/long") / 1024 )) / $(mib pass)" "$r" "flat" "$(check "$r" "<=" 1.05)"
if [ -n "$BEFORE" ]; then
  r=$(median_ratio copy before_pass 1)
  row "before: fps, pass-through / ffmpeg -c:a copy" "$(fps before_pass) / $(fps copy)" "$r" "-" "-"
  r=$(median_ratio hue before_effect 1)
  row "before: fps, effect / ffmpeg hue" "$(fps before_effect) / $(fps hue)" "$r" "-" "-"
  r=$(median_ratio before_pass copy 3)
  row "before: CPU s, pass-through / ffmpeg copy" "$(printf '%.2f / %.2f' "$(median before_pass 3)" "$(median copy 3)")" "$r" "-" "-"
  r=$(median_ratio before_pass copy 2)
  row "before: peak RSS MiB, pass-through / ffmpeg copy" "$(mib before_pass) / $(mib copy)" "$r" "-" "-"
fi
echo
echo "fxhost's split per frame (--times, last round; stages overlap on their own threads):"
for job in $JOBS long; do
  [ -s "$WORK/$job.split" ] && echo "  $job: $(cat "$WORK/$job.split")"
done
