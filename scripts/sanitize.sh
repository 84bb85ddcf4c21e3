#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer and runs the whole suite,
# the tests that need OpenGL under a virtual X server. A finding fails the run.
# Usage: scripts/sanitize.sh   (the build goes to build-sanitize/, or $TILLSIGHT_SANITIZE_DIR)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TILLSIGHT_SANITIZE_DIR:-$root/build-sanitize}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTILLSIGHT_SANITIZE=ON \
  -DTILLSIGHT_BUILD_BENCH=OFF
cmake --build "$build" --parallel "$(nproc)"

# Leaks are checked; only those inside libraries we do not build are suppressed (lsan.supp says
# which and why).
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$root/scripts/lsan.supp:print_suppressions=0"

cd "$build"
ctest --output-on-failure --parallel "$(nproc)" -LE gl
if [ -n "$(ctest -N -L gl | grep -E '^ +Test +#')" ]; then
  # On an X display, libxkbcommon-x11 strndup()s keymap names out of X replies that are not
  # NUL-terminated; bounded, so correct, but strict string checks flag it. Not our code.
  gl_options="${ASAN_OPTIONS/:strict_string_checks=1/}"
  ASAN_OPTIONS="$gl_options" xvfb-run -a ctest --output-on-failure -L gl -E test_report_chart
  # tillsight-report exits as a program does, closing its display, and the GL driver is unloaded
  # before the leak check: what Mesa keeps then has no module name to be suppressed by. Memory
  # errors are still checked there; leaks of our own code are checked by every other test.
  ASAN_OPTIONS="$gl_options:detect_leaks=0" xvfb-run -a ctest --output-on-failure -R test_report_chart
fi
