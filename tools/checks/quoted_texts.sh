#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# quoted_texts.sh [ROOT] -- which printed texts of src/ does no test expect?
#
# A text is a string literal of src/ that is printed: a format, an element of a table of lines, a
# message about storage. It counts as expected when an expected output of tests/cli or a literal of
# the test sources has it byte for byte, line end included; a format by its fixed pieces in order,
# with at most a line of something else between two of them. Texts without two visible characters
# ("%d\n") are passed over.
#
# Prints what is left and the count. Fails when a text is left that the list below does not
# explain, or more of a kind than it says. perl belongs to the base of every Debian system.
set -eu
exec perl - "${1:-$(dirname "$0")/../..}" <<'PERL'
use strict;
use warnings;
use File::Find;

# file and table (regular expressions of "control/allowed_counts.cpp block_names"), texts that are meant (another
# one), how many of them may be left ('any' for prose that is free to change), why
my @explained = (
    ['help/help_texts.cpp topic_[0-8]_lines', '.', 'any',
        'prose of the help topics; tests hold their subjects, ends and widths, and run their examples'],
    ['control/replaced_file.cpp', '^varokel_new_$', 1, 'name of a file that is there for a moment'],
    ['run/fit_spectrum.cpp', '^(cp |abcdef.*|.\\\\..)$', 2, 'parts of a shell command'],
    ['model/fft_plan.cpp|run/varokel.cpp', 'store the factors of a transform|insufficient memory', 2,
        'tests/fault lets every storage request fail once and takes a message of any wording'],
);

my $root = shift;
my $conversion = qr/%[-+ 0#]*(?:\d+|\*)?(?:\.(?:\d+|\*))?(?:ll|l|z)?[diouxXeEfgGcs]/;
# what takes a text without printing it: it is compared, opened, scanned, or for the compiler
my $silent = qr/(?:\w*strcmp|strstr|fopen|fscanf|strftime|is|next_word_is|static_assert|target\w*|\w+_supports|extern)/;
my %escape = (n => "\n", t => "\t", r => "\r", 0 => "\0", '"' => '"', "'" => "'", '\\' => '\\', '?' => '?');

sub nothing {
    print "$_[0]\n";
    exit 1;
}

sub content {
    my ($name) = @_;
    open(my $file, '<:raw', $name) or nothing("$name: $!");
    local $/;
    my $text = <$file>;
    return defined $text ? $text : '';
}

sub files_below {
    my ($folder, $names) = @_;
    return () if !-d $folder;
    my @found;
    find(sub { push @found, $File::Find::name if -f && /$names/ }, $folder);
    return sort @found;
}

sub decoded {
    my ($text) = @_;
    $text =~ s/\\(x[0-9a-fA-F]{1,2}|.)/
        my $e = $1;
        $e =~ m{^x(.+)} ? chr hex $1 : exists $escape{$e} ? $escape{$e} : $e/gesx;
    return $text;
}

# Literals of a source file, neighbours joined as the compiler does: [text, line, code before it,
# name of the table in which it stands].
sub literals {
    my ($source) = @_;
    my (@found, $joined);
    my ($line, $code, $table) = (1, '', '');
    while ($source =~ m{\G(?: (//[^\n]*|/\*.*?\*/|\s+) | (^[ \t]*\#[ \t]*include[^\n]*)
                            | R"([^(]*)\((.*?)\)\3" | "((?:[^"\\]|\\.)*)" | ('(?:[^'\\]|\\.)*')
                            | (\d[\w']*) | (\w+) | (.) )}gcxsm) {
        my ($blank, $include, $raw, $plain, $other) = ($1, $2, $4, $5, $6 // $7 // $8 // $9);
        if (defined $raw || defined $plain) {
            my $text = defined $raw ? $raw : decoded($plain);
            if ($joined) { $joined->[0] .= $text }
            else { push @found, $joined = [$text, $line, $code, $table] }
        } elsif (defined $other) {
            $joined = undef;
            $table = $1 if $other eq '{' && $code =~ /(\w+)\s*(?:\[\w*\])?\s*=\s*$/;
            $table = '' if $other eq ';';
            $code = $other =~ /^[;{}]$/ ? '' : "$code$other";
        } elsif (defined $blank) {
            $code .= ' ';
        }
        $line += ($& =~ tr/\n//);
    }
    return @found;
}

# --- what tests expect ---
my @expected;
push @expected, content($_)
    for grep { m{/(stdout\.exact|stdout\.pattern|verify)$|/expected} } files_below("$root/tests/cli", qr/./);
for my $folder (qw(unit property fit fault)) {
    push @expected, join("\x01", map { $_->[0] } literals(content($_)))
        for files_below("$root/tests/$folder", qr/\.(cpp|h)$/);
}
nothing("no tests in $root") if !@expected;
my $all = join("\n\x02\n", @expected);

sub is_expected {
    my ($text) = @_;
    my @pieces = grep { $_ ne '' } split($conversion, $text);
    s/%%/%/g for @pieces;
    return index($all, $pieces[0]) >= 0 if @pieces == 1;
    my $pattern = join('[^\n\x02]{0,120}?', map { quotemeta } @pieces);
    return $all =~ /$pattern/;
}

# --- what src/ prints ---
my ($texts, @left) = (0);
for my $name (files_below("$root/src", qr/\.(cpp|h)$/)) {
    for my $literal (literals(content($name))) {
        my ($text, $line, $code, $table) = @$literal;
        next if $code =~ /(?<!\w)$silent\s*\((?:[^()]|\([^()]*\))*$|(?<!\w)extern\s*$/;
        (my $fixed = $text) =~ s/$conversion|\s//g;
        next if length $fixed < 2;
        $texts++;
        (my $shown = $text) =~ s/\n/\\n/g;
        $shown =~ s/\t/\\t/g;
        push @left, [substr($name, length("$root/src/")), $line, $shown, $table] if !is_expected($text);
    }
}
nothing("no texts in $root/src") if !$texts;

my ($failed, @count) = (0);
for my $text (@left) {
    my ($file, $line, $shown, $table) = @$text;
    my ($kind) = grep { "$file $table" =~ /$explained[$_][0]/ && $shown =~ /$explained[$_][1]/ } 0 .. $#explained;
    if (defined $kind) { $count[$kind]++ } else { $failed = 1 }
    printf "%s src/%s:%d: \"%s\"\n", defined $kind ? ' ' : '!', $file, $line, $shown;
}
for my $kind (0 .. $#explained) {
    my ($file, $text, $limit, $reason) = @{$explained[$kind]};
    my $n = $count[$kind] || 0;
    printf "%d of %s allowed: %s\n", $n, $limit, $reason;
    next if $limit eq 'any';
    print "  more than the list allows\n" if $n > $limit;
    print "  fewer: lower the number in the list\n" if $n < $limit;
    $failed = 1 if $n > $limit;
}
printf "%d of %d printed texts are in no test%s\n", scalar @left, $texts, $failed ? ': some without a reason (!)' : '';
exit $failed;
PERL
