#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# A batch folder that somebody else wrote, or that was copied: nothing in it decides what is removed,
# written or indexed.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch

two_lines_grid grid 3 2 1
if "$batch" plan grid.nii --start start.par --noise 0:31 --method classic -o plan 2>&1 | grep -q 'without the NIfTI'; then
    echo "no NIfTI in this build: left out"
    exit 77
fi
cp -r plan good
status 0 "$batch" run good
status 0 "$batch" merge good

# ---- what a note names is not removed ----
mkdir -p victim/varokel-batch.0123456789abcdef tmp
echo precious >victim/varokel-batch.0123456789abcdef/file
chmod 700 victim/varokel-batch.0123456789abcdef
inode() { stat -c %d:%i "$1"; }
for path in "$PWD/victim/varokel-batch.0123456789abcdef" "$PWD/tmp/../victim/varokel-batch.0123456789abcdef"; do
    rm -rf noted && cp -r plan noted && mkdir noted/shards
    echo "$path" >noted/shards/0000_of_0001.scratch
    printf '{"machine":"%s","process":1,"started":1,"shards":"%s","scratch":"%s"}\n' \
        "$(hostname)" "$(inode noted/shards)" "$path" >noted/shards/0000_of_0001.lock
    status 0 "$batch" run noted --resume --scratch tmp
    true_that "the folder of a note stays" test -s victim/varokel-batch.0123456789abcdef/file
done
# not with a token of another batch either, and not through a link
printf 'varokel\nmachine %s\nfor 1:1 0000_of_0001\n' "$(hostname)" >victim/varokel-batch.0123456789abcdef/.owner
ln -s victim/varokel-batch.0123456789abcdef varokel-batch.fedcba9876543210
for path in victim/varokel-batch.0123456789abcdef varokel-batch.fedcba9876543210; do
    rm -rf noted && cp -r plan noted && mkdir noted/shards
    printf '{"machine":"%s","process":1,"started":1,"shards":"%s","scratch":"%s"}\n' \
        "$(hostname)" "$(inode noted/shards)" "$PWD/$path" >noted/shards/0000_of_0001.lock
    status 0 "$batch" run noted --resume --scratch tmp
    true_that "the folder of a note stays" test -s victim/varokel-batch.0123456789abcdef/file
done
true_that "nothing is left of these runs" test -z "$(ls -A tmp)"

# ---- a copy of a batch that runs ----
printf '#!/bin/sh\nwhile [ ! -e %s ]; do sleep 0.05; done\nexec %s "$@"\n' "$PWD/go_on" "$programs/varokel" >waiting
chmod +x waiting
cp -r plan live
"$batch" run live --varokel ./waiting --scratch tmp >first_out 2>first_err &
until [ -n "$(ls -d tmp/varokel-batch.*/0 2>/dev/null)" ]; do sleep 0.02; done
cp -r live copied
status 4 "$batch" run live --resume
holds err "another process works on this shard: $! on $(hostname) since"
status 0 "$batch" run copied --resume
holds err "this folder is a copy of one in which process $!"
: >go_on
wait $!
true_that "the first one was not disturbed: $(cat first_err)" test $? -eq 0
holds first_out "6 fitted, 0 failed"
for run in live copied; do
    status 0 "$batch" merge "$run"
    true_that "$run is whole" cmp good/results.tsv "$run/results.tsv"
done
true_that "nothing is left" test -z "$(ls -A tmp)"

# ---- links in the folder lead nowhere ----
for name in journal fitted lock; do
    rm -rf linked && cp -r plan linked && mkdir linked/shards
    printf 'a letter' >letter
    ln -s ../../letter "linked/shards/0000_of_0001.$name"
    status 4 "$batch" run linked --resume
    true_that "a $name that is a link: the letter stays" test "$(cat letter)" = 'a letter'
    rm "linked/shards/0000_of_0001.$name" && ln letter "linked/shards/0000_of_0001.$name"
    "$batch" run linked --resume >out 2>err
    [ "$name" = lock ] || true_that "a $name with two names: the letter stays" test "$(cat letter)" = 'a letter'
