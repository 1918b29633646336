#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# same_values.sh FOLDER PROGRAM PROGRAM... -- the programs print the same, byte by byte, and enough
set -eu
folder=$1
shift
mkdir -p "$folder"
first=
for program; do
    out=$folder/$(basename "$program").values
    "$program" >"$out"
    lines=$(wc -l <"$out")
    if [ "$lines" -lt 100000 ]; then
        echo "$(basename "$program") printed $lines lines only"
        exit 1
    fi
    if [ -n "$first" ] && ! cmp "$first" "$out"; then
        diff "$first" "$out" | head -n 20
        exit 1
    fi
    first=${first:-$out}
done
echo "$# programs print the same $lines lines"
rm -f "$folder"/*.values
