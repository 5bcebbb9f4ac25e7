#!/usr/bin/env bash
# Shotcut offers every filter, in a copy of its data with ours beside. Skipped where it is not installed.
#
# shotcut.sh BUILD
set -euo pipefail
for program in shotcut xvfb-run; do
    command -v "$program" >/dev/null || { echo "$program is not installed; nothing was tried" && exit 77; }
done
system=$(dirname "$(dirname "$(readlink -f "$(command -v shotcut)")")")
folder=$(mktemp -d)
host=
stop() {
    [ -z "$host" ] || kill -- -"$host" 2>/dev/null || true
    rm -rf "$folder"
}
trap stop EXIT
# It looks beside its own program.
data=$folder/share/shotcut
mkdir -p "$folder/bin" "$data/qml/filters" "$folder/state"
cp "$(readlink -f "$(command -v shotcut)")" "$folder/bin/shotcut"
for part in "$system"/share/shotcut/*; do [ "${part##*/}" = qml ] || ln -s "$part" "$data/"; done
for part in "$system"/share/shotcut/qml/*; do [ "${part##*/}" = filters ] || ln -s "$part" "$data/qml/"; done
cp -r "$1"/bridges/frei0r/share/shotcut/qml/filters/* "$data/qml/filters/"

log=$folder/state/shotcut-log.txt
touch "$log"
set -m
FREI0R_PATH=$1/frei0r-1 XDG_RUNTIME_DIR=$folder xvfb-run -a "$folder/bin/shotcut" --noupgrade --appdata "$folder/state" \
    >/dev/null 2>&1 &
host=$!
set +m
# As many lines as there are filters, or a minute.
wanted=$(find "$data/qml/filters" -maxdepth 1 -type d -name 'larkmoor_*' | wc -l)
line='added filter ".* (Larkmoor)"'
grep -m "$wanted" -c "$line" < <(timeout 60 tail -n +1 -F "$log" 2>/dev/null) >"$folder/offered" || true
[ "$wanted" = 22 ] || { echo "$wanted filters are described" >&2 && exit 1; }
[ "$(cat "$folder/offered")" = "$wanted" ] || { echo "Shotcut offers $(cat "$folder/offered") of $wanted filters" >&2 && exit 1; }
! grep 'larkmoor.*\(Error\|non-existent\)' "$log" || exit 1
