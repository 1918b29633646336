#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
report=$programs/varokel-report

common_habits varokel-report

# What is put into every page is the file that was vendored.
(cd "$tree/third_party/uplot" && sed -n 's/^\([0-9a-f]\{64\}  .*\)/\1/p' VERSION.txt) >sums
true_that 'three vendored files' test "$(wc -l <sums)" -eq 3
true_that 'vendored files unchanged' \
    sh -c "cd '$tree/third_party/uplot' && sha256sum --quiet -c" <sums

# a page is too long to be shown where it lacks something
page_holds() { true_that "$1 holds $2" grep -qF -- "$2" "$1"; }
# column FILE NAME: that column of a table, without its head
column() { awk -F '\t' -v n="$2" 'NR == 1 { for (i = 1; i <= NF; i++) if ($i == n) c = i; next } { print $c }' "$1"; }
# cell FILE NAME ROW
cell() { column "$1" "$2" | sed -n "$3p"; }
# near A B TOLERANCE: within that fraction of B
near() { awk -v a="$1" -v b="$2" -v t="$3" 'BEGIN { d = a - b; if (d < 0) d = -d; if (b < 0) b = -b; exit !(a != "" && a != "n/a" && d <= t * b) }'; }

# start FILE ITERATIONS: two Lorentzians of 4 points (20 Hz), 4 points apart, of which the areas are
# free; 5 Hz a point.
start() {
    start_file n_pnts=1024 noistr=10 noistp=200 Hz_p_p=5.0 f__tol=1e-12 verbos=1 \
        "@ 2 1024 1 0 0 0 0 0 1 0 $2 2 1 256 767" '2 9 2550/1 0/1 0/1 4/1' '2 7 2570/2 0/2 0/2 4/2' >"$1"
}

mkdir run
start run/start.par 50
sed -e 's/^1 9/1 10/' -e 's/^2 7/2 6/' run/start.par >truth.par
status 0 "$programs/varokel-simulate" truth.par -o run/pair.bin --noise 0.01 --seed 7
cat >run/pair.json <<'TEXT'
{ "points": 1024, "dwell_time_s": 0.0001953125, "hz_per_point": 5, "spectrometer_mhz": 50, "nucleus": "31P",
  "ppm_at_carrier": 1.5, "ppm_rises_with_points": false, "begin_time_s": 0,
  "source": { "file": "a<b>.nii", "sha256": "00ff" },
  "guessed": [ { "item": "nucleus", "value": "<31P>", "reason": "not in the file" } ] }
TEXT
printf '# of the table\nleft\n<b>&"x\n' >run/names.txt
(cd run && "$programs/varokel" . pair.bin start.par >run.log)

status 0 "$report" run --derive 'sum=left+#2' --derive "difference=left-'<b>&\"x'" \
    --derive 'ratio=left/#2' --derive 'half = 0.5*(left + 1e0*#2) - 0'
true_that 'nothing on standard error' test ! -s err
for file in report.html results.tsv results.json quality.tsv quality.json derived.tsv fit.svg; do
    holds out "run/$file"
    true_that "$file there" test -s "run/$file"
done

# Numbers: those of the program's own files, which are of two standard deviations.
for row in 1 2; do
    area=$(sed -n "${row}p" run/pair.mat | cut -f 1)
    error=$(sed -n "${row}p" run/pair.err | cut -f 1)
    true_that 'area' near "$(cell run/results.tsv area $row)" "$area" 1e-8
    true_that '2 SD' near "$(cell run/results.tsv area_error_2sd $row)" "$error" 1e-8
    true_that '1 SD' near "$(cell run/results.tsv area_error_1sd $row)" "$(awk -v e="$error" 'BEGIN { print e / 2 }')" 1e-5
    true_that 'percent' near "$(cell run/results.tsv area_error_percent_1sd $row)" \
        "$(awk -v a="$area" -v e="$error" 'BEGIN { print 50 * e / a }')" 1e-5
done
true_that 'within 3 SD of the truth' \
    awk -v a="$(cell run/results.tsv area 1)" -v e="$(cell run/results.tsv area_error_1sd 1)" \
    'BEGIN { exit !((a - 10) ^ 2 < 9 * e * e) }'
