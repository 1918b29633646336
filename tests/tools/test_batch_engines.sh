#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch

two_lines_grid grid 4 3 1
status 0 "$batch" plan grid.nii --start start.par -o "a run" 
cp -r "a run" plain
status 0 "$batch" run plain
status 0 "$batch" merge plain

# The array script, with an sbatch that runs its tasks at once, as Slurm would later.
status 0 "$batch" slurm "a run" --shards 3
cp out submit.sh
true_that "valid shell" bash -n submit.sh
true_that "an array of three" grep -q -- '--array=0-2%50' submit.sh
mkdir bin
cat >bin/sbatch <<'TEXT'
#!/bin/bash
set -eu
echo "$@" >>calls
last=0
while [ "${1#-}" != "$1" ]; do
    case $1 in --array=*) last=${1#--array=0-}; last=${last%%%*} ;; esac
    shift
done
for ((i = 0; i <= last; ++i)); do SLURM_ARRAY_TASK_ID=$i bash "$@" >>log 2>&1; done
echo 17
TEXT
chmod +x bin/sbatch
status 0 env PATH="$PWD/bin:$PATH" bash submit.sh
holds out "shards 17 merge 17"
holds calls "--dependency=afterok:17"
true_that "the table of a plain run" cmp plain/results.tsv "a run/results.tsv"

status 0 "$batch" snakemake "a run" --shards 3
holds out "rule merge:"
holds out "N = 3"
status 2 "$batch" slurm "a run" --shards 13
holds err "expected 1 to 12"
status 3 "$batch" slurm nowhere
finish
