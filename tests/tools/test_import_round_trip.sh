#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# A simulated FID through every format into a fit: the same spectrum, and the area, ppm, widths and
# phase that it was made with. The files are written from the descriptions of the formats.
. "$(dirname "$0")/harness.sh"
import=$programs/varokel-import
simulate=$programs/varokel-simulate
write() { perl "$tree/tests/tools/fid_file.pl" "$@" dwell=0.0009765625 mhz=123.25; }

# start NAME FREE LINE1 LINE2: 256 points of 4 Hz, so that the carrier is at 512 Hz; a Lorentzian, whose
# width is in points, and a Voigt line; areas, frequencies, widths and phases are fitted
start() {
    # a Lorentzian has no Gaussian width: its 0 is fixed, tied to its own entry
    start_file n_pnts=256 noistr=4 noistp=60 Hz_p_p=4.0 f__tol=1e-12 '@ 2 256 1 1 1 1 1 0 1 0 300 2 1 60 220' \
        "2 ${2/ 0 / 0/1 }" "3 $3" >"$1"
}
# area, frequency [Hz], Gaussian width [Hz], phase [degrees], Lorentzian width [points; Hz]
start truth.par '12 840 0 25 2.5' '8 420 12 -40 6'
start fit.par '10 838 0 15 2' '9 423 10 -30 8'
# fitted frequencies stand on the axis of NIfTI-MRS: ppm falls with the points
perl -e 'printf "%.6f %.6f\n", map { 4.65 - ($_ - 512) / 123.25 } 840, 420' >ppm

noise=0.01
status 0 "$simulate" truth.par -o simulated.bin --noise $noise --seed 11
status 0 "$simulate" truth.par -o plain.fid.f32 --noise $noise --seed 11
# the numbers of single precision to all their digits, so that no format rounds them
perl -e 'local $/; @v = unpack "f<*", <STDIN>; printf "%.17g %.17g\n", splice @v, 0, 2 while @v' <plain.fid.f32 >fid
true_that 'an FID of 256 points' test "$(wc -l <fid)" -eq 256

status 0 "$simulate" truth.par -o own_64.nii.gz --noise $noise --seed 11 --frequency 123.25 --nucleus 1H
for version in 1 2; do
    for order in little big; do
        for type in 64 128; do
            write nifti version=$version order=$order type=$type <fid >nifti_$version$order$type.nii
        done
    done
done
write sdat <fid >pair.SDAT
write spar <fid >pair.SPAR
write rda <fid >one.rda
write jmrui <fid >jmrui.txt
write raw <fid >voxel.RAW
write text <fid >columns.txt

# lines DIRECTORY NAME: fitted numbers, a row per line: area, ppm, widths, phase, each with its error
number_of_files=0
for file in plain.fid.f32 own_64.nii.gz nifti_*.nii pair.SDAT one.rda jmrui.txt voxel.RAW columns.txt; do
    about=(--noise 4:59)
    case $file in
    *.RAW) about+=(--dwell 0.0009765625 --nucleus 1H) ;;
    columns.txt) about+=(--dwell 0.0009765625 --frequency 123.25 --nucleus 1H --axis falling) ;; # no JSON says it
    plain.fid.f32) about+=(--dwell 0.0009765625 --frequency 123.25 --nucleus 1H) ;;
    esac
    status 0 "$import" "$file" -o imported "${about[@]}"
    name=${file%%.*}
    number_of_files=$((number_of_files + 1))
    # a transform there and back in double precision, the FID and the spectrum in single
    status 0 "$programs/varokel-compare" imported/"$name".bin simulated.bin --signal --rel 1e-6 --abs 1e-6
    [ "$name" = plain ] || true_that "$file and the plain FID are one spectrum" cmp -s imported/plain.bin "imported/$name.bin"

    mkdir "fit_$name"
    cp imported/"$name".bin fit.par "fit_$name"
    status 0 bash -c "cd fit_$name && exec '$programs/varokel' . $name.bin fit.par"
    for item in points hz_per_point spectrometer_mhz ppm_at_carrier ppm_rises_with_points; do
        sed -n "s/^  \"$item\": \(.*\),\$/\1/p" "imported/$name.json"
    done | tr '\n' ' ' >axis
    # rows of .mat and .err: area, frequency, Gaussian width, phase, Lorentzian width
    paste "fit_$name/$name.mat" "fit_$name/$name.err" | awk -v axis="$(cat axis)" '
    BEGIN { n = split(axis, a, " "); if (n != 5) { print "axis: " axis; exit }
            sense = a[5] == "true" ? 1 : -1 }
    { printf "%.6g %.6f %.6g %.6g %.6g", $1, a[4] + sense * ($2 - a[2] * a[1] / 2) / a[3], $3, $4, $5
      printf " %.3g %.3g %.3g %.3g %.3g\n", $6, $7 / a[3], $8, $9, $10 }' >"fit_$name.rows"
    true_that "two lines in fit_$name.rows" test "$(wc -l <"fit_$name.rows")" -eq 2
    [ "$name" = plain ] || true_that "$file: area, ppm, widths and phase as from the plain FID" \
        cmp -s fit_plain.rows "fit_$name.rows"
done
true_that 'every format' test $number_of_files -eq 15

# and the truth: 2 sigma bounds are printed; 4 sigma leave a chance of 1 in 1,500 for ten numbers
awk 'NR == FNR { ppm[NR] = $1 " " $2; split($0, p, " "); next }
{ split(FNR == 1 ? "12 " p[1] " 0 25 2.5" : "8 " p[2] " 12 -40 6", t, " ")
  for (j = 1; j <= 5; j++) { d = $j - t[j]; if (d < 0) d = -d
      if (d > 2 * $(j + 5) + 1e-5) { print "line", FNR, "number", j, $j, "wanted", t[j], "+-", $(j + 5); bad = 1 } }
  rows++ } END { exit bad || rows != 2 }' ppm fit_plain.rows >far
true_that "the fit gives the truth back: $(cat far)" test $? -eq 0 -a ! -s far
true_that 'the bounds say something' awk '$6 > 0 && $6 < 0.1 * $1 && $7 > 0 && $7 < 0.01 { ok++ } END { exit ok != 2 }' fit_plain.rows

# the mirrored sense: the conjugate FID is read with --conjugate, and every ppm is the same
perl -ane 'printf "%.17g %.17g\n", $F[0], -$F[1]' fid | signal mirrored.f32
status 0 "$import" mirrored.f32 -o imported --dwell 0.0009765625 --frequency 123.25 --nucleus 1H \
    --axis rising --conjugate
true_that 'conjugated back' cmp -s imported/plain.bin imported/mirrored.bin
holds imported/mirrored.json '"ppm_rises_with_points": false'

finish
