#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# A basis set as LCModel has it becomes patterns: the same model curve as the text pattern of the same
# lines. The set is written here from the description of the format.
. "$(dirname "$0")/harness.sh"
import=$programs/varokel-import
simulate=$programs/varokel-simulate

# basis DWELL POINTS MHZ WIDTH: a basis set on standard output, spectra in the order of a transform,
# 4.65 ppm first, scaled by 1/sqrt(n); FIDs of half the points, filled with zeros. WIDTH in Hz at
# 123.25 MHz. Metabolites: "Two" (scaled and shifted by its header), "-CrCH2", "a b", "A_B".
basis() {
    perl -e '
    my ($dwell, $n, $mhz, $width) = @ARGV; my $pi = 3.14159265358979312;
    print " \$SEQPAR\n FWHMBA = 0.013,\n HZPPPM = $mhz, ECHOT =  ,\n SEQ = \x27PRESS\x27 \$END\n",
      " \$BASIS1\n IDBASI = \x27it\x27\x27s a set\x27, FMTBAS = \x27(1P4E24.16)\x27,\n BADELT = $dwell, NDATAB = $n \$END\n";
    my %lines = (Two => [[3, 2.01], [1.5, 2.6]], "-CrCH2" => [[-2, 3.9]], "a b" => [[1, 3]], A_B => [[1, 6]]);
    for my $name ("Two", "-CrCH2", "a b", "A_B") {
        my (@re, @im);
        for my $k (0 .. $n / 2 - 1) { for (@{ $lines{$name} }) {
            my ($a, $ppm) = @$_; my $t = $k * $dwell;
            my $e = $a * exp(-$pi * $width * $mhz / 123.25 * $t); my $w = 2 * $pi * (4.65 - $ppm) * $mhz * $t;
            $re[$k] += $e * cos $w; $im[$k] += $e * sin $w } }
        my @s;
        for my $j (0 .. $n - 1) { my ($x, $y) = (0, 0);
            for my $k (0 .. $n / 2 - 1) { my $p = -2 * $pi * (($j * $k) % $n) / $n; my ($c, $d) = (cos $p, sin $p);
                $x += $re[$k] * $c - $im[$k] * $d; $y += $re[$k] * $d + $im[$k] * $c }
            push @s, [$x / sqrt $n, $y / sqrt $n] }
        my ($scale, $shift, $items) = (1, 0, "");
        ($scale, $shift, $items) = (3 / (5 * 2), 2, " CONC = 2., TRAMP = 3., VOLUME = 5., ISHIFT = 2,\n") if $name eq "Two";
        print " \$NMUSED\n FILERAW = \x27\$END of \$BASIS\x27, XTRASH = 3*0.,\n \$END\n",
          " \$BASIS\n ID = \x27$name\x27, METABO = \x27$name\x27\n$items \$END\n";
        my @v = map { map { $_ / $scale } @{ $s[($_ - $shift) % $n] } } 0 .. $n - 1;
        while (my @row = splice @v, 0, 4) { printf "%24.16E" x @row . "\n", @row }
    }' "$@"
}
# start NAME PATTERN: 128 points of 15.625 Hz, carrier at 1000 Hz; a line, and the pattern shifted,
# broadened and turned
start() {
    start_file n_pnts=128 noistp=128 Hz_p_p=15.625 clcerr=0 pattern="$2" '@ 2 128 1 1 1 1 1 0 1 0 100 2 1 0 100' \
        '1 0.5 700 20 -40 0' '4 0.8 3 0 20 2' >"$1"
}
# text_pattern WIDTH: the lines of "Two" at 2.01 and 2.6 ppm
text_pattern() {
    perl -e 'printf "start_pattern\nnumber_of_lines 2\nparameters\nname line_type area frequency gauss_width zero_phase lorentz_width\n";
      printf "a lorentz %s %.9f 0.0 %s\n", $_->[0], 1000 + (4.65 - $_->[1]) * 123.25, $ARGV[0] for [3.0, 2.01], [1.5, 2.6];
      print ";\nend_of_pattern\n"' "$1"
}

# the data that the patterns are for: 128 points of 0.5 ms at 123.25 MHz
perl -e 'print "1 0\n" x 128' | signal data.f32
status 0 "$import" data.f32 -o run --dwell 0.0005 --frequency 123.25 --nucleus 1H --axis falling
basis 0.0005 256 123.25 12 >set.BASIS
status 0 "$import" basis set.BASIS -o run --like run/data.json
for line in run/Two.bin run/-CrCH2.bin run/patterns.json 'pattrn 4' Two.bin a_b.bin A_B_2.bin; do
    holds out "$line"
done
true_that 'no warnings' test ! -s err
holds run/patterns.json '"sha256": "'"$(sha256sum <set.BASIS | cut -c 1-64)"'"'
true_that 'amplitude of Two at its first point, 4.5' \
    awk '/area_of_the_first_point/ { gsub(/[^0-9.e+-]/, "", $2); n++; if (n == 1) exit !($2 > 4.4999999 && $2 < 4.5000001) }' run/patterns.json
text_pattern 12 >run/two.pat
start run/text.par two.pat
start run/binary.par Two.bin
cd run || exit 1
for kind in text binary; do
    status 0 "$simulate" $kind.par -o $kind.out --noise 0 --seed 1
