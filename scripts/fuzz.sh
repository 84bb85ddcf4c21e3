#!/usr/bin/env bash
# Fuzzes the dialect engine's tokenizer, parser, binder and generator with libFuzzer.
# Usage: scripts/fuzz.sh [seconds]   (default 600). Findings land in build-fuzz/findings/; copy a
# fixed one into tests/jet/fuzz/corpus/ so the replay test keeps it fixed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-600}"
build="$root/build-fuzz"

bash "$root/scripts/setup.sh"
need=()
for p in clang-14 libclang-rt-14-dev; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || need+=("$p")
done
if [ ${#need[@]} -gt 0 ]; then
  sudo_cmd=(); [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${need[@]}"
fi

CC=clang-14 CXX=clang++-14 cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTILLSIGHT_FUZZ=ON -DTILLSIGHT_WERROR=OFF -DTILLSIGHT_BUILD_TESTS=OFF -DTILLSIGHT_BUILD_BENCH=OFF
cmake --build "$build" --target fuzz_dialect

mkdir -p "$build/corpus" "$build/findings"
cp -n "$root"/tests/jet/fuzz/corpus/* "$build/corpus/" 2>/dev/null || true
cd "$build"
./fuzz_dialect corpus -max_total_time="$seconds" -timeout=10 -max_len=4096 \
  -artifact_prefix=findings/ -print_final_stats=1
