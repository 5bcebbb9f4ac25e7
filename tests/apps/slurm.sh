#!/usr/bin/env bash
# Two nodes of Slurm on this machine, without systemd and cgroups, render a job, and one of them goes down meanwhile: the
# film is that of one run.
#
# slurm.sh BUILD
set -euo pipefail
skipped=77
for program in munged slurmctld slurmd sbatch; do
    command -v $program >/dev/null || { echo "Slurm is not installed ($program); ./test --farm installs it"; exit $skipped; }
done
((EUID == 0)) || { echo "Slurm's daemons are started as root only, which this is not"; exit $skipped; }

# The ports are fixed: one cluster at a time.
exec 9>/tmp/larkmoor-slurm.lock
flock 9

build=$(readlink -f "$1")
larkmoor=$build/bin/larkmoor
root=$(mktemp -d)
stop() {
    for file in "$root"/slurmd-*.pid "$root/slurmctld.pid" "$root/munge/pid"; do
        [ ! -f "$file" ] || kill "$(<"$file")" 2>/dev/null || true
    done
    # They write into their folder until they have ended.
    for file in "$root"/slurmd-*.pid "$root/slurmctld.pid" "$root/munge/pid"; do
        [ ! -f "$file" ] || tail --pid="$(<"$file")" -f /dev/null 2>/dev/null || true
    done
    rm -rf "$root"
}
trap stop EXIT
fail() {
    echo "$*" >&2
    tail -n 20 "$root"/log/*.log "$root"/job*/log/*.log >&2 || true
    exit 1
}

mkdir -p "$root"/{state,log,spool,munge,sock}
chmod 755 "$root" "$root/sock"
chmod 700 "$root/munge"
(umask 077 && head -c 128 /dev/urandom >"$root/munge/key")
munged 9>&- --force --key-file "$root/munge/key" --socket "$root/sock/munge" --pid-file "$root/munge/pid" \
    --log-file "$root/munge/log" --seed-file "$root/munge/seed"
host=$(hostname -s)
cat >"$root/slurm.conf" <<CONF
ClusterName=larkmoor
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=16817
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket=$root/sock/munge,cred_expire=10
CryptoType=crypto/munge
StateSaveLocation=$root/state
SlurmctldPidFile=$root/slurmctld.pid
SlurmctldLogFile=$root/log/slurmctld.log
SlurmdSpoolDir=$root/spool/%n
SlurmdPidFile=$root/slurmd-%n.pid
SlurmdLogFile=$root/log/slurmd-%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerType=sched/builtin
SchedulerParameters=batch_sched_delay=0,sched_interval=1,sched_min_interval=0
SlurmdParameters=config_overrides
ReturnToService=2
MailProg=/bin/true
$(for i in 1 2; do echo "NodeName=n$i NodeHostname=$host NodeAddr=127.0.0.1 Port=$((17000 + i)) CPUs=1 State=UNKNOWN"; done)
PartitionName=farm Nodes=n[1-2] Default=YES MaxTime=INFINITE State=UP
CONF
export SLURM_CONF=$root/slurm.conf
slurmctld -f "$SLURM_CONF" 9>&-
for node in n1 n2; do slurmd -f "$SLURM_CONF" -N $node 9>&-; done
until_true() { for _ in $(seq 600); do "$@" && return; sleep 0.1; done; fail "this did not come true: $*"; }
nodes_are_up() { [ "$(sinfo -h -N -o %T 2>/dev/null | grep -c idle)" = 2 ]; }
until_true nodes_are_up

cd "$root"
ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=320x180:rate=25:duration=4 -f lavfi -i sine=440:duration=4 -c:v libx264 \
    -c:a aac a.mp4
ffmpeg -nostdin -v error -f lavfi -i testsrc=size=320x180:rate=25:duration=3 -f lavfi -i sine=880:duration=3 -c:v libx264 \
    -c:a aac b.mp4
cat >film.larkmoor <<'JSON'
{"larkmoor project": 1, "source": {"kind": "clip", "path": "a.mp4"},
 "second": {"path": "b.mp4", "transition": {"effect": "Iris"}, "duration": 1},
 "effects": [{"effect": "Levels", "keys": {"gamma": [["start", 1], ["end", 3]]}},
             {"effect": "Text", "over": true, "fields": {"text": "Larkmoor"}, "from": 20}]}
JSON
nothing_waits() { [ -z "$(squeue -h)" ]; }
something_is_done() { [ -n "$(ls "$job/chunks")" ]; }
for form in "film.mov --codec prores" "film.mkv --codec ffv1" "film.mp4" "f%03d.png"; do
    read -r film options <<<"$form"
    job=$root/job-${film##*.}
    mkdir one merged
    # shellcheck disable=SC2086 # options are words
    {
        "$larkmoor" --quiet split film.larkmoor -o "$job" --chunk-frames 10 --as "$film" $options
        "$larkmoor" submit "$job" --to slurm --film "merged/$film" --workers 2 --now >/dev/null
        if [ "$film" = film.mp4 ]; then
            until_true something_is_done
            # Its worker is queued again; a node that answers may be back before it is told to.
            scontrol update nodename=n1 state=down reason=test
            scontrol update nodename=n1 state=resume 2>/dev/null || true
        fi
        "$larkmoor" --quiet render film.larkmoor -o "one/$film" --chunk-frames 10 $options
    }
    until_true nothing_waits
    diff -r one merged || fail "$film differs"
    rm -r one merged
done
grep -q 'requeue.*n1\|Requeuing' "$root/log/slurmctld.log" || fail "no worker was lost"
echo "films by two nodes are those of one run"
