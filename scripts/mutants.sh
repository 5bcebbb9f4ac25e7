#!/usr/bin/env bash
# scripts/mutants.sh [BASE] [--files FILE...] [--max N] [--seed N] [--tests FILTER]
#   Asks whether the tests would notice: changes one line after the other as a slip of the pen would, builds and runs
#   the tests, and names those changes that no test noticed. Works on a copy in build/mutants.
#   BASE          takes the lines that HEAD has changed since this commit; the last one's parent by default
#   --files       takes all lines of these files instead
#   --max N       changes tried at most, 40 by default
#   --seed N      which of the possible ones; the same seed gives the same changes
#   --tests F     runs only the tests of this GoogleTest filter
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
cd "$root"

base=HEAD~1 most=40 seed=1 tests='*' files=()
while (($#)); do
    case $1 in
    -h | --help)
        sed -n 's/^# \{0,1\}//p' "${BASH_SOURCE[0]}" | sed 1d
        exit
        ;;
    --files)
        shift
        while (($#)) && [[ $1 != --* ]]; do files+=("$1") && shift; done
        ;;
    --max | --seed | --tests)
        (($# > 1)) || fail "$1 needs a value"
        case $1 in --max) most=$2 ;; --seed) seed=$2 ;; --tests) tests=$2 ;; esac
        shift 2
        ;;
    -*) fail "there is no option $1; see $0 --help" ;;
    *) base=$1 && shift ;;
    esac
done

