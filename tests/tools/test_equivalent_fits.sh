#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Start values that are off in ways that leave the model its equal: all lines shifted together, areas
# and phases turned round; and fits that run away.
. "$(dirname "$0")/harness.sh"

fit=$programs/varokel-fit

# cell TABLE NAME COLUMN: of the row of an entry
cell() {
    awk -F '\t' -v name="$2" -v wanted="$3" '
        NR == 1 { for (i = 1; i <= NF; i++) { if ($i == wanted) column = i; if ($i == "name") names = i } }
        NR > 1 && $names == name { print $column }' "$1"
}
# near A B DISTANCE
near() { awk -v a="$1" -v b="$2" -v d="$3" 'BEGIN { exit !(a != "" && a - b < d && b - a < d) }'; }

# Three Lorentzian lines, 512 points, 4 Hz a point: areas 6, 3, 2; 0, 120, -260 Hz, all of them HERTZ
# further up; 15 Hz wide; PHASE degrees; uniform noise of sd 0.15 per channel
# fid_of HERTZ PHASE
fid_of() {
    awk -v shift="$1" -v phase="$2" 'BEGIN { pi = 3.14159265358979312; srand(5)
        split("6 3 2", area, " "); split("0 120 -260", hz, " ")
        for (k = 0; k < 512; k++) { t = k / 2048; re = im = 0
            for (i = 1; i <= 3; i++) {
                a = area[i] * exp(-pi * 15 * t); w = 2 * pi * (hz[i] + shift) * t + phase * pi / 180
                re += a * cos(w); im += a * sin(w) }
            n = 0.15 * sqrt(12)
            printf "%.9e %.9e\n", re + n * (rand() - 0.5), im + n * (rand() - 0.5) }
    }' | signal "$3"
}
cat >peaks.txt <<'TEXT'
name  type     area  frequency[Hz]  lorentz  phase
A     lorentz  5     2              18       0
B     lorentz  3.5   117            =A       =A
C     lorentz  2     -262           =A       =A
interval: -600 to 700 Hz
TEXT

# ---- all lines 60 Hz, four widths, further up ----
fid_of 60 0 up.fid.f32
status 0 "$fit" up.fid.f32 peaks.txt --dwell 0.00048828125 --noise 400:500 -o up
holds out 'converged'
holds err 'aligned with the spectrum by 15 points, 60 Hz'
if [ -x "$programs/varokel-report" ]; then
    holds up/report.html 'aligned with the spectrum by 15 points, 60 Hz'
fi
fid_of 4 0 one.fid.f32
status 0 "$fit" one.fid.f32 peaks.txt --dwell 0.00048828125 --noise 400:500 -o one --no-report
holds err 'aligned with the spectrum by 1 point, 4 Hz'
# bounds: 0.1 of an area, 0.3 Hz; five of them
for line in 'A 6 60' 'B 3 180' 'C 2 -200'; do
    read -r name area hertz <<<"$line"
    true_that "$name has its area" near "$(cell up/results.tsv "$name" area)" "$area" 0.5
    true_that "$name has its place" near "$(cell up/results.tsv "$name" frequency_from_carrier_hz)" "$hertz" 2
done
# Without alignment the lines do not find their peaks: that is what it is for.
sed -e '$a step: gradient areas phases iterations=20' \
    -e '$a step: gradient areas frequencies phases iterations=50' \
    -e '$a step: gradient all iterations=200 times=3' peaks.txt >plain.txt
status 0 "$fit" up.fid.f32 plain.txt --dwell 0.00048828125 --noise 400:500 -o plain --method classic
lacks err 'aligned'
true_that 'the search alone is elsewhere' sh -c '! awk -F "\t" "NR == 2 { exit !(\$6 > 5.5 && \$6 < 6.5) }" plain/results.tsv'

# ---- areas that end negative, with the phase turned by 180 degrees ----
fid_of 0 0 turned.fid.f32
sed -e 's/ 0$/ 150/' peaks.txt >turned.txt
sed -i -e '/strategy/d' -e '$a step: gradient areas iterations=20' -e '$a step: gradient all iterations=200 times=2' turned.txt
status 0 "$fit" turned.fid.f32 turned.txt --dwell 0.00048828125 --noise 400:500 -o turned
true_that 'the fitter ended with negative areas' awk 'NR == 1 { exit !($1 < -5) }' turned/turned.mat
holds err 'the same curve with a positive sum of areas: A, B, C'
true_that 'shown is 6' near "$(cell turned/results.tsv A area)" 6 0.5
true_that 'with phase 0' near "$(cell turned/results.tsv A phase_degrees)" 0 5
lacks err 'negative area'
if [ -x "$programs/varokel-report" ]; then
    holds turned/report.html 'the same curve with a positive sum of areas: A, B, C'