done
# single precision of the pattern file and of the curve
status 0 "$programs/varokel-compare" binary.out text.out --signal --rel 1e-6 --abs 2e-8
highest() { values "$1" | awk '{ m = $1 * $1 + $2 * $2; if (m > top) { top = m; at = NR - 1 } } END { print at, sqrt(top) }'; }
read -r place height <<<"$(highest binary.out)"
# 2.01 ppm is 325.38 Hz above the carrier in the falling sense; 3 Hz of shift
true_that "Two is highest at point 85, not $place" test "$place" -eq 85
cd ..

# a rising axis: the mirror image
status 0 "$import" data.f32 -o rising --dwell 0.0005 --frequency 123.25 --nucleus 1H
status 0 "$import" basis set.BASIS -o rising --like rising/data.json --only Two
true_that 'one pattern' test "$(ls rising/*.bin | wc -l)" -eq 2
values run/Two.bin | awk '{ re[NR - 1] = $1; im[NR - 1] = $2 }
    END { for (j = 0; j < NR; j++) printf "%.9e %.9e\n", re[(NR - j) % NR], -im[(NR - j) % NR] }' >wanted
# single precision of values up to 0.4
values rising/Two.bin | paste - wanted | awk '{ a = $1 - $3; b = $2 - $4; if (a * a + b * b > 1e-14) bad = 1 }
    END { exit bad || NR != 128 }'
true_that 'the mirror image' test $? -eq 0

# A basis of twice the band width: its FID is sampled anew, without the tails of its lines from outside
# of the band. The text pattern, sampled at the dwell time of the data, holds them all: at x of the band
# from a line of area A their sum is cot(pi x)/2 A/n, that of the line alone 1/(2 pi x) A/n. At the left
# edge, x = 0.66 and 0.63 for areas of 2.4 and 1.2: 0.014 when they add up.
basis 0.00025 1024 123.25 12 >wide.BASIS
status 0 "$import" basis wide.BASIS -o wide --like run/data.json --only Two
start wide/binary.par Two.bin
cd wide || exit 1
status 0 "$simulate" binary.par -o binary.out --noise 0 --seed 1
status 0 "$programs/varokel-compare" binary.out ../run/text.out --signal --rel 0 --abs 0.014
# Where the lines are the tails are small. What is left is the ringing at the begin of an FID of limited
# band, half of which lies before time 0 and is damped with the end of the FID: below 1 % of the height.
values binary.out | sed -n '76,96p' | signal near_lines.bin
values ../run/text.out | sed -n '76,96p' | signal wanted.bin
read -r place height <<<"$(highest wanted.bin)"
status 0 "$programs/varokel-compare" near_lines.bin wanted.bin --signal --rel 0 \
    --abs "$(awk -v h="$height" 'BEGIN { print 0.01 * h }')"
cd ..

# another field: refused, or rescaled up to 5 %
basis 0.0005 256 127 12 >other.BASIS
status 3 "$import" basis other.BASIS -o other --like run/data.json
holds err 'made for 127.000000 MHz, but the data have 123.250000 MHz'
status 0 "$import" basis other.BASIS -o other --like run/data.json --rescale --only Two
start other/binary.par Two.bin
cd other || exit 1
status 0 "$simulate" binary.par -o binary.out --noise 0 --seed 1
# widths of this set go with the field, so the lines are the same again but for the tails
status 0 "$programs/varokel-compare" binary.out ../run/text.out --signal --rel 0 --abs "$(awk -v h="$height" 'BEGIN { print 0.02 * h }')"
cd ..
basis 0.0005 256 297 12 >far.BASIS
status 3 "$import" basis far.BASIS -o far --like run/data.json --rescale

# what cannot be used: one message, nothing written
refused() {
    local text=$1
    shift
    status 3 "$import" basis bad.BASIS -o bad --points 128 --dwell 0.0005 "$@"
    holds err "$text"
    true_that 'nothing written' test ! -s out
    rm -rf bad
}
edit() { perl -0777 -pe "$1" <set.BASIS >bad.BASIS; }
edit 's/BADELT = /BADELT = -/'
refused 'encrypted'
edit 's/NDATAB = 256/NDATAB = 255/'
refused 'NDATAB is 255; expected a power of two'
edit 's/NDATAB = 256/NDATAB = 512/'
refused 'ends after 256 points; expected 512'
edit 's/HZPPPM = 123.25,//'
refused 'item hzpppm is missing'
edit 's/CONC = 2/CONC = 0/'
refused 'item conc is not above 0'
edit 's/E-0/Q-0/'
refused 'no row of numbers'
edit 's/( +)[-+.0-9E]+\n/$1NaN\n/'
refused 'not a finite number'
edit 's/\$BASIS\n/\$OTHER\n/g'
refused 'no group $BASIS'
cp run/data.json bad.BASIS
refused 'no group $BASIS'
status 2 "$import" basis set.BASIS -o bad --like run/data.json --only PCr
holds err 'holds no PCr'
status 2 "$import" basis set.BASIS -o bad
status 3 "$import" basis set.BASIS -o bad --points 8192 --dwell 0.0005
status 4 "$import" basis set.BASIS -o run --like run/data.json
status 0 "$import" basis set.BASIS -o run --like run/data.json --force

finish
