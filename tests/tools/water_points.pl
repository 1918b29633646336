#!/usr/bin/env perl
# SPDX-License-Identifier: BSD-3-Clause
#
# water_points.pl data|water: points of NAA 9 and Cr 8 mmol/kg of water with their water, TE 30 ms, TR 2 s,
# dwell time 0.5 ms at 123.25 MHz, or the water alone: with an eddy current of 2 radians, its first point halved
use strict; use warnings;
my ($what) = @ARGV; srand 5; my $pi = atan2(0, -1);
my $left = sub { my ($t1, $t2) = @_; exp(-0.03 / $t2) * (1 - exp(-2 / $t1)) };
my $unit = 500; # of the signal: that many for a mole of protons in a kilogram
my @lines = $what eq "water"
  ? ([4.65, 2 * 55.508 * $unit * $left->(1.1, 0.08), 6])
  : ([2.01, 3 * 0.009 * $unit * $left->(1.4, 0.28), 4], [3.03, 3 * 0.008 * $unit * $left->(1.4, 0.16), 5]);
for my $k (0 .. 1023) {
    my $t = $k * 0.0005; my ($re, $im) = (0, 0);
    for (@lines) {
        my $w = -2 * $pi * ($_->[0] - 4.65) * 123.25 * $t + 2 * exp(-$t / 0.02);
        my $a = $_->[1] * exp(-$pi * $_->[2] * $t);
        $re += $a * cos $w; $im += $a * sin $w;
    }
    ($re, $im) = (0.5 * $re, 0.5 * $im) if $k == 0 && $what eq "water";
    my $r = 0.1 * sqrt(-2 * log(1 - rand)); my $f = 2 * $pi * rand;
    printf "%.9g %.9g\n", $re + $r * cos $f, $im + $r * sin $f;
}
