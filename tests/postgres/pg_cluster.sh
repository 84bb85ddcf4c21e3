#!/usr/bin/env bash
# A throwaway PostgreSQL cluster on loopback for one test run, as real sites run: password
# (scram-sha-256) over TCP with TLS, on a free port, its socket inside its own folder.
#   pg_cluster.sh start DIR   makes and starts it; DIR/connection holds libpq's variables
#   pg_cluster.sh stop DIR    stops it and removes DIR
# The server refuses to run as root, so under root the folder belongs to the postgres user and
# the server's programs run as that user.
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

start() {
  rm -rf "$dir"
  mkdir -p "$dir"
  local password
  password="$(head -c 18 /dev/urandom | base64 | tr -d '/+=')"
  printf '%s\n' "$password" > "$dir/password"
  [ "$(id -u)" -eq 0 ] && chown -R postgres: "$dir"
  as_server "$bindir/initdb" -D "$dir/data" -U tillsight_admin --auth=scram-sha-256 \
    --pwfile="$dir/password" -E UTF8 --locale=C.UTF-8 > "$dir/initdb.log"
  # A certificate of its own: clients are made to use TLS, as they would reach a store's server.
  as_server openssl req -new -x509 -days 2 -nodes -subj "/CN=127.0.0.1" \
    -keyout "$dir/data/server.key" -out "$dir/data/server.crt" 2> /dev/null
  as_server chmod 600 "$dir/data/server.key"
  printf 'hostssl all all 127.0.0.1/32 scram-sha-256\n' | as_server tee "$dir/data/pg_hba.conf" > /dev/null
  local port
  port="$(free_port)"
  as_server "$bindir/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 60 \
    -o "-k $dir -p $port -c listen_addresses=127.0.0.1 -c ssl=on" start > /dev/null
  chmod 644 "$dir/password"
  cat > "$dir/connection" <<VARS
PGHOST=127.0.0.1
PGPORT=$port
PGUSER=tillsight_admin
PGSSLMODE=require
PGPASSWORD=$password
VARS
}

stop() {
  if [ -d "$dir/data" ]; then
    as_server "$bindir/pg_ctl" -D "$dir/data" -m immediate -w stop > /dev/null || true
  fi
  rm -rf "$dir"
}

"$action"
