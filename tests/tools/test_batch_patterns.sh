#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# A pattern in a batch: its values go to neighbours in the units of its file, and a pattern in another
# unit of area gives the same fits.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch

two_lines_grid grid 6 4 1
if "$batch" plan grid.nii --start start.par -o probe 2>&1 | grep -q 'without the NIfTI'; then
    echo "no NIfTI in this build: left out"
    exit 77
fi
rm -f names.txt # of that start file
# Both lines as patterns, 3 and 2 Hz narrower than they are and of area 2: the fit must find the
# rest, and half the areas.
cat >left.pat <<'TEXT'
start_pattern number_of_lines 1
parameters name line_type area frequency gauss_width zero_phase lorentz_width
one      lorentz  2.0  350.0  0.0  9.0
comment  end_of_pattern
TEXT
cat >right.pat <<'TEXT'
start_pattern number_of_lines 1
parameters name line_type area frequency gauss_width zero_phase lorentz_width
one      lorentz  2.0  600.0  0.0  6.0
comment  end_of_pattern
TEXT
# A Gaussian and a Lorentzian broadening can hardly be told apart here, which is good enough to see
# that all five values go their way.
cat >both.txt <<'TEXT'
name   type       area          frequency[Hz]  gauss[Hz]  lorentz[Hz]  phase
right  right.pat  1.1           3              2          1            2
left   left.pat   0.9           -2             -          2            =right
interval: -490 to 490 Hz
noise: 0 to 31 points
step: gradient all iterations=60
TEXT
sed -e '/^right/s/3              2 /3              - /' -e '$a step: gradient all iterations=200' both.txt >peaks.txt
plan() { status 0 "$batch" plan grid.nii --peaks "$3" --noise 0:31 --values "$1" --method "${4:-classic}" -o "$2"; }
plan neighbour near both.txt
holds out "blocks 1"
true_that "patterns are in the plan" test -s near/patterns/left.pat -a -s near/patterns/right.pat
cat >keeping <<TEXT
#!/bin/sh
"$programs/varokel" "\$@" || exit
values() { sed -n '/^number/,/^#1/p' "\$1" | awk 'NF == 6 && \$1 ~ /^[0-9]/ { printf "%.6e %.6e %.6e %.6e %.6e\n", \$2, \$3, \$4, \$5, \$6 }'; }
line=\${PWD##*/}
# the first start counts; a fit worse than its seed is repeated from the common values
[ -e "$folder/values/\$line.start" ] || values start.par >"$folder/values/\$line.start"
values compact.par >"$folder/values/\$line.\$\$.result"
TEXT
chmod +x keeping
mkdir values
status 0 "$batch" run near --varokel ./keeping
handed_on=0 common=0 strange=0
for start in values/*.start; do
    true_that "two entries in $start" test "$(wc -l <"$start")" -eq 2
    if cmp -s "$start" values/0.start; then
        common=$((common + 1))
        continue
    fi
    match=$(for result in values/*.result; do cmp -s "$start" "$result" && echo "$result"; done)
    if [ -n "$match" ]; then handed_on=$((handed_on + 1)); else strange=$((strange + 1)); fi
done
# the middle (4, 4) of the tile is off this grid: the three voxels nearest to it come first, or four
true_that "$handed_on starts are results of others, $strange are not, $common common" \
    test "$strange" -eq 0 -a "$handed_on" -ge 20 -a $((handed_on + common)) -eq 24

# the same results from neighbours as from common values
plan same plain peaks.txt
plan neighbour next peaks.txt
for run in plain next; do
    status 0 "$batch" run "$run"
    status 0 "$batch" merge "$run"
done
agree() { # TEXT FACTOR RUN1 RUN2 COLUMN
    true_that "$1" awk -F'\t' -v factor="$2" -v name="$5" '
        FNR == 1 { ++file; for (i = 1; i <= NF; i++) c[file, $i] = i; next }
        { key = $1 $c[file, "name"]; v = $c[file, name]; e = $c[file, "area_error_1sd"] }
        file == 1 { value[key] = v; error[key] = e; next }
        { n++; d = v * factor - value[key]; if (!(d < 0.02 * error[key] && d > -0.02 * error[key])) bad++ }
        END { if (bad || n != 48) { print n, bad; exit 1 } }' "$3/results.tsv" "$4/results.tsv"
}
# to 2 % of their errors: both end at the same minimum, to the tolerance
agree "areas as from common values" 1 next plain area
# areas as drawn, 2 and 1 + x/4 + y/8 in units of 2, each within five of its own standard deviations
true_that "areas near the truth" awk -F'\t' '
    NR == 1 { for (i = 1; i <= NF; i++) c[$i] = i; next }
    { truth = $c["name"] == "left" ? 2 : 1 + $c["x"] / 4 + $c["y"] / 8
      n++; d = 2 * $c["area"] - truth; e = 2 * $c["area_error_1sd"]
      if (d > 5 * e || d < -5 * e || !($c["snr"] > 10)) bad++ }
    END { exit !(n == 48 && !bad) }' next/results.tsv

# the figure of the start values: the model of a pattern and a broadening, as the report has it
mkdir single
"$programs/varokel-import" grid.nii --voxel 2,1,0 --noise 0:31 -o single >/dev/null 2>&1
cp plain/start.par plain/names.txt plain/patterns/* single/
(cd single && "$programs/varokel" . grid_2_1_0.bin start.par >run.log)
status 0 "$programs/varokel-report" single
figure() { awk -F'\t' 'NR == 1 { for (i = 1; i <= NF; i++) c[$i] = i; next } $1 == "grid_2_1_0" { printf "%.7g %.7g\n", $c["fit_quality_before"], $c["snr"] }' "$1"; }
true_that "quality before the fit $(figure plain/quality.tsv), $(figure single/quality.tsv) in the report" \
    test -n "$(figure plain/quality.tsv)" -a "$(figure plain/quality.tsv)" = "$(figure single/quality.tsv)"
finish
