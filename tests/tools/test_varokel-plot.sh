#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
plot=$programs/varokel-plot

common_habits varokel-plot

# 16 points; the data have one spike of 4 at point 4, the fit one of 3, the residual what is left;
# two components, spikes of 2 and 1
spike() { awk -v h="$1" 'BEGIN { for (i = 0; i < 16; i++) print (i == 4) * h, 0 }'; }
spike 4 | signal run.org
spike 3 | signal run.fit
spike 1 | signal run.res
{ spike 2; spike 1; } | signal run.nln0

status 0 "$plot" run -o plain.svg
holds out plain.svg
true_that 'starts as SVG' grep -q '^<svg xmlns="http://www.w3.org/2000/svg" width="800"' plain.svg
true_that 'ends as SVG' test "$(tail -1 plain.svg)" = '</svg>'
true_that 'three curves' test "$(grep -c '<polyline' plain.svg)" -eq 3
holds plain.svg '>point</text>'
# 400 pixels for 4 + 1 units in all: 80 each. Point 4 of 0 to 15 lies at 20 + 760 4/15 = 222.7,
# the data start at 52 with their spike, the fit 80 below; the residual begins 14 below 52 + 320.
for peak in '222.7,52 ' '222.7,132 ' '222.7,386 '; do holds plain.svg "$peak"; done

# the same run gives the same picture, and nothing is overwritten unasked
status 0 "$plot" run -o again.svg
true_that 'deterministic' cmp -s plain.svg again.svg
status 4 "$plot" run -o again.svg
holds err 'again.svg: exists'
status 0 "$plot" run -o again.svg --force
status 4 "$plot" run -o run.fit --force
holds err 'would overwrite its own input'

# axes: ppm falls to the right, whichever way the points run
status 0 "$plot" run -o hz.svg --hz-per-point 2
holds hz.svg '>frequency from the carrier (Hz)</text>'
holds hz.svg '222.7,52 '
# the left edge is -16 Hz, 2 Hz a point: -15 Hz at 20 + 760 (1/2)/15 = 45.3
true_that 'tick of -15 Hz' grep -q '<text x="45.3" .*>−15</text>' hz.svg
ppm='--hz-per-point 10 --mhz 100 --ppm-at-carrier 4.5'
# shellcheck disable=SC2086
status 0 "$plot" run -o rising.svg $ppm
holds rising.svg '>chemical shift (ppm)</text>'
holds rising.svg '577.3,52 '
# carrier, point 8, 4.5 ppm, 0.1 ppm a point: 4.6 ppm is point 9, at 780 - 760 9/15 = 324
true_that 'tick of 4.6 ppm' grep -q '<text x="324" .*>4.6</text>' rising.svg
# shellcheck disable=SC2086
status 0 "$plot" run -o falling.svg $ppm --ppm-falls
holds falling.svg '222.7,52 '
true_that 'tick of 4.4 ppm' grep -q '<text x="476" .*>4.4</text>' falling.svg
# shellcheck disable=SC2086
status 0 "$plot" run -o points.svg $ppm --axis points
holds points.svg '>point</text>'
printf '{ "hz_per_point": 10, "spectrometer_mhz": 100, "ppm_at_carrier": 4.5, "nucleus": "31P" }' >run.json
status 0 "$plot" run -o sidecar.svg
holds sidecar.svg '>31P chemical shift (ppm)</text>'
sed 's/31P chemical/chemical/' sidecar.svg >got.svg
true_that 'sidecar and options agree' cmp -s got.svg rising.svg
rm run.json
status 3 "$plot" run -o no.svg --axis ppm
holds err '--ppm-at-carrier'
status 3 "$plot" run -o no.svg --axis hz
printf '{ "hz_per_point": "ten" }' >run.json
status 3 "$plot" run -o no.svg
holds err 'run.json: item "hz_per_point" is "ten"; expected a number'
rm run.json

