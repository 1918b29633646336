#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Amounts by water of a batch: those of single fits, as rows, maps and columns of the page; what is passed over, and
# what --remove-water took out, is said.
. "$(dirname "$0")/harness.sh"
batch=$programs/varokel-batch

facts='"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "EchoTime": 0.03, "RepetitionTime": 2.0'
points() { perl "$tree/tests/tools/water_points.pl" "$1"; }
# grid FACTOR...: a voxel for each factor, with noise of its own, voxel fastest
grid() {
    perl -e '
        srand 11; while (<STDIN>) { my ($re, $im) = split; for (@ARGV) {
            my $r = 0.1 * sqrt(-2 * log(1 - rand)); my $f = 8 * atan2(1, 1) * rand;
            printf "%.9g %.9g\n", $_ * $re + $r * cos $f, $_ * $im + $r * sin $f } }' -- "$@" |
        perl "$tree/tests/tools/fid_file.pl" nifti dims=$#,1,1,1024 json="{$facts}"
}
points data | grid 1 2 0.5 1 >grid.nii
points water | grid 1 1 2 0 >water.nii # the last voxel has none
points water | perl "$tree/tests/tools/fid_file.pl" nifti json="{$facts}" >one.nii
points water | grid 1 1 >half.nii
cat >peaks.txt <<'TEXT'
name  type     frequency[ppm]  lorentz[Hz]  phase
NAA   lorentz  2.01            5            ?
Cr    lorentz  3.03            5            =NAA
interval: 1.5 to 3.5 ppm
derive: ratio = NAA/Cr
water: tissue, t1=1.1 s, t2=80 ms
amount: NAA, protons=3, t1=1.4 s, t2=280 ms
amount: both = NAA+Cr, protons=3
TEXT

# rows of a table of peaks that are not done are said
status 0 "$batch" plan grid.nii --peaks peaks.txt --values estimate -o dry
holds err 'peaks.txt: 2 rows "amount" are passed over: there is no water to hold the areas against (--water FILE)'
status 0 "$programs/varokel-fit" grid.nii peaks.txt --voxel 0,0,0 --method exact -o dry_fit --no-report
holds err '2 rows "amount" are passed over'

status 0 "$batch" plan grid.nii --peaks peaks.txt --values estimate -o run --water water.nii
for text in 'water of water.nii: area' 'receiver gain and unit' '1 spectra have no water to hold their areas against' \
    'echo time 0.03 s from the file'; do
    holds err "$text"
    holds run/manifest.json "$text"
done
status 0 "$batch" run run
status 0 "$batch" merge run
holds out run/derived.tsv
cp -r run edited
perl -pi -e 's/"NAA\+Cr"/"NAA+nothing"/' edited/manifest.json
status 3 "$batch" merge edited --force
holds err 'edited/manifest.json: what is to be derived, "NAA+nothing"'
# value FOLDER SPECTRUM NAME COLUMN
value() {
    awk -F '\t' -v spectrum="$2" -v name="$3" -v column="$4" 'NR == 1 { for (i = 1; i <= NF; i++) c[$i] = i; next }
        $c["spectrum"] == spectrum && $c["name"] == name { print $c[column] }' "$1/derived.tsv"
}
near() { perl -e 'exit !(abs($ARGV[0] - $ARGV[1]) <= $ARGV[2] * abs $ARGV[1])' -- "$@"; }
status 0 "$programs/varokel-fit" grid.nii peaks.txt --method exact -o single --water water.nii --voxel 0,0,0
for name in NAA both; do
    for column in value error_1sd; do
        true_that "$name, $column, of both ways: $(value run grid_0_0_0 "$name" "$column")" near \
            "$(value run grid_0_0_0 "$name" "$column")" "$(value single grid "$name" "$column")$(value single grid_0_0_0 "$name" "$column")" 1e-6
    done
done
# by twice and half the data, and twice the water
true_that "NAA of voxel 0 $(value run grid_0_0_0 NAA value)" near "$(value run grid_0_0_0 NAA value)" 9 0.05
true_that "NAA of voxel 1 $(value run grid_1_0_0 NAA value)" near "$(value run grid_1_0_0 NAA value)" 18 0.05
true_that "NAA of voxel 2 $(value run grid_2_0_0 NAA value)" near "$(value run grid_2_0_0 NAA value)" 2.25 0.05
true_that 'no number without water' test "$(value run grid_3_0_0 NAA value)" = n/a
true_that "the ratio of that voxel, $(value run grid_3_0_0 ratio value)" near "$(value run grid_3_0_0 ratio value)" "$(value run grid_1_0_0 ratio value)" 0.03
true_that 'its unit' test "$(value run grid_1_0_0 NAA unit)" = 'mmol/kg water'
for map in NAA NAA.error_1sd both ratio; do true_that "map of $map" test -s "run/maps/derived.$map.nii.gz"; done
true_that 'the map has the amounts' near \
    "$(gzip -dc run/maps/derived.NAA.nii.gz | tail -c 16 | od -An -v -t f4 | awk '{ print $2 }')" "$(value run grid_1_0_0 NAA value)" 1e-5
status 0 "$programs/varokel-report" run --force
holds run/overview.html 'mmol/kg water'
mkdir more
status 0 "$programs/varokel-report" run --force --derive 'sum=NAA+Cr' -o more
holds more/derived.tsv 'by water'
holds more/derived.tsv 'sum'

# one water for all; a scale; times by hand
status 0 "$batch" plan grid.nii --peaks peaks.txt --values estimate -o all --water one.nii --water-scale 2 --select 0,3
status 0 "$batch" run all
status 0 "$batch" merge all
true_that "NAA by one water $(value all grid_3_0_0 NAA value)" near "$(value all grid_3_0_0 NAA value)" 4.5 0.05

# refused
status 3 "$batch" plan grid.nii --peaks peaks.txt -o none --water half.nii
holds err 'gives 2 FIDs of water for 4 spectra'
status 3 "$batch" plan grid.nii --peaks peaks.txt -o none --water grid.nii
holds err 'the reference is the data itself'
grep -v '^amount' peaks.txt >bare.txt
status 2 "$batch" plan grid.nii --peaks bare.txt -o none --water water.nii
status 2 "$batch" plan grid.nii --start dry/start.par -o none --water water.nii
holds err '--water needs the rows "amount" of a table: --peaks TABLE'
printf x >>run/water.f64
status 3 "$batch" merge run --force
holds err 'water.f64: was changed since the plan was made'

# what is taken out before the fits
status 0 "$batch" plan grid.nii --peaks bare.txt --values estimate -o removed --remove-water 2.9:3.2
holds err 'lines from 2.9 to 3.2 ppm were taken out of the FIDs of 4 of 4 spectra'
holds removed/manifest.json 'were taken out of the FIDs of 4 of 4 spectra'
holds removed/sidecar.json '"most_left_over_noise"'
# and the overview of what was fitted then
status 0 "$batch" run removed
status 0 "$batch" merge removed
status 0 "$programs/varokel-report" removed
holds removed/overview.html '<h2>Done before the fits</h2><ul><li>lines from 2.9 to 3.2 ppm were taken out of the FIDs of 4 of 4 spectra'
true_that 'nothing was made' test ! -e none
finish
