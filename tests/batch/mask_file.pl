#!/usr/bin/env perl
# SPDX-License-Identifier: BSD-3-Clause
#
# mask_file.pl NX NY NZ [scaled]: an image of bytes, version 1 header, 1 in voxels 2,1,* and 3,1,*.
# scaled: 16-bit numbers, big-endian, which are above 0 everywhere but for slope and intercept.
use strict;
use warnings;
my ($nx, $ny, $nz, $scaled) = @ARGV;
my $e = $scaled ? '>' : '<';
binmode STDOUT;
my $header = "\0" x 348;
my $put = sub { my ($at, $bytes) = @_; substr($header, $at, length $bytes) = $bytes };
$put->(0, pack("l$e", 348));
$put->(40, pack("s${e}8", 3, $nx, $ny, $nz, 1, 1, 1, 1));
$put->(70, pack("s${e}2", $scaled ? (4, 16) : (2, 8)));
$put->(76, pack("f${e}8", 1, 20, 20, 20, 1, 1, 1, 1));
$put->(108, pack("f$e", 352));
$put->(112, pack("f${e}2", 0.5, -1)) if $scaled; # 2 is 0, 4 is 1
$put->(344, "n+1\0");
print $header, "\0\0\0\0";
for my $z (0 .. $nz - 1) {
    for my $y (0 .. $ny - 1) {
        for my $x (0 .. $nx - 1) {
            my $inside = $y == 1 && ($x == 2 || $x == 3) ? 1 : 0;
            print $scaled ? pack('s>', 2 + 2 * $inside) : pack('C', $inside);
        }
    }
}
