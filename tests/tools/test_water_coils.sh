#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Amounts by water where data or water have coils: both are combined alike, or it is said that they are not.
. "$(dirname "$0")/harness.sh"

points() { perl "$tree/tests/tools/water_points.pl" "$1"; }
nifti() {
    perl "$tree/tests/tools/fid_file.pl" nifti \
        json='{"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "EchoTime": 0.03, "RepetitionTime": 2.0}'
}
points data | nifti >brain.nii
points water | nifti >water.nii
cat >peaks.txt <<'TEXT'
name  type     frequency[ppm]  lorentz[Hz]  phase
NAA   lorentz  2.01            5            ?
Cr    lorentz  3.03            5            =NAA
interval: 1.5 to 3.5 ppm
water: tissue, t1=1.1 s, t2=80 ms
amount: NAA, protons=3, t1=1.4 s, t2=280 ms
TEXT
# amount FOLDER NAME COLUMN
amount() {
    awk -F '\t' -v name="$2" -v column="$3" 'NR == 1 { for (i = 1; i <= NF; i++) c[$i] = i; next }
        $c["name"] == name { print $c[column] }' "$1/derived.tsv"
}
near() { perl -e 'exit !(abs($ARGV[0] - $ARGV[1]) <= $ARGV[2])' -- "$@"; }
status 0 "$programs/varokel-fit" brain.nii peaks.txt --water water.nii -o run --method exact

# coils: data and water are combined with the same weights, those of the data, however much noise these have. The
# area of water is then that of one coil times |sum of weight and sensitivity|.
# coils NOISE SEED: each point for coils of sensitivity 1, 0.6i, -0.3 and 0.1
coils() {
    perl -e '
        my ($noise, $seed) = @ARGV; srand $seed; my @in = map { [split] } <STDIN>;
        for my $s ([1, 0], [0, 0.6], [-0.3, 0], [0.1, 0]) { for (@in) {
            my $r = $noise * sqrt(-2 * log(1 - rand)); my $f = 8 * atan2(1, 1) * rand;
            printf "%.9g %.9g\n", $s->[0] * $_->[0] - $s->[1] * $_->[1] + $r * cos $f,
                $s->[1] * $_->[0] + $s->[0] * $_->[1] + $r * sin $f } }' -- "$1" "$2" |
        perl "$tree/tests/tools/fid_file.pl" nifti dims=1,1,1,1024,4 \
            json='{"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "EchoTime": 0.03, "RepetitionTime": 2.0, "dim_5": "DIM_COIL"}'
}
points data | coils 4 7 >brain_coils.nii
points water | coils 4 8 >water_coils.nii
status 0 "$programs/varokel-fit" brain_coils.nii peaks.txt --water water_coils.nii --combine-coils -o coils --method exact
holds err "the noise at the end of both files' FIDs agrees with one gain and means"
near_weights() {
    perl -MJSON::PP -e '
        my ($fit, $one) = map { local (@ARGV, $/) = $_; decode_json(<>) } @ARGV;
        my $w = $fit->{source}{coils_combined}{weights}; my ($re, $im) = (0, 0); my @s = ([1, 0], [0, 0.6], [-0.3, 0], [0.1, 0]);
        for (0 .. 3) { $re += $w->[$_][0] * $s[$_][0] - $w->[$_][1] * $s[$_][1]; $im += $w->[$_][0] * $s[$_][1] + $w->[$_][1] * $s[$_][0] }
        my $wanted = $one->{water_reference}{area} * sqrt($re * $re + $im * $im);
        printf "water %.9g, wanted %.9g of %.9g\n", $fit->{water_reference}{area}, $wanted, $one->{water_reference}{area};
        exit !(abs($fit->{water_reference}{area} / $wanted - 1) < 3e-4 && abs($wanted / $one->{water_reference}{area} / sqrt(1.46 / 4) - 1) > 1e-3)' "$@"
}
true_that 'the water has the weights of the data' near_weights coils/brain_coils.json run/brain.json
true_that "NAA of coils $(amount coils NAA value)" near "$(amount coils NAA value)" 9 "$(perl -e 'print 4 * $ARGV[0]' "$(amount coils NAA error_1sd)")"
# data that were combined before: the way is named, and so is the factor that nobody knows
status 2 "$programs/varokel-fit" brain.nii peaks.txt --water water_coils.nii -o none
holds err 'put them together with --combine-coils'
status 0 "$programs/varokel-fit" brain.nii peaks.txt --water water_coils.nii --combine-coils -o combined --method exact
holds err 'these amounts hold up to a factor'
holds combined/brain.json 'these amounts hold up to a factor'
lacks err "the noise at the end"
status 0 "$programs/varokel-fit" brain.nii peaks.txt --reference water_coils.nii --eddy --combine-coils -o eddy --method exact
status 2 "$programs/varokel-fit" brain.nii peaks.txt --water water.nii --combine-coils -o none
holds err 'has no dimension DIM_COIL'

