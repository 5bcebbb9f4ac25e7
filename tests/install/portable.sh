#!/usr/bin/env bash
# Files that other programs load stand on little: an old C library, and nothing that another system has not.
#
# portable.sh BUILD
set -euo pipefail
export LC_ALL=C
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
build=$1
newest=2.28 # of the C library

fault=0
fail() {
    echo "$*" >&2
    fault=1
}
entries() { readelf -dW "$1" | sed -n "s/.*($2).*\[\(.*\)\]$/\1/p"; }
exported() { nm -D --defined-only "$1" | awk '{ print $NF }' | sort; }

# check FILE EXPORTS LIBRARIES...
check() {
    local file=$1 exports=$2 needed version
    shift 2
    for needed in $(entries "$file" NEEDED); do
        [[ " $* " == *" $needed "* ]] || fail "$file needs $needed"
    done
    for version in $(objdump -p "$file" | awk '$1 ~ /^0x/ && NF == 4 { print $4 }' | sort -u); do
        [[ $version == GLIBC_* ]] || { fail "$file needs $version"; continue; }
        [ "$(printf '%s\n' "${version#GLIBC_}" $newest | sort -V | tail -n 1)" = $newest ] || fail "$file needs $version"
    done
    diff "$here/exports/$exports.txt" <(exported "$file") >&2 || fail "$file exports other names"
}

system=(libc.so.6 libm.so.6 libdl.so.2 libpthread.so.0 ld-linux-x86-64.so.2)
check "$build/lib/liblarkmoor.so" module "${system[@]}"
plugins=("$build"/frei0r-1/*.so)
if [ -e "${plugins[0]}" ]; then
    check "$build/lib/liblarkmoor-frei0r.so" bridge "${system[@]}"
    for plugin in "${plugins[@]}"; do check "$plugin" plugin "${system[@]}" liblarkmoor-frei0r.so; done
fi
bundle=$build/OFX/Plugins/Larkmoor.ofx.bundle/Contents/Linux-x86-64/Larkmoor.ofx
if [ -e "$bundle" ]; then check "$bundle" openfx "${system[@]}"; fi
exit $fault
