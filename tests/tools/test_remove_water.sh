#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Residual water out of the FID before the fit, and references that are none.
. "$(dirname "$0")/harness.sh"

# fid WATER: NAA and Cr at 3 T, and water of a distorted shape so many times as high
fid() {
    perl -e '
        my ($water) = @ARGV;
        srand 3;
        my $pi = atan2(0, -1);
        my @lines = ([2.01, 3, 4, 0], [3.03, 2, 4, 0]);
        push @lines, [4.65 + 0.012 * $_, $water, 8 + 3 * $_, 0.4 * $_] for -1 .. 1;
        for my $k (0 .. 1023) {
            my ($re, $im) = (0, 0);
            for (@lines) {
                my $w = -2 * $pi * ($_->[0] - 4.65) * 123.25 * $k * 0.0005 + $_->[3];
                my $a = $_->[1] * exp(-$pi * $_->[2] * $k * 0.0005);
                $re += $a * cos $w; $im += $a * sin $w;
            }
            my $r = 0.05 * sqrt(-2 * log(1 - rand)); my $f = 2 * $pi * rand;
            printf "%.9g %.9g\n", $re + $r * cos $f, $im + $r * sin $f;
        }' -- "$1"
}
nifti() { perl "$tree/tests/tools/fid_file.pl" nifti; }
fid 100 | nifti >wet.nii
fid 0 | nifti >dry.nii
cat >peaks.txt <<'TEXT'
name  type     frequency[ppm]  lorentz[Hz]  phase
NAA   lorentz  2.01            5            ?
Cr    lorentz  3.03            =NAA         =NAA
interval: 1.7 to 3.4 ppm
TEXT
cell() {
    awk -F '\t' -v row="$2" -v name="$3" '
        NR == 1 { for (i = 1; i <= NF; i++) if ($i == name) c = i } NR == row + 1 { print $c }' "$1"
}
status 0 "$programs/varokel-fit" dry.nii peaks.txt -o dry
status 0 "$programs/varokel-fit" wet.nii peaks.txt -o removed --remove-water 4.2:5.1
holds err 'lines from 4.2 to 5.1 ppm were taken out of the FID'
true_that 'it is said once' test "$(grep -c 'were taken out of the FID' err)" -eq 1
holds removed/report.html 'lines from 4.2 to 5.1 ppm were taken out of the FID'
holds removed/wet.json '"order_chosen_by": "what is left in the stretch"'
true_that 'little more than noise is left' perl -0777 -ne 'exit !(/"left_over_noise": ([\d.]+)/ && $1 < 2)' removed/wet.json
# the page before the fit says it, too
status 0 "$programs/varokel-fit" wet.nii peaks.txt -o look --look --remove-water 4.2:5.1
holds look/look.html '<h2>Done before the fit</h2><ul><li>lines from 4.2 to 5.1 ppm were taken out of the FID'
# too few oscillations leave water, which is said
status 0 "$programs/varokel-import" wet.nii -o few --remove-water 4.2:5.1 --water-order 2
holds err '2 of 2 (--water-order)'
true_that 'more than noise is left' perl -0777 -ne 'exit !(/"left_over_noise": ([\d.]+)/ && $1 > 3)' few/wet.json
status 2 "$programs/varokel-import" wet.nii -o none --remove-water 4.2:5.1 --water-order 0
holds removed/wet.json '"power_percent": 99.9'
for row in 1 2; do # the same noise: what differs is what the removal did
    true_that "area of row $row as without water" perl -e 'exit !(abs($ARGV[0] / $ARGV[1] - 1) < 0.005)' -- \
        "$(cell removed/results.tsv $row area)" "$(cell dry/results.tsv $row area)"
done
true_that 'and no worse a fit' perl -e 'exit !($ARGV[0] < 1.05 * $ARGV[1])' -- \
    "$(cell removed/quality.tsv 1 fit_quality)" "$(cell dry/quality.tsv 1 fit_quality)"
status 2 "$programs/varokel-import" wet.nii -o none --remove-water 4.2
holds err '--remove-water 4.2: expected two shifts in ppm'
status 2 "$programs/varokel-import" wet.nii -o none --remove-water 4.2:four

