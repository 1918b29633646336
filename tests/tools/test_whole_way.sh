#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# From an FID to a picture, as the README has it: import, fit, plot. The FID is that of two decaying
# oscillations with noise, so the result is known.
. "$(dirname "$0")/harness.sh"

# 512 points of 0.5 ms, so 3.90625 Hz a point. Line 1: 10 at 100 Hz, 8 Hz wide; line 2: 5 at -60 Hz,
# 12 Hz wide; both at 25 degrees. Noise of 0.05 a channel (sum of 12 uniform deviates).
awk 'BEGIN {
    pi = 3.14159265358979312; srand(7)
    for (k = 0; k < 512; k++) {
        t = k * 0.0005; re = im = -6
        for (i = 0; i < 12; i++) { re += rand(); im += rand() }
        a = 10 * exp(-pi * 8 * t); w = 2 * pi * 100 * t + 25 * pi / 180
        b = 5 * exp(-pi * 12 * t); v = 2 * pi * -60 * t + 25 * pi / 180
        printf "%.9e %.9e\n", a * cos(w) + b * cos(v) + 0.05 * re, a * sin(w) + b * sin(v) + 0.05 * im
    }
}' | signal brain.fid.f32

status 0 "$programs/varokel-import" brain.fid.f32 -o run --dwell 0.0005 --frequency 100 --ppm-at-carrier 0
noise=$(sed -n 's/^noistr //p' out)
noise_end=$(sed -n 's/^noistp //p' out)
holds out 'Hz_p_p 3.90625'

# start values some way off: frequency + 256 points of 3.90625 Hz = + 1000 Hz; widths in points
start_file n_pnts=512 noistr="$noise" noistp="$noise_end" Hz_p_p=3.90625 f__tol=1e-9 verbos=1 \
    '@ 2 512 1 1 0 1 1 0 1 0 200 2 1 0 511' '@ 2 512 1 1 0 1 1 0 1 0 200 2 1 0 511' \
    '2 7 1102 0/1 10 3' '2 7 938 0/2 10/1 3' >start.par
status 0 "$programs/varokel" run brain.bin start.par
holds out ' error values'
true_that 'there is a result' test -s run/brain.mat
# Within four of the errors that the fit itself gives, which are two standard deviations each: so
# eight of them, for any noise. The widths are in points.
paste run/brain.mat run/brain.err | awk '
BEGIN {
    split("10 1100 0 25 2.048", want1); split("5 940 0 25 3.072", want2)
}
{
    for (j = 1; j <= 5; j++) {
        want = NR == 1 ? want1[j] : want2[j]; d = $j - want; limit = 4 * $(j + 5) + 1e-6
        if (j == 1 && $6 > 0.5) { print "row " NR ": error of the area " $6; bad = 1 }
        if (j != 3 && $(j + 5) <= 0 || d > limit || d < -limit) { print "row " NR " column " j ": " $0; bad = 1 }
    }
}
END { exit bad || NR != 2 }'
true_that 'the fit finds what was put in' test $? -eq 0

status 0 "$programs/varokel-plot" run/brain -o brain.svg --components
true_that 'three signals and two components' test "$(grep -c '<polyline' brain.svg)" -eq 5
holds brain.svg 'chemical shift (ppm)'

# a second run of the same input repeats the first, but for the time of its files
mkdir second
cp run/brain.bin second/
cp compact.par first_compact.par
status 0 "$programs/varokel" second brain.bin start.par
for ending in org fit res fit0 nln0 cor mat err; do
    true_that "the second $ending is the first" cmp -s run/brain.$ending second/brain.$ending
done
status 0 "$programs/varokel-compare" compact.par first_compact.par

finish
