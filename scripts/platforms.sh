#!/usr/bin/env bash
# scripts/platforms.sh [--update] [NAME...]    compares what every platform makes of every effect
#
# Installs packages-platforms.txt, builds module, host and larkmoor_digest for each platform, runs it, and compares what
# it prints with tests/data/digests.txt: presets where each instruction is emulated or compiled plainly, fields as well
# elsewhere. NAME picks platforms: gcc, clang-14, clang-19, aarch64, wasm, windows. With --update the rows go into the
# table of docs/platforms.md as well. Exits 1 with the names of what differs. What is built stays in build/.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"

update=
if [[ ${1-} == -h || ${1-} == --help ]]; then
    sed -n 's/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    exit
elif [[ ${1-} == --update ]]; then
    update=yes
    shift
fi
known=(gcc clang-14 clang-19 aarch64 wasm windows)
for name; do [[ " ${known[*]} " == *" $name "* ]] || fail "there is no platform $name; there are ${known[*]}"; done
picked=("${@:-${known[@]}}")
wants() { [[ " ${picked[*]} " == *" $1 "* ]]; }

"$root/scripts/setup.sh" "$root/scripts/packages-platforms.txt"
work=$root/build/platforms
mkdir -p "$work"
table=$root/tests/data/digests.txt rows=() bad=0
titles='^(Text|Timecode) \|'

# make_for DIR PRESET [OPTIONS...]
make_for() {
    local dir=$root/build/$1 preset=$2
    shift 2
    if ! { cmake -S "$root" --preset "$preset" -B "$dir" "$@" && cmake --build "$dir"; } >"$dir.log" 2>&1; then
        tail -n 20 "$dir.log" >&2
        fail "the build in $dir failed"
    fi
}

# judge WHAT LETTERS WALK COMMAND...: LETTERS says where those of titles and timecodes come from: FreeType, none, or the
# system, which draws its own. WALK is presets or all.
judge() {
    local what=$1 letters=$2 walk=$3 out=$work/out.txt want=$work/want.txt verdict
    shift 3
    [[ $walk == all ]] || set -- "$@" --presets
    say "comparing $what"
    "$@" >"$out" 2>"$work/err.txt" || {
        cat "$work/err.txt" >&2
        fail "the program for $what failed"
    }
    tr -d '\r' <"$out" >"$out.plain"
    case $letters in
    FreeType) cp "$table" "$want" ;;
    none) { grep -vE "$titles" "$table"; cat "$work/without_letters.txt"; } >"$want" ;;
    system) # what their records hold, and no pictures
        grep -vE "$titles" "$table" >"$want"
        grep -vE "$titles" "$out.plain" >"$out.part" && mv "$out.part" "$out.plain"
        ;;
    esac
    [[ $walk == all ]] || sed -i '/^[^|]*| \./d' "$want"
    if diff <(sort "$want") <(sort "$out.plain") >"$work/diff.txt"; then
        verdict="all $(grep -vc '^#' "$want") rows, $([[ $walk == all ]] && echo presets and fields || echo presets)"
    else
        verdict="$(grep -c '^>' "$work/diff.txt") rows differ"
        bad=1
        say "$what differs:"
        sed -n 's/^> \([^|]*|[^|]*\).*/  \1/p' "$work/diff.txt" >&2
    fi
    rows+=("| $what | $letters | $verdict |")
}

# native NAME COMPILER LABEL
native() {
    local level
    for options in -O0 '-O3 -DNDEBUG'; do
        local dir=platform-$1${options%% *}
        make_for "$dir" digest -DCMAKE_CXX_COMPILER="$2" -DCMAKE_CXX_FLAGS_RELEASE="$options"
        for level in base newest; do
            local label="baseline" walk=all
            [[ $level == base ]] || label="newest"
            [[ $options != -O0 ]] || walk=presets
            judge "x86-64, $3, ${options%% *}, $label instructions" FreeType $walk \
                env LARKMOOR_LEVEL=$level "$root/build/$dir/bin/larkmoor_digest"
        done
    done
}

