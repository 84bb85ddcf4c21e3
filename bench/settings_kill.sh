#!/usr/bin/env bash
# Kills a program that saves a 40-site list over and over (each save changes every site) with
# SIGKILL at a random moment, RUNS times, and checks after each kill that the settings file loads
# and holds the old list or the new one exactly, byte for byte as a save writes it, and that its
# backup does too. Counts the temporary files a killed save leaves behind.
#
#   bench/settings_kill.sh BUILD_DIR [RUNS] [MAX_DELAY_MS]
set -euo pipefail
saver="${1:?usage: settings_kill.sh BUILD_DIR [RUNS] [MAX_DELAY_MS]}/bench/settings_saver"
runs="${2:-100}"
max_delay="${3:-400}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
work="$scratch/work"
file="$work/tillsight.ini"

echo "one save: $("$saver" loop "$scratch/timing.ini" 20)"
damaged=0 old=0 new=0 leftovers=0
for ((run = 1; run <= runs; run++)); do
  rm -rf "$work" && mkdir "$work"
  "$saver" init "$file"
  "$saver" loop "$file" &
  pid=$!
  delay=$((RANDOM % max_delay))
  sleep "$(printf '%d.%03d' $((delay / 1000)) $((delay % 1000)))"
  kill -KILL "$pid"
  wait "$pid" 2>/dev/null || true
  if result="$("$saver" check "$file")"; then
    [ "$result" = new ] && new=$((new + 1)) || old=$((old + 1))
  else
    damaged=$((damaged + 1))
    echo "run $run after ${delay} ms: $result"
  fi
  leftovers=$((leftovers + $(find "$work" -name '*tillsight.ini.*' ! -name '*.bak' | wc -l)))
done
echo "damaged: $damaged of $runs (whole: $old old list, $new new list)"
echo "temporary files left by a killed save: $leftovers"
