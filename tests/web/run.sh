#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# run.sh build|copy|logic|bits|chromium|firefox|overview|hostile|hostile-firefox PROGRAMS TREE -- the pages' tests; status 77, with a word,
# where emscripten, node or the browser is not there
# run.sh frames|large PROGRAMS TREE -- what bench/workbench.mjs measures
set -eu
what=$1 programs=$(cd "$2" && pwd) tree=$(cd "$3" && pwd)
build=$tree/build/web
skip() {
    echo "skipped: $1"
    exit 77
}
command -v node >/dev/null || skip "no node (package nodejs)"
if [ "$what" = copy ]; then
    exec node "$tree/web/check_copy.mjs" "$tree" "$build/varokel.html"
fi
case $what in overview | hostile*) programs_pages=yes ;; *) programs_pages='' ;; esac # which need no build of the page
if [ -z "$programs_pages" ]; then
    command -v em++ >/dev/null || skip "no emscripten (package emscripten)"
    # the module's file asks for files by fetch where node has one
    export NODE_OPTIONS=--no-experimental-fetch WEB_BUILD=$build PROGRAMS=$programs NODE_PATH=/usr/share/nodejs

    if [ "$what" = build ]; then
        cd "$tree"
        unset CMAKE_CXX_COMPILER_LAUNCHER CMAKE_C_COMPILER_LAUNCHER
        cmake --preset web
        cmake --build --preset web -j "$(nproc)"
        size=$(stat -c %s "$build/varokel.html")
        echo "varokel.html: $size bytes"
        test "$size" -le 1500000
        exit
    fi
    [ -f "$build/varokel.html" ] || skip "varokel.html was not built"
    cd "$tree/tests/web"
    case $what in
    chromium | firefox | frames | large) ;;
    *) exec node --test "$what"*.test.mjs ;;
    esac
fi

browser=chromium
case $what in *firefox) browser=firefox ;; esac
case $what in frames | large) browser=${BROWSER:-chromium} ;; esac # measured, no tests
if [ "$browser" = firefox ]; then
    PROGRAM=$(command -v firefox-esr || command -v firefox || true)
    [ -n "$PROGRAM" ] || skip "no firefox (package firefox-esr)"
else
    PROGRAM=$(command -v chromium || command -v chromium-browser || true)
    [ -n "$PROGRAM" ] || skip "no chromium (package chromium)"
fi
# The version that speaks with a Firefox as it is installed, too; later ones ask for more than it has. Each
# browser has a driver of its own, as both tests may run at once.
version=1.60.0
DRIVER=$build/driver-$version-$browser
mkdir -p "$build"
[ -d "$DRIVER/node_modules/playwright-core" ] ||
    npm install --prefix "$DRIVER" --no-save --no-audit --no-fund "playwright-core@$version" >"$build/npm-$browser.log" 2>&1 ||
    skip "playwright-core cannot be had from npm"
GRID=$(mktemp -d)
trap 'rm -rf "$GRID"' EXIT
case $what in
hostile*)
    bash "$tree/tests/web/hostile_pages.sh" "$programs" "$tree" "$GRID" >"$GRID/log" 2>&1 || {
        tail "$GRID/log"
        exit 1
    }
    export BROWSER=$browser PROGRAM DRIVER PAGES=$GRID
    cd "$tree/tests/web"
    node --test hostile_pages.test.mjs
    exit
    ;;
esac
if [ "$what" = overview ]; then
    # six of twelve areas are known to no better than 50 %
    "$programs/varokel-simulate" "$tree/examples/single_line/start.par" -o "$GRID/grid.nii" --noise 3 --seed 1 \
        --grid 4,3,1 --frequency 123.2 --nucleus 1H --ppm-at-carrier 4.7
    export CHROMIUM=$PROGRAM DRIVER OVERVIEW=$GRID/run SERIES=$GRID/series
    "$programs/varokel-batch" plan "$GRID/grid.nii" --start "$tree/examples/single_line/start.par" -o "$OVERVIEW"
    "$programs/varokel-batch" run "$OVERVIEW"
    "$programs/varokel-batch" merge "$OVERVIEW"
    "$programs/varokel-report" "$OVERVIEW"
    cat >"$GRID/series.txt" <<'TABLE'
name  type     area   frequency[ppm]  lorentz[Hz]  phase
Pyr   lorentz  ? > 0  171.0 +- 0.5    20 [5, 60]   ?
Lac   lorentz  ? > 0  183.2 +- 0.5    20 [5, 60]   =Pyr
interval: 169 to 185 ppm
reference: Pyr 171 ppm
derive: Lac/Pyr = Lac/Pyr
TABLE
    "$programs/varokel-batch" plan "$tree/python/examples/c13_series/c13_series.fid.f32" --peaks "$GRID/series.txt" \
        --select 5:24 --time-step 3 -o "$SERIES"
    "$programs/varokel-batch" run "$SERIES"
    "$programs/varokel-batch" merge "$SERIES"
    "$programs/varokel-report" "$SERIES"
    cd "$tree/tests/web"
    node --test overview.test.mjs overview_series.test.mjs
    exit
fi
"$programs/varokel-simulate" "$tree/examples/single_line/start.par" -o "$GRID/grid.nii" --noise 0.01 --seed 1 \
    --grid 4,3,1 --frequency 123.2 --nucleus 1H --ppm-at-carrier 4.7
"$programs/varokel-start" --from "$tree/examples/single_line/start.par" >"$GRID/peaks.txt"
"$programs/varokel-start" --from "$tree/examples/h1_patterns/start.par" >"$GRID/patterns.txt"
# shellcheck disable=SC2016 # the template texts are those of JavaScript
node --input-type=module -e '
import { writeFileSync } from "node:fs";
const folder = process.argv[1], n = 4096, values = new Float32Array(2 * n), rows = [];
for (let line = 0; line < 20; ++line) {
    const hz = -900 + 93 * line;
    rows.push(`L${line}  lorentz  ?  ${hz} Hz  ${8 + line}  ?`);
    for (let i = 0; i < n; ++i) {
        const t = i / 4000, size = Math.exp(-Math.PI * (8 + line) * t);
        values[2 * i] += size * Math.cos(2 * Math.PI * hz * t);
        values[2 * i + 1] += size * Math.sin(2 * Math.PI * hz * t);
    }
}
writeFileSync(`${folder}/wide.f32`, values);
writeFileSync(`${folder}/wide.json`, JSON.stringify({ dwell_time_s: 1 / 4000, spectrometer_mhz: 123, ppm_at_carrier: 4.7, nucleus: "1H" }));
writeFileSync(`${folder}/twenty.txt`, `name  type  area  frequency  lorentz  phase\n${rows.join("\n")}\n`);
' "$GRID"
export BROWSER=$browser PROGRAM DRIVER GRID
unset NODE_OPTIONS
case $what in
frames | large)
    [ "$what" = frames ] || "$programs/varokel-simulate" "$tree/examples/single_line/start.par" -o "$GRID/large.nii" --noise 0.01 \
        --seed 1 --grid 32,32,31 --frequency 123.2 --nucleus 1H --ppm-at-carrier 4.7
    node "$tree/bench/workbench.mjs" "$what"
    ;;
*) node --test browser.test.mjs ;;
esac
