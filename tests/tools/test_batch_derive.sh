#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Ratios, sums and pH of a batch: as of single fits, the same bytes however it is divided, in tables,
# maps and on the page.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch

perl "$tree/tests/batch/small_grid.pl" 8 1 1 128 |
    awk '{ fid[(NR - 1) % 8] = fid[(NR - 1) % 8] $0 "\n" } END { for (x = 0; x < 8; ++x) printf "%s", fid[x] }' |
    signal series.f32
given=(--format float32 --points 128 --dwell 0.001 --frequency 51.7 --ppm-at-carrier 0 --axis rising --noise 0:31)
cat >lines.txt <<'TEXT'
name   type     area  frequency[Hz]  lorentz[Hz]  phase
right  lorentz  ?     102            10           ?
left   lorentz  ?     -152           11           =right
foot   lorentz  =left*0.1  =left + 30 Hz  20      =right
interval: -490 to 490 Hz
derive: share = right/(right+left)
derive: pH = pH(frequency(right) - frequency(left), 6.77, 3.23, 5.7)
TEXT

# both_ways METHOD WITHIN: derived.tsv of single fits and of a batch, column by column
both_ways() {
    status 0 "$programs/varokel-fit" series.f32 lines.txt "${given[@]}" --index all -o "single_$1" --method "$1" \
        --derive "all=right+left+foot" --derive "lorentz_width(left)/lorentz_width(right)"
    status 0 "$batch" plan series.f32 --peaks lines.txt --values estimate "${given[@]}" -o "batch_$1" --method "$1"
    status 0 "$batch" run "batch_$1"
    status 0 "$batch" merge "batch_$1" --derive "all=right+left+foot" --derive "lorentz_width(left)/lorentz_width(right)" \
        --derive " pH = pH(frequency(right) - frequency(left), 6.77, 3.23, 5.7)"
    holds out "batch_$1/derived.tsv"
    true_that "$1: derived.tsv of both, within $2" perl - "single_$1/derived.tsv" "batch_$1/derived.tsv" "$2" <<'PERL'
use strict; use warnings;
my ($within, @tables) = pop @ARGV;
for my $file (@ARGV) {
    open my $in, '<', $file or die "$file: $!";
    chomp(my $head = <$in>); my @names = split /\t/, $head; my %rows;
    while (<$in>) { chomp; my %row; @row{@names} = split /\t/; die "$row{name} twice" if $rows{"$row{spectrum} $row{name}"}; $rows{"$row{spectrum} $row{name}"} = \%row }
    push @tables, \%rows;
}
my ($single, $batch) = @tables;
die scalar(keys %$single) . ' and ' . scalar(keys %$batch) if keys %$single != 32 || keys %$batch != 32;
for my $key (sort keys %$single) {
    my $other = $batch->{$key} or die "no $key in the batch";
    for my $column (qw(value error_1sd error_2sd error_percent_1sd)) {
        my ($a, $b) = ($single->{$key}{$column}, $other->{$column});
        die "$key, $column: $a and $b" if $a !~ /^-?\d/ || abs($a - $b) > $within * abs($a);
    }
    die "$key: error $other->{error_1sd}" if !($other->{error_1sd} > 0);
}
PERL
}
# the tables have nine digits, of which the last may be rounded either way
both_ways exact 1e-8
# a search in a process of its own leaves errors only, of seven digits; how they hang together is
# worked out from its files
both_ways classic 1e-6

# a share of two correlated areas is better known than their errors alone would say, or worse, but
# never the same
true_that "the covariance is in the error of the sum" perl <<'PERL'
use strict; use warnings;
sub table { open my $in, '<', $_[0] or die; my @names = split /\t/, <$in> =~ s/\n//r;
    return map { chomp; my %row; @row{@names} = split /\t/; \%row } <$in> }
my %e; $e{$_->{spectrum}}{$_->{name}} = $_->{area_error_1sd} for table('batch_exact/results.tsv');
for my $row (grep { $_->{name} eq 'all' } table('batch_exact/derived.tsv')) {
    my $own = $e{$row->{spectrum}};
    my $alone = sqrt($own->{right} ** 2 + ($own->{left} + $own->{foot}) ** 2);
    die "$row->{spectrum}: $row->{error_1sd} and $alone" if abs($row->{error_1sd} / $alone - 1) < 1e-4;
}
PERL

