#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# run_case.sh CASE PROGRAM -- runs one command-line case in a fresh folder
#
# CASE holds: command  shell lines; $VAROKEL is the program, $TOOLS the folder of the others
#             prepare  optional shell lines that make inputs
#             input/   optional files, copied
#             stdout.exact    standard output of command, byte for byte
#             stdout.pattern  or: the same, where {*} stands for any number and {V~R} for a number
#                             within the relative tolerance R of V
#             exit     status
#             verify   optional shell lines that must succeed
set -u
export LC_ALL=C TZ=UTC
here=$(cd "$(dirname "$0")" && pwd) || exit 1
case_folder=$(cd "$1" && pwd) || exit 1
VAROKEL=$2
TOOLS=$(dirname "$2")
COMMON=$(dirname "$case_folder")/common
export VAROKEL TOOLS COMMON
folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/run"
cd "$folder/run" || exit 1

complain() {
    printf '%s: %s\n' "$(basename "$case_folder")" "$1"
    exit 1
}

for needed in command exit README; do
    [ -f "$case_folder/$needed" ] || complain "$needed is missing"
done
if [ -d "$case_folder/input" ]; then cp -R "$case_folder/input/." . && chmod -R u+w .; fi
if [ -f "$case_folder/prepare" ]; then
    bash -eu "$case_folder/prepare" >../prepare.log 2>&1 || {
        cat ../prepare.log
        complain "prepare failed"
    }
fi
status=0
bash "$case_folder/command" >../stdout 2>../stderr </dev/null || status=$?
wanted=$(cat "$case_folder/exit")
[ "$status" = "$wanted" ] || { cat ../stdout ../stderr; complain "exit status $status, wanted $wanted"; }
[ -s ../stderr ] && { cat ../stderr; complain "standard error is not empty"; }

if [ -f "$case_folder/stdout.exact" ]; then
    cmp -s "$case_folder/stdout.exact" ../stdout || {
        diff "$case_folder/stdout.exact" ../stdout | cat -A | head -40
        complain "standard output differs (< wanted, > got)"
    }
elif [ -f "$case_folder/stdout.pattern" ]; then
    bash "$here/match_pattern.sh" "$case_folder/stdout.pattern" ../stdout ||
        complain "standard output does not match"
else
    complain "neither stdout.exact nor stdout.pattern"
fi
if [ -f "$case_folder/verify" ]; then
    bash -eu "$case_folder/verify" >../verify.log 2>&1 || {
        cat ../verify.log
        ls -l
        complain "verify failed"
    }
fi
exit 0
