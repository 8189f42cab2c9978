#!/usr/bin/env bash
# Installs what the project needs on a fresh Debian 12 machine and configures the build in ./build.
set -euo pipefail
cd "$(dirname "$0")/.."
SUDO=""
if [ "$(id -u)" != 0 ]; then SUDO=sudo; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends \
  g++ cmake ninja-build pkg-config \
  libglbinding-dev libegl-dev libegl-mesa0 libgl1-mesa-dri libgl-dev \
  libgtest-dev libbenchmark-dev libopenimageio-dev libcli11-dev fonts-dejavu-core \
  libavformat-dev libavcodec-dev libswscale-dev libavutil-dev ffmpeg \
  libcpp-httplib-dev nlohmann-json3-dev >/dev/null
# frei0r's header, and the module's hosts in the tests beside FFmpeg: melt with its profiles and
# module descriptions (libmlt-data, which melt's library only recommends) and GStreamer with its
# frei0r elements.
$SUDO apt-get install -y -qq --no-install-recommends frei0r-plugins-dev melt libmlt-data \
  gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad >/dev/null
# A one-node Slurm for the farm tests (scripts/slurm-local.sh); its daemons are started by the tests.
$SUDO apt-get install -y -qq --no-install-recommends slurm-wlm munge >/dev/null
# The Debian package and its tests: CPack's DEB generator reads ELF files with `file` and works
# out Depends with dpkg-shlibdeps (dpkg-dev); lintian checks the package; the install tests are
# python3 (its xml module).
$SUDO apt-get install -y -qq --no-install-recommends file dpkg-dev lintian python3 >/dev/null
# The Python module (pybind11 for Debian's python3, NumPy), its tests (pytest, OpenImageIO's Python
# module to write and read the image files fxhost render is compared on) and the README's PyAV example.
$SUDO apt-get install -y -qq --no-install-recommends pybind11-dev python3-dev python3-numpy python3-pytest \
  python3-openimageio python3-av >/dev/null
# The preview's browser test: Debian's chromium, driven by playwright-core as pinned in
# Tests/Browser/package-lock.json (no browser is downloaded).
$SUDO apt-get install -y -qq --no-install-recommends chromium >/dev/null
command -v npm >/dev/null || $SUDO apt-get install -y -qq --no-install-recommends nodejs npm >/dev/null
npm ci --prefix Tests/Browser --no-audit --no-fund >/dev/null
# The fuzz targets (scripts/fuzz.sh): clang and its libFuzzer runtime.
$SUDO apt-get install -y -qq --no-install-recommends clang-14 libclang-rt-14-dev >/dev/null
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
