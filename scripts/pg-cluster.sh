#!/usr/bin/env bash
# A PostgreSQL cluster of its own on loopback, as a store's server is reached: password
# (scram-sha-256) over TCP with TLS, its socket inside its own folder.
#   pg-cluster.sh start DIR [PORT]   starts the cluster in DIR, making it first when there is none
#                                    (on PORT, else a free port); DIR/connection then holds
#                                    libpq's variables for its administrator, tillsight_admin
#   pg-cluster.sh stop DIR           stops it, keeping its data
#   pg-cluster.sh destroy DIR        stops it and removes DIR
# The server refuses to run as root, so under root the folder belongs to the postgres user and the
# server's programs run as that user. Its programs come from `pg_config --bindir`: Debian does not
# put them on PATH.
set -euo pipefail
action="$1"
dir="$2"
bindir="$(pg_config --bindir)"

as_server() {
  if [ "$(id -u)" -eq 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi
}

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

make_cluster() {
  local port="$1" password
  rm -rf "$dir"
  mkdir -p "$dir"
  password="$(head -c 18 /dev/urandom | base64 | tr -d '/+=')"
  printf '%s\n' "$password" > "$dir/password"
  [ "$(id -u)" -eq 0 ] && chown -R postgres: "$dir"
  as_server "$bindir/initdb" -D "$dir/data" -U tillsight_admin --auth=scram-sha-256 \
    --pwfile="$dir/password" -E UTF8 --locale=C.UTF-8 > "$dir/initdb.log"
  # A certificate of its own: clients use TLS, as they would reach a store's server.
  as_server openssl req -new -x509 -days 3650 -nodes -subj "/CN=127.0.0.1" \
    -keyout "$dir/data/server.key" -out "$dir/data/server.crt" 2> /dev/null
  as_server chmod 600 "$dir/data/server.key"
  printf 'hostssl all all 127.0.0.1/32 scram-sha-256\n' | as_server tee "$dir/data/pg_hba.conf" > /dev/null
  chmod 644 "$dir/password"
  cat > "$dir/connection" <<VARS
PGHOST=127.0.0.1
PGPORT=$port
PGUSER=tillsight_admin
PGSSLMODE=require
PGPASSWORD=$password
VARS
}

# Whether the cluster's postmaster lives. Not `pg_ctl status`: where nobody reaps orphans (a
# container without an init), a killed server stays behind as a zombie that it takes for running.
running() {
  local pid state
  pid="$(head -n 1 "$dir/data/postmaster.pid" 2> /dev/null || true)"
  [ -n "$pid" ] || return 1
  state="$(ps -o stat= -p "$pid" 2> /dev/null || true)"
  [ -n "$state" ] && [[ "$state" != Z* ]]
}

start() {
  if [ ! -f "$dir/data/PG_VERSION" ]; then make_cluster "${1:-$(free_port)}"; fi
  running && return 0
  # A server that died left its lock files; its process is gone (or a zombie the server would
  # still take for alive), so they only stand in the way.
  as_server rm -f "$dir/data/postmaster.pid" "$dir"/.s.PGSQL.*
  local port
  port="$(sed -n 's/^PGPORT=//p' "$dir/connection")"
  as_server "$bindir/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 60 \
    -o "-k $dir -p $port -c listen_addresses=127.0.0.1 -c ssl=on" start > /dev/null
}

stop() {
  if [ -d "$dir/data" ] && running; then
    as_server "$bindir/pg_ctl" -D "$dir/data" -m fast -w stop > /dev/null || true
  fi
}

destroy() {
  if [ -d "$dir/data" ]; then
    as_server "$bindir/pg_ctl" -D "$dir/data" -m immediate -w stop > /dev/null 2>&1 || true
  fi
  rm -rf "$dir"
}

"$action" "${@:3}"
