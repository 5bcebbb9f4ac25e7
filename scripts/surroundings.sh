#!/usr/bin/env bash
# scripts/surroundings.sh [KILLS]    the command against bad surroundings: 50 sudden ends by default, disks that are
#                                    full, read-only, slow or taken away, inputs that change while they are read, two
#                                    runs at one output, and the memory that films of 4K and 8K take
# Prints a line for each and fails where a run hangs, crashes, says nothing, or leaves a wrong file under the final
# name. Disks are small ones in memory, which only root can mount; without that they are left out.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
source "$root/scripts/common.sh"
case ${1-} in
-h | --help)
    sed -n 's/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    exit
    ;;
esac
kills=${1:-50}
command=${LARKMOOR:-$root/build/release/bin/larkmoor}
[[ -x $command ]] || build release larkmoor
work=$(mktemp -d) disk=
tidy() {
    [[ -z $disk ]] || umount -l "$disk" 2>/dev/null || true
    rm -rf "$work"
}
trap tidy EXIT
cd "$work"
failed=0

# check NAME STATUSES LEFT: the status of the last run is one of those, an error said why, and LEFT says what is wrong with
# what it left, empty for nothing.
check() {
    local name=$1 statuses=$2 wrong=$3
    [[ " $statuses " == *" $status "* ]] || wrong="exit code $status${wrong:+, }$wrong"
    [[ $status == 0 || $status == 137 || -s said ]] || wrong="nothing is said${wrong:+, }$wrong"
    if [[ $wrong ]]; then
        failed=1
        printf '%-36s FAILED: %s; %s\n' "$name" "$wrong" "$(tail -n 1 said)"
    else
        printf '%-36s exit code %s  %s\n' "$name" "$status" "$(tail -n 1 said | cut -c 1-120)"
    fi
}
run() { # ARGUMENTS...
    status=0
    timeout -s KILL 120 "$command" "$@" >said 2>&1 || status=$?
}

ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=320x180:rate=25:duration=4 -c:v libx264 -preset ultrafast -y in.mkv
ffmpeg -nostdin -v error -i in.mkv -c:v rawvideo -y in.nut # large, and read from its front on
render=(render in.mkv --effect "Gaussian Blur" --codec ffv1)
run "${render[@]}" -o whole.nut
check "as it should be" 0 ""
left() { find "${1:-.}" -maxdepth 1 -name '*larkmoor-part*' -printf 'left %f'; }

# Sudden ends: what was there stays, or the whole new file is.
cp in.mkv out.nut
odd= old=0 new=0
for ((i = 0; i < kills; ++i)); do
    "$command" "${render[@]}" -y -o out.nut >said 2>&1 &
    pid=$!
    perl -e 'srand($ARGV[0]); select(undef, undef, undef, rand($ARGV[1]))' "$i" 1.5
    kill -KILL $pid 2>/dev/null || true
    wait $pid 2>/dev/null || true
    if cmp -s out.nut in.mkv; then old=$((old + 1)); elif cmp -s out.nut whole.nut; then
        new=$((new + 1))
        cp in.mkv out.nut
    else odd="run $i left a wrong file"; fi
done
run "${render[@]}" -y -o out.nut
[[ -n $odd ]] || odd=$(left)
check "SIGKILL at $kills moments ($old old, $new new)" 0 "$odd"

# Two runs at one output: one of the two files, whole.
rm -f out.nut
"$command" "${render[@]}" -y -o out.nut >said 2>&1 &
"$command" render in.mkv --effect Invert --codec ffv1 -y -o out.nut >said2 2>&1 &
status=0
wait || status=$?
run render in.mkv --effect Invert --codec ffv1 -o other.nut
odd=$(left)
cmp -s out.nut whole.nut || cmp -s out.nut other.nut || odd="neither file"
check "two runs at one output" 0 "$odd"

# Inputs that change while they are read: the pipe holds the run in its middle.
for change in "cut" "emptied" "removed" "longer" "overwritten"; do
    cp in.nut moved.nut
    mkfifo frames.raw
    timeout -s KILL 120 "$command" render moved.nut --effect Invert --threads 1 -y -o frames.raw >said 2>&1 &
    pid=$!
    {
        head -c 100000 >/dev/null
        case $change in
        cut) truncate -s $(($(stat -c %s in.nut) * 4 / 10)) moved.nut ;;
        emptied) truncate -s 0 moved.nut ;;
        removed) rm moved.nut ;;
        longer) cat in.mkv >>moved.nut ;;
        overwritten) dd if=/dev/urandom bs=1000 count=60 seek=4000 conv=notrunc status=none of=moved.nut ;;
        esac
        cat >/dev/null
    } <frames.raw
    status=0
    wait $pid || status=$?
    check "an input that is $change" "0 1 3" ""
    rm -f frames.raw moved.nut
done

if [[ $EUID -eq 0 ]] && mkdir disk && mount -t tmpfs -o size=400k tmpfs disk 2>/dev/null; then
    disk=$work/disk
    run "${render[@]}" -o disk/out.nut
    check "full disk" 1 "$(ls -A disk)"
    echo old >disk/old.nut
    run "${render[@]}" -y -o disk/old.nut
    check "full disk, over a file" 1 "$([[ $(<disk/old.nut) == old ]] || echo the old file is gone)"
    run split in.mkv --effect Invert -o disk/job --chunk-frames 20 --as film.nut --codec ffv1
    run work disk/job
    check "full disk, a job" 1 "$(left disk/job/chunks)"
    mount -o remount,ro disk
    run "${render[@]}" -o disk/out.nut
    check "read-only disk" 1 ""
    mount -o remount,rw disk
    rm -rf disk/job
    mount -o remount,size=100m disk
    "$command" "${render[@]}" --threads 1 -o disk/out.nut >said 2>&1 &
    pid=$!
    until [[ $(find disk -name '*larkmoor-part*') || ! -d /proc/$pid ]]; do :; done
    umount -l disk
    disk=
    status=0
    wait $pid || status=$?
        # What came too late for it stands where it was.
    check "a disk that vanishes" "0 1" "$([[ ! -e disk/out.nut ]] || cmp disk/out.nut whole.nut 2>&1)"
else
    say "disks are left out: only root can mount them"
fi

# Large pictures: a film twice as long takes no more memory.
for size in 3840x2160 7680x4320; do
    ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=$size:rate=25 -frames:v 40 -c:v libx264 -preset ultrafast -y big.mkv
    took=()
    for frames in 20 40; do
        run render big.mkv --effect Sepia --codec prores_ks --frames $frames --memory --quiet -y -o big.mov
        took+=("$(sed -n 's/.*took \([0-9]*\) MB.*/\1/p' said)")
    done
    check "$size" 0 "$( ((took[1] * 10 <= took[0] * 11)) || echo "${took[0]} MB, then ${took[1]}")"
    rm big.mkv big.mov
done

# A slow disk: what reads takes a while, and what is written is the same.
mkfifo slow.raw
run render in.mkv --effect "Gaussian Blur" -o whole.raw
{
    status=0
    timeout -s KILL 120 "$command" render in.mkv --effect "Gaussian Blur" -y -o slow.raw 2>said || status=$?
    echo $status >status
} &
perl -e 'open(my $in, "<:raw", "slow.raw"); open(my $out, ">:raw", "read.raw");
    while (sysread($in, my $piece, 1 << 18)) { print $out $piece; select(undef, undef, undef, 0.002); }'
wait
status=$(<status)
check "a slow reader" 0 "$(cmp read.raw whole.raw 2>&1 || true)"
exit $failed
