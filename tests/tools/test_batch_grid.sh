#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch

common_habits varokel-batch
if ! "$programs/varokel-import" --help >/dev/null; then exit 1; fi
two_lines_grid grid 6 4 2 faulty
if ! "$programs/varokel-import" grid.nii --voxel 2,1,1 -o one >out 2>err && grep -q 'without the NIfTI' err; then
    echo "no NIfTI in this build: left out"
    exit 0
fi

# plan: what is in the input, and nothing twice
status 0 "$batch" plan grid.nii --start start.par -o run --noise 0:31
holds out "spectra 48"
holds out "to fit 46"
holds out "all zero 1"
holds out "not finite 1"
status 4 "$batch" plan grid.nii --start start.par -o run
holds err "--force replaces it"
status 4 "$batch" plan grid.nii --start start.par -o one
holds err "is not empty"
status 2 "$batch" plan grid.nii -o new
holds err "--start FILE or --peaks TABLE"
status 3 "$batch" merge run
holds err "lines 0 to 47 of the manifest"
true_that "the manifest is one JSON document with a line for each spectrum" \
    perl -MJSON::PP -e 'local $/; my $j = decode_json(<STDIN>); exit !(@{$j->{spectra}} == 48 && $j->{spectra}[47]{name} eq "grid_5_3_1")' <run/manifest.json

# run, status, merge
status 0 "$batch" run run
holds out "46 fitted, 0 failed, 2 not tried"
# as many verdicts as exact fits
true_that "counts of verdicts" awk '/^verdicts, one a fit: / { n = gsub(/[^0-9 ]/, " "); for (i = 1; i <= NF; i++) sum += $i } END { exit sum != 46 }' out
true_that "quiet where there is no terminal" test ! -s err
status 0 "$batch" status run
holds out "complete"
status 4 "$batch" run run
holds err "--resume goes on with what is missing"
status 0 "$batch" merge run
holds out run/results.tsv
# another count than that of the verdicts, under a word of its own: as many as the table has
holds err "varokel-batch: warnings, of which a fit may have several (the verdicts that run counts are one a fit):"
true_that "counts of warnings" awk -F '\t' '
    FNR == NR { if (/^varokel-batch: warning /) { sub(/^varokel-batch: warning /, ""); split($0, w, ", "); said[w[1]] = w[2] + 0; n++ } next }
    FNR == 1 { for (i = 1; i <= NF; i++) at[$i] = i; next }
    $at["status"] != "not_fitted" { m = split($at["warnings"], w, ","); for (i = 1; i <= m; i++) count[w[i]]++ }
    END { for (kind in said) if (said[kind] != count[kind]) { print kind, said[kind], count[kind]; bad = 1 } exit !n || bad }' err run/quality.tsv
maps=$(find run/maps -name '*.nii.gz' | wc -l)
true_that "a map of an area among $maps" test -s run/maps/right_area.nii.gz -a "$maps" -gt 10
holds out "run/maps/ ($maps maps)" # not each
lacks out .nii.gz
status 4 "$batch" merge run
true_that "two rows a voxel and a heading" test "$(wc -l <run/results.tsv)" -eq 97
holds run/quality.tsv "grid_1_1_0	1	1	0	not_fitted	holds points that are no finite numbers"
holds run/quality.tsv "grid_0_1_0	0	1	0	not_fitted	all its points are zero"
holds run/results.json '"area_error_2sd"'

# a curve that is kept is the model: what it leaves over is the quality of the fit
true_that "curves and qualities" perl - <<'PERL'
use strict; use warnings;
sub table { open my $in, '<', $_[0] or die; my @names = split /\t/, <$in> =~ s/\n//r; my %rows;
    while (<$in>) { chomp; my %row; @row{@names} = split /\t/; $rows{$row{spectrum}} = \%row } return %rows }
