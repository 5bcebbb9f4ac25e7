#!/usr/bin/env bash
# What is installed serves a stranger: each header alone compiles, and a program against them uses every export.
#
# check.sh BUILD COMPILER [FLAGS...]
set -euo pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
build=$1
shift
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
pc=$(find "$prefix" -name larkmoor.pc)
flags() { PKG_CONFIG_PATH=$(dirname "$pc") pkg-config "$@" larkmoor; }

headers=$(cd "$prefix/include/larkmoor" && find . -name '*.h' | sed 's,^\./,,' | sort)
for header in $headers; do
    echo "#include \"$header\"" |
        "$@" -std=c++20 -Wall -Wextra -Wno-missing-field-initializers -Werror -fsyntax-only $(flags --cflags) -x c++ - ||
        { echo "$header does not stand alone" >&2; exit 1; }
done
for header in base/guard platform/glyphs platform/locale support/messages; do
    [ ! -e "$prefix/include/larkmoor/$header.h" ] || { echo "$header.h is internal" >&2; exit 1; }
done

"$@" -std=c++20 $(flags --cflags) "$here/every_export.cpp" -o "$prefix/program" $(flags --libs)
library=$(flags --variable=libdir)
LD_LIBRARY_PATH=$library "$prefix/program"
# A destructor has two names for one body.
symbols() { nm -D "$@" | awk '{ print $NF }' | sed 's/@.*//; s/D2Ev$/D1Ev/' | sort -u; }
unused=$(comm -23 <(symbols --defined-only "$library/liblarkmoor.so") <(symbols --undefined-only "$prefix/program"))
[ -z "$unused" ] || { echo "exported, but not used here: $unused" >&2; exit 1; }
