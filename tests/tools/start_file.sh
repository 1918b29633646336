# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=bash
#
# start_file.sh -- sourced: start_file WORD... prints a start file of version 3
#
#   KEY=VALUE        a setting; what is not given stands below
#   pattern=FILE     of one of the last entries, in their order
#   '@ 2 128 ...'    a step of the strategy
#   '2 9 640/1 ...'  an entry: type, area, frequency, Gaussian width, phase, Lorentzian width; a link
#                    stands behind a slash
start_file() {
    local keys='n_pnts noistr noistp nLines lsfcfs phi__1 Hz_p_p f__tol fit_mo verbos showli clcerr sg_idl ranges ignore pattrn'
    local -A of=([noistr]=0 [lsfcfs]=0 [phi__1]=0.0 [f__tol]=1e-7 [fit_mo]=1 [verbos]=0 [showli]=1 [clcerr]=1
        [sg_idl]=none [ranges]=2 [ignore]=0 [pattrn]=0)
    local word value link entries=0 patterns='' steps='' values='' knowledge=''
    for word; do
        case $word in
            '@ '*) steps+="$word"$'\n' ;;
            pattern=*)
                patterns+="${word#*=}"$'\n'
                of[pattrn]=$((of[pattrn] + 1))
                ;;
            *=*) of[${word%%=*}]=${word#*=} ;;
            *)
                entries=$((entries + 1))
                values+=$entries
                knowledge+="#$entries"$'\nlsffit 0\n'
                for value in ${word#* }; do
                    link=0
                    [ "${value%/*}" = "$value" ] || link=${value#*/}
                    values+=" ${value%/*}"
                    knowledge+="${word%% *} $link ${value%/*}"$'\n'
                done
                values+=$'\n'
                ;;
        esac
    done
    of[nLines]=$((entries - of[pattrn]))
    printf 'version_3\n'
    for word in $keys; do printf '%s %s\n' "$word" "${of[$word]}"; done
    printf '%s' "$patterns"
    printf '   algor trunc  ampli  frequ  width  phase  voigt  lsfft  wtype  convo  niter  cmplx   n_int   min   max\n%s' "$steps"
    printf 'number       area          frequency      gausswidth        phase        lorentzwidth\n%s' "$values"
    printf '%slsf_coefs\nend_of_lsf\n' "$knowledge"
}
