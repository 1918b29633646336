# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=sh
#
# build_progress.sh -- sourced by what builds the tree
#
# prefer_ninja has CMake write new build folders for Ninja, where it is there and CMAKE_GENERATOR asks
# for nothing else: its processors never wait at the end of a target. A folder that was made for another
# one keeps it.
#
# build_with_progress LOG COMMAND... runs the command with all that it says in LOG and says how far
# the build is: in one changing line on a terminal, elsewhere in a line for every tenth. Returns the
# command's status; a failure shows LOG.

prefer_ninja() {
    if [ -z "${CMAKE_GENERATOR:-}" ] && command -v ninja >/dev/null 2>&1; then
        export CMAKE_GENERATOR=Ninja
    fi
}

show_progress() {
    shown=0
    while IFS= read -r line; do
        case $line in
            "["*"%]"*)
                percent=${line%%"%]"*}
                percent=${percent##*[![:digit:]]}
                ;;
            "["*/*"]"*)
                of=${line%%"]"*}
                of=${of#"["}
                percent=$((100 * ${of%%/*} / ${of##*/}))
                ;;
            *) continue ;;
        esac
        if [ -t 1 ]; then
            printf '\r   %3d %%' "$percent"
        elif [ "$((percent / 10))" -gt "$shown" ]; then
            shown=$((percent / 10))
            printf '   %3d %%\n' "$percent"
        fi
    done
    [ ! -t 1 ] || printf '\n'
}

build_with_progress() {
    log=$1
    shift
    status=1
    rm -f "$log.status"
    {
        ended=0
        "$@" 2>&1 || ended=$?
        echo "$ended" >"$log.status"
    } | tee "$log" | show_progress
    read -r status <"$log.status" || :
    rm -f "$log.status"
    [ "$status" -eq 0 ] || cat "$log"
    return "$status"
}
