#!/usr/bin/env perl
# SPDX-License-Identifier: BSD-3-Clause
#
# fid_file.pl FORMAT [item=value ...] <points >file
#
# Writes points ("re im" on a line, in the sense of NIfTI-MRS: higher ppm at lower frequency) as a
# file of FORMAT, from the descriptions of the formats: nothing is shared with the readers.
#   nifti    version=2 order=little|big type=64|128 dims=1,1,1,N unit=s|ms|us|none foreign=0|1
#            json='{...}' intent=mrs_v0_9 ecode=44; points are in the order of the file
#   raw      hzpppm echot tramp volume bruker style=plain|touching|nmid
#   jmrui    columns=2|4 datasets=1 frequency_unit=Hz|MHz
#   sdat     (points only; the parameters are "spar")
#   rda      grid=1,1,1 comma=0|1
#   text
# Common: dwell=0.0005 (s) mhz=123.25 nucleus=1H
use strict;
use warnings;

my $format = shift @ARGV;
my %o = (
    dwell => 0.0005, mhz => 123.25, nucleus => '1H', version => 2, order => 'little', type => 64,
    unit  => 's', foreign => 0, intent => 'mrs_v0_9', ecode => 44, grid => '1,1,1', comma => 0,
    columns => 4, datasets => 1, frequency_unit => 'Hz', tramp => 1, volume => 1, bruker => 'F',
    style => 'plain', begin => 0, rows => 1,
);
for (@ARGV) { /^(\w+)=(.*)$/s or die "item=value expected, not $_\n"; $o{$1} = $2 }
my @points;
while (<STDIN>) { my @v = split; push @points, [@v[0, 1]] }
my $n = @points;
binmode STDOUT;

sub conjugated { map { [$_->[0], -$_->[1]] } @_ }