true_that '4 points are 20 Hz' test "$(cell run/results.tsv lorentz_fwhm_hz 1)" = 20
true_that 'no Gaussian width' test "$(cell run/results.tsv gauss_fwhm_hz 1)" = n/a
true_that 'unused' test "$(cell run/results.tsv gauss_fwhm_link 1)" = unused
true_that 'free' test "$(cell run/results.tsv area_link 1)" = free
true_that 'fixed' test "$(cell run/results.tsv frequency_link 1)" = fixed
true_that 'no error where fixed' test "$(cell run/results.tsv frequency_error_2sd_hz 1)" = n/a
# the carrier is at 512 * 5 Hz = 2560 Hz and 1.5 ppm; 10 Hz are 0.2 ppm, higher to the left
true_that 'Hz from the carrier' test "$(cell run/results.tsv frequency_from_carrier_hz 1)" = -10
true_that 'ppm' test "$(column run/results.tsv shift_ppm | tr '\n' ' ')" = '1.7 1.3 '
true_that 'converged' test "$(cell run/quality.tsv status 1)" = converged
true_that 'quality' near "$(cell run/quality.tsv fit_quality 1)" "$(sed -n 4p run/pair.exl | cut -f 1)" 1e-6

# Areas only: the Fisher matrix is (a b; b a), so sum^2 + difference^2 = 4 error^2; the overlap b/a
# of two decays exp(-pi L t), L apart, is 1/(1 + 1) = 0.5, so difference^2 / sum^2 = 1.5 / 0.5. The
# sum over points stands for an integral over all frequencies: half a percent.
sum=$(cell run/derived.tsv error_1sd 1)
difference=$(cell run/derived.tsv error_1sd 2)
ratio=$(awk -v d="$difference" -v s="$sum" 'BEGIN { print d * d / (s * s) }')
true_that 'correlation' near "$ratio" 3 0.02
true_that 'sum and difference' near "$(awk -v d="$difference" -v s="$sum" 'BEGIN { print s * s + d * d }')" \
    "$(awk -v e="$(cell run/results.tsv area_error_1sd 1)" 'BEGIN { print 4 * e * e }')" 1e-4
wanted=$(awk -v s="$sum" -v d="$difference" -v a="$(cell run/results.tsv area 1)" -v b="$(cell run/results.tsv area 2)" \
    -v e="$(cell run/results.tsv area_error_1sd 1)" -v f="$(cell run/results.tsv area_error_1sd 2)" 'BEGIN {
    c = (s * s - d * d) / 4; print a / b * sqrt(e * e / (a * a) + f * f / (b * b) - 2 * c / (a * b)) }')
true_that 'error of a ratio' near "$(cell run/derived.tsv error_1sd 3)" "$wanted" 1e-4
true_that 'half of the sum' near "$(cell run/derived.tsv error_2sd 4)" "$sum" 1e-8

# Each table has the columns of its dictionary and of the documentation.
for table in results quality; do
    head -1 "run/$table.tsv" | tr '\t' '\n' >columns
    sed -n 's/^  "\(.*\)": {$/\1/p' "run/$table.json" >described
    true_that "$table.json describes the columns" cmp -s columns described
    while read -r name; do holds "$tree/docs/file_formats/results_table.md" "\`$name\`"; done <columns
    true_that "$table.tsv is rectangular" awk -F '\t' 'NR == 1 { n = NF } NF != n { bad = 1 } END { exit bad }' "run/$table.tsv"
done

# The page: nothing of a file is markup, nothing is loaded, and only the scripts that stand in it run.
lacks run/report.html '<b>'
lacks run/report.html '<31P>'
page_holds run/report.html '&lt;b&gt;&amp;&quot;x'
page_holds run/report.html 'guessed at import: nucleus = &lt;31P&gt;'
page_holds run/report.html '>a&lt;b&gt;.nii<'
for text in ' src=' '<link' '@import' 'style="' 'onclick'; do
    perl -0pe 's/<script>.*?<\/script>//gs' run/report.html >without_scripts
    lacks without_scripts "$text"
