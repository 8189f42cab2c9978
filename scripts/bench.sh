#!/usr/bin/env bash
# Performance run: builds the benchmark, runs every measurement of BENCHMARKS.md in one go and
# prints one table of ratios. FFmpeg is the peer; it is installed here (Debian's package) when
# missing, since neither the build nor the tests need it.
#   scripts/bench.sh            full run (about 10 minutes on two cores)
#   BENCH_QUICK=1 scripts/bench.sh   shorter timings and fewer frames, for a smoke check
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD

if ! command -v ffmpeg >/dev/null; then
  SUDO=""
  if [ "$(id -u)" != 0 ]; then SUDO=sudo; fi
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends ffmpeg >/dev/null
fi
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DOSTRIVANE_BENCH=ON >/dev/null
cmake --build build -j2 --target OstrivaneBench OstrivaneExactness fxhost >/dev/null

BENCH=$ROOT/build/bin/OstrivaneBench
FXHOST=$ROOT/build/bin/fxhost
WORK=$(mktemp -d "${TMPDIR:-/tmp}/ostrivane-bench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

if [ "${BENCH_QUICK:-0}" = 1 ]; then
  MIN_TIME=0.5 REPS=1 FF_FRAMES=20 SEQ_FRAMES=8 SEQ4K_FRAMES=4 LONG_FRAMES=40 MEM_FRAMES=100 SPLIT_FRAMES=5
else
  MIN_TIME=2 REPS=3 FF_FRAMES=100 SEQ_FRAMES=48 SEQ4K_FRAMES=12 LONG_FRAMES=300 MEM_FRAMES=500 SPLIT_FRAMES=20
fi
SIZES="1280x720 1920x1080 3840x2160"

now() { date +%s.%N; }
value() { awk -v k="$1" '$1 == k { print $2 }' "$2"; }
log() { echo "bench: $*" >&2; }

# 1. Frames through the bundle, and the two floors (Google Benchmark, median of REPS runs).
log "frames and floors"
"$BENCH" --benchmark_min_time="$MIN_TIME" --benchmark_repetitions="$REPS" \
  --benchmark_out="$WORK/frames.csv" --benchmark_out_format=csv >/dev/null 2>"$WORK/frames.err"
# ms of one case: name like Frame/w:1920/h:1080/real_time, the median when repeated.
case_ms() {
  awk -F, -v name="\"$1/w:$2/h:$3/real_time${4}\"" '$1 == name { print $3 }' "$WORK/frames.csv"
}
# The same case's CPU time of the calling thread (ms).
case_cpu_ms() {
  awk -F, -v name="\"$1/w:$2/h:$3/real_time${4}\"" '$1 == name { print $4 }' "$WORK/frames.csv"
}
agg() { if [ "$REPS" -gt 1 ]; then echo _median; fi; }

# 2. FFmpeg's hue filter on the same raw frame: per frame from the difference between
#    FF_FRAMES+1 frames and 1 frame, so that start-up is not counted; best of three.
ffmpeg_hue() {
  local size=$1 loops=$2
  ffmpeg -v error -nostdin -f rawvideo -pix_fmt argb -s "$size" -stream_loop "$loops" -i "$WORK/frame_$size.raw" \
    -vf hue=h=90:s=1.5 -f rawvideo -pix_fmt argb -y /dev/null
}
declare -A FF_MS
for size in $SIZES; do
  log "ffmpeg hue $size"
  "$BENCH" --write-raw "$size" "$WORK/frame_$size.raw"
  best=""
  for try in 1 2 3; do
    t0=$(now); ffmpeg_hue "$size" 0; t1=$(now); ffmpeg_hue "$size" "$FF_FRAMES"; t2=$(now)
    ms=$(awk -v a="$t0" -v b="$t1" -v c="$t2" -v n="$FF_FRAMES" 'BEGIN { printf "%.3f", ((c - b) - (b - a)) * 1000 / n }')
    best=$(awk -v a="$best" -v b="$ms" 'BEGIN { print (a == "" || b < a) ? b : a }')
  done
  FF_MS[$size]=$best
done

# 3. The diagnostic split and the first frame.
log "split"
"$BENCH" --split 1920x1080 "$SPLIT_FRAMES" >"$WORK/split1080" 2>&1
"$BENCH" --split 3840x2160 "$SPLIT_FRAMES" >"$WORK/split2160" 2>&1
log "first frame"
FIRST=()
for try in 1 2 3; do
  "$BENCH" --first-frame 1920x1080 >"$WORK/first" 2>&1
  FIRST+=("$(value first_frame_ms "$WORK/first")")
done
FIRST_MS=$(printf '%s\n' "${FIRST[@]}" | sort -n | sed -n 2p)

# 4. Sequences: fxhost render against ffmpeg on the same RGBA PNG frames (testsrc2), run side by
#    side in one go, at 1080p and 4K; fxhost's own split per frame comes from --times.
declare -A FX_FPS FF_FPS SPLIT SIZE_RATIO
for size in 1920x1080 3840x2160; do
  n=$SEQ_FRAMES; [ "$size" = 3840x2160 ] && n=$SEQ4K_FRAMES
  log "sequence of $n PNG frames at $size"
  rm -rf "$WORK/seq" "$WORK/out_fx" "$WORK/out_ff"; mkdir -p "$WORK/seq" "$WORK/out_fx" "$WORK/out_ff"
  ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=$size:rate=24" -frames:v "$n" \
    -pix_fmt rgba "$WORK/seq/in_%04d.png"
  t0=$(now)
  "$FXHOST" render --times --set "Hue Value=90" --set "Saturation=1.5" --frames "1-$n" \
    "$WORK/seq/in_%04d.png" "$WORK/out_fx/out_%04d.png" >/dev/null 2>"$WORK/times_$size"
  t1=$(now)
  ffmpeg -v error -nostdin -i "$WORK/seq/in_%04d.png" -vf hue=h=90:s=1.5 -y "$WORK/out_ff/out_%04d.png"
  t2=$(now)
  FX_FPS[$size]=$(awk -v a="$t0" -v b="$t1" -v n="$n" 'BEGIN { printf "%.2f", n / (b - a) }')
  FF_FPS[$size]=$(awk -v a="$t1" -v b="$t2" -v n="$n" 'BEGIN { printf "%.2f", n / (b - a) }')
  SPLIT[$size]=$(grep '^per frame' "$WORK/times_$size" | sed 's/^per frame: //')
  SIZE_RATIO[$size]=$(awk -v a="$(du -sb "$WORK/out_fx" | cut -f1)" -v b="$(du -sb "$WORK/out_ff" | cut -f1)" \
    'BEGIN { printf "%.3f", a / b }')
done

# 4b. One 8192x8192 frame: peak resident memory of each, and how much of fxhost's is its worlds.
log "one 8192x8192 frame"
ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=8192x8192" -frames:v 1 -pix_fmt rgba "$WORK/big.png"
/usr/bin/time -f "%M" -o "$WORK/big_fx_rss" "$FXHOST" render --times --set "Hue Value=90" \
  --set "Saturation=1.5" "$WORK/big.png" "$WORK/big_fx.png" >/dev/null 2>"$WORK/big_times"
/usr/bin/time -f "%M" -o "$WORK/big_ff_rss" ffmpeg -v error -nostdin -i "$WORK/big.png" \
  -vf hue=h=90:s=1.5 -y "$WORK/big_ff.png"
BIG_FX=$(( $(tail -1 "$WORK/big_fx_rss") / 1024 )); BIG_FF=$(( $(tail -1 "$WORK/big_ff_rss") / 1024 ))
BIG_WORLDS=$(sed -n 's/^memory: host worlds at most \([0-9.]*\) MiB.*/\1/p' "$WORK/big_times")

# 4c. A long sequence holds no more memory than a short one (the 1080p inputs, linked over and over).
log "memory over a long sequence"
rm -rf "$WORK/seq" "$WORK/out_fx"; mkdir -p "$WORK/seq" "$WORK/out_fx"
ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=1920x1080:rate=24" -frames:v "$SEQ4K_FRAMES" \
  -pix_fmt rgba "$WORK/seq/in_%04d.png"
for i in $(seq 1 "$LONG_FRAMES"); do
  ln -sf "$WORK/seq/in_$(printf %04d $(( (i - 1) % SEQ4K_FRAMES + 1 ))).png" "$WORK/long_$(printf %04d "$i").png"
done
/usr/bin/time -f "%M" -o "$WORK/short_rss" "$FXHOST" render --frames "1-$SEQ4K_FRAMES" \
  "$WORK/long_%04d.png" "$WORK/out_fx/o_%04d.png" >/dev/null 2>&1
/usr/bin/time -f "%M" -o "$WORK/long_rss" "$FXHOST" render --frames "1-$LONG_FRAMES" \
  "$WORK/long_%04d.png" "$WORK/out_fx/o_%04d.png" >/dev/null 2>&1
SHORT_RSS=$(( $(tail -1 "$WORK/short_rss") / 1024 )); LONG_RSS=$(( $(tail -1 "$WORK/long_rss") / 1024 ))

# 4d. A movie: 1080p H.264 + AAC in, H.264 out with the sound copied, SEQ_FRAMES frames; fxhost
#     against ffmpeg's hue filter with the same copy, one after the other in the same run.
log "movie of $SEQ_FRAMES frames at 1920x1080"
MOVIE_SECONDS=$(awk -v n="$SEQ_FRAMES" 'BEGIN { printf "%.3f", n / 24 }')
ffmpeg -v error -nostdin -f lavfi -i "testsrc2=size=1920x1080:rate=24" -f lavfi -i "sine=frequency=440:sample_rate=48000" \
  -map 0:v -map 1:a -frames:v "$SEQ_FRAMES" -t "$MOVIE_SECONDS" -c:v libx264 -pix_fmt yuv420p -c:a aac "$WORK/movie.mp4"
t0=$(now)
"$FXHOST" render --times --set "Hue Value=90" --set "Saturation=1.5" "$WORK/movie.mp4" "$WORK/movie_fx.mp4" \
  >/dev/null 2>"$WORK/times_movie"
t1=$(now)
ffmpeg -v error -nostdin -i "$WORK/movie.mp4" -vf hue=h=90:s=1.5 -c:a copy -y "$WORK/movie_ff.mp4"
t2=$(now)
MOVIE_FX_FPS=$(awk -v a="$t0" -v b="$t1" -v n="$SEQ_FRAMES" 'BEGIN { printf "%.2f", n / (b - a) }')
MOVIE_FF_FPS=$(awk -v a="$t1" -v b="$t2" -v n="$SEQ_FRAMES" 'BEGIN { printf "%.2f", n / (b - a) }')
MOVIE_SPLIT=$(grep '^per frame' "$WORK/times_movie" | sed 's/^per frame: //')

# 4e. The frei0r module inside ffmpeg against fxhost render on a movie like 4d's, with the same pixels.
log "frei0r module in ffmpeg, $SEQ_FRAMES frames at 1920x1080"
"$ROOT/scripts/bench-frei0r.sh" "$SEQ_FRAMES" >"$WORK/frei0r"

# 4f. The CPU renderer's bytes against the GL road's on the two charts (minutes on llvmpipe).
log "CPU renderer against the GL road"
EXACT_STATUS=0
"$ROOT/build/bin/OstrivaneExactness" $([ "${BENCH_QUICK:-0}" = 1 ] && echo --small) >"$WORK/exactness" 2>&1 || EXACT_STATUS=$?

# 5. Memory and GL objects over MEM_FRAMES frames at 1080p, after 10 frames to settle.
log "memory over $MEM_FRAMES frames"
"$BENCH" --memory 1920x1080 "$MEM_FRAMES" >"$WORK/memory" 2>&1

# The table: every ratio is our time divided by the other's (or fps over fps for the sequence).
A=$(agg)
F720=$(case_ms Frame 1280 720 "$A"); F1080=$(case_ms Frame 1920 1080 "$A"); F2160=$(case_ms Frame 3840 2160 "$A")
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
check() { awk -v v="$1" -v op="$2" -v t="$3" 'BEGIN { ok = (op == "<=") ? v <= t : (op == ">=") ? v >= t : v < t; print ok ? "yes" : "NO" }'; }
row() { printf '| %-44s | %12s | %8s | %-10s | %-3s |\n' "$@"; }

echo
echo "Machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ //'), $(awk '/MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo)"
echo "GL: $(grep -m1 -i 'renderer' "$WORK/split1080" | sed 's/^[^:]*: *//')"
echo "FFmpeg: $(ffmpeg -version | head -1 | cut -d' ' -f1-3)"
echo
row "Measure" "Value" "Ratio" "Target" "Met"
row "--------------------------------------------" "------------" "--------" "----------" "---"
for size in $SIZES; do
  w=${size%x*}; h=${size#*x}; ours=$(case_ms Frame "$w" "$h" "$A")
  r=$(ratio "$ours" "${FF_MS[$size]}")
  if [ "$size" = 1920x1080 ]; then t="<= 2.0"; met=$(check "$r" "<=" 2.0); else t="-"; met="-"; fi
  row "frame $size, ours / ffmpeg hue (ms)" "$ours / ${FF_MS[$size]}" "$r" "$t" "$met"
done
for size in $SIZES; do
  w=${size%x*}; h=${size#*x}
  ours=$(case_ms Frame "$w" "$h" "$A"); fl=$(case_ms TransferFloor "$w" "$h" "$A")
  row "frame $size / GL transfer floor (ms)" "$(printf '%.2f' "$fl")" "$(ratio "$ours" "$fl")" "-" "-"
done
for size in $SIZES; do
  w=${size%x*}; h=${size#*x}
  ours=$(case_ms Frame "$w" "$h" "$A"); fl=$(case_ms MemoryFloor "$w" "$h" "$A")
  row "frame $size / memory floor (ms)" "$(printf '%.2f' "$fl")" "$(ratio "$ours" "$fl")" "-" "-"
done
C1080=$(case_ms CPUEffect 1920 "1080/threads:0" "$A"); M1080=$(case_ms MemoryFloor 1920 1080 "$A")
# One thread: CPU time against the floor's CPU time, which a busy machine inflates less than wall time.
M1080CPU=$(case_cpu_ms MemoryFloor 1920 1080 "$A")
C1080ONE=$(case_cpu_ms CPUEffect 1920 "1080/threads:1" "$A"); O1080ONE=$(case_cpu_ms CPUEffectOpaque 1920 "1080/threads:1" "$A")
r=$(ratio "$C1080ONE" "$M1080CPU")
row "CPU effect 1080p, 1 thread / floor (CPU ms)" "$(printf '%.2f / %.2f' "$C1080ONE" "$M1080CPU")" "$r" "<= 3.0" "$(check "$r" "<=" 3.0)"
row "the same, every alpha 255 (CPU ms)" "$(printf '%.2f / %.2f' "$O1080ONE" "$M1080CPU")" "$(ratio "$O1080ONE" "$M1080CPU")" "-" "-"
row "CPU effect 1080p, all threads / floor (ms)" "$(printf '%.2f / %.2f' "$C1080" "$M1080")" "$(ratio "$C1080" "$M1080")" "-" "-"
row "frame 1920x1080 through the bundle / CPU effect" "$(printf '%.2f / %.2f' "$F1080" "$C1080")" "$(ratio "$F1080" "$C1080")" "-" "-"
s=$(ratio "$F2160" "$F1080")
row "scaling: frame 3840x2160 / 1920x1080" "$(printf '%.1f / %.1f' "$F2160" "$F1080")" "$s" "<= 4.5" "$(check "$s" "<=" 4.5)"
s=$(ratio "$F1080" "$F720")
row "scaling: frame 1920x1080 / 1280x720" "$(printf '%.1f / %.1f' "$F1080" "$F720")" "$s" "(2.25)" "-"
r=$(ratio "${FX_FPS[1920x1080]}" "${FF_FPS[1920x1080]}")
row "PNG sequence 1080p fps, fxhost / ffmpeg" "${FX_FPS[1920x1080]} / ${FF_FPS[1920x1080]}" "$r" ">= 0.6" "$(check "$r" ">=" 0.6)"
r=$(ratio "$MOVIE_FX_FPS" "$MOVIE_FF_FPS")
row "H.264 movie 1080p fps, fxhost / ffmpeg" "$MOVIE_FX_FPS / $MOVIE_FF_FPS" "$r" ">= 0.5" "$(check "$r" ">=" 0.5)"
r=$(value frei0r_over_fxhost "$WORK/frei0r")
row "H.264 movie 1080p fps, ffmpeg frei0r / fxhost" "$(value frei0r_fps "$WORK/frei0r") / $(value fxhost_movie_fps "$WORK/frei0r")" \
  "$r" ">= 0.9" "$([ "$(value frei0r_same_pixels "$WORK/frei0r")" = yes ] && check "$r" ">=" 0.9 || echo "NO (pixels differ)")"
row "H.264 movie 1080p peak RSS, frei0r / fxhost" "$(value frei0r_rss_mib "$WORK/frei0r") / $(value fxhost_movie_rss_mib "$WORK/frei0r")" \
  "$(ratio "$(value frei0r_rss_mib "$WORK/frei0r")" "$(value fxhost_movie_rss_mib "$WORK/frei0r")")" "-" "-"
r=$(ratio "${FX_FPS[3840x2160]}" "${FF_FPS[3840x2160]}")
row "PNG sequence 4K fps, fxhost / ffmpeg" "${FX_FPS[3840x2160]} / ${FF_FPS[3840x2160]}" "$r" "-" "-"
for size in 1920x1080 3840x2160; do
  w=${size%x*}; h=${size#*x}; mem=$(case_ms Frame "$w" "$h" "$A")
  seqms=$(awk -v f="${FX_FPS[$size]}" 'BEGIN { printf "%.1f", 1000 / f }')
  over=$(awk -v s="$seqms" -v m="$mem" 'BEGIN { printf "%.1f", s - m }')
  r=$(ratio "$over" "$mem")
  row "host overhead $size / in-memory frame (ms)" "$(printf '%s / %.1f' "$over" "$mem")" "$r" "< 0.25" "$(check "$r" "<" 0.25)"
done
for size in 1920x1080 3840x2160; do
  row "PNG bytes $size, fxhost / ffmpeg" "-" "${SIZE_RATIO[$size]}" "<= 1.25" "$(check "${SIZE_RATIO[$size]}" "<=" 1.25)"
done
r=$(ratio "$BIG_FX" "$BIG_FF")
row "8192x8192 peak RSS, fxhost / ffmpeg (MiB)" "$BIG_FX / $BIG_FF" "$r" "-" "-"
row "8192x8192 host worlds / one 8-bit frame" "$BIG_WORLDS MiB" "$(ratio "$BIG_WORLDS" 256)" "<= 3" "$(check "$(ratio "$BIG_WORLDS" 256)" "<=" 3)"
row "peak RSS, $LONG_FRAMES / $SEQ4K_FRAMES frames 1080p (MiB)" "$LONG_RSS / $SHORT_RSS" "$(ratio "$LONG_RSS" "$SHORT_RSS")" "flat" "$(check "$(ratio "$LONG_RSS" "$SHORT_RSS")" "<" 1.05)"
g=$(value rss_growth_kib "$WORK/memory"); gl=$(value rss_low_growth_kib "$WORK/memory")
g=$(( g > gl ? g : gl ))
row "RSS growth, frames 10 to $((10 + MEM_FRAMES)) (KiB)" "$g" "-" "< 1024" "$(check "$g" "<" 1024)"
o1=$(value gl_objects_settled "$WORK/memory"); o2=$(value gl_objects_final "$WORK/memory")
row "live GL objects, frame 10 / frame $((10 + MEM_FRAMES))" "$o1 / $o2" "-" "constant" "$([ "$o1" = "$o2" ] && echo yes || echo NO)"
row "first frame 1080p, fresh process (ms)" "$FIRST_MS" "$(ratio "$FIRST_MS" "$F1080")" "-" "-"
echo
echo "Split of a frame (ms, GL finished after each step; median of $SPLIT_FRAMES):"
printf '| %-10s | %8s | %8s | %8s | %8s | %8s | %8s | %8s |\n' size begin upload draw resolve final readback total
for size in 1080 2160; do
  f="$WORK/split$size"
  printf '| %-10s | %8s | %8s | %8s | %8s | %8s | %8s | %8s |\n' "${size}p" "$(value split_begin_ms "$f")" \
    "$(value split_upload_ms "$f")" "$(value split_draw_ms "$f")" "$(value split_resolve_ms "$f")" \
    "$(value split_final_ms "$f")" "$(value split_readback_ms "$f")" "$(value split_total_ms "$f")"
done
echo
echo "fxhost's own split per sequence frame (render runs on its own thread; decode and encode on others):"
for size in 1920x1080 3840x2160; do echo "  $size: ${SPLIT[$size]}"; done
echo "  1920x1080 H.264 movie: $MOVIE_SPLIT"
echo "8192x8192: $(grep '^per frame' "$WORK/big_times" | sed 's/^per frame: //')"
echo
echo "GL objects at frame 10: $(grep '^gl_census_settled' "$WORK/memory" | cut -d' ' -f2-)"
echo "RSS (KiB), low-high over $(value rss_window_frames "$WORK/memory") frames: first window $(value rss_first_window_kib "$WORK/memory"), last window $(value rss_last_window_kib "$WORK/memory")"
echo
echo "The CPU renderer against the GL road (OstrivaneExactness; exit status $EXACT_STATUS, 0 when no channel breaks the rule):"
sed -n '/^Charts:/,$p' "$WORK/exactness"
echo
echo "The movie path's own cost, with the pass-through bundle (scripts/bench-movie.sh):"
BENCH_ROUNDS=$([ "${BENCH_QUICK:-0}" = 1 ] && echo 1 || echo 3) bash "$ROOT/scripts/bench-movie.sh"
