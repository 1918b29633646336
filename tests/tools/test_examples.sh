#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Every example, fitted in a copy, against its expected parameters, within the fraction of their errors that
# stands beside them, and its expected errors; its own files stay as they are.
. "$(dirname "$0")/harness.sh"

checksums() (cd "$1" && find . -type f -exec cksum {} + | sort)

count=0
for example in "$tree"/examples/*/; do
    name=$(basename "$example")
    checksums "$example" >before
    status 0 "$tree/examples/run_example" "$name" "$programs" runs
    checksums "$example" >after
    true_that "the files of $name are unchanged" cmp before after
    # A search stops on the floor of its valley: parameters agree within a fraction of their errors.
    # The errors belong to the place where it stops; of a line that drowns in noise they say the order.
    expected=$example/expected/$name
    status 0 "$programs/varokel-compare" "runs/$name/$name.mat" "$expected.mat" \
        --rel 1e-6 --errors "$expected.err" --fraction "$(cat "$example/expected/tolerance")"
    status 0 "$programs/varokel-compare" "runs/$name/$name.err" "$expected.err" --rel 0.05
    (cd "runs/$name" && ./draw_picture.sh "$programs" >/dev/null)
    true_that "the picture of $name is drawn" grep -q '</svg>' "runs/$name/picture.svg"
    count=$((count + 1))
done
true_that "six examples at least" test "$count" -ge 6

# Gradients alone do not find what the random search finds: that is why it is there.
cd runs/random_search || exit 1
status 0 "$programs/varokel" . random_search.bin gradients_only.par
status 1 "$programs/varokel-compare" "$tree/examples/random_search/expected/random_search.mat" \
    random_search.mat --rel 0.1 --abs 1e-9
finish
