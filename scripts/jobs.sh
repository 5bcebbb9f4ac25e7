#!/usr/bin/env bash
# scripts/jobs.sh [RUNS]    what jobs in chunks cost beside one run, on a machine at rest: medians over 5 RUNS in turn
#   200 frames of 1080p through a light effect: one encoder, an encoder for each 25 frames, `work` and `merge`, two
#   workers of one thread each and `merge`
#   64 frames through Median by one worker and by two, each on one processor
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
runs=${1:-5}
[[ $runs =~ ^[1-9][0-9]*$ ]] || fail "RUNS has to be a whole number, not $runs"
build release larkmoor larkmoor_module
larkmoor=$root/build/release/bin/larkmoor
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Grain and movement, so that neither the encoder nor the decoder gets off lightly.
ffmpeg -v error -f lavfi -i testsrc2=size=1920x1080:rate=25,noise=alls=4:allf=t -frames:v 200 -crf 20 -g 50 film.mp4
TIMEFORMAT='%R %U %S'

# timed NAME COMMAND...: adds a line of seconds at the clock and of the processor to NAME.times.
timed() {
    local name=$1
    shift
    rm -f -- *.out.mp4
    { time "$@" >/dev/null 2>log; } 2>>"$name.times" || fail "$* failed: $(<log)"
}
job() {
    rm -rf job
    "$larkmoor" split film.mp4 -o job --as film.out.mp4 "$@" >/dev/null
}
worker() { taskset -c "$1" "$larkmoor" work job; }
one_worker() { worker 0; }
two_workers() { worker 0 & worker 1 && wait $!; }
merge() { "$larkmoor" merge job -o film.out.mp4; }
by_one() { "$larkmoor" work job && merge; }
by_two() { "$larkmoor" work job --threads 1 & "$larkmoor" work job --threads 1 && wait $! && merge; }

# ratio NAME OTHER COLUMNS: the median over pairs of what NAME took to what OTHER took.
ratio() {
    paste "$1.times" "$2.times" | awk -v clock="$3" '{ print clock ? $1 / $4 : ($2 + $3) / ($5 + $6) }' | sort -n |
        awk '{ v[NR] = $1 } END { printf "%.2f", v[int((NR + 1) / 2)] }'
}

for ((run = 0; run < runs; ++run)); do
    say "run $((run + 1)) of $runs"
    timed one "$larkmoor" render film.mp4 -o film.out.mp4 --effect Sepia
    timed chunks "$larkmoor" render film.mp4 -o film.out.mp4 --effect Sepia --chunk-frames 25
    job --effect Sepia --chunk-frames 25
    timed job by_one
    job --effect Sepia --chunk-frames 25
    timed pair by_two
    job --effect Median --frames 64 --chunk-frames 8
    timed alone one_worker
    job --effect Median --frames 64 --chunk-frames 8
    timed both two_workers
done
printf '%-36s %8s %10s\n' '' clock processor
printf '%-36s %8s %10s\n' 'chunks beside one run' "$(ratio chunks one 1)" "$(ratio chunks one '')" \
    'work and merge beside one run' "$(ratio job one 1)" "$(ratio job one '')" \
    'two workers and merge beside one run' "$(ratio pair one 1)" "$(ratio pair one '')" \
    'two workers beside one, Median' "$(ratio both alone 1)" "$(ratio both alone '')"
