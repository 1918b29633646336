#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# hostile_pages.sh PROGRAMS TREE FOLDER -- pages odd_KIND.html and plain_KIND.html of each kind in FOLDER: fits of the same
# data, with names and header texts that mean something to a browser and without
set -eu
programs=$1 tree=$2 folder=$3
# shellcheck source=tests/batch/two_lines.sh
. "$tree/tests/batch/two_lines.sh"
c13=$tree/examples/c13_kidney
image="<img src=x onerror=document.title='taken'>"
script='"></script><script>document.title="taken"</script>'
turn=$(printf '\342\200\256')
cd "$folder"

names() { # COUNT TEXT: so many different ones
    for k in $(seq "$1"); do printf '%s%s\n' "$2" "$k"; done
}
make_pages() { # KIND NAME SIDECAR ENTRY DERIVED
    local kind=$1 name=$2
    mkdir "$kind" "$kind/in $name"
    cd "$kind"
    cp "$c13/c13_kidney.fid.f32" "in $name/$name.fid.f32"
    cp "$3" "in $name/$name.fid.json"
    cp "$c13/peaks.txt" "in $name/$name.txt"
    "$programs/varokel-fit" "in $name/$name.fid.f32" "in $name/$name.txt" -o "fit $name" --method exact
    names 4 "$4" >"names $name"
    "$programs/varokel-report" "fit $name" --force --names "names $name" --derive "$5=#1/#2"
    cp "fit $name/report.html" "../${kind}_report.html"
    "$programs/varokel-fit" "in $name/$name.fid.f32" "in $name/$name.txt" -o "look $name" --look
    cp "look $name/look.html" "../${kind}_look.html"
    two_lines_grid "$name" 3 2 1
    names 2 "$4" >"names $name"
    "$programs/varokel-batch" plan "$name.nii" --start start.par --names "names $name" --derive "$5=#1/#2" --noise 0:31 -o "batch $name"
    "$programs/varokel-batch" run "batch $name"
    "$programs/varokel-batch" merge "batch $name"
    "$programs/varokel-report" "batch $name"
    cp "batch $name/overview.html" "../${kind}_overview.html"
    cd ..
}
make_pages plain plain "$c13/c13_kidney.fid.json" line ratio
# texts of the sidecar, those that pages show and those that nobody knows
perl -0pe 'BEGIN { $odd = shift; $odd =~ s/(["\\])/\\$1/g } s/\{/{ "sequence": "$odd", "patient": "$odd", "conversion": ["$odd"], "guessed": [{"item": "$odd", "value": 1, "reason": "$odd"}], "warnings": ["$odd"],/' \
    "$image$script$turn" "$c13/c13_kidney.fid.json" >odd.json
# a file name has no slash
name="$image${script//\//}\$(id)\`id\`$turn'"
make_pages odd "$name" "$PWD/odd.json" "${image// /_}${script// /_}$turn" "<b onclick>$turn&amp;"
