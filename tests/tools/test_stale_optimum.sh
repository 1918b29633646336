#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# An optimum is shown as long as the files it was found from are there as they were: not when start
# values, data or results changed since, by hand or by another run of the search.
. "$(dirname "$0")/harness.sh"
fit=$programs/varokel-fit
report=$programs/varokel-report
c13=$tree/examples/c13_kidney
cp "$c13/c13_kidney.fid.f32" kidney.fid.f32
cp "$c13/c13_kidney.fid.json" kidney.fid.json
cp "$c13/peaks.txt" .

# quality FOLDER NAME: of the row of a spectrum
quality() {
    awk -F '\t' -v name="$2" 'NR == 1 { for (i = 1; i <= NF; i++) if ($i == "fit_quality") c = i }
        $1 == name { printf "%.5f\n", $c }' "$1/quality.tsv"
}
# of_search FOLDER NAME: the search's own figure
of_search() { awk 'NR == 4 { printf "%.5f\n", $1 }' "$1/$2.exl"; }
# shows FOLDER NAME QUALITY
shows() { true_that "$1: quality $(quality "$1" "$2"), wanted $3" test "$(quality "$1" "$2")" = "$3"; }
# again FOLDER: the search once more, as somebody does who tries other start values
again() { (cd "$1" && "$programs/varokel" . kidney.bin start.par >again.txt); }
changed='changed since the exact fit: '

status 0 "$fit" kidney.fid.f32 peaks.txt -o whole
optimum=$(quality whole kidney)
search=$(of_search whole kidney)
true_that 'search and optimum differ, so that a test can tell' test "$optimum" != "$search"

# nothing changed, and what is not of the fit
cp -r whole run
status 0 "$report" run --force
shows run kidney "$optimum"
sed -i 's/^Pyr$/pyruvate/' run/names.txt
sed -i 's/"nucleus": "13C"/"nucleus": "C13"/' run/kidney.json
true_that 'both edits took' sh -c '! cmp -s whole/names.txt run/names.txt && ! cmp -s whole/kidney.json run/kidney.json'
status 0 "$report" run --force
shows run kidney "$optimum"
lacks run/report.html "$changed"

# other start values, searched again: what is shown is that search
sed -i 's/^f__tol .*/f__tol 1e-2/' run/start.par
true_that 'start.par is another' sh -c '! cmp -s whole/start.par run/start.par'
again run
again_quality=$(of_search run kidney)
true_that 'another end of the search' test "$again_quality" != "$search"
status 0 "$report" run --force
shows run kidney "$again_quality"
holds run/report.html "$changed"
status 0 "$report" run --judgement
holds out "$changed"
holds out '"kind": "files"'
true_that 'the row names it' test "$(awk -F '\t' '$1 == "kidney" && /files/' run/quality.tsv | wc -l)" = 1

# edited only: neither result is of these start values; data that are others
for file in start.par kidney.bin compact.par result.par; do
    rm -rf run && cp -r whole run
    printf '\n' >>run/$file
    status 0 "$report" run --force
    shows run kidney "$search"
    holds run/report.html "$changed$file. "
done

# an exact fit without a search
status 0 "$fit" kidney.fid.f32 peaks.txt --method exact -o exact
cp -r exact run2
again run2 # from the very start values of the fit: its optimum is as good as before
status 0 "$report" run2 --force
shows run2 kidney "$(quality exact kidney)"
holds run2/report.html 'kidney.exl is not of the fit that left optimum.json'
rm -rf run2 && cp -r exact run2
printf '\n' >>run2/start.par
status 1 "$report" run2 --force
holds run2/quality.tsv "${changed}start.par. Its optimum (optimum.json) is not of these files; fit again"
again run2
status 0 "$report" run2 --force
shows run2 kidney "$(of_search run2 kidney)"

# several spectra: the list stands one folder up, and one spectrum is not the other
cat kidney.fid.f32 kidney.fid.f32 >two.fid.f32
cp kidney.fid.json two.fid.json
status 0 "$fit" two.fid.f32 peaks.txt --index all -o several --no-report
names=$(cd several && printf "%s\n" */ | tr -d /)
true_that "two spectra: $names" test "$(echo "$names" | wc -l)" = 2
first=$(echo "$names" | head -n 1)
printf '\n' >>"several/$first/start.par"
status 0 "$report" several --force
for name in $names; do
    if [ "$name" = "$first" ]; then shows several "$name" "$search"; else shows several "$name" "$optimum"; fi
done

# without the list, or with one of another optimum, there is nothing to compare
rm -rf run && cp -r whole run
printf '\n' >>run/start.par
sed -i '/optimum.json/d' run/fit_files.sha256
status 0 "$report" run --force
shows run kidney "$optimum"

finish
