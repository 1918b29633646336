#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# What ./demo and ./check do about missing packages, with stand-ins for the system's programs.
. "$(dirname "$0")/harness.sh"

mkdir bin
stand_in() {
    cat >"bin/$1"
    chmod +x "bin/$1"
}
: >installed
stand_in dpkg-query <<'TEXT'
#!/bin/sh
for last; do :; done
grep -qx "$last" installed && printf installed
TEXT
stand_in apt-get <<'TEXT'
#!/bin/sh
echo "$*" >>calls
TEXT
stand_in id <<'TEXT'
#!/bin/sh
cat uid
TEXT
for program in cat grep printf sh; do ln -s "$(command -v $program)" bin/; done

# attempt PACKAGE...: as ./demo calls it, with nothing but the stand-ins
attempt() {
    : >calls
    PATH=$folder/bin sh -c '. "$0"; install_missing "$@"' "$tree/tools/common/install_missing.sh" "$@"
}

echo 0 >uid
printf 'g++\ncmake\n' >installed
status 0 attempt g++ cmake
true_that 'nothing to do, nothing done, nothing said' test ! -s calls -a ! -s out
status 0 attempt g++ libgtest-dev cmake libcli11-dev
holds out 'installing with apt-get: libgtest-dev libcli11-dev'
holds calls 'update'
holds calls 'install libgtest-dev libcli11-dev'
true_that 'update comes first' test "$(head -1 calls | grep -c update)" -eq 1

echo 1000 >uid
status 0 attempt g++
status 1 attempt g++ libgtest-dev
holds out 'ask an administrator to install them: libgtest-dev'
true_that 'nothing tried without sudo' test ! -s calls
stand_in sudo <<'TEXT'
#!/bin/sh
echo sudo >>calls
"$@"
TEXT
status 0 attempt g++ libgtest-dev
holds calls sudo
holds calls 'install libgtest-dev'

stand_in apt-get <<'TEXT'
#!/bin/sh
exit 100
TEXT
status 100 attempt libgtest-dev
rm bin/apt-get
status 0 attempt libgtest-dev
holds out 'no apt-get here'

finish
