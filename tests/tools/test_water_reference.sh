#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Amounts by the water of the voxel: numbers that were put in come out, and those of a brain are as
# brains have them.
. "$(dirname "$0")/harness.sh"

# fid data|water: a file of it
fid() {
    perl "$tree/tests/tools/water_points.pl" "$1" | perl "$tree/tests/tools/fid_file.pl" nifti \
        json='{"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "EchoTime": 0.03, "RepetitionTime": 2.0}'
}
fid data >brain.nii
fid water >water.nii
cat >peaks.txt <<'TEXT'
name  type     frequency[ppm]  lorentz[Hz]  phase
NAA   lorentz  2.01            5            ?
Cr    lorentz  3.03            5            =NAA
interval: 1.5 to 3.5 ppm
water: tissue, t1=1.1 s, t2=80 ms
amount: NAA, protons=3, t1=1.4 s, t2=280 ms
amount: Cr, protons=3, t1=1.4 s, t2=160 ms
amount: both = NAA+Cr, protons=3
TEXT
# amount FOLDER NAME COLUMN
amount() {
    awk -F '\t' -v name="$2" -v column="$3" 'NR == 1 { for (i = 1; i <= NF; i++) c[$i] = i; next }
        $c["name"] == name { print $c[column] }' "$1/derived.tsv"
}
near() { perl -e 'exit !(abs($ARGV[0] - $ARGV[1]) <= $ARGV[2])' -- "$@"; }

status 0 "$programs/varokel-fit" brain.nii peaks.txt --eddy --reference water.nii --water water.nii -o run
for pair in NAA:9 Cr:8; do
    name=${pair%:*}
    true_that "$name $(amount run "$name" value) +- $(amount run "$name" error_1sd)" near \
        "$(amount run "$name" value)" "${pair#*:}" "$(perl -e 'printf "%.9g", 4 * $ARGV[0]' "$(amount run "$name" error_1sd)")"
    true_that "the error of $name is one of a good spectrum" near "$(amount run "$name" error_1sd)" 0.05 0.05
    true_that "unit" test "$(amount run "$name" unit)" = "mmol/kg water"
done
holds out 'mmol/kg water'
for text in 'water of water.nii: area' 'points 1 to' 'echo time 0.03 s from the file' 'repetition time 2 s from the file' \
    'receiver gain and unit of both files are taken as equal' 'no content of water given: amounts are per kg of water' \
    'no T1 and T2 of both given' 'saturation is that of excitation by 90 degrees'; do
    holds err "$text"
    holds run/report.html "$text"
    holds run/brain.json "$text"
done
# a content of water and a scale between the files
sed 's/water: tissue,/water: tissue, content=0.8 kg\/L,/' peaks.txt >content.txt
status 0 "$programs/varokel-fit" brain.nii content.txt --eddy --reference water.nii --water water.nii --water-scale 2 -o content --no-report --method exact
holds out 'mmol/L'
true_that "0.8 / 2 of it" grep -Eq '^NAA +3\.[56]' out

# said or refused, not guessed
status 2 "$programs/varokel-fit" brain.nii peaks.txt --water-scale 2 -o none
grep -v '^amount' peaks.txt >bare.txt
status 2 "$programs/varokel-fit" brain.nii bare.txt --water water.nii -o none
holds err 'bare.txt has no row "amount"'
status 3 "$programs/varokel-fit" brain.nii peaks.txt --water brain.nii -o none
holds err 'the reference is the data itself'
{ cat peaks.txt; echo 'amount: GABA, protons=2'; } >unknown.txt
status 3 "$programs/varokel-fit" brain.nii unknown.txt --water water.nii -o none
holds err 'no entry "GABA"'
perl -pe 's/"EchoTime": 0.03/"EchoTimez": 0.0/' brain.nii >untimed.nii
perl -pe 's/"EchoTime": 0.03/"EchoTimez": 0.0/' water.nii >untimed_water.nii
status 3 "$programs/varokel-fit" untimed.nii peaks.txt --water untimed_water.nii -o none
holds err 'needs the echo time, which no file says; expected a row "te: 30 ms" or --echo-time SECONDS'
status 0 "$programs/varokel-fit" untimed.nii peaks.txt --water untimed_water.nii --echo-time 0.03 -o timed --no-report --method exact
holds err 'echo time 0.03 s from the command line'
true_that "nothing was made" test ! -e none

# a brain: amounts are known to some 20 %, since few lines stand for what lies below the singlets
cat >brain.txt <<'TEXT'
name   type    area      frequency[ppm]   gauss[Hz]         lorentz[Hz]       phase
NAA    voigt   ? > 0     2.008 +- 0.02    4                 3 [1, 10]         ?
Cr     voigt   ? > 0     3.027 +- 0.02    =NAA              =NAA              =NAA
Cho    voigt   ? > 0     3.21 +- 0.02     =NAA              =NAA              =NAA
Asp1   gauss   ? > 0     2.49 +- 0.03     14 [8, 25]        -                 =NAA
Asp2   gauss   ? > 0     2.67 +- 0.03     =Asp1             -                 =NAA
Glx1   gauss   ? > 0     2.12 +- 0.03     22 [15, 35]       -                 =NAA
Glx2   gauss   ? > 0     2.35 +- 0.03     =Glx1             -                 =NAA
MM     gauss   ? > 0     2.05 +- 0.03     50 [35, 70]       -                 =NAA
MM3    gauss   ? > 0     2.98 +- 0.04     55 [35, 90]       -                 =NAA
interval: 1.9 to 3.35 ppm
reference: NAA 2.008 ppm
water: tissue, content=0.78 kg/kg, t1=1.1 s, t2=80 ms
amount: NAA, protons=3, t1=1.4 s, t2=280 ms
amount: Cr, protons=3, t1=1.4 s, t2=160 ms
amount: Cho, protons=9, t1=1.2 s, t2=220 ms
TEXT
status 0 "$programs/varokel-fit" "$tree/tests/tools/data/brain_press30.SDAT" brain.txt --method exact \
    --water "$tree/tests/tools/data/brain_press30_water.SDAT" -o brain
holds err 'echo time 0.03 s from the file'
true_that "NAA $(amount brain NAA value) mmol/kg wet weight" near "$(amount brain NAA value)" 11 2
true_that "Cr $(amount brain Cr value)" near "$(amount brain Cr value)" 9 2
true_that "Cho $(amount brain Cho value)" near "$(amount brain Cho value)" 1.6 0.5

# a unit is a text of the sidecar, whoever wrote it: one cell, and no formula
sed -i 's/"unit": "mmol[^"]*"/"unit": "=1+1\\t2"/' brain/brain_press30.json
status 0 "$programs/varokel-report" brain --force
true_that "the unit is in the table" grep -q "'=1+1 2" brain/derived.tsv
true_that "as many cells in each row" test "$(awk -F'\t' '{ print NF }' brain/derived.tsv | sort -u | wc -l)" -eq 1
finish