# intervals, view, components, phase, title
status 0 "$plot" run -o range.svg --range 3:6 --range 10:99
true_that 'two stretches shaded' test "$(grep -c 'fill="#eef2f7"' range.svg)" -eq 2
holds range.svg '<rect x="172" y="46" width="152"'
holds range.svg '<rect x="526.7" y="46" width="253.3"'
status 0 "$plot" run -o view.svg --view 2:6
holds view.svg '400,52 '
status 0 "$plot" run -o components.svg --components
true_that 'five curves' test "$(grep -c '<polyline' components.svg)" -eq 5
true_that 'both numbered' grep -q '>2</text>' components.svg
status 0 "$plot" run -o title.svg --title 'a < b & "c"'
holds title.svg 'a &lt; b &amp; &quot;c&quot;'
spike 4 | awk '{ print 0, $1 }' | signal turned.org
spike 3 | awk '{ print 0, $1 }' | signal turned.fit
spike 1 | awk '{ print 0, $1 }' | signal turned.res
status 0 "$plot" turned -o turned.svg --phase 90
true_that 'phase of 90 degrees turns the imaginary part into the real one' cmp -s turned.svg plain.svg
# phi_1 i/n at point 4 of 16 is a quarter of it
status 0 "$plot" turned -o turned.svg --phi-1 360 --force
true_that 'first-order phase' cmp -s turned.svg plain.svg
# the delay of the sidecar is taken off, and what is left turned upright, which is said; options go before
# it. The spike at point 4 of 16 has 90 degrees; 720 4/16 = 180 of them off leaves -90.
printf '{ "phi_1_degrees": 720 }' >turned.json
status 0 "$plot" turned -o delayed.svg
holds err 'a first-order phase of 720 degrees, that of the delay, is taken off'
holds err 'a phase of -90 degrees is taken off'
true_that 'upright without its delay' cmp -s delayed.svg plain.svg
status 0 "$plot" turned -o delayed.svg --phase -90 --force
holds err 'a first-order phase of 720 degrees'
lacks err 'upright'
true_that 'of the sidecar beside --phase' cmp -s delayed.svg plain.svg
status 0 "$plot" turned -o delayed.svg --phi-1 360 --force
true_that 'nothing said of a phase that was asked for' test ! -s err
true_that '--phi-1 goes before the sidecar' cmp -s delayed.svg plain.svg
rm turned.json

# a run is found under its data file's name, and with header files
status 0 "$plot" run.bin -o bin.svg
true_that 'x.bin is x' cmp -s bin.svg plain.svg
for ending in org fit res; do cp run.$ending sdf.$ending.sdf; done
status 0 "$plot" sdf -o sdf.svg
true_that 'with header files' cmp -s sdf.svg plain.svg

# 65536 points of noise stay small, and the highest point stays in sight
awk 'BEGIN { srand(1); for (i = 0; i < 65536; i++) print (i == 40000 ? 30 : rand()), 0 }' | signal big.org
cp big.org big.fit
awk 'BEGIN { for (i = 0; i < 65536; i++) print 0, 0 }' | signal big.res
status 0 "$plot" big -o big.svg
true_that 'small picture' test "$(wc -c <big.svg)" -lt 100000
true_that 'highest point drawn in both curves' test "$(grep -c '<polyline.*483.9,52 ' big.svg)" -eq 2

# flat and empty signals
status 0 "$plot" big -o flat.svg --view 0:9
awk 'BEGIN { for (i = 0; i < 16; i++) print 0, 0 }' | tee >(signal zero.fit) >(signal zero.res) | signal zero.org
sleep 0.2
status 0 "$plot" zero -o zero.svg
lacks zero.svg nan
lacks zero.svg inf

