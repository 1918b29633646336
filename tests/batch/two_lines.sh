# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=bash
#
# two_lines.sh -- sourced: two_lines_grid NAME NX NY NZ [faulty] makes NAME.nii, start.par and
# names.txt in the working folder. tree is the source tree.
# shellcheck disable=SC2154
. "$tree/tests/tools/start_file.sh"
two_lines_grid() {
    perl "$tree/tests/batch/small_grid.pl" "$2" "$3" "$4" 128 "${5:-}" |
        perl "$tree/tests/tools/fid_file.pl" nifti dims="$2,$3,$4,128" dwell=0.001 mhz=51.7 nucleus=31P >"$1.nii"
    start_file n_pnts=128 noistp=32 Hz_p_p=7.8125 '@ 2 128 1 1 1 1 1 0 1 0 60 2 1 0 127' \
        '2 1.2 601 0/1 0 1.2' '2 1.8 349 0/2 0/1 1.4' >start.par
    printf 'right\nleft\n' >names.txt
}