done
mkdir elsewhere
rm -rf linked && cp -r plan linked && ln -s ../elsewhere linked/shards
status 4 "$batch" run linked
holds err "no folder but a link"
cp -r good mapped && rm -r mapped/maps && ln -s ../elsewhere mapped/maps
status 4 "$batch" merge mapped --force
true_that "nothing was written there" test -z "$(ls -A elsewhere)"

# ---- numbers and names of a manifest ----
# edited NAME PERL: a plan whose manifest was changed, with a digest of the list that agrees
cat >edit.pl <<'PERL'
use strict;
use warnings;
use Digest::SHA qw(sha256_hex);
my ($file, $code) = @ARGV;
open my $in, '<:raw', $file or die;
my $text = do { local $/; <$in> };
my ($head, $list) = $text =~ /\A(.*? "spectra": \[\n)(.*)\z/s or die;
$_ = $head . $list;
eval $code;
die $@ if $@;
my ($size) = $list =~ /^(.*)$/m; # all lines are of one length
$size = length $size;
s{( "spectra": \[\n)(.*)( \]\n\}\n)\z}{$1 . join('', map { sprintf "%-*s\n", $size, s/ +\z//r } split /\n/, $2) . $3}se;
my ($lines) = / "spectra": \[\n(.*) \]\n\}\n\z/s or die;
my $all = join '', map { s/,? *\z//r } split /\n/, $lines;
my $digest = sha256_hex($all);
s/"list_sha256": "[^"]*"/"list_sha256": "$digest"/ unless $ARGV[2];
open my $out, '>:raw', $file or die;
print $out $_;
PERL
refused() { # MESSAGE PERL [keep]
    rm -rf edited && cp -r good edited
    perl edit.pl edited/manifest.json "$2" "${3:-}" || failed "edit: $2"
    for command in run merge status; do
        local args=()
        [ "$command" = run ] && args=(--force)
        [ "$command" = merge ] && args=(--force)
        status 3 "$batch" "$command" edited "${args[@]}"
        holds err "$1"
    done
    status 3 "$programs/varokel-report" edited --force
}
line='spectrum 2 does not stand where it should'
refused "$line" 's/("number":2,.*?"at":\[)2/${1}9/'
refused "$line" 's/("number":2,.*?"at":\[)2,0/${1}-1/'
refused "$line" 's/("number":2,.*?"name":")grid/${1}..\/d/'
refused "$line" 's/"number":2,/"number":7,/'
refused "spectrum 2 has a number twice" 's/"number":2,/"number":1,/'
refused "is not in the order of blocks and waves" 's/("number":2,.*?"block":)2/${1}1/'
refused "has a list of spectra that was changed" 's/("number":2,.*?"sha256":")./${1}f/; s/("number":3,.*?"sha256":")./${1}e/' keep
refused "item size is no whole number" 's/("name": "x",\s*"size": )3/${1}0/'
refused "item size is no whole number" 's/("name": "x",\s*"size": )3/${1}-4/'
refused "larger than any measurement" 's/("name": "[xy]",\s*"size": )\d/${1}2000000000/g'
refused "item points is no whole number" 's/^ "points": \d+/ "points": 2305843009213693952/m'
refused "item count is no whole number" 's/"count": \d+/"count": -1/'
refused "is longer or shorter than its list" 's/"count": \d+/"count": 7/'
refused "item line_bytes is no whole number" 's/"line_bytes": \d+/"line_bytes": 1/'
refused "item keep is no whole number" 's/"keep": \d+/"keep": 99/'
refused "item blocks is no whole number" 's/"blocks": \d+/"blocks": 0/'
refused "JSON nested deeper than 64 levels" 's/"guessed": \[\]/"guessed": @{["[" x 200000 . "]" x 200000]}/'
refused "no plain name" 's|"patterns": \[\]|"patterns": [{"file": "../../../out", "sha256": "@{["0" x 64]}"}]|'
refused "no plain name" 's|"patterns": \[\]|"patterns": [{"file": ".profile", "sha256": "@{["0" x 64]}"}]|'
refused "item method is none of classic, exact and both" 's/"method": "classic"/"method": "fast"/'
refused "item entry is no whole number from 1 to 2" 's/"windows": \[\]/"windows": [{"entry": 3, "parameter": 1, "from": 0, "to": 1}]/'
refused "item parameter is no whole number from 1 to 5" 's/"windows": \[\]/"windows": [{"entry": 1, "parameter": 0, "from": 0, "to": 1}]/'
refused "no list of intervals" 's/"windows": \[\]/"windows": [{"entry": 1, "parameter": 1, "from": 2, "to": 1}]/'
refused "item name is no name of letters, digits and _" 's/("name": ")x"/${1}=x"/'
refused "item name is no name of letters, digits and _" 's/("name": ")x"/${1}<b>"/'
refused "item entries is a list with a name twice" 's/"right"/"left"/'
refused "item format" 's/"format": \d+/"format": "two"/'
refused "item source is no description of a file" 's/"source": \{.*?\n \},/"source": 7,/s'
refused "item hz_per_point is not a number from 1e-30 to 1e30" 's/"hz_per_point": [^,\n]*/"hz_per_point": 1.7e308/'
refused "item spectrometer_mhz is not a number from 1e-30 to 1e30" 's/"spectrometer_mhz": [^,\n]*/"spectrometer_mhz": 1e-307/'
refused "item ppm_at_carrier is not a number from -1e30 to 1e30" 's/"ppm_at_carrier": [^,\n]*/"ppm_at_carrier": -1e308/'
refused "no valid JSON" 's/"right"/"r\xe9ght"/'
# names of axes that a table has as columns already
for name in y status spectrum; do
    rm -rf edited && cp -r good edited
    perl edit.pl edited/manifest.json "s/(\"name\": \")x\"/\${1}$name\"/"
    rm -r edited/shards
    "$batch" run edited >out 2>err
    status 3 "$batch" merge edited --force
    holds err "has an axis that is called as a column of its tables is: $name"
done
rm -rf edited && cp -r good edited
sed -i '1s/\tx\t/\ty\t/' edited/results.tsv
status 3 "$programs/varokel-report" edited --force
holds err 'edited/results.tsv: two columns are called y'
refused "manifest.json: cannot be opened" 's/.*/;/s if 0; system "rm edited/manifest.json; mkdir edited/manifest.json"; exit 0'
for file in names.txt voxels.nii sidecar.json start.par; do
    rm -rf edited && cp -r good edited
    printf 'x' >>"edited/$file"
    status 3 "$batch" merge edited --force
    holds err "edited/$file: was changed since the plan was made"
done

# ---- a marker and its part ----
marked() { # MESSAGE SED-COMMAND
    rm -rf edited && cp -r good edited
    sed -i "$2" edited/shards/0000_of_0001.done
    for command in merge status; do
        local args=()
        [ "$command" = merge ] && args=(--force)
        status 3 "$batch" "$command" edited "${args[@]}"
        holds err "$1"
    done
}
marked "item stop is no number of spectra" 's/"stop":6/"stop":600/'
marked 'item "stop" is "all"; expected a number' 's/"stop":6/"stop":"all"/'
marked "names other lines than its shard has" 's/"stop":6/"stop":5/'
marked "names other lines than its shard has" 's/"first":0/"first":1/'
marked "item first is no number of spectra" 's/"first":0/"first":-1/'
marked "counts other fits than its lines" 's/"fitted":6/"fitted":5/'
marked "is no digest" 's/"part_sha256":"../"part_sha256":"../'
marked "the marker of another plan" 's/"plan":"./"plan":"x/'
rm -rf edited && cp -r good edited
mv edited/shards/0000_of_0001.done edited/shards/0000_of_9999.done
status 3 "$batch" merge edited --force
holds err "no shard of this plan"
# a record with a state that there is not, and a check sum and a digest that agree with it
cat >state.pl <<'PERL'
use strict;
use warnings;
use Digest::SHA qw(sha256_hex);
my ($stem, $at, $value) = @ARGV;
local $/;
open my $in, '<:raw', "$stem.part" or die;
my $part = <$in>;
my $size = (length($part) - 64) / 6;
my $record = substr $part, 64, $size;
substr($record, $at, 4) = pack 'l<', $value;
substr($record, 36, 8) = "\0" x 8;
use integer;
my $sum = -3750763034362895579; # 0xcbf29ce484222325
$sum = ($sum ^ ord) * 1099511628211 for split //, $record;
substr($record, 36, 8) = pack 'q<', $sum;
substr($part, 64, $size) = $record;
open my $out, '>:raw', "$stem.part" or die;
print $out $part;
close $out;
open my $marker, '<:raw', "$stem.done" or die;
my $text = <$marker>;
my $digest = sha256_hex($part);
$text =~ s/"part_sha256":"[^"]*"/"part_sha256":"$digest"/;
open my $written, '>:raw', "$stem.done" or die;
print $written $text;
PERL
part_with() { # PLACE VALUE
    rm -rf edited && cp -r good edited
    perl state.pl edited/shards/0000_of_0001 "$1" "$2"
    "$batch" merge edited --force >out 2>err
}
part_with 16 1 # as it was: the script knows the format
true_that "the same part is taken" test $? -eq 0
for state in -1000 0 4 7; do
    rm -rf edited && cp -r good edited
    perl state.pl edited/shards/0000_of_0001 16 "$state"
    status 3 "$batch" merge edited --force
    holds err "0000_of_0001.part: damaged"
done
for ending in part curves; do
    rm -rf edited && cp -r good edited
    printf 'x' | dd of="edited/shards/0000_of_0001.$ending" bs=1 seek=20 conv=notrunc 2>/dev/null
    status 3 "$batch" merge edited --force
    holds err "0000_of_0001.$ending: missing or damaged"
    : >"edited/shards/0000_of_0001.$ending"
    status 3 "$batch" merge edited --force
done

# ---- --force for a plan replaces plans of ours only, and none that is at work ----
mkdir -p foreign/maps
echo '{"manifest_version": 3}' >foreign/manifest.json
echo mine >foreign/maps/world.png
status 4 "$batch" plan grid.nii --start start.par -o foreign --force
holds err "not the manifest of a plan of varokel-batch"
true_that "all of it stays" test -s foreign/maps/world.png
rm -f go_on && rm -rf live && cp -r plan live
"$batch" run live --varokel ./waiting --scratch tmp >first_out 2>first_err &
until [ -n "$(ls -d tmp/varokel-batch.*/0 2>/dev/null)" ]; do sleep 0.02; done
status 4 "$batch" plan grid.nii --start start.par -o live --force
holds err "a run or a merge works with this plan"
: >go_on
wait $!
holds first_out "6 fitted, 0 failed"
cp -r good again && echo mine >again/notes.txt && echo mine >again/maps/world.png
status 0 "$batch" plan grid.nii --start start.par --noise 0:31 -o again --force
true_that "what is not of the plan stays" test -s again/notes.txt -a -s again/maps/world.png
true_that "results of the plan before do not" test ! -e again/results.tsv -a ! -e again/shards -a ! -e again/maps/left_area.nii.gz
# a plan that is ended leaves nothing, and one that is killed stands in nobody's way
mkfifo pipe
begun() { # until it waits for its start file
    for _ in $(seq 200); do
        [ -n "$(ls -A stopped 2>/dev/null)" ] && return
        sleep 0.02
    done
    return 1
}
for signal in TERM HUP KILL; do
    "$batch" plan grid.nii --start /dev/fd/3 -o stopped >out 2>err 3<>pipe &
    begun || failed "the plan did not begin: $(cat err)"
    kill -s "$signal" $!
    wait $! 2>/dev/null
    [ "$signal" = KILL ] || true_that "nothing of it after $signal" test ! -e stopped
done
status 0 "$batch" plan grid.nii --start start.par --noise 0:31 -o stopped
true_that "and nothing of the killed one" test -z "$(ls -d stopped/.varokel-plan.* 2>/dev/null)"
# nor one that was killed before it had signed its folder
mkdir -p unsigned/.varokel-plan.0123456789abcdef
status 0 "$batch" plan grid.nii --start start.par --noise 0:31 -o unsigned
true_that "which nobody owns, so nobody removes it" test -d unsigned/.varokel-plan.0123456789abcdef
finish
