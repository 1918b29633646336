#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Grids and higher dimensions: which FID becomes which spectrum, and means over a dimension.
. "$(dirname "$0")/harness.sh"
import=$programs/varokel-import
write() { perl "$tree/tests/tools/fid_file.pl" "$@"; }

# FID number s has 16 points that tell where they come from; exact in single precision.
# fid S: its points
fid() { perl -e '$s = shift; print $s + 1 + $_ / 16, " ", ($s + 1) * ($_ % 5) / 8, "\n" for 0 .. 15' "$1"; }
# wanted NAME S...: want/NAME.bin is the spectrum of the mean of these FIDs
wanted() {
    local name=$1
    shift
    perl -e 'for $k (0 .. 15) { $re = $im = 0;
        for (@ARGV) { $re += ($_ + 1 + $k / 16) / @ARGV; $im += ($_ + 1) * ($k % 5) / 8 / @ARGV }
        printf "%.9g %.9g\n", $re, $im }' "$@" | signal "$name.f32"
    status 0 "$import" "$name.f32" -o want --dwell 0.001 --axis falling --force
}
is() { true_that "$1 is the spectrum of $2" cmp -s "$1" "want/$2.bin"; }

# grid of 3 x 2 x 2 voxels, 4 coils, 2 repetitions: points in the order of the file, x fastest, then
# y, z, time, coil, repetition; FID number = voxel + 12 coil + 48 repetition
perl -e 'for $r (0, 1) { for $c (0 .. 3) { for $t (0 .. 15) { for $v (0 .. 11) {
    $s = $v + 12 * $c + 48 * $r; print $s + 1 + $t / 16, " ", ($s + 1) * ($t % 5) / 8, "\n" } } } }' >points
json='{"SpectrometerFrequency": [100], "ResonantNucleus": ["1H"], "dim_5": "DIM_COIL", "dim_6": "DIM_DYN"}'
write nifti dims=3,2,2,16,4,2 dwell=0.001 json="$json" <points >grid.nii
gzip -k grid.nii

for file in grid.nii grid.nii.gz; do
    status 2 "$import" $file -o run
    holds err 'DIM_COIL holds 4 spectra; choose one with --index DIM_COIL=0 to 3'
    holds err '--average DIM_COIL'
    status 2 "$import" $file -o run --index DIM_COIL=1
    holds err 'DIM_DYN holds 2'
    true_that 'nothing written' test ! -e run
    status 0 "$import" $file -o run --index DIM_COIL=1 --index dyn=1 --voxel 2,1,0
    wanted one $((5 + 12 + 48))
    is run/grid_2_1_0_coil1_dyn1.bin one
    holds run/grid_2_1_0_coil1_dyn1.json '"DIM_COIL": 1'
    true_that 'one spectrum' test "$(ls run | wc -l)" -eq 2
    rm -r run
    status 0 "$import" $file -o run --index dim_5=3 --average DIM_DYN
    true_that 'all voxels' test "$(ls run/*.bin | wc -l)" -eq 12
    for v in 0 7 11; do
        wanted mean $((v + 36)) $((v + 36 + 48))
        is run/grid_$((v % 3))_$((v / 3 % 2))_$((v / 6))_coil3.bin mean
    done
    holds run/grid_0_0_0_coil3.json '"DIM_DYN": 2'
    rm -r run
    status 0 "$import" $file -o run --average coil --average dyn --voxel 0,0,1
    holds err 'with unlike phases'
    wanted all 6 18 30 42 54 66 78 90
    is run/grid_0_0_1.bin all
    status 0 "$import" $file -o each --index coil=all --index dyn=all --voxel 1,0,0
    true_that 'eight spectra' test "$(ls each/*.bin | wc -l)" -eq 8
    wanted single $((1 + 24 + 48))
    is each/grid_1_0_0_coil2_dyn1.bin single
    rm -r run each
done
status 2 "$import" grid.nii -o run --index DIM_COIL=4 --index dyn=0
holds err 'last of its 4 spectra has index 3'
status 2 "$import" grid.nii -o run --index DIM_EDIT=0
holds err 'no such dimension; the file has x, y, z, DIM_COIL, DIM_DYN'
status 2 "$import" grid.nii -o run --index 1
holds err 'several dimensions'
status 2 "$import" grid.nii -o run --index coil=one --index dyn=0
status 2 "$import" grid.nii -o run --average coil --average dyn --voxel 3,0,0
holds err 'expected x from 0 to 2'
status 2 "$import" grid.nii -o run --average coil --average dyn --voxel 1,0
status 2 "$import" grid.nii -o run --average coil --index coil=1

