#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# From a measured file and a table of peaks to results in one command.
. "$(dirname "$0")/harness.sh"

fit=$programs/varokel-fit
common_habits varokel-fit

# cell TABLE ROW COLUMN: by the name of the column; row 1 is the first below the names
cell() {
    awk -F '\t' -v row="$2" -v name="$3" '
        NR == 1 { for (i = 1; i <= NF; i++) if ($i == name) column = i }
        NR == row + 1 { print column ? $column : "no column " name }' "$1"
}

# ---- one spectrum: the example of the 31P brain, with its published prior knowledge ----
example=$tree/examples/p31_brain
status 0 "$fit" "$example/p31_brain.fid.f32" "$example/peaks.txt" --json "$example/p31_brain.fid.json" -o run
holds out 'p31_brain  converged   several_minima  1.16'
holds out 'PCr '
status 0 "$programs/varokel-compare" run/p31_brain.mat "$example/expected/p31_brain.mat" \
    --rel 1e-6 --errors "$example/expected/p31_brain.err" --fraction "$(cat "$example/expected/tolerance")"
true_that 'a row for each entry' test "$(wc -l <run/results.tsv)" -eq 17
true_that 'with its name' test "$(cell run/results.tsv 10 name)" = PCr
true_that 'and its status' test "$(cell run/results.tsv 10 status)" = converged
true_that 'a row for the spectrum' test "$(cell run/quality.tsv 1 status)" = converged
for file in start.par names.txt p31_brain.bin p31_brain.json p31_brain.fit p31_brain.res run.log \
    compact.par results.json quality.json; do
    true_that "$file is there" test -s run/$file
done
if [ -x "$programs/varokel-report" ]; then
    true_that 'and a page' test -s run/report.html
fi
true_that 'nothing else was left' test "$(find . -name '*.part*' | wc -l)" -eq 0

# The folder is not touched without --force, and with it never an input.
cksum run/* >before
status 4 "$fit" "$example/p31_brain.fid.f32" "$example/peaks.txt" --json "$example/p31_brain.fid.json" -o run
holds err 'run: exists and is not empty; --force'
cksum run/* >after
true_that 'all as before' cmp before after
cp "$example/p31_brain.fid.json" "$example/peaks.txt" run/
cp "$example/p31_brain.fid.f32" run/p31_brain.bin
status 4 "$fit" run/p31_brain.bin run/peaks.txt --format float32 --json run/p31_brain.fid.json -o run --force
holds err 'would overwrite its own input'
true_that 'the input is whole' cmp run/p31_brain.bin "$example/p31_brain.fid.f32"
true_that 'no rest of the work' test "$(find . -name '.varokel-*' | wc -l)" -eq 0
cp "$example/p31_brain.fid.f32" "$example/p31_brain.fid.json" .
status 0 "$fit" p31_brain.fid.f32 "$example/peaks.txt" --json p31_brain.fid.json -o run --force
true_that 'replaced' test "$(wc -l <run/results.tsv)" -eq 17

# ---- several spectra in a file; the second is empty, and must not hide the others ----
c13=$tree/examples/c13_kidney
cat "$c13/c13_kidney.fid.f32" >series.fid.f32
head -c 8192 /dev/zero >>series.fid.f32
cat "$c13/c13_kidney.fid.f32" >>series.fid.f32
status 1 "$fit" series.fid.f32 "$c13/peaks.txt" --json "$c13/c13_kidney.fid.json" --index all -o series -j 2
holds err '1 of 3 not fitted'
holds out 'the spectrum is 0 in the intervals'
true_that 'four rows, one, and four' test "$(cut -f1 series/results.tsv | uniq -c | tr -s ' \n' ' ')" = \
    ' 1 spectrum 4 series_0 1 series_1 4 series_2 '
true_that 'its status' test "$(cell series/quality.tsv 2 status)" = not_fitted
true_that 'equal data, equal results' cmp series/series_0/series_0.mat series/series_2/series_2.mat
status 0 "$programs/varokel-compare" series/series_0/series_0.mat "$c13/expected/c13_kidney.mat" \
    --rel 1e-6 --errors "$c13/expected/c13_kidney.err" --fraction 0.05
# one at a time gives the same
status 1 "$fit" series.fid.f32 "$c13/peaks.txt" --json "$c13/c13_kidney.fid.json" --index all -o alone --no-report
true_that 'same table for one and two at a time' cmp series/results.tsv alone/results.tsv
true_that 'no page' test ! -e alone/report.html

# rows come in the order of the file, not of the names
for _ in $(seq 11); do cat "$c13/c13_kidney.fid.f32"; done >long.fid.f32
sed -e 's/^strategy.*/strategy: quick/' "$c13/peaks.txt" >quick.txt
status 0 "$fit" long.fid.f32 quick.txt --json "$c13/c13_kidney.fid.json" --index all -o long -j 2
true_that 'ten behind nine' test "$(cut -f1 long/quality.tsv | tail -n 3 | tr '\n' ' ')" = 'long_8 long_9 long_10 '

