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
count=0 bad=0
while IFS= read -r file; do
    count=$((count + 1))
    if ! head -n 3 "$file" | grep -qE "^(//| \*) $(basename "$file" | sed 's/\./\\./g') -- [^ ]"; then
        echo "$file: its first lines do not say what it is"
        bad=$((bad + 1))
    fi
done < <(find "${folders[@]}" \( -name '*.h' -o -name '*.cpp' -o -name '*.js' \) ! -path '*/node_modules/*' | LC_ALL=C sort)
echo "$count files, $bad without a head"
[ "$count" -gt 0 ] && [ "$bad" = 0 ]
