#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# A line of known shift sets the ppm axis: import, start values, fit, page and batch agree on it.
. "$(dirname "$0")/harness.sh"

# item FILE NAME: a number of a JSON
item() { sed -n "s/^ *\"$2\": \([-0-9.e]*\),\{0,1\}$/\1/p" "$1" | head -n 1; }
near() { perl -e 'exit !(abs($ARGV[0] - $ARGV[1]) <= $ARGV[2])' -- "$1" "$2" "$3"; }

# fid OFFSET_PPM SCALE: NAA and Cr at 3 T, all lines OFFSET_PPM off the axis, with noise
fid() {
    perl -e '
        my ($off, $scale, $mhz, $dwell) = (@ARGV, 123.25, 0.0005);
        srand(int(1000 * ($off + 5)));
        my $pi = atan2(0, -1);
        for my $k (0 .. 1023) {
            my ($re, $im) = (0, 0);
            for (["2.01", 3], ["3.03", 2]) {
                my $w = -2 * $pi * ($_->[0] + $off - 4.65) * $mhz * $k * $dwell + 0.4;
                my $a = $scale * $_->[1] * exp(-$pi * 4 * $k * $dwell);
                $re += $a * cos $w; $im += $a * sin $w;
            }
            my $r = 0.05 * sqrt(-2 * log(1 - rand)); my $f = 2 * $pi * rand;
            printf "%.9g %.9g\n", $re + $r * cos $f, $im + $r * sin $f;
        }' -- "$1" "$2"
}
cat >peaks.txt <<'TEXT'
name  type     frequency[ppm]  lorentz[Hz]  phase
NAA   lorentz  2.01            5            ?
Cr    lorentz  3.03            =NAA         =NAA
interval: 1.7 to 3.4 ppm
reference: NAA 2.01 ppm
TEXT
sed '/^reference/d' peaks.txt >bare.txt

fid -0.21 1 | perl "$tree/tests/tools/fid_file.pl" nifti >phantom.nii
# ---- import ----
status 0 "$programs/varokel-import" phantom.nii -o given --reference-peak 'NAA 2.01 ppm'
holds err 'NAA, known at 2.01 ppm, was found at 1.8'
holds err 'all ppm rise by 0.2'
holds err 'guessed reference_peak.within_ppm 0.3 ppm'
lacks err 'guessed ppm_at_carrier'
true_that 'the axis moved' near "$(item given/phantom.json ppm_at_carrier)" 4.86 0.001
true_that 'and the sidecar says by how much' near "$(item given/phantom.json shift_ppm)" 0.21 0.001
status 0 "$programs/varokel-import" phantom.nii -o wide --reference-peak '2.01+-0.4'
lacks err 'within_ppm'
status 3 "$programs/varokel-import" phantom.nii -o none --reference-peak 'NAA 2.4 ppm +- 0.1'
holds err 'NAA: no peak above the noise within 0.1 ppm of 2.4 ppm'
true_that 'nothing written' test ! -e none
status 2 "$programs/varokel-import" phantom.nii -o none --reference-peak 'NAA ppm'
holds err 'found "ppm"; expected the chemical shift'
status 2 "$programs/varokel-import" phantom.nii -o none --reference-peak '2.01 +- 0'

# the page before the fit says it, too
status 0 "$programs/varokel-fit" phantom.nii peaks.txt -o look --look
holds look/look.html '<h2>Done before the fit</h2><ul><li>NAA, known at 2.01 ppm, was found at 1.8'

# ---- start values: an axis that the import did not set is set for the table alone ----
status 0 "$programs/varokel-start" peaks.txt -d given/phantom.bin -o given.par
lacks err 'reference'
status 0 "$programs/varokel-import" phantom.nii -o plain
status 0 "$programs/varokel-start" peaks.txt -d plain/phantom.bin -o plain.par
holds err 'all ppm rise by 0.2'
holds err 'plain/phantom.json stays as it is'
# the spectrum on disk has single precision, so the last digits differ
frequency() { awk '$1 == 1 && NF > 4 { print $3; exit }' "$1"; }
true_that 'the same start frequency' near "$(frequency given.par)" "$(frequency plain.par)" 0.001

# ---- the whole way: ppm of the results, the page, the table of quality ----
status 0 "$programs/varokel-fit" phantom.nii peaks.txt -o run
holds err 'NAA, known at 2.01 ppm, was found at 1.8'
true_that 'NAA where it was said to be' \
    perl -ne '$f = 1 if /^NAA .* (\S+)\s+-\s/ && abs($1 - 2.01) < 0.002; END { exit !$f }' <(grep '^NAA' out)
holds run/report.html 'NAA, known at 2.01 ppm, was found at 1.8'
status 0 "$programs/varokel-fit" phantom.nii bare.txt -o option --reference-peak 'NAA 2.01 ppm'
true_that 'row and option say the same' cmp run/results.tsv option/results.tsv
status 2 "$programs/varokel-fit" phantom.nii peaks.txt -o both --reference-peak 'Cr 3.03 ppm'
holds err 'expected one of them'

# ---- a series has one axis, held against all its spectra ----
cat <(fid -0.21 1) <(fid -0.21 2) <(fid -0.10 1) <(fid -0.21 0) <(fid -0.21 1) >all.txt
# one voxel: the points of an FID stand together
perl "$tree/tests/tools/fid_file.pl" nifti dims=1,1,1,1024,5 \
    json='{"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "dim_5": "DIM_USER_0"}' <all.txt >series.nii
status 0 "$programs/varokel-import" series.nii -o series --index all --reference-peak 'NAA 2.01 ppm'
holds err '1 of the 4 spectra with a peak there have it more than its width from the common place'
true_that 'one axis for all' test "$(cat series/*.json | grep '"ppm_at_carrier"' | sort -u | wc -l)" -eq 1
true_that 'that of the most' near "$(item series/series_user_02.json ppm_at_carrier)" 4.86 0.002
status 0 "$programs/varokel-batch" plan series.nii --peaks peaks.txt -o batch --index all
holds err 'all ppm rise by 0.2'
true_that 'the batch has the axis of the import' \
    test "$(item series/series_user_02.json ppm_at_carrier)" = "$(item batch/sidecar.json ppm_at_carrier)"
finish
