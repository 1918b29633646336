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

// The context of the arguments of these names: by name, so that no two can be swapped.
#define MODEL_CONTEXT_HERE                                                                         \
    {                                                                                              \
        .ap = ap, .nLines = nLines, .td_ap_trunc = td_ap_trunc, .npar = npar,                      \
        .par_copy = par_copy, .fixpar = fixpar, .xre = xre, .xim = xim, .yre = yre, .yim = yim,    \
        .wre = wre, .wim = wim, .re_ref = re_ref, .im_ref = im_ref, .r_lsf = r_lsf,                \
        .i_lsf = i_lsf, .frscl = frscl, .phi_1 = phi_1, .n_patterns = n_patterns, .pat = pat,      \
        .spec = spec, .complex = complex, .weighting_type = weighting_type,                        \
        .single_line = single_line, .lsf_coefs = lsf_coefs, .ref_line = ref_line,                  \
        .fit_lsf = fit_lsf, .lookup = lookup, .ignore = ignore                                     \
    }
