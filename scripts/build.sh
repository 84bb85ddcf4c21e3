#!/usr/bin/env bash
# Sets up the machine's packages and builds the given targets (every one when none is given) in
# TILLSIGHT_BUILD_DIR (default build/), as the demos run them.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TILLSIGHT_BUILD_DIR:-$root/build}"
bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
if [ $# -gt 0 ]; then
  cmake --build "$build" --parallel "$(nproc)" --target "$@"
else
  cmake --build "$build" --parallel "$(nproc)"
fi
