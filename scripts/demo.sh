#!/usr/bin/env bash
# The demo: sets up the machine, builds, makes a demo site when there is none yet or its last
# transaction is more than a day old (scripts/demo-site.sh), lists it in the client's sites as
# "Demo Store" (the user's own sites stay as they are), starts the stand-in video viewer that DVR
# searches reach (unless one is already running) and starts the client. The viewer this script
# started stops when the client ends. Any arguments go to the client.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TILLSIGHT_BUILD_DIR:-$root/build}"
data="${TILLSIGHT_DATA_DIR:-${XDG_DATA_HOME:-$HOME/.local/share}/tillsight}"

bash "$root/scripts/build.sh" tillsight tillsight-site tillsight-viewer

site_tool="$build/src/site/tillsight-site"
client="$build/src/client/tillsight"
viewer="$build/src/viewer/tillsight-viewer"
site="$data/demo.tsite"
bash "$root/scripts/demo-site.sh" "$site_tool" "$site"
"$site_tool" add-site "$site" --client "$client" --name "Demo Store"

if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}${QT_QPA_PLATFORM:-}" ]; then
  echo "demo: no display to show the client on; run it from a desktop session," >&2
  echo "      or under a virtual one: xvfb-run -a bash scripts/demo.sh" >&2
  exit 1
fi
# The viewer shows each request in its window and logs it. Its ready line tells that it listens; a
# viewer that ends at once found its name or port taken, most likely by a viewer already running,
# which then serves the client.
mkdir -p "$data"
viewer_ready="$data/viewer.ready"
: >"$viewer_ready"
"$viewer" --log "$data/viewer.log" >"$viewer_ready" &
viewer_pid=$!
trap 'kill "$viewer_pid" 2>/dev/null || true' EXIT
trap 'exit 130' INT TERM HUP
for _ in $(seq 100); do
  if grep -q "listening" "$viewer_ready" || ! kill -0 "$viewer_pid" 2>/dev/null; then break; fi
  sleep 0.1
done
if kill -0 "$viewer_pid" 2>/dev/null; then
  echo "demo: video viewer started; its requests are logged in $data/viewer.log"
else
  trap - EXIT
  echo "demo: no new video viewer (see its message above); DVR searches go to the one running" >&2
fi
"$client" "$@"
