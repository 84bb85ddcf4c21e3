#!/usr/bin/env bash
# Sets up, configures, builds and runs every test. Widget tests run on the offscreen platform
# (set per test by CMake); tests labelled "gl" need OpenGL and run under a virtual X server.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TILLSIGHT_BUILD_DIR:-$root/build}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" --parallel "$(nproc)"

cd "$build"
ctest --output-on-failure --parallel "$(nproc)" -LE gl
if [ -n "$(ctest -N -L gl | grep -E '^ +Test +#')" ]; then
  xvfb-run -a ctest --output-on-failure -L gl
fi
