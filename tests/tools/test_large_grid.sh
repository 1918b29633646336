#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# A grid of a million voxels, nearly all of them zeros, packed into some kilobytes: what the importer
# holds does not grow with the voxels, and what it writes is what it writes of each voxel alone.
. "$(dirname "$0")/harness.sh"
command -v gzip >/dev/null || { echo "skipped: there is no gzip"; exit 77; }
import=$programs/varokel-import

# grid NX NY NZ: 8 points, two voxels with signal, packed
grid() {
    perl -e '
        my ($nx, $ny, $nz) = @ARGV; my $n = $nx * $ny * $nz;
        my $json = "{\"SpectrometerFrequency\": [51.7], \"ResonantNucleus\": [\"31P\"]}";
        $json .= " " x ((8 - length($json)) % 16); my $size = 8 + length $json;
        my $h = "\0" x 540;
        sub put { my ($at, $bytes) = @_; substr($h, $at, length $bytes) = $bytes }
        put(0, pack "l<", 540); put(4, "n+2\0\r\n\x1a\n"); put(12, pack "s<2", 32, 64);
        put(16, pack "q<8", 4, $nx, $ny, $nz, 8, 1, 1, 1); put(104, pack "d<8", 1, 8, 8, 8, 0.001, 1, 1, 1);
        put(168, pack "q<", 544 + $size); put(176, pack "d<", 1); put(500, pack "l<", 10); put(508, "mrs_v0_9");
        print $h, "\1\0\0\0", pack("l<2", $size, 44), $json;
        my $zeros = "\0" x (8 * ($n - 2));
        for my $k (0 .. 7) {
            my ($a, $b) = (exp(-$k / 4), exp(-$k / 3));
            print pack("f<2", $a, 0.01 * $k), $zeros, pack("f<2", $b, 0.02 * $k);
        }' "$@" | gzip -1
}
limited() { (ulimit -v "$limit" && exec "$@"); }
limit=81920 # kB of addresses; a page of 717 MB was what a million voxels took once

grid 100 100 100 >large.nii.gz
if ! "$import" large.nii.gz --voxel 0,0,0 -o one >/dev/null 2>err; then
    grep -q 'without zlib\|without the NIfTI' err && { echo "skipped: $(cat err)"; exit 77; }
fi
status 0 limited "$import" large.nii.gz --memory 8 --noise 0:3 -o all
holds err 'passed over 999998 voxels that are all zero'
true_that 'two spectra with their sidecars' test "$(ls all | wc -l)" -eq 4
for voxel in 0_0_0 99_99_99; do
    status 0 "$import" large.nii.gz --voxel "${voxel//_/,}" --noise 0:3 -o "alone_$voxel"
    for ending in bin json; do
        true_that "$voxel: the same .$ending alone" cmp "all/large_$voxel.$ending" "alone_$voxel/large_$voxel.$ending"
    done
done
# passes over a file that was unpacked once
status 0 limited env TMPDIR="$PWD" "$import" large.nii.gz --memory 1 --noise 0:3 -o passes
true_that 'the same in many passes' cmp all/large_99_99_99.bin passes/large_99_99_99.bin
status 0 env TMPDIR=/nowhere "$import" large.nii.gz --memory 8 --noise 0:3 -o without
true_that 'the same where there is no place to unpack' cmp all/large_99_99_99.bin without/large_99_99_99.bin
true_that 'nothing of it is left' test -z "$(find . -name '.varokel*' -o -name 'varokel.*')"
finish
