#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
compare=$programs/varokel-compare

common_habits varokel-compare

cat >wanted <<'TEXT'
File name            : run/brain
|  1	|  1.250000e+01	|  3.000000e-02	|
Number of iterations        :    57
version_3 31P  nan -inf
File created at :  14:05:59 CET Monday March 04 2024 
TEXT
cp wanted got
status 0 "$compare" got wanted
true_that 'nothing printed for equal files' test ! -s out

# changed SED-EXPRESSION OPTIONS...: status of a comparison after one change
changed() {
    sed "$2" wanted >got
    local wanted_status=$1
    shift 2
    status "$wanted_status" "$compare" got wanted "$@"
}
changed 1 's/1.250000e+01/1.250001e+01/'
holds out 'got:2:9: got 1.250001e+01, wanted 1.250000e+01, difference 1e-05, relative 8e-07'
holds out '1 line differs from wanted'
changed 0 's/1.250000e+01/1.250001e+01/' --rel 1e-6
changed 1 's/1.250000e+01/1.250001e+01/' --rel 5e-7
changed 0 's/1.250000e+01/1.250001e+01/' --abs 1.1e-5
changed 1 's/1.250000e+01/1.250001e+01/' --abs 0.9e-5
changed 0 's/1.250000e+01/12.5/'
changed 1 's/1.250000e+01/-1.250000e+01/' --rel 1
changed 1 's/1.250000e+01/nan/' --rel 1
changed 0 's/ nan/ -nan/'
changed 1 's/-inf/inf/' --rel 1 --abs 1e300
changed 1 's/    57/    58/' --rel 0.5 --abs 10
changed 0 's/    57/    58/' --int 1
changed 1 's/    57/    59/' --int 1
# words, the digits in them, blanks and line ends count to the byte
changed 1 's/brain/Brain/' --rel 1
holds out 'got:1:28: '
changed 1 's/version_3/version_4/' --int 5 --abs 5
changed 1 's/31P/32P/' --int 5 --abs 5
changed 1 's/  nan/ nan/' --rel 1
changed 1 's/	|$/ |/' --rel 1
changed 1 's/$/\r/' --rel 1
# time stamps by shape
changed 0 's/14:05:59 CET Monday March 04 2024/00:00:00 UTC Friday November 21 2025/'
changed 1 's/14:05:59/24:05:59/'
holds out 'no time stamp'
changed 1 's/Monday/Mondy/'
changed 1 's/2024/24/'
changed 1 's/File created at/File made at/'
# missing and additional lines
changed 1 '$d'
holds out 'got:5:1: 1 lines missing, first "File created at'
changed 1 '$a more'
holds out '1 lines more than wanted, first "more"'
printf '%s' "$(cat wanted)" >got
status 1 "$compare" got wanted
holds out 'line end missing'
# the first ten differences, or as many as asked for
seq 100 >many
seq 101 200 >other
status 1 "$compare" many other
true_that 'ten differences and a count' test "$(wc -l <out)" -eq 11
holds out '100 lines differ'
status 1 "$compare" many other --max 2
true_that 'two differences and a count' test "$(wc -l <out)" -eq 3
: >none
status 0 "$compare" none none
status 1 "$compare" none wanted

# parameters within a fraction of their errors; nan bounds nothing
printf '1.0 20.0 0.5\n3.0 x\n' >a.mat
printf '1.1 20.4 0.5\n3.0 x\n' >b.mat
printf '1.0 4.0 nan\n1e9 x\n' >b.err
status 0 "$compare" a.mat b.mat --errors b.err --fraction 0.1001
status 1 "$compare" a.mat b.mat --errors b.err --fraction 0.0999
holds out 'a.mat:1:1: got 1.0, wanted 1.1'
printf '1.1 20.4 0.6\n3.0 x\n' >b.mat
status 1 "$compare" a.mat b.mat --errors b.err --fraction 10
holds out 'a.mat:1:10: got 0.5, wanted 0.6'
status 2 "$compare" a.mat b.mat --fraction 1
status 3 "$compare" a.mat b.mat --errors missing --fraction 1

# signals: one scale for the whole signal
printf '1000 0\n0.001 -2\n' | signal a.f32
printf '1000 0\n0.002 -2\n' | signal b.f32
status 0 "$compare" a.f32 a.f32 --signal
status 1 "$compare" a.f32 b.f32 --signal
holds out 'a.f32: point 1: got (0.00100000005, -2), wanted (0.00200000009, -2), difference 0.001'
holds out '1 of 2 points differ'
status 0 "$compare" a.f32 b.f32 --signal --rel 1.01e-6
status 1 "$compare" a.f32 b.f32 --signal --rel 0.99e-6
status 0 "$compare" a.f32 b.f32 --signal --abs 0.00101
printf '1000 0\n' | signal short.f32
status 1 "$compare" short.f32 a.f32 --signal --rel 1
holds out '1 points, wanted 2'
printf '1000 0\n0.001 nan\n' | signal bad.f32
status 3 "$compare" bad.f32 a.f32 --signal
holds err 'bad.f32: 1 point is not a finite number (nan or inf): point 1'

status 3 "$compare" missing wanted
holds err 'missing: cannot be opened'
status 3 "$compare" . wanted
status 3 "$compare" wanted a.f32 --signal
status 2 "$compare" wanted
status 2 "$compare" wanted wanted --rel -1
status 2 "$compare" wanted wanted --rel x

finish
