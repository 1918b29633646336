#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The control files and the pattern file printed by the help topics, extracted and fitted: a spectrum made
# from such a file, or from other values than it starts with, gives its values back within the printed
# error bounds.
. "$(dirname "$0")/harness.sh"

extract() { sed -n "/^--- begin $1/,/^--- end $1/p" | sed '1d;$d'; }

"$programs/varokel" -h 3 | extract example.par >start.par
true_that "a control file stands in topic 3" test -s start.par
status 0 "$programs/varokel-simulate" start.par -o mydata.bin --noise 0.003 --seed 5
status 0 "$programs/varokel" . mydata.bin start.par
lacks out 'fatal error'
holds out 'number of parameters fitted                 :    11'

# truth: the start values in natural units, as in the file
awk '/^number /{on = 1; next} on && NF == 6 {print $2, $3, $4, $5, $6} /^#1/{exit}' start.par >truth
# 2 sigma bounds; 20 numbers, 11 of them independent: 4 sigma leave a chance of 1 in 1,000. The width of
# 1.67 rounded and the single precision of the files stay far below.
paste truth mydata.mat mydata.err | awk '{
    for (j = 1; j <= 5; j++) {
        d = $j - $(j + 5); if (d < 0) d = -d
        if (d > 2 * $(j + 10) + 1e-6) { print "row", NR, "parameter", j, $j, $(j + 5), $(j + 10); bad = 1 }
    }
    rows++
} END { exit bad || rows != 4 }' >deviations
true_that "the fit gives the truth back: $(cat deviations)" test ! -s deviations

# the pattern of topic 8 in place of line 4, at 1280 Hz
"$programs/varokel" -h 8 | extract example.pat >example.pat
start_file n_pnts=1024 noistr=10 noistp=200 Hz_p_p=2.5 f__tol=1.0E-10 verbos=1 pattern=example.pat \
    '@ 2 1024 1 1 0 1 0 0 1 0 100 2 1 300 800' '4 2.0 0.0 0.0/1 10.0 0.0/1' >pattern.par
status 0 "$programs/varokel-simulate" pattern.par -o pattern.bin --noise 0.001 --seed 6
# the triplet stands at 1272, 1280 and 1288 Hz, points 509, 512 and 515; its middle is the highest
highest=$(values pattern.bin | awk '{m = $1 * $1 + $2 * $2; if (m > top) {top = m; at = NR - 1}} END {print at}')
true_that "the pattern is centred at point 512, not $highest" test "$highest" -eq 512
status 0 "$programs/varokel" . pattern.bin pattern.par
lacks out 'fatal error'
true_that "the scaling comes back" awk '$1 < 1.95 || $1 > 2.05 || $4 < 9 || $4 > 11 {bad = 1} END {exit bad || NR != 1}' pattern.mat

# a Lorentzian line and that pattern: the start values are the truth
# within TRUTH RUN: every value of RUN.mat is that of TRUTH, within twice its error (2 sigma), or to 1e-6
within() {
    true_that "$2 has the values of $1: $(paste "$1" "$2.mat" "$2.err")" awk -v rows="$(wc -l <"$1")" '
        FNR == 1 { file++ }
        file == 1 { for (j = 1; j <= 5; j++) truth[FNR, j] = $j }
        file == 2 { for (j = 1; j <= 5; j++) value[FNR, j] = $j }
        file == 3 {
            for (j = 1; j <= 5; j++) {
                d = truth[FNR, j] - value[FNR, j]
                if (d < 0) d = -d
                if (d > 2 * $j + 1e-6) bad = 1
            }
        }
        END { exit bad || file != 3 || FNR != rows }' "$1" "$2.mat" "$2.err"
}
values_of() { awk '/^number /{on = 1; next} on && NF == 6 {print $2, $3, $4, $5, $6} /^#1/{exit}' "$1"; }

"$programs/varokel" -h 3 | extract pattern.par >pattern.par
status 0 "$programs/varokel-simulate" pattern.par -o pattern.bin --noise 0.003 --seed 5 --force
status 0 "$programs/varokel" . pattern.bin pattern.par
holds out 'number of parameters fitted                 :     6'
values_of pattern.par >truth
within truth pattern

# the random step starts 25 Hz, three widths, from the line
"$programs/varokel" -h 3 | extract search.par >search.par
sed 's/^1   4.0  1280.0 .*/1 6.0 1255.0 6.0 25.0 9.0/' search.par >truth.par
status 0 "$programs/varokel-simulate" truth.par -o search.bin --noise 0.003 --seed 6
status 0 "$programs/varokel" . search.bin search.par
holds out 'Performing random fit step ...'
values_of truth.par >truth
within truth search

# fit mode 3: the lineshape is wider than a Voigt line at one side; its coefficients come back as well
"$programs/varokel" -h 3 | extract lineshape.par >lineshape.par
sed -e 's/^0.0 0.0$/0.25 0.1/; s/^1.0 0.0$/0.5 0.0/; s/^1   4.0 /1 5.0 /; s/^2   2.0 /2 1.5 /' lineshape.par |
    awk '/^0.25 0.1/ && seen++ {$2 = -0.1} {print}' >truth.par
status 0 "$programs/varokel-simulate" truth.par -o lineshape.bin --noise 0.002 --seed 7
status 0 "$programs/varokel" . lineshape.bin lineshape.par
holds out 'Fourier coefficient lineshape function fit active'
values_of truth.par >truth
within truth lineshape
true_that "coefficients $(sed -n '/^lsf_coefs/,/^end/p' compact.par)" awk '
    BEGIN { split("0.25 0.1 0.5 0 0.25 -0.1", truth) }
    /^end_of_lsf/ { on = 0 }
    on { d = $1 - truth[++n]; if (d < -0.02 || d > 0.02) bad = 1 }
    /^lsf_coefs/ { on = 1 }
    END { exit bad || n != 6 }' compact.par

# what topic 3 says about keyword lines: a shift is not always said
"$programs/varokel" -h 3 | extract example.par >start.par
sed '/^ignore/d' start.par >missing.par
status 0 "$programs/varokel" . mydata.bin missing.par
holds out 'file format error in line 2 to 16'
sed '/^showli/d' start.par >missing.par
status 255 "$programs/varokel" . mydata.bin missing.par
holds out 'unexpected header file'
sed 's/^f__tol.*/f__tol/' start.par >missing.par
status 0 "$programs/varokel" . mydata.bin missing.par
holds out 'number of parameters fitted                 :    11'
# and about a free width1: at 0 it never moves, above it does
sed '/^4 2    0.0$/s/2/0/' pattern.par >width.par
status 0 "$programs/varokel" . pattern.bin width.par
true_that 'a width1 that starts at 0 stays' awk 'NR == 2 { exit $3 > 1e-3 }' pattern.mat
finish
