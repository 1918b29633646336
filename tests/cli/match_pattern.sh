#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# match_pattern.sh PATTERN FILE -- line by line; {*} is any number, {V~R} one within R of V (relative)
awk -v pattern="$1" '
function fail(text) {
    print "line " NR ": " text
    print "  wanted " want
    print "  got    " $0
    failed = 1
    exit 1
}
{
    if ((getline want < pattern) <= 0) { want = "(end of file)"; fail("more lines than wanted") }
    left = want
    text = $0
    while (match(left, /\{[^}]*\}/)) {
        plain = substr(left, 1, RSTART - 1)
        token = substr(left, RSTART + 1, RLENGTH - 2)
        left = substr(left, RSTART + RLENGTH)
        if (substr(text, 1, length(plain)) != plain) fail("text differs")
        text = substr(text, length(plain) + 1)
        if (!match(text, /^[-+]?[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?/)) fail("no number")
        value = substr(text, 1, RLENGTH) + 0
        text = substr(text, RLENGTH + 1)
        if (token == "*") continue
        split(token, part, "~")
        deviation = value - part[1]
        size = part[1] < 0 ? -part[1] : part[1] + 0
        if (deviation < 0) deviation = -deviation
        if (deviation > part[2] * size) fail(value " is not within " part[2] " of " part[1])
    }
    if (text != left) fail("text differs")
}
END {
    if (failed) exit 1
    if ((getline want < pattern) > 0) { print "fewer lines than wanted: " want; exit 1 }
}' "$2"
