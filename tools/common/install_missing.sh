# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=sh
#
# install_missing.sh -- sourced by what builds or checks the tree
#
# install_missing PACKAGE... installs those of the Debian packages that are not there, as root or
# through sudo, and says so. Nothing is asked of the network when nothing is missing.

say() { printf '== %s\n' "$*"; }

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

install_missing() {
    if ! command -v apt-get >/dev/null 2>&1 || ! command -v dpkg-query >/dev/null 2>&1; then
        say "no apt-get here: taking for granted that what these packages hold is there: $*"
        return 0
    fi
    missing=
    for package in "$@"; do
        is_installed "$package" || missing="$missing $package"
    done
    [ -z "$missing" ] && return 0
    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null 2>&1; then
            say "these packages are missing; ask an administrator to install them:$missing"
            return 1
        fi
        as_root=sudo
    fi
    say "installing with apt-get:$missing"
    export DEBIAN_FRONTEND=noninteractive
    # word splitting is meant: an empty $as_root vanishes, $missing is a list
    # shellcheck disable=SC2086
    $as_root apt-get -qq update && $as_root apt-get -qq -y --no-install-recommends install $missing >/dev/null
}
