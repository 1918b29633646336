#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# varokel-fit into a folder that is there: the fit before or the fit after, each whole, whatever
# happens in between; nothing is lost that no fit made, and nothing stays of the fit before.
. "$(dirname "$0")/harness.sh"
fit=$programs/varokel-fit
kills=${KILLS:-20}

c13=$tree/examples/c13_kidney
cp "$c13/c13_kidney.fid.f32" lac.fid.f32
cp "$c13/c13_kidney.fid.json" lac.fid.json
cp "$c13/peaks.txt" .
quick=(lac.fid.f32 peaks.txt --method exact)
# state FOLDER: what is in it, with its bytes; the command of a run, its times and places left out
state() { (cd "$1" && find . -type f ! -name '*.html' -print0 | sort -z | xargs -0 sha256sum); }

status 0 "$fit" "${quick[@]}" -o run --derive Lac/Pyr
true_that 'a page and a derived area' test -s run/report.html -a -s run/derived.tsv
true_that 'the list is what sha256sum reads' sh -c 'cd run && sha256sum --quiet -c fit_files.sha256'
true_that 'the spectrum is listed' grep -q '  lac.bin$' run/fit_files.sha256

# ---- of the fit before nothing stays, of others all does ----
mkdir -p run/mine/deep run/empty
echo thesis >run/mine/deep/thesis
echo note >run/note.txt
ln -s note.txt run/link
ln -s nowhere run/dangling
echo changed >>run/names.txt
echo mine >>run/start_verbose.par
chmod 750 run
cp -r run before
mv lac.fid.f32 other.fid.f32
mv lac.fid.json other.fid.json
quick=(other.fid.f32 peaks.txt --method exact)
status 0 "$fit" "${quick[@]}" -o run --force
for gone in derived.tsv lac.bin lac.json; do
    true_that "$gone of the fit before is gone" test ! -e run/$gone
done
for stays in mine/deep/thesis note.txt; do true_that "$stays is whole" cmp -s before/$stays run/$stays; done
true_that 'links stay links' test "$(readlink run/link) $(readlink run/dangling)" = 'note.txt nowhere'
true_that 'an empty folder stays' test -d run/empty
true_that 'the rights of the folder stay' test "$(stat -c %a run)" = 750
true_that 'a new fit' test -s run/other.bin -a -s run/result.par
true_that 'one fit in the tables' test "$(cut -f 1 run/quality.tsv | tail -n +2)" = other
true_that 'no rest' test -z "$(ls -d .varokel-fit.* run/.varokel* run/.owner 2>/dev/null)"

# a list does not say what is removed: only what still has its digest
echo 'my only copy' >run/precious
echo "$(printf 0%.0s $(seq 64))  precious" >>run/fit_files.sha256
echo "$(printf 0%.0s $(seq 64))  ../outside" >>run/fit_files.sha256
echo outside >outside
status 0 "$fit" "${quick[@]}" -o run --force
true_that 'what a list names wrongly stays' test "$(cat run/precious) $(cat outside)" = 'my only copy outside'

# ---- through a link, the folder is replaced and the link stays ----
ln -s run linked
status 0 "$fit" "${quick[@]}" -o linked --force --no-report
true_that 'a link still' test -L linked -a ! -e run/report.html

# ---- everything that was read is an input: refused before any work ----
mkdir data
cp other.fid.f32 other.fid.json data/
cp peaks.txt data/names.txt
state data >before_data
for words in 'data/other.fid.f32 peaks.txt' 'other.fid.f32 data/names.txt' \
    'other.fid.f32 peaks.txt --json data/other.fid.json' 'other.fid.f32 peaks.txt --reference data/other.fid.f32'; do
    # shellcheck disable=SC2086
    status 4 "$fit" $words -o data --force --varokel "$programs/varokel"
    holds err 'data: --force would overwrite its own input data/'
