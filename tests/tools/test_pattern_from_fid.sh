#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The same line as line of the model, as text pattern, and as binary pattern made from its FID: one
# model. The entry that carries the pattern shifts, broadens and phases it.
. "$(dirname "$0")/harness.sh"
[ -x "$programs/varokel-import" ] && [ -x "$programs/varokel-simulate" ] || exit 1

# start NAME PATTERNS...: 64 points of 5 Hz, a Gaussian line, and one entry for each pattern
start() {
    local name=$1
    shift
    # the line at 95 Hz with 10 Hz: the pattern holds it at 80 Hz with 5 Hz, half as large
    local entry='2 1.5 95 0 20 2'
    [ $# -eq 0 ] || entry='4 0.5 15 0 20 1'
    start_file n_pnts=64 noistp=64 Hz_p_p=5.0 clcerr=0 "${@/#/pattern=}" '@ 2 64 1 1 1 1 1 0 1 0 100 2 1 0 40' \
        '1 1.0 250 16.7 -40 0' "$entry" >"$name"
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
