#!/usr/bin/env bash
# The demo on a PostgreSQL server, as a store's site is reached: builds as scripts/demo.sh does,
# starts a local cluster of its own (scripts/pg-cluster.sh; kept in the demo's data folder between
# runs, on loopback, TLS and passwords), makes the site "demo" on it when there is none or its last
# transaction is more than a day old, and lists it in the client's sites as "Demo Server Store":
# address demo_client@127.0.0.1/demo with the cluster's port and the client role's password, as a
# manager would type them on the Connection toolbar. Then it runs scripts/demo.sh (which also
# lists the site file "Demo Store"). The cluster keeps running after the client ends; stop it with
#   bash scripts/pg-cluster.sh stop ~/.local/share/tillsight/pg
# Any arguments go to the client.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TILLSIGHT_BUILD_DIR:-$root/build}"
data="${TILLSIGHT_DATA_DIR:-${XDG_DATA_HOME:-$HOME/.local/share}/tillsight}"
cluster="$data/pg"

bash "$root/scripts/build.sh" tillsight tillsight-site tillsight-viewer
site_tool="$build/src/site/tillsight-site"
client="$build/src/client/tillsight"

mkdir -p "$data"
bash "$root/scripts/pg-cluster.sh" start "$cluster"
port="$(sed -n 's/^PGPORT=//p' "$cluster/connection")"
client_password="$data/demo-server-client.password"
if [ ! -s "$client_password" ]; then
  (umask 077 && head -c 12 /dev/urandom | base64 | tr -d '/+=' > "$client_password")
fi
admin=(tillsight_admin@127.0.0.1/demo --port "$port" --password-file "$cluster/password")

fresh="$("$site_tool" query "${admin[@]}" --tsv \
  "SELECT Count(*) > 0 FROM tblTrans WHERE fldTransTime > Now() - 1" 2>/dev/null | tail -n 1 || true)"
if [ "$fresh" != "True" ]; then
  "$site_tool" init "${admin[@]}" --client-password-file "$client_password" --force
  "$site_tool" demo "${admin[@]}" --days 90 --end now
fi
"$site_tool" add-site demo_client@127.0.0.1/demo --port "$port" \
  --password-file "$client_password" --client "$client" --name "Demo Server Store"
echo "demo-server: pick \"Demo Server Store\" on the Connection toolbar and press Connect"
exec bash "$root/scripts/demo.sh" "$@"
