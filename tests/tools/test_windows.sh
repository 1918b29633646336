#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Windows in a table of peaks: how they are written, that the fit holds them, that it says so.
. "$(dirname "$0")/harness.sh"

example=$tree/examples/p31_brain
# cell TABLE NAME COLUMN
cell() {
    awk -F '\t' -v entry="$2" -v name="$3" '
        NR == 1 { for (i = 1; i <= NF; i++) { if ($i == name) c = i; if ($i == "name") n = i } }
        NR > 1 && $n == entry { print $c }' "$1"
}
near() { perl -e 'exit !(abs($ARGV[0] - $ARGV[1]) <= $ARGV[2])' -- "$1" "$2" "$3"; }
# fit NAME SED...: the example with rows that sed changes
fit() {
    local name=$1
    shift
    sed "$@" "$example/peaks.txt" >"$name.txt"
    status 0 "$programs/varokel-fit" "$example/p31_brain.fid.f32" "$name.txt" \
        --json "$example/p31_brain.fid.json" -o "$name" --method exact --no-report
}

fit free -e 's/^#.*//'
width=$(cell free/results.tsv PCr lorentz_fwhm_hz)
true_that 'PCr is 15.7 Hz wide' near "$width" 15.73 0.02
# a window around the result changes nothing, and is not mentioned
fit around -e '/^PCr/s/15.41/15.41 +- 1/'
lacks err 'at_bound'
true_that 'the same width' near "$(cell around/results.tsv PCr lorentz_fwhm_hz)" "$width" 1e-4
# each way to write one that the free result violates ends at its edge
edge() { # SED WIDTH
    fit held -e "$1"
    holds err "at_bound: parameters at the edge of their window: Lorentz width $2 Hz of #10 (PCr)"
    true_that "$1: at the edge" near "$(cell held/results.tsv PCr lorentz_fwhm_hz)" "$2" 1e-9
    holds held/quality.tsv 'at_bound'
    rm -r held
}
edge '/^PCr/s/15.41/15 [10, 15]/' 15
edge '/^PCr/s/15.41/15 [15, 10]/' 15
edge '/^PCr/s/15.41/15.2 +- 0.2/' 15.4
edge '/^PCr/s/15.41/15 < 15/' 15
edge '/^PCr/s/15.41/18 > 17.5 Hz/' 17.5
edge '/^PCr/s/15.41/18 >= 17.5/' 17.5
edge '/^PCr/s/15.41/14 > 2 < 14.5/' 14.5
# a start outside of its window begins at the edge
edge '/^PCr/s/15.41/30 < 14/' 14

# areas, frequencies, estimates, ties
fit area -e '/^GPE/s/ 0.8 /  0.8 > 1  /'
true_that 'an area at its edge' near "$(cell area/results.tsv GPE area)" 1 1e-9
fit estimate -e '/^GPE/s/ 0.8 /  ? < 0.7  /'
true_that 'an estimated one' near "$(cell estimate/results.tsv GPE area)" 0.7 1e-9
fit place -e '/^Pin/s/ 4.82 /  4.78 +- 0.02 ppm  /'
holds err 'frequency 576 Hz of #13 (Pin)'
true_that 'a place at its edge' near "$(cell place/results.tsv Pin shift_ppm)" 4.80 1e-6
fit tied -e '/^GATP2/s/=GATP  *=BATP/=GATP [10, 25]  =BATP/'
true_that 'a window of a tied width holds for both' near "$(cell tied/results.tsv GATP lorentz_fwhm_hz)" 25 1e-9

# the start values say what is held
cp free/p31_brain.bin free/p31_brain.json .
sed -e '/^PCr/s/ 0  / 0 +- 0.1 /' -e '/^PCr/s/15.41/15.41 > 10 Hz/' "$example/peaks.txt" >shown.txt
status 0 "$programs/varokel-start" shown.txt -d p31_brain.bin --explain
holds out 'held from -0.1 to 0.1 ppm'
holds out 'held above 10 Hz'

# mistakes are named with their place
refused() { # SED MESSAGE
    sed "$1" "$example/peaks.txt" >wrong.txt
    status 3 "$programs/varokel-start" wrong.txt -d p31_brain.bin --explain
    holds err "$2"
}
refused '/^PCr/s/15.41/15 > 20 < 10/' 'a window that is not empty'
refused '/^PCr/s/15.41/15 > 2 > 3/' 'one lower and one upper edge'
refused '/^PCr/s/15.41/15 +- 0/' 'a number above 0 behind +-'
refused '/^PCr/s/15.41/15 [1, ]/' 'the greatest value of the window'
refused '/^PCr/s/ 4.37 / ? +- 1 /' 'around an estimate or a link there is no window'
refused '/^PCr/s/15.41/15 > 3 Hz < 1 ppm/' 'both edges of the window in one unit'
refused '/^PCr/s/15.41/fixed 15 < 20/' 'the end of the cell'
finish
