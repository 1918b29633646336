#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# same_results.sh FOLDER PROGRAMS TREE VAROKEL VAROKEL... -- every example, fitted by each of the builds of
# the fitter, gives the same files and the same output, byte by byte but for the time stamps.
# PROGRAMS holds the companion programs that prepare the examples.
set -euo pipefail
folder=$1
programs=$2
tree=$3
shift 3
if [ ! -x "$programs/varokel-import" ]; then
    echo "the examples need the companion programs, which are not built"
    exit 77
fi
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

# only the time stamps and the name of the program may differ
without_times() {
    sed -E 's/[A-Z][a-z]{2} [A-Z][a-z]{2} +[0-9]+ [0-9:]{8} [0-9]{4}/TIME/
        s/[0-9:]{8} [A-Z]+ [A-Z][a-z]+day [A-Z][a-z]+ +[0-9]+ [0-9]{4}/TIME/
        s#/varokel[a-z0-9_]*\.programs/varokel#PROGRAM#' "$1"
}

for varokel; do
    twin=$(basename "$varokel")
    mkdir -p "$twin.programs"
    ln -s "$programs"/varokel-* "$twin.programs/"
    ln -s "$varokel" "$twin.programs/varokel"
    for example in "$tree"/examples/*/; do
        "$tree/examples/run_example" "$(basename "$example")" "$twin.programs" "$twin"
    done
done

first=$(basename "$1")
shift
files=0
for varokel; do
    twin=$(basename "$varokel")
    while read -r file; do
        if ! cmp -s <(without_times "$first/$file") <(without_times "$twin/$file"); then
            echo "$file differs between $first and $twin"
            diff <(without_times "$first/$file") <(without_times "$twin/$file") | head -n 10
            exit 1
        fi
        files=$((files + 1))
    done < <(cd "$first" && find . -type f | sort)
done
[ "$files" -ge 100 ] # results, signals, reports and logs of six examples
echo "$files files of ${first} and its twins are the same"
rm -rf "$folder"
