#!/usr/bin/env bash
# A stranger's programs stand on what is installed: the examples build by CMake and by pkg-config, and render.
#
# examples.sh BUILD C++-COMPILER
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$1" --prefix "$prefix" >/dev/null
cmake -S "$root/examples" -B "$prefix/examples" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$2" \
    -DCMAKE_C_FLAGS="-Wall -Wextra -pedantic -Werror" >/dev/null
cmake --build "$prefix/examples" >/dev/null

cd "$prefix"
pc=$(dirname "$(find . -name larkmoor-host.pc)")
export LD_LIBRARY_PATH=$prefix/${pc%/pkgconfig}
flags() { PKG_CONFIG_PATH=$pc pkg-config "$@" larkmoor-host; }
# shellcheck disable=SC2046 # flags are words
cc -std=c99 $(flags --cflags) "$root/examples/picture.c" -o by_pkg_config $(flags --libs)

# 16x2: black, mid, white and colours
{ printf 'P6 16 2 255\n'; printf '\000\000\000\200\200\200\377\377\377\377\100\040%.0s' {1..8}; } >in.ppm
for settings in Invert "Gaussian Blur:horizontalRange=0.2" "Black and White:100% Black and White" Wave; do
    IFS=: read -ra words <<<"$settings"
    for program in ./by_pkg_config examples/picture_c examples/picture_cpp; do
        "$program" "${words[@]}" <in.ppm >"out.$(basename $program)" || { echo "$program $settings" >&2; exit 1; }
        cmp out.by_pkg_config "out.$(basename $program)"
    done
    ! cmp -s in.ppm out.by_pkg_config || { echo "$settings does nothing" >&2; exit 1; }
done
printf 'P6 16 2 255\n' >inverted.ppm
tail -c 96 in.ppm | LC_ALL=C tr '\000\040\100\200\377' '\377\337\277\177\000' >>inverted.ppm
./by_pkg_config Invert <in.ppm | cmp - inverted.ppm
! sentence=$(./by_pkg_config Sepio <in.ppm 2>&1 >/dev/null)
[[ $sentence == *Sepia* ]] || { echo "no help for a wrong name: $sentence" >&2; exit 1; }

# Without fontconfig, as on a bare system, the module loads, draws no letters, and says why.
mkdir none && echo no >none/libfontconfig.so.1
sentence=$(LD_LIBRARY_PATH=$prefix/none:$LD_LIBRARY_PATH ./by_pkg_config Text text=Hi <in.ppm 2>&1 >/dev/null)
[[ $sentence == *libfontconfig.so.1* ]] || { echo "nothing told of missing fonts: $sentence" >&2; exit 1; }
