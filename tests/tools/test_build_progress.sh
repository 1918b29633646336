#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# How far a build of ./demo and ./check is, from what make and ninja say, and that a failure stays one.
. "$(dirname "$0")/harness.sh"

cat >attempt <<'TEXT'
#!/bin/sh
set -eu
. "$1/tools/common/build_progress.sh"
log=$2
shift 2
if build_with_progress "$log" "$@"; then echo "status 0"; else echo "status $?"; fi
TEXT
cat >make_says <<'TEXT'
echo '-- Configuring done [50%]'
for done in 1 7 10 15 19 55 99 100; do printf '[%3d%%] Building CXX object [9/9] 80%%]\n' $done; done
TEXT
cat >ninja_says <<'TEXT'
for done in 1 2 3; do echo "[$done/3] Linking"; done
TEXT
cat >failure_says <<'TEXT'
echo '[ 20%] Building'
echo 'no such header' >&2
exit 3
TEXT

status 0 sh attempt "$tree" log sh make_says
printf '    10 %%\n    55 %%\n    99 %%\n   100 %%\nstatus 0\n' >expected
printf '%s\n' "$(sed 's/^ *//' expected)" >expected
sed 's/^ *//' out >shown
status 0 cmp expected shown
status 0 grep -c Building log
holds out 8

status 0 sh attempt "$tree" log sh ninja_says
sed 's/^ *//' out >shown
printf '33 %%\n66 %%\n100 %%\nstatus 0\n' >expected
status 0 cmp expected shown

status 0 sh attempt "$tree" log sh failure_says
holds out 'no such header'
holds out 'status 3'
holds log 'no such header'
finish
