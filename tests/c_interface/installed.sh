#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# installed.sh BUILD TREE CMAKE LIBRARY -- installs libvarokel into a private folder, moves it, and
# builds the example of docs/c_interface.md from there, with pkg-config and with find_package
set -eu
build=$1 tree=$2 cmake=$3 library=$4
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
failed=0
complain() { echo "$*" >&2; failed=1; }

# Only the functions of the header can be seen, and all of them.
sed -n 's/.*\b\(varokel_[a-z_]*\)(.*/\1/p' "$tree/engine/varokel.h" | LC_ALL=C sort -u >"$place/declared"
nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' |
    LC_ALL=C sort >"$place/exported"
[ -s "$place/declared" ] || complain "no functions in varokel.h"
diff "$place/declared" "$place/exported" >&2 || complain "varokel.h and the library differ"
nm -D --defined-only --with-symbol-versions "$library" | grep -q 'varokel_fit_find@@VAROKEL_2.4' ||
    complain "symbols without version"

if nm -D "$library" | grep -q '__[at]san_'; then
    echo "a library with sanitizers needs their runtime in its callers: consumers left out"
    [ $failed = 0 ] || exit 1
    exit 77
fi
for component in library development; do
    "$cmake" --install "$build" --prefix "$place/first" --component "$component" >/dev/null
done
mv "$place/first" "$place/moved" # nothing of it may know where it was installed
libraries=$(dirname "$(find "$place/moved" -name libvarokel.so)")

page=$tree/docs/c_interface.md
mkdir "$place/consumer"
text_of() { awk -v language="$1" -f "$tree/tests/c_interface/example_of_page.awk" "$page"; }
text_of c >"$place/consumer/example.c"
text_of text >"$place/expected"
[ -s "$place/consumer/example.c" ] && [ -s "$place/expected" ] || complain "no example in $page"

runs() { # PROGRAM HOW
    LD_LIBRARY_PATH=$libraries "$1" >"$place/printed" || complain "$2: status $?"
    diff "$place/expected" "$place/printed" >&2 || complain "$2: prints something else"
}

if command -v pkg-config >/dev/null; then
    export PKG_CONFIG_PATH=$libraries/pkgconfig
    # shellcheck disable=SC2046
    ${CC:-cc} -std=c89 -pedantic -Wall -Wextra -Wconversion -Werror "$place/consumer/example.c" \
        $(pkg-config --cflags --libs varokel) -lm -o "$place/by_pkg_config"
    runs "$place/by_pkg_config" pkg-config
    wanted=$("$cmake" -L -N "$build" | sed -n 's/^CMAKE_PROJECT_VERSION:.*=//p')
    [ -z "$wanted" ] || [ "$(pkg-config --modversion varokel)" = "$wanted" ] ||
        complain "version of varokel.pc"
else
    echo "pkg-config is not there: its way left out"
fi

cat >"$place/consumer/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.20)
project(consumer LANGUAGES C)
find_package(varokel 2.4 REQUIRED)
add_executable(example example.c)
target_link_libraries(example PRIVATE varokel::varokel m)
END
"$cmake" -S "$place/consumer" -B "$place/consumer/build" -DCMAKE_PREFIX_PATH="$place/moved" \
    >"$place/log" 2>&1 && "$cmake" --build "$place/consumer/build" >>"$place/log" 2>&1 ||
    { cat "$place/log" >&2; complain "find_package"; exit 1; }
runs "$place/consumer/build/example" find_package
exit $failed
