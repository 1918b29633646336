#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
. "$(dirname "$0")/harness.sh"
. "$tree/tests/batch/two_lines.sh"
bids=$programs/varokel-bids

common_habits varokel-bids
two_lines_grid grid 3 2 1
"$programs/varokel-import" grid.nii --voxel 2,1,0 -o one >out 2>err
if grep -q 'without the NIfTI' err; then
    echo "no NIfTI in this build: left out"
    exit 0
fi
mv grid.nii a.nii
two_lines_grid single 1 1 1
mkdir -p data/sub-01/ses-1/mrs data/sub-02/mrs data/sub-03/anat
printf '{"Name": "trial", "BIDSVersion": "1.10.0", "DatasetDOI": "doi:10.0/trial"}' >data/dataset_description.json
gzip -c a.nii >data/sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_mrsi.nii.gz
cp single.nii data/sub-02/mrs/sub-02_svs.nii
gzip -nc single.nii >data/sub-02/mrs/sub-02_run-2_svs.nii.gz
echo '{"PatientName": "Mustermann"}' >data/sub-02/mrs/sub-02_svs.json
chmod -R a-w data
before=$(find data -type f -exec cksum {} + | sort)

status 0 "$bids" data made participant --start start.par
true_that "the data set is as it was" test "$(find data -type f -exec cksum {} + | sort)" = "$before"
for file in dataset_description.json \
    sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_desc-fit_mrsi.tsv sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_desc-fit_mrsi.json \
    sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_desc-quality_mrsi.tsv \
    sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_desc-rightArea_mrsi.nii.gz \
    sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_desc-rightArea_mrsi.json \
    sub-02/mrs/sub-02_desc-fit_svs.tsv sub-02/mrs/sub-02_run-2_desc-fit_svs.tsv; do
    true_that "$file" test -s "made/$file"
done
holds made/dataset_description.json '"GeneratedBy"'
holds made/dataset_description.json '"DatasetType": "derivative"'
holds made/dataset_description.json '"DOI": "doi:10.0/trial"'
holds made/sub-02/mrs/sub-02_desc-fit_svs.json '"bids:raw:sub-02/mrs/sub-02_svs.nii"'
true_that "twelve rows and a heading for the grid" test "$(wc -l <made/sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_desc-fit_mrsi.tsv)" -eq 13
true_that "the same signal packed gives the same numbers" cmp \
    <(cut -f2- made/sub-02/mrs/sub-02_desc-fit_svs.tsv) <(cut -f2- made/sub-02/mrs/sub-02_run-2_desc-fit_svs.tsv)
true_that "no name of a person" test -z "$(grep -rl Mustermann made)"
true_that "no maps of one voxel" test ! -e made/sub-02/mrs/sub-02_desc-rightArea_svs.nii.gz

status 4 "$bids" data made participant --start start.par --participant-label 02
holds err "--force replaces it"
status 0 "$bids" data made participant --start start.par --participant-label sub-02 --force -j 2
status 3 "$bids" data made participant --start start.par --participant_label 09
holds err "no sub-09"
status 3 "$bids" one made participant --start start.par
holds err "no dataset_description.json"
status 2 "$bids" data made group --start start.par
chmod -R u+w data
# a participant, a session or mrs/ that is a link: results have the names of the data set, outside of it
mkdir -p outside && cp -r data/sub-02 outside/real && before=$(find data outside | sort)
ln -s "$PWD/outside/real" data/sub-77
mkdir data/sub-78 && ln -s "$PWD/outside/real/mrs" data/sub-78/mrs
status 0 "$bids" data linked participant --start start.par --participant-label 77 78
true_that "derivatives of both" test -n "$(ls linked/sub-77/mrs/*_desc-fit_svs.tsv)" -a -n "$(ls linked/sub-78/mrs/*_desc-fit_svs.tsv)"
rm data/sub-77 && rm -r data/sub-78
true_that "nothing was written beside the data" test "$before" = "$(find data outside | sort)"
mkdir led && ln -s "$PWD/data/sub-02" led/sub-02
status 4 "$bids" data led participant --start start.par --participant-label 02
holds err "no folder but a link"
true_that "nothing was written into the data set" test "$before" = "$(find data outside | sort)"
# one file that cannot be read: the others go on
printf 'x' >data/sub-02/mrs/sub-02_svs.nii
status 1 "$bids" data made2 participant --start start.par
holds err "sub-02_svs.nii"
true_that "the others are there" test -s made2/sub-02/mrs/sub-02_run-2_desc-fit_svs.tsv

