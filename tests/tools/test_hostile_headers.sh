#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Texts in the header of a measurement that mean something to a browser, a spreadsheet or a terminal: what is not a
# nucleus, a name of a dimension or a number is not passed on, and a message shows it as text.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
import=$programs/varokel-import
batch=$programs/varokel-batch

two_lines_grid grid 3 2 1
status 0 "$import" grid.nii --voxel 0,0,0 -o plain || true
if grep -q 'without the NIfTI' err; then
    echo "no NIfTI in this build: left out"
    exit 77
fi
perl "$tree/tests/batch/small_grid.pl" 2 2 2 128 >points
# measured JSON: one line of voxels with two dimensions more
measured() { perl "$tree/tests/tools/fid_file.pl" nifti dims=2,1,1,128,2,2 dwell=0.001 json="$1" <points >odd.nii; }
known='"SpectrometerFrequency": [51.7], "ResonantNucleus": ["31P"]'
scripts_in() { grep -o '<script' "$1" | wc -l; }
# printable FILE: nothing that a terminal obeys, and UTF-8
printable() { ! LC_ALL=C grep -q '[[:cntrl:]]' "$1" && iconv -f UTF-8 -t UTF-8 "$1" >/dev/null 2>&1; }

# ---- a nucleus that is none ----
for nucleus in '<script>document.title=1</script>' '=1+1' '31P\u0007' '31P\u202e' '$(touch pwned)' "31P' onload=x" '../../x'; do
    measured "{\"SpectrometerFrequency\": [51.7], \"ResonantNucleus\": [\"$nucleus\"], \"PatientName\": \"Mustermann\"}"
    rm -rf imported
    status 0 "$import" odd.nii -o imported --voxel 0,0,0 --index dim_5=0 --index dim_6=0
    true_that "$nucleus: no nucleus" test -z "$(grep -rl '"nucleus"' imported)"
    true_that "$nucleus: nothing of it in a message" printable err
    lacks err '<script'
    lacks err Mustermann
done
# ---- numbers that are none, twice, or too large ----
while IFS='|' read -r items message; do
    measured "{$items}"
    status 3 "$import" odd.nii -o none --voxel 0,0,0 --index dim_5=0 --index dim_6=0
    holds err "odd.nii: $message"
    true_that "$items: shown as text" printable err
done <<'END'
"SpectrometerFrequency": [51.7], "SpectrometerFrequency": ["x"]|item SpectrometerFrequency of the JSON is no number
"SpectrometerFrequency": [1e999]|the header extension with code 44: no valid JSON
"SpectrometerFrequency": [-51.7]|item SpectrometerFrequency of the JSON is not above 0
"SpectrometerFrequency": [51.7], "EchoTime": "\u001b[2J"|item EchoTime of the JSON is no number
"SpectrometerFrequency": [51.7], "NoisePoints": {"Value": [5, 500]}|item "Value" is [5,500]
END
measured "{$known, \"PatientName\": \"$(printf 'M\377\033[2J')\"}"
status 3 "$import" odd.nii -o none --voxel 0,0,0 --index dim_5=0 --index dim_6=0
holds err 'no valid JSON'
true_that 'bytes that are not UTF-8: shown as text' printable err
true_that 'nothing was written' test ! -e none

# ---- names of dimensions: columns of tables, axes of pages ----
tags() { # TAG-5 TAG-6 COLUMNS
    measured "{$known, \"dim_5\": \"$1\", \"dim_6\": \"$2\"}"
    rm -rf run
    status 0 "$batch" plan odd.nii --start start.par --names names.txt -o run
    status 0 "$batch" run run
    status 0 "$batch" merge run
    status 0 "$programs/varokel-report" run
    true_that "columns $(head -n 1 run/quality.tsv | cut -f 2-6)" test "$(head -n 1 run/quality.tsv | cut -f 5-6)" = "$3"
    true_that 'no column twice' test -z "$(head -n 1 run/quality.tsv | tr '\t' '\n' | sort | uniq -d)"
    scripts=$(scripts_in run/overview.html)
    true_that 'no script of the header' test "$scripts" -eq "${first_scripts:=$scripts}"
    lacks run/overview.html '<img'
    lacks run/quality.tsv $'\t='
}
tags DIM_DYN DIM_EDIT $'DIM_DYN\tDIM_EDIT'
tags '<script>document.title=1</script>' '<img src=x onerror=document.title=1>' $'dim_5\tdim_6'
tags '=cmd' '@SUM(A1)' $'dim_5\tdim_6'
tags '-x' '../x' $'dim_5\tdim_6'
tags '\u0000DIM_DYN' 'DIM\tDYN' $'dim_5\tdim_6'
# one name for two: neither could be chosen by it
tags DIM_DYN DIM_DYN $'DIM_DYN\tdim_6'
status 0 "$import" odd.nii -o chosen --voxel 0,0,0 --index DIM_DYN=1 --index dim_6=0
measured "{$known, \"dim_5\": \"$(printf 'A%.0s' {1..3000})\"}"
status 3 "$batch" plan odd.nii --start start.par -o long
true_that 'no such folder' test ! -e long
finish
