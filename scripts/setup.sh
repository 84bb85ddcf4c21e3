#!/usr/bin/env bash
# Installs every Debian package that building, testing and the demo need.
# Idempotent: when everything is present it does nothing (no apt-get at all).
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config
  # Qt 6 (widgets, OpenGL, 3-D charts; the charts' CMake package needs declarative)
  qt6-base-dev qt6-base-dev-tools libqt6opengl6-dev qt6-datavisualization-dev qt6-declarative-dev
  # engines
  libsqlite3-dev sqlite3 libpq-dev postgresql
  # the throwaway clusters of the tests and the server demo (scripts/pg-cluster.sh)
  openssl procps
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth python3-xlrd poppler-utils
  desktop-file-utils
  # a second, independent reader of the .xls export (headless conversion to CSV)
  libreoffice-calc-nogui
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "setup: installing ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update
"${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