# what is there stays, what is missing is done, and nothing of another kind counts as there
cp single.nii data/sub-02/mrs/sub-02_svs.nii
stamp=$(stat -c %y made2/sub-02/mrs/sub-02_run-2_desc-fit_svs.tsv)
status 0 "$bids" data made2 participant --start start.par --resume
true_that "the missing one is there" test -s made2/sub-02/mrs/sub-02_desc-fit_svs.tsv
true_that "the other was kept" test "$stamp" = "$(stat -c %y made2/sub-02/mrs/sub-02_run-2_desc-fit_svs.tsv)"
status 4 "$bids" data made2 participant --start start.par --resume --method classic
holds err 'was made with another Method'
echo '# changed' >>start.par
status 4 "$bids" data made2 participant --start start.par --resume
holds err 'was made with another StartFileSHA256'
status 2 "$bids" data made2 participant --start start.par --resume --force

# two files of one name have one name for their results; a name too long for them is refused; others go on
gzip -c single.nii >data/sub-02/mrs/sub-02_svs.nii.gz
cp single.nii "data/sub-02/mrs/sub-02_acq-$(printf 'a%.0s' {1..230})_svs.nii"
status 1 "$bids" data made3 participant --start start.par --participant-label 02
holds err 'a .nii and a .nii.gz of this name'
true_that "neither of the two" test ! -e made3/sub-02/mrs/sub-02_desc-fit_svs.tsv
true_that "the other one" test -s made3/sub-02/mrs/sub-02_run-2_desc-fit_svs.tsv

# names of maps hold letters and digits alone: where two entries would be called alike, each keeps maps of its own,
# the values of which are those of its rows
printf 'Cr+PCr\nCrPCr\n' >names.txt
status 0 "$bids" data alike participant --start start.par --names names.txt --participant-label 01
place=alike/sub-01/ses-1/mrs/sub-01_ses-1_acq-csi_desc
for k in 1 2; do
    label=CrPCrArea entry=Cr+PCr
    [ $k -eq 1 ] || label=CrPCrAreax2 entry=CrPCr
    holds "${place}-${label}_mrsi.json" "\"Description\": \"${entry}_area of the fit of"
    # six voxels as float32 at the end of the image, x fastest, as the rows of the table are
    gzip -dc "${place}-${label}_mrsi.nii.gz" | tail -c 24 | od -An -v -t f4 -w4 | awk '{ printf "%.4g\n", $1 }' >of_map
    awk -F '\t' -v name="$entry" 'NR == 1 { for (i = 1; i <= NF; ++i) c[$i] = i; next }
        $c["name"] == name { printf "%.4g\n", $c["area"] }' "${place}-fit_mrsi.tsv" >of_table
    true_that "six voxels of $entry" test "$(wc -l <of_map)" -eq 6
    true_that "$entry: $(paste -sd ' ' of_map) in the map, $(paste -sd ' ' of_table) in the table" cmp of_map of_table
done
true_that 'the two differ' test "$(cksum <"${place}-CrPCrArea_mrsi.nii.gz")" != "$(cksum <"${place}-CrPCrAreax2_mrsi.nii.gz")"
# maps of entries that this fit has not are of an earlier one, which is said, and they stay
printf 'Cr+PCr\nNAA\n' >names.txt
status 0 "$bids" data alike participant --start start.par --names names.txt --participant-label 01 --force
holds err 'desc-CrPCrAreax2_mrsi.nii.gz: is of an earlier fit, not of this one'
true_that 'it stays' test -s "${place}-CrPCrAreax2_mrsi.nii.gz"
lacks err 'desc-NAAArea'
lacks err 'desc-fit'
# a folder that cannot be listed is no empty one
mkdir -p data/sub-04/mrs && cp single.nii data/sub-04/mrs/sub-04_svs.nii
rm data/sub-04/mrs/sub-04_svs.nii && rmdir data/sub-04/mrs && ln -s mrs data/sub-04/mrs
status 3 "$bids" data unread participant --start start.par --participant-label 04
holds err 'sub-04'
true_that 'nothing was made' test ! -e unread/sub-04
rm -r data/sub-04
# a file that is none: it is named, and the others go on
rm -f data/sub-02/mrs/*
mkfifo data/sub-02/mrs/sub-02_run-1_svs.nii
ln -s /dev/zero data/sub-02/mrs/sub-02_run-2_svs.nii.gz
cp single.nii data/sub-02/mrs/sub-02_run-3_svs.nii
status 1 timeout 60 "$bids" data odd participant --start start.par --participant-label 02
holds err 'sub-02_run-1_svs.nii'
holds err 'sub-02_run-2_svs.nii.gz'
true_that 'the file among them' test -s odd/sub-02/mrs/sub-02_run-3_desc-fit_svs.tsv
finish
