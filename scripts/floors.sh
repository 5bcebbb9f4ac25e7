#!/usr/bin/env bash
# Holds the floors of docs/architecture.md: which folder may include from which. Prints the lines that reach too high.
#
# floors.sh [FOLDER]: of a checkout, by default this one.
set -euo pipefail
cd "${1:-$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")}"

# A folder, then the folders below it that it may include from besides its own.
floors='
src/platform:
src/base:         platform
src/support:      platform base
src/kernels:      platform base support
src/frame:        platform base support kernels
src/pages:        platform base support kernels frame
src/filters:      platform base support kernels frame pages
src/transitions:  platform base support kernels frame pages
src/keying:       platform base support kernels frame pages
src/generators:   platform base support kernels frame pages
src/broadcast:    platform base support kernels frame pages
host:             platform base
apps:             platform base
bridges:          platform base
'
module='platform|base|support|kernels|frame|pages|filters|transitions|keying|generators|broadcast'

found=0
while IFS=: read -r folder allowed; do
    [ -n "$folder" ] || continue
    [ -d "$folder" ] || { echo "$folder is no folder" >&2; exit 2; }
    own=${folder##*/}
    lines=$(grep -rnE "^ *# *include \"($module)/" --include='*.h' --include='*.cpp' "$folder" |
        grep -vE "include \"($own$(printf '|%s' $allowed))/") || continue
    echo "$lines"
    found=1
done <<<"$floors"
# Nobody outside the module, its tests and its benchmark links the module's insides.
lines=$(grep -rnE 'larkmoor_(inside|objects)' --include=CMakeLists.txt host apps bridges) && { echo "$lines"; found=1; }
exit $found
