#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Tables of peaks to start files and back.
. "$(dirname "$0")/harness.sh"

start=$programs/varokel-start
common_habits varokel-start

# without_trailer FILE: what the fit reads of a version 3 file
without_trailer() { sed -e 's/ *$//' -e '/^end_of_lsf/q' "$1"; }
# same_model A B: the same words, numbers equal in single precision (6e-8 of each)
same_model() {
    without_trailer "$1" >first.txt
    without_trailer "$2" >second.txt
    "$programs/varokel-compare" first.txt second.txt --rel 1.2e-7 >difference.txt ||
        { cat difference.txt; return 1; }
}
# sidecar POINTS HZ_PER_POINT RISES PHI_1: what varokel-import would write; 100 MHz, carrier 0 ppm
sidecar() {
    printf '{"points": %s, "hz_per_point": %s, "spectrometer_mhz": 100, "ppm_at_carrier": 0,
 "ppm_rises_with_points": %s, "phi_1_degrees": %s, "noise_window": {"first": 1, "stop": 20}}\n' "$@"
}

# ---- tables of the examples: the start file that stands beside them ----
for name in p31_brain h1_brain c13_kidney xe129_lung; do
    example=$tree/examples/$name
    status 0 "$start" "$example/peaks.txt" -d "$example/$name.bin" -o start.par --force
    true_that "$name has the start values of its example" same_model start.par "$example/start.par"
    true_that "nothing is guessed" test ! -s err
    rm -f names.txt
done
# All tables of the examples are tables; those for other data with what they have.
for table in "$tree"/examples/*/*.txt; do
    grep -q '^name ' "$table" || continue
    example=$(dirname "$table")
    status 0 "$start" "$table" -d "$example/$(basename "$example").bin" --explain
done

# ---- estimates: a noise-free model gives its areas and phases back ----
# Lines of all types, a pattern, a delay of 1.5 points, ppm that fall along the points.
cat >trio.pat <<'TEXT'
start_pattern number_of_lines 2
parameters name line_type area frequency gauss_width zero_phase lorentz_width
a lorentz 2.0 700.0 0.0 6.0
b gauss 1.0 760.0 8.0 20.0
comment end_of_pattern
TEXT
cat >truth.txt <<'TEXT'
name  type     area     frequency       gauss  lorentz  phase
A     lorentz  12.5     3.1 ppm         -      9        25
B     lorentz  =A*0.3   =A - 40 Hz      -      =A       =A
C     voigt    4        120 Hz          8      5        =A + 30
D     gauss    7.75     fixed -3 ppm    11     -        -70
P     trio.pat  3.5     6 Hz            -      4        =A
interval: -6 to 6 ppm
TEXT
sidecar 512 3 false 540 >falls.json
status 0 "$start" truth.txt --json falls.json -o truth.par
true_that 'names stand beside it' test "$(grep -v '^#' names.txt | tr '\n' ' ')" = 'A B C D P '
# ppm fall: 3.1 ppm is 310 Hz left of the carrier at 768 Hz, and B at 40 Hz less is right of A
true_that 'the sense of the axis' test "$(awk '$1 < 3 && NF == 6 { print $3 }' truth.par | tr '\n' ' ')" = \
    '4.58000000E+02 4.98000000E+02 '
true_that 'width2 of type 2 is in points' test "$(awk '$1 == 1 && NF == 6 { print $6 }' truth.par)" = 3.00000000E+00
true_that 'width1 of a pattern is fixed at 0' grep -qP '^4\t5\t0.0' truth.par
status 0 "$programs/varokel-simulate" truth.par -o falls.bin --noise 0 --seed 1
# areas and phases unknown; D in opposite phase stays positive
sed -e 's/12\.5  /?     /' -e 's/voigt    4  /voigt    ?  /' -e 's/7\.75/?   /' -e 's/3\.5   /?     /' \
    -e 's/ 25$/ ?/' -e 's/ -70$/ ?/' truth.txt >unknown.txt
true_that 'six values are unknown' test "$(grep -o '?' unknown.txt | wc -l)" -eq 6
status 0 "$start" unknown.txt -d falls.bin -o unknown.par
# The spectrum is stored in single precision: 1e-5 of a value leaves room for the lines' overlap.
without_trailer unknown.par >got.txt
without_trailer truth.par >wanted.txt
status 0 "$programs/varokel-compare" got.txt wanted.txt --rel 1e-5
holds unknown.par '# areas estimated from the spectrum: A, C, D, P'
holds unknown.par '# phases estimated from the spectrum: A, D'
# known areas, unknown phases; then known phases, unknown areas, one of them negative
sed -e 's/ 25$/ ?/' truth.txt >phase.txt
status 0 "$start" phase.txt -d falls.bin -o phase.par
without_trailer phase.par >got.txt
status 0 "$programs/varokel-compare" got.txt wanted.txt --rel 1e-5
sed -e 's/7\.75/-7.75/' truth.txt >inverted.txt
status 0 "$start" inverted.txt --json falls.json -o inverted.par
status 0 "$programs/varokel-simulate" inverted.par -o inverted.bin --noise 0 --seed 1
cp falls.json inverted.json
sed -e 's/-7\.75/?/' inverted.txt >sign.txt
status 0 "$start" sign.txt -d inverted.bin -o sign.par
true_that 'an area below 0 is found where the phase is known' \
    awk '$1 == 4 && NF == 6 { d = $2 + 7.75; ok = d < 1e-4 && d > -1e-4 } END { exit !ok }' sign.par

# An FID of which 100 of 256 points were measured: cut models fit, whole ones do not.
awk 'BEGIN { pi = 3.14159265358979312
    for (k = 0; k < 256; k++) { t = k * 0.0005; a = k < 100 ? 5 * exp(-pi * 3 * t) : 0
        printf "%.9e %.9e\n", a * cos(2 * pi * 150 * t + 1), a * sin(2 * pi * 150 * t + 1) }
}' | signal cut.fid.f32
status 0 "$programs/varokel-import" cut.fid.f32 -o . --dwell 0.0005 --noise 2:40
printf 'name  type  area  frequency[Hz]  lorentz  phase\nA  lorentz  ?  150  3  ?\nmeasured: 100\n' >cut.txt
printf 'interval: 0 to 900 Hz\n' >>cut.txt
status 0 "$start" cut.txt -d cut.bin -o cut.par --force
# phase 1 radian = 57.29578 degrees; 1e-5 as above
true_that 'a cut line has its area and phase' awk '$1 == 1 && NF == 6 {
    a = $2 - 5; p = $5 - 57.29578; ok = a * a < 25e-10 && p * p < 25e-8 } END { exit !ok }' cut.par
true_that 'the steps cut, too' test "$(grep -c '^@ *2 *100 ' cut.par)" -eq 9
# first all together, then with and without frequencies in turn; width1 is no parameter of this line
true_that 'the steps of the standard strategy' test "$(sed -n 's/^@ *//p' cut.par |
    awk '{ print $3 $4 $5 $6 $7 "/" $10 "/" $11 }' | tr '\n' ' ')" = \
    '10010/1/20 11010/0/50 11011/0/200 11011/0/200 10011/0/100 11011/0/100 10011/0/100 01010/0/30 11011/0/200 '