done
perl -MDigest::SHA=sha256_base64 -0ne '
    ($policy) = /Content-Security-Policy" content="([^"]*)"/ or die;
    $policy =~ /^default-src .none.; / or die "default-src";
    $policy =~ /unsafe|https?:/ and die "unsafe";
    while (/<(script|style)>(.*?)<\/\1>/gs) {
        my ($kind, $hash) = ($1, sha256_base64($2));
        $hash .= "=" while length($hash) % 4;
        $policy =~ /$kind-src [^;]*\x27sha256-\Q$hash\E\x27/ or die "$kind $hash";
        $count++;
    }
    exit($count == 4 ? 0 : 1)' run/report.html
true_that 'each script and style has its hash' test $? -eq 0
true_that 'a static picture' grep -q '<svg xmlns' run/report.html
page_holds run/report.html 'Cram'
page_holds run/report.html '2 SD'
perl -0ne 'print $1 if /application\/json" id="spectrum-1-data">(.*?)<\/script>/s' run/report.html >curves.json
# shellcheck disable=SC2016 # perl, not the shell
true_that 'curves of the page are JSON' perl -MJSON::PP -0ne 'exit(@{decode_json($_)->{components}} == 2 ? 0 : 1)' curves.json
# What stands on top, and what was fitted how.
page_holds run/report.html '<h2>Verdict: none, the search alone: the last step ended at its tolerance</h2>'
page_holds run/report.html 'Method: classic: the search alone.'
page_holds run/report.html 'the noise window: points 10 to 199'
page_holds run/report.html 'outside of this picture'
page_holds run/report.html '<summary>Correlations of the areas</summary>'
# of two lines 4 points wide and apart, areas free: 0.5 as above, of the other sign than the overlap
true_that 'one correlation' grep -qE '<td class="minus[24]">-0\.50</td>' run/report.html
perl -MJSON::PP -MMIME::Base64 -0ne '
    my $p = decode_json($_);
    die "noise" unless $p->{noise}[0] == 10 && $p->{noise}[1] == 199;
    my ($re, $im) = map { [unpack "f<*", decode_base64($_)] } $p->{data}, $p->{imaginary}{data};
    open my $f, "<:raw", "run/pair.bin" or die;
    local $/;
    my @xy = unpack "f<*", <$f>;
    for my $i (0 .. $#$re) { # phases turn, they do not scale
        my ($a, $b) = ($xy[2 * $i] ** 2 + $xy[2 * $i + 1] ** 2, $re->[$i] ** 2 + $im->[$i] ** 2);
        die "point $i: $a $b" if abs($a - $b) > 1e-5 * ($a + 1e-3);
    }' curves.json
true_that 'real and imaginary part are those of the spectrum' test $? -eq 0

# Measurement and windows of the table: TE, TR, voxel and date from the sidecar; the window that is active.
mkdir fid
awk 'BEGIN { for (i = 0; i < 256; i++) print 5 * exp(-i / 20) * cos(0.4 * i), 5 * exp(-i / 20) * sin(0.4 * i) }' | signal fid/one.fid.f32
printf '{ "dwell_time_s": 0.001, "spectrometer_MHz": 100, "ppm_at_carrier": 4.7, "nucleus": "1H", "echo_time_s": 0.03,
    "repetition_time_s": 2, "voxel_mm": [20, 25, 30], "date": "2019.01.31" }' >fid/one.fid.json
# the line is 63.7 Hz from the carrier, 0.637 ppm, and 1000 / (20 pi) = 15.9 Hz wide
printf 'name  type  area  frequency[ppm]  lorentz[Hz]  phase\nA  lorentz  ? > 0  5.3 +- 0.2  10 [5, 12]  ?\ninterval: 4 to 7 ppm\n' >fid/peaks.txt
status 0 "$programs/varokel-fit" fid/one.fid.f32 fid/peaks.txt -o windows
page_holds windows/report.html '1H, 100 MHz, TE 30 ms, TR 2 s, voxel 20 × 25 × 30 mm (15 mL), measured 2019-01-31'
page_holds windows/report.html '<h2>Verdict: '
page_holds windows/report.html ' ppm (quietest stretch)'
page_holds windows/report.html 'active: the fit presses against its edge'
true_that 'three windows, one active' test "$(grep -c 'active: the fit presses' windows/report.html)" -eq 1 -a \
    "$(grep -o '<td class="text">inside' windows/report.html | wc -l)" -eq 2
true_that 'edges as the table has them' grep -q 'Lorentzian width, Hz</td><td>5</td><td>12</td><td>12</td>' windows/report.html
true_that 'of the shift in ppm' grep -q 'shift, ppm</td><td>5.1</td><td>5.5</td>' windows/report.html
true_that 'of the area one edge' grep -q 'area</td><td>0</td><td>none</td>' windows/report.html
true_that 'with the digits of its error, as among the results' grep -qF \
    "area</td><td>0</td><td>none</td><td>$(sed -n 's/^<tr><th scope="row" class="name">A<small[^>]*>[^<]*<\/small><\/th><td>\([-0-9.e+]*\)<small.*/\1/p' windows/report.html | head -n 1)</td>" windows/report.html
# A page before the fit.
status 0 "$programs/varokel-fit" fid/one.fid.f32 fid/peaks.txt -o look --look
holds out look/look.html
true_that 'nothing but the page and its list' test "$(ls look | tr '\n' ' ')" = 'fit_files.sha256 look.html '
page_holds look/look.html 'Nothing was fitted.'
page_holds look/look.html '>A</text>'
page_holds look/look.html 'Yellow: the noise window, points'
page_holds look/look.html 'TE 30 ms'
lacks look/look.html 'Done before the fit'
# 4 to 7 ppm are the points 110 to 187, and 7 more on each side are shown
for window in '10 to 60:, outside of this picture.' '95 to 105:, in part outside of this picture.' '104 to 109:.'; do
    sed "s/^interval.*/&\nnoise: ${window%%:*} points/" fid/peaks.txt >fid/window.txt
    status 0 "$programs/varokel-fit" fid/one.fid.f32 fid/window.txt -o look --look --force
    true_that "of the window ${window%%:*}: ${window#*:}" grep -qE "the noise window, points ${window%%:*}, [-0-9.]+ to [-0-9.]+ ppm${window#*:}</figcaption>" look/look.html
done
perl -0ne 'print $1 if /application\/json" id="spectrum-1-data">(.*?)<\/script>/s' look/look.html >look.json
true_that 'a mark where the fit would begin' perl -MJSON::PP -0ne '
    my $p = decode_json($_);
    # 5.3 ppm are 60 Hz above the carrier, 1000/256 Hz a point
    exit(abs($p->{marks}[0]{point} - (128 + 60 * 0.256)) < 0.01 && !defined $p->{fit} && $p->{noise} ? 0 : 1)' look.json
sed 's/^interval.*/interval: 4 to 7 ppm\nnoise: 300 to 400 points/' fid/peaks.txt >fid/wrong.txt
status 1 "$programs/varokel-fit" fid/one.fid.f32 fid/wrong.txt -o wrong --look
page_holds wrong/look.html 'The table does not fit'
page_holds wrong/look.html 'expected within the points 0 to 255'

if command -v node >node.path; then
    for script in chart_values charts report overview_values overview_model overview_maps overview_course overview_spread overview_spectrum overview; do
        true_that "$script.js has no mistake" node --check "$tree/files/pages/$script.js"
    done
    true_that 'numbers of the pages' node "$tree/tests/tools/number_texts.mjs" "$tree"
fi

# The fitted values as start values have the quality that the program states for them.
cp run/compact.par again.par
status 0 "$report" run -o run --force --start again.par
true_that 'quality by our own sum' near "$(cell run/quality.tsv fit_quality_before 1)" \
    "$(cell run/quality.tsv fit_quality 1)" 1e-5
cp run/report.html first.html
status 0 "$report" run -o run --force --start again.par
true_that 'the same page again' cmp -s first.html run/report.html

# Components, fit and residual as NIfTI-MRS, where the program was built with it.
if "$report" run --force --start again.par 2>err | grep -q nii.gz; then
    for what in fit residual components; do
        true_that "$what is compressed" sh -c "gzip -dc run/$what.nii.gz >$what.nii"
        true_that "$what is NIfTI-MRS" grep -aq 'SpectrometerFrequency":\[50.0\]' $what.nii
        true_that "$what has its carrier" grep -aqE 'PpmAtCarrier":[{]"Value":[0-9.-]+' $what.nii
    done
    # behind 540 bytes of header and the extension: 1024 points of 8 bytes, and twice that
    true_that 'two components' test $(($(wc -c <components.nii) - $(wc -c <fit.nii))) -ge 8192
fi

# Nothing is overwritten unasked; an input never.
status 4 "$report" run
holds err 'report.html: exists'
mkdir elsewhere
status 0 "$report" run -o elsewhere
status 4 "$report" run -o no/such/folder
holds err 'no/such/folder'

# A fit at its limit.
cp -r run limit
rm -f limit/report.html limit/*.nii.gz
(cd limit && start start.par 1 && "$programs/varokel" . pair.bin start.par >run.log)
status 0 "$report" limit --force
true_that 'at_limit' test "$(cell limit/quality.tsv status 1)" = at_limit
page_holds limit/report.html 'stopped at its limit of 1 iterations'

# No fit: the page gives the reason of the log.
mkdir none
cp run/pair.bin run/pair.json none
start none/start.par 50
sed -i 's/^noistp 200/noistp 5/' none/start.par
(cd none && "$programs/varokel" . pair.bin start.par >run.log)
status 1 "$report" none
holds err '1 of 1 spectrum not fitted'
true_that 'not_fitted' test "$(cell none/results.tsv status 1)" = not_fitted
page_holds none/report.html 'Not fitted'
page_holds none/report.html 'starting spectral point number of noise region is higher'

# Two fits in one folder of folders.
mkdir -p both/a both/b
cp run/start.par run/pair.* run/compact.par run/run.log both/a
cp none/pair.* none/run.log both/b
status 1 "$report" both
true_that 'a row for each entry, one for none' test "$(wc -l <both/results.tsv)" -eq 4
page_holds both/report.html '2 spectra'
true_that 'its picture, with the folder where two have the name' test -s both/a.pair.fit.svg

# The page of a spectrum alone has all points in single precision, that of several the fitted range
# (256 to 767) and a tenth of it on both sides (51), in steps of 1/32767 of each curve's highest.
perl -0ne 'print $1 if /application\/json" id="spectrum-1-data">(.*?)<\/script>/s' both/report.html >short.json
true_that 'rounded curves are those of the page alone' perl -MJSON::PP -MMIME::Base64 -e '
    sub page { local (@ARGV, $/) = ($_[0]); decode_json(<>) }
    my ($whole, $short) = (page("curves.json"), page("short.json"));
    sub lists { my $p = shift; ($p->{data}, $p->{fit}, $p->{residual}, map { $_->{values} } @{$p->{components}}) }
    my ($first, @w, @s) = (256 - 51);
    @w = lists($whole);
    @s = lists($short);
    die "curves" unless @w == 5 && @s == 5;
    for my $c (0 .. 4) {
        my @full = unpack "f<*", decode_base64($w[$c]);
        my @steps = unpack "s<*", decode_base64($s[$c]{values});
        die "points" unless @full == 1024 && @steps == 614;
        my ($unit, $most) = ($s[$c]{unit}, 0);
        for my $i (0 .. $#steps) {
            my $size = abs $full[$first + $i];
            $most = $size if $size > $most;
            # half a step, and what single precision leaves away
            die "curve $c, point $i" if abs($steps[$i] * $unit - $full[$first + $i]) > 0.501 * $unit;
        }
        die "unit of $c" if abs($unit * 32767 / $most - 1) > 1e-6;
    }
    my $a = $short->{axis}{zero} - $short->{axis}{step} * $first;
    die "axis" if abs($a - $whole->{axis}{zero}) > 1e-9 * abs $a;
    die "places" unless $short->{intervals}[0][0] == 51 && $whole->{intervals}[0][0] == 256
        && $short->{view}[0] + $first == $whole->{view}[0]'

# What a spectrum is read from is never replaced, whatever its name is.
mkdir named
for ending in bin json org fit res exl mat err; do
    [ ! -e "run/pair.$ending" ] || cp "run/pair.$ending" "named/results.$ending"
done
cp run/start.par run/compact.par named
cksum named/results.json >before
status 4 "$report" named --force --start named/start.par
holds err 'results.json: would overwrite its own input'
cksum named/results.json >after
true_that 'the sidecar is whole' cmp before after
true_that 'nothing was begun' test "$(find named -name '*.part*' | wc -l)" -eq 0

# series_2 comes before series_10, and 007 where 7 does
mkdir many
for name in series_10 series_2 series_007; do
    mkdir many/$name
    for file in run/pair.*; do cp "$file" "many/$name/$name.${file#run/pair.}"; done
done
status 0 "$report" many
true_that 'natural order' test "$(column many/quality.tsv spectrum | tr '\n' ' ')" = 'series_2 series_007 series_10 '

# one of them damaged: a row without results, and the others as before
cp -r many one_bad
head -c 500 many/series_2/series_2.exl >one_bad/series_2/series_2.exl
status 1 "$report" one_bad --force
holds err '1 of 3 spectra not fitted'
true_that 'not_fitted, the first' test "$(column one_bad/quality.tsv status | tr '\n' ' ')" = "not_fitted $(cell many/quality.tsv status 2) $(cell many/quality.tsv status 3) "
holds one_bad/quality.tsv 'Is the file cut?'

# What the reader of control files says of a faulty one is passed on.
cp -r run faulty
sed -i 's/^#1$/%1/' faulty/compact.par
status 0 "$report" faulty --force
page_holds faulty/report.html 'expected the word #1'

# Another fit's compact.par in the folder is noticed.
cp -r both/a other
sed -i 's/^1\t/1\t1/' other/compact.par
status 0 "$report" other --derive '#1+#2'
page_holds other/report.html 'compact.par holds other values'
true_that 'no error without covariance' test "$(cell other/derived.tsv error_1sd 1)" = n/a
true_that 'but a value' near "$(cell other/derived.tsv value 1)" 16 0.01
rm other/compact.par
status 0 "$report" other --force
holds err 'other/derived.tsv stays as an earlier report left it'
true_that 'how it ended is not known' test "$(cell other/quality.tsv status 1)" = fitted

# Wrong usage and files that are none.
for mistake in 'left+' 'left+nobody' '(left' 'left right' '=left' "'left" 'left%2'; do
    status 2 "$report" run --force --derive "$mistake"
done
holds err 'expected'
status 2 "$report" run --force --derive 'left+nobody'
holds err 'no entry "nobody" in pair'
status 3 "$report" no_such_folder
holds err 'no_such_folder: no such folder'
mkdir empty
status 3 "$report" empty
holds err 'no results in it'
status 3 "$report" run --spectrum nobody
status 3 "$report" run --names no_such_file --force
holds err 'no_such_file: cannot be opened; expected names of entries, one a line'
# damage FILE COMMAND: a copy of the run in which the file was changed is refused by name
damage() {
    rm -rf damaged
    cp -r run damaged
    (cd damaged && eval "$2")
    status 3 "$report" damaged -o elsewhere --force
    holds err "$1"
    lacks err 'terminate'
}
damage pair.exl 'head -c 500 pair.exl >x; mv x pair.exl'
damage pair.exl 'echo >pair.exl'
# shellcheck disable=SC2016 # for eval
damage pair.exl 'sed -i "5,\$s/Lorentzian/Gauss-like/" pair.exl'
damage pair.exl 'sed -i "4s/\t50\t/\tmany\t/; 4s/\t[0-9]*\t1\t2\t/\t1e30\t1\t2\t/" pair.exl'
damage pair.mat 'head -1 pair.mat >x; mv x pair.mat'
damage pair.res 'rm pair.res'
damage pair.fit 'head -c 800 pair.fit >x; mv x pair.fit'
damage pair.nln0 'head -c 8192 pair.nln0 >x; mv x pair.nln0'
damage pair.json 'echo "{ broken" >pair.json'
damage names.txt 'echo left >names.txt'
damage names.txt 'printf "left\nleft\n" >names.txt'
# --- a batch: 3 x 2 voxels, of which one was not fitted and one has no curve
mkdir batch
names='a b c d e f'
(. "$tree/tests/batch/two_lines.sh" && cd batch && two_lines_grid unused 1 1 1 && rm unused.nii)
sed -i 's/^n_pnts 128/n_pnts 16/; s/^noistp 32/noistp 8/; s/^Hz_p_p .*/Hz_p_p 10/; s/^@ 2 128/@ 2 16/
    s/1 0 127$/1 0 15/; s/ 601/ 60/; s/ 349/ 35/' batch/start.par
printf 'one\ntwo<\n' >batch/names.txt
echo '{"points": 16, "hz_per_point": 10}' >batch/sidecar.json
# spectrum n has n + 1 in the imaginary part of point 5, and its fit half of that; phase 90 degrees
awk 'BEGIN { for (n = 0; n < 6; n++) for (i = 0; i < 16; i++) print 0, i == 5 ? n + 1 : 0 }' | signal batch/spectra.f32
perl "$tree/tests/batch/hand_made_plan.pl" batch
{
    head -1 run/results.tsv
    for name in $names; do
        for entry in 1 2; do
            awk -F '\t' -v OFS='\t' -v n="$name" -v e=$entry 'NR == 1 { for (i = 1; i <= NF; i++) at[$i] = i; next } NR == 2 {
                for (i = 1; i <= NF; i++) $i = "n/a"
                $at["spectrum"] = n; $at["status"] = n == "c" ? "not_fitted" : "converged"; $at["entry"] = e
                if (n != "c") { $at["area"] = 10 * e; $at["area_error_percent_1sd"] = 7; $at["phase_degrees"] = 90 }
                if (n == "e" && e == 2) $at["warnings"] = "weak_area"
                print }' run/results.tsv
        done
    done
} >batch/results.tsv
{
    printf 'spectrum\tx\ty\tstatus\treason\tlevel\twarnings\tfit_quality\n'
    for name in $names; do
        case $name in
        c) printf 'c\t2\t0\tnot_fitted\t<all> zero\tred\tn/a\tn/a\n' ;;
        e) printf 'e\t1\t1\tconverged\tn/a\tred\tmisfit,weak_area\t3.5\n' ;;
        *) printf '%s\t0\t0\tconverged\tn/a\tnone\tn/a\t1.1\n' "$name" ;;
        esac
    done
} >batch/quality.tsv
awk 'BEGIN { for (n = 5; n >= 3; n--) for (i = 0; i < 16; i++) print 0, i == 5 ? (n + 1) / 2 : 0 }' | signal batch/pictures.f32
printf 'row\tnumber\tspectrum\tfit_quality\n0\t5\tf\t1.1\n1\t4\te\t3.5\n2\t3\td\t1.1\n' >batch/pictures.tsv
status 1 "$report" batch
holds out batch/overview.html
holds err '1 of 6 spectra not fitted'
page_holds batch/overview.html '&lt;all&gt; zero'
lacks batch/overview.html '<all>'
lacks batch/overview.html 'two<"'
true_that 'the worst fit comes first' sh -c "grep -o '<tr data-number=\"[0-9]*' batch/overview.html | head -1 | grep -q '\"4'"
perl -MJSON::PP -MMIME::Base64 -0ne '
    sub block { my ($id) = @_; $_ =~ /json" id="$id">(.*?)<\/script>/s or die $id; decode_json($1) }
    my ($v, $c) = (block("values"), block("curves"));
    my @area = unpack("f<*", decode_base64($v->{values}{area}[1]));
    "@area[0,1]" eq "20 20" or die "area @area";
    $area[2] != $area[2] or die "no NaN for a voxel that was not fitted";
    $v->{at}[4][0] == 1 && $v->{at}[4][1] == 1 or die "place";
    my $peak = sub { my ($curve) = @_; (unpack("s<*", decode_base64($curve->{values})))[5] * $curve->{unit} };
    abs($peak->($c->[4]{data}) - 5) < 1e-3 or die "data";
    abs($peak->($c->[4]{fit}) - 2.5) < 1e-3 or die "fit";
    "@{$v->{levels}}" eq "none none red none red none" or die "levels @{$v->{levels}}";
    my $said = $v->{warnings}{4};
    "@{$said->{misfit}}" eq "" && "@{$said->{weak_area}}" eq "1" && keys %$said == 2 or die "warnings";
    $v->{meanings}{weak_area} =~ /no better than 50 %/ or die "meanings";
    exists $c->[0]{fit} and die "a fit that was not kept";
    ' batch/overview.html
true_that 'values and curves of the page' test $? -eq 0
page_holds batch/overview.html '<span class="badge none">4 converged</span>'
page_holds batch/overview.html '<span class="badge red">1 converged: do not use as it is</span>'
page_holds batch/overview.html 'misfit, weak area'
status 4 "$report" batch
status 1 "$report" batch --one-file-up-to 5 --force
holds out batch/overview/index.html
true_that 'curves beside the page' grep -q '^varokelCurves(0,' batch/overview/curves_0.js
status 2 "$report" batch --spectrum a --force
holds err 'a batch'
status 3 "$report" batch --derive 'one+two' --force # this one has tables, but no fits
holds err 'not all spectra are fitted'
mv batch/quality.tsv kept.tsv
status 3 "$report" batch --force
holds err 'merge the batch first'
sed 's/3.5$/many/' kept.tsv >batch/quality.tsv
status 3 "$report" batch --force
holds err 'quality.tsv, line 6: "many"'
sed '3d; 2s/^a/z/' kept.tsv >batch/quality.tsv
status 3 "$report" batch --force
holds err 'spectrum z is not in manifest.json'
cut -f 1-7 kept.tsv >batch/quality.tsv
status 3 "$report" batch --force
holds err 'no column fit_quality'
# a fit that ran away has no quality: it is worse than all others, and was fitted all the same
awk -F '\t' -v OFS='\t' '$1 == "b" { $4 = "at_limit"; $8 = "n/a" } { print }' kept.tsv >batch/quality.tsv
status 1 "$report" batch --force
true_that 'without a quality: the worst' sh -c "grep -o '<tr data-number=\"[0-9]*' batch/overview.html | head -1 | grep -q '\"1'"
true_that 'one reason for not fitted' test "$(grep -c 'button type="button" class="pick"' batch/overview.html)" -eq 1
cp kept.tsv batch/quality.tsv
# the fits of a merge that wrote no digests are shown, those of another only as it wrote them
curve=$(head -c 128 batch/pictures.f32 | sha256sum | cut -d ' ' -f 1)
awk -F '\t' -v OFS='\t' -v d="$curve" '{ print $0, NR == 1 ? "sha256" : d }' batch/pictures.tsv | head -2 >x && mv x batch/pictures.tsv
status 1 "$report" batch --force
printf x | dd of=batch/pictures.f32 bs=1 seek=3 conv=notrunc 2>dd_said
status 3 "$report" batch --force
holds err 'batch/pictures.f32: the curve of f was changed since it was merged; merge the batch again'
rm batch/pictures.tsv
status 1 "$report" batch --force
printf x | dd of=batch/spectra.f32 bs=1 seek=200 conv=notrunc 2>dd_said
status 3 "$report" batch --force
holds err 'batch/spectra.f32: b is missing or was changed since the plan was made'
head -c 100 batch/spectra.f32 >x && mv x batch/spectra.f32
status 3 "$report" batch --force
holds err 'batch/spectra.f32: a is missing or was changed since the plan was made'
echo '{' >batch/manifest.json
status 3 "$report" batch --force
holds err 'manifest.json: holds no list of spectra'

# a batch as varokel-batch leaves it
if [ -x "$programs/varokel-batch" ]; then
    awk 'BEGIN { for (n = 1; n <= 3; n++) for (i = 0; i < 1024; i++) {
        d = n * 10 * exp(-3.14159265 * 20 * i / 5120); p = 2 * 3.14159265 * 100 * i / 5120
        print d * cos(p) + sin(i * i * n) * 0.05, -d * sin(p) + cos(i * i * n) * 0.05 } }' | signal three.fid.f32
    sed -e 's/^1 9 2550/1 9 2660/' -e 's/^2 1 2550/2 1 2660/' run/start.par >three.par
    printf 'first\nsecond\n' >names.txt
    status 0 "$programs/varokel-batch" plan three.fid.f32 --points 1024 --bandwidth 5120 --frequency 50 --nucleus 31P \
        --ppm-at-carrier 0 --axis falling --noise 10:200 --start three.par -o three
    status 0 "$programs/varokel-batch" run three
    status 0 "$programs/varokel-batch" merge three
    status 0 "$report" three
    true_that 'three curves with fits' test "$(grep -o '"data":{[^{]*},"fit":{' three/overview.html | wc -l)" -eq 3
    # without matplotlib the program that draws them says what is missing, and writes nothing
    status 1 python3 -B -c 'import runpy, sys; sys.modules["matplotlib"] = None; del sys.argv[0]; runpy.run_path(sys.argv[0], run_name="__main__")' \
        "$tree/python/examples/batch_pictures.py" series three none.svg
    holds err 'batch_pictures.py: matplotlib is not there; expected matplotlib and numpy (Debian: python3-matplotlib, python3-numpy)'
    true_that 'no picture' test ! -e none.svg
    # the pictures of the documentation are made from such tables
    if /usr/bin/python3 -c 'import matplotlib' 2>python.err; then
        export PYTHONDONTWRITEBYTECODE=1 MPLCONFIGDIR=$folder # no PYTHONPATH: it finds the package beside it
        pictures=$tree/python/examples/batch_pictures.py
        for picture in three.svg again.svg; do
            status 0 /usr/bin/python3 "$pictures" series three $picture --step 2 --unit s
        done
        true_that 'the same picture again' cmp three.svg again.svg
        holds three.svg '>time (s)<'
        holds three.svg '>second<'
        status 1 /usr/bin/python3 "$pictures" table three table.svg
        holds err 'three: directions index; a table has two'
    fi
