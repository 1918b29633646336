#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Windows of a table of peaks in a batch: its exact fits hold them with all kinds of start values,
# divided or not, say which parameters stand at an edge, and find what single fits do.
. "$(dirname "$0")/harness.sh"
batch=$programs/varokel-batch

perl "$tree/tests/batch/small_grid.pl" 4 1 1 128 |
    awk '{ fid[(NR - 1) % 4] = fid[(NR - 1) % 4] $0 "\n" } END { for (x = 0; x < 4; ++x) printf "%s", fid[x] }' |
    signal series.f32
given=(--format float32 --points 128 --dwell 0.001 --frequency 51.7 --ppm-at-carrier 0 --axis rising --noise 0:31)
# table LORENTZ_RIGHT AREA_RIGHT LORENTZ_LEFT: lines that are 8 and 12 Hz wide, areas 1 to 1.75 and 2
table() {
    cat <<TEXT
name   type     area  frequency[Hz]  lorentz[Hz]  phase
right  lorentz  $2  102  $1  ?
left   lorentz  ?  -152  $3  =right
interval: -490 to 490 Hz
TEXT
}
# planned NAME TABLE_ARGUMENTS...: a batch of this table in the folder NAME
planned() {
    local name=$1
    shift
    table "$@" >"$name.txt"
    status 0 "$batch" plan series.f32 --peaks "$name.txt" --values "${values:-same}" "${given[@]}" -o "$name" \
        --method "${method:-exact}"
}
# run_and_merge NAME
run_and_merge() {
    status 0 "$batch" run "$1"
    status 0 "$batch" merge "$1"
}
# within NAME ENTRY COLUMN LOW HIGH: that column of results.tsv, of all four spectra
within() {
    awk -F '\t' -v entry="$2" -v name="$3" -v low="$4" -v high="$5" '
        NR == 1 { for (i = 1; i <= NF; i++) { if ($i == name) c = i; if ($i == "name") n = i } }
        NR > 1 && $n == entry { good += $c + 0 == $c && low <= $c && $c <= high; print $c }
        END { exit !(c && good == 4) }' "$1/results.tsv"
}
# at_bound NAME: for how many spectra quality.tsv says so
at_bound() { grep -c 'at_bound' "$1/quality.tsv"; }

# without windows no line stands anywhere near the edges below
planned free 9 '?' 11
run_and_merge free
true_that 'widths of the free fit' within free right lorentz_fwhm_hz 7.3 9
true_that 'other widths of the free fit' within free left lorentz_fwhm_hz 11 13
lacks free/quality.tsv at_bound

# All kinds of start values: every spectrum ends at the edge, which has no error, and says so.
for values in same estimate neighbour; do
    planned "held_$values" '6 [4, 7]' '?' 11
    run_and_merge "held_$values"
        true_that "$values: at the edge" within "held_$values" right lorentz_fwhm_hz 6.999999999 7.000000001
    true_that "$values: said of each" test "$(at_bound "held_$values")" -eq 4
        true_that "$values: the other line is free" within "held_$values" left lorentz_fwhm_hz 10.5 13.5
done
values=same

# with a search in front, whose end may be outside
method=both planned both '6 [4, 7]' '?' 11
run_and_merge both
true_that 'both: at the edge' within both right lorentz_fwhm_hz 6.999999999 7.000000001
true_that 'both: said of each' test "$(at_bound both)" -eq 4

# one edge only, of an estimated area: 1, 1.25, 1.5 and 1.75
values=estimate planned area 9 '? < 1.4' 11
run_and_merge area
true_that 'an area has its window' within area right area 0.9 1.400000001
true_that 'the larger half is at its edge' test "$(at_bound area)" -eq 2

# shards and the single fit: the same numbers
planned parts '6 [4, 7]' '?' 11
for part in 0 1 2; do status 0 "$batch" run parts --shard "$part/3"; done
status 0 "$batch" merge parts
true_that 'three shards: the same table' cmp parts/results.tsv held_same/results.tsv
status 0 "$programs/varokel-fit" series.f32 held_estimate.txt "${given[@]}" --index all -o single --method exact
true_that 'at the edge alone, too' test "$(at_bound single)" -eq 4
true_that 'values of single fits' perl - single/results.tsv held_estimate/results.tsv <<'PERL'
use strict; use warnings;
my @tables = map { open my $in, '<', $_ or die "$_: $!"; my @names = split /\t/, <$in> =~ s/\n//r;
    [map { chomp; my %row; @row{@names} = split /\t/, $_, -1; \%row } <$in>] } @ARGV;
die 'rows' if @{$tables[0]} != 8 || @{$tables[1]} != 8;
for my $i (0 .. 7) {
    for my $column (qw(area lorentz_fwhm_hz frequency_from_carrier_hz)) {
        my ($a, $b) = map { $_->[$i]{$column} } @tables;
        die "row $i, $column: $a and $b" if $a !~ /\d/ || abs($a - $b) > 1e-6 * abs($a);
    }
}
PERL

# A width is never negative: of its window, only what is 0 or more counts.
planned wide '9 [-20, 30]' '?' '11 +- 40'
run_and_merge wide
true_that 'a window that reaches below 0 changes nothing' cmp wide/results.tsv free/results.tsv
planned below 9 '?' '0.5 [-3, 0]'
run_and_merge below
true_that 'a window that ends at 0 leaves a width of 0' within below left lorentz_fwhm_hz 0 0
true_that 'which is said' test "$(at_bound below)" -eq 4
for window in '[-5, -2]' '< -1e-9' '+- 3'; do
    table "-9 $window" '?' 11 >negative.txt
    status 3 "$batch" plan series.f32 --peaks negative.txt "${given[@]}" -o negative
    holds err 'a window that reaches above 0, as a width is 0 or more'
    holds err 'negative.txt:2:'
    true_that 'and nothing is left' test ! -e negative
done

# A start file has no place for windows: what is lost with it is said, by the program and in the
# file; of a table without windows nothing is said.
status 0 "$programs/varokel-import" series.f32 "${given[@]}" --index 0 -o first
for lines in free held_same; do
    status 0 "$programs/varokel-start" "$lines.txt" -d first/series_0.bin -o "$lines.par"
    cp err "$lines.err"
done
said='windows that a start file has no place for: right lorentz; exact fits of the table itself hold them'
holds held_same.err "held_same.par: $said"
holds held_same.par "$said"
lacks free.err windows
lacks free.par windows
status 3 "$batch" plan series.f32 --start held_same.par --names no_such_file "${given[@]}" -o from_file
holds err 'no_such_file: cannot be opened; expected names of entries, one a line'
printf 'right\nleft\n' >names.txt
status 0 "$batch" plan series.f32 --start held_same.par --names names.txt "${given[@]}" -o from_file
run_and_merge from_file
true_that 'widths of a start file are free' within from_file right lorentz_fwhm_hz 7.3 9
finish
