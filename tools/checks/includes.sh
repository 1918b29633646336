#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# includes.sh [ROOT] -- who may include whom in kernel/, engine/ and src/
#
# Prints every line that breaks the table below and ends with status 1 when there is one.
set -eu
root=${1:-$(dirname "$0")/../..}
cd "$root"

find kernel engine src -name '*.h' -o -name '*.cpp' | LC_ALL=C sort | xargs awk '
BEGIN {
    # the folders that a folder may include besides itself; those of src/ by their own names, and
    # run/ has a floor and a roof
    allowed["kernel"] = ""
    allowed["engine"] = "kernel"
    allowed["run_floor"] = ""
    allowed["model"] = "kernel run_floor"
    allowed["minimize"] = allowed["errors"] = allowed["data"] = "kernel model run_floor"
    allowed["control"] = allowed["report"] = "kernel data model run_floor"
    allowed["help"] = "run_floor"
    allowed["run_roof"] = "kernel run_floor model minimize errors data control report help"
    # known by name: the gradient ends by printing the fit quality
    exception["model/gradient.cpp report/fit_quality.h"] = 1
}

# Folder of a file, with run/ split into what all others stand on and what calls them.
function layer(file) {
    if (file !~ /^run\//) { sub(/\/.*/, "", file); return file }
    return file ~ /^run\/(types\.h|state(_[a-z]+)?\.h|state\.cpp|storage\.(h|cpp)|end_run\.(h|cpp))$/ \
        ? "run_floor" : "run_roof"
}

function complain(text) { printf "%s:%d: %s\n", file, FNR, text; bad = 1 }

FNR == 1 {
    files++
    file = FILENAME; sub(/^src\//, "", file)
    own = file; sub(/\.cpp$/, ".h", own)
    from = layer(file)
    rank = angled = quoted = 0
    if (!(from in allowed)) complain("folder " from "/ is not in the table of layers")
}

/^[ \t]*#[ \t]*include[ \t]*</ { angled = 1; next }

/^[ \t]*#[ \t]*include/ {
    if (!match($0, /"[^"]*"/)) { complain("include that this check cannot read: " $0); next }
    name = substr($0, RSTART + 1, RLENGTH - 2)
    if (name !~ /^[a-z]+\/[a-z0-9_]+\.h$/) { complain("\"" name "\" is not written from the root or from src/, as folder/file.h"); next }
    where = name ~ /^(kernel|engine)\// ? name : "src/" name
    if ((getline unused < where) < 0) { complain("\"" name "\" is not there"); next }
    close(where)
    if (file ~ /\.cpp$/ && name == own && quoted) complain("own header comes first")
    if (angled) complain("\"" name "\" comes behind an include in <>")
    quoted = 1
    to = layer(name)
    if (to == from || (file " " name) in exception) next
    if (index(" " allowed[from] " ", " " to " ") == 0)
        complain(from " may not include " to " (\"" name "\")")
}

END {
    if (files < 1) { print "no files in kernel/, engine/ and src/"; exit 1 }
    if (!bad) printf "%d files include downwards only\n", files
    exit bad
}' || exit 1
