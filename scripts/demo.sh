#!/usr/bin/env bash
# The demo: sets up the machine, builds, makes a demo site when there is none yet, lists it in the
# client's sites as "Demo Store" (the user's own sites stay as they are) and starts the client.
# Any arguments go to the client.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TILLSIGHT_BUILD_DIR:-$root/build}"
data="${TILLSIGHT_DATA_DIR:-${XDG_DATA_HOME:-$HOME/.local/share}/tillsight}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" --parallel "$(nproc)" --target tillsight tillsight-site

site_tool="$build/src/site/tillsight-site"
client="$build/src/client/tillsight"
site="$data/demo.tsite"
if [ ! -s "$site" ]; then
  # Made under another name first, so that an interrupted run leaves no half-filled site behind.
  mkdir -p "$data"
  partial="$site.partial"
  rm -f "$partial"
  "$site_tool" init "$partial"
  "$site_tool" demo "$partial" --days 90 --end today
  mv "$partial" "$site"
fi
"$site_tool" add-site "$site" --client "$client" --name "Demo Store"

if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}${QT_QPA_PLATFORM:-}" ]; then
  echo "demo: no display to show the client on; run it from a desktop session," >&2
  echo "      or under a virtual one: xvfb-run -a bash scripts/demo.sh" >&2
  exit 1
fi
exec "$client" "$@"
