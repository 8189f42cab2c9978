#!/usr/bin/env bash
# Builds the libFuzzer targets of Fuzz/ with clang in ./build-fuzz and runs one, or all, for a fixed time.
#   scripts/fuzz.sh hostboundary 600     the host boundary, ten minutes
#   scripts/fuzz.sh colortext 600        Color's text constructor and toHexString
#   scripts/fuzz.sh look 600             look files
#   scripts/fuzz.sh setkeys 600          --set assignments against the effect's parameter table
#   scripts/fuzz.sh previewrequest 600   the preview's requests: the gate and the frame request parser
#   scripts/fuzz.sh movie 600            movie files through the reader (seeds: tiny clips of six kinds)
#   scripts/fuzz.sh inputs 10            the four above, 10 s each, as CI runs them
# New inputs go to build-fuzz/corpus/TARGET; the committed seeds in Fuzz/corpus/TARGET are only read.
# A finding stops the run with a crash-* (or leak-*, timeout-*) file in build-fuzz and a non-zero status.
# FUZZ_TABLE_BUNDLE=PATH lets setkeys and previewrequest read the parameter table of that bundle
# (CI: the main build's) instead of building the instrumented one.
set -euo pipefail
cd "$(dirname "$0")/.."
target="${1:-}"
seconds="${2:-60}"
inputs=(look setkeys previewrequest movie)
case "$target" in
  hostboundary|colortext|look|setkeys|previewrequest|movie) targets=("$target") ;;
  inputs) targets=("${inputs[@]}") ;;
  *)
    echo "usage: $0 hostboundary|colortext|look|setkeys|previewrequest|movie|inputs [seconds]" >&2
    exit 2
    ;;
esac
cxx="$(command -v clang++-14 || command -v clang++)"
cmake -S Fuzz -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=None \
  -DFUZZ_TABLE_BUNDLE="${FUZZ_TABLE_BUNDLE:-}" >/dev/null
cmake --build build-fuzz -j2 --target "${targets[@]/#/fuzz_}"

export ASAN_OPTIONS="detect_leaks=1:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$PWD/scripts/sanitize-lsan.supp:print_suppressions=0:${LSAN_OPTIONS:-}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"
cd build-fuzz
for t in "${targets[@]}"; do
  mkdir -p "corpus/$t"
  echo "== fuzz_$t, $seconds s"
  # -close_fd_mask=1: the effect prints a driver report for every context it makes.
  status=0
  "./fuzz_$t" -max_total_time="$seconds" -print_final_stats=1 -close_fd_mask=1 -timeout=30 \
    -rss_limit_mb=4096 "corpus/$t" "../Fuzz/corpus/$t" >"fuzz_$t.log" 2>&1 || status=$?
  grep -E '^stat::(number_of_executed_units|peak_rss_mb)' "fuzz_$t.log" || true
  if [ "$status" != 0 ]; then
    tail -n 60 "fuzz_$t.log"
    echo "fuzz_$t: a finding (status $status); its input is in build-fuzz, the whole log in build-fuzz/fuzz_$t.log" >&2
    exit "$status"
  fi
done
