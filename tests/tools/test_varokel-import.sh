#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
import=$programs/varokel-import

common_habits varokel-import

# Two FIDs of 16 points: decaying oscillations with some structure that no symmetry hides.
awk 'BEGIN {
    for (s = 0; s < 2; s++) for (k = 0; k < 16; k++) {
        a = exp(-0.1 * k); w = 2 * 3.14159265358979 * 3.3 * k / 16
        print (2 + s) * a * cos(w) + 0.01 * k, 2 * a * sin(w) - 0.02 * s
    }
}' >fids.txt
signal pair.fid.f32 <fids.txt
printf '{ "n_points": 16, "n_spectra": 2, "dwell_time_s": 0.001, "spectrometer_MHz": 100.5,
  "ppm_at_carrier": 4.7, "nucleus": "1H", "noise_only_points": [2, 5],
  "metabolite_interval_points": [7, 12], "dead_time_s": 0.0003 }' >pair.json

# dft WEIGHT FIRST < values: centred spectrum of 16 points from point FIRST on, by definition
dft() {
    awk -v w="$1" -v first="$2" '
    NR > first && NR <= first + 16 { re[NR - first - 1] = $1; im[NR - first - 1] = $2 }
    END {
        re[0] *= w; im[0] *= w
        for (i = 0; i < 16; i++) {
            j = (i + 8) % 16; a = b = 0
            for (k = 0; k < 16; k++) {
                t = -2 * 3.14159265358979312 * j * k / 16
                a += re[k] * cos(t) - im[k] * sin(t); b += re[k] * sin(t) + im[k] * cos(t)
            }
            printf "%.9e %.9e\n", a / 16, b / 16
        }
    }'
}
# near A B: the same numbers to single-precision rounding of values up to about 2
near() {
    paste "$1" "$2" | awk '
    { d1 = $1 - $3; d2 = $2 - $4; if (d1 * d1 + d2 * d2 > 4e-14) bad = 1 }
    END { exit bad || NR != 16 }'
}

status 2 "$import" pair.fid.f32 -o run
holds err '--index 0 to 1'
status 2 "$import" pair.fid.f32 -o run --index 2
holds err 'has index 1'
status 0 "$import" pair.fid.f32 -o run --index 1
holds out run/pair_1.bin
holds out run/pair_1.json
holds out 'n_pnts 16'
holds out 'Hz_p_p 62.5'
holds out 'noistr 2'
holds out 'noistp 6'
holds out 'phi__1 108'
values pair.fid.f32 | dft 0.5 16 >wanted
values run/pair_1.bin >got
true_that 'spectrum is the DFT with half the first point, centred' near got wanted
for item in '"hz_per_point": 62.5' '"spectrometer_mhz": 100.5' '"ppm_at_carrier": 4.7' \
    '"nucleus": "1H"' '"points": 16' '"dwell_time_s": 0.001' '"phi_1_degrees": 108.0' \
    '"first": 2' '"stop": 6' '"index": 1' '"ppm_rises_with_points": true'; do
    holds run/pair_1.json "$item"
done
# the frequency under the name that sidecars have, too; where there is none there are no ppm, which is said
sed 's/spectrometer_MHz/spectrometer_mhz/' pair.json >named.json
sed '/spectrometer_MHz/s/"spectrometer_MHz": 100.5,//' pair.json >none.json
status 0 "$import" pair.fid.f32 -o named --index 1 --json named.json
holds named/pair_1.json '"spectrometer_mhz": 100.5'
true_that 'a frequency that is known is not missed' test "$(grep -c 'frequency is not known' err)" = 0
status 0 "$import" pair.fid.f32 -o none --index 1 --json none.json
holds err 'pair.fid.f32: the spectrometer frequency is not known; give --frequency to have ppm'
holds none/pair_1.json '"the spectrometer frequency is not known; give --frequency to have ppm"'
sd=$(sed -n '3,6p' got | awk '{ s += $1; q += $1 * $1 } END { printf "%.5f", sqrt(q / 4 - s * s / 16) }')
holds run/pair_1.json "\"sd_real\": $(printf '%.4s' "$sd")"

# nothing is overwritten unasked, nothing is left behind
cp run/pair_1.bin kept
status 4 "$import" pair.fid.f32 -o run --index 1 --conjugate
holds err 'run/pair_1.bin: exists; --force'
true_that 'refused output is as it was' cmp -s kept run/pair_1.bin
status 0 "$import" pair.fid.f32 -o run --index 1 --conjugate --force
true_that 'forced output differs' test -n "$(cmp kept run/pair_1.bin 2>&1)"
true_that 'no part of a file is left' test "$(ls run)" = "pair_1.bin
pair_1.json"
status 4 "$import" pair.fid.f32 -o pair.json --index 0
holds err pair.json

# conjugated: mirrored about point 0, conjugated, and so are its stretches and its axis
values run/pair_1.bin | awk '{ re[NR - 1] = $1; im[NR - 1] = $2 }
    END { for (j = 0; j < 16; j++) printf "%.9e %.9e\n", re[(16 - j) % 16], -im[(16 - j) % 16] }' >got
true_that 'spectrum of the conjugate is the mirror image' near got wanted
holds run/pair_1.json '"first": 11'
holds run/pair_1.json '"stop": 15'
holds run/pair_1.json '"ppm_rises_with_points": false'
status 0 "$import" pair.fid.f32 -o falling --index 0 --axis falling --conjugate
holds falling/pair_0.json '"ppm_rises_with_points": true'

