#!/usr/bin/env perl
# SPDX-License-Identifier: BSD-3-Clause
#
# mask_file.pl NX NY NZ: an image of bytes, version 1 header, 1 in voxels 2,1,* and 3,1,*
use strict;
use warnings;
my ($nx, $ny, $nz) = @ARGV;
binmode STDOUT;
my $header = "\0" x 348;
my $put = sub { my ($at, $bytes) = @_; substr($header, $at, length $bytes) = $bytes };
$put->(0, pack('l<', 348));
$put->(40, pack('s<8', 3, $nx, $ny, $nz, 1, 1, 1, 1));
$put->(70, pack('s<s<', 2, 8));
$put->(76, pack('f<8', 1, 20, 20, 20, 1, 1, 1, 1));
$put->(108, pack('f<', 352));
$put->(344, "n+1\0");
print $header, "\0\0\0\0";
for my $z (0 .. $nz - 1) {
    for my $y (0 .. $ny - 1) {
        print pack 'C', $y == 1 && ($_ == 2 || $_ == 3) ? 1 : 0 for 0 .. $nx - 1;
    }
}