# ---- the verdict: a fit that stops at its iterations, fits that die, hang, or cannot start ----
sed -e 's/^strategy.*/step: gradient all iterations=2/' "$c13/peaks.txt" >short.txt
one=("$c13/c13_kidney.fid.f32" --json "$c13/c13_kidney.fid.json" --no-report --method classic)
status 0 "$fit" "${one[@]}" short.txt -o short
holds out 'at_limit'
holds err 'stopped at its limit of 2 iterations'
# fake NAME: a program in place of the fitter, from standard input
fake() { cat >"$1" && chmod +x "$1"; }
printf '#!/bin/sh\necho "computing"\nkill -SEGV $$\n' | fake dies
status 1 "$fit" "${one[@]}" "$c13/peaks.txt" -o died --varokel ./dies
holds out 'not_fitted'
holds out 'ended by signal 11'
printf '#!/bin/sh\nexec sleep 60\n' | fake hangs
status 1 "$fit" "${one[@]}" "$c13/peaks.txt" -o hung --varokel ./hangs --limit 1
holds out 'stopped after its limit of 1 s'
printf '#!/bin/sh\necho "error in this or that"\nexit 1\n' | fake refuses
status 1 "$fit" "${one[@]}" "$c13/peaks.txt" -o refused --varokel ./refuses
holds out 'error in this or that'
printf '#!/bin/sh\nexit 0\n' | fake silent
status 1 "$fit" "${one[@]}" "$c13/peaks.txt" -o silent_run --varokel ./silent
true_that 'no results, no success' test "$(cell silent_run/results.tsv 1 status)" = not_fitted
status 3 "$fit" "${one[@]}" "$c13/peaks.txt" -o none --varokel ./no_such_program
holds err './no_such_program: no program that can be started'
true_that 'no folder' test ! -e none
mkdir a_folder
status 3 "$fit" "${one[@]}" "$c13/peaks.txt" -o none --varokel ./a_folder
holds err './a_folder: no program that can be started'

# ---- methods: the same optimum with and without the search, and with a search that died ----
exact=("$c13/c13_kidney.fid.f32" --json "$c13/c13_kidney.fid.json" --no-report "$c13/peaks.txt")
status 0 "$fit" "${exact[@]}" -o both
status 0 "$fit" "${exact[@]}" -o exact --method exact --varokel ./no_such_program
status 0 "$fit" "${exact[@]}" -o after_death --varokel ./dies
holds err 'the search has no result (the program was ended by signal 11'
true_that 'a result of the exact fit' test -s exact/result.par -a ! -e exact/compact.par
for run in both exact after_death; do
    true_that "$run: verdict" test "$(cell $run/quality.tsv 1 verdict)" = misfit
    true_that "$run: one optimum" perl -e 'exit !(abs($ARGV[0] - 196.91) < 0.005)' "$(cell $run/results.tsv 1 area)"
