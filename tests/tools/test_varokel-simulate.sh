#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
simulate=$programs/varokel-simulate

common_habits varokel-simulate

# start NAME POINTS NOISTP AREA: control file of a Lorentzian at 50 Hz, 2 points wide, 30 degrees, and
# of a Voigt line of half its area at 95 Hz, 8.35 Hz (Gaussian) and 5 Hz wide, tied to it by its area
start() {
    half=$(awk -v a="$4" 'BEGIN { print a / 2 }')
    start_file n_pnts="$2" noistp="$3" Hz_p_p=5.0 clcerr=0 "@ 2 $2 1 1 1 1 1 0 1 0 100 2 1 0 20" \
        "2 $4 50 0/1 30 2" "3 $half/1 95 8.35 30/1 5" >"$1"
}

# Without noise: the sum of the two lines, summed and transformed by definition. Gaussian width
# 8.35 Hz / 5 Hz / 1.67 = 1 point.
start small.par 32 32 3
status 0 "$simulate" small.par -o small.bin --noise 0 --seed 1 --truth small.json
holds out small.bin
holds out small.json
awk 'BEGIN {
    pi = 3.14159265358979312; N = 32
    for (n = 0; n < N; n++) {
        t = n / N
        a = 3 * exp(-pi * 2 * t); w = 2 * pi * (10 + N / 2) * t + pi / 6
        b = 1.5 * exp(-pi * pi * t * t - pi * 1 * t); v = 2 * pi * (19 + N / 2) * t + pi / 6
        re[n] = a * cos(w) + b * cos(v); im[n] = a * sin(w) + b * sin(v)
    }
    re[0] /= 2; im[0] /= 2
    for (i = 0; i < N; i++) {
        j = (i + N / 2) % N; x = y = 0
        for (n = 0; n < N; n++) {
            p = -2 * pi * j * n / N
            x += re[n] * cos(p) - im[n] * sin(p); y += re[n] * sin(p) + im[n] * cos(p)
        }
        printf "%.9e %.9e\n", x / N, y / N
    }
}' >wanted
# near TOLERANCE: values of a signal against the file wanted
near() {
    paste - wanted | awk -v t="$1" '
    { a = $1 - $3; b = $2 - $4; if (a * a + b * b > t * t) bad = 1 } END { exit bad || NR < 32 }'
}
# values up to 1; single precision of the file, and of the widths as they were read
values small.bin | near 2e-7
true_that 'model by definition' test $? -eq 0
for item in '"points": 32' '"noise_sd": 0.0' '"seed": 1' '"type": "Lorentzian"' '"area": 3.0' \
    '"frequency_hz": 95.0' '"width2_points": 2.0' '"width2_hz": 5.0' '"phase_degrees": 30.0'; do
    holds small.json "$item"
done

# The noise of seed 42 by a second way: 64-bit integers of the shell, logarithm of awk.
mix() {
    local state=$1 z
    for _ in 1 2 3 4 5 6 7 8 9 10 11 12; do
        state=$((state + 0x9e3779b97f4a7c15))
        z=$state
        z=$(((z ^ ((z >> 30) & 0x3ffffffff)) * 0xbf58476d1ce4e5b9))
        z=$(((z ^ ((z >> 27) & 0x1fffffffff)) * 0x94d049bb133111eb))
        z=$((z ^ ((z >> 31) & 0x1ffffffff)))
        echo $(((z >> 11) & 0x1fffffffffffff))
    done
}
mix 42 | awk '
{ u = $1 / 4503599627370496 - 1
  if (NR % 2) { a = u; next }
  s = a * a + u * u; if (s >= 1) next
  f = 1000 * sqrt(-2 * log(s) / s); printf "%.9e %.9e\n", a * f, u * f }' >wanted
start faint.par 4096 4096 1e-6
status 0 "$simulate" faint.par -o faint.bin --noise 1000 --seed 42
lines=$(wc -l <wanted)
true_that 'some deviates to compare' test "$lines" -ge 3
values faint.bin | head -"$lines" | paste - wanted | awk '
{ a = $1 - $3; b = $2 - $4; if (a * a + b * b > 1e-6 * ($3 * $3 + $4 * $4)) bad = 1 } END { exit bad }'
true_that 'noise of seed 42' test $? -eq 0

# sd and mean of 4096 points: within five standard errors, 1/sqrt(2 4096) and 1/sqrt(4096)
values faint.bin | awk '{ r += $1; i += $2; rr += $1 * $1; ii += $2 * $2; ri += $1 * $2 }
function far(x, limit) { return x < -limit || x > limit }
END { n = NR; exit n != 4096 || far(sqrt(rr / n) - 1000, 56) || far(sqrt(ii / n) - 1000, 56) ||
    far(r / n, 79) || far(i / n, 79) || far(ri / n, 79000) }'
