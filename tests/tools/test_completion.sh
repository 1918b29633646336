#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Completion of the programs, as bash asks for it.
. "$(dirname "$0")/harness.sh"

# completed WORD... : what is offered for the last word, one a line in the file out
completed() {
    COMP_WORDS=("$@")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    "_${1//-/_}"
    [ "${#COMPREPLY[@]}" -eq 0 ] || printf '%s\n' "${COMPREPLY[@]}"
}
offers() {
    local wanted=$1
    shift
    completed "$@" >out
    true_that "$* <TAB> offers $wanted" grep -qxF -- "$wanted" out
}
offers_nothing() {
    completed "$@" >out
    true_that "$* <TAB> offers nothing" test ! -s out
}

# every companion says what it completes, in both shells, and knows no third
for file in "$programs"/varokel-*; do
    [ -x "$file" ] && [ -f "$file" ] || continue
    program=$(basename "$file")
    "$file" --help >help
    for shell in bash zsh; do
        status 0 "$file" --completion "$shell"
        # each long option of the help is there
        for option in $(grep -oE '^  (-[a-zA-Z],)?--[a-z0-9-]+' help | grep -oE -- '--.*'); do
            holds out "$option"
        done
        cp out "completion.$shell"
        if command -v "$shell" >/dev/null; then
            true_that "$shell reads the completion of $program" "$shell" -n "completion.$shell"
        fi
    done
    status 2 "$file" --completion fish
    holds err "expected one of bash, zsh"
    "$file" --completion bash >completion.bash
    # shellcheck disable=SC1091
    . ./completion.bash
    offers --help "$program" --he
    true_that "$program is registered" complete -p "$program" >out
done

mkdir 'a folder'
: >'a b.fid'
offers 'a b.fid' varokel-import a
offers 'a folder' varokel-import x -o 'a '
offers sdat varokel-import x --format s
offers_nothing varokel-import x --points ''
offers basis varokel-import ba
offers --like varokel-import basis x --li

# shellcheck disable=SC1091
. "$tree/tools/completions/varokel"
: >'a folder/brain.bin'
: >start.par
offers -h varokel -
offers 3 varokel -h ''
offers 'a folder' varokel a
offers brain.bin varokel 'a folder' br
offers start.par varokel 'a folder' brain.bin st
offers_nothing varokel 'a folder' brain.bin start.par ''

finish
