#!/usr/bin/env bash
# scripts/broken.sh [FILES [SEED]]    1000 broken files by default, and what `larkmoor render` makes of them
# Every container and picture format in turn, with bits turned, bytes lost or the end cut off. Each file has 30 seconds
# and 2 GB of memory; it is rendered (exit code 0, or 3 where damage is told) or refused (1), and nothing else is left.
# What goes otherwise is kept in build/broken, and the script fails.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
case ${1-} in
-h | --help)
    sed -n 's/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    exit
    ;;
esac
files=${1:-1000} seed=${2:-1}
command=${LARKMOOR:-$root/build/release/bin/larkmoor}
[[ -x $command ]] || build release larkmoor
kept=$root/build/broken
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$kept" "$work/out"
"$root/scripts/small-media.sh" "$work/media"

# Writes a broken copy; the same SEED and NUMBER break it alike everywhere.
break_file() { # FROM TO NUMBER
    perl -e '
        my ($from, $to, $number) = @ARGV;
        my $state = $number * 2654435761 % 4294967296 + 1;
        sub any { $state = ($state * 1664525 + 1013904223) % 4294967296; return int($state / 65536) % $_[0]; }
        open(my $in, "<:raw", $from) or die; local $/; my $bytes = <$in>;
        my $way = any(8);
        if ($way == 0) { $bytes = substr($bytes, 0, any(length $bytes)); }
        elsif ($way == 1) { substr($bytes, any(length $bytes), 1 + any(64)) = ""; }
        else {
            my $head = $way < 4 ? 128 : length $bytes; # what tells the sizes stands in front
            $head = length $bytes if $head > length $bytes;
            for (my $i = 1 + any($way == 2 ? 1 : 24); $i > 0; --$i) {
                my $at = any($head);
                substr($bytes, $at, 1) = chr(ord(substr($bytes, $at, 1)) ^ (1 << any(8)));
            }
        }
        open(my $out, ">:raw", $to) or die; print $out $bytes;
    ' "$1" "$2" "$3"
}

declare -A ends=()
bad=0
names=("$work"/media/*)
for ((i = 0; i < files; ++i)); do
    source=${names[i % ${#names[@]}]}
    broken=$work/broken.${source##*.}
    rm -rf "$broken" "$work/out"
    mkdir "$work/out"
    break_file "$source" "$broken" $((seed * 1000000 + i))
    output=$work/out/a.nut
    status=0
    (
        ulimit -v 2000000 -c 0
        exec timeout -s KILL 30 "$command" render "$broken" --effect Invert --threads 1 -o "$output"
    ) >"$work/said" 2>&1 || status=$?
    left=$(find "$work/out" -mindepth 1 -printf '%f ')
    wanted=
    [[ $status != 0 && $status != 3 ]] || wanted='a.nut '
    ends[$status]=$((${ends[$status]:-0} + 1))
    if [[ $status != [013] || $left != "$wanted" ]] || { ((status)) && [[ ! -s $work/said ]]; }; then
        bad=$((bad + 1))
        name=$i-${source##*/}
        cp "$broken" "$kept/$name"
        say "$kept/$name: exit code $status, left: ${left:-nothing}; $(tail -n 1 "$work/said" | cut -c 1-200)"
    fi
done
for status in "${!ends[@]}"; do say "exit code $status: ${ends[$status]} files"; done
((bad == 0)) || fail "$bad of $files files ended otherwise than they should"