# voxels outside of the head are zero: passed over when all are taken, not when one is asked for
perl -e 'for $t (0 .. 15) { print $_ == 1 ? "0 0\n" : $_ + 1 + $t / 16 . " " . ($_ + 1) * ($t % 5) / 8 . "\n" for 0 .. 2 }' |
    write nifti dims=3,1,1,16 dwell=0.001 >masked.nii
status 0 "$import" masked.nii -o run
holds err 'passed over 1 voxels'
true_that 'two spectra' test "$(ls run/*.bin | wc -l)" -eq 2
wanted last 2
is run/masked_2_0_0.bin last
status 0 "$import" masked.nii -o run --voxel 1,0,0
perl -ne 'print "0 0\n"' <<<"$(seq 3)" | write nifti dims=3,1,1,1 >zero.nii
status 3 "$import" zero.nii -o run
holds err 'all voxels are zero'

# a reading that fails late leaves nothing, not even of the spectra before
perl -e 'for $t (0 .. 15) { print $_ == 2 && $t == 3 ? "nan 1\n" : "1 $_\n" for 0 .. 2 }' |
    write nifti dims=3,1,1,16 >late.nii
status 3 "$import" late.nii -o late
holds err 'late.nii: 1 point is not a finite number (nan or inf): voxel 2,0,0 point 3, counted from 0'
true_that 'nothing is left' test ! -e late
status 0 "$import" late.nii -o late --voxel 0,0,0

# several FIDs in the other formats
{ fid 0; fid 1; fid 2; } >three
write jmrui datasets=3 dwell=0.001 <three >three.txt
write sdat <three >three.SDAT
write spar rows=3 dwell=0.001 <three >three.SPAR
write rda grid=3,1,1 dwell=0.001 <three >three.rda
write raw <three >three.RAW
write text <three >lines.csv
wanted second 1
wanted mean3 0 1 2
for file in three.txt three.SDAT three.RAW lines.csv; do
    about=()
    case $file in three.RAW | lines.csv) about=(--points 16 --dwell 0.001) ;; esac
    stem=${file%.*}
    status 2 "$import" $file -o $file.run "${about[@]}"
    holds err '--index 0 to 2'
    status 0 "$import" $file -o $file.run "${about[@]}" --index 1
    is $file.run/${stem}_1.bin second
    status 0 "$import" $file -o $file.all "${about[@]}" --index all
    is $file.all/${stem}_1.bin second
    true_that 'three spectra' test "$(ls $file.all/*.bin | wc -l)" -eq 3
    axis=spectrum
    [ $file = three.SDAT ] && axis=rows
    status 0 "$import" $file -o $file.mean "${about[@]}" --average $axis
    # a third is not exact: rounding of single precision
    status 0 "$programs/varokel-compare" $file.mean/$stem.bin want/mean3.bin --signal --rel 1e-6
done
status 0 "$import" three.rda -o rda
is rda/three_1_0_0.bin second
status 2 "$import" three.SDAT -o run --voxel 0,0,0
holds err 'has no grid'
status 2 "$import" three.SDAT -o run --points 5 --index 0
holds err 'the file says 16 points'

# phase: 90 degrees turn the real part of the FID into the imaginary one; auto makes point 0 real
status 0 "$import" one.f32 -o phase --dwell 0.001 --phase 90
perl -e 'print -(($_ % 5) * 66 / 8), " ", 66 + $_ / 16, "\n" for 0 .. 15' | signal turned.f32
status 0 "$import" turned.f32 -o phase --dwell 0.001
status 0 "$programs/varokel-compare" phase/one.bin phase/turned.bin --signal --abs 1e-5 --rel 1e-6
holds phase/one.json '"phase_applied_degrees": 90.0'
status 0 "$import" turned.f32 -o phase --dwell 0.001 --phase auto --force
holds phase/turned.json '"phase_applied_degrees": -90.0'
status 2 "$import" one.f32 -o phase --dwell 0.001 --phase some --force

# length
status 0 "$import" one.f32 -o length --dwell 0.001 --resize cut
holds length/one.json '"points": 16'
head -c 96 one.f32 >twelve.f32
status 0 "$import" twelve.f32 -o length --dwell 0.001 --resize fill
holds length/twelve.json '"how": "filled with zeros"'
status 0 "$import" twelve.f32 -o length --dwell 0.001 --resize cut --force
holds length/twelve.json '"how": "cut"'
holds length/twelve.json '"points": 8'
status 2 "$import" twelve.f32 -o length --dwell 0.001 --resize some --force