if ($format eq 'nifti') {
    my $e = $o{order} eq 'big' ? '>' : '<';
    my @dim = split /,/, $o{dims} // "1,1,1,$n";
    my $json = $o{json}
      // "{\"SpectrometerFrequency\": [$o{mhz}], \"ResonantNucleus\": [\"$o{nucleus}\"]}";
    my $extension = sub {
        my ($code, $text) = @_;
        my $size = 16 * int((length($text) + 8 + 15) / 16);
        pack("l$e l$e", $size, $code) . $text . "\0" x ($size - 8 - length $text);
    };
    my $extensions = '';
    $extensions .= $extension->(6, 'a comment of another program') if $o{foreign};
    $extensions .= $extension->($o{ecode}, $json);
    my %unit = (s => [8, 1], ms => [16, 1e3], us => [24, 1e6], none => [0, 1]);
    my ($unit, $factor) = @{ $unit{ $o{unit} } };
    my @size = (scalar @dim, @dim, (1) x (7 - @dim));
    my @pixdim = (1, 20, 20, 20, $o{dwell} * $factor, 1, 1, 1);
    my ($type, $bits) = $o{type} == 64 ? (32, 64) : (1792, 128);
    my $header;
    if ($o{version} == 1) {
        $header = "\0" x 348;
        my $put = sub { my ($at, $b) = @_; substr($header, $at, length $b) = $b };
        $put->(0, pack("l$e", 348));
        $put->(40, pack("s${e}8", @size));
        $put->(70, pack("s$e s$e", $type, $bits));
        $put->(76, pack("f${e}8", @pixdim));
        $put->(108, pack("f$e", 352 + length $extensions));
        $put->(123, chr($unit | 2));
        $put->(328, $o{intent});
        $put->(344, "n+1\0");
    } else {
        $header = "\0" x 540;
        my $put = sub { my ($at, $b) = @_; substr($header, $at, length $b) = $b };
        $put->(0, pack("l$e", 540));
        $put->(4, "n+2\0\r\n\032\n");
        $put->(12, pack("s$e s$e", $type, $bits));
        $put->(16, pack("q${e}8", @size));
        $put->(104, pack("d${e}8", @pixdim));
        $put->(168, pack("q$e", 544 + length $extensions));
        $put->(500, pack("l$e", $unit | 2));
        $put->(508, $o{intent});
    }
    print $header, "\1\0\0\0", $extensions;
    my $number = ($o{type} == 64 ? 'f' : 'd') . $e;
    print pack("${number}2", @$_) for @points;
} elsif ($format eq 'raw') {
    my $scale = $o{volume} / $o{tramp};
    @points = map { [map { $_ * $scale } @$_] } @points;
    @points = conjugated(@points) if $o{bruker} eq 'T';
    print " \$SEQPAR\n HZPPPM = $o{mhz}, ECHOT = 30.,\n SEQ = 'PRESS' \$END\n" if $o{style} ne 'nmid';
    my ($layout, $form) = $o{style} eq 'touching' ? ('(1P2E24.16)', '%24.16E%24.16E')
                                                  : ('(2E26.17)', '%26.17E%26.17E');
    my $more = $o{style} eq 'nmid' ? " dwellTime= $o{dwell} NumberOfPoints=$n\n" : '';
    print " \$NMUSED\n NAME='it''s \$END', FWHM = 3*0.,\n \$END\n" if $o{style} eq 'touching';
    print " &NMID ID='a b', FMTDAT = '$layout'\n$more TRAMP=$o{tramp}, VOLUME = $o{volume}\n",
      " BRUKER=$o{bruker}, ECHOT= ,\n &END\n";
    printf "$form\n", @$_ for @points;
} elsif ($format eq 'jmrui') {
    my $frequency = $o{frequency_unit} eq 'Hz' ? $o{mhz} * 1e6 : $o{mhz};
    my $each = $n / $o{datasets};
    printf "jMRUI Data Textfile\r\n\r\nFilename: x.txt\r\n\r\nPointsInDataset: %d\r\n"
      . "DatasetsInFile: %d\r\nSamplingInterval: %.17gE0\r\nZeroOrderPhase: 0E0\r\nBeginTime: %.17g\r\n"
      . "TransmitterFrequency: %.17g\r\nMagneticField: %.6f\r\nTypeOfNucleus: 0E0\r\n"
      . "NameOfPatient: Mustermann\r\nDateOfExperiment: \r\n\r\nSignal and FFT\r\n"
      . "sig(real)\tsig(imag)\tfft(real)\tfft(imag)\r\n",
      $each, $o{datasets}, 1e3 * $o{dwell}, 1e3 * $o{begin}, $frequency, $o{mhz} / 42.577;
    @points = conjugated(@points);
    for my $k (0 .. $n - 1) {
        print "Signal ", 1 + $k / $each, " out of $o{datasets} in file\r\n" if $k % $each == 0;
        printf "%.17g\t%.17g", @{ $points[$k] };
        print "\t1.0E0\t2.0E0" if $o{columns} == 4;
        print "\r\n";
    }
} elsif ($format eq 'sdat') {
    for (map { @$_ } conjugated(@points)) {
        my ($a, $b, $c, $d) = unpack 'C4', pack('f>', 4 * $_); # a value is a quarter of the bits
        print pack 'C4', $b, $a, $d, $c;
    }
} elsif ($format eq 'spar') {
    printf "!---\r\n\r\nexamination_name : Mustermann\r\n\r\npatient_name : Mustermann\r\n\r\n"
      . "samples : %d\r\nrows : %d\r\nsynthesizer_frequency : %d\r\n"
      . "sample_frequency : %.10g\r\nnucleus : %s\r\necho_time : 30\r\n",
      $n / $o{rows}, $o{rows}, $o{mhz} * 1e6, 1 / $o{dwell}, $o{nucleus};
} elsif ($format eq 'rda') {
    my @grid = split /,/, $o{grid};
    my $each = $n / ($grid[0] * $grid[1] * $grid[2]);
    my $header = ">>> Begin of header <<<\r\nPatientName: M\xfcstermann\r\nVectorSize: $each\r\n"
      . "DwellTime: " . 1e6 * $o{dwell} . "\r\nMRFrequency: $o{mhz}\r\nNucleus: $o{nucleus}\r\n"
      . "TE: 30.0\r\nCSIMatrixSize[0]: $grid[0]\r\nCSIMatrixSize[1]: $grid[1]\r\n"
      . "CSIMatrixSize[2]: $grid[2]\r\n>>> End of header <<<\r\n";
    $header =~ s/(\d)\.(\d)/$1,$2/g if $o{comma};
    print $header, map { pack 'd<2', @$_ } @points;
} elsif ($format eq 'text') {
    print "# real imaginary\n";
    printf "%.17g, %.17g\n", @$_ for @points;
} else {
    die "no format $format\n";
}
