#!/usr/bin/env bash
# Builds the libFuzzer targets of Fuzz/ with clang in ./build-fuzz and runs one for a fixed time.
#   scripts/fuzz.sh hostboundary 600   the host boundary, ten minutes
#   scripts/fuzz.sh colortext 600      Color's text constructor and toHexString (once Color exists)
# New inputs go to build-fuzz/corpus/TARGET; the committed seeds in Fuzz/corpus/TARGET are only read.
# A finding stops the run with a crash-* file in build-fuzz and a non-zero status.
set -euo pipefail
cd "$(dirname "$0")/.."
target="${1:-}"
seconds="${2:-60}"
if [ -z "$target" ]; then
  echo "usage: $0 hostboundary|colortext [seconds]" >&2
  exit 2
fi
cxx="$(command -v clang++-14 || command -v clang++)"
cmake -S Fuzz -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=None >/dev/null
cmake --build build-fuzz -j2 --target "fuzz_$target"

mkdir -p "build-fuzz/corpus/$target"
export ASAN_OPTIONS="detect_leaks=1:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$PWD/scripts/sanitize-lsan.supp:print_suppressions=0:${LSAN_OPTIONS:-}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"
cd build-fuzz
# -close_fd_mask=1: the effect prints a driver report for every context it makes.
exec "./fuzz_$target" -max_total_time="$seconds" -print_final_stats=1 -close_fd_mask=1 -timeout=30 \
  -rss_limit_mb=4096 "corpus/$target" "../Fuzz/corpus/$target"
