#!/usr/bin/env bash
# Fuzzes one reader of outside text with libFuzzer under clang, with AddressSanitizer and
# UndefinedBehaviorSanitizer:
#   dialect   the dialect engine: tokenizer, parser, binder, generator, and running what it takes
#   filter    a recordset's Filter criteria
#   sort      a recordset's Sort text
#   settings  the settings file, read as at start-up
# Usage: scripts/fuzz.sh [TARGET] [SECONDS]   (dialect and 600 when left out; a lone number is the
# seconds for the dialect). Findings land in build-fuzz/findings/TARGET/; copy a fixed one into
# the target's seed corpus so that its replay test keeps it fixed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
target=dialect
if [ $# -gt 0 ] && ! [[ "$1" =~ ^[0-9]+$ ]]; then
  target="$1"
  shift
fi
seconds="${1:-600}"
case "$target" in
  dialect) seeds=tests/jet/fuzz/corpus ;;
  filter) seeds=tests/recordset/fuzz/filter_corpus ;;
  sort) seeds=tests/recordset/fuzz/sort_corpus ;;
  settings) seeds=tests/settings/fuzz/corpus ;;
  *)
    echo "fuzz.sh: no target '$target'; choose dialect, filter, sort or settings" >&2
    exit 2
    ;;
esac
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
cmake --build "$build" --target "fuzz_$target"

corpus="$build/corpus/$target"
findings="$build/findings/$target"
mkdir -p "$corpus" "$findings"
cp -n "$root/$seeds"/* "$corpus/" 2>/dev/null || true
cd "$build"
# Undefined behaviour would otherwise be reported and passed over.
UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}" "./fuzz_$target" "$corpus" -max_total_time="$seconds" -timeout=10 -max_len=4096 \
  -artifact_prefix="$findings/" -print_final_stats=1
