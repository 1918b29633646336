# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=bash
#
# harness.sh -- sourced by the scripts here, which are called with
#   $1 folder of the programs, $2 source tree, $3 folder of f32_text
#
# Works in a fresh folder that is removed at the end. A failed expectation is printed and counted;
# finish ends the script with status 1 when there was one, or when nothing was expected at all.
set -u
export LC_ALL=C
programs=$1
tree=$2
helpers=${3:-}
folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
expectations=0
failures=0

failed() {
    failures=$((failures + 1))
    printf 'line %s: %s\n' "${BASH_LINENO[1]}" "$1"
}

. "$tree/tests/tools/start_file.sh"

# status N COMMAND...: runs it with its output in the files out and err
status() {
    local wanted=$1 got=0
    shift
    expectations=$((expectations + 1))
    "$@" >out 2>err </dev/null || got=$?
    [ "$got" -eq "$wanted" ] && return
    failed "exit status $got, wanted $wanted: $*"
    sed 's/^/    out: /' out
    sed 's/^/    err: /' err
}

# holds FILE TEXT: the file has TEXT in one of its lines
holds() {
    expectations=$((expectations + 1))
    grep -qF -- "$2" "$1" && return
    failed "no \"$2\" in $1, which is:"
    sed 's/^/    /' "$1"
}

# lacks FILE TEXT
lacks() {
    expectations=$((expectations + 1))
    grep -qF -- "$2" "$1" || return 0
    failed "\"$2\" in $1"
}

# true_that TEXT COMMAND...: the command succeeds
true_that() {
    local text=$1
    shift
    expectations=$((expectations + 1))
    "$@" || failed "not so: $text"
}

# values FILE: the points of a float32 signal, real and imaginary part on a line
values() { od -An -v -t f4 -w8 "$1"; }
# signal: float32 file from numbers on standard input
signal() { "$helpers/f32_text" >"$1"; }

# every program: --help with an example at its end, --version, and a mistake named on standard error
common_habits() {
    local program=$programs/$1
    status 0 "$program" --help
    true_that "--help of $1 ends with an example" \
        awk '/^Example:/ { e = NR } { last = $0 } END { exit !(e && last ~ /^  /) }' out
    true_that "nothing on standard error" test ! -s err
    status 0 "$program" --version
    holds out "$1 $(sed -n 's/^project(varokel VERSION \([0-9.]*\).*/\1/p' "$tree/CMakeLists.txt")"
    status 2 "$program" --no-such-option
    holds err "Try $1 --help."
    true_that "nothing on standard output" test ! -s out
}

finish() {
    printf '%d expectations, %d failed\n' "$expectations" "$failures"
    [ "$failures" -eq 0 ] && [ "$expectations" -gt 0 ]
    exit
}
