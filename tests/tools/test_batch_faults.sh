#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch

two_lines_grid grid 4 3 1
"$programs/varokel-import" grid.nii --voxel 2,1,0 -o one >out 2>err
if grep -q 'without the NIfTI' err; then
    echo "no NIfTI in this build: left out"
    exit 0
fi
bad=$PWD/one/grid_2_1_0.bin
status 0 "$batch" plan grid.nii --start start.par --method classic -o plan
cp -r plan good
status 0 "$batch" run good
status 0 "$batch" merge good

# a program that does as varokel, but for one spectrum does what the second argument says
faulty() {
    printf '#!/bin/sh\nif cmp -s spectrum.bin %s; then\n%s\nfi\nexec %s "$@"\n' \
        "$bad" "$2" "$programs/varokel" >"$1"
    chmod +x "$1"
}
# recorded NAME REASON: the batch ends with status 1, the reason stands in the table, all others are
# as they should be, and --again repairs it
recorded() {
    holds out "11 fitted, 1 failed"
    status 1 "$batch" merge "$1"
    holds err "1 fits failed; quality.tsv says why"
    holds "$1/quality.tsv" "grid_2_1_0	2	1	0	not_fitted	$2"
    true_that "$1: the other voxels" cmp <(grep -v grid_2_1_0 good/results.tsv) <(grep -v grid_2_1_0 "$1/results.tsv")
    status 1 "$batch" run "$1" --resume
    status 0 "$batch" run "$1" --resume --again
    status 0 "$batch" merge "$1" --force
    true_that "$1: whole after --again" cmp good/results.tsv "$1/results.tsv"
    true_that "$1: no curve is lost" cmp good/pictures.f32 "$1/pictures.f32"
}
try() { # NAME SHELL-TEXT REASON OPTIONS...
    local name=$1 reason=$3
    faulty "fake_$name" "$2"
    shift 3
    cp -r plan "$name"
    status 1 "$batch" run "$name" --varokel "./fake_$name" -j 2 "$@"
    recorded "$name" "$reason"
}
try silent 'exit 0' 'its .mat is missing or not whole: it printed nothing'
try refusing 'echo "* Spectrum is not fitted *"; exit 0' 'not fitted: Spectrum is not fitted'
try dying 'kill -SEGV $$' 'died of signal 11'
try ended 'kill -TERM $$' 'died of signal 15'
try failing 'echo "no such luck"; exit 255' 'ended with exit status 255: no such luck'
try hanging 'sleep 60; exit 0' 'no end within the limit of 0.5 s' --limit 0.5
try cut "$programs/varokel \"\$@\"; head -c 60 spectrum.mat >m; mv m spectrum.mat; exit 0" \
    'its .mat is missing or not whole'
try unfinished "$programs/varokel \"\$@\"; head -n 20 spectrum.fitres >m; mv m spectrum.fitres; exit 0" \
    'its .fitres is missing or not whole'
try infinite "$programs/varokel \"\$@\"; sed 's/^[^\\t]*/NAN/' spectrum.mat >m; mv m spectrum.mat; exit 0" \
    'its results are no finite numbers'

# a fit that was ended from outside once begins again, and nobody sees a difference
faulty ended_once "[ -e $PWD/was_ended ] || { touch $PWD/was_ended; kill -KILL \$\$; }"
cp -r plan once
status 0 "$batch" run once --varokel ./ended_once -j 2
true_that "it was ended" test -e was_ended
status 0 "$batch" merge once
true_that "the same table" cmp good/results.tsv once/results.tsv

# a run that was ended after its marker and before its journal was removed
cp -r good marked
rm marked/results.tsv
for rest in journal fitted; do
    printf 'records that the part holds, too' >"marked/shards/0000_of_0001.$rest"
done
status 0 "$batch" run marked --resume
true_that "the same files as of a run that was not" \
    test "$(ls marked/shards)" = "$(ls good/shards)"
status 0 "$batch" merge marked --force
true_that "the same table" cmp good/results.tsv marked/results.tsv

# Where start values come from neighbours, the voxel in the middle comes first and others begin from
# it. When its fit dies they begin elsewhere; --again does them once more, too.
for method in classic both; do
    status 0 "$batch" plan grid.nii --start start.par --method $method --values neighbour -o "near_$method"
    cp -r "near_$method" "lost_$method"
    status 0 "$batch" run "near_$method" -j 2
    status 0 "$batch" merge "near_$method"
