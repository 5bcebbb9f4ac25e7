#!/usr/bin/env bash
# Shotcut offers every filter and opens its controls, in a copy of its data with ours beside. Skipped where it is not
# installed.
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
mkdir -p "$folder/bin" "$data/qml/filters" "$data/qml/views" "$folder/state"
# It keeps quiet about faults of QML.
sed 's/\*\.warning=false/*.warning=true /' "$(readlink -f "$(command -v shotcut)")" >"$folder/bin/shotcut"
chmod +x "$folder/bin/shotcut"
for part in "$system"/share/shotcut/*; do [ "${part##*/}" = qml ] || ln -s "$part" "$data/"; done
for part in "$system"/share/shotcut/qml/*; do case ${part##*/} in filters | views) ;; *) ln -s "$part" "$data/qml/" ;; esac; done
cp -r "$1"/bridges/frei0r/share/shotcut/qml/filters/* "$data/qml/filters/"

# Its own view of filters, adding ours one after the other to the clip that is open: as a new filter with its first
# values, shown by what Shotcut loads for it.
cp -r "$system"/share/shotcut/qml/views/* "$data/qml/views/"
cat >"$folder/hook.qml" <<'QML'
    property var waiting: null

    function addNext() {
        if (!waiting) {
            waiting = [];
            for (var i = 0; i < metadatamodel.rowCount(); ++i)
                if (metadatamodel.get(i).objectName.indexOf('larkmoor_') === 0)
                    waiting.push(metadatamodel.get(i));
        }
        if (waiting.length > 0)
            attachedfiltersmodel.add(waiting.shift());
        else
            console.warn('opened all');
    }

    function controlsIn(item) {
        var found = item.edited ? [item] : [];
        for (var i = 0; i < item.children.length; ++i)
            found = found.concat(controlsIn(item.children[i]));
        return found;
    }

    Connections {
        function onIsProducerSelectedChanged() {
            if (attachedfiltersmodel.isProducerSelected && !waiting)
                Qt.callLater(addNext);
        }

        target: attachedfiltersmodel
    }

    Connections {
        function onStatusChanged() {
            if (filterConfig.status === Loader.Ready) {
                console.warn('opened', metadata.objectName, filter.get('0'));
                var controls = controlsIn(filterConfig.item);
                if (controls.length !== filterConfig.item.fields.length)
                    console.warn('wrong', metadata.objectName, 'has', controls.length, 'controls');
                controls.forEach(function(control) {
                    if (control.field.kind !== 'slider')
                        return ;
                    control.value = control.field.high;
                    if (Number(filter.get(control.field.property)) < 0.999)
                        console.warn('wrong', metadata.objectName, control.field.title, 'does not move');
                });
            }
            if (filterConfig.status === Loader.Ready || filterConfig.status === Loader.Error)
                Qt.callLater(addNext);
        }

        target: filterConfig
    }
QML
view=$data/qml/views/filter/filterview.qml
sed -i "/^    color: activePalette.window/r $folder/hook.qml" "$view"
cat >"$folder/clip.mlt" <<'XML'
<mlt><producer id="clip" out="24"><property name="mlt_service">color</property></producer></mlt>
XML

log=$folder/state/shotcut-log.txt
touch "$log"
set -m
FREI0R_PATH=$1/frei0r-1 XDG_RUNTIME_DIR=$folder xvfb-run -a \
    "$folder/bin/shotcut" --noupgrade --appdata "$folder/state" "$folder/clip.mlt" >/dev/null 2>&1 &
host=$!
set +m
# To the last filter, or a minute.
grep -q 'opened all' < <(timeout 60 tail -n +1 -F "$log" 2>/dev/null) || { tail "$log" >&2 && exit 1; }
# An editor may load one twice.
count() { grep -o "$1" "$log" | sort -u | wc -l; }
[ "$(count 'added filter ".* (Larkmoor)"')" = 22 ] || { echo "Shotcut does not offer 22 filters" >&2 && exit 1; }
[ "$(count 'opened larkmoor_[a-z_]*')" = 22 ] || { echo "Shotcut does not open 22 filters" >&2 && exit 1; }
! grep 'larkmoor.*qml:[0-9]\|non-existent\|> wrong' "$log" || exit 1
# What begins with a preset that shows.
for start in 'sepia 0\.428' 'black_and_white 1' 'levels 0'; do
    grep -q "opened larkmoor_$start" "$log" || { grep "opened larkmoor_${start% *}" "$log" >&2 && exit 1; }
done
