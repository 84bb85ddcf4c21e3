#!/usr/bin/env bash
# Saves a changed 40-site list onto a full disk: a 64 KB tmpfs (mounting it needs root) holding the
# settings file and a file that takes all the rest but FREE pages. With no page free the new file
# cannot be written, with one it can but its backup cannot, with two both fit: the first two saves
# must fail, logged, leaving the file byte for byte, and the third must succeed.
#
#   bench/settings_full_disk.sh BUILD_DIR
set -euo pipefail
saver="${1:?usage: settings_full_disk.sh BUILD_DIR}/bench/settings_saver"
mnt="$(mktemp -d)"
mount -t tmpfs -o size=64k tmpfs "$mnt"
trap 'umount "$mnt"; rmdir "$mnt"' EXIT
file="$mnt/tillsight.ini"
page=$(getconf PAGESIZE)

for free_pages in 0 1 2; do
  rm -f "$mnt"/* "$mnt"/.tillsight.ini.*
  "$saver" init "$file"
  before="$(sha256sum <"$file")"
  size_before=$(stat -c %s "$file")
  dd if=/dev/zero of="$mnt/filler" bs=1k 2>/dev/null || true
  truncate -s "-$((free_pages * page))" "$mnt/filler"
  if "$saver" save "$file" new 2>"$mnt.log"; then saved="succeeded"; else saved="failed"; fi
  [ "$(sha256sum <"$file")" = "$before" ] && contents="unchanged" || contents="replaced"
  echo "free pages: $free_pages; save $saved; file $size_before -> $(stat -c %s "$file") bytes," \
    "$contents; check: $("$saver" check "$file" || true)"
  if [ -s "$mnt.log" ]; then sed 's/^/  /' "$mnt.log"; fi
done
rm -f "$mnt.log"