# FILE:LINE of what may be changed.
touched_lines() {
    local file
    if ((${#files[@]})); then
        for file in "${files[@]}"; do
            git cat-file -e "HEAD:$file" || fail "$file is not in HEAD"
            git show "HEAD:$file" | awk -v file="$file" '{ print file ":" NR }'
        done
    else
        git diff --unified=0 "$base" HEAD -- '*.cpp' '*.h' ':!tests' ':!bench' ':!apps/studio' | awk '
            /^\+\+\+ b\// { file = substr($0, 7) }
            /^@@/ { split($3, span, ","); first = substr(span[1], 2)
                    for (i = 0; i < (span[2] == "" ? 1 : span[2]); ++i) print file ":" first + i }'
    fi
}

# Standard input: FILE:LINE. Standard output: FILE, line number and the changed line, separated by tabs, shuffled.
changes() {
    perl -e '
        my @slips = (
            [qr/ < /, " <= "], [qr/ <= /, " < "], [qr/ > /, " >= "], [qr/ >= /, " > "], [qr/ == /, " != "],
            [qr/ != /, " == "], [qr/ && /, " || "], [qr/ \|\| /, " && "], [qr/\(!(?=\w)/, "("],
            [qr/ [+-] 1\b(?!\.)/, " + 0"], [qr/ \+ (?!1\b)/, " - "], [qr/ - (?!1\b)/, " + "], [qr/ \* /, " + "],
            [qr/\+= /, "-= "], [qr/\b255\b/, "254"], [qr/\b256\b/, "255"], [qr/\b0\.5f?\b/, "0.0"],
            [qr/>> (?=\d)/, ">> 1 + "], [qr/\bmin\(/, "max("], [qr/\bmax\(/, "min("],
            [qr/\btrue\b/, "false"], [qr/\bfalse\b/, "true"],
            # A statement that is left out: a lock, a call, an assignment, a jump.
            [qr/^\s+(const )?std::(lock_guard|scoped_lock|unique_lock|shared_lock)\b.*;/, "    ;"],
            [qr/^\s+[\w.:>-]+\(.*\);$/, "    ;"], [qr/^\s+[\w.\[\]>-]+ [-+*|&^]?= .*;$/, "    ;"],
            [qr/\b(break|continue);/, ";"], [qr/^(\s+if \(.*\)) return\b.*;$/, "    ;"],
        );
        srand shift;
        my (%text, @all);
        while (<STDIN>) {
            chomp;
            my ($file, $number) = /^(.*):(\d+)$/ or next;
            $text{$file} //= [`git show HEAD:$file`];
            my $line = $text{$file}[$number - 1] // next;
            chomp $line;
            next if $line =~ m{^\s*(//|#|static_assert|using |template)} or $line !~ m{\S};
            my ($code, $comment) = $line =~ m{^((?:[^"/]|"(?:\\.|[^"\\])*"|/(?!/))*)(.*)$};
            for my $slip (@slips) {
                my ($pattern, $new) = @$slip;
                while ($code =~ /$pattern/g) {
                    my ($from, $to) = ($-[0], $+[0]);
                    next if (() = substr($code, 0, $from) =~ /"/g) % 2; # inside a text
                    my $changed = substr($code, 0, $from) . $new . substr($code, $to) . $comment;
                    push @all, "$file\t$number\t$changed\n";
                }
            }
        }
        for (my $i = $#all; $i > 0; --$i) { my $j = int rand($i + 1); @all[$i, $j] = @all[$j, $i]; }
        print @all;' "$seed"
}

work=$root/build/mutants # a work tree, with the build folder where one would be: the compiler's cache knows most of it
dir=$work/build/release
mkdir -p "$root/build"
exec 9>"$root/build/.mutants"
flock -n 9 || fail "another run works in build/mutants"
# The copy keeps its place, so that the next run builds little.
if [[ -e $work/.git ]]; then
    git -C "$work" checkout -q --force --detach "$(git rev-parse HEAD)"
else
    git worktree prune
    git worktree add -q --detach "$work" HEAD
fi
mkdir -p "$dir"
touched_lines >"$dir/lines"
changes <"$dir/lines" >"$dir/changes"
possible=$(wc -l <"$dir/changes")
((possible)) || fail "nothing to change in what was named"

export CCACHE_BASEDIR=$work
cmake -S "$work" --preset release -DLARKMOOR_BENCH=OFF -DLARKMOOR_STUDIO=OFF \
    -DLARKMOOR_FREI0R="$(grep -q '^bridges/' "$dir/lines" && echo ON || echo OFF)" >"$dir/log" ||
    fail "configuring build/mutants failed; see $dir/log"

build_tests() { cmake --build "$dir" --target larkmoor_tests >"$dir/log" 2>&1; }
# A change may make a program hang or ask for all memory.
run_tests() {
    (
        ulimit -v 16000000
        exec timeout "$1" "$dir/bin/larkmoor_tests" --gtest_brief=1 --gtest_fail_fast --gtest_filter="$tests"
    ) >"$dir/log" 2>&1 9>&-
}

say "building and running the tests as they are"
build_tests || fail "the build failed; see $dir/log"
start=$SECONDS
run_tests 3600 || fail "tests fail before anything was changed; see $dir/log"
limit=$((60 + 5 * (SECONDS - start)))

died=0 lived=0 refused=0 tried=0
say "$possible changes are possible; trying $((possible < most ? possible : most))"
while IFS=$'\t' read -r file number changed; do
    ((tried < most)) || break
    tried=$((tried + 1))
    line=$(git show "HEAD:$file" | sed -n "${number}p")
    awk -v n="$number" 'BEGIN { getline changed < ARGV[1]; ARGV[1] = "" } { print NR == n ? changed : $0 }' \
        <(printf '%s\n' "$changed") <(git show "HEAD:$file") >"$work/$file"
    if ! build_tests; then
        refused=$((refused + 1)) # the compiler noticed
    elif run_tests "$limit"; then
        lived=$((lived + 1))
        printf '%s:%s\n    - %s\n    + %s\n' "$file" "$number" "${line#"${line%%[! ]*}"}" "${changed#"${changed%%[! ]*}"}"
    else
        died=$((died + 1))
    fi
    git -C "$work" checkout -q -- "$file"
    say "$tried: $died died, $lived lived, $refused did not build"
done <"$dir/changes"
printf '%d of %d changes that build were noticed: %d %%\n' "$died" $((died + lived)) \
    $((died + lived ? 100 * died / (died + lived) : 100))
