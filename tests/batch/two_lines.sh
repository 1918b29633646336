# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=bash
#
# two_lines.sh -- sourced: two_lines_grid NAME NX NY NZ [faulty] makes NAME.nii, start.par and
# names.txt in the working folder. tree is the source tree.
# shellcheck disable=SC2154
two_lines_grid() {
    perl "$tree/tests/batch/small_grid.pl" "$2" "$3" "$4" 128 "${5:-}" |
        perl "$tree/tests/tools/fid_file.pl" nifti dims="$2,$3,$4,128" dwell=0.001 mhz=51.7 nucleus=31P >"$1.nii"
    cat >start.par <<'TEXT'
version_3
n_pnts 128
noistr 0
noistp 32
nLines 2
lsfcfs 0
phi__1 0.0
Hz_p_p 7.8125
f__tol 1e-7
fit_mo 1
verbos 0
showli 1
clcerr 1
sg_idl none
ranges 2
ignore 0
pattrn 0
   algor trunc  ampli  frequ  width  phase  voigt  lsfft  wtype  convo  niter  cmplx   n_int   min   max
@ 2 128 1 1 1 1 1 0 1 0 60 2 1 0 127
number       area          frequency      gausswidth        phase        lorentzwidth
1 1.2 601 0 0 1.2
2 1.8 349 0 0 1.4
#1
lsffit 0
2 0 1.2
2 0 601
2 1 0
2 0 0
2 0 1.2
#2
lsffit 0
2 0 1.8
2 0 349
2 2 0
2 1 0
2 0 1.4
lsf_coefs
end_of_lsf
TEXT
    printf 'right\nleft\n' >names.txt
}
