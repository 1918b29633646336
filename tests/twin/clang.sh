#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# clang.sh BUILD -- the fitter as clang builds it gives the same files for every example, byte by byte, as the
# one in BUILD, which also holds the companion programs that prepare the examples
set -euo pipefail
build=$(cd "$1" && pwd)
tree=$(cd "$(dirname "$0")/../.." && pwd)
if ! command -v clang++ >/dev/null 2>&1; then
    echo "there is no clang++"
    exit 77
fi
clang=$build/twin_clang
cmake -S "$tree" -B "$clang" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Release -DVAROKEL_UNITY=ON \
    -DVAROKEL_TESTS=OFF -DVAROKEL_TOOLS=OFF -DVAROKEL_BENCH=OFF >/dev/null
cmake --build "$clang" -j "$(nproc)" --target varokel >/dev/null
ln -sf "$clang/varokel" "$clang/varokel_clang"
"$tree/tests/twin/same_results.sh" "$clang/results" "$build" "$tree" "$build/varokel" "$clang/varokel_clang"
