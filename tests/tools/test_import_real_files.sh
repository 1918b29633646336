#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Files that scanners and other programs wrote: lines stand where chemistry puts them, on the axis that
# the sidecar describes.
. "$(dirname "$0")/harness.sh"
import=$programs/varokel-import
cp "$tree"/tests/tools/data/*.* . && chmod u+w ./*

# strongest NAME FROM TO: ppm and magnitude of the strongest point of run/NAME.bin between two ppm
strongest() {
    local axis
    axis=$(for item in points hz_per_point spectrometer_mhz ppm_at_carrier ppm_rises_with_points; do
        sed -n "s/^  \"$item\": \(.*\),\$/\1/p" "run/$1.json"
    done | tr '\n' ' ')
    values "run/$1.bin" | awk -v axis="$axis" -v from="$2" -v to="$3" '
    BEGIN { if (split(axis, a, " ") != 5) exit; sense = a[5] == "true" ? 1 : -1 }
    { ppm = a[4] + sense * (NR - 1 - a[1] / 2) * a[2] / a[3]; m = sqrt($1 * $1 + $2 * $2)
      if (ppm >= from && ppm <= to && m > top) { top = m; at = ppm } } END { print at, top }'
}
# line NAME PPM TOLERANCE: the strongest point within 0.1 ppm (or 3 times the tolerance) is there
line() {
    local at top
    read -r at top <<<"$(strongest "$1" "$(awk "BEGIN { print $2 - 3 * $3 }")" "$(awk "BEGIN { print $2 + 3 * $3 }")")"
    true_that "line of $1 at $at ppm, expected $2" awk "BEGIN { d = $at - ($2); exit !(d > -$3 && d < $3) }"
}
# stands NAME PPM FROM TO RATIO: the line at PPM is RATIO times what lies between FROM and TO
stands() {
    local at top other
    read -r at top <<<"$(strongest "$1" "$(awk "BEGIN { print $2 - 0.15 }")" "$(awk "BEGIN { print $2 + 0.15 }")")"
    read -r at other <<<"$(strongest "$1" "$3" "$4")"
    true_that "$1 at $2 ppm is $top, between $3 and $4 ppm $other" awk "BEGIN { exit !($top > $5 * $other) }"
}

# proton spectra of brain: NAA, creatine, choline; their mirror images about water hold nothing
status 0 "$import" brain_press30.SDAT -o run --ppm-at-carrier 4.6738
for item in '"spectrometer_mhz": 127.755264' '"dwell_time_s": 0.0005' '"nucleus": "1H"' '"echo_time_s": 0.03' \
    '"repetition_time_s": 2.0' \
    '"conjugated": true' '"ppm_rises_with_points": false' "\"sha256\": \"$(sha256sum <brain_press30.SDAT | cut -c 1-64)\""; do
    holds run/brain_press30.json "$item"
done
tr -d ' \n' <run/brain_press30.json >one_line
holds one_line '"voxel_mm":[26.0,26.0,30.0]'
lacks one_line '"date"' # an empty item is none
sed 's/^scan_date :.*/scan_date : "2019.01.31 12:00:00"/' brain_press30.SPAR >dated.SPAR
cp brain_press30.SDAT dated.SDAT
status 0 "$import" dated.SDAT -o run --ppm-at-carrier 4.6738
holds run/dated.json '"date": "2019-01-31"'
status 0 "$import" brain_steam11.nii.gz -o run --ppm-at-carrier 4.6538 --resize fill
for item in '"spectrometer_mhz": 297.219948' '"dwell_time_s": 8.33e-05' '"nucleus": "1H"' '"echo_time_s": 0.011' '"repetition_time_s": 5.0' \
    '"conjugated": false' '"ppm_rises_with_points": false' '"tx_offset_ppm_not_applied": -2.0' \
    '"how": "filled with zeros"' "\"sha256\": \"$(sha256sum <brain_steam11.nii.gz | cut -c 1-64)\""; do
    holds run/brain_steam11.json "$item"
done
holds err 'no unit of time'
holds err 'filled with zeros from 4095 to 4096 points'
lacks err 'not independent after filling' # by 1.0001
for name in brain_press30 brain_steam11; do
    line $name 2.01 0.03
    line $name 3.03 0.03
    line $name 3.21 0.03
    stands $name 2.01 7.2 7.5 5
    stands $name 3.03 6.1 6.4 5
done
# of the header only what is needed is passed on
for text in FMRIB SIEMENS Oxford MID310 STEAM PRESS HFS Investigational ReceiveCoil; do
    true_that "no \"$text\" in an output" test -z "$(grep -rl "$text" run)"
done
status 3 "$import" brain_steam11.nii.gz -o other
holds err '4095 points, but a fit needs a power of two. --resize 4096 fills with zeros, --resize 2048 cuts.'

# phosphorus: phosphocreatine, alpha- and beta-ATP; the file states no dwell time
status 3 "$import" p31_7t.RAW -o run
status 0 "$import" p31_7t.RAW -o run --bandwidth 6000 --nucleus 31P
holds err 'guessed ppm_at_carrier 0'
for item in '"spectrometer_mhz": 120.30942' '"ppm_at_carrier": 0.0' '"ppm_rises_with_points": false'; do
    holds run/p31_7t.json "$item"
done
line p31_7t 0 0.2
line p31_7t -7.6 0.3
line p31_7t -16.1 0.4
stands p31_7t -7.6 6 9 1.5

# xenon in the lung: gas at the carrier, tissue and blood near 200 ppm, on a rising axis
status 0 "$import" lung_xe129.txt -o run --bandwidth 20000 --frequency 35.340772 --nucleus 129Xe \
    --ppm-at-carrier 0 --axis rising --begin-time 7.14e-5
holds out 'phi__1 514.08'
line lung_xe129 0 3
line lung_xe129 200 8
read -r at top <<<"$(strongest lung_xe129 180 220)"
read -r at other <<<"$(strongest lung_xe129 -220 -180)"
true_that "tissue $top above its mirror image $other" awk "BEGIN { exit !($top > 2 * $other) }"

finish
