#!/usr/bin/env bash
# The test run's PostgreSQL cluster is what the server tests rely on: reached over TCP with TLS,
# and a wrong password refused.
set -euo pipefail
set -a
. "$1/connection"
set +a
[ "$(psql -d postgres -Atc 'select ssl from pg_stat_ssl where pid = pg_backend_pid()')" = t ]
if PGPASSWORD=wrong psql -d postgres -Atc 'select 1' 2> /dev/null; then
  echo "a wrong password was let in" >&2
  exit 1
fi
