#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Some kilobytes of .nii.gz that unpack to a thousand times as much: what is held does not grow with what comes out.
# MIB=1024 makes the zeros of each file as many (by hand; 64 here).
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
command -v gzip >/dev/null || { echo "skipped: there is no gzip"; exit 77; }
import=$programs/varokel-import
mib=${MIB:-64}

# packed FILE DIMS OFFSET EXTENSIONS [TYPE]: a header of version 2 with a JSON, then EXTENSIONS, "COUNT*BYTES" of zeros
# or "json:TEXT*COUNT" in front; OFFSET of the points, 0 for behind all that; an FID, then $mib of zeros
packed() {
    perl -e '
        my ($dims, $offset, $extensions, $mib, $type) = @ARGV;
        my @dim = split /,/, $dims;
        my $json = q({"SpectrometerFrequency": [51.7], "ResonantNucleus": ["31P"]});
        my @parts;
        for (split /;/, $extensions) {
            if (/^json:(.*)\*(\d+)$/) { unshift @parts, q({"a": [) . $1 x $2 . q(0]}) }
            elsif (/^(\d+)\*(\d+)$/) { my ($count, $bytes) = ($1, $2); push @parts, map { "\0" x $bytes } 1 .. $count }
        }
        @parts = ($json, @parts) unless $extensions =~ /json/;
        my $all = "";
        for my $text (@parts) {
            my $size = 16 * int((length($text) + 8 + 15) / 16);
            $all .= pack("l<2", $size, 44) . $text . "\0" x ($size - 8 - length $text);
        }
        my $h = "\0" x 540;
        sub put { my ($at, $bytes) = @_; substr($h, $at, length $bytes) = $bytes }
        put(0, pack "l<", 540); put(4, "n+2\0\r\n\x1a\n"); put(12, pack "s<2", $type, $type == 32 ? 64 : 32);
        put(16, pack "q<8", scalar @dim, @dim, (1) x (7 - @dim)); put(104, pack "d<8", 1, 8, 8, 8, 0.001, 1, 1, 1);
        put(168, pack "q<", $offset || 544 + length $all); put(176, pack "d<", 1); put(500, pack "l<", 10);
        put(508, "mrs_v0_9");
        print $h, "\1\0\0\0", $all;
        for (0 .. 127) { # none in front of an offset far away
            last if $offset;
            print pack("f<2", exp(-$_ / 40) + 0.01 * sin(7 * $_ * $_), 0.01 * cos(5 * $_ * $_));
        }
        print "\0" x 1048576 for 1 .. $mib;' "$2" "$3" "$4" "$mib" "${5:-32}" | gzip -1 >"$1.nii.gz"
}
limited() { (ulimit -v "$limit" && exec "$@"); }
limit=65536 # kB of addresses: as many MiB as the zeros are, and the program needs some itself
refused() { # FILE TEXT
    status 3 limited "$import" "$1.nii.gz" -o none
    holds err "$1.nii.gz: $2"
    true_that "$1: nothing was written" test ! -e none
}

packed behind 1,1,1,128 0 ''
if ! "$import" behind.nii.gz -o one >/dev/null 2>err; then
    grep -q 'without zlib\|without the NIfTI' err && { echo "skipped: $(cat err)"; exit 77; }
fi
# ---- the header says less than there is ----
status 0 limited "$import" behind.nii.gz -o behind
true_that 'one spectrum of 128 points' test "$(stat -c %s behind/behind.bin)" -eq 1024
printf 'name | type | frequency[Hz] | lorentz | phase\na | lorentz | 0 | 8 | 0\n' >peaks.txt
status 0 limited "$programs/varokel-fit" behind.nii.gz peaks.txt --look -o look
two_lines_grid unused 1 1 1
packed grid 2,1,1,128 0 ''
plan() { limited "$programs/varokel-batch" plan grid.nii.gz --start start.par --names names.txt "$@"; }
status 0 plan -o run
status 0 limited "$programs/varokel-plot" behind.nii.gz -o plot.svg
# ... in an image, of voxels and of regions
packed mask 2,1,1 0 '' 16
status 0 plan --mask mask.nii.gz -o masked
packed masks 1000,1000,1000 0 '' 16
status 3 plan --mask masks.nii.gz -o none
holds err 'masks.nii.gz: 1000 x 1000 x 1000 voxels'
status 0 "$programs/varokel-batch" run run
status 0 "$programs/varokel-batch" merge run
status 3 limited "$programs/varokel-report" run --regions mask.nii.gz
holds err 'mask.nii.gz: holds 0.010000; expected labels'
status 3 limited "$programs/varokel-report" run --regions masks.nii.gz --force
holds err 'masks.nii.gz: is of another grid; expected 2 x 1 x 1 voxels'
# ---- and more ----
packed more 1000,1000,1000,1024 0 ''
refused more "$(stat -c %s more.nii.gz) bytes, which is less than the dimensions of the header need"
packed points 1,1,1,33554432 0 ''
refused points '33554432 points; a fit takes up to 16777216'
packed cut $((mib * 1000)),1,1,256 0 ''
refused cut 'ends, or is damaged, within point'
packed far 1,1,1,128 $(((mib + 1) << 20)) ''
refused far 'ends, or is damaged, within point 0'
packed middle 1,1,1,128 $((mib << 19)) ''
status 0 limited "$import" middle.nii.gz -o middle
true_that 'the points are read where the header says' test -z "$(tr -d '\0' <middle/middle.bin)"

# ---- a header that is large itself ----
packed extensions 1,1,1,128 0 '48*2097000'
status 0 limited "$import" extensions.nii.gz -o extensions
true_that 'the same spectrum' cmp extensions/extensions.bin behind/behind.bin
packed extension 1,1,1,128 0 'json:0,*3000000'
refused extension 'a header extension with code 44 of 6000032 bytes; expected up to 4 MiB'
# three bytes of a text are a hundred of storage
packed lists 1,1,1,128 0 'json:[],*1398000'
refused lists 'the header extension with code 44: JSON of more than 2097152 values'
packed numbers 1,1,1,128 0 'json:0,*2000000'
limit=262144
status 0 limited "$import" numbers.nii.gz -o numbers
limit=65536
true_that 'as many values as are taken' cmp numbers/numbers.bin behind/behind.bin

# ---- a sidecar of few bytes for each value ----
perl -e 'print q({"points": 128, "a": [), "[]," x 2100000, "0]}"' >many.json
cp behind/behind.bin raw.f32
status 3 limited "$import" raw.f32 --json many.json -o none
holds err 'many.json: JSON of more than 2097152 values'
finish