fi

# ---- fits of spectra with one name, in folders of their own: each has its files and its rows ----
c13=$tree/examples/c13_kidney
status 0 "$programs/varokel-fit" "$c13/c13_kidney.fid.f32" "$c13/peaks.txt" --method exact --no-report -o days/monday
cp -r days/monday days/tuesday
cp -r days/monday days/wednesday
for ending in bin json; do mv days/wednesday/c13_kidney.$ending days/wednesday/rat.$ending; done
rm days/wednesday/fit_files.sha256
status 0 "$report" days
for name in monday.c13_kidney tuesday.c13_kidney rat; do
    true_that "$name has a picture" test -s "days/$name.fit.svg"
    holds days/report.html ">$name</a>"
    for file in results quality; do
        true_that "$name has rows in $file.tsv" grep -q "^$name	" days/$file.tsv
    done
done
true_that 'each its row' test "$(cut -f 1 days/quality.tsv | sort | uniq -d | wc -l)" -eq 0
status 0 "$report" days --judgement
holds out '"spectrum": "tuesday.c13_kidney"'
status 0 "$report" days --spectrum c13_kidney --spectrum c13_kidney --force
true_that 'both of this name, once' test "$(wc -l <days/quality.tsv)" -eq 3
for ending in bin json; do cp days/monday/c13_kidney.$ending days/wednesday/tuesday.c13_kidney.$ending; done
status 3 "$report" days --force
holds err 'two spectra would be called tuesday.c13_kidney'
finish
