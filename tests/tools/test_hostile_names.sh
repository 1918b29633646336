#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Names that mean something to a shell, a browser, a spreadsheet or a reader: in everything that is
# written they are text. Where a Chromium is installed, the pages are opened in it.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch
turn=$(printf '\342\200\256') # U+202E: what follows is shown from right to left
scripts_in() { grep -o '<script' "$1" | wc -l; }
# well_formed FILE.svg
well_formed() { python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' "$1"; }
# columns FILE: every line has as many cells as the heading, and none begins a formula
columns() { awk -F '\t' 'NR == 1 { n = NF } NF != n { bad = 1 }
    { for (i = 1; i <= NF; ++i) if ($i ~ /^[=+@"]/ || ($i ~ /^-/ && $i !~ /^-[0-9.]/)) bad = 1 } END { exit bad || NR < 2 }' "$1"; }

# ---- a fit: names of the spectrum, of its folder and of its entries ----
c13=$tree/examples/c13_kidney
odd='<img src=x onerror=document.title=1>$(touch pwned)'"'"'"`touch pwned`'$turn
mkdir -p "in $odd"
cp "$c13/c13_kidney.fid.f32" "in $odd/=1+1.fid.f32"
cp "$c13/c13_kidney.fid.json" "in $odd/=1+1.fid.json"
table="in $odd/peaks.txt"
# a table takes plain words alone
sed 's|^Lac |=<script>document.title=1</script>" |' "$c13/peaks.txt" >"$table"
status 3 "$programs/varokel-fit" "in $odd/=1+1.fid.f32" "$table" -o "out $odd" --method exact
holds err 'expected a name of letters'
cp "$c13/peaks.txt" "$table"
status 0 "$programs/varokel-fit" "in $odd/=1+1.fid.f32" "$table" -o "out $odd" --method exact
run="out $odd"
# names of entries come from a list, too
printf '%s\n' '=<script>document.title=1</script>"' '@SUM(A1)' '+<img/src=x/onerror=document.title=1>' "$turn"'-$(id)' >"names $odd.txt"
status 0 "$programs/varokel-report" "$run" --force --names "names $odd.txt"
status 0 "$programs/varokel-fit" "$c13/c13_kidney.fid.f32" "$c13/peaks.txt" -o plain --method exact
true_that 'the page has no script but its own' test "$(scripts_in "$run/report.html")" -eq "$(scripts_in plain/report.html)"
lacks "$run/report.html" "$turn"
lacks "$run/report.html" '<img'
lacks "$run/fit.svg" "$turn"
for file in results quality; do true_that "$file.tsv is a table" columns "$run/$file.tsv"; done
holds "$run/results.tsv" "	'=<script>document.title=1</script>\"	"
holds "$run/results.tsv" "	'@SUM(A1)	"
command -v python3 >/dev/null && true_that 'fit.svg is XML' well_formed "$run/fit.svg"
status 0 "$programs/varokel-start" --from "$run/start.par" -o back.txt
status 0 "$programs/varokel-report" "$run" --force --names "names $odd.txt" --derive "@x=#1/#1"
true_that 'derived.tsv is a table' columns "$run/derived.tsv"
# an old encoding, in a list and in the name of a pattern
printf 'Lac\nAla\nBic\246\nPyr\n' >latin.txt
status 3 "$programs/varokel-report" "$run" --force --names latin.txt
holds err 'latin.txt, line 3: name "Bic'
old=$(printf 'Bic\246')
start_file n_pnts=128 noistp=32 Hz_p_p=5.0 '@ 2 128 1 1 1 1 1 0 1 0 100 2 1 0 127' '2 9 160 5 0 1' >line.par
mkdir of_pattern
status 0 "$programs/varokel-simulate" line.par -o "of_pattern/$old.bin" --noise 0 --seed 1
status 0 "$programs/varokel-simulate" line.par -o of_pattern/data.bin --noise 0.1 --seed 2
start_file n_pnts=128 noistp=32 Hz_p_p=5.0 pattern="$old.bin" '@ 2 128 1 1 0 0 0 0 1 0 100 2 1 0 127' '4 1 0/1 0/1 0/1 0/1' >of_pattern/start.par
(cd of_pattern && "$programs/varokel" . data.bin start.par >data.log) || failed 'a pattern of any name is fitted'
status 3 "$programs/varokel-report" of_pattern
holds err 'of_pattern/data: name of entry 1, "Bic\xa6": byte 4 is no UTF-8'
true_that 'no table' test ! -e of_pattern/results.tsv
echo bicarbonate >of_pattern/names.txt
status 0 "$programs/varokel-report" of_pattern --force
holds of_pattern/results.tsv '	bicarbonate	'

# ---- what does not go into a table, a page or a file is refused with its place ----
for name in $'tab\there' $'line\nend'; do
    cp "$c13/c13_kidney.fid.f32" "$name.fid.f32"
    "$programs/varokel-fit" "$name.fid.f32" "$c13/peaks.txt" --json "$c13/c13_kidney.fid.json" -o "of $name" --method exact >out 2>err
    ended=$?
    true_that "status $ended for a name with a control character" test "$ended" -eq 0 -o "$ended" -eq 3
    if [ "$ended" -eq 0 ]; then
        true_that 'a table all the same' columns "of $name/results.tsv"
    else
        true_that 'with a message' test -s err
    fi
done
status 3 "$programs/varokel-import" ./-x.f32 -o dash
cp "$c13/c13_kidney.fid.f32" ./-x.fid.f32
status 0 "$programs/varokel-import" --json "$c13/c13_kidney.fid.json" -o dash ./-x.fid.f32
true_that 'a spectrum of that name' test -s dash/-x.bin

# a file whose name is no UTF-8
latin=$(printf 'caf\351')
cp "$c13/c13_kidney.fid.f32" "$latin.fid.f32"
cp "$c13/c13_kidney.fid.json" "$latin.fid.json"
for command in "import $latin.fid.f32" \
    "fit $latin.fid.f32 $c13/peaks.txt --method exact" "fit $latin.fid.f32 $c13/peaks.txt"; do
    # shellcheck disable=SC2086
    status 3 "$programs"/varokel-$command -o latin
    holds err "the name of a file, \"caf\xe9.fid.f32\": byte 4 is no UTF-8"
    true_that 'nothing was made' test ! -e latin
done
rm "$latin".*

# ---- pictures and simulations ----
status 0 "$programs/varokel-simulate" "$run/start.par" --noise 0.1 --seed 1 -o "$odd.bin"
for ending in org fit res; do cp "$odd.bin" "$odd.$ending"; done
status 0 "$programs/varokel-plot" "$odd" --hz-per-point 5 -o "$odd.svg"
command -v python3 >/dev/null && true_that 'the picture is XML' well_formed "$odd.svg"
lacks "$odd.svg" '<img'

# ---- a batch: job scripts, tables, overview ----
two_lines_grid "=1+$odd" 3 2 1
cp start.par "start $odd.par"
printf '%s\n' '=SUM(A1)' '<script>document.title=1</script>' >"names $odd.txt"
if ! "$batch" plan "=1+$odd.nii" --start "start $odd.par" --names "names $odd.txt" -o "batch $odd %j" >out 2>err; then
    grep -q 'without the NIfTI' err || failed "plan: $(cat err)"
else
    run="batch $odd %j"
    status 0 "$batch" run "$run"
    status 0 "$batch" merge "$run"
    status 0 "$programs/varokel-report" "$run"
    for file in results quality pictures; do true_that "$file.tsv is a table" columns "$run/$file.tsv"; done
    holds "$run/results.tsv" "'=SUM(A1)"
    page="$run/overview.html"
    two_lines_grid grid 3 2 1
    status 0 "$batch" plan grid.nii --start start.par -o benign
    status 0 "$batch" run benign
    status 0 "$batch" merge benign
    status 0 "$programs/varokel-report" benign
    true_that 'no script but its own' test "$(scripts_in "$page")" -eq "$(scripts_in benign/overview.html)"
    lacks "$page" "$turn"
    lacks "$page" '<img'
    status 0 "$batch" slurm "$run" --shards 2 --mem 200M --time 00:10:00
    cp out job.sh
    true_that 'the job script is one' bash -n job.sh
    # a stand-in that shows its words
    mkdir bin && printf '#!/bin/sh\nfor word; do printf "[%%s]\\n" "$word" >>%s; done\necho 7\n' "$PWD/words" >bin/sbatch && chmod +x bin/sbatch
    status 0 env PATH="$PWD/bin:$PATH" bash job.sh
    holds words "[--output=$PWD/${run//%/%%}/logs/merge.out]"
    status 0 "$batch" snakemake "$run" --shards 2
    grep '^RUN = ' out >path.py
    printf 'import sys\nsys.exit(RUN != sys.argv[1])\n' >>path.py
    command -v python3 >/dev/null && true_that 'the rules have the path' python3 path.py "$PWD/$run"
    mkdir '{x}' && cp -r "$run" '{x}/run'
    status 2 "$batch" snakemake '{x}/run' --shards 2
    holds err 'brace'
fi
true_that 'no name was run' test -z "$(find . -name pwned)"

# ---- in a browser ----
browser=$(command -v chromium || true)
if [ -n "$browser" ]; then
    dump() { timeout 60 "$browser" --headless --no-sandbox --disable-gpu --user-data-dir="$PWD/browser" \
        --virtual-time-budget=2000 --dump-dom "file://$1" 2>/dev/null; }
    cp "out $odd/report.html" page.html
    [ ! -e "$page" ] || cp "$page" overview.html
    for file in page.html overview.html; do
        [ -e "$file" ] || continue
        dump "$PWD/$file" >shown
        true_that "$file: opened" grep -q '</html>' shown
        lacks shown '<title>1</title>'
    done
    # the policy itself: a script and a handler that get into the page all the same do not run
    perl -0pe 's|<body>|<body><script>document.title = 1</script><img src="x" onerror="document.title = 1">|' page.html >spoilt.html
    dump "$PWD/spoilt.html" >shown
    true_that 'the page with a script of somebody else: opened' grep -q 'onerror' shown
    lacks shown '<title>1</title>'
    # without a policy they do: the browser would have shown it
    perl -0pe 's|<meta http-equiv="Content-Security-Policy"[^>]*>||' spoilt.html >open.html
    dump "$PWD/open.html" >shown
    holds shown '<title>1</title>'
fi
finish