sub points { open my $in, '<:raw', $_[0] or die; seek $in, 1024 * $_[1], 0; read $in, my $b, 1024; return unpack 'f<256', $b }
my %quality = table('run/quality.tsv'); my %kept = table('run/pictures.tsv');
die 'curves: ' . keys %kept if keys %kept != 46;
for my $name (keys %kept) {
    my @data = points('run/spectra.f32', $kept{$name}{number}); my @model = points('run/pictures.f32', $kept{$name}{row});
    my $sum = 0; $sum += ($data[$_] - $model[$_]) ** 2 for 0 .. 255;
    my $own = sqrt($sum / 256) / $quality{$name}{noise_sd_real};
    die "$name: $own, not $quality{$name}{fit_quality}" if abs($own / $quality{$name}{fit_quality} - 1) > 1e-6;
    die "$name: $quality{$name}{verdict}" if $quality{$name}{verdict} !~ /^(optimum|noise_wrong|misfit)$/ || $quality{$name}{method} ne 'exact';
}
PERL
# what the exact fit cannot do is refused where it is planned, with what can
sed 's/^@ \(.*\) 2 1 0 127/@ \1 3 1 0 127/' start.par >magnitude.par
status 3 "$batch" plan grid.nii --start magnitude.par -o magnitude
holds err "magnitude.par: the exact fit does not do magnitude and power spectra; the classic search does (--method classic)"
status 3 "$batch" plan grid.nii --start magnitude.par --method both -o magnitude
status 0 "$batch" plan grid.nii --start magnitude.par --method classic -o magnitude
status 2 "$batch" plan grid.nii --start start.par --method fast -o fast
# options of searches are not taken in silence
cp -r run vain && rm -rf vain/shards
status 0 "$batch" run vain --limit 3 --varokel ./no_such_program
holds err "--limit is for searches, and this plan has none"
holds err "--varokel is for searches, and this plan has none"

# a voxel that goes the way of single spectra has the same numbers: value and two sigma of the area
status 0 "$batch" plan grid.nii --start start.par --method classic -o searched --noise 0:31
status 0 "$batch" run searched
status 0 "$batch" merge searched
cp start.par one/
(cd one && "$programs/varokel" . grid_2_1_1.bin start.par >log)
expected=$(awk 'NR == 2 { printf "%.9g", $1 }' one/grid_2_1_1.mat)
bound=$(awk 'NR == 2 { printf "%.9g", $1 }' one/grid_2_1_1.err)
true_that "area $expected and bound $bound of the left line in the table" awk -F'\t' -v a="$expected" -v e="$bound" '
    NR == 1 { for (i = 1; i <= NF; i++) column[$i] = i }
    $1 == "grid_2_1_1" && $column["name"] == "left" { found = $column["area"] == a && $column["area_error_2sd"] == e }
    END { exit !found }' searched/results.tsv
# areas as drawn, each within five of its own standard deviations
true_that "areas near 1 + x/4 + y/8" awk -F'\t' '
    NR == 1 { for (i = 1; i <= NF; i++) column[$i] = i; next }
    $column["name"] == "right" && $column["status"] == "converged" {
        n++; d = $column["area"] - 1 - $column["x"] / 4 - $column["y"] / 8; e = $column["area_error_1sd"]
        if (d > 5 * e || d < -5 * e) bad++
    }
    END { exit !(n > 40 && bad == 0) }' run/results.tsv
# the curve that is kept is the .fit of the program
row=$(awk -F'\t' '$3 == "grid_2_1_1" { print $1 }' searched/pictures.tsv)
true_that "curve of grid_2_1_1" cmp <(tail -c +$((row * 1024 + 1)) searched/pictures.f32 | head -c 1024) one/grid_2_1_1.fit