true_that 'and its tolerance' grep -qx 'f__tol 1.0*E-09' cut.par
# Alignment belongs to the first step that is left, and moves fixed frequencies, too: none then.
sed -e 's/  ?  150/  fixed 1  150/' -e 's/  ?$/  fixed 0/' cut.txt >held.txt
status 0 "$start" held.txt -d cut.bin -o held.par --force
true_that 'without areas and phases the next step aligns' test "$(sed -n 's/^@ *//p' held.par |
    awk '{ print $3 $4 $5 $6 $7 "/" $10; exit }')" = 01000/1
sed -e 's/  150/  fixed 150/' cut.txt >held.txt
status 0 "$start" held.txt -d cut.bin -o held.par --force
true_that 'no step aligns' test -z "$(sed -n 's/^@ *//p' held.par | awk '$10 == 1')"
holds held.par '# no alignment before the fit, because frequencies are fixed: A'
sed -e '$a step: gradient all' cut.txt >own.txt
status 0 "$start" own.txt -d cut.bin -o own.par --force
true_that 'steps of its own stay as they are' test "$(sed -n 's/^@ *//p' own.par |
    awk '{ print $3 $4 $5 $6 $7 "/" $10 "/" $11 }')" = 11111/0/100
true_that 'with their tolerance' grep -qx 'f__tol 1.0*E-07' own.par

