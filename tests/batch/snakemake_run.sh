#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# snakemake_run.sh PROGRAMS TREE: a batch of 200 spectra by its Snakemake rules; the table must be that
# of a plain run, and a second call has nothing to do. Needs snakemake.
set -euo pipefail
export LC_ALL=C.UTF-8 TZ=UTC
programs=$(cd "$1" && pwd)
tree=$(cd "$2" && pwd)
command -v snakemake >/dev/null || { echo "no snakemake: left out"; exit 77; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
export HOME=$folder XDG_CACHE_HOME=$folder/cache
# shellcheck source=tests/batch/two_lines.sh
. "$tree/tests/batch/two_lines.sh"
two_lines_grid grid 10 10 2 faulty
"$programs/varokel-batch" plan grid.nii --start start.par --noise 0:31 -o run 2>/dev/null
cp -r run plain
"$programs/varokel-batch" run plain
"$programs/varokel-batch" merge plain >/dev/null
"$programs/varokel-batch" snakemake run --shards 4 >Snakefile
snakemake --cores 2 -s Snakefile >first.log 2>&1 || { cat first.log; exit 1; }
grep -E '^(shard|merge|total)' first.log | tail -3
snakemake --cores 2 -s Snakefile >second.log 2>&1
grep 'Nothing to be done' second.log
for file in results.tsv quality.tsv pictures.f32; do cmp "plain/$file" "run/$file"; done
echo "the same bytes as of a plain run"
# one shard lost: only that one and the merge are done again
rm run/shards/0002_of_0004.done run/results.tsv
snakemake --cores 2 -s Snakefile >third.log 2>&1 || { cat third.log; exit 1; }
[ "$(grep -c "^rule shard:" third.log)" -eq 1 ] || { cat third.log; exit 1; }
cmp plain/results.tsv run/results.tsv
echo "a lost shard came back"
