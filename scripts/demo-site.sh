#!/usr/bin/env bash
# Makes the demo site SITE with the site tool TOOL when there is none, or afresh when its last
# transaction is more than a day old: a demo shows the store up to the present moment, so that
# "Previous Day" and "Today" find sales. DAYS (default 90) is how many days it holds.
# Usage: demo-site.sh TOOL SITE [DAYS]
set -euo pipefail
tool="$1"
site="$2"
days="${3:-90}"

# "True" when the site holds a transaction less than a day old.
is_fresh() {
  "$tool" query "$site" --tsv "SELECT Count(*) > 0 FROM tblTrans WHERE fldTransTime > Now() - 1" \
    2>/dev/null | tail -n 1
}

if [ -s "$site" ] && [ "$(is_fresh)" = "True" ]; then exit 0; fi
# Made under another name first, so that an interrupted run leaves no half-filled site behind.
mkdir -p "$(dirname "$site")"
partial="$site.partial"
rm -f "$partial"
"$tool" init "$partial"
"$tool" demo "$partial" --days "$days" --end now
mv "$partial" "$site"
