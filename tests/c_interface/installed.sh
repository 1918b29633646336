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

# Only the functions of the headers can be seen, and all of them.
headers=$tree/engine/varokel.h
[ ! -d "$build/library" ] || headers="$headers $tree/library/varokel_start.h" # with the programs
# shellcheck disable=SC2086
sed -n 's/.*\b\(varokel_[a-z_]*\)(.*/\1/p' $headers | LC_ALL=C sort -u >"$place/declared"
nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' |
    LC_ALL=C sort >"$place/exported"
[ -s "$place/declared" ] || complain "no functions in varokel.h"
diff "$place/declared" "$place/exported" >&2 || complain "the headers and the library differ"
nm -D --defined-only --with-symbol-versions "$library" | grep -q 'varokel_fit_find@@VAROKEL_2.4' ||
    complain "symbols without version"

if nm -D "$library" | grep -q '__[at]san_'; then
    echo "a library with sanitizers needs their runtime in its callers: consumers left out"
    [ $failed = 0 ] || exit 1
    exit 77
fi
page=$tree/docs/c_interface.md
mkdir "$place/consumer"
text_of() { awk -v language="$1" -f "$tree/tests/c_interface/example_of_page.awk" "$page"; }
text_of c >"$place/consumer/example.c"
text_of text >"$place/expected"
[ -s "$place/consumer/example.c" ] && [ -s "$place/expected" ] || complain "no example in $page"

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
cat >"$place/consumer/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.20)
project(consumer LANGUAGES C)
find_package(varokel 2.4 REQUIRED)
add_executable(example example.c)
target_link_libraries(example PRIVATE varokel::varokel m)
END

runs() { # PROGRAM LIBRARIES HOW
    LD_LIBRARY_PATH=$2 "$1" >"$place/printed" || complain "$3: status $?"
    diff "$place/expected" "$place/printed" >&2 || complain "$3: prints something else"
}

consumers_of() { # PREFIX HOW
    libraries=$(dirname "$(find "$1" -name libvarokel.so)")
    if command -v pkg-config >/dev/null; then
        export PKG_CONFIG_PATH=$libraries/pkgconfig
        # shellcheck disable=SC2046
        ${CC:-cc} -std=c89 -pedantic -Wall -Wextra -Wconversion -Werror "$place/consumer/example.c" \
            $(pkg-config --cflags --libs varokel) -lm -o "$place/by_pkg_config"
        runs "$place/by_pkg_config" "$libraries" "$2, pkg-config"
        if [ -d "$build/library" ]; then
            printf '#include <varokel_start.h>\nint main(void) { return varokel_start_entries(0); }\n' >"$place/start.c"
            # shellcheck disable=SC2046
            ${CC:-cc} -std=c89 -pedantic -Wall -Wextra -Wconversion -Werror "$place/start.c" \
                $(pkg-config --cflags --libs varokel) -o "$place/start_by_pkg_config" &&
                LD_LIBRARY_PATH=$libraries "$place/start_by_pkg_config" ||
                complain "$2, pkg-config: varokel_start.h"
        fi
        [ "$(pkg-config --modversion varokel)" = "$version" ] ||
            complain "$2: version of varokel.pc"
    else
        echo "pkg-config is not there: its way left out"
    fi
    rm -rf "$place/consumer/build"
    "$cmake" -S "$place/consumer" -B "$place/consumer/build" -DCMAKE_PREFIX_PATH="$1" \
        >"$place/log" 2>&1 && "$cmake" --build "$place/consumer/build" >>"$place/log" 2>&1 ||
        { cat "$place/log" >&2; complain "$2: find_package"; return; }
    runs "$place/consumer/build/example" "$libraries" "$2, find_package"
}

for component in library development; do
    "$cmake" --install "$build" --prefix "$place/first" --component "$component" >/dev/null
done
mv "$place/first" "$place/moved" # nothing of it may know where it was installed
consumers_of "$place/moved" installed

# The packages, where this is Debian; and by default, the library in the folder of its architecture.
if command -v dpkg-deb >/dev/null && command -v dpkg-architecture >/dev/null; then
    libdir_of() { sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p' "$1/CMakeCache.txt"; }
    "$cmake" -S "$tree" -B "$place/fresh" -DVAROKEL_TESTS=OFF -DVAROKEL_TOOLS=OFF -DVAROKEL_BENCH=OFF \
        >"$place/log" 2>&1 || { cat "$place/log" >&2; complain "a fresh build folder"; }
    [ "$(libdir_of "$place/fresh")" = "lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)" ] ||
        complain "libraries go to $(libdir_of "$place/fresh")"
    (cd "$build" && "$(dirname "$cmake")/cpack" -G DEB -D CPACK_COMPONENTS_ALL="library;development" \
        -B "$place/packages") >"$place/log" 2>&1 || { cat "$place/log" >&2; complain cpack; exit 1; }
    for package in "$place"/packages/*.deb; do dpkg-deb -x "$package" "$place/unpacked"; done
    folder=$place/unpacked/usr/$(libdir_of "$build")
    for file in libvarokel.so libvarokel.so.2 pkgconfig/varokel.pc cmake/varokel/varokel-config.cmake; do
        [ -e "$folder/$file" ] || complain "package without $file in $(libdir_of "$build")"
    done
    consumers_of "$place/unpacked/usr" package
else
    echo "no dpkg-dev: packages left out"
fi
exit $failed
