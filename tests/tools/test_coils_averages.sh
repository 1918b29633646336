#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Coils and averages of a NIfTI-MRS file put together in one command, by import, fit and batch.
. "$(dirname "$0")/harness.sh"

# points AVERAGES COILS: a line at 2.01 ppm, drifting by 1 Hz and 10 degrees an average, coils of their
# own phase and height; point fastest, then coil, then average
points() {
    perl -e '
        my ($averages, $coils) = @ARGV;
        srand 5;
        my $pi = atan2(0, -1);
        my @height = (1, 0.7, 0.4, 0.02); my @turn = (0.3, 2.1, -1.2, 0.9);
        for my $a (0 .. $averages - 1) { for my $c (0 .. $coils - 1) { for my $k (0 .. 1023) {
            my $w = -2 * $pi * ((2.01 - 4.65) * 123.25 + $a) * $k * 0.0005 + $a * $pi / 18 + $turn[$c];
            my $h = 3 * $height[$c] * exp(-$pi * 5 * $k * 0.0005);
            my $r = 0.5 * sqrt(-2 * log(1 - rand)); my $f = 2 * $pi * rand;
            printf "%.7g %.7g\n", $h * cos($w) + $r * cos $f, $h * sin($w) + $r * sin $f;
        } } }' -- "$1" "$2"
}
json='{"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "dim_5": "DIM_COIL", "dim_6": "DIM_DYN"}'
points 8 4 | perl "$tree/tests/tools/fid_file.pl" nifti dims=1,1,1,1024,4,8 json="$json" >raw.nii
# item FILE OBJECT ITEM: the last one of this name behind the object
item() { perl -0777 -ne 'my ($o, $i) = @ENV{qw(O I)}; print $1 if /"$o": \{[^}]*"$i": ([-0-9.e+]+)/' "$1"; }
snr() { O=$2 I=$3 item "$1"; }
above() { perl -e 'exit !($ARGV[0] > $ARGV[1])' -- "$1" "$2"; }

status 2 "$programs/varokel-import" raw.nii -o none
holds err 'DIM_COIL'
status 0 "$programs/varokel-import" raw.nii -o run --combine-coils --align-averages
holds err '4 coils combined: signal to noise'
holds err '8 of 8 averages aligned: signal to noise'
true_that 'one spectrum' test "$(ls run/*.bin)" = run/raw.bin
true_that 'better than the best coil' \
    above "$(snr run/raw.json coils_combined snr)" "$(snr run/raw.json coils_combined snr_of_the_best_coil)"
# eight lines 5 Hz wide, 1 Hz apart: their plain mean has lost a good part
plain=$(snr run/raw.json averages_aligned snr_of_the_plain_mean)
true_that 'better than the plain mean' \
    above "$(snr run/raw.json averages_aligned snr)" "$(perl -e 'print 1.15 * $ARGV[0]' -- "$plain")"
true_that 'drift of 7 Hz about its mean' perl -e 'exit !(abs($ARGV[0] - 3.5) < 0.4)' -- \
    "$(snr run/raw.json averages_aligned largest_shift_hz)"

# the same by the fit, and by a batch of it with the averages as a series
cat >peaks.txt <<'TEXT'
name  type     frequency[ppm]  lorentz[Hz]
NAA   lorentz  2.01            5
interval: 1.8 to 2.2 ppm
TEXT
status 0 "$programs/varokel-fit" raw.nii peaks.txt -o fit --combine-coils --align-averages --no-report
true_that 'the same spectrum' cmp run/raw.bin fit/raw.bin
# mean coil: sqrt((1 + 0.49 + 0.16 + 0.0004) / 4) = 0.6423 times 3
true_that 'the area of the mean coil' perl -e 'exit !(abs($ARGV[0] - 1.927) < 0.06)' -- \
    "$(awk -F '\t' 'NR == 1 { for (i = 1; i <= NF; i++) if ($i == "area") c = i } NR == 2 { print $c }' fit/results.tsv)"
status 0 "$programs/varokel-batch" plan raw.nii --peaks peaks.txt -o batch --combine-coils --index DIM_DYN=all
true_that 'a series of eight' test "$(find batch -name spectra.f32 -size -66k -size +63k | wc -l)" -eq 1