true_that 'spread, mean and independence of the parts' test $? -eq 0
status 0 "$simulate" faint.par -o again.bin --noise 1000 --seed 42
true_that 'same seed, same bytes' cmp -s faint.bin again.bin
status 0 "$simulate" faint.par -o other.bin --noise 1000 --seed 43
true_that 'other seed, other bytes' test -n "$(cmp faint.bin other.bin 2>&1)"

# a file of the old format holds its model, too: an area of 10 is the first point of the decay, half of
# which is the mean of the real parts times their number
status 0 "$simulate" "$tree/tests/cli/old_format_file/input/start.par" -o old.bin --noise 0 --seed 1
values old.bin | awk '{ sum += $1 } END { exit sum < 4.99999 || sum > 5.00001 }'
true_that 'area of an old file' test $? -eq 0

# a noise window behind the fitted points holds noise only
start behind.par 32 64 3
status 0 "$simulate" behind.par -o behind.bin --noise 0 --seed 1
true_that '64 points' test "$(values behind.bin | wc -l)" -eq 64
true_that 'nothing behind the fitted points' test "$(values behind.bin | sed -n '33,64p' | awk '$1 || $2' | wc -l)" -eq 0
cmp -s -n 256 behind.bin small.bin
true_that 'the fitted points as before' test $? -eq 0

# FIDs: NIfTI-MRS and float32, read back, are the same spectra; the seed rises by 1 from one to the next
import=$programs/varokel-import
about=(--frequency 120.3 --nucleus 31P)
for seed in 7 8 9 10; do
    status 0 "$simulate" small.par -o seed_$seed.bin --noise 0.1 --seed $seed
done
same() { # single precision of FID and spectrum, values up to 3
    status 0 "$programs/varokel-compare" "$1" "$2" --signal --rel 1e-6 --abs 1e-6
}
status 0 "$simulate" small.par -o one.nii --noise 0.1 --seed 7 "${about[@]}" --truth one.json
holds out one.nii
status 0 "$import" one.nii -o read --noise 1:3
same read/one.bin seed_7.bin
for item in '"points": 32' '"hz_per_point": 5.0' '"spectrometer_mhz": 120.3' '"nucleus": "31P"' \
    '"ppm_rises_with_points": false' '"conjugated": false'; do
    holds read/one.json "$item"
done
lacks read/one.json begin_time
true_that 'no guess but the carrier' test "$(grep -c '"item":' read/one.json)" -eq 1
status 0 "$simulate" small.par -o some.nii.gz --noise 0.1 --seed 7 "${about[@]}" --count 3 --truth some.json
holds some.json '"spectra": 3'
status 0 "$import" some.nii.gz -o read --index DIM_DYN=all
for k in 0 1 2; do same read/some_dyn$k.bin seed_$((7 + k)).bin; done
status 0 "$simulate" small.par -o grid.nii --noise 0.1 --seed 7 "${about[@]}" --grid 2,1,2
status 0 "$import" grid.nii -o read
same read/grid_1_0_0.bin seed_8.bin
same read/grid_0_0_1.bin seed_9.bin
same read/grid_1_0_1.bin seed_10.bin
status 0 "$simulate" small.par -o same.nii.gz --noise 0.1 --seed 7 "${about[@]}" --count 3
true_that 'same seed, same bytes' cmp -s some.nii.gz same.nii.gz
sed 's/phi__1 0.0/phi__1 720/' small.par >late.par
status 0 "$simulate" late.par -o late.nii --noise 0.1 --seed 7 "${about[@]}"
status 0 "$import" late.nii -o read
# two points of 1 / (32 5 Hz)
holds read/late.json '"begin_time_s": 0.0125'
holds out 'phi__1 720'
status 0 "$simulate" small.par -o plain.fid.f32 --noise 0.1 --seed 8 --count 2 --ppm-at-carrier 2.5 "${about[@]}"
holds out plain.json
status 0 "$import" plain.fid.f32 -o read --index 1
same read/plain_1.bin seed_9.bin
holds read/plain_1.json '"ppm_at_carrier": 2.5'
holds read/plain_1.json '"ppm_rises_with_points": false'
status 4 "$simulate" small.par -o plain.fid.f32 --noise 0.1 --seed 8
status 4 "$simulate" small.par -o one.nii --noise 0.1 --seed 7 "${about[@]}"