done
status 1 "$batch" run lost_classic --varokel ./fake_dying -j 2
status 1 "$batch" merge lost_classic
true_that "others of its tile began elsewhere" test "$(grep -v grid_2_1_0 near_classic/quality.tsv | cmp - <(grep -v grid_2_1_0 lost_classic/quality.tsv) | wc -l)" -eq 1
status 0 "$batch" run lost_classic --resume --again
status 0 "$batch" merge lost_classic --force
# a search that dies leaves the exact fit, which is no failure
status 0 "$batch" run lost_both --varokel ./fake_dying -j 2
status 0 "$batch" merge lost_both
holds lost_both/quality.tsv "no search: died of signal 11"
holds lost_both/quality.tsv "remark"
status 0 "$batch" run lost_both --resume --again
status 0 "$batch" merge lost_both --force
for method in classic both; do
    for file in results.tsv quality.tsv pictures.f32; do
        true_that "$method, $file: as if nothing had died" cmp "near_$method/$file" "lost_$method/$file"
    done
done

# Each spectrum is fitted from its neighbour and from the common values. When one of these two dies, the other counts,
# which says so: it may be the worse one, from which others then begin.
status 0 "$programs/varokel-import" grid.nii --voxel 1,1,0 -o one
for from in neighbour common; do
    test='! cmp'
    [ $from = neighbour ] || test="cmp"
    printf '#!/bin/sh\ncmp -s spectrum.bin %s && %s -s start.par %s && kill -SEGV $$\nexec %s "$@"\n' \
        "$PWD/one/grid_1_1_0.bin" "$test" "$PWD/near_classic/start.par" "$programs/varokel" >"fake_$from"
    chmod +x "fake_$from"
    status 0 "$batch" plan grid.nii --start start.par --method classic --values neighbour -o "half_$from"
    status 0 "$batch" run "half_$from" --varokel "./fake_$from" -j 2
    status 0 "$batch" merge "half_$from"
    true_that "the start from the $from that died is told" test \
        "$(grep -c 'no fit from the other start values: died of signal 11' "half_$from/quality.tsv")" -eq 1
    status 0 "$batch" run "half_$from" --resume --again
    status 0 "$batch" merge "half_$from" --force
    for file in results.tsv quality.tsv pictures.f32; do
        true_that "start from the $from, $file: as if nothing had died" cmp "near_classic/$file" "half_$from/$file"
    done
done

# An exact fit fails by its data alone, here a spectrum without noise: --again changes nothing.
perl "$tree/tests/batch/small_grid.pl" 4 3 1 128 |
    awk 'NR % 12 == 7 { $0 = NR == 7 ? "1 0" : "0 0" } { print }' |
    perl "$tree/tests/tools/fid_file.pl" nifti dims=4,3,1,128 dwell=0.001 mhz=51.7 nucleus=31P >silent.nii
for values in same neighbour; do
    status 0 "$batch" plan silent.nii --start start.par --values $values --noise 0:31 -o "exact_$values"
    status 1 "$batch" run "exact_$values" -j 2
    status 1 "$batch" merge "exact_$values"
    holds "exact_$values/quality.tsv" "silent_2_1_0	2	1	0	not_fitted"
    cp -r "exact_$values" "again_$values"
    status 1 "$batch" run "again_$values" --resume --again
    status 1 "$batch" merge "again_$values" --force
    for file in results.tsv quality.tsv pictures.f32; do
        true_that "exact, $values, $file: as before" cmp "exact_$values/$file" "again_$values/$file"
    done
done

# --force begins anew, but not under the feet of a run
printf '#!/bin/sh\nwhile [ ! -e %s ]; do sleep 0.05; done\nexec %s "$@"\n' "$PWD/go_on" "$programs/varokel" >waiting
chmod +x waiting
cp -r plan busy
"$batch" run busy --varokel ./waiting >first_out 2>first_err &
until [ -s busy/shards/0000_of_0001.journal ]; do sleep 0.02; done
status 4 "$batch" run busy --force
holds err "another process works on this shard"
: >go_on
wait $!
holds first_out "12 fitted, 0 failed"
status 0 "$batch" merge busy
true_that "the first run is whole" cmp good/results.tsv busy/results.tsv
status 0 "$batch" run busy --force
status 0 "$batch" merge busy --force
true_that "and the one begun anew" cmp good/results.tsv busy/results.tsv

