#!/usr/bin/env perl
# SPDX-License-Identifier: BSD-3-Clause
#
# hand_made_plan.pl FOLDER: a manifest of 3 x 2 voxels a to f with two entries, "one" and "two<", for
# the start.par, names.txt, sidecar.json and spectra.f32 (16 points each) in FOLDER; written here from the
# description of the format.
use strict;
use warnings;
use Digest::SHA qw(sha256_hex);
use JSON::PP;
my ($folder) = @ARGV;

sub digest {
    open my $in, '<:raw', "$folder/$_[0]" or die "$_[0]: $!";
    local $/;
    return sha256_hex(<$in>);
}
open my $spectra, '<:raw', "$folder/spectra.f32" or die "spectra.f32: $!";
my @lines = map {
    read($spectra, my $points, 128) == 128 or die 'spectra.f32';
    sprintf '{"number":%d,"name":"%s","at":[%d,%d],"state":"fit","block":%d,"wave":0,"sha256":"%s"}',
        $_, chr(ord('a') + $_), $_ % 3, int($_ / 3), $_, sha256_hex($points)
} 0 .. 5;
my %head = (
    format => 4, derived => [], method => 'exact', windows => [], program => 'varokel-batch 0', count => 6, blocks => 6, points => 16, keep => 6,
    values => 'same', grid => JSON::PP::false, entries => ['one', 'two<'], patterns => [], inputs => [],
    axes => [map { { name => $_->[0], size => $_->[1], spatial => JSON::PP::true } } ['x', 3], ['y', 2]],
    scale => {
        hz_per_point => 10, spectrometer_mhz => 100, ppm_at_carrier => 0,
        ppm_rises_with_points => JSON::PP::false, nucleus => '1H'
    },
    start_sha256 => digest('start.par'), names_sha256 => digest('names.txt'),
    sidecar_sha256 => digest('sidecar.json'), list_sha256 => sha256_hex(join '', @lines),
    line_bytes => 2 + length $lines[0],
);
my $text = JSON::PP->new->canonical->encode(\%head);
$text =~ s/\}\z/,\n "spectra": [\n/;
$text .= join ",\n", @lines;
$text .= " \n ]\n}\n";
open my $out, '>:raw', "$folder/manifest.json" or die $!;
print $out $text;