# an output never replaces its own input, forced or not
head -c 128 pair.fid.f32 >same.bin
status 4 "$import" same.bin -o . --dwell 1 --force
holds err 'would overwrite its own input'
true_that 'the input is whole' cmp -s -n 128 same.bin pair.fid.f32
cp same.bin twin.f32
printf '{ "dwell_time_s": 1 }' >twin.json
status 4 "$import" twin.f32 -o . --force
holds err 'twin.json: would overwrite its own input'
true_that 'no half of the output' test ! -e twin.bin

# without a JSON
head -c 128 pair.fid.f32 >alone.f32
status 3 "$import" alone.f32 -o run
holds err '--dwell'
status 0 "$import" alone.f32 -o run --dwell 0.001 --frequency 64 --ppm-at-carrier 4.65 --begin-time 0
values alone.f32 | dft 0.5 0 >wanted
values run/alone.bin >got
true_that 'spectrum without a JSON' near got wanted
holds err 'quietest stretch'
holds run/alone.json '"chosen_by": "quietest stretch"'
holds run/alone.json '"spectrometer_mhz": 64.0'
lacks run/alone.json nucleus

# lengths that are no power of two
head -c 96 pair.fid.f32 >twelve.f32
status 3 "$import" twelve.f32 -o run --dwell 0.001
holds err '--resize 16 fills with zeros, --resize 8 cuts'
status 2 "$import" twelve.f32 -o run --dwell 0.001 --resize 12
status 0 "$import" twelve.f32 -o run --dwell 0.001 --resize 16
holds err 'filled with zeros from 12 to 16'
holds err 'multiply the error bounds of the fit by 1.15,'
head -12 fids.txt >short.txt
{ cat short.txt; yes '0 0' | head -4; } | dft 0.5 0 >wanted
values run/twelve.bin >got
true_that 'filled spectrum' near got wanted
status 0 "$import" pair.fid.f32 -o cut --index 0 --resize 8
holds cut/pair_0.json '"points": 8'
holds cut/pair_0.json '"hz_per_point": 125.0'

# what cannot be read
status 3 "$import" missing.f32 -o run --dwell 1
holds err 'missing.f32: no such file'
head -c 100 pair.fid.f32 >odd.f32
status 3 "$import" odd.f32 -o run --dwell 1
holds err 'odd.f32: 100 bytes; expected whole points of 8 bytes'
: >empty.f32
status 3 "$import" empty.f32 -o run --dwell 1
holds err 'empty.f32: empty'
status 3 "$import" . -o run --dwell 1
holds err 'a folder'
{ head -5 fids.txt; echo '1 nan'; echo 'inf 0'; sed -n '8,16p' fids.txt; } | signal bad.f32
status 3 "$import" bad.f32 -o run --dwell 1
holds err 'bad.f32: 2 points are not a finite number (nan or inf): point 5, 6'
true_that 'no output of a bad input' test ! -e run/bad.bin
status 3 "$import" pair.fid.f32 -o run --index 0 --points 5
holds err '32 complex points are no whole number of spectra of 5 points'
# x.fid.json is of the FID; x.json may be the sidecar of the spectrum that was made from it
mkdir near
cp pair.fid.f32 near/
printf '{ "n_points": 16, "dwell_time_s": 0.25 }' >near/pair.fid.json
printf '{ "n_points": 16, "dwell_time_s": 0.5 }' >near/pair.json
status 0 "$import" near/pair.fid.f32 -o near_read --index 0
holds near_read/pair_0.json '"dwell_time_s": 0.25'
rm near/pair.fid.json
status 0 "$import" near/pair.fid.f32 -o near_read --index 0 --force
holds near_read/pair_0.json '"dwell_time_s": 0.5'
printf '{ "n_points": 16, "n_spectra": 3, "dwell_time_s": 1 }' >wrong.json
status 3 "$import" pair.fid.f32 -o run --index 0 --json wrong.json
holds err 'n_spectra 3'
printf '{ "n_points": 16, "dwell_time_s": -1 }' >wrong.json
status 3 "$import" pair.fid.f32 -o run --index 0 --json wrong.json
holds err 'wrong.json: item "dwell_time_s" is -1; expected a number above 0'
printf '{ "n_points": 16, "noise_only_points": [3, 16] }' >wrong.json
status 3 "$import" pair.fid.f32 -o run --index 0 --json wrong.json
holds err 'two points [first, last] within 0 to 15'
printf '{ "n_points": 16' >wrong.json
status 3 "$import" pair.fid.f32 -o run --index 0 --json wrong.json
holds err 'wrong.json: no valid JSON'

# what cannot be written
status 4 "$import" alone.f32 -o alone.f32/run --dwell 1
: >plain
status 4 "$import" alone.f32 -o plain --dwell 1
status 2 "$import" alone.f32
holds err 'expected -o FOLDER'
status 2 "$import"
holds err 'no INPUT'

# patterns: conjugated and reversed, first point whole
status 0 "$import" pattern pair.fid.f32 -o naa.bin --index 1
holds out naa.bin
values pair.fid.f32 | dft 1 16 | awk '{ re[NR - 1] = $1; im[NR - 1] = $2 }
    END { for (j = 0; j < 16; j++) printf "%.9e %.9e\n", re[(16 - j) % 16], -im[(16 - j) % 16] }' >wanted
values naa.bin >got
true_that 'pattern' near got wanted
status 4 "$import" pattern pair.fid.f32 -o naa.bin --index 1
status 0 "$import" pattern pair.fid.f32 -o naa.bin --index 1 --force
status 4 "$import" pattern pair.fid.f32 -o no/such/naa.bin --index 1
status 2 "$import" pattern pair.fid.f32 --index 1
awk 'BEGIN { for (k = 0; k < 8192; k++) print 1, 0 }' | signal long.f32
status 3 "$import" pattern long.f32 -o long.bin
holds err 'a pattern holds up to 4096'
status 0 "$import" pattern long.f32 -o long.bin --resize 4096

finish
