#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# walk_guide.sh GUIDE.md FOLDER -- runs the blocks of a page as a reader would: each ```sh block in turn, in FOLDER, in
# one shell with set -e. A ```text block behind one is what it prints: each of its lines but "..." must stand in the
# output. Programs are found in PATH; FOLDER holds what the blocks read (examples/). Says what differs; status 1 then.
set -eu
guide=$(realpath "$1")
cd "$2"
mkdir .walk
awk -v out=.walk '
    /^```sh$/ { n++; to = sprintf("%s/%02d.sh", out, n); printf "" >to; next }
    /^```text$/ && n { to = sprintf("%s/%02d.text", out, n); next }
    /^```$/ { to = ""; next }
    to { print >to }
    END { print n + 0 >(out "/blocks") }' "$guide"
blocks=$(cat .walk/blocks)
[ "$blocks" -gt 0 ] || { echo "$guide: no block to run"; exit 1; }
set +e
wrong=0
for ((i = 1; i <= blocks; i++)); do
    n=$(printf %02d "$i")
    # one state for all blocks: what one exports, the next has
    { cat .walk/state 2>/dev/null; echo set -e; cat ".walk/$n.sh"; echo 'export -p >.walk/state'; } >".walk/$n.run"
    bash ".walk/$n.run" >".walk/$n.out" 2>&1
    status=$?
    if [ "$status" -ne 0 ]; then
        echo "$guide, block $i ends with status $status:"
        cat ".walk/$n.sh" ".walk/$n.out"
        exit 1
    fi
    [ -f ".walk/$n.text" ] || continue
    while IFS= read -r line; do
        [ "$line" = ... ] && continue
        grep -qxF -- "$line" ".walk/$n.out" && continue
        echo "$guide, block $i does not print: $line"
        wrong=1
    done <".walk/$n.text"
    [ "$wrong" -eq 0 ] || sed 's/^/    /' ".walk/$n.out"
done
echo "$blocks blocks"
exit "$wrong"
