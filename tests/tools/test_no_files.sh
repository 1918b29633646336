#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# In the folder of a fit or of a batch, what is called as its files are may be a pipe, a link to a device, or a file that
# claims to be larger than any storage. Every program that reads the folder ends soon, by a status of the README, with a
# message where it is not 0 or 1.
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
batch=$programs/varokel-batch
report=$programs/varokel-report

# ends COMMAND...: within the time of many such runs, and as the README has it
ends() {
    local got=0
    expectations=$((expectations + 1))
    timeout 30 "$@" >out 2>err </dev/null || got=$?
    case $got in
    0 | 1) return ;;
    2 | 3 | 4) [ ! -s err ] || return 0 ;;
    esac
    failed "status $got: $*: $(head -c 300 err)"
}
spoil() { # HOW FILE
    case $1 in
    pipe) rm -f "$2" && mkfifo "$2" ;;
    device) ln -sf /dev/zero "$2" ;;
    itself) ln -sf "${2##*/}" "$2" ;;
    folder) rm -f "$2" && mkdir "$2" ;;
    claims) truncate -s 40G "$2" ;;
    columns) perl -e 'local $/; open F, "<", $ARGV[0]; my $t = <F>; open F, ">", $ARGV[0];
        $t =~ s/^(.*)$/$1 . "\t1" x 200000/gem; print F $t' "$2" ;;
    esac
}
# the storage that may be used, less than what any of the files claims; a sanitizer takes terabytes of addresses
(ulimit -v 3000000 && "$report" --version) >out 2>err && ulimit -v 3000000

# ---- a fit ----
c13=$tree/examples/c13_kidney
for method in both exact; do
    status 0 "$programs/varokel-fit" "$c13/c13_kidney.fid.f32" "$c13/peaks.txt" --json "$c13/c13_kidney.fid.json" \
        -o $method --method $method --no-report
done
for file in both/*; do
    for how in pipe device itself folder claims; do
        rm -rf run && cp -r both run
        spoil $how "run/${file##*/}"
        ends "$report" run --force
    done
done
for how in pipe device itself folder claims; do
    for ending in org fit res nln0 json; do
        rm -rf run && cp -r both run
        spoil $how run/c13_kidney.$ending
        ends "$programs/varokel-plot" run/c13_kidney --components -o picture.svg --force
    done
    for file in start.par names.txt c13_kidney.bin c13_kidney.json; do
        rm -rf run && cp -r exact run
        spoil $how run/$file
        ends "$programs/varokel-start" --from run/start.par -d run/c13_kidney.bin -o table.txt --force
        ends "$programs/varokel-simulate" run/start.par --noise 0.1 --seed 1 -o simulated.bin --force
        ends "$programs/varokel-compare" run exact
    done
done

# ---- a batch ----
two_lines_grid grid 3 2 1
if "$batch" plan grid.nii --start start.par --names names.txt --noise 0:31 -o whole 2>&1 | grep -q 'without the NIfTI'; then
    finish
    exit
fi
status 0 "$batch" run whole
status 0 "$batch" merge whole
status 0 "$report" whole
for file in manifest.json names.txt sidecar.json start.par spectra.f32 voxels.nii results.tsv quality.tsv pictures.tsv pictures.f32 \
    quality.json shards/0000_of_0001.part shards/0000_of_0001.curves shards/0000_of_0001.done; do
    true_that "$file is there" test -e whole/$file
    for how in pipe device itself folder claims columns; do
        rm -rf run && cp -r whole run
        spoil $how run/$file
        ends "$batch" status run
        ends "$report" run --force
        ends "$batch" run run --resume
        ends "$batch" merge run --force
    done
done
rm -rf run && cp -r whole run
spoil columns run/quality.tsv
status 3 "$report" run --force
holds err 'columns; expected up to 4096'
finish
