#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Batches of few spectra: neighbours hand on their results in a part of a tile, too.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch

# fitted NAME INPUT COUNT OPTION...: all of a batch whose fits start from those of neighbours
fitted() {
    local name=$1 input=$2 count=$3
    shift 3
    status 0 "$batch" plan "$input" --start start.par --values neighbour --noise 0:31 "$@" -o "$name"
    status 0 "$batch" run "$name" --times
    holds err "varokel-batch: $count fits in "
    lacks err "fits/s" # of the progress on a terminal
    status 0 "$batch" merge "$name"
    true_that "$name: all are fitted" test "$(grep -cP '\tconverged\t' "$name/quality.tsv")" -eq "$count"
    true_that "$name: rows" test "$(wc -l <"$name/results.tsv")" -eq $((1 + 2 * count))
}

for size in '1 1' '2 1' '1 3' '3 1' '9 1'; do
    read -r nx ny <<<"$size"
    two_lines_grid "grid_${nx}_$ny" "$nx" "$ny" 1
    fitted "run_${nx}_$ny" "grid_${nx}_$ny.nii" $((nx * ny))
done
# a series is cut into stretches of 16
for count in 1 2 7 8 9 17; do
    perl "$tree/tests/batch/small_grid.pl" "$count" 1 1 128 |
        awk -v n="$count" '{ fid[(NR - 1) % n] = fid[(NR - 1) % n] $0 "\n" }
            END { for (x = 0; x < n; ++x) printf "%s", fid[x] }' |
        signal "series_$count.f32"
    fitted "run_$count" "series_$count.f32" "$count" --format float32 --points 128 --dwell 0.001 \
        --frequency 51.7 --ppm-at-carrier 0 --axis rising
done
# a place that no plan gives is refused
perl -pi -e 's/"wave":8/"wave":9/ if /"number":0,/' run_2/manifest.json
status 3 "$batch" merge run_2 --force
holds err 'does not stand where it should'
finish