status 2 "$simulate" small.par -o x.nii --noise 1 --seed 1
holds err '--frequency MHZ and --nucleus NAME'
status 2 "$simulate" small.par -o x.bin --noise 1 --seed 1 --count 2
status 2 "$simulate" small.par -o x.bin --noise 1 --seed 1 --nucleus 1H
status 2 "$simulate" small.par -o x.f32 --noise 1 --seed 1 --grid 2,2,2
# the chemical shift of the carrier goes with the points
if "$simulate" small.par -o carrier.nii.gz --noise 0.1 --seed 8 --ppm-at-carrier 2.5 "${about[@]}" 2>err; then
    status 0 "$programs/varokel-import" carrier.nii.gz -o carrier
    holds carrier/carrier.json '"ppm_at_carrier": 2.5'
    lacks err 'guess'
fi
# The sense of the ppm axis, and the noise window (points 20 to 29), which comes along either way.
sed 's/^noistr 0/noistr 20/; s/^noistp .*/noistp 30/' small.par >window.par
for sense in falling rising; do
    status 0 "$simulate" window.par -o $sense.f32 --noise 0.1 --seed 8 --axis $sense "${about[@]}" --ppm-at-carrier 2.5
    status 0 "$programs/varokel-import" $sense.f32 -o $sense
    holds $sense/$sense.json "\"ppm_rises_with_points\": $([ $sense = rising ] && echo true || echo false)"
    lacks err 'guess'
    "$simulate" window.par -o $sense.nii.gz --noise 0.1 --seed 8 --axis $sense "${about[@]}" --ppm-at-carrier 2.5 2>err >out || continue
    status 0 "$programs/varokel-import" $sense.nii.gz -o grid_$sense
    holds grid_$sense/$sense.json '"chosen_by": "metadata"'
    tr -d ' \n' <grid_$sense/$sense.json >one_line
    [ $sense = falling ] && holds one_line '"noise_window":{"first":20,"stop":30,'
    # point i is stored as 32 - i
    [ $sense = rising ] && holds one_line '"noise_window":{"first":3,"stop":13,'
done
true_that 'the same points' cmp falling.f32 rising.f32
status 2 "$simulate" small.par -o x.bin --noise 1 --seed 1 --axis rising
status 2 "$simulate" small.par -o x.bin --noise 1 --seed 1 --format nifti "${about[@]}"
status 2 "$simulate" small.par -o x.nii --noise 1 --seed 1 --format bin
status 2 "$simulate" small.par -o x.nii --noise 1 --seed 1 "${about[@]}" --count 0
for grid in 2,2 0,1,1 2,2,2,2 a,b,c 2,2,2000 2,2,-1; do
    status 2 "$simulate" small.par -o x.nii --noise 1 --seed 1 "${about[@]}" --grid $grid
done
status 2 "$simulate" small.par -o x.f32 --noise 1 --seed 1 --truth x.json
status 3 "$simulate" behind.par -o x.nii --noise 1 --seed 1 "${about[@]}"
holds err 'expected --format bin'
true_that 'nothing written' test ! -e x.nii -a ! -e x.f32 -a ! -e x.bin

# nothing is overwritten unasked, no input ever, the start file stays as it is
cp small.bin kept
cp small.par par_kept
status 4 "$simulate" small.par -o small.bin --noise 1 --seed 1
status 4 "$simulate" small.par -o new.bin --truth small.json --noise 1 --seed 1
true_that 'no half of the output' test ! -e new.bin
status 4 "$simulate" small.par -o small.par --noise 1 --seed 1 --force
true_that 'refused output is as it was' cmp -s kept small.bin
status 0 "$simulate" small.par -o small.bin --noise 1 --seed 1 --force
true_that 'start file untouched' cmp -s small.par par_kept
status 4 "$simulate" small.par -o no/such/small.bin --noise 1 --seed 1

# what is no start value file
status 3 "$simulate" missing.par -o x.bin --noise 1 --seed 1
holds err 'missing.par: no such file'
sed 's/algor/Algor/' small.par >bad.par
status 3 "$simulate" bad.par -o x.bin --noise 1 --seed 1
holds err 'bad.par'
holds err '"Algor"'
true_that 'what is wrong is no result' test ! -s out
sed 's/n_pnts 32/n_pnts 33/' small.par >bad.par
status 3 "$simulate" bad.par -o x.bin --noise 1 --seed 1
sed 's/fit_mo 1/fit_mo 2/' small.par >bad.par
status 3 "$simulate" bad.par -o x.bin --noise 1 --seed 1
holds err 'fit_mo is 2'
start zero.par 32 32 0
status 3 "$simulate" zero.par -o x.bin --noise 1 --seed 1
holds err 'entry 2: area follows'
holds err 'not finite'
: >empty.par
status 3 "$simulate" empty.par -o x.bin --noise 1 --seed 1
true_that 'no output of a bad input' test ! -e x.bin
status 2 "$simulate" small.par -o x.bin --noise -1 --seed 1
status 2 "$simulate" small.par -o x.bin --noise 1
status 2 "$simulate" small.par --noise 1 --seed 1

finish
