#!/usr/bin/env bash
# Prints a pixel digest (oiiotool's SHA-1 of the decoded pixels, not of the file's bytes) for
# the outputs of one fixed set of renders: 8-bit RGBA, RGB, grey and grey+alpha PNG, 16-bit
# PNG and TIFF, half and float EXR (values above 1), JPEG, a 4-frame sequence and a sheet.
# Compare two builds' lists to show that a change to the image path kept every output pixel:
#   scripts/digests.sh build/bin > after.txt && diff Bench/digests.txt after.txt
# The effect's GL pass renders them (RENDERER=cpu for its CPU renderer), so the list is the same
# on every machine, whatever auto would pick there.
set -euo pipefail
bin=$(cd "${1:-build/bin}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
src="testsrc2=s=320x180:r=24"
ff() { ffmpeg -v error -y -f lavfi -i "$src" "$@"; }
ff -frames:v 4 -pix_fmt rgba seq_%04d.png
ff -frames:v 1 -pix_fmt rgba rgba8.png
ff -frames:v 1 -pix_fmt rgb24 rgb8.png
ff -frames:v 1 -pix_fmt gray grey8.png
ff -frames:v 1 -pix_fmt ya8 greyalpha8.png
ff -frames:v 1 -pix_fmt rgba64be rgba16.png
ff -frames:v 1 -pix_fmt rgba64le rgba16.tif
ff -frames:v 1 -q:v 3 rgb.jpg
# Deep files with a gradient of alpha and values beyond 1, made by OpenImageIO.
oiiotool --pattern fill:topleft=0,0.2,0.9,1:topright=4,1,0.1,0.5:bottomleft=0.3,2.5,0,0.25:bottomright=1,1,1,0 320x180 4 -d half -o half.exr
oiiotool half.exr -d float -o float.exr
set_args=(--renderer "${RENDERER:-gl}" --set "Hue Value=90" --set "Saturation=1.5")
for f in rgba8.png rgb8.png grey8.png greyalpha8.png rgba16.png rgba16.tif rgb.jpg half.exr float.exr; do
  "$bin/fxhost" render "${set_args[@]}" "$f" "out_$f" >/dev/null 2>&1
  echo "$f $(oiiotool --hash "out_$f" | awk '/SHA-1/ {print $2}')"
done
"$bin/fxhost" render "${set_args[@]}" --frames 1-4 seq_%04d.png out_%04d.png >/dev/null 2>&1
for i in 1 2 3 4; do echo "sequence frame $i $(oiiotool --hash out_000$i.png | awk '/SHA-1/ {print $2}')"; done
"$bin/fxhost" sheet --renderer "${RENDERER:-gl}" --vary "Hue Value=0:300:6" rgba8.png sheet.png >/dev/null 2>&1
echo "sheet $(oiiotool --hash sheet.png | awk '/SHA-1/ {print $2}')"
