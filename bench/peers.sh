#!/usr/bin/env bash
# Runs the comparisons with other libraries (OpenCV, ffmpeg) on the same inputs as
# the benchmark, each printing both sides. usage: bench/peers.sh BUILD_DIR
set -euo pipefail
build=${1:?usage: bench/peers.sh BUILD_DIR}
here=$(cd "$(dirname "$0")" && pwd)
missing=()
for p in python3-opencv python3-numpy ffmpeg; do dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p"); done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -ne 0 ] && sudo=sudo
    $sudo apt-get update -qq || echo "apt-get update reported errors; trying the install anyway" >&2
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
for peer in "$here"/peers/*.py; do
    echo "== $(basename "$peer" .py)"
    /usr/bin/python3 "$peer" "$build" || echo "(peer $(basename "$peer") failed)"
done