# goes_on NAME: after a fault of the place, nothing is lost and --resume ends it
goes_on() {
    status 0 "$batch" run "$1" --resume
    status 0 "$batch" merge "$1"
    true_that "$1: whole in the end" cmp good/results.tsv "$1/results.tsv"
}
cp -r plan missing
status 3 "$batch" run missing --varokel ./nothing_here
holds err "./nothing_here: no program that can be started"
printf '#!/no/such/interpreter\n' >broken && chmod +x broken
status 4 "$batch" run missing --varokel ./broken
holds err "cannot be started"
holds err "--resume goes on"
goes_on missing
cp -r plan unwritable
status 4 "$batch" run unwritable --scratch ./no_such_place
holds err "--scratch DIR names a place for the fits"
goes_on unwritable
# fits that cannot write, as on a full disk
faulty full 'echo "error in writing file ./spectrum.fit"; exit 0'
cp -r plan writeless
status 4 "$batch" run writeless --varokel ./full
holds err "the fit could not write its results"
goes_on writeless
# a place that is really full, where a user may mount one
if unshare -rm true 2>/dev/null; then
    cp -r plan disk
    status 4 unshare -rm sh -c 'mkdir -p small && mount -t tmpfs -o size=64k none small && exec "$@"' - \
        "$batch" run disk -j 2 --scratch small
    holds err "is there room"
    goes_on disk
fi

# what was planned must be what is fitted
cp -r plan changed
{ timeout -s INT 0.05 "$batch" run changed >/dev/null 2>&1; } 2>/dev/null
cp grid.nii kept.nii
printf 'x' | dd of=grid.nii bs=1 seek=900 conv=notrunc 2>/dev/null
status 3 "$batch" run changed --resume
holds err "grid.nii: was changed since the plan was made; put the file of then back"
cp kept.nii grid.nii
touch grid.nii
goes_on changed
cp -r plan moved
mv grid.nii away.nii
status 0 "$batch" run moved
holds err "grid.nii: is not there any more"
mv away.nii grid.nii
cp -r plan edited
echo >>edited/start.par
status 3 "$batch" run edited
holds err "edited/start.par: was changed"
cp -r plan spoilt
printf 'x' | dd of=spoilt/spectra.f32 bs=1 seek=5000 conv=notrunc 2>/dev/null
status 3 "$batch" run spoilt
holds err "grid_0_1_0 was changed since the plan was made"
cp plan/spectra.f32 spoilt/
goes_on spoilt
cp -r plan torn
sed -i 's/"number":5,/"number":x,/' torn/manifest.json
status 3 "$batch" run torn
holds err "spectrum 5 does not stand where it should"
status 3 "$batch" run nowhere
holds err "expected the folder of a plan"
# parts of one plan do not go into another
status 0 "$batch" plan grid.nii --start start.par --method classic --select 0:11 --keep none -o other
cp -r good/shards other/
status 3 "$batch" merge other
holds err "the marker of another plan"
# damage to a part is found
cp -r good hurt
printf 'x' | dd of=hurt/shards/0000_of_0001.part bs=1 seek=700 conv=notrunc 2>/dev/null
status 3 "$batch" merge hurt --force
holds err "0000_of_0001.part: missing or damaged"

# ctrl-C ends with what is there; two at one shard is one too many
faulty slow 'sleep 1'
sed -i 's/if cmp.*; then/if :; then/' slow
cp -r plan stopped
"$batch" run stopped --varokel ./slow -j 2 >out 2>err &
process=$!
sleep 0.3
status 4 "$batch" run stopped --resume
holds err "another process works on this shard"
kill -INT $process
wait $process
true_that "status 130" test $? -eq 130
goes_on stopped
# a whole job is ended process by process, the fits first
cp -r plan job
"$batch" run job --varokel ./slow -j 2 >out 2>err &
process=$!
sleep 0.3
xargs -r kill -TERM <"/proc/$process/task/$process/children"
sleep 0.05
kill -TERM $process
wait $process
true_that "status 143" test $? -eq 143
goes_on job
finish