# ---- a free Gaussian width of 0 is a place that no search leaves ----
cat >sharp.txt <<'TEXT'
name  type     area  frequency[Hz]  gauss    lorentz  phase
A     voigt    1     100            0        30       0
B     voigt    1     200            =A + 2   =A       0
C     gauss    1     300            0        -        0
D     voigt    1     400            fixed 0  20       0
interval: 0 to 500 Hz
noise: 200 to 250 points
points: 256
hz_per_point: 4
TEXT
status 0 "$start" sharp.txt -o sharp.par --force
holds err 'varokel-start: a free Gaussian width cannot start at 0, which no search leaves; it starts wider: A (15 Hz), C (4 Hz)'
true_that 'what is tied goes along, what is fixed stays' test "$(awk 'NF == 6 && $1 < 5 { print $4 + 0 }' sharp.par |
    tr '\n' ' ')" = '15 17 4 0 '

# ---- links ----
cat >chain.txt <<'TEXT'
name  type     area    frequency   lorentz  phase
A     lorentz  8       0 ppm       10       5
B     lorentz  =A/2    =A + 10 Hz  =A + 2   =A
C     lorentz  =B*0.5  =B + 10 Hz  =B       =B - 10
interval: -2 to 2 ppm
noise: 10 to 60 points
TEXT
sidecar 256 4 true 0 >axis.json
status 0 "$start" chain.txt --json axis.json -o chain.par --explain --force
holds out 'area       2; tied to A, 0.25 times its area'
holds out '= point 133.00; tied to A, +20 Hz'
holds out 'lorentz    12 Hz = 3 points; tied to A, +2 Hz'
holds out 'phase      -5 degrees; tied to A, -10 degrees'
holds out '3 lines, 0 patterns: 4 free parameters (1 areas, 1 frequencies, 1 phases, 1 lorentz widths)'
holds out '3 of 49 entries, 15 of 350 parameters'
true_that 'noise of the table' grep -qx 'noistp 61' chain.par

# ---- what the fit takes: a run from each preset, and search ranges ----
mkdir fit && cp falls.bin trio.pat fit/
for preset in quick standard random-then-gradient; do
    sed -e 's/A     lorentz  ?     /A     lorentz  ? [1, 40]/' unknown.txt >fit/table.txt
    printf 'strategy: %s\ntolerance: 3e-9\n' "$preset" >>fit/table.txt
    status 0 "$start" fit/table.txt -d falls.bin -o fit/start.par --force
    (cd fit && rm -f falls.mat && "$programs/varokel" . falls.bin start.par >run.log)
    true_that "$preset is fitted" test -s fit/falls.mat
done
true_that 'a range of the table, and one made for the others' \
    grep -qP '^2\t0\t[0-9.E+]+\t1.00000000E\+00\t4.00000000E\+01$' fit/start.par
holds fit/run.log 'All initial parameters are O.K.'
true_that 'a random step comes first' grep -q '^@    1 ' fit/start.par

# ---- a table back from every generation ----
(cd fit && cp start.par first.par && sed -i -e '/^@    1 /d' first.par &&
    "$programs/varokel" . falls.bin first.par >run.log)
for file in compact.par first_verbose.par; do
    status 0 "$start" --from fit/$file -o back.txt --force
    cp trio.pat fit/
    (cd fit && "$start" ../back.txt -o ../back.par --force >../out 2>../err)
    true_that "table of $file makes a start file" test $? -eq 0
    # but for the ranges of tied and fixed parameters, which nothing uses
    if [ $file = compact.par ]; then # of version 3 as it stands
        cp fit/compact.par two.par
    else
        status 0 "$start" --from fit/$file --to par -o two.par --force
    fi
    for side in back two; do
        awk '/^#[0-9]/ { records = 1 } records && NF == 5 && $2 { $0 = $1 " " $2 " " $3 } { $1 = $1; print }' \
            $side.par >$side.cut
    done
    true_that 'with its tolerance' grep -qx 'f__tol 3.0000E-09' back.par
    true_that "$file comes back" same_model back.cut two.cut
    true_that 'with its names' grep -q '^C  *voigt' back.txt
done
# the old format: version 3 without the first word, f__tol and pattrn
printf 'name  type  area  frequency[Hz]  lorentz  phase\nA  lorentz  2  150  3  10\npoints: 256\n' >old.txt
printf 'hz_per_point: 7.8125\nnoise: 2 to 40 points\ninterval: 100 to 200 points\ntolerance: 1e-7\n' >>old.txt
status 0 "$start" old.txt -o new.par --force
sed -e '/^version_3/d' -e '/^f__tol/d' -e '/^pattrn/d' new.par >old.par
status 0 "$start" --from old.par --to par --names names.txt -o old_new.par
holds err 'guessed tolerance 1e-7'
true_that 'an old file becomes version 3' same_model old_new.par new.par
status 0 "$start" --from old.par
holds out 'A     lorentz  2     150 Hz'
holds out 'interval: 100 to 200 points'

