#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Damaged files of every format: exit status 3, one message that names file and item, no output.
. "$(dirname "$0")/harness.sh"
import=$programs/varokel-import
write() { perl "$tree/tests/tools/fid_file.pl" "$@"; }

# refused FILE TEXT OPTION...: the message about FILE has TEXT
refused() {
    local file=$1 text=$2
    shift 2
    status 3 "$import" "$file" -o run "$@"
    holds err "$text"
    holds err "varokel-import: ${file%.*}"
    true_that "one message about $file, not $(wc -l <err)" test "$(wc -l <err)" -eq 1
    true_that "no results of $file" test ! -s out -a ! -e run
}
# edited ENDING SED TEXT OPTION...: the message about good.ENDING after that edit has TEXT
edited() {
    local file=bad.$1 text=$3
    sed "$2" "good.$1" >"$file"
    shift 3
    refused "$file" "$text" "$@"
}
# edit FILE NEW 's/perl/expression/'...
edit() {
    local from=$1 to=$2
    shift 2
    perl -0777 -pe "binmode STDIN; binmode STDOUT; $*" <"$from" >"$to"
}

perl -e 'printf "%.9g %.9g\n", cos($_) * exp(-$_ / 20), sin($_) for 0 .. 31' >fid

# NIfTI-MRS
write nifti version=2 <fid >two.nii
write nifti version=1 <fid >one.nii
status 0 "$import" two.nii -o good --force
status 0 "$import" one.nii -o good --force
for k in one two; do
    head -c 3 $k.nii >cut.nii
    refused cut.nii 'within its header'
    head -c 300 $k.nii >cut.nii
    refused cut.nii 'within its header'
    head -c -8 $k.nii >cut.nii
    refused cut.nii 'is the file cut?'
    edit $k.nii bad.nii 's/^../xx/s'
    refused bad.nii 'no NIfTI header'
    gzip -c $k.nii | head -c 200 >short.nii.gz
    refused short.nii.gz 'the file cut?'
    { gzip -c $k.nii | head -c 100; head -c 100 /dev/zero; } >damaged.nii.gz
    refused damaged.nii.gz 'the file cut?'
    edit $k.nii bad.nii 's/SpectrometerFrequency": \[/SpectrometerFrequency":  /'
    refused bad.nii 'header extension with code 44: no valid JSON'
    edit $k.nii bad.nii 's/\[123.25\]/["abc"] /'
    refused bad.nii 'item SpectrometerFrequency of the JSON is no number'
    edit $k.nii bad.nii 's/\[123.25\]/[-23.25]/'
    refused bad.nii 'not above 0'
done
edit one.nii bad.nii 's/n\+1/n+3/'
refused bad.nii 'no NIfTI header'
edit one.nii bad.nii 's/n\+1/ni1/'
refused bad.nii 'in a file of their own'
edit two.nii bad.nii 's/n\+2/n+3/'
refused bad.nii 'no NIfTI header'
# number of dimensions at byte 16, of points at byte 48, type at byte 12, first point at byte 168
for dimensions in 0 8 200 -1 1000000000000; do
    edit two.nii bad.nii "substr(\$_, 16, 8) = pack 'q<', $dimensions"
    refused bad.nii "the header has $dimensions dimensions; expected 1 to 7"
done
for points in 0 -5 2000000000000000; do
    edit two.nii bad.nii "substr(\$_, 48, 8) = pack 'q<', $points"
    refused bad.nii 'dimension 4 of the header is not possible'
done
edit two.nii bad.nii "substr(\$_, 48, 8) = pack 'q<', 33"
refused bad.nii 'less than the dimensions of the header need'
edit two.nii bad.nii "substr(\$_, 48, 8) = pack 'q<', 100000000000"
gzip bad.nii
refused bad.nii.gz 'less than the dimensions of the header need'
edit two.nii bad.nii "substr(\$_, 16, 8) = pack 'q<', 3; substr(\$_, 48, 8) = pack 'q<', 1"
refused bad.nii 'has 3 dimensions; expected 4 to 7'
edit two.nii bad.nii "substr(\$_, 12, 2) = pack 's<', 16"
refused bad.nii 'points are of type float32; expected complex64 or complex128'
edit two.nii bad.nii "substr(\$_, 168, 8) = pack 'q<', 100"
refused bad.nii 'expected a place behind its 540 bytes'
edit two.nii bad.nii "substr(\$_, 544, 4) = pack 'l<', 1000000"
refused bad.nii 'a header extension of 1000000 bytes'
write nifti ecode=6 <fid >bad.nii
refused bad.nii 'no header extension with code 44'
write nifti json='{"SpectrometerFrequency": [123.25], "kSpace": [false, true, false]}' <fid >bad.nii
refused bad.nii 'kSpace'
{ head -3 fid; echo '1 nan'; tail -28 fid; } | write nifti order=big >nan.nii
refused nan.nii '1 point is not a finite number (nan or inf): point 3'
{ head -3 fid; echo '-inf 1'; tail -28 fid; } | write nifti type=128 >inf.nii
refused inf.nii 'point 3'

