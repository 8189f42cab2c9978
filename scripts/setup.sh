#!/usr/bin/env bash
# Installs what building and running fxhost, its bundle and the frei0r module need on a fresh
# Debian 12 machine, and configures the build in ./build. Nothing of the tests: scripts/setup-tests.sh
# adds those (it runs this first). Where GoogleTest is not installed the configure leaves the
# tests and benchmarks out.
set -euo pipefail
cd "$(dirname "$0")/.."
SUDO=""
if [ "$(id -u)" != 0 ]; then SUDO=sudo; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
# The compiler and build tools; EGL and GL (Mesa's llvmpipe where there is no GPU); image files
# (PNG through libspng), movies (colours converted through zimg), the preview's HTTP server, JSON, the command line; the sheet's
# font; frei0r's header; GStreamer's and its video library's (the GStreamer plug-in).
$SUDO apt-get install -y -qq --no-install-recommends \
  g++ cmake ninja-build pkg-config \
  libglbinding-dev libegl-dev libegl-mesa0 libgl1-mesa-dri libgl-dev libopengl-dev \
  libopenimageio-dev libspng-dev libcli11-dev fonts-dejavu-core \
  libavformat-dev libavcodec-dev libswscale-dev libavutil-dev libzimg-dev \
  libcpp-httplib-dev nlohmann-json3-dev frei0r-plugins-dev \
  libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev >/dev/null
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