# Titles and timecodes without letters, for those who have none: by a machine without fonts.
if wants aarch64 || wants wasm || wants windows; then
    make_for platform-gcc-O3 digest -DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_FLAGS_RELEASE='-O3 -DNDEBUG'
    printf '<?xml version="1.0"?><fontconfig/>' >"$work/no_fonts.conf"
    FONTCONFIG_FILE=$work/no_fonts.conf "$root/build/platform-gcc-O3/bin/larkmoor_digest" 2>/dev/null |
        grep -E "$titles" >"$work/without_letters.txt"
fi
! wants gcc || native gcc g++ "GCC $(g++ -dumpversion)"
! wants clang-14 || native clang-14 clang++-14 "Clang 14"
! wants clang-19 || native clang-19 clang++-19 "Clang 19"
if wants aarch64; then
    make_for aarch64 aarch64
    run=(qemu-aarch64 -L /usr/aarch64-linux-gnu)
    judge "aarch64, GCC $(aarch64-linux-gnu-g++ -dumpversion), under QEMU" none presets \
        "${run[@]}" "$root/build/aarch64/bin/larkmoor_digest"
    say "running the kernels' tests for aarch64"
    "${run[@]}" "$root/build/aarch64/bin/larkmoor_kernel_tests" --gtest_brief=1 >&2 ||
        fail "the kernels' tests failed on aarch64"
fi
if wants wasm; then
    make_for wasm wasm
    wasm=(node --no-warnings "$root/scripts/wasi.mjs" "$root/build/wasm/bin/larkmoor_digest.wasm")
    ! "${wasm[@]}" --too-large 2>"$work/err.txt" || fail "a picture of more bytes than 32 bits tell was made"
    grep -q unreachable "$work/err.txt" || fail "the refusal of a large picture ended otherwise"
    judge "wasm32-wasi, Clang 19, in Node.js $(node --version)" none all "${wasm[@]}"
fi
if wants windows; then
    make_for windows windows
    export WINEPREFIX=$work/wine WINEDEBUG=-all
    wine=/usr/lib/wine/wine64 bin=$root/build/windows/bin dll="Z:$root/build/windows/bin/larkmoor.dll"
    judge "Windows, GCC $(x86_64-w64-mingw32-g++-posix -dumpversion | cut -d- -f1), under Wine" system all "$wine" "$bin/larkmoor_digest.exe"
    say "registering the classes of larkmoor.dll"
    "$wine" "$bin/larkmoor_register.exe" --all-users "$dll" >&2 || fail "the classes could not be registered"
    judge "Windows, the same, its effects made by CoCreateInstance" none all "$wine" "$bin/larkmoor_registered_digest.exe"
    "$wine" "$bin/larkmoor_register.exe" --all-users --remove "$dll" >&2 || fail "the classes' keys could not be removed"
    ! "$wine" "$bin/larkmoor_registered_digest.exe" >"$work/removed.txt" 2>&1 ||
        fail "the classes can still be made after their keys were removed"
fi

# shellcheck disable=SC2016 # the marks are the page's
head='| platform | letters | as in `tests/data/digests.txt` |
| --- | --- | --- |'
printf '%s\n' "$head" "${rows[@]}"
if [[ -n $update ]]; then # a row that stands there already is replaced
    page=$root/docs/platforms.md
    printf '%s\n' "${rows[@]}" >"$work/rows.txt"
    {
        sed '/^<!-- table/q' "$page"
        printf '%s\n' "$head"
        { sed -n '/^<!-- table/,/^<!-- end/p' "$page" | grep -E '^\| (x86-64|aarch64|wasm|Windows)' || true; } |
            awk -F'|' 'NR == FNR { fresh[$2] = 1; next } !($2 in fresh)' "$work/rows.txt" - |
            sort - "$work/rows.txt"
        sed -n '/^<!-- end/,$p' "$page"
    } >"$page.new"
    mv "$page.new" "$page"
fi
exit $bad
