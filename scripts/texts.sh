#!/usr/bin/env bash
# Brings the studio's texts in other languages up to date with its sources: apps/studio/studio_*.ts, or those of a folder.
# English has its plurals alone. LUPDATE names the tool where it is not Debian's.
#
# texts.sh [FOLDER]
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
folder=$(readlink -f "${1:-$root/apps/studio}")
lupdate=${LUPDATE:-/usr/lib/qt6/bin/lupdate}

cd "$root"
"$lupdate" -silent -locations none -no-obsolete apps/studio -ts "$folder/studio_de.ts"
"$lupdate" -silent -locations none -no-obsolete -pluralonly apps/studio -ts "$folder/studio_en.ts"
