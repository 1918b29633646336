#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# externs.sh [ROOT] -- run state is declared in src/run/state_*.h and nowhere else
#
# Prints every other line of src/ with the word extern (comments and texts do not count) and ends
# with status 1 when there is one.
set -eu
root=${1:-$(dirname "$0")/../..}
cd "$root/src"

find . -name '*.h' -o -name '*.cpp' | LC_ALL=C sort | xargs awk '
FNR == 1 { files++; in_comment = 0; file = substr(FILENAME, 3) }
{
    line = $0
    gsub(/"([^"\\]|\\.)*"/, "\"\"", line)
    if (in_comment) {
        if (!match(line, /\*\//)) next
        line = substr(line, RSTART + 2)
        in_comment = 0
    }
    gsub(/\/\*([^*]|\*+[^*\/])*\*+\//, " ", line)
    sub(/\/\/.*/, "", line)
    if (match(line, /\/\*/)) { line = substr(line, 1, RSTART - 1); in_comment = 1 }
    if (line !~ /(^|[^A-Za-z0-9_])extern([^A-Za-z0-9_]|$)/) next
    if (file ~ /^run\/state_[a-z]+\.h$/) { declared++; next }
    printf "%s:%d: extern belongs into run/state_*.h: %s\n", file, FNR, $0
    bad = 1
}
END {
    if (!declared) { print "no extern at all in src/run/state_*.h"; exit 1 }
    if (!bad) printf "%d externs in run/state_*.h, none elsewhere in %d files\n", declared, files
    exit bad
}' || exit 1
