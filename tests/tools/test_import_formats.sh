#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# One FID through every format: the same spectrum, bit for bit, and the same facts beside it. The
# files are written from the descriptions of the formats, not by the code that reads them.
. "$(dirname "$0")/harness.sh"
import=$programs/varokel-import
write() { perl "$tree/tests/tools/fid_file.pl" "$@"; }

# 64 points: two decaying lines and a structure that no symmetry hides, each value one of single
# precision, so that no format rounds it
perl -e 'for $k (0 .. 63) {
    $a = 3 * exp(-$k / 20); $w = 6.28318530717958648 * 0.13 * $k;
    printf "%.17g %.17g\n", map { unpack "f", pack("f", $_) }
        $a * cos($w) + 0.5 * cos(2.1 * $k) * exp(-$k / 40), $a * sin($w) - 0.5 * exp(-$k / 40) - 0.001 * $k }' >fid
signal plain.f32 <fid
status 0 "$import" plain.f32 -o want --dwell 0.0005 --axis falling
true_that 'there is something to compare with' test "$(wc -c <want/plain.bin)" -eq 512

# same NAME [ITEM...]: run/NAME.bin is the wanted spectrum, run/NAME.json has the items
same() {
    local name=$1
    shift
    true_that "run/$name.bin is the spectrum of the plain FID" cmp -s want/plain.bin "run/$name.bin"
    for item in '"dwell_time_s": 0.0005,' '"hz_per_point": 31.25,' '"ppm_rises_with_points": false' "$@"; do
        holds "run/$name.json" "$item"
    done
    lacks "run/$name.json" ustermann
}

for version in 1 2; do
    for order in little big; do
        for type in 64 128; do
            name=nifti_${version}_${order}_$type
            write nifti version=$version order=$order type=$type foreign=1 <fid >$name.nii
            status 0 "$import" $name.nii -o run
            same $name '"spectrometer_mhz": 123.25' '"nucleus": "1H"' '"ppm_at_carrier": 4.65' \
                '"format": "NIfTI-MRS"' "\"sha256\": \"$(sha256sum <$name.nii | cut -c 1-64)\""
            holds err 'guessed ppm_at_carrier 4.65'
            holds run/$name.json '"item": "ppm_at_carrier"'
        done
    done
done
for unit in ms us; do
    write nifti unit=$unit version=1 <fid | gzip >in_$unit.nii.gz
    status 0 "$import" in_$unit.nii.gz -o run
    same in_$unit
done
write nifti unit=none json='{"SpectrometerFrequency": 123.25, "ResonantNucleus": "31P",
    "AcquisitionStartTime": 0.001, "EchoTime": 0.03, "TxOffset": -2.0, "PatientName": "Mustermann"}' <fid >no_unit.nii
status 0 "$import" no_unit.nii -o run
same no_unit '"nucleus": "31P"' '"ppm_at_carrier": 0.0' '"begin_time_s": 0.001' '"phi_1_degrees": 720.0' \
    '"echo_time_s": 0.03' '"tx_offset_ppm_not_applied": -2.0'
holds err 'no unit of time'
holds out 'phi__1 720'
status 0 "$import" no_unit.nii -o options --nucleus 1H --ppm-at-carrier 4.7 --frequency 100 --begin-time 0 --bandwidth 1000
for item in '"nucleus": "1H"' '"ppm_at_carrier": 4.7' '"spectrometer_mhz": 100.0' '"phi_1_degrees": 0.0' \
    '"dwell_time_s": 0.001'; do
    holds options/no_unit.json "$item"
done
lacks err guessed
status 2 "$import" no_unit.nii -o options --dwell 1 --bandwidth 1

for style in plain touching nmid; do
    write raw style=$style <fid >$style.RAW
    status 0 "$import" $style.RAW -o run --dwell 0.0005
    same $style
done
holds run/touching.json '"spectrometer_mhz": 123.25'
status 0 "$import" nmid.RAW -o run --force # states its dwell time
status 3 "$import" plain.RAW -o run --force
holds err '--bandwidth'
write raw tramp=2 volume=8 bruker=T <fid >scaled.h2o
status 0 "$import" scaled.h2o -o run --bandwidth 2000
same scaled '"scaled_by_tramp_over_volume": 0.25' '"conjugated": true'

for columns in 2 4; do
    write jmrui columns=$columns begin=0.001 <fid >jmrui_$columns.txt
    status 0 "$import" jmrui_$columns.txt -o run
    same jmrui_$columns '"conjugated": true' '"spectrometer_mhz": 123.25' '"nucleus": "1H"' '"phi_1_degrees": 720.0'
    holds err 'guessed nucleus 1H'
done
write jmrui frequency_unit=MHz <fid >mhz.txt
status 0 "$import" mhz.txt -o run
same mhz '"spectrometer_mhz": 123.25'
holds err 'too small for hertz'

write sdat <fid >pair.SDAT
write spar <fid >pair.SPAR
status 0 "$import" pair.SDAT -o run
same pair '"conjugated": true' '"spectrometer_mhz": 123.25' '"nucleus": "1H"' '"echo_time_s": 0.03' \
    "\"sha256\": \"$(sha256sum <pair.SPAR | cut -c 1-64)\""
status 0 "$import" pair.SPAR -o run --force
same pair
cp pair.SDAT low.sdat
cp pair.SPAR low.spar
status 0 "$import" low.sdat -o run

write rda <fid >one.rda
write rda comma=1 <fid >comma.rda
for name in one comma; do
    status 0 "$import" $name.rda -o run
    same $name '"spectrometer_mhz": 123.25' '"nucleus": "1H"' '"conjugated": false' '"echo_time_s": 0.03'
done

write text <fid >columns.txt
{ echo 'real imaginary'; cat fid; } >heading.csv
for name in columns.txt heading.csv; do
    status 0 "$import" $name -o run --dwell 0.0005 --axis falling
    same ${name%.*}
done
cp columns.txt odd.ending
status 0 "$import" odd.ending -o run --dwell 0.0005 --format text --axis falling
same odd

# --conjugate is the mirror image for every format: the same spectrum again, with a rising axis
status 0 "$import" plain.f32 -o mirror --dwell 0.0005 --conjugate --axis falling
for file in nifti_2_big_128.nii touching.RAW jmrui_4.txt pair.SDAT one.rda columns.txt; do
    sense=()
    [ "$file" = columns.txt ] && sense=(--axis falling) # else rising is guessed
    status 0 "$import" "$file" -o mirror --dwell 0.0005 --conjugate "${sense[@]}"
    name=${file%.*}
    true_that "$file mirrored" cmp -s mirror/plain.bin "mirror/$name.bin"
    holds "mirror/$name.json" '"ppm_rises_with_points": true'
done
holds mirror/jmrui_4.json '"conjugated": false'
holds mirror/one.json '"conjugated": true'

# the same FID as a pattern
status 0 "$import" pattern plain.f32 -o want.pattern.bin
for file in in_ms.nii.gz pair.SDAT one.rda; do
    status 0 "$import" pattern $file -o $file.bin
    true_that "pattern of $file" cmp -s want.pattern.bin $file.bin
done

finish