# the same bytes however it is divided
same() {
    status 0 "$batch" merge "$1"
    for file in results.tsv quality.tsv pictures.f32 pictures.tsv maps/left_area.nii.gz maps/fit_quality.nii.gz; do
        true_that "$1: $file as of one run" cmp "${2:-run}/$file" "$1/$file"
    done
}
cp -r run plan && rm -rf plan/{shards,maps,results.*,quality.*,pictures.*}
cp -r plan two && status 0 "$batch" run two -j 2
same two
cp -r plan many && status 0 "$batch" run many -j 64
same many
for n in 5 11; do
    cp -r plan "s$n"
    for ((i = n - 1; i >= 0; --i)); do
        [ "$i" -eq 2 ] || "$batch" run "s$n" --shard "$i/$n" >/dev/null
    done
    status 3 "$batch" merge "s$n"
    holds err "shards 2/$n"
    status 1 "$batch" status "s$n"
    holds out "missing: shard 2/$n"
    status 0 "$batch" run "s$n" --shard "2/$n" --resume
    same "s$n"
done
# shards of two partitions share lines: status and merge count them once
cp -r plan shared
status 0 "$batch" run shared --shard 0/3
status 0 "$batch" run shared --shard 1/2
status 1 "$batch" status shared
holds out "missing: spectra"
status 0 "$batch" run shared --shard 1/3
status 0 "$batch" status shared
cp out status_shared
"$batch" status run >status_run
true_that "shared lines are counted once" cmp status_shared status_run
same shared
status 2 "$batch" run plan --shard 5/5
status 2 "$batch" run plan --shard 0/49

# killed, then resumed
cp -r searched killed && rm -rf killed/{shards,maps,results.*,quality.*,pictures.*}
mkdir scratch
journal=killed/shards/0000_of_0001.journal
journal_size() { wc -c <"$journal" 2>/dev/null || echo 0; }
for _ in 1 2 3; do
    begun=$(journal_size)
    "$batch" run killed -j 2 --resume --scratch scratch >/dev/null 2>&1 &
    # as soon as another fit is in the journal, however fast the machine is
    while kill -0 $! 2>/dev/null && [ "$(journal_size)" -le "$begun" ]; do :; done
    kill -KILL $! && wait $!
done 2>/dev/null
true_that "something was begun and not ended" test -s killed/shards/0000_of_0001.journal
printf 'torn' >>killed/shards/0000_of_0001.journal
status 0 "$batch" run killed --resume --scratch scratch
same killed searched
true_that "nothing left of the killed ones" test -z "$(ls scratch)"

# an exact run that was killed has no folder elsewhere, and what goes on is no copy of it
two_lines_grid many_voxels 16 16 8
status 0 "$batch" plan many_voxels.nii --start start.par --noise 0:31 --keep none -o halted
for _ in 1 2 3 4 5; do
    "$batch" run halted --force >/dev/null 2>&1 &
    while kill -0 $! 2>/dev/null && ! test -s halted/shards/0000_of_0001.journal; do :; done
    kill -KILL $! && wait $!
    [ -e halted/shards/0000_of_0001.lock ] && break