# two entries of one name would make a table that nobody reads, wherever the names come from
mkdir twice
cp fit/compact.par twice/compact.par
printf '# entries\nA\nB\n\nC\nB\nP\n' >twice/names.txt
status 3 "$start" --from twice/compact.par
holds err 'twice/names.txt, line 6: name B stands there twice'
status 3 "$start" --from fit/compact.par --names twice/names.txt
holds err 'twice/names.txt, line 6: name B stands there twice'

# A fit may end with negative widths, which no table has.
awk -v OFS='\t' '/^number/ { block = 1 } /^#1/ { block = 0 }
    block && $1 == 1 { $4 = -$4; $6 = -$6 } block && $1 == 4 { $6 = -$6 } { print }' sharp.par >negative.par
status 0 "$start" --from negative.par -o positive.txt
holds err 'A: the gauss width -15 Hz is negative, and is written as 15 Hz'
holds err 'A: the lorentz width -30 Hz is negative, and is written as 30 Hz'
holds err 'D: the lorentz width -20 Hz is negative, and is written as 20 Hz'
status 0 "$start" positive.txt -o positive.par --force

# ---- guesses are said and recorded ----
printf 'name  type  area  frequency[ppm]  lorentz  phase\nA  lorentz  1  0.5  4  0\n' >bare.txt
status 0 "$start" bare.txt --json axis.json -o bare.par --force
holds err 'varokel-start: guessed interval points 130 to 150 (0.080 to 0.880 ppm): all entries with a margin'
holds bare.par '# guessed: interval points 130 to 150'
true_that 'a step frees only what there is' grep -qE '^@ +2 +256 +1 +1 +0 +1 +1 ' bare.par
printf 'name  type  area  frequency[ppm]  lorentz  phase\nA  lorentz  1  2  4  0\ninterval: 0 to 1 ppm\n' >out.txt
status 0 "$start" out.txt --json axis.json -o bare.par --force
holds err 'varokel-start: A starts outside of all fitted intervals: its frequency will not be moved'
holds bare.par '# warning: A starts outside'

# ---- outputs ----
status 4 "$start" bare.txt --json axis.json -o bare.par
holds err 'bare.par: exists; --force replaces it'
cp names.txt kept.txt
printf 'name  type  area  frequency[ppm]  lorentz  phase\nZ  lorentz  1  0.5  4  0\n' >other.txt
status 4 "$start" other.txt --json axis.json -o fresh.par
holds err 'names.txt: exists'
true_that 'nothing was written' test ! -e fresh.par
true_that 'names of another file stay' cmp names.txt kept.txt
status 4 "$start" bare.txt --json axis.json -o no/such/folder/x.par
status 4 "$start" bare.txt --json axis.json -o bare.txt --force
holds err 'would overwrite its own input'
status 2 "$start" bare.txt --json axis.json
status 2 "$start"
status 3 "$start" missing.txt -o x.par
holds err 'missing.txt: cannot be opened'
status 3 "$start" bare.txt -d missing.bin -o x.par
holds err 'missing.json: no such file'

