#!/usr/bin/env bash
# Builds the tests with a sanitizer in a build folder of its own and runs them;
# any report fails the run.
#   scripts/sanitize.sh asan   AddressSanitizer + UndefinedBehaviorSanitizer, every suite (build-asan)
#   scripts/sanitize.sh tsan   ThreadSanitizer, the suites with threads (build-tsan)
# Extra arguments go to ctest (asan) or to each test program (tsan).
set -euo pipefail
cd "$(dirname "$0")/.."
mode="${1:-}"
shift || true
jobs=2  # the machines are shared: never more

case "$mode" in
  asan)
    dir=build-asan
    flags="-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer"
    ;;
  tsan)
    dir=build-tsan
    flags="-fsanitize=thread -fno-omit-frame-pointer"
    ;;
  *)
    echo "usage: $0 asan|tsan [args]" >&2
    exit 2
    ;;
esac

# -O1 keeps the stacks readable and the build short; the bundle gets the runtime from the
# executable that loads it, so it is linked with the same flags.
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=None -DOSTRIVANE_TESTS=ON -DOSTRIVANE_BENCH=OFF -DOSTRIVANE_HARDENING=OFF \
  -DCMAKE_CXX_FLAGS="-O1 -g $flags" \
  -DCMAKE_EXE_LINKER_FLAGS="$flags" \
  -DCMAKE_SHARED_LINKER_FLAGS="$flags" \
  -DCMAKE_MODULE_LINKER_FLAGS="$flags" >/dev/null

supp="$PWD/scripts/sanitize-lsan.supp"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$supp:print_suppressions=0:${LSAN_OPTIONS:-}"
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/scripts/sanitize-tsan.supp:${TSAN_OPTIONS:-}"
# Leaks are checked at exit; what the GL stack keeps for the life of the process is
# named in the suppressions. Mesa's on-disk shader cache is kept out of the runs.
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0:halt_on_error=1:strict_string_checks=1:detect_stack_use_after_return=0:${ASAN_OPTIONS:-}"
export MESA_SHADER_CACHE_DISABLE=true

if [ "$mode" = asan ]; then
  cmake --build "$dir" -j"$jobs"
  cd "$dir"
  # The unit suites share nothing (no port, no Slurm, no timing tighter than 20 s), so two run at
  # once. The quick battery on the shipped bundle (ValidateQuick) is left to the plain run: the
  # validator's code runs here under the Validate suite, and the bundle's under Effect and Faults.
  ctest --output-on-failure -j"$jobs" -E '^(CLI|Farm.*|Looks|Preview.*|Frei0r|Validate|ValidateQuick)$' "$@"
  # fxhost started from the tests trips LeakSanitizer's own thread tracer at exit ("Tracer
  # caught signal 11"), though the same runs are clean when started from a shell; the suites
  # that run fxhost as a program (CLI, Farm, whose tasks run it too, Looks and the preview's),
  # and the frei0r module's, which runs FFmpeg, melt and GStreamer with the module loaded, meet
  # the same at their exits; they run with the leak check off, everything else it checks stays on.
  ASAN_OPTIONS="$ASAN_OPTIONS:detect_leaks=0" ctest --output-on-failure -R '^(CLI|Farm|Looks|Preview.*|Frei0r)$' "$@"
  # The validator's own tests make broken bundles crash on purpose and expect the test's process
  # to end by that signal; AddressSanitizer's SEGV handler would end it with status 1 instead.
  ASAN_OPTIONS="$ASAN_OPTIONS:handle_segv=0" ctest --output-on-failure -R '^Validate$' "$@"
else
  # Threads run in the helper queue, in the GL runtime (frames on two threads) and in the
  # effect's frame tests (a frame from another thread).
  targets=(TestHelper TestGL TestEffect)
  cmake --build "$dir" -j"$jobs" --target "${targets[@]}"
  status=0
  for t in "${targets[@]}"; do
    echo "== $t"
    "./$dir/bin/$t" --gtest_brief=1 "$@" || status=1
  done
  exit $status
fi
