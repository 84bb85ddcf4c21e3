#!/usr/bin/env bash
# Installs a build into a temporary prefix and checks what a desktop user gets: the programs run
# from there, the desktop entry is valid and names the installed program and icon, and a client
# installed where its user cannot write keeps its sites under $XDG_CONFIG_HOME/tillsight/.
# Usage: check_install.sh BUILD_DIR [CMAKE]
set -euo pipefail
build="$1"
cmake="${2:-cmake}"
work="$(mktemp -d)"
trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
fail() {
  echo "check_install: $*" >&2
  exit 1
}

prefix="$work/prefix"
"$cmake" --install "$build" --prefix "$prefix" >/dev/null
chmod 755 "$work"

for program in tillsight tillsight-site tillsight-viewer tillsight-report; do
  [ -x "$prefix/bin/$program" ] || fail "$program is not installed in $prefix/bin"
done
entry="$prefix/share/applications/tillsight.desktop"
[ -f "$entry" ] || fail "no desktop entry at $entry"
exec_program="$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$entry")"
[ -x "$prefix/bin/$exec_program" ] || fail "the desktop entry starts $exec_program, which is not installed"
icon="$(sed -n 's/^Icon=//p' "$entry")"
[ -f "$prefix/share/icons/hicolor/scalable/apps/$icon.svg" ] || fail "no icon named $icon"
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$entry" || fail "desktop-file-validate refuses $entry"
else
  echo "check_install: desktop-file-validate is not installed; the entry was not validated"
fi

# The installed client's folder is closed to its user, who lists a site with the installed tool.
# Root writes anywhere, so as root the user is nobody.
as_user=()
if [ "$(id -u)" -eq 0 ]; then
  command -v setpriv >/dev/null || fail "running as root without setpriv to act as a user"
  as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
chmod 555 "$prefix/bin"
config="$work/config"
mkdir -m 1777 "$config"
site="$work/store.tsite"
"$prefix/bin/tillsight-site" init "$site" >/dev/null
chmod 644 "$site"
env HOME="$work" XDG_CONFIG_HOME="$config" "${as_user[@]}" \
  "$prefix/bin/tillsight-site" add-site "$site" --client "$prefix/bin/tillsight" --name Store \
  >/dev/null
[ -f "$config/tillsight/tillsight.ini" ] || fail "no settings file under $config/tillsight"
grep -q "^Store" "$config/tillsight/tillsight.ini" || fail "the site is not in the settings file"
[ ! -e "$prefix/bin/tillsight.ini" ] || fail "a settings file was made beside the installed client"
echo "check_install: installed and checked under $prefix"
