#!/usr/bin/env bash
# scripts/fuzz.sh [MINUTES [TARGET...]]    fuzzes, 10 minutes shared by all targets of fuzz/ by default
# scripts/fuzz.sh --check                  the targets but pictures over the corpus, and 20 seconds more each
# What ends a target is in build/fuzz/findings; `build/fuzz/bin/larkmoor_fuzz_TARGET FILE` repeats it. What is new to a
# target joins its corpus in fuzz/corpus, which is kept small.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"

ours=(frames kernels persistence pages numbers frei0r openfx texts jobs) # what decodes pictures is not
most_files=250 most_bytes=180000 check_seconds=20 # of the corpus of a target; of each target
minutes=10 check=
case ${1-} in
-h | --help)
    sed -n 's/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    exit
    ;;
--check)
    check=yes
    shift
    ;;
'') ;;
*)
    [[ $1 =~ ^[0-9]+$ ]] || fail "MINUTES has to be a whole number, not $1"
    minutes=$1
    shift
    ;;
esac

bin=$root/build/fuzz/bin findings=$root/build/fuzz/findings work=$root/build/fuzz/corpus
targets=("$@")
if [[ $check ]]; then
    targets=("${ours[@]}")
elif ((${#targets[@]} == 0)); then
    targets=("${ours[@]}" pictures)
fi
is_wanted() { [[ " ${targets[*]} " == *" $1 "* ]]; }
programs=("${targets[@]/#/larkmoor_fuzz_}")
! is_wanted texts && ! is_wanted jobs || programs+=(larkmoor_fuzz_seeds)
build fuzz "${programs[@]}"
mkdir -p "$findings"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1:malloc_context_size=8}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/tests/leaks.supp:print_suppressions=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

# With the byte before each that says how it is read (pictures.cpp).
picture_seeds() {
    local file
    "$root/scripts/small-media.sh" "$work/media"
    for file in "$work"/media/*; do
        [[ -f $1/${file##*/} ]] || { printf '\020' && cat "$file"; } >"$1/${file##*/}"
    done
}

if is_wanted texts || is_wanted jobs; then
    mkdir -p "$work/texts" "$work/jobs"
    "$bin/larkmoor_fuzz_seeds" "$work/texts" "$findings/texts.dict" "$work/jobs"
    cp "$findings/texts.dict" "$findings/jobs.dict"
fi

seconds=$((minutes * 60 / ${#targets[@]})) at_once=1 seed=0 # another each time
[[ ! $check ]] || seconds=$check_seconds at_once=$(nproc) seed=1
printf '%-12s %12s %10s %8s %8s  %s\n' target executions a-second edges files found
# Fuzzes one target and tells of it; fails if that found something.
fuzz() {
    local target=$1 program runs rate edges found=nothing status=0 length=4096 own log more
    program=$bin/larkmoor_fuzz_$target own=$root/fuzz/corpus/$target log=$findings/$target.log more=()
    mkdir -p "$work/$target" "$own"
    [[ ! -f $findings/$target.dict ]] || more=(-dict="$findings/$target.dict")
    if [[ $target == pictures ]]; then
        length=16384
        picture_seeds "$work/$target"
    fi
    # Without a schedule of its own for rare features, which takes a third of the time of quick targets.
    nice -n 10 "$program" -entropic=0 -seed=$seed -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2560 -max_len=$length \
        -print_final_stats=1 -artifact_prefix="$findings/$target-" "${more[@]}" "$work/$target" "$own" >"$log" 2>&1 ||
        status=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    edges=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | tr -dc 0-9)
    if ((status)); then
        found=$(sed -n 's/.*Test unit written to //p' "$log" | tail -1)
        found=${found:-"status $status, see $log"}
    elif [[ ! $check ]]; then
        # The files that cover all edges that were covered, those that add most first, as many as are to be kept.
        rm -rf "$work/$target.small"
        mkdir "$work/$target.small"
        nice -n 10 "$program" -set_cover_merge=1 -use_counters=0 -timeout=25 -rss_limit_mb=2560 \
            "$work/$target.small" "$own" "$work/$target" >>"$log" 2>&1 || true
        rm -rf "$own"
        mkdir "$own"
        find "$work/$target.small" -type f -printf '%T@ %s %p\n' | sort -n |
            awk -v files=$most_files -v bytes=$most_bytes \
                'NR <= files && (sum += $2) <= bytes { sub(/^[^ ]+ [0-9]+ /, ""); print }' | xargs -r cp -t "$own"
        rm -rf "$work/$target.small"
    fi
    printf '%-12s %12s %10s %8s %8s  %s\n' "$target" "${runs:-?}" "${rate:-?}" "${edges:-?}" "$(find "$own" -type f | wc -l)" "$found"
    return $((status != 0))
}

failed=0
for target in "${targets[@]}"; do
    (($(jobs -rp | wc -l) < at_once)) || wait -n || failed=1
    fuzz "$target" &
done
for job in $(jobs -p); do wait "$job" || failed=1; done
exit $failed
