#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The tables of a batch and of single fits of the same spectra say the same, column by column.
. "$(dirname "$0")/harness.sh"
batch=$programs/varokel-batch

# eight FIDs one behind the other, in a file that has but one direction without a name of its own
perl "$tree/tests/batch/small_grid.pl" 8 1 1 128 |
    awk '{ fid[(NR - 1) % 8] = fid[(NR - 1) % 8] $0 "\n" } END { for (x = 0; x < 8; ++x) printf "%s", fid[x] }' |
    signal series.f32
given=(--format float32 --points 128 --dwell 0.001 --frequency 51.7 --ppm-at-carrier 0 --axis rising --noise 0:31)

# both_ways NAME STATUS [METHOD]: table of peaks NAME.txt, fitted by varokel-fit and as a batch; the
# columns must be equal, numbers to 1e-8: the tables have nine digits
both_ways() {
    local method=${3:-classic}
    status "$2" "$programs/varokel-fit" series.f32 "$1.txt" "${given[@]}" --index all -o "$1_single" --no-report --method "$method"
    status 0 "$batch" plan series.f32 --peaks "$1.txt" --values estimate "${given[@]}" -o "$1_batch" --method "$method"
    status "$2" "$batch" run "$1_batch"
    status "$2" "$batch" merge "$1_batch"
    for table in results quality; do
        true_that "$1: $table.tsv of both" perl - "$1_single/$table.tsv" "$1_batch/$table.tsv" <<'PERL'
use strict; use warnings;
my (@names, @rows);
for my $file (@ARGV) {
    open my $in, '<', $file or die "$file: $!";
    chomp(my @lines = <$in>);
    push @names, [split /\t/, shift @lines];
    push @rows, [map { [split /\t/, $_, -1] } @lines];
}
my %single = map { $names[0][$_] => $_ } 0 .. $#{$names[0]};
my %batch = map { $names[1][$_] => $_ } 0 .. $#{$names[1]};
my $bad = 0;
my $complain = sub { print @_, "\n"; $bad = 1 };
$complain->('columns of the batch stand there twice') if keys %batch != @{$names[1]};
my @missing = grep { !exists $batch{$_} } @{$names[0]};
$complain->("the batch lacks @missing") if @missing;
my @more = grep { !exists $single{$_} } @{$names[1]};
$complain->("the batch has @more, wanted index") if "@more" ne 'index';
$complain->('rows: ', scalar @{$rows[0]}, ' and ', scalar @{$rows[1]}) if @{$rows[0]} != @{$rows[1]} || !@{$rows[0]};
my $numbers = 0;
for my $r (0 .. $#{$rows[0]}) {
    for my $name (grep { exists $batch{$_} } @{$names[0]}) {
        my ($a, $b) = ($rows[0][$r][$single{$name}], $rows[1][$r][$batch{$name}]);
        next if $a eq $b;
        # a spectrum without results: the report says so in words of its own
        next if $name eq 'reason' && $rows[0][$r][$single{status}] eq 'not_fitted';
        my $is_number = $a =~ /^-?\d/ && $b =~ /^-?\d/ && $name !~ /link|spectrum|name/;
        next if $is_number && abs($a - $b) <= 1e-8 * abs($a);
        $complain->("row $r, $name: $a in single fits, $b in the batch");
    }
}
exit $bad;
PERL
    done
}
# states NAME: how many of each, as "1 converged 7 at_limit"
states() {
    awk -F'\t' 'NR == 1 { for (i = 1; i <= NF; i++) if ($i == "status") c = i; next } { n[$c]++ }
        END { printf "%d converged %d at_limit", n["converged"], n["at_limit"] }' "$1_batch/quality.tsv"
}

cat >lines.txt <<'TEXT'
name   type     area  frequency[Hz]  lorentz[Hz]  phase
right  lorentz  ?     102            10           ?
left   lorentz  ?     -152           11           =right
interval: -490 to 490 Hz
TEXT
both_ways lines 0
true_that "all converged" test "$(states lines)" = "8 converged 0 at_limit"
true_that "an index from 0 instead of a second column called spectrum" test "$(cut -f1,2 lines_batch/quality.tsv | sed -n '1p;3p' | tr '\t\n' '  ')" = "spectrum index series_1 1 "
true_that "the name is described as such" grep -A1 -q '"spectrum": {' lines_batch/quality.json
holds lines_batch/quality.json '"Description": "name of the spectrum"'
holds lines_batch/quality.json '"Description": "place along index, from 0"'
# What the columns say, worked out here: of a line a w / (pi w) high over the noise
true_that "snr of a line: its height over the noise" awk -F'\t' '
    FNR == 1 { delete c; for (i = 1; i <= NF; i++) c[$i] = i; next }
    FILENAME ~ /quality/ { noise[$1] = $c["noise_sd_real"]; next }
    { h = $c["area"] * 7.8125 / (3.14159265 * $c["lorentz_fwhm_hz"]) / noise[$1]
      # between two points of the spectrum it is lower, by the half width of a point at most
      n++; q = $c["snr"] / h; if (q > 1.03 || q < 0.6) { bad++; print $1, $c["snr"], h } }
    END { exit !(n == 16 && !bad) }' lines_batch/quality.tsv lines_batch/results.tsv

