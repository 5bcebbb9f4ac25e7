#!/usr/bin/env bash
# scripts/coverage.sh [FOLDER]    what the tests reach of the code: lines and branches by folder; and, named a FOLDER
#                                 or file, the places in it where a branch never went one of its ways
# LARKMOOR_TESTS runs only the tests of this GoogleTest filter.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
cd "$root"

export CCACHE_BASEDIR= # which would give each file two names
dir=$root/build/coverage programs=(larkmoor_tests larkmoor_c_face_tests)
build coverage "${programs[@]}"
rm -rf "$dir/profiles"
mkdir "$dir/profiles"
# A file a program or library, in which all processes count while they run, as some end without a word.
export LLVM_PROFILE_FILE=$dir/profiles/%m%c.profraw
for program in "${programs[@]}"; do
    "$dir/bin/$program" --gtest_brief=1 --gtest_filter="${LARKMOOR_TESTS:-*}" >&2 || fail "$program failed"
done

llvm-profdata merge -sparse "$dir"/profiles/*.profraw -o "$dir/all.profdata"

objects=()
for file in "$dir"/bin/larkmoor* "$dir"/lib/*.so "$dir"/OFX/Plugins/*/Contents/*/*.ofx; do
    [[ ! -f $file || -L $file ]] || objects+=(-object "$file")
done
cov() { llvm-cov "$1" -instr-profile="$dir/all.profdata" "${objects[@]:1}" "${@:2}" 2>/dev/null; }

if (($#)); then
    # A branch whose count is 0 for true or for false, under its line.
    cov show -show-branches=count -show-instantiations=false "$1" | awk '
        /^\/.*:$/ { file = $0 }
        /^ *[0-9]+\|/ { line = $0 }
        /Branch \(.*(True: 0,|False: 0\])/ { if (line != "") print file line; line = ""; print }' | sed "s|^$root/||"
else
    cov export -summary-only -ignore-filename-regex='/tests/|/build/|^/usr' | jq -r --arg root "$root/" '
        def share: if .count == 0 then "-" else "\(1000 * .covered / .count | round / 10) %" end;
        def sum(part): {count: (map(.summary[part].count) | add), covered: (map(.summary[part].covered) | add)};
        [.data[0].files[] | .folder = (.filename | ltrimstr($root) | sub("/[^/]*$"; ""))] | group_by(.folder)[]
        | "\(.[0].folder)\t\(sum("lines") | share)\t\(sum("branches") | share)\t\(sum("branches").count)"' |
        sed '1i folder\tlines\tbranches\tof' | column -ts $'\t' -R 2,3,4
fi
