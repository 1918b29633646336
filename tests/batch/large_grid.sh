#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# large_grid.sh PROGRAMS [SIZE [KILLS [METHOD]]]
#
# A simulated grid (default 32,32,10: 10,240 voxels) is fitted (default: exact) with 1, 2 and 4
# workers, in 1, 7 and 50 shards, and while being killed KILLS times (default 20) at random moments
# and resumed. Prints times and storage of plan, run and merge, the CPU of searches beside that of
# bare ones, and the areas against their truth; the tables must be the same to the byte. Needs
# /usr/bin/python3 with numpy.
set -euo pipefail
export LC_ALL=C TZ=UTC
programs=$(cd "$1" && pwd)
size=${2:-32,32,10}
kills=${3:-20}
method=${4:-exact}
here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
batch=$programs/varokel-batch
cd "$folder"

"$here/make_grid.py" grid --size "$size"
# user, system and wall seconds, and storage, of a command
used() { /usr/bin/time -f "$1: %U s user, %S s system, %e s in all, %M kB" "${@:2}"; }
command -v /usr/bin/time >/dev/null || used() { time "${@:2}"; }
used plan "$batch" plan grid/grid.nii --start grid/start.par --method "$method" -o plan

fit() { # NAME OPTIONS...: the plan is copied, so that nothing is left of another run
    local name=$1
    shift
    cp -r plan "$name"
    "$batch" run "$name" "$@"
}
merged() { "$batch" merge "$1" >"$1.names" 2>/dev/null; }
same() {
    merged "$2"
    for file in results.tsv quality.tsv pictures.f32 pictures.tsv; do
        cmp "$1/$file" "$2/$file" || exit 1
    done
    for map in "$1"/maps/*; do cmp "$map" "$2/maps/${map##*/}" || exit 1; done
    echo "same bytes: $2"
    rm -rf "$2"
}

echo "== one worker"
fit one -j 1 --times
used merge "$batch" merge one >/dev/null
"$here/check_grid.py" grid one

echo "== bare searches beside those of the batch: 512 spectra, three times in turn"
cat >bare.pl <<'PERL'
# fork, exec and wait only, in a folder that is there; CPU of the children as the kernel counts it
use strict; use warnings; use POSIX;
my ($program, $points) = @ARGV;
open my $in, '<:raw', 'plan/spectra.f32' or die;
mkdir 'bare'; system('cp', 'plan/start.par', 'bare/start.par') == 0 or die;
my ($count, $read) = (0, 0);
my @before = times;
while ($read++ < 512 && read($in, my $bytes, 8 * $points) == 8 * $points) {
    next if $bytes !~ /[^\0]/;
    open my $out, '>:raw', 'bare/spectrum.bin' or die; print $out $bytes; close $out;
    my $pid = fork; die unless defined $pid;
    if (!$pid) {
        chdir 'bare'; open STDOUT, '>', 'spectrum.log';
        { exec $program, '.', 'spectrum.bin', 'start.par' }
        POSIX::_exit(127);
    }
    waitpid $pid, 0; ++$count;
}
my @after = times;
printf "bare: %d fits, %.3f ms CPU each\n", $count, 1e3 * ($after[2] + $after[3] - $before[2] - $before[3]) / $count;
PERL
"$batch" plan grid/grid.nii --start grid/start.par --select 0:511 --method classic -o few >/dev/null 2>&1
for _ in 1 2 3; do
    perl bare.pl "$programs/varokel" 512
    rm -rf few/shards
    "$batch" run few --times >/dev/null
done
echo "== two workers"
fit two -j 2 --times
same one two
echo "== four workers"
fit four -j 4 --times
same one four
echo "== a quarter of the spectra: storage must not depend on their number"
"$batch" plan grid/grid.nii --start grid/start.par --select 0:2559 --method "$method" -o quarter >/dev/null 2>&1
"$batch" run quarter -j 2 --times

for shards in 7 50; do
    echo "== $shards shards, in falling order"
    cp -r plan "s$shards"
    for ((i = shards - 1; i >= 0; --i)); do
        "$batch" run "s$shards" -j 2 --shard "$i/$shards" >/dev/null
    done
    same one "s$shards"
done

echo "== killed $kills times"
cp -r plan killed
RANDOM=7
# often enough in the middle of a run: an exact one takes seconds, one of searches minutes
pause() { if [ "$method" = exact ]; then echo "0.$((RANDOM % 500 + 250))"; else echo "$((RANDOM % 3)).$((RANDOM % 1000 + 1000))"; fi; }
for ((k = 0; k < kills; ++k)); do
    "$batch" run killed -j 2 --resume >/dev/null 2>&1 &
    process=$!
    sleep "$(pause)"
    kill -KILL "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
    "$batch" status killed | grep unfinished || true
done
"$batch" run killed -j 2 --resume
same one killed
echo "all right"
