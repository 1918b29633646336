#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# draw_figures.sh PROGRAMS [DRIVER] -- the figures of the guides anew, of what their blocks make. Pictures of pages need
# a browser and the folder of playwright-core (DRIVER, as tests/web/run.sh has it); without one they stay as they are.
set -eu
programs=$(cd "$1" && pwd)
driver=${2:-}
here=$(cd "$(dirname "$0")" && pwd)
tree=$(cd "$here/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export PATH=$programs:$PATH
mkdir -p "$here/figures"
walk() {
    mkdir "$folder/$1"
    ln -s "$tree/examples" "$tree/python" "$tree/tests" "$folder/$1"
    bash "$tree/tests/tools/walk_guide.sh" "$here/$1.md" "$folder/$1" || echo "$1: see above; its figures are drawn all the same"
}
# page GUIDE PAGE FIGURE HEIGHT
page() {
    [ -n "$driver" ] || return 0
    node --input-type=module -e '
        import { createRequire } from "node:module";
        const [driver, page, picture, height] = process.argv.slice(1);
        const { chromium } = createRequire(driver + "/x.js")("playwright-core");
        const browser = await chromium.launch({ executablePath: process.env.CHROMIUM, args: ["--no-sandbox", "--disable-gpu"] });
        const tab = await browser.newPage({ viewport: { width: 1100, height: Number(height) }, colorScheme: "light" });
        await tab.goto("file://" + page);
        await tab.waitForSelector(".u-over");
        await tab.waitForTimeout(500);
        await tab.screenshot({ path: picture });
        await browser.close();' "$driver" "$folder/$1/$2" "$here/figures/$3" "$4"
}
CHROMIUM=$(command -v chromium || command -v chromium-browser || true)
export CHROMIUM
for guide in p31 c13_series h1_long_echo h1_water h2 xe129 grid; do walk $guide; done
cp "$folder/p31/brain/fit.svg" "$here/figures/p31_brain.svg"
cp "$folder/p31/muscle/fit.svg" "$here/figures/p31_muscle.svg"
cp "$folder/c13_series/c13.svg" "$here/figures/c13_point.svg"
cp "$folder/h1_long_echo/run/fit.svg" "$here/figures/h1_long_echo.svg"
cp "$folder/h1_water/run/fit.svg" "$here/figures/h1_water.svg"
cp "$folder/h2/run/fit.svg" "$here/figures/h2.svg"
cp "$folder/xe129/run/fit.svg" "$here/figures/xe129.svg"
page p31 look/look.html p31_look.png 560
page h1_long_echo look/look.html h1_look.png 800
page c13_series series/overview.html c13_series.png 900
page grid run/overview.html grid.png 900