fi

# ---- ratios, sums and their errors follow: two lines that overlap, of which one ends turned ----
awk 'BEGIN { pi = 3.14159265358979312; srand(5)
    for (k = 0; k < 512; k++) { t = k / 2048; a = exp(-pi * 15 * t); w = 2 * pi * 12 * t
        printf "%.9e %.9e\n", a * (6 + 4 * cos(w)) + 0.1 * (rand() - 0.5), a * 4 * sin(w) + 0.1 * (rand() - 0.5) }
}' | signal pair.fid.f32
for phase in 0 180; do
    cat >pair.txt <<TEXT
name  type     area  frequency[Hz]  lorentz  phase
A     lorentz  6     0              15       $phase
B     lorentz  4     12             15       0
interval: -300 to 300 Hz
tolerance: 1e-11
step: gradient areas iterations=50
step: gradient all iterations=200 times=2
step: gradient areas phases lorentz iterations=100
step: gradient all iterations=200
TEXT
    status 0 "$fit" pair.fid.f32 pair.txt --dwell 0.00048828125 --noise 400:500 -o pair$phase --no-report
    if [ -x "$programs/varokel-report" ]; then
        status 0 "$programs/varokel-report" pair$phase --derive 'A+B' --derive 'A/B' --force
    fi
done
true_that 'one of both is negative' awk 'NR == 1 { a = $1 } NR == 2 { exit !(a < -5 && $1 > 3) }' pair180/pair.mat
if [ -x "$programs/varokel-report" ]; then
    cut -f 2- pair0/derived.tsv >pair0.tsv
    cut -f 2- pair180/derived.tsv >pair180.tsv
    # both ends lie within a twentieth of an error of each other
    status 0 "$programs/varokel-compare" pair180.tsv pair0.tsv --rel 0.02
fi
# asked for inverted, shown inverted
sed -e 's/ 5     2/ -5     2/' -e 's/ 3.5 / -3.5 /' -e 's/ 2     -262/ -2     -262/' turned.txt >inverted.txt
status 0 "$fit" turned.fid.f32 inverted.txt --dwell 0.00048828125 --noise 400:500 -o inverted
true_that 'as the table has it' near "$(cell inverted/results.tsv A area)" -6 0.5
true_that 'phases between -180 and 180' awk -F '\t' 'NR == 1 { for (i = 1; i <= NF; i++) if ($i == "phase_degrees") c = i }
    NR > 1 && !($c > -180 && $c <= 180) { bad = 1 } END { exit bad }' inverted/results.tsv
# a fixed phase is a sign of its own
sed -e 's/ 150$/ fixed 180/' turned.txt >fixed.txt
status 0 "$fit" turned.fid.f32 fixed.txt --dwell 0.00048828125 --noise 400:500 -o fixed
true_that 'stays negative' near "$(cell fixed/results.tsv A area)" -6 0.5
holds err 'negative area'

# ---- a fit that runs away says which entry did ----
cat >diverges <<TEXT
#!/bin/sh
"$programs/varokel" "\$@" || exit
perl -i -pe 's/^\\S+/nan/ if \$. == 2' turned.mat
# all of its curve, and so of the sum
perl -e 'print pack("f<", 9**9**9) x 1024' >nan.f32
{ head -c 4096 turned.nln0; head -c 4096 nan.f32; tail -c 4096 turned.nln0; } >new.nln0
mv new.nln0 turned.nln0
head -c 4096 nan.f32 >turned.fit
TEXT
chmod +x diverges
status 1 "$fit" turned.fid.f32 turned.txt --dwell 0.00048828125 --noise 400:500 -o away --varokel ./diverges --method classic
holds out 'the fit ran away, its results are no finite numbers: B.'
lacks out 'Repair or cut'
true_that 'not fitted' test "$(awk -F '\t' 'NR == 2 { print $2 }' away/results.tsv)" = not_fitted
finish
