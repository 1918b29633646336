#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# includes.sh [ROOT] -- who may include whom in the whole tree
#
# Prints every line that breaks the table below and ends with status 1 when there is one. Includes
# of kernel/, engine/, library/ and files/ are written from the root of the tree, those of src/ and tools/ from
# these folders.
set -eu
cd "${1:-$(dirname "$0")/../..}"

folders=()
for folder in kernel engine library src files tools python web; do
    [ ! -d "$folder" ] || folders+=("$folder")
done
find "${folders[@]}" -name '*.h' -o -name '*.cpp' | LC_ALL=C sort | xargs awk '
BEGIN {
    # the folders that a folder may include besides itself; run/ of the fitter has a floor and a roof
    allowed["kernel"] = ""
    allowed["engine"] = "kernel"
    allowed["run_floor"] = ""
    allowed["model"] = "run_floor kernel"
    allowed["minimize"] = allowed["errors"] = allowed["data"] = "model run_floor kernel"
    allowed["control"] = allowed["report"] = "data model run_floor kernel"
    allowed["help"] = "run_floor"
    allowed["not_called"] = "control data model run_floor kernel"
    allowed["run_roof"] = "run_floor model minimize errors data control report help kernel"
    numbers = "engine kernel"
    allowed["files/base"] = ""
    allowed["files/spectra"] = "files/base " numbers
    allowed["files/pictures"] = allowed["files/nifti"] = allowed["files/start"] = "files/spectra files/base " numbers
    allowed["files/measured"] = "files/nifti files/spectra files/base " numbers
    allowed["files/problem"] = "files/measured files/start files/spectra files/base " numbers
    allowed["files/results"] = "files/problem files/measured files/start files/pictures files/spectra files/base " numbers
    allowed["files/batch"] = "files/results files/problem files/start files/spectra files/base " numbers
    allowed["files/pages"] = "files/batch files/results files/problem files/pictures files/spectra files/base " numbers
    all_files = "files/base files/spectra files/pictures files/nifti files/start files/measured files/problem files/results" \
        " files/batch files/pages"
    allowed["tools/common"] = all_files " " numbers
    allowed["program"] = "tools/common " all_files " " numbers
    allowed["library"] = allowed["web"] = all_files " " numbers
    # known by name: the gradient ends by printing the fit quality
    exception["src/model/gradient.cpp src/report/fit_quality.h"] = 1
    # known by name: these alone see the libraries whose headers take longer to compile than all else
    sees["nlohmann/json.hpp"] = "files/base/json_library.cpp"
    sees["CLI/CLI.hpp"] = "tools/common/command_line.cpp tools/common/completion.cpp tools/common/option_parser.cpp"
}

# Name of the layer of a file, which stands in the table.
function layer(file,  part, n) {
    n = split(file, part, "/")
    if (part[1] == "src") {
        if (part[2] != "run") return part[2]
        return part[3] ~ /^(types\.h|capacity\.h|state(_[a-z]+)?\.h|state\.cpp|storage\.(h|cpp)|end_run\.(h|cpp)|print_lines\.h)$/ \
            ? "run_floor" : "run_roof"
    }
    if (part[1] == "files") return n > 2 ? part[1] "/" part[2] : "files"
    if (part[1] == "tools") return part[2] == "common" ? "tools/common" : "program"
    return part[1]
}

# Folder whose insides may include each other.
function home(file,  part) {
    split(file, part, "/")
    return part[1] == "tools" ? part[1] "/" part[2] : layer(file)
}

# Where a quoted name stands in the tree; empty for one that is not written from a root.
function place(name, from) {
    if (name ~ /^(kernel|engine|library|web\/[a-z_]+|files\/[a-z_]+)\/[a-z0-9_]+\.h$/) return name
    if (name ~ /^(common|varokel-[a-z]+)\/[a-z0-9_]+\.h$/ && from ~ /^tools\//) return "tools/" name
    if (name ~ /^[a-z_]+\/[a-z0-9_]+\.h$/) return "src/" name
    return ""
}

function complain(text) { printf "%s:%d: %s\n", file, FNR, text; bad = 1 }

FNR == 1 {
    files++
    file = FILENAME
    own = file; sub(/\.cpp$/, ".h", own)
    from = layer(file)
    angled = quoted = 0
    if (!(from in allowed)) complain("folder " from "/ is not in the table of layers")
    short = file; sub(/.*\//, "", short)
    # known by name: the headers of libvarokel are called as those who include them call them
    if (file ~ /^(engine\/varokel|library\/varokel_start)\.h$/) short = file
    if (short in seen) complain("a file of this name is also " seen[short])
    seen[short] = file
}

/^[ \t]*#[ \t]*include[ \t]*</ {
    angled = 1
    if (file ~ /^(kernel|engine)\// && $0 !~ /<([a-z_0-9]+|immintrin\.h|arm_neon\.h|stddef\.h)>/)
        complain(from " needs the standard library only")
    library = $0; sub(/^[^<]*</, "", library); sub(/>.*/, "", library)
    if (library ~ /^(nlohmann|CLI)\// && index(" " sees[library] " ", " " file " ") == 0)
        complain("<" library "> belongs behind a cover of our own: ordered_json.h, option_parser.h")
    if (library == "regex") complain("<regex> takes seconds to compile: files/base/text_pattern.h")
    next
}

/^[ \t]*#[ \t]*include/ {
    if (!match($0, /"[^"]*"/)) { complain("include that this check cannot read: " $0); next }
    name = substr($0, RSTART + 1, RLENGTH - 2)
    target = place(name, file)
    if (target == "") { complain("\"" name "\" is not written from a root, as folder/file.h"); next }
    if ((getline unused < target) < 0) { complain("\"" name "\" is not there"); next }
    close(target)
    if (file ~ /\.cpp$/ && target == own && quoted) complain("own header comes first")
    if (angled) complain("\"" name "\" comes behind an include in <>")
    quoted = 1
    to = layer(target)
    if (home(target) == home(file) || (file " " target) in exception) next
    if (to == "program" || index(" " allowed[from] " ", " " to " ") == 0)
        complain(from " may not include " to " (\"" name "\")")
}

END {
    if (files < 1) { print "no files"; exit 1 }
    if (!bad) printf "%d files include downwards only\n", files
    exit bad
}' || exit 1