# another gain shows in the noise: the same data in a unit 20 times smaller
points data | awk '{ printf "%.9g %.9g\n", 20 * $1, 20 * $2 }' | nifti >louder.nii
status 0 "$programs/varokel-fit" louder.nii peaks.txt --water water.nii -o louder --method exact --no-report
holds err 'times as high in the data as one gain and the averages that the files say let expect: where it is the gain, --water-scale '
true_that "by 20" near "$(sed -n 's/.*the gain, --water-scale \([0-9.]*\) holds.*/\1/p' err)" 20 3
status 0 "$programs/varokel-fit" louder.nii peaks.txt --water water.nii --water-scale 20 -o scaled --method exact
true_that "NAA in its unit, $(amount scaled NAA value)" near "$(amount scaled NAA value)" "$(amount run NAA value)" 1e-5
# a water measured another number of times than the data: the mean of its FIDs, here of 1 and 0.5, which is said
# repeated FACTOR... [dims=...] : each point times each factor
repeated() {
    local dims=dims=1,1,1,1024,$#
    case ${!#} in dims=*) dims=${!#}; set -- "${@:1:$#-1}" ;; esac
    perl -e 'my @in = map { [split] } <STDIN>; for my $f (@ARGV) { printf "%.9g %.9g\n", $f * $_->[0], $f * $_->[1] for @in }' -- "$@" |
        perl "$tree/tests/tools/fid_file.pl" nifti "$dims" \
            json='{"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "EchoTime": 0.03, "RepetitionTime": 2.0, "dim_5": "DIM_DYN"}'
}
points data | repeated 1 1 1 >brain_dyn.nii
points water | repeated 1 0.5 >water_dyn.nii
status 0 "$programs/varokel-fit" brain_dyn.nii peaks.txt --water water_dyn.nii --index all -o dyn --method exact
holds err 'water_dyn.nii: the mean of its 2 FIDs of DIM_DYN is taken, since the data have 3 spectra'
true_that "NAA by the mean water $(amount dyn NAA value | head -1)" \
    near "$(amount dyn NAA value | head -1)" "$(perl -e 'print $ARGV[0] / 0.75' "$(amount run NAA value)")" 1e-3
true_that 'each of the data has an amount' test "$(amount dyn NAA value | wc -l)" = 3
status 0 "$programs/varokel-fit" brain_dyn.nii peaks.txt --water water_dyn.nii --index dyn=all -o by_name --method exact
true_that 'by another name of the dimension alike' cmp dyn/derived.tsv by_name/derived.tsv
status 0 "$programs/varokel-fit" brain.nii peaks.txt --water water_dyn.nii -o combined_before --method exact
holds err 'water_dyn.nii: the mean of its 2 FIDs of DIM_DYN is taken, since the data have 1 spectrum'
true_that 'data of one FID, too' near "$(amount combined_before NAA value)" "$(amount dyn NAA value | head -1)" 1e-3
# a mean of every voxel is no water of one
points water | repeated 1 1 1 0.5 0.5 0.5 dims=3,1,1,1024,2 >water_grid.nii
status 3 "$programs/varokel-fit" brain_dyn.nii peaks.txt --water water_grid.nii --average DIM_DYN -o none
holds err 'water_grid.nii: gives 3 FIDs of water for 1 spectra'
status 0 "$programs/varokel-batch" plan brain_dyn.nii --peaks peaks.txt --water water_dyn.nii -o dyn_plan
holds err 'the mean of its 2 FIDs of DIM_DYN is taken'
# as many as the data are one for each
points data | repeated 1 1 >brain_two.nii
status 0 "$programs/varokel-fit" brain_two.nii peaks.txt --water water_dyn.nii --index all -o two --method exact
lacks err 'the mean of its'
true_that 'the second is by the second water' near "$(amount two NAA value | tail -1)" "$(perl -e 'print $ARGV[0] / 0.5' "$(amount run NAA value)")" 1e-3
finish