# LCModel .RAW
write raw <fid >good.RAW
status 0 "$import" good.RAW -o good --dwell 0.001 --force
edited RAW 's/&NMID/\&SOME/' 'no group $NMID'
edited RAW '/&END/d' 'has no end'
edited RAW 's/TRAMP=1/TRAMP=one/' 'item tramp is not a number' --dwell 0.001
edited RAW 's/VOLUME = 1/VOLUME = 0/' 'VOLUME is 0' --dwell 0.001
edited RAW 's/BRUKER=F/SEQACQ=T/' 'SEQACQ is T' --dwell 0.001
edited RAW '$s/ [^ ]*$//' 'no imaginary part' --dwell 0.001
edited RAW '12s/E/x/' 'line 12: no row of numbers' --dwell 0.001
edited RAW '12s/ [^ ]*$/ NaN/' '1 point is not a finite number' --dwell 0.001
refused good.RAW 'no whole number of spectra of 5 points' --points 5 --dwell 0.001
: >empty.RAW
refused empty.RAW 'empty' --dwell 0.001

# jMRUI
write jmrui <fid >good.txt
status 0 "$import" good.txt -o good --force
edited txt '$d' 'the file ends after 31 points; expected 32'
edited txt 's/PointsInDataset: 32/PointsInDataset: 31/' 'more points than'
edited txt 's/PointsInDataset: 32/PointsInDataset: many/' 'PointsInDataset is no number'
edited txt '/PointsInDataset/d' 'PointsInDataset is missing'
edited txt 's/SamplingInterval: .*/SamplingInterval: -1/' 'SamplingInterval is not above 0'
edited txt 's/BeginTime: .*/BeginTime: inf/' 'BeginTime is no number'
edited txt '20s/\t.*/\tword/' 'line 20: expected a row of 2 or 4 numbers'
edited txt '20s/\t[^\t]*/\tnan/' '1 point is not a finite number'
edited txt '/^sig/,$d' 'ends before the first point'

# SPAR/SDAT
write sdat <fid >good.SDAT
write spar <fid >good.SPAR
status 0 "$import" good.SDAT -o good --force
head -c 100 good.SDAT >bad.SDAT
cp good.SPAR bad.SPAR
refused bad.SDAT '100 bytes; expected 8 times 32 samples times 1 rows'
cp good.SDAT bad.SDAT
for edit in 's/samples : 32/samples : 31/' 's/samples : 32/samples : 1.5/' 's/samples : 32/samples : -1/' \
    's/samples : 32/samples : x/' '/samples/d' 's/sample_frequency : .*/sample_frequency : 0/' \
    's/synthesizer_frequency : .*/synthesizer_frequency : nan/' 's/rows : 1/rows : 1e9/'; do
    sed "$edit" good.SPAR >bad.SPAR
    refused bad.SDAT expected
done
perl -e 'print pack "C*", (0, 128) x 128' >bad.SDAT # the sign alone: no number
cp good.SPAR bad.SPAR
refused bad.SDAT '32 points are not a finite number'
rm bad.SPAR
refused bad.SDAT 'no bad.SPAR beside it'

# RDA
write rda <fid >good.rda
status 0 "$import" good.rda -o good --force
head -c 400 good.rda >bad.rda
refused bad.rda 'Is the file cut?'
head -c 100 good.rda >bad.rda
refused bad.rda 'no ">>> End of header <<<"'
perl -0777 -pe 's/Begin/begun/' <good.rda >bad.rda
refused bad.rda 'expected ">>> Begin of header <<<"'
for item in 'VectorSize: 32/VectorSize: 33' 'VectorSize: 32/VectorSize: -1' 'VectorSize/Vectors' \
    'DwellTime: [0-9.]*/DwellTime: none' 'MRFrequency: [0-9.]*/MRFrequency: 0' \
    'CSIMatrixSize\[1\]: 1/CSIMatrixSize[1]: 1000000'; do
    perl -0777 -pe "s/$item/" <good.rda >bad.rda
    refused bad.rda expected
done
{ head -5 fid; echo 'inf 0'; tail -26 fid; } | write rda >bad.rda
refused bad.rda '1 point is not a finite number (nan or inf): point 5'

# text and float32
write text <fid >good.csv
edited csv '7s/,.*//' 'line 7: expected two numbers' --dwell 0.001
edited csv '7s/,/, 1,/' 'line 7' --dwell 0.001
edited csv '7s/,.*/, inf/' 'not a finite number' --dwell 0.001
echo '# nothing' >bad.csv
refused bad.csv 'holds no points' --dwell 0.001
head -c 40000000 /dev/zero | tr '\0' '7' >bad.csv
refused bad.csv 'longer than 16 MiB' --dwell 0.001
signal good.f32 <fid
head -c 99 good.f32 >bad.f32
refused bad.f32 'whole points of 8 bytes' --dwell 0.001
# formats of scanners that are not read: who converts them
cp good.f32 x.dcm
refused x.dcm spec2nii
# DICOM under any name: a word behind 128 bytes
{ head -c 128 /dev/zero; printf 'DICM'; head -c 4000 /dev/zero; } >IM_0001
refused IM_0001 'DICOM, which is not read here; spec2nii converts'
cp IM_0001 measured.f32
refused measured.f32 'spec2nii'
status 3 "$import" missing.nii -o run
status 3 "$import" . -o run
true_that 'nothing was made' test ! -e run

finish
