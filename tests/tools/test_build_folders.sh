#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# For whom CMake writes a build folder: Ninja where it is there, in new folders only, and whoever asks for it
# has it installed. With which flags: those of a fuzz build are kept, where others compile numbers with -O3.
. "$(dirname "$0")/harness.sh"

mkdir project
printf 'cmake_minimum_required(VERSION 3.20)\nproject(nothing NONE)\n' >project/CMakeLists.txt
# configure FOLDER [VARIABLE=VALUE...]: as ./demo does it
configure() {
    folder_of_build=$1
    shift
    env -u CMAKE_GENERATOR "$@" sh -c '. "$1/tools/common/build_progress.sh"; prefer_ninja; cmake -S project -B "$2"' \
        sh "$tree" "$folder_of_build"
}
generator() { sed -n 's/^CMAKE_GENERATOR:INTERNAL=//p' "$1/CMakeCache.txt"; }

if command -v make >/dev/null 2>&1; then
    status 0 env -u CMAKE_GENERATOR cmake -G 'Unix Makefiles' -S project -B old
    status 0 configure old
    true_that 'a folder keeps its generator' test "$(generator old)" = 'Unix Makefiles'
    status 0 configure asked CMAKE_GENERATOR='Unix Makefiles'
    true_that 'what is asked for is taken' test "$(generator asked)" = 'Unix Makefiles'
fi
if command -v ninja >/dev/null 2>&1; then
    status 0 configure fresh
    true_that 'a new folder is for ninja' test "$(generator fresh)" = Ninja
fi
mkdir bin
status 0 env -u CMAKE_GENERATOR PATH="$folder/bin" "$(command -v sh)" -c \
    '. "$1/tools/common/build_progress.sh"; prefer_ninja; echo "generator ${CMAKE_GENERATOR:-none}"' sh "$tree"
holds out 'generator none'

# flags FOLDER OPTION...: the optimisations that a folder's commands ask for
flags() {
    cmake -S "$tree" -B "$1" -DCMAKE_BUILD_TYPE=Release -DVAROKEL_TESTS=OFF -DVAROKEL_BENCH=OFF "${@:2}" >/dev/null &&
        grep -oE ' -O[0-9sg]( |$)' "$1/compile_commands.json" | tr -d ' ' | sort -u | paste -sd' '
}
true_that 'numbers with -O3, texts with -O1, what is read once with -Og' test "$(flags usual)" = '-O1 -O3 -Og'
true_that 'a fuzz build as it asks' test "$(flags fuzzed -DVAROKEL_FUZZ=ON -DCMAKE_CXX_FLAGS_RELEASE=-O1)" = -O1

cd "$tree" || exit 1
for script in $(grep -lE '^prefer_ninja$' demo check fuzz/burst fuzz/campaign .ci/tidy); do
    true_that "$script installs ninja" grep -q 'install_missing.* ninja-build' "$script"
done
for script in demo check fuzz/burst; do
    true_that "$script prefers ninja" grep -qx prefer_ninja "$script"
done
finish