# noise
status 0 "$import" one.f32 -o noise --dwell 0.001 --noise 3:9
holds noise/one.json '"chosen_by": "option"'
holds out 'noistp 10'
status 2 "$import" one.f32 -o noise --dwell 0.001 --noise 3:16 --force
# white noise that a receiver halves in the outer quarter at each side, a line in the middle: the
# stretch is neither at the edge nor on the line
perl -e 'srand 3; for $k (0 .. 255) { for $c (0, 1) { $x = -6; $x += rand for 1 .. 12; $s[$k][$c] = $x / 100 } }
    for $k (0 .. 255) { $f = $k < 64 || $k >= 192 ? 0.5 : 1; $s[$k][$_] *= $f for 0, 1;
        $d = ($k - 128) / 2; $s[$k][0] += 10 / (1 + $d * $d) }
    for $t (0 .. 255) { $re = $im = 0;
        for $k (0 .. 255) { $w = 6.283185307179586 * ($k - 128) * $t / 256;
            $re += $s[$k][0] * cos($w) - $s[$k][1] * sin($w); $im += $s[$k][0] * sin($w) + $s[$k][1] * cos($w) }
        print "$re $im\n" }' | signal filtered.f32
status 0 "$import" filtered.f32 -o noise --dwell 0.001
first=$(sed -n 's/^noistr //p' out)
true_that "stretch from $first on is inside the band" test "$first" -ge 32 -a "$first" -le 192

# a grid larger than what is held at once: 12 x 12 voxels of 8192 points in seven passes
perl -e '$n = 8192; $v = 144; for $t (0 .. $n - 1) { print pack "f<*", map { ($_ + 1) / (1 + $t), $t == 1 ? $_ : 0 } 0 .. $v - 1 }' >large.points
write nifti dims=12,12,1,8192 </dev/null >large.nii
cat large.points >>large.nii
gzip -1 large.nii
status 0 "$import" large.nii.gz -o large --memory 3
true_that '144 spectra' test "$(ls large/*.bin | wc -l)" -eq 144
perl -e 'print +(101) / (1 + $_), " ", $_ == 1 ? 100 : 0, "\n" for 0 .. 8191' | signal hundred.f32
status 0 "$import" hundred.f32 -o want --dwell 0.0005
status 0 "$programs/varokel-compare" large/large_4_8_0.bin want/hundred.bin --signal --rel 1e-6 --abs 1e-9
status 0 "$import" large.nii.gz -o once
true_that 'passes make no difference' diff -rq large once

# Storage does not grow with the file: 38 MB of points, 75 in double precision, in 64 MiB of address space.
# A build with sanitizers needs terabytes of it, and is passed over.
limited() { (ulimit -v 65536 && exec "$@"); }
if limited "$import" --version >/dev/null 2>&1; then
    write nifti dims=24,24,1,8192 </dev/null >big.nii
    perl -e 'binmode STDOUT; print pack("f<2", 1 / (1 + $_), $_ % 7) x 576 for 0 .. 8191' >>big.nii
    status 0 limited "$import" big.nii -o big --memory 8
    true_that '576 spectra' test "$(find big -name '*.bin' | wc -l)" -eq 576
    status 3 limited "$import" big.nii -o bigger --memory 512
    holds err 'not enough memory'
fi

# NAA, creatine and choline in the other sense: the advice puts them where they belong
perl -e 'print " \$NMID\n FMTDAT=\x27(2E16.8)\x27\n VOLUME=1.0\n TRAMP=1.0\n \$END\n";
    for my $k (0 .. 1023) { my ($re, $im) = (0, 0);
        for my $ppm (2.01, 3.03, 3.22) { my $turn = 6.283185307 * ($ppm - 4.65) * 123.25 * $k / 2000;
            $re += exp(-$k / 200) * cos $turn; $im += exp(-$k / 200) * sin $turn }
        printf "%16.8E%16.8E\n", $re, $im }' >other.RAW
about_other=(--bandwidth 2000 --frequency 123.25 --nucleus 1H --ppm-at-carrier 4.65)
status 0 "$import" other.RAW -o other "${about_other[@]}"
holds err 'fit the mirrored axis better'
advice=$(grep -oE -- '--axis (rising|falling)' err | head -n 1)
# shellcheck disable=SC2086
status 0 "$import" other.RAW -o other $advice "${about_other[@]}" --force
lacks err 'mirrored'

finish
