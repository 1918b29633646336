// SPDX-License-Identifier: BSD-3-Clause
// error_bounds.cpp -- the Cramer-Rao bounds over the module state, in a short call
#include "errors/error_bounds.h"

#include "errors/ncr_mvb.h"
#include "run/state.h"

void compute_error_bounds() {
    const int N = pars_per_entry * (nLines + n_patterns);
    ncr_mvb(N, ap, sigma, par, fixpar, errpar, nfitted, nLines, td_ap_trunc, npar, par_copy, xre,
            xim, yre, yim, wre, wim, re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1, n_patterns, pat,
            spec, complex, weighting_type, single_line, lsf_coefs, ref_line, fit_lsf, lookup,
            ignore);
}
