#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The same line as line of the model, as text pattern, and as binary pattern made from its FID: one
# model. The entry that carries the pattern shifts, broadens and phases it.
. "$(dirname "$0")/harness.sh"
[ -x "$programs/varokel-import" ] && [ -x "$programs/varokel-simulate" ] || exit 1

# start NAME PATTERNS...: 64 points of 5 Hz, a Gaussian line, and one entry for each pattern
start() {
    local name=$1 entries=2 entry
    shift
    [ $# -gt 0 ] && entries=1
    {
        cat <<TEXT
version_3
n_pnts 64
noistr 0
noistp 64
nLines $entries
lsfcfs 0
phi__1 0.0
Hz_p_p 5.0
f__tol 1e-7
fit_mo 1
verbos 0
showli 1
clcerr 0
sg_idl none
ranges 2
ignore 0
pattrn $#
$*
   algor trunc  ampli  frequ  width  phase  voigt  lsfft  wtype  convo  niter  cmplx   n_int   min   max
@ 2 64 1 1 1 1 1 0 1 0 100 2 1 0 40
number       area          frequency      gausswidth        phase        lorentzwidth
TEXT
        # the line at 95 Hz with 10 Hz: the pattern holds it at 80 Hz with 5 Hz, half as large
        if [ $# -gt 0 ]; then entry='0.5 15 0 20 1' type=4; else entry='1.5 95 0 20 2' type=2; fi
        echo "1 1.0 250 16.7 -40 0"
        echo "2 $entry"
        printf '#1\nlsffit 0\n1 0 1.0\n1 0 250\n1 0 16.7\n1 0 -40\n1 0 0\n#2\nlsffit 0\n'
        for value in $entry; do echo "$type 0 $value"; done
        printf 'lsf_coefs\nend_of_lsf\n'
    } >"$name"
}

start line.par
start text.par three.pat
start binary.par three.bin
cat >three.pat <<'TEXT'
start_pattern
number_of_lines 1
parameters
name line_type area frequency gauss_width zero_phase lorentz_width
single lorentz 3.0 80.0 0.0 5.0
;
end_of_pattern
TEXT
# its FID: 80 Hz is point 16, so 16 points below the carrier, 32; 5 Hz is one point
awk 'BEGIN {
    pi = 3.14159265358979312
    for (n = 0; n < 64; n++) {
        a = 3 * exp(-pi * n / 64); w = 2 * pi * (16 - 32) * n / 64
        printf "%.9e %.9e\n", a * cos(w), a * sin(w)
    }
}' | signal three.f32
status 0 "$programs/varokel-import" pattern three.f32 -o three.bin

for kind in line text binary; do
    status 0 "$programs/varokel-simulate" $kind.par -o $kind.out --noise 0 --seed 1 --truth $kind.json
done
# single precision of the files
status 0 "$programs/varokel-compare" text.out line.out --signal --rel 1e-6
status 0 "$programs/varokel-compare" binary.out line.out --signal --rel 1e-6
# the area counts in units of the pattern, whatever its norm
for kind in text binary; do
    holds $kind.json '"type": "pattern"'
    holds $kind.json '"area": 0.5'
done

finish