# with start values that all share: those of the fourth, whose row must be as before
status 0 "$batch" plan series.f32 --start lines_single/series_3/start.par "${given[@]}" -o same --method classic
status 0 "$batch" run same
status 0 "$batch" merge same
true_that "the fourth has the same quality before" cmp <(grep -w series_3 same/quality.tsv) <(grep -w series_3 lines_batch/quality.tsv)
true_that "the others have another one" test "$(cut -f8 same/quality.tsv | cmp - <(cut -f8 lines_batch/quality.tsv) | wc -l)" -eq 1

# Points that are no numbers, in one FID only: the others are fitted as before; a mean with it is not.
perl -e 'local $/; my $b = <STDIN>; substr($b, 8 * (3 * 128 + 5) + 4, 4) = pack("f<", "nan"); print $b' <series.f32 >holed.f32
status 0 "$batch" plan holed.f32 --start same/start.par "${given[@]}" -o holed --method classic
holds out "to fit 7"
holds out "not finite 1"
status 0 "$batch" run holed
status 0 "$batch" merge holed
holds holed/quality.tsv "holed_3	3	not_fitted	holds points that are no finite numbers"
true_that "rows of the others" cmp <(grep -v series_3 same/results.tsv | cut -f2-) <(grep -v holed_3 holed/results.tsv | cut -f2-)
status 3 "$batch" plan holed.f32 --start same/start.par "${given[@]}" --average spectrum -o mean
holds err "no spectrum with finite points"
status 0 "$batch" plan series.f32 --start same/start.par "${given[@]}" --average spectrum -o mean
holds out "spectra 1"
status 0 "$programs/varokel-import" series.f32 "${given[@]}" --average spectrum -o imported_mean
true_that "the mean is that of varokel-import" cmp mean/spectra.f32 imported_mean/series.bin
# and in the folder of varokel-import
status 0 "$programs/varokel-import" series.f32 "${given[@]}" --index all -o imported
perl -e 'local $/; my $b = <STDIN>; substr($b, 44, 4) = pack("f<", "inf"); print $b' <imported/series_3.bin >x && mv x imported/series_3.bin
status 0 "$batch" plan imported --start same/start.par -o folder_plan
holds out "to fit 7"
holds out "not finite 1"
cp imported/series_2.bin kept.bin
head -c 1016 kept.bin >imported/series_2.bin
status 3 "$batch" plan imported --start same/start.par -o other
holds err "series_2.bin: holds 127 points; expected the 128 of its sidecar"
# in the order in which people count, as in a report: leading zeros change nothing
mkdir counted
for name in s1 s02 s2 s10; do
    cp kept.bin counted/$name.bin
    cp imported/series_2.json counted/$name.json
done
status 0 "$batch" plan counted --start same/start.par -o counted_plan
true_that "spectra of a folder by their numbers" test \
    "$(grep -o '"s[0-9]*"' counted_plan/manifest.json | tr -d '\n')" = '"s1""s02""s2""s10"'

# The limit of iterations, reached by some: who ends at the tolerance in the last iteration has
# converged, which only the log tells.
limited() { # N STATES
    sed "\$a step: gradient all iterations=$1\ntolerance: 1e-4" lines.txt >"limit_$1.txt"
    both_ways "limit_$1" 0
    true_that "limit of $1: $2, not $(states "limit_$1")" test "$(states "limit_$1")" = "$2"
}
limited 8 "1 converged 7 at_limit"
limited 10 "2 converged 6 at_limit"
true_that "one converged in its tenth iteration" test "$(cut -f3,14 limit_10_batch/quality.tsv | grep -c '^converged.10$')" -eq 1
holds limit_10_batch/quality.tsv "the last step (1) stopped at its limit of 10 iterations"

# a last step with other points and another truncation than the first
cat >steps.txt <<'TEXT'
name   type     area  frequency[Hz]  lorentz[Hz]  phase
right  lorentz  ?     102            10           ?
left   lorentz  ?     -152           11           =right
interval: -490 to 490 Hz
step: gradient areas phases iterations=20 points=64
step: gradient all iterations=100 interval=20..60,70..110
TEXT
both_ways steps 0

# ---- the exact fit, alone and behind the search ----
for method in exact both; do
    for name in lines steps; do
        cp $name.txt ${name}_$method.txt
        both_ways ${name}_$method 0 $method
    done
    true_that "$method: all at the optimum" test "$(cut -f15,16 lines_${method}_batch/quality.tsv | sort | uniq -c | xargs)" = "8 $method optimum 1 method verdict"
done
# windows of the table, one of which holds; the numbers of its verdict with it
sed 's/ 10           ?/ 10 [9, 9.5]   ?/' lines.txt >windows.txt
both_ways windows 0 exact
true_that "the window holds" awk -F'\t' '
    NR == 1 { for (i = 1; i <= NF; i++) c[$i] = i; next }
    $c["name"] == "right" { n++; w = $c["lorentz_fwhm_hz"]; if (w < 9 - 1e-8 || w > 9.5 + 1e-8) bad++ }
    END { exit !(n == 8 && !bad) }' windows_batch/results.tsv
holds windows_batch/quality.tsv "at_bound: parameters at the edge of their window: Lorentz width 9 Hz of #1 (right)"
# the same from one start file for all, which has no place for windows: the plan keeps them
status 0 "$batch" plan series.f32 --peaks windows.txt "${given[@]}" -o kept_windows
status 0 "$batch" run kept_windows -j 3
status 0 "$batch" merge kept_windows
holds kept_windows/quality.tsv "at_bound: parameters at the edge of their window: Lorentz width 9 Hz of #1 (right)"
finish
