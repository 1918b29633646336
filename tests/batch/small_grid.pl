#!/usr/bin/env perl
# SPDX-License-Identifier: BSD-3-Clause
#
# small_grid.pl NX NY NZ POINTS [faulty]: the points of a grid of FIDs in the order of NIfTI-MRS (x fastest, then y,
# z, time), "re im" on a line. Two decaying lines at +100 and -150 Hz of a band of 1000 Hz, 8 and 12
# Hz wide; areas 1 + x/4 + y/8 and 2 - z/8; noise of a fixed generator. faulty: a point that is not a
# number in voxel 1,1,0 and nothing but zeros in voxel 0,1,0.
use strict;
use warnings;
my ($nx, $ny, $nz, $n, $faulty) = @ARGV;
my $state = 12345;

sub uniform { # Lehmer, modulus 2^31 - 1: the same numbers everywhere
    $state = ($state * 48271) % 2147483647;
    return $state / 2147483647;
}
sub normal { return sqrt(-2 * log uniform()) * cos(6.283185307179586 * uniform()) }

for my $k (0 .. $n - 1) {
    my $t = $k / 1000;
    for my $z (0 .. $nz - 1) {
        for my $y (0 .. $ny - 1) {
            for my $x (0 .. $nx - 1) {
                my ($a, $b) = (1 + $x / 4 + $y / 8, 2 - $z / 8);
                my ($u, $v) = (6.283185307179586 * 100 * $t, -6.283185307179586 * 150 * $t);
                my ($d, $e) = (exp(-3.14159265358979 * 8 * $t), exp(-3.14159265358979 * 12 * $t));
                my $re = $a * $d * cos($u) + $b * $e * cos($v) + 0.05 * normal();
                my $im = $a * $d * sin($u) + $b * $e * sin($v) + 0.05 * normal();
                ($re, $im) = (0, 0) if $faulty && $x == 0 && $y == 1 && $z == 0;
                $re = 'nan' if $faulty && $x == 1 && $y == 1 && $z == 0 && $k == 3;
                print "$re $im\n";
            }
        }
    }
}