done
true_that 'methods' test "$(cell both/quality.tsv 1 method) $(cell exact/quality.tsv 1 method)" = 'both exact'
true_that 'a distance of the search' perl -e 'exit !($ARGV[0] >= 0)' "$(cell both/quality.tsv 1 search_distance)"
# the optimum goes through the fitter unchanged: its own step from there gains nothing
cp exact/c13_kidney.bin exact/result.par .
status 0 "$programs/varokel" . c13_kidney.bin result.par
true_that 'unchanged by the search' perl -e 'exit !(abs($ARGV[0] - $ARGV[1]) < 0.02)' \
    "$(sed -n 1p c13_kidney.mat | cut -f1)" "$(cell exact/results.tsv 1 area)"
# a table that the exact fit cannot fit names what can
sed -e 's/^strategy.*/step: gradient all part=magnitude iterations=20/' "$c13/peaks.txt" >magnitude.txt
status 1 "$fit" "${exact[@]:0:4}" magnitude.txt -o magnitude --method exact
holds out 'magnitude and power spectra; the classic search does (--method classic)'

# ---- a pattern goes with its fit; the page is told of ratios ----
h1=$tree/examples/h1_patterns
cat >patterns.txt <<'TEXT'
name  type          area  frequency  gauss  lorentz  phase
NAA   naa.pat       ?     0 Hz       -      6        ?
Cr    creatine.bin  ?     0 Hz       -      5        =NAA
interval: 1.8 to 3.2 ppm
strategy: quick
TEXT
cp "$h1/naa.pat" "$h1/creatine.bin" .
status 0 "$fit" "$h1/h1_patterns.fid.f32" patterns.txt --json "$h1/h1_patterns.fid.json" -o patterns --derive NAA/Cr
true_that 'the patterns are there' test -s patterns/naa.pat -a -s patterns/creatine.bin
true_that 'two patterns' test "$(cell patterns/results.tsv 2 type)" = pattern
# the start file of the example has 1.6e-6 and 1e-6 for the two
true_that 'areas of their size' awk -F '\t' 'NR > 1 && !($6 > 2e-7 && $6 < 2e-5) { bad = 1 } END { exit bad }' \
    patterns/results.tsv

# ---- what follows from the results, with errors that the tables have another way ----
sed 's/^interval.*/&\nderive: pH = pH(frequency(Pin) - frequency(PCr), 6.77, 3.23, 5.7)/' "$example/peaks.txt" >derive.txt
status 0 "$fit" "$example/p31_brain.fid.f32" derive.txt --json "$example/p31_brain.fid.json" -o derive \
    --derive 'place = frequency(Pin)' --derive 'width = lorentz_width(PCr)' --derive 'double = 2*PCr' \
    --derive 'angle = phase(PCr)'
true_that 'a row of the table and four of the command' test "$(wc -l <derive/derived.tsv)" -eq 6
same() { # DERIVED ROW COLUMN FACTOR: value and error are those of the table of results
    true_that "$1 is $3 of row $2, with its error" perl -e '
        my ($v, $e, $w, $f, $by) = @ARGV;
        exit !(abs($v - $by * $w) <= 1e-6 * abs $v && abs($e - $by * $f) <= 1e-6 * $e && $e > 0)' -- \
        "$(awk -F '\t' -v n="$1" '$2 == n { print $4 }' derive/derived.tsv)" \
        "$(awk -F '\t' -v n="$1" '$2 == n { print $5 }' derive/derived.tsv)" \
        "$(cell derive/results.tsv "$2" "$3")" "$(cell derive/results.tsv "$2" "$4")" "$5"
}
same place 13 shift_ppm shift_error_1sd_ppm 1
same width 10 lorentz_fwhm_hz lorentz_fwhm_error_1sd_hz 1
same double 10 area area_error_1sd 2
same angle 10 phase_degrees phase_error_1sd_degrees 1
# by hand: pKa + log10((d - 3.23) / (5.7 - d)) at d = 4.8165 + 0.0005, its slope times the error of d;
# PCr has an error of its own, 30 times smaller
holds out 'pH       7.0'
true_that 'pH and its error' awk -F '\t' '$2 == "pH" { f = $4 > 7.0240 && $4 < 7.0249 && $5 > 0.00293 && $5 < 0.00296 }
    END { exit !f }' derive/derived.tsv
