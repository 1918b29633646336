#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# JSON that somebody else wrote: nested without end, or with words in the place of numbers, it is
# refused with file and item, by whatever program reads it.
. "$(dirname "$0")/harness.sh"

# deep: what 200,000 levels are; a reader that recurses has no stack left
deep() { perl -e 'print "[" x 200000, "]" x 200000'; }
refused() {
    local text=$1
    shift
    status 3 "$@"
    holds err "$text"
}

c13=$tree/examples/c13_kidney
status 0 "$programs/varokel-fit" "$c13/c13_kidney.fid.f32" "$c13/peaks.txt" \
    --json "$c13/c13_kidney.fid.json" -o run --no-report
name=c13_kidney
{ printf '{ "points": 1024, "remark": '; deep; printf ' }'; } >deep.json

# ---- beside a measured file, and of a spectrum to which a start file is made ----
cp "$c13/c13_kidney.fid.f32" raw.fid.f32
refused 'deep.json: JSON nested deeper than 64 levels' \
    "$programs/varokel-import" raw.fid.f32 -o imported --json deep.json
cp run/$name.bin spectrum.bin
cp deep.json spectrum.json
refused 'spectrum.json: JSON nested deeper than 64 levels' \
    "$programs/varokel-start" "$c13/peaks.txt" -d spectrum.bin -o start.par
for place in '"noise_window": { "first": "ten", "stop": 20 }|item "noise_window.first" is "ten"' \
    '"noise_window": { "first": 20, "stop": 10 }|item "noise_window" is {"first":20,"stop":10}; expected' \
    '"resized": { "from": [1] }|item "from" is [1]' \
    '"hz_per_point": "five"|item "hz_per_point" is "five"' \
    '"hz_per_point": 1.7e308|item "hz_per_point" is 1.7e+308; expected a number from 1e-30 to 1e30' \
    '"hz_per_point": 1e-31|item "hz_per_point" is 1e-31; expected a number from 1e-30 to 1e30' \
    '"spectrometer_mhz": 1e-307, "ppm_at_carrier": 0|item "spectrometer_mhz" is 1e-307; expected a number from 1e-30' \
    '"ppm_at_carrier": -1e308, "spectrometer_mhz": 50|item "ppm_at_carrier" is -1e+308; expected a number from -1e30' \
    '"phi_1_degrees": 1e308|item "phi_1_degrees" is 1e+308; expected a number from -1e30 to 1e30' \
    '"points": 1e300|item "points" is 1e+300'; do
    printf '{ "points": 1024, "hz_per_point": 5, %s }' "${place%|*}" >spectrum.json
    refused "spectrum.json: ${place#*|}" "$programs/varokel-start" "$c13/peaks.txt" -d spectrum.bin -o start.par
done
true_that 'nothing was written' test ! -e imported -a ! -e start.par

# ---- in the folder of a fit: sidecar and record of the exact fit ----
cp run/$name.json whole.json
cp deep.json run/$name.json
refused "$name.json: JSON nested deeper than 64 levels" "$programs/varokel-report" run --force
for item in dwell_time_s begin_time_s echo_time_s spectrometer_mhz; do
    perl -0pe 's/\s*"'$item'":[^,}]*(,?)/$1 eq "," ? "" : ""/e; s/\{/{ "'$item'": "soon",/' whole.json >run/$name.json
    refused "$name.json: item \"$item\" is \"soon\"; expected" "$programs/varokel-report" run --force
done
cp whole.json run/$name.json
cp run/optimum.json whole.json
deep >run/optimum.json
refused 'optimum.json: JSON nested deeper than 64 levels' "$programs/varokel-report" run --force
printf '{ "form": ' >run/optimum.json
refused 'optimum.json: no valid JSON' "$programs/varokel-report" run --force
printf '[]' >run/optimum.json
refused 'optimum.json: no JSON object' "$programs/varokel-report" run --force
for change in 's/"method": "[^"]*"/"method": "exact\\nboth\\tx"/|method: expected exact or both' \
    's/"noise_sd": [^,]*/"noise_sd": "low"/|noise_sd: expected a number' \
    's/"evaluations": [^,]*/"evaluations": -1/|evaluations: expected a count' \
    's/"at_bound": \[/"at_bound": [ 7,/|at_bound: expected rows of their length'; do
    perl -0pe "${change%|*}" whole.json >run/optimum.json
    refused "optimum.json, ${change#*|}" "$programs/varokel-report" run --force
done
true_that 'no page was begun' test ! -e run/report.html
cp whole.json run/optimum.json
status 0 "$programs/varokel-report" run --force

# ---- a signal without end of its own: the extension of a NIfTI header ----
if status 0 "$programs/varokel-report" run --force && [ -s run/fit.nii.gz ]; then
    perl -e '
        sub gap { pack("x" . $_[0]) }
        open F, "-|", "gzip", "-dc", "run/fit.nii.gz"; local $/; my $b = <F>;
        my $v2 = unpack("l<", $b) == 540; my $head = $v2 ? 540 : 348;
        my ($size) = unpack("l<", substr $b, $head + 4, 4);
        my $offset = $v2 ? unpack("q<", substr $b, 168, 8) : unpack("f<", substr $b, 108, 4);
        my $json = "{\"a\":" . "[" x 200000 . "]" x 200000 . "}";
        $json .= " " x (8 - length($json) % 16 + 16);
        my $new = 8 + length $json; die "not a multiple of 16" if $new % 16;
        my $at = $head + 4 + $new;
        substr($b, $v2 ? 168 : 108, $v2 ? 8 : 4) = $v2 ? pack("q<", $at) : pack("f<", $at);
        print substr($b, 0, $head + 4), pack("l<l<", $new, 44), $json, substr($b, $offset);' >deep.nii
    refused 'the header extension with code 44: JSON nested deeper than 64 levels' \
        "$programs/varokel-import" deep.nii -o imported
fi

finish
