#!/usr/bin/env bash
# Builds the helper tests (semaphore, idle queue) with ThreadSanitizer in
# ./build-tsan and runs them; any reported race fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
flags="-fsanitize=thread -fno-omit-frame-pointer"
cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOSTRIVANE_BENCH=OFF \
  -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=thread" \
  -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=thread" \
  -DCMAKE_MODULE_LINKER_FLAGS="-fsanitize=thread" >/dev/null
cmake --build build-tsan -j2 --target TestHelper
TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}" ./build-tsan/bin/TestHelper "$@"