# refused before anything is written, with what there is
status 2 "$batch" merge batch_exact --derive "right/nothing" --force
holds err 'no entry "nothing" in batch_exact, which has right left foot'
status 2 "$batch" merge batch_exact --derive "share = left" --force
holds err "share is derived already"
status 2 "$batch" plan series.f32 --peaks lines.txt --derive "right/" "${given[@]}" -o refused
holds err 'expected a name or a number'
sed 's|right/(right+left)|right/nothing|' lines.txt >odd.txt
status 3 "$batch" plan series.f32 --peaks odd.txt "${given[@]}" -o refused
holds err 'odd.txt: what is to be derived, "right/nothing", character 7: no entry "nothing"'
status 3 "$programs/varokel-fit" series.f32 odd.txt "${given[@]}" --index all -o refused
holds err 'odd.txt: what is to be derived, "right/nothing", character 7: no entry "nothing"'
status 4 "$batch" merge batch_exact
# what an earlier merge derived does not stay beside newer tables
status 0 "$batch" merge batch_exact --force
true_that "16 rows and a heading" test "$(wc -l <batch_exact/derived.tsv)" -eq 17
holds batch_exact/derived.json '"error_1sd"'

# what a file says is refused in its name
edited() { # NAME: a copy of the batch whose manifest asks for something else
    rm -rf edited && cp -r batch_exact edited
    perl -0pi -e "s|(\"derived\": \[\s*\")[^\"]*|\${1}$1|" edited/manifest.json
    status 3 "$batch" merge edited --force
}
edited 'share = right/nothing'
holds err 'edited/manifest.json: what is to be derived, "right/nothing", character 7: no entry "nothing" in edited'
edited 'pH = left'
holds err 'edited/manifest.json: what is to be derived, "pH = pH(frequency(right)'
holds err 'pH is derived already'
cp -r batch_exact edited_table
sed -i '2s|right/(right+left)|right/nothing|' edited_table/derived.tsv
status 3 "$programs/varokel-report" edited_table --derive "right-left" --force
holds err 'edited_table/derived.tsv: what is to be derived, "right/nothing"'

# on the page: what merge derived, and what the report is asked for
status 0 "$programs/varokel-report" batch_exact --derive "right-left" --force
holds out derived.tsv
true_that "three values on the page" perl -0777 -ne '
    exit !(() = /"name":"(share|pH|right-left)","unit"/g) == 3' batch_exact/overview.html
true_that "24 rows and a heading" test "$(wc -l <batch_exact/derived.tsv)" -eq 25
status 0 "$programs/varokel-report" batch_exact --force
true_that "what is in the table stays on the page" grep -q '"name":"right-left"' batch_exact/overview.html

# a plan of an earlier version is refused in words
cp -r batch_exact older
perl -pi -e 's/"format": 4/"format": 3/' older/manifest.json
status 3 "$batch" merge older --force
holds err "older/manifest.json: of format 3, as another version of this program wrote it; this one reads 4"

two_lines_grid grid 6 4 2 faulty
if "$batch" plan grid.nii --start start.par -o run --noise 0:31 >out 2>err; then
    status 0 "$batch" run run
    status 0 "$batch" merge run --derive "left/right"
    if [ -d run/maps ]; then
        for n in 1 3 7; do
            cp -r run "s$n" && rm -rf "s$n"/{shards,maps,results.*,quality.*,derived.*,pictures.*}
            for ((i = n - 1; i >= 0; --i)); do status 0 "$batch" run "s$n" --shard "$i/$n" -j 2; done
            status 0 "$batch" merge "s$n" --derive "left/right"
            for file in derived.tsv maps/derived.left_right.nii.gz maps/derived.left_right.error_1sd.nii.gz; do
                true_that "$n shards: $file" cmp "run/$file" "s$n/$file"
            done
        done
        true_that "the maps hold what the table does" perl - <<'PERL'
use strict; use warnings;
sub map_of { open my $in, '-|', 'gzip', '-dc', $_[0] or die; binmode $in; local $/; my $b = <$in>;
    return unpack 'f<*', substr $b, unpack('q<', substr $b, 168, 8) }
my @value = map_of('run/maps/derived.left_right.nii.gz'); my @error = map_of('run/maps/derived.left_right.error_1sd.nii.gz');
die scalar @value if @value != 48 || @error != 48;
open my $in, '<', 'run/derived.tsv' or die; my @names = split /\t/, <$in> =~ s/\n//r; my $n = 0;
while (<$in>) {
    chomp; my %row; @row{@names} = split /\t/;
    my $at = $row{x} + 6 * ($row{y} + 4 * $row{z});
    if ($row{value} eq 'n/a') { die 'a number where there is no fit' if $value[$at] == $value[$at]; next }
    ++$n;
    die "$at: $value[$at]" if abs($value[$at] / $row{value} - 1) > 1e-6 || abs($error[$at] / $row{error_1sd} - 1) > 1e-6;
}
die "$n voxels" if $n != 46;
PERL
        # a plan that takes the place of this one takes the maps away, too
        status 0 "$batch" plan grid.nii --start start.par -o run --noise 0:31 --force
        true_that "no maps are left" test ! -e run/maps
        true_that "nor a table" test ! -e run/derived.tsv
    fi
fi
finish
