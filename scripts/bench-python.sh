#!/usr/bin/env bash
# The Python module against the core in C++, side by side in one run: a 1080p RGBA frame through
# effect.render (Debian's python3, the frame converted in and out of the 8-bit ARGB world) and the
# same size through EffectHost with the world already in place (OstrivaneBench's Frame/1920x1080),
# three rounds of each, interleaved, both with the effect's GL pass. Prints both medians and the binding's share.
#   scripts/bench-python.sh
set -euo pipefail
cd "$(dirname "$0")/.."
[ -f build/build.ninja ] || cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j2 --target fxhost_python OstrivaneBench >/dev/null
PYTHONPATH=$PWD/build/python exec /usr/bin/python3 Bench/python_binding.py "$PWD/build/bin/OstrivaneBench" \
  "$PWD/build/bin/HueAndSaturation.plugin"
