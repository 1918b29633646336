// SPDX-License-Identifier: BSD-3-Clause
// objective.cpp -- the model and its chi-square over the module state, in short calls
#include "model/objective.h"

#include "model/chi_square.h"
#include "model/vector_lib.h"
#include "run/state.h"
#include "run/storage.h"

double chi_square_of(double *x) {
    return fnc(ap, nLines, td_ap_trunc, npar, x, par_copy, fixpar, xre, xim, yre, yim, wre, wim,
               re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1, n_patterns, pat, spec, complex,
               weighting_type, single_line, lsf_coefs, ref_line, fit_lsf, lookup, ignore);
}

double func(const double &x) {
    const scratch<double> xt(pars_per_entry * (nLines + n_patterns) + 2LL * lsf_coefs,
                             " Memory requested to store xt[] in func() is not available\n");
    if (xt == nullptr) return 0.0;
    for (int j = 0; j < ncom; ++j) xt[j] = pcom[j] + x * xicom[j];
    return chi_square_of(xt);
}

void component_of(const double *p, const int &k, const int &n_ignore, double *re, double *im) {
    const int at = pars_per_entry * (k - 1);
    entry_spectrum(k, fixpar[at].type, p + at, ap, nLines, td_ap_trunc, ref_line, fit_lsf,
                   lsf_coefs, phi_1, re, im, re_ref, im_ref, r_lsf, i_lsf, frscl, lookup, n_ignore,
                   n_patterns, pat);
}

void ParToSignal(const double *p, double *re, double *im) {
    const scratch<double> curve_re(ap, "Memory requested for re[] in ParToSignal not available\n");
    const scratch<double> curve_im(ap, "Memory requested for im[] in ParToSignal not available\n");
    Zero_Vector(ap, re);
    Zero_Vector(ap, im);
    if (curve_re == nullptr || curve_im == nullptr) return;
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        component_of(p, k, ignore, curve_re, curve_im);
        Sum_Vector(ap, re, re, curve_re);
        Sum_Vector(ap, im, im, curve_im);
    }
}