status 2 "$fit" "$example/p31_brain.fid.f32" derive.txt --json "$example/p31_brain.fid.json" -o wrong --derive 'PCr/Nobody'
holds err 'no entry "Nobody"'
true_that 'refused before the fit' test ! -e wrong

# ---- an interrupt leaves nothing ----
"$fit" "${one[@]}" "$c13/peaks.txt" -o interrupted --varokel ./hangs >out 2>err </dev/null &
job=$!
for _ in $(seq 50); do
    ls -d .varokel-fit.*/run.log >/dev/null 2>&1 && break
    sleep 0.1
done
kill -TERM "$job"
wait "$job"
true_that 'status 143 after SIGTERM' test $? -eq 143
holds err 'interrupted; nothing was written'
true_that 'no folder, no rest' test "$(find . -name 'interrupted*' -o -name '.varokel-*' | wc -l)" -eq 0

# ---- mistakes ----
# a name that no row has is refused before the first fit
status 2 "$fit" "$c13/c13_kidney.fid.f32" --json "$c13/c13_kidney.fid.json" "$c13/peaks.txt" -o x \
    --varokel ./hangs --derive 'Lac/Pyruvate'
holds err '--derive "Lac/Pyruvate", character 5: no entry "Pyruvate" in '
holds err 'peaks.txt, which has Pyr Ala PyrH Lac;'
status 2 "$fit" "${one[@]}" "$c13/peaks.txt" -o x --format sdta
holds err '--format: sdta not in'
status 2 "$fit" "${one[@]}" -o x
status 2 "$fit" "${one[@]}" "$c13/peaks.txt"
status 3 "$fit" "${one[@]}" missing.txt -o x
holds err 'missing.txt: cannot be opened'
status 3 "$fit" missing.fid.f32 "$c13/peaks.txt" -o x
holds err 'missing.fid.f32: no such file'
sed -e 's/171.0/371.0/' "$c13/peaks.txt" >outside.txt
status 3 "$fit" "${one[@]}" outside.txt -o x
holds err 'outside.txt:5:20: Pyr: 371 ppm is outside of the spectrum, 101.28 to 256.75 ppm'
sed -e 's/171.0/195.0/' "$c13/peaks.txt" >beside.txt
status 0 "$fit" "${one[@]}" beside.txt -o beside
holds err 'Pyr starts outside of all fitted intervals: its frequency will not be moved'
sed -e 's/166 to 188/166 to 388/' "$c13/peaks.txt" >beyond.txt
status 3 "$fit" "${one[@]}" beyond.txt -o x
holds err 'beyond.txt:10:11: interval of points 426 to 1887; expected within the points 0 to 1023'
true_that 'none of them made the folder' test ! -e x
echo text >plain
status 4 "$fit" "${one[@]}" "$c13/peaks.txt" -o plain
holds err 'plain: no folder'
# what cannot work is refused before any fit
{ cat "$c13/peaks.txt"; echo 'lineshape: measured'; } >measured.txt
status 3 "$fit" "${one[@]}" measured.txt -o without
holds err 'measured.txt: "lineshape: measured" needs the FID of the line that was measured; expected --reference FILE'
true_that 'nothing is made' test ! -e without
# a name may hold a prime, in the table and in a sum
sed "s/\\bLac\\b/H1'/g" "$c13/peaks.txt" >prime.txt
with_report=("$c13/c13_kidney.fid.f32" --json "$c13/c13_kidney.fid.json")
status 2 "$fit" "${with_report[@]}" prime.txt -o prime --derive "H1'/Lac"
holds err 'Lac'
true_that 'nothing is made of a wrong name' test ! -e prime
status 0 "$fit" "${with_report[@]}" prime.txt -o prime --derive "H1'/Pyr"
holds prime/derived.tsv "H1'/Pyr"

finish
