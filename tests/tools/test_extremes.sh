#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# No room for what a program writes, and numbers at the end of single precision.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch
c13=$tree/examples/c13_kidney
cp "$c13"/c13_kidney.fid.* "$c13/peaks.txt" .
two_lines_grid grid 3 2 1
two_lines_grid one 1 1 1
"$programs/varokel-import" one.nii -o converted >out 2>err
if grep -q 'without the NIfTI' err; then
    echo "no NIfTI in this build: left out"
    exit 0
fi
mkdir -p data/sub-01/mrs
echo '{"Name": "trial", "BIDSVersion": "1.10.0"}' >data/dataset_description.json
cp one.nii data/sub-01/mrs/sub-01_svs.nii
"$batch" plan grid.nii --start start.par -o planned >out 2>&1
cp -r planned fitted
"$batch" run fitted >out 2>&1
"$programs/varokel-fit" c13_kidney.fid.f32 peaks.txt --method exact --no-report -o single >out 2>&1

# ---- a file of more than 1 KiB finds no room: said, status 4, nothing half written, no rests ----
touch out err
no_room() { (ulimit -f 1 && exec "$@"); }
for command in "import grid.nii -o new" "batch plan grid.nii --start start.par -o new" \
    "batch run planned" "batch merge fitted" "report single --force" "fit c13_kidney.fid.f32 peaks.txt --method exact -o new" \
    "bids data new participant --start start.par"; do
    before=$(find . -path './planned/shards*' -prune -o -path ./new -prune -o -print | sort)
    # shellcheck disable=SC2086
    status 4 no_room "$programs"/varokel-$command
    holds err 'cannot be written'
    true_that "nothing new beside the output of $command" test "$before" = \
        "$(find . -path './planned/shards*' -prune -o -path ./new -prune -o -print | sort)"
    true_that "no rests of $command" test -z "$(find . -name '.varokel*')"
    rm -rf new
done
status 0 "$batch" run planned --resume
true_that "and what found no room is gone on with" cmp fitted/shards/0000_of_0001.part planned/shards/0000_of_0001.part

# ---- the largest numbers of single precision have tables and a page ----
perl -e 'print pack("f<*", map { 3.4e38 * cos($_ / 3) * exp(-$_ / 40), 3.4e38 * sin($_ / 3) * exp(-$_ / 40) } 0 .. 255)' >large.f32
printf 'name  type  area  frequency[ppm]  gauss[Hz]  lorentz[Hz]  phase\nA  lorentz  ?  0  0  10  ?\n\nstrategy: standard\n' >one.txt
status 0 "$programs/varokel-fit" large.f32 one.txt -o large --dwell 0.001 --frequency 51.7 --ppm-at-carrier 0
true_that 'a page' test -s large/report.html -a -s large/fit.svg
lacks large/fit.svg nan
lacks large/fit.svg inf
finish
