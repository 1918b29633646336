#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The page of a fit on paper: one A4 page, by a browser without a screen. Ends with status 77 (skipped) where there is
# none.
. "$(dirname "$0")/harness.sh"
browser=$(command -v chromium || command -v chromium-browser) || {
    echo 'skipped: no chromium (package chromium)'
    exit 77
}

# printed PAGE.html: PAGE.pdf; the page loads nothing, so no network is needed
printed() {
    timeout 100 "$browser" --headless --no-sandbox --disable-gpu --disable-background-networking \
        --user-data-dir="$folder/profile" --no-pdf-header-footer --print-to-pdf="${1%.html}.pdf" "file://$folder/$1" \
        >browser.log 2>&1 </dev/null
    test -s "${1%.html}.pdf" || { cat browser.log; false; }
}
# An object of the kind Page for each page; that of the kind Pages is one more.
pages() { grep -ac '/Type */Page *$' "$1"; }
# A4 in points: 210 by 297 mm
is_a4() { grep -aqE '/MediaBox *\[0 0 59[45](\.[0-9]+)? 84[12](\.[0-9]+)?\]' "$1"; }

example=$tree/examples/p31_brain
sed 's/^PCr .*/PCr    lorentz  4.37 > 0     0 +- 0.2         15.41 [5, 40]  =BATP/' "$example/peaks.txt" >peaks.txt
status 0 "$programs/varokel-fit" "$example/p31_brain.fid.f32" peaks.txt -o run \
    --derive 'PCr/(GATP+GATP2)' --derive 'pH = pH(frequency(Pin) - frequency(PCr), 6.77, 3.23, 5.7)'
cp run/report.html report.html
true_that 'printed' printed report.html
true_that "a fit of 16 lines is one page, not $(pages report.pdf)" test "$(pages report.pdf)" -eq 1
true_that 'of A4' is_a4 report.pdf
# paper has the picture, no canvas: curves stay lines
true_that 'a picture of lines' test "$(wc -c <report.pdf)" -lt 400000

# As many lines as the search takes, from one side of the band to the other: still one page.
awk 'BEGIN { print "name  type  area  frequency[Hz]  lorentz[Hz]  phase"
    for (k = 1; k <= 49; k++) printf "L%d  lorentz  1  %d  10  %s\n", k, -980 + 40 * (k - 1), k == 1 ? "0" : "=L1"
    print "points: 2048\nhz_per_point: 1.5\nnoise: 20 to 200 points\ninterval: 300 to 1750 points" }' >many.txt
status 0 "$programs/varokel-start" many.txt -o many.par
status 0 "$programs/varokel-simulate" many.par -o many.fid.f32 --noise 0.002 --seed 1 --frequency 100 --nucleus 31P \
    --ppm-at-carrier 0 --axis rising
sed '/^points:/d; /^hz_per/d' many.txt >fit.txt
status 0 "$programs/varokel-fit" many.fid.f32 fit.txt --method exact -o many
cp many/report.html many.html
true_that 'printed' printed many.html
true_that "a fit of 49 lines is one page, not $(pages many.pdf)" test "$(pages many.pdf)" -eq 1

# Several fits begin a page each behind the list of them.
cat "$example/p31_brain.fid.f32" "$example/p31_brain.fid.f32" >two.fid.f32
sed 's/"n_points"/"n_spectra": 2, "n_points"/' "$example/p31_brain.fid.json" >two.fid.json
status 0 "$programs/varokel-fit" two.fid.f32 "$example/peaks.txt" --index all -o both
cp both/report.html both.html
true_that 'printed' printed both.html
true_that "two fits are two or three pages, not $(pages both.pdf)" test "$(pages both.pdf)" -ge 2 -a "$(pages both.pdf)" -le 3
finish