# ---- the page draws what was taken out ----
# drawn FOLDER BEFORE AFTER: the curve is the spectrum before less that after the removal, turned as the data of the page are
drawn() {
    perl -MJSON::PP -MMIME::Base64 -0777 -e '
        use strict; use warnings;
        my ($page, @bins) = @ARGV;
        my $slurp = sub { open my $f, "<:raw", $_[0] or die "$_[0]: $!"; local $/; <$f> };
        my ($text) = $slurp->($page) =~ m{<script[^>]*id="spectrum-1-data"[^>]*>(.*?)</script>}s or die "no curves";
        my $chart = decode_json($text);
        my @removed = grep { $_->{removed} } @{ $chart->{components} };
        print scalar(@removed), " ";
        exit 0 if !@removed;
        my $curve = sub { [unpack "f<*", decode_base64($_[0])] };
        my ($re, $im) = map { $curve->($removed[0]{$_}) } qw(values imaginary);
        my ($x, $y) = map { $curve->($_) } $chart->{data}, $chart->{imaginary}{data};
        my ($before, $after) = map { [unpack "f<*", $slurp->($_)] } @bins;
        my ($most, $off, $at) = (0, 0, 0);
        # removed / data, of the page and of the files; multiplied out
        for my $i (0 .. $#$re) {
            my ($a, $b) = @$after[2 * $i, 2 * $i + 1];
            my ($c, $d) = ($before->[2 * $i] - $a, $before->[2 * $i + 1] - $b);
            my ($p, $q) = ($re->[$i] * $a - $im->[$i] * $b - $c * $x->[$i] + $d * $y->[$i],
                $re->[$i] * $b + $im->[$i] * $a - $c * $y->[$i] - $d * $x->[$i]);
            my $size = sqrt(($c * $c + $d * $d) * ($a * $a + $b * $b));
            my $wrong = sqrt($p * $p + $q * $q);
            ($most, $at) = ($size, $i) if $size > $most;
            $off = $wrong if $wrong > $off;
        }
        printf "%s %s\n", $off < 1e-4 * $most && $most > 0 && @$re == @$after / 2 ? "same" : "differs by $off of $most",
            $removed[0]{off} ? "off" : "on";
    ' -- "$@"
}
status 0 "$programs/varokel-import" wet.nii -o whole
true_that 'the removed water is on the page, and off' test "$(drawn removed/report.html whole/wet.bin removed/wet.bin)" = '1 same off'
true_that 'nothing of it where nothing was removed' test "$(drawn dry/report.html)" = '0 '
status 0 "$programs/varokel-fit" wet.nii peaks.txt -o moved --remove-water 4.2:5.1 --reference-peak 'NAA 2.03 ppm'
true_that 'also where the axis moves' test "$(drawn moved/report.html whole/wet.bin moved/wet.bin)" = '1 same off'
fid 0.5 | nifti >moist.nii
status 0 "$programs/varokel-import" moist.nii -o whole_moist
status 0 "$programs/varokel-fit" moist.nii peaks.txt -o moist --remove-water 4.2:5.1
true_that 'little water is shown' test "$(drawn moist/report.html whole_moist/moist.bin moist/moist.bin)" = '1 same on'
# a sidecar is a file as others
perl -pe 's/"points": \d+/"points": 9999999/ if $seen ||= /lines_removed/' moist/moist.json >edited.json
true_that 'it is another one' test "$(cmp -s edited.json moist/moist.json; echo $?)" -eq 1
cp edited.json moist/moist.json
status 3 "$programs/varokel-report" moist -o moist_page --force
holds err 'moist.json: lines_removed: expected a list of up to 2048 lines'

# a stretch without lines changes the spectrum by less than its noise
status 0 "$programs/varokel-import" dry.nii -o nothing --remove-water 6:7
status 0 "$programs/varokel-compare" nothing/dry.bin dry/dry.bin --signal --rel 0.001 --abs 0.002

# ---- a reference that is the data, or has many lines ----
status 3 "$programs/varokel-import" wet.nii -o none --reference wet.nii
holds err 'wet.nii: the reference is the data itself'
perl -e 'my @b = <STDIN>; print map { sprintf "%.9g %.9g\n", map { -2.5 * $_ } split } @b' <<<"$(fid 100)" | nifti >scaled.nii
status 3 "$programs/varokel-import" wet.nii -o none --reference scaled.nii --eddy
holds err 'scaled.nii: the reference is the data itself'
status 3 "$programs/varokel-import" wet.nii -o none --reference dry.nii
holds err 'dry.nii: the reference is no single line: only'
fid 30000 | nifti >water.nii
status 0 "$programs/varokel-import" dry.nii -o good --reference water.nii --eddy
true_that 'nothing of the refused ones' test ! -e none
finish