done
ln -s data/other.fid.f32 afar.fid.f32
status 4 "$fit" afar.fid.f32 peaks.txt --json other.fid.json -o data --force
holds err 'would overwrite its own input afar.fid.f32'
printf 'name  type  area  frequency  gauss  lorentz  phase\nNAA  data/my.pat  ?  0 Hz  -  6  ?\n' >patterns.txt
cp "$tree/examples/h1_patterns/naa.pat" data/my.pat
status 4 "$fit" other.fid.f32 patterns.txt -o data --force
holds err 'would overwrite its own input'
rm data/my.pat
state data >after_data
true_that 'the data are whole' cmp before_data after_data
# not while somebody stands in it
status 4 env -C run "$fit" ../other.fid.f32 ../peaks.txt -o . --force
holds err 'cannot be replaced while it is the current folder'
# into a folder that is empty, from within
mkdir fresh
status 0 env -C fresh "$fit" ../other.fid.f32 ../peaks.txt --method exact -o . --no-report
true_that 'into the current folder' test -s fresh/results.tsv
ln -s nothing dead
status 4 "$fit" "${quick[@]}" -o dead
holds err 'a link that leads nowhere'
ln -s itself itself
status 4 "$fit" "${quick[@]}" -o itself

# ---- a file where the new fit needs a folder is refused, and all is as it was ----
status 0 "$fit" "${quick[@]}" -o clash --no-report
mkdir clash/names
rm clash/other.bin && mkdir clash/other.bin && echo x >clash/other.bin/x
state clash >before_clash
status 4 "$fit" "${quick[@]}" -o clash --force --no-report
holds err 'a folder; expected a place for a file'
state clash >after_clash
true_that 'as it was' cmp before_clash after_clash

# ---- a page that cannot be made: tables of the new fit, no page of the old one, and it is told ----
mkdir bin
cp "$programs/varokel-fit" "$programs/varokel" bin/
printf '#!/bin/sh\nexit 3\n' >bin/varokel-report
chmod +x bin/varokel-report
status 0 "$fit" "${quick[@]}" -o paged
status 4 bin/varokel-fit "${quick[@]}" -o paged --force
holds err 'no page, tables only: varokel-report ended with status 3'
true_that 'no page of the fit before' test ! -e paged/report.html -a ! -e paged/fit.svg -a -s paged/results.tsv

# ---- stopped at any moment: the one or the other ----
# the two differ in the name of the spectrum, so that files of both would be seen
cp other.fid.f32 second.fid.f32
cp other.fid.json second.fid.json
first=(other.fid.f32 peaks.txt --method exact --no-report)
second=(second.fid.f32 peaks.txt --method exact --no-report)
status 0 "$fit" "${first[@]}" -o stopped
echo note >stopped/note
state stopped >of_other
begun=$(date +%s%N)
status 0 "$fit" "${second[@]}" -o stopped --force
lasts=$((($(date +%s%N) - begun) / 1000))
state stopped >of_second
now=second
mixed=0
for k in $(seq "$kills"); do
    [ $now = second ] && words=("${first[@]}") || words=("${second[@]}")
    "$fit" "${words[@]}" -o stopped --force >/dev/null 2>&1 </dev/null &
    job=$!
    perl -e 'select undef, undef, undef, $ARGV[0] / 1e6' $((RANDOM * (lasts * 12 / 10) / 32768))
    [ $((k % 4)) = 0 ] && signal=TERM || signal=KILL
    kill -$signal $job 2>/dev/null
    wait $job 2>/dev/null
    state stopped >found
    if cmp -s found of_other; then
        now=other
    elif cmp -s found of_second; then
        now=second
    else
        mixed=$((mixed + 1))
        diff found of_other
    fi
done
true_that "$mixed of $kills kills left neither fit" test $mixed -eq 0
status 0 "$fit" "${second[@]}" -o stopped --force
state stopped >found
true_that 'and the next one is whole' cmp found of_second
# a SIGKILL within the few calls of the exchange itself leaves a folder that nobody knows any more
rests=$(find . -maxdepth 1 -name '.varokel-fit.*' | wc -l)
true_that "$rests rests of $kills kills" test "$rests" -le $((1 + kills / 50))

finish