# ---- mistakes: line, column, what was found, what was expected ----
# mistake LINE:COLUMN TEXT ROWS: below a heading in line 1
mistake() {
    printf 'name  type  area  frequency  gauss  lorentz  phase\n%b\ninterval: -1 to 1 ppm\n' "$3" >bad.txt
    status 3 "$start" bad.txt --json axis.json -o bad.par
    holds err "bad.txt:$1: "
    holds err "$2"
    true_that 'one message' test "$(wc -l <err)" -eq 1
    true_that 'no start file' test ! -e bad.par
}
mistake 2:17 'found ",5 ppm"; expected a decimal point' 'A  lorentz  1  1,5 ppm  -  4  0'
mistake 2:14 'found ",5"; expected a decimal point' 'A  lorentz  1,5  1 ppm  -  4  0'
mistake 2:17 'expected ppm or Hz' 'A  lorentz  1  1  -  4  0'
mistake 2:1 'found 6 cells; expected 7' 'A  lorentz  1  1 ppm  -  4'
mistake 2:32 'found 8 cells; expected 7' 'A  lorentz  1  1 ppm  -  4  0  1'
mistake 2:4 'found the type "lorenz"' 'A  lorenz  1  1 ppm  -  4  0'
mistake 2:26 'A: a lorentz line has no gauss width' 'A  lorentz  1  1.25 ppm  3  4  0'
mistake 2:27 'needs a gauss width' 'A  voigt    1  1.25 ppm   -  4  0'
mistake 2:13 'no row has that name' 'A  lorentz  =B  1 ppm  -  4  0'
mistake 2:13 'tied to itself in the end' 'A  lorentz  =B  1 ppm  -  4  0\nB  lorentz  =A  1 ppm  -  4  0'
mistake 3:1 'stands in line 2, too' 'A  lorentz  1  1 ppm  -  4  0\nA  lorentz  1  0 ppm  -  4  0'
mistake 2:26 'found "?"; areas and phases' 'A  lorentz  1  1 ppm  -  ?  0'
mistake 2:18 'expected a comma' 'A  lorentz  1 [1 2]  1 ppm  -  4  0'
mistake 2:26 'the greatest value of the window' 'A  lorentz  1  1 ppm [2, ppm  -  4  0'
mistake 2:13 'an area of 0 times' 'A  lorentz  =B*0  1 ppm  -  4  0\nB  lorentz  1  1 ppm  -  4  0'
mistake 3:26 'tied widths need two of the same type' 'A  voigt  1  1 ppm  5  4  0\nB  lorentz  1  1 ppm  -  =A  0'
mistake 3:1 'found the key "intervall"' 'A  lorentz  1  1 ppm  -  4  0\nintervall: 1 to 2 ppm'
mistake 3:13 'expected "to"' 'A  lorentz  1  1 ppm  -  4  0\ninterval: 1 - 2 ppm'
mistake 3:11 'expected within the points 0 to 255' 'A  lorentz  1  1 ppm  -  4  0\ninterval: 1 to 90 ppm'
mistake 3:1 'expected quick, standard or random-then-gradient' 'A  lorentz  1  1 ppm  -  4  0\nstrategy: fast'
mistake 3:16 'expected areas, frequencies' 'A  lorentz  1  1 ppm  -  4  0\nstep: gradient widths'
mistake 3:21 'expected absorption' 'A  lorentz  1  1 ppm  -  4  0\nstep: gradient part=real'
mistake 2:1 'no pattern file none.pat in' 'A  none.pat  1  0 Hz  -  -  0'

# ---- what the fit would refuse ----
# refused TEXT TABLE
refused() {
    printf 'name  type  area  frequency[ppm]  gauss  lorentz  phase\n%b\ninterval: -1 to 1 ppm\n' "$2" >bad.txt
    status 3 "$start" bad.txt --json axis.json -o bad.par
    holds err "varokel-start: bad.txt: $1"
    true_that 'no start file' test ! -e bad.par
}
refused 'entry 2 (B), gauss: starts smaller than the one it follows; tie the broader line to the narrower' \
    'A  gauss  1  0.1  8  -  0\nB  gauss  1  0  =A - 1  -  0'
refused '50 lines and patterns; expected up to 49' \
    "$(for i in $(seq 50); do printf 'L%d  lorentz  1  0.%02d  -  4  0\\n' "$i" "$i"; done)"
# before anything is estimated, here without a spectrum
refused '50 lines and patterns; expected up to 49' \
    "$(for i in $(seq 50); do printf 'L%d  lorentz  ?  0.%02d  -  4  0\\n' "$i" "$i"; done)"
refused 'entry 2 (B), area: tied to an area of 0' 'A  lorentz  fixed 0  0.1  -  4  0\nB  lorentz  =A  0  -  4  0'
refused 'step 2: a random search behind a gradient step' \
    'A  lorentz  1  0.1  -  4  0\nstep: gradient all\nstep: random all'
refused 'step 1: 300 time-domain points; expected 1 to 256' 'A  lorentz  1  0.1  -  4  0\nstep: gradient all points=300'
refused 'entry 1 (A), area: starts outside of its search range' \
    'A  lorentz  1 [2, 3]  0.1  -  4  0\nstep: random all'
# a folder, and widths that no line begins with
status 3 "$start" . -d spectrum.bin -o x.par
holds err 'a folder; expected a table of peaks'
status 3 "$start" --from .
holds err 'a folder; expected a start value file'
printf 'name  type  frequency[Hz]  lorentz[Hz]\nA  lorentz  10  -15\n' >negative.txt
status 3 "$start" negative.txt -d spectrum.bin -o x.par
holds err 'negative.txt:2:'
holds err 'expected one above 0'

finish