done 2>/dev/null
true_that "a lock is left" test -s halted/shards/0000_of_0001.lock
status 0 "$batch" run halted --resume
true_that "nothing to say" test ! -s err
cp -r halted moved && rm -rf moved/shards/*.done
printf '{"machine":"elsewhere","process":7,"started":7,"shards":"1 2","scratch":""}\n' >moved/shards/0000_of_0001.lock
status 0 "$batch" run moved --resume
holds err "this folder is a copy of one in which process 7 on elsewhere was at work"

# values of the nearest neighbour: waves within blocks, so no difference either
status 0 "$batch" plan grid.nii --start start.par --values neighbour -o near --noise 0:31
holds out "blocks 2"
cp -r near near2
status 0 "$batch" run near
status 0 "$batch" merge near
status 0 "$batch" run near2 --shard 1/2
status 0 "$batch" run near2 --shard 0/2 -j 3
same near2 near
status 0 "$batch" plan grid.nii --start start.par --values neighbour --method both -o near3 --noise 0:31
status 0 "$batch" run near3 -j 2
status 0 "$batch" merge near3
true_that "both ways end at the same areas" awk -F'\t' '
    FNR == 1 { ++file; for (i = 1; i <= NF; i++) c[file, $i] = i; next }
    { key = $1 $c[file, "name"]; v = $c[file, "area"] }
    file == 1 { value[key] = v; next }
    v != "n/a" { n++; d = v - value[key]; e = 1e-3 * $c[file, "area_error_1sd"]; if (!(d < e && d > -e)) bad++ }
    END { if (bad || n != 92) { print n, bad; exit 1 } }' near/results.tsv near3/results.tsv
true_that "distances of the searches" test "$(awk -F'\t' 'NR > 1 && $17 == "both" && $20 >= 0' near3/quality.tsv | wc -l)" -eq 46
true_that "iterations differ from those of common start values" test "$(cut -f1-4,16 near/quality.tsv | cmp - <(cut -f1-4,16 run/quality.tsv) | wc -l)" -eq 1

# each start is the result of another fit of the block, as the program itself writes it down
cat >keeping <<TEXT
#!/bin/sh
"$programs/varokel" "\$@" || exit
values() { sed -n '/^number/,/^#1/p' "\$1" | awk 'NF == 6 && \$1 ~ /^[0-9]/ { printf "%.6e %.6e %.6e %.6e\n", \$2, \$3, \$5, \$6 }'; }
line=\${PWD##*/}
# the second try of a spectrum begins from the common values
if [ -e "$folder/values/\$line.start" ]; then line=\$line.again; fi
values start.par >"$folder/values/\$line.start"
values compact.par >"$folder/values/\$line.result"
TEXT
chmod +x keeping
mkdir values
status 0 "$batch" plan grid.nii --start start.par --values neighbour --method classic -o kept --noise 0:31
status 0 "$batch" run kept --varokel ./keeping
handed_on=0
strange=0
for start in values/*.start; do
    if cmp -s "$start" values/0.start; then continue; fi
    match=$(for result in values/*.result; do cmp -s "$start" "$result" && echo "$result"; done)
    if [ -n "$match" ]; then handed_on=$((handed_on + 1)); else strange=$((strange + 1)); fi
done
true_that "$handed_on starts are results of others, $strange are not" test "$handed_on" -eq 40 -a "$strange" -eq 0 # three begin each of the two blocks

# Areas and phases that end turned round are shown with a positive sum; values that are handed on
# stay as the fit had them.
sed -e '/^number/,/^#1/ s/^\([12] 1.[28] [0-9]* 0\) 0/\1 180/' start.par >turned.par
status 0 "$batch" plan grid.nii --start turned.par -o turned --noise 0:31
status 0 "$batch" run turned
status 0 "$batch" merge turned
# column FILE NAME
column() {
    awk -F '\t' -v name="$2" 'NR == 1 { for (i = 1; i <= NF; i++) if ($i == name) c = i; next } { print $c }' "$1"
}
true_that "no area is below 0" test -z "$(column turned/results.tsv area | grep '^-')"
true_that "phases are near 0" test "$(column turned/results.tsv phase_degrees | awk '$1 != "n/a" && ($1 < -30 || $1 > 30)' | wc -l)" -eq 0
true_that "which is said" test "$(column turned/quality.tsv reason |
    grep -c 'shown with areas of the other sign and phases turned by 180 degrees: right, left')" -ge 40

# a mask, a list, worst curves only
perl "$tree/tests/batch/mask_file.pl" 6 4 2 >mask.nii
status 0 "$batch" plan grid.nii --start start.par --mask mask.nii --keep worst:3 -o masked
holds out "spectra 4"
status 0 "$batch" run masked
status 0 "$batch" merge masked
true_that "three curves" test "$(wc -l <masked/pictures.tsv)" -eq 4
true_that "those of the mask" test "$(cut -f2,3 masked/quality.tsv | sort -u | tr '\t\n' ', ')" = "2,1 3,1 x,y "
perl "$tree/tests/batch/mask_file.pl" 6 4 2 scaled | gzip >scaled.nii.gz
status 0 "$batch" plan grid.nii --start start.par --mask scaled.nii.gz --keep worst:3 -o scaled
holds out "spectra 4"
true_that "the same voxels" cmp masked/spectra.f32 scaled/spectra.f32
# A grid whose rows say where it lies, and a mask whose quaternion says the same: a quarter turn about
# z, 8 x 8 x 12 mm, slices downwards. One of them moved by 5 mm is told.
perl -e 'local $/; my $b = <STDIN>; substr($b, 348, 4) = pack("l<", 1);
    substr($b, 400, 96) = pack("d<12", 0, -8, 0, -110, 8, 0, 0, -95, 0, 0, -12, -30); print $b' <grid.nii >placed.nii
for x in -110 -105; do
    perl -e 'local $/; my $b = <STDIN>; substr($b, 76, 16) = pack("f<4", -1, 8, 8, 12); substr($b, 252, 2) = pack("s<", 1);
        substr($b, 256, 24) = pack("f<6", 0, 0, sqrt(0.5), $ARGV[0], -95, -30); print $b' -- "$x" <mask.nii >"mask$x.nii"
    status 0 "$batch" plan placed.nii --start start.par --mask "mask$x.nii" -o "placed$x"
    [ "$x" = -110 ] && lacks err "lies elsewhere in space"
done
holds err "mask-105.nii: lies elsewhere in space than placed.nii"
true_that "a map has the rows of the input" cmp <(tail -c +401 placed.nii | head -c 96) <(tail -c +401 placed-110/voxels.nii | head -c 96)
head -c 380 mask.nii >cut.nii
status 3 "$batch" plan grid.nii --start start.par --mask cut.nii -o other
holds err "cut.nii: ends, or is damaged, within its values"
status 3 "$batch" plan grid.nii --start start.par --mask grid.nii -o other
holds err "grid.nii: 6 x 4 x 2 voxels, 6144 values; expected the grid"
perl "$tree/tests/batch/mask_file.pl" 6 4 3 >wrong.nii
status 3 "$batch" plan grid.nii --start start.par --mask wrong.nii -o other
holds err "expected the grid of the measurement, 6 x 4 x 2"
status 0 "$batch" plan grid.nii --start start.par --select 3:5,40 -o some
holds out "spectra 4"
status 2 "$batch" plan grid.nii --start start.par --select 48 -o none
holds err "from 0 to 47"

# the folder of varokel-import: the same fits
"$programs/varokel-import" grid.nii --voxel 3,2,1 -o imported >/dev/null 2>&1
"$programs/varokel-import" grid.nii --voxel 2,1,1 -o imported >/dev/null 2>&1
status 0 "$batch" plan imported --start start.par -o from_folder
status 0 "$batch" run from_folder
status 0 "$batch" merge from_folder
true_that "rows as of the grid" cmp <(grep grid_2_1_1 run/results.tsv) <(grep grid_2_1_1 from_folder/results.tsv)
# Regions of the overview: the image of voxels to fit has 1 in 46 of 48; an image of another grid is refused.
status 0 "$programs/varokel-batch" merge run --force
status 1 "$programs/varokel-report" run --regions run/voxels.nii --force # a voxel with points that are no numbers
grep -o '"regions":\[[0-9,]*' run/overview.html | tr -c '01' '\n' >labels
true_that 'labels of all spectra' test "$(grep -c 1 labels)" -eq 46 -a "$(grep -c 0 labels)" -eq 2
status 3 "$programs/varokel-report" run --regions "$tree/tests/tools/data/brain_steam11.nii.gz" --force
holds err 'is of another grid; expected 6 x 4 x 2 voxels'
finish
