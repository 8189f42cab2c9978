#!/usr/bin/env bash
# Installs what only the tests, benchmarks and checks need, on top of scripts/setup.sh (run
# first), and configures ./build with the tests and benchmarks on.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
SUDO=""
if [ "$(id -u)" != 0 ]; then SUDO=sudo; fi
export DEBIAN_FRONTEND=noninteractive
# GoogleTest and Google Benchmark; OpenGL ES's headers (the bad-world tests ask the driver for
# its largest texture through them); FFmpeg's programs, which make the tests' clips and read the
# outputs back; oiiotool for scripts/digests.sh.
$SUDO apt-get install -y -qq --no-install-recommends libgtest-dev libbenchmark-dev libgles-dev ffmpeg \
  openimageio-tools >/dev/null
# The frei0r module's hosts beside FFmpeg: melt with its profiles and module descriptions
# (libmlt-data, which melt's library only recommends) and GStreamer with its frei0r elements.
$SUDO apt-get install -y -qq --no-install-recommends melt libmlt-data \
  gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad >/dev/null
# The GStreamer plug-in's tests: GStreamer, its controller and GES from Debian's python3 (python3-gi and
# the typelibs; GES's own plug-ins come with libges), and FFmpeg's FFV1 encoder in GStreamer for the
# lossless file GES renders.
$SUDO apt-get install -y -qq --no-install-recommends python3-gi gir1.2-gstreamer-1.0 gir1.2-gst-plugins-base-1.0 \
  gir1.2-ges-1.0 gstreamer1.0-libav >/dev/null
# Shotcut, started under a virtual X server (xvfb-run), must list the installed filter; Qt's
# qmlscene loads the filter's panel with Shotcut's controls.
$SUDO apt-get install -y -qq --no-install-recommends shotcut xvfb xauth qmlscene >/dev/null
# A one-node Slurm for the farm tests (scripts/slurm-local.sh); its daemons are started by the tests.
$SUDO apt-get install -y -qq --no-install-recommends slurm-wlm munge >/dev/null
# The Debian package and its tests: CPack's DEB generator reads ELF files with `file` and works
# out Depends with dpkg-shlibdeps (dpkg-dev); lintian checks the package and hardening-check
# (devscripts) its binaries; the install tests are python3 (its xml module).
$SUDO apt-get install -y -qq --no-install-recommends file dpkg-dev lintian devscripts python3 >/dev/null
# The Python module (pybind11 for Debian's python3, NumPy), its tests (pytest, OpenImageIO's Python
# module to write and read the image files fxhost render is compared on; Pillow, which writes the
# corpus test's CMYK JPEG and palette PNG) and the README's PyAV example.
$SUDO apt-get install -y -qq --no-install-recommends pybind11-dev python3-dev python3-numpy python3-pytest \
  python3-openimageio python3-av python3-pil >/dev/null
# The preview's browser test: Debian's chromium, driven by playwright-core as pinned in
# Tests/Browser/package-lock.json (no browser is downloaded).
$SUDO apt-get install -y -qq --no-install-recommends chromium >/dev/null
command -v npm >/dev/null || $SUDO apt-get install -y -qq --no-install-recommends nodejs npm >/dev/null
npm ci --prefix Tests/Browser --no-audit --no-fund >/dev/null
# The fuzz targets (scripts/fuzz.sh): clang and its libFuzzer runtime.
$SUDO apt-get install -y -qq --no-install-recommends clang-14 libclang-rt-14-dev >/dev/null
cmake -S . -B build -DOSTRIVANE_TESTS=ON -DOSTRIVANE_BENCH=ON >/dev/null