# a spectrum that was not fitted: imported, or as it was measured; the noise window is shaded
awk 'BEGIN { for (i = 0; i < 64; i++) print exp(-i / 9) * cos(0.6 * i), exp(-i / 9) * sin(0.6 * i) }' | signal one.fid.f32
printf '{ "dwell_time_s": 0.001, "spectrometer_MHz": 100, "ppm_at_carrier": 4.5, "nucleus": "31P", "noise_only_points": [2, 13] }' >one.fid.json
status 0 "$plot" one.fid.f32 -o measured.svg
true_that 'one curve' test "$(grep -c '<polyline' measured.svg)" -eq 1
holds measured.svg '>31P chemical shift (ppm)</text>'
holds measured.svg '>noise</text>'
# ppm fall to the right: point 2 of 0 to 63 is at 780 - 760 2/63 = 755.9, point 13 at 623.2
holds measured.svg '<rect x="623.2" y="46" width="132.7"'
lacks measured.svg '>fit</text>'
status 0 "$programs/varokel-import" one.fid.f32 -o imported
status 0 "$plot" imported/one.bin -o imported.svg --title one
true_that 'imported and measured are alike' cmp measured.svg imported.svg
status 0 "$plot" imported/one -o again.svg --title one --force
true_that 'without its ending, too' cmp imported.svg again.svg
status 0 "$plot" one.fid.f32 -o asked.svg --noise 20:30 --phase 0 --axis points
holds asked.svg '<rect x="261.3" y="46" width="120.6"'
true_that 'nothing said of a phase that was asked for' test ! -s err
# a delay or a phase in the FID: the strongest line stands upright all the same
awk 'BEGIN { for (i = 0; i < 64; i++) print -exp(-i / 9) * sin(0.6 * i), exp(-i / 9) * cos(0.6 * i) }' | signal turned.fid.f32
cp one.fid.json turned.fid.json
status 0 "$plot" turned.fid.f32 -o turned_fid.svg --title one
holds err 'a phase of 90'
true_that 'upright' cmp <(grep -o 'points=.*' turned_fid.svg) <(grep -o 'points=.*' measured.svg)
# of several spectra one has to be chosen; of a grid the first that is not zero is drawn, which is said
cat one.fid.f32 turned.fid.f32 >two.fid.f32
sed 's/{/{ "n_points": 64,/' one.fid.json >two.fid.json
status 2 "$plot" two.fid.f32 -o two.svg
holds err 'holds 2 spectra; choose one with --index'
status 0 "$plot" two.fid.f32 --index 1 -o two_1.svg
holds two_1.svg 'two_1'
status 0 "$programs/varokel-simulate" "$tree/examples/single_line/start.par" -o grid.nii --noise 0.01 --seed 1 \
    --grid 2,2,1 --frequency 123.2 --nucleus 1H --ppm-at-carrier 4.7
status 0 "$plot" grid.nii -o grid.svg
holds err 'grid.nii holds 4 spectra; drawn is grid_0_0_0'
status 0 "$plot" grid.nii --voxel 1,0,0 -o voxel.svg
holds voxel.svg 'grid_1_0_0'
status 2 "$plot" one.fid.f32 -o no.svg --components
holds err 'it has none'
status 4 "$plot" one.fid.f32 -o one.fid.f32 --force

# what does not fit together
status 3 "$plot" missing -o no.svg
holds err 'missing.org: no such file'
spike 1 | head -8 | signal half.fit
cp run.org half.org
cp run.res half.res
status 3 "$plot" half -o no.svg
holds err 'half.fit: 8 points, but half.org has 16'
head -c 192 run.nln0 >half.nln0
cp run.fit half.fit
status 3 "$plot" half -o no.svg --components
holds err 'half.nln0'
status 2 "$plot" run -o no.svg --range 6:3
holds err 'expected two points FIRST:LAST'
status 2 "$plot" run -o no.svg --view 15:20
status 2 "$plot" run -o no.svg --axis meters
status 2 "$plot" run
status 4 "$plot" run -o no/such/folder.svg
true_that 'no picture where there was an error' test ! -e no.svg

# the example of the manual page, as a user runs it in the source tree
mkdir example
ln -s "$tree/examples" example/examples
sed -n '/^# EXAMPLE/,/^# SEE/p' "$tree/docs/man/varokel-plot.1.scd" | sed '1d;$d; s/++$//; s/^\t//' >example/commands
true_that 'the manual page has commands' grep -q '^varokel-plot ' example/commands
(cd example && PATH=$programs:$PATH bash -eu commands >said 2>&1) || failed "example of varokel-plot(1): $(cat example/said)"
holds example/line.svg '<svg'

finish
