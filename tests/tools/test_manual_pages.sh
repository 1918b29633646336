#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Every program has a manual page, and the page has every option that the program has.
. "$(dirname "$0")/harness.sh"

for file in "$programs"/varokel-*; do
    [ -x "$file" ] && [ -f "$file" ] || continue
    program=$(basename "$file")
    page=$tree/docs/man/$program.1.scd
    true_that "$program has a manual page" test -s "$page"
    [ -s "$page" ] || continue
    holds "$page" "$program(1)"
    for section in NAME SYNOPSIS DESCRIPTION 'EXIT STATUS' EXAMPLE; do
        true_that "$program(1) has a section $section" grep -qE "^# ${section}S?\$" "$page"
    done
    "$file" --help >help
    # the help of a subcommand as well; its name is the first word below the heading
    for command in $(awk '/^Subcommands:/ { on = 1; next } /^[^ ]|^$/ { on = 0 } on && /^  [a-z]/ { print $1 }' help); do
        true_that "$program(1) tells of $command" grep -q -- "$command" "$page"
        "$file" "$command" --help >>help
    done
    # scdoc takes a dash as it stands
    for option in $(grep -oE '^  (-[a-zA-Z],)?--[a-z0-9-]+' help | grep -oE -- '--.*' | sort -u); do
        true_that "$program(1) tells of $option" grep -qE -- "$option([^a-z0-9-]|\$)" "$page"
    done
done
true_that "companion programs are there" test -s help
# the fitter's own
for word in datapath datafnm strtvalfnm compact.par .ref; do holds "$tree/docs/man/varokel.1.scd" "$word"; done

finish
