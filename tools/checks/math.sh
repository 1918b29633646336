#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# math.sh [ROOT [LIBRARY...]] -- no function whose digits hang on the processor in kernel/, engine/ and src/
#
# Prints every call of exp, sin, atan2 and their like that is not kernel::'s (kernel/elementary.h), and ends
# with status 1 when there is one. What is exact on every machine may be used: sqrt, fabs, floor, ceil, trunc,
# round, nearbyint, fmod, ldexp, frexp. With LIBRARY, the compiled forms must not ask for such a function
# either; that shows those that a header calls, such as abs of a complex number
# or the quotient of two, which each compiler has in a way of its own.
set -euo pipefail
root=${1:-$(dirname "$0")/../..}
shift $(($# > 0 ? 1 : 0))

names='a?(sin|cos|tan)h?|atan2|sincos|exp(2|10|m1)?|log(2|10|1p|b)?|pow|cbrt|hypot|erfc?|[lt]gamma|fma|j[01n]|y[01n]'
folders=()
for folder in kernel engine src; do
    if [ -d "$root/$folder" ]; then folders+=("$root/$folder"); fi
done
files=$(find "${folders[@]}" -name '*.h' -o -name '*.cpp' | LC_ALL=C sort)
if [ -z "$files" ]; then
    echo "no files in kernel/, engine/ and src/"
    exit 1
fi
# shellcheck disable=SC2086
perl -e '
    my ($names, $root, @files) = @ARGV;
    my ($bad, $kernels) = (0, 0);
    for my $name (@files) {
        open(my $file, "<", $name) or die "$name: $!";
        my $text = do { local $/; <$file> };
        # comments and texts become blanks of the same number of lines
        $text =~ s{(/\*.*?\*/|//[^\n]*|"(?:\\.|[^"\\\n])*")}{my $t = $1; $t =~ s/[^\n]/ /g; $t}gse;
        my $shown = $name =~ s{^\Q$root\E/}{}r;
        my $number = 0;
        for my $line (split /\n/, $text) {
            ++$number;
            # the functions themselves, where they are declared and defined
            next if $shown =~ m{^kernel/elementary\.(h|cpp)$} && $line =~ /^(double|complex_value) (?:$names|exp_i|exp_2_pi_i)\(/;
            while ($line =~ /(?<![\w.>])((?:\w+\s*::\s*|::\s*)*)((?:$names)[fl]?|polar|arg)\s*\(/g) {
                my ($space, $called) = ($1, $2);
                if ($space =~ /^kernel\s*::\s*$/) { ++$kernels; next }
                print "$shown:$number: $space$called() is not the same on every machine; use kernel::\n";
                $bad = 1;
            }
        }
    }
    print scalar(@files), " files, $kernels calls of kernel:: functions, none of another\n" if !$bad;
    exit $bad' "$names" "$root" $files

for library; do
    found=$(nm -u "$library" 2>/dev/null | awk '$1 == "U" { print $2 }' | sed 's/@.*//' |
        grep -xE "_*($names|c(exp|log|pow|sqrt|abs|arg)|carg)[fl]?(_finite)?|__div[sdx]c3" | sort -u || true)
    if [ -n "$found" ]; then
        echo "$library asks for $(echo "$found" | tr '\n' ' ')"
        exit 1
    fi
done
