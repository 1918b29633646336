#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The control file and the pattern file printed by the help topics, extracted and fitted: a spectrum made
# from the control file with noise gives its start values back within the printed error bounds.
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
cat >pattern.par <<TEXT
version_3
n_pnts 1024
noistr 10
noistp 200
nLines 0
lsfcfs 0
phi__1 0.0
Hz_p_p 2.5
f__tol 1.0E-10
fit_mo 1
verbos 1
showli 1
clcerr 1
sg_idl none
ranges 2
ignore 0
pattrn 1
example.pat
algor trunc ampli frequ width phase voigt lsfft wtype convo niter cmplx n_int min max
@ 2 1024 1 1 0 1 0 0 1 0 100 2 1 300 800
number area frequency gausswidth phase lorentzwidth
1 2.0 0.0 0.0 10.0 0.0
#1
lsffit 0
4 0 2.0
4 0 0.0
4 1 0.0
4 0 10.0
4 1 0.0
lsf_coefs
end_of_lsf
TEXT
status 0 "$programs/varokel-simulate" pattern.par -o pattern.bin --noise 0.001 --seed 6
# the triplet stands at 1272, 1280 and 1288 Hz, points 509, 512 and 515; its middle is the highest
highest=$(values pattern.bin | awk '{m = $1 * $1 + $2 * $2; if (m > top) {top = m; at = NR - 1}} END {print at}')
true_that "the pattern is centred at point 512, not $highest" test "$highest" -eq 512
status 0 "$programs/varokel" . pattern.bin pattern.par
lacks out 'fatal error'
true_that "the scaling comes back" awk '$1 < 1.95 || $1 > 2.05 || $4 < 9 || $4 > 11 {bad = 1} END {exit bad || NR != 1}' pattern.mat
finish
