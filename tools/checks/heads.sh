#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# heads.sh [ROOT] -- each source of the product says in its first lines what it is
#
# Behind the licence stands "NAME -- what it is", with the file's own name: what was copied or renamed without
# a thought says that of another. Prints what lacks it and ends with status 1 then.
set -euo pipefail
cd "${1:-$(dirname "$0")/../..}"
folders=()
for folder in kernel engine library src files tools web; do
    if [ -d "$folder" ]; then folders+=("$folder"); fi
done
[ ${#folders[@]} -gt 0 ] || { echo "no folders of sources"; exit 1; }
find "${folders[@]}" \( -name '*.h' -o -name '*.cpp' -o -name '*.js' \) ! -path '*/node_modules/*' -print0 |
    LC_ALL=C sort -z | xargs -0 awk '
    FNR == 1 { name = FILENAME; sub(/.*\//, "", name) }
    (index($0, "// " name " -- ") == 1 || index($0, " * " name " -- ") == 1) && substr($0, length(name) + 8) ~ /^[^ ]/ {
        known[FILENAME] = 1
    }
    FNR == 3 { nextfile }
    END {
        for (i = 1; i < ARGC; i++) if (!(ARGV[i] in known)) {
            print ARGV[i] ": its first lines do not say what it is"
            bad++
        }
        print ARGC - 1 " files, " bad + 0 " without a head"
        exit bad > 0 || ARGC == 1
    }' || exit 1
