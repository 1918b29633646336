// SPDX-License-Identifier: BSD-3-Clause
// model_context.h -- the arguments of a model evaluation, bundled for routines that make many
#pragma once

#include "model/chi_square.h"

// References to what fnc takes besides the vector; the members mean what they mean there.
struct model_context {
    const int &ap, &nLines, &td_ap_trunc, &npar;
    double *par_copy;
    const parameter_record *fixpar;
    const double *xre, *xim;
    double *yre, *yim, *wre, *wim;
    const double *re_ref, *im_ref;
    double *r_lsf, *i_lsf;
    const double &frscl, &phi_1;
    const int &n_patterns;
    const double *pat;
    const int &spec, &complex, &weighting_type, &single_line, &lsf_coefs, &ref_line;
    const int *fit_lsf;
    const double *lookup;
    const int &ignore;

    double chi_square(double *x) const {
        return fnc(ap, nLines, td_ap_trunc, npar, x, par_copy, fixpar, xre, xim, yre, yim, wre, wim,
                   re_ref, im_ref, r_lsf, i_lsf, frscl, phi_1, n_patterns, pat, spec, complex,
                   weighting_type, single_line, lsf_coefs, ref_line, fit_lsf, lookup, ignore);
    }
};
