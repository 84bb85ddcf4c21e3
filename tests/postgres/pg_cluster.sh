#!/usr/bin/env bash
# The test run's throwaway cluster (scripts/pg-cluster.sh), fresh for every run:
#   pg_cluster.sh start DIR   makes and starts it; DIR/connection holds libpq's variables
#   pg_cluster.sh stop DIR    stops it and removes DIR
set -euo pipefail
cluster="$(dirname "$0")/../../scripts/pg-cluster.sh"
case "$1" in
  start) bash "$cluster" destroy "$2" && bash "$cluster" start "$2" ;;
  stop) bash "$cluster" destroy "$2" ;;
  *) echo "usage: pg_cluster.sh start|stop DIR" >&2; exit 2 ;;
esac
