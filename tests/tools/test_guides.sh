#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The guides are walked as they stand: their blocks run one after the other, and print what the pages say. So does the
# first block of the page on batches.
. "$(dirname "$0")/harness.sh"
export PATH=$programs:$PATH
walked=0
for guide in "$tree"/docs/guides/*.md; do
    name=$(basename "$guide" .md)
    [ "$name" = README ] && continue
    mkdir "$name"
    ln -s "$tree/examples" "$tree/python" "$tree/tests" "$name"
    true_that "guide $name" bash "$tree/tests/tools/walk_guide.sh" "$guide" "$name"
    for figure in $(sed -n 's/^!\[.*\](\(.*\))$/\1/p' "$guide"); do
        true_that "$name: $figure is there" test -s "$tree/docs/guides/$figure"
    done
    walked=$((walked + 1))
done
true_that 'all guides' test "$walked" -ge 7

mkdir batch
ln -s "$tree/examples" batch
# shellcheck disable=SC2016 # marks of the page
awk '/^```sh$/ { in_block = 1; n++ } n == 1 && in_block { print } /^```$/ { in_block = 0 }' "$tree/docs/batch.md" >first.md
true_that 'first block of batch.md' bash "$tree/tests/tools/walk_guide.sh" first.md batch

# A page that prints something else than it says is noticed, and one that fails.
mkdir other
# shellcheck disable=SC2016
printf '```sh\necho one\nkept=1; export kept\n```\n```text\none\n```\n```sh\necho "$kept"\n```\n```text\n1\n...\n```\n' >good.md
true_that 'a page that prints what it says' bash "$tree/tests/tools/walk_guide.sh" good.md other
rm -r other/.walk
# shellcheck disable=SC2016
printf '```sh\necho one\n```\n```text\ntwo\n```\n' >differs.md
status 1 bash "$tree/tests/tools/walk_guide.sh" differs.md other
holds out 'block 1 does not print: two'
rm -r other/.walk
# shellcheck disable=SC2016
printf '```sh\nfalse\necho one\n```\n' >fails.md
status 1 bash "$tree/tests/tools/walk_guide.sh" fails.md other
holds out 'block 1 ends with status 1'
finish
