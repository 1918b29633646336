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

# ---- numbers that an axis cannot be made of are named, before they are nan ----
echo '{"dwell_time_s": 0.001, "spectrometer_MHz": 51.7, "ppm_at_carrier": 0}' >large.json
while read -r text option; do
    status 3 "$programs/varokel-import" large.f32 -o none "$option"
    holds err "large.f32: ${text//·/ }"
done <<'END'
a·dwell·time·[s]·of·1e-31;·expected·a·number·from·1e-30·to·1e30 --dwell=1e-31
a·dwell·time·[s]·of·1e+31;·expected --dwell=1e31
a·dwell·time·[s]·of·1e-308;·expected --bandwidth=1e308
a·spectrometer·frequency·[MHz]·of·1e-307;·expected --frequency=1e-307
a·chemical·shift·of·the·carrier·[ppm]·of·1e+308;·expected·a·number·from·-1e30·to·1e30 --ppm-at-carrier=1e308
a·begin·time·[s]·of·-1e+308;·expected --begin-time=-1e308
a·begin·time·that·means·a·first-order·phase·[degrees]·of·3.6e+32;·expected --begin-time=1e27
END
true_that 'nothing was written' test ! -e none
perl -e 'print pack("f<*", map { exp(-$_ / 40), 0 } 0 .. 255)' >plain.f32
printf '{"dwell_time_s": 0.001, "spectrometer_MHz": 51.7, "ppm_at_carrier": 0}' >plain.json
status 0 "$programs/varokel-import" plain.f32 -o plain --dwell 0.001
for option in --hz-per-point=1e31 --mhz=1e-307 --ppm-at-carrier=-1e308 --phase=1e308 --phi-1=-1e308; do
    status 2 "$programs/varokel-plot" plain/plain.bin -o none.svg "$option"
    holds err "${option%%=*} "
    holds err "expected a number from"
done
true_that 'no picture' test ! -e none.svg
# an axis whose places differ by less than their rounding has no numbers, but is drawn
for carrier in 1e17 -1e19 1e30; do
    status 0 "$programs/varokel-plot" plain/plain.bin -o far.svg --force "--ppm-at-carrier=$carrier"
    lacks far.svg nan
    lacks far.svg inf
    holds far.svg '<polyline'
    true_that "no numbers about $carrier" test "$(grep -c 'font-size="12"' far.svg)" -eq 0
done
{ echo 'points: 256'; echo 'hz_per_point: 1e31'; cat one.txt; } >width.txt
status 3 "$programs/varokel-start" width.txt -o none.par
holds err 'expected a number from 1e-30 to 1e30'
finish