status 0 "$programs/varokel-batch" plan raw.nii --peaks peaks.txt -o referenced --combine-coils --reference-peak 'NAA 2.01 ppm'
holds err 'NAA, known at 2.01 ppm'

# coils whose phases are 0, 77, 154 and 231 degrees apart cancel in a plain mean: it says how much is left,
# and what puts them together; of data, of a reference, and where a file only counts its FIDs
status 0 "$programs/varokel-import" raw.nii -o plain --average coil --align-averages
holds err 'the mean over DIM_COIL keeps'
holds err '--combine-coils puts coils together'
holds plain/raw.json 'the mean over DIM_COIL keeps'
# each repetition turned by 20 degrees more than the one before
points 8 1 | perl -ane 'my $w = int(($. - 1) / 1024) * atan2(0, -1) / 9; my ($c, $s) = (cos $w, sin $w);
    printf "%.7g %.7g\n", $c * $F[0] - $s * $F[1], $s * $F[0] + $c * $F[1]' |
    perl "$tree/tests/tools/fid_file.pl" nifti dims=1,1,1,1024,8 \
    json='{"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "dim_5": "DIM_DYN"}' >drift.nii
status 0 "$programs/varokel-import" drift.nii -o drift --average dyn
holds err 'the mean over DIM_DYN keeps'
holds err '--align-averages turns them first'
points 8 4 | signal counted.f32
about=(--points 1024 --dwell 0.0005 --frequency 123.25 --nucleus 1H --axis falling)
status 0 "$programs/varokel-import" counted.f32 "${about[@]}" -o counted --average spectrum
holds err 'the mean over spectrum keeps'
holds err '--dimensions DIM_COIL=N,DIM_DYN with --combine-coils'
status 0 "$programs/varokel-import" counted.f32 "${about[@]}" -o named --dimensions DIM_COIL=4,DIM_DYN --combine-coils --align-averages
lacks err 'keeps'
true_that 'the area of the file that names its dimensions' perl -e 'exit !(abs($ARGV[0] / $ARGV[1] - 1) < 0.001)' -- \
    "$(snr named/counted.json averages_aligned snr)" "$(snr run/raw.json averages_aligned snr)"
printf '{"n_points": 1024, "dwell_time_s": 0.0005, "spectrometer_MHz": 123.25, "dimensions": "DIM_COIL=4,DIM_DYN=8"}' >counted.json
status 0 "$programs/varokel-import" counted.f32 -o said --combine-coils --align-averages
holds err '4 coils combined'
for wrong in DIM_COIL=3,DIM_DYN DIM_COIL=4 DIM_COIL,DIM_DYN DIM_COIL=4,DIM_COIL coil=4,DIM_DYN DIM_COIL=0,DIM_DYN \
    DIM_COIL=999999999999999999999,DIM_DYN DIM_COIL=1000000,DIM_DYN=1000000 ','; do
    status 2 "$programs/varokel-import" counted.f32 -o none --dimensions "$wrong" --combine-coils
    holds err "--dimensions $wrong"
done
status 2 "$programs/varokel-import" raw.nii -o none --dimensions DIM_COIL=4,DIM_DYN --combine-coils
holds err 'names its dimensions itself'
rm counted.json
status 2 "$programs/varokel-import" counted.f32 "${about[@]}" -o none --combine-coils
holds err '--dimensions names those of its 32 FIDs'

# nothing to put together
points 1 1 | perl "$tree/tests/tools/fid_file.pl" nifti >single.nii
status 2 "$programs/varokel-import" single.nii -o none --combine-coils
holds err 'has no dimension DIM_COIL of several FIDs'
status 2 "$programs/varokel-import" single.nii -o none --align-averages
holds err 'has no dimension DIM_DYN of several FIDs'
# points that are no numbers are named with the options as without
perl -e 'open my $f, "+<", "raw.nii" or die; binmode $f; my $size = -s $f; seek $f, $size - 800, 0; print $f pack("f<", "nan")'
status 3 "$programs/varokel-import" raw.nii -o none --combine-coils --align-averages
holds err 'DIM_COIL 3, DIM_DYN 7'
finish
