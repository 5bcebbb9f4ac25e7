#!/usr/bin/env bash
# The installed tree serves people: it runs from any folder, shells complete the command, the manual reads.
#
# packages.sh BUILD
set -euo pipefail
tests=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
fail() {
    echo "$*" >&2
    exit 1
}
# Installed for one folder and moved: nothing may know where it was.
cmake --install "$1" --prefix "$prefix/first" >/dev/null
mv "$prefix/first" "$prefix/moved folder"
cd "$prefix/moved folder"
PATH=$PWD/bin:$PATH
export FREI0R_PATH=$PWD/lib/frei0r-1
cd "$prefix"
larkmoor generate "Test Pattern" --size 64x48 -o a.png >/dev/null 2>&1
larkmoor render a.png -o b.png --effect Invert >/dev/null 2>&1
[ -s b.png ] || fail "the installed command wrote nothing"
ffmpeg -v error -i a.png -vf frei0r=larkmoor_invert -pix_fmt rgb24 -f rawvideo plug.raw
ffmpeg -v error -i b.png -pix_fmt rgb24 -f rawvideo command.raw
cmp plug.raw command.raw || fail "the installed plug-in does not do what the command does"

# The bundle for OpenFX is whole by itself.
bundle=$prefix/moved\ folder/OFX/Plugins/Larkmoor.ofx.bundle/Contents
if [ -e "$bundle" ]; then
    module=("$bundle"/*/liblarkmoor.so)
    [ -f "${module[0]}" ] && [ ! -L "${module[0]}" ] || fail "no module in the bundle"
    icons=("$bundle"/Resources/org.larkmoor.*.png)
    [ "${#icons[@]}" = "$(larkmoor list --json | jq length)" ] || fail "not an icon an effect"
fi

# What a line may go on with: the words behind "larkmoor" on the left, one of the answers on the right.
completion=$prefix/moved\ folder/share/bash-completion/completions/larkmoor
answers() {
    bash -c 'compopt() { :; }; source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _larkmoor "$1"
             printf "%s\n" "${COMPREPLY[@]}"' bash "$completion" larkmoor "$@"
}
expect() {
    local wanted=$1
    shift
    answers "$@" | grep -xF -- "$wanted" >/dev/null || fail "no $wanted after: $*"
}
expect render re
expect --effect render in.mp4 --e
expect "Gaussian Blur" render in.mp4 --effect gauss
expect "Gaussian Blur" show "Gaussian\\ B"
expect Warm render --effect Sepia --preset W
expect gamma= render --effect Levels --set gam
expect on render --effect "Gaussian Blur" --set red = o
expect Iris join a b --transition I
expect "Test Pattern" generate T
[ "$(answers generate "" | sort | head -n 1)" = "Test Pattern" ] || fail "generate takes what is no generator"
! answers re | grep -x show >/dev/null || fail "what does not fit is offered"
! answers "" | grep -x complete >/dev/null || fail "a hidden verb is offered"
[ -z "$(answers render "")" ] || fail "no room for files"

# The same questions to the other shells, by their own ways to answer: what is wanted, then the line up to its end.
share=$prefix/moved\ folder/share
cp "$share/fish/vendor_completions.d/larkmoor.fish" "$prefix"
answers_of_fish() { HOME=$prefix fish -N -c 'source $argv[1]; complete -C $argv[2]' "$prefix/larkmoor.fish" "$1"; }
answers_of_zsh() { "$tests/complete.zsh" "$share/zsh/site-functions" "$1"; }
while IFS='|' read -r wanted line; do
    answers_of_fish "$line" | grep -xF -- "$wanted" >/dev/null || fail "no $wanted in fish after: $line"
    answers_of_zsh "$line" | grep -xF -- "${line% *} ${wanted// /\\ }" >/dev/null || fail "no $wanted in zsh after: $line"
done <<'END'
render|larkmoor re
--effect|larkmoor render in.mp4 --eff
Gaussian Blur|larkmoor render in.mp4 --effect gauss
Warm|larkmoor render --effect Sepia --preset W
gamma=|larkmoor render --effect Levels --set gam
red=off|larkmoor render --effect Gaussian\ Blur --set red=of
Iris|larkmoor join a b --transition I
b.png|larkmoor render b.p
END

for verb in "" -render -join -generate -list -show -lut -presets -split -work -merge -status -submit; do
    page=$prefix/moved\ folder/share/man/man1/larkmoor$verb.1.gz
    [ -e "$page" ] || fail "no page for larkmoor$verb"
done
