#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# slurm_array.sh PROGRAMS TREE: 1,000 spectra as an array of 10 on a Slurm of its own (one node, the
# loopback interface only), first by searches with one task killed and requeued, then by exact fits;
# the tables must be those of plain runs. Needs slurm-wlm and munge; everything it starts is ended by
# its process number.
set -euo pipefail
export LC_ALL=C TZ=UTC
programs=$(cd "$1" && pwd)
tree=$(cd "$2" && pwd)
for program in slurmctld slurmd munged; do
    [ -x "/usr/sbin/$program" ] || { echo "no $program: left out"; exit 77; }
done
folder=$(mktemp -d)
chmod 755 "$folder"
stop() {
    for file in slurmd.pid slurmctld.pid munge/munged.pid; do
        [ -s "$folder/$file" ] || continue
        pid=$(cat "$folder/$file")
        kill "$pid" 2>/dev/null || continue
        for ((i = 0; i < 100; ++i)); do [ -d "/proc/$pid" ] || break; sleep 0.1; done
    done
    rm -rf "$folder"
}
trap stop EXIT
cd "$folder"
mkdir -p state spool log munge
chmod 755 munge
# two ports that nobody listens to
port=${PORT:-$((20000 + $$ % 10000 * 2))}
while (exec 3<>"/dev/tcp/127.0.0.1/$port" || exec 3<>"/dev/tcp/127.0.0.1/$((port + 1))") 2>/dev/null; do
    port=$((port + 2))
done
user=$(id -un)
cat >slurm.conf <<TEXT
ClusterName=trial
SlurmctldHost=localhost(127.0.0.1)
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$folder/munge/munge.socket
CredType=cred/munge
SlurmctldPort=$port
SlurmdPort=$((port + 1))
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldLogFile=$folder/log/slurmctld.log
SlurmdLogFile=$folder/log/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
JobCompType=jobcomp/filetxt
JobCompLoc=$folder/log/jobcomp.txt
SwitchType=switch/none
MpiDefault=none
ReturnToService=2
SchedulerType=sched/backfill
SchedulerParameters=sched_interval=1,bf_interval=1,batch_sched_delay=0,sched_min_interval=0
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
KillWait=2
NodeName=localhost NodeAddr=127.0.0.1 NodeHostname=$(hostname -s) CPUs=$(nproc) RealMemory=2000 State=UNKNOWN
PartitionName=trial Nodes=localhost Default=YES MaxTime=INFINITE State=UP
TEXT
export SLURM_CONF=$folder/slurm.conf
(umask 077 && head -c 1024 /dev/urandom >munge/munge.key)
/usr/sbin/munged --force --key-file="$folder/munge/munge.key" --socket="$folder/munge/munge.socket" \
    --pid-file="$folder/munge/munged.pid" --log-file="$folder/munge/munged.log" --seed-file="$folder/munge/munged.seed"
/usr/sbin/slurmctld -i -c
for ((i = 0; i < 100; ++i)); do scontrol ping 2>/dev/null | grep -q 'is UP' && break; sleep 0.1; done
/usr/sbin/slurmd -c -N localhost
for ((i = 0; i < 100; ++i)); do [ "$(sinfo -h -o %T 2>/dev/null)" = idle ] && break; sleep 0.1; done
sinfo -h

# shellcheck source=tests/batch/two_lines.sh
. "$tree/tests/batch/two_lines.sh"
two_lines_grid grid 10 10 10 faulty
# Searches that hold still from the sixtieth on, until somebody lets them go: a task can be caught at
# work however fast the machine is.
mkdir bin begun
cp "$programs/varokel-batch" bin/
cat >bin/varokel <<TEXT
#!/bin/sh
: >"$folder/begun/\$\$"
if [ "\$(ls "$folder/begun" | wc -l)" -gt 60 ]; then
    while [ -e "$folder/hold" ]; do sleep 0.05; done
fi
exec "$programs/varokel" "\$@"
TEXT
chmod +x bin/varokel

# submitted RUN: the array and its merge; sets shards
submitted() {
    bin/varokel-batch slurm "$1" --shards 10 --mem 200M --time 00:10:00 >"submit_$1.sh"
    read -r _ shards _ merge <<<"$(bash "submit_$1.sh")"
    echo "array $shards, merge $merge"
}
ended() {
    for ((i = 0; i < 3000; ++i)); do
        [ -n "$(squeue -h -o %i 2>/dev/null)" ] || return 0
        sleep 0.1
    done
    echo "the jobs did not end"
    exit 1
}
# same PLAIN RUN
same() {
    for file in results.tsv quality.tsv pictures.f32; do cmp "$1/$file" "$2/$file"; done
    for map in "$1"/maps/*; do cmp "$map" "$2/maps/${map##*/}"; done
    echo "$2: the same bytes as of a plain run"
}
for method in classic exact; do
    bin/varokel-batch plan grid.nii --start start.par --noise 0:31 --method $method -o $method 2>/dev/null
    cp -r $method plain_$method
    "$programs/varokel-batch" run plain_$method -j "$(nproc)"
    "$programs/varokel-batch" merge plain_$method >/dev/null
done

touch hold
submitted classic
# the first task that has begun its journal is killed as a machine that fails would, and queued again
killed=
for ((i = 0; i < 1200; ++i)); do
    for journal in classic/shards/*.journal; do
        [ -s "$journal" ] || continue
        task=$((10#$(basename "$journal" | cut -c1-4)))
        size=$(stat -c %s "$journal" 2>/dev/null || echo 0)
        [ "$size" -gt 5000 ] || continue
        scontrol requeue "${shards}_$task" && killed=$task
        break 2
    done
    sleep 0.05
done
rm hold
[ -n "$killed" ] || { echo "no task could be caught at work"; exit 1; }
sleep 0.3
# a requeued task waits for minutes by default
for ((i = 0; i < 50; ++i)); do
    scontrol update JobId="${shards}_$killed" StartTime=now 2>/dev/null && break
    sleep 0.2
done
bin/varokel-batch status classic | grep -E '^(fitted|unfinished)' || true
ended
echo "task $killed was requeued; states of the tasks:"
grep -o 'JobState=[A-Z]*' log/jobcomp.txt | sort | uniq -c
cat classic/logs/shard_"$killed".out
tail -1 classic/logs/merge.out
grep -c JobState=COMPLETED log/jobcomp.txt | grep -qx 11 || { echo "not all tasks are complete"; cat log/jobcomp.txt; exit 1; }
same plain_classic classic

submitted exact
ended
grep -c JobState=COMPLETED log/jobcomp.txt | grep -qx 22 || { echo "not all tasks are complete"; cat log/jobcomp.txt; exit 1; }
same plain_exact exact
