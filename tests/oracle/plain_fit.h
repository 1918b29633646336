// SPDX-License-Identifier: BSD-3-Clause
// plain_fit.h -- the fit as it is defined, over the module state of run/state.h
//
// The functions mean what those of the same name mean in src/model, src/minimize and src/errors.
#pragma once

#include "run/types.h"

namespace plain {

void Calculate_td_VoigtCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                             const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                             const double &A, const double &f, const double &g, const double &phi0,
                             const double &L, const double &phi_1, double *out_re, double *out_im,
                             const double *re_ref, const double *im_ref, const double *r_lsf,
                             const double *i_lsf, const double &frscl, const double *lookup,
                             const int &ignore);
void Calculate_ifft_VoigtCurve(const int &entry, const int &ap, const int &td_ap_trunc,
                               const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                               const double &A, const double &f, const double &g,
                               const double &phi0, const double &L, const double &phi_1,
                               double *out_re, double *out_im, const double *re_ref,
                               const double *im_ref, const double *r_lsf, const double *i_lsf,
                               const double &frscl, const double *lookup, const int &ignore);
void Calculate_FD_Pattern(const int &p, const int &nLines, const int &ap, const int &td_ap_trunc,
                          const int &ref_line, const int *fit_lsf, const int &lsf_coefs,
                          const double *pat, const double &A, const double &f, const double &g,
                          const double &phi0, const double &L, const double &phi_1, double *out_re,
                          double *out_im, const double *re_ref, const double *im_ref,
                          const double *r_lsf, const double *i_lsf, const double &frscl,
                          const double *lookup, const int &ignore);
void ParArrayToLineShapeFunction(const int &lsf_coefs, const int &ap, const int &npar, double *xt,
                                 double *r_lsf, double *i_lsf, const double *lookup);
double fnc(const int &ap, const int &nLines, const int &td_ap_trunc, const int &npar, double *xt,
           double *par_copy, const parameter_record *fixpar, const double *xre, const double *xim,
           double *yre, double *yim, double *wre, double *wim, const double *re_ref,
           const double *im_ref, double *r_lsf, double *i_lsf, const double &frscl,
           const double &phi_1, const int &n_patterns, const double *pat, const int &spec,
           const int &complex, const int &weighting_type, const int &single_line,
           const int &lsf_coefs, const int &ref_line, const int *fit_lsf, const double *lookup,
           const int &ignore);
void spec_fnc(const int &ap, const int &nLines, const int &npar, double *xt, double *par_copy,
              const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
              const double *im_ref, double *r_lsf, double *i_lsf, const int &td_ap_trunc,
              const int &ref_line, const int *fit_lsf, const double &frscl, const double &phi_1,
              const int &lsf_coefs, const int &single_line, const double *lookup, const int &ignore,
              const int &n_patterns, const double *pat);
void turbo_spec_fnc(const int &ap, const int &nLines, double *xt, double *par_copy,
                    const parameter_record *fixpar, double *yre, double *yim, const double *re_ref,
                    const double *im_ref, const int &td_ap_trunc, double *r_lsf, double *i_lsf,
                    const int &ref_line, const int *fit_lsf, const double &frscl,
                    const double &phi_1, const int &lsf_coefs, const int &single_line,
                    const double *lookup, const int &ignore, const int &n_patterns,
                    const double *pat);
void entry_spectrum(const int &k, const int &type, const double *p, const int &ap,
                    const int &nLines, const int &td_ap_trunc, const int &ref_line,
                    const int *fit_lsf, const int &lsf_coefs, const double &phi_1, double *out_re,
                    double *out_im, const double *re_ref, const double *im_ref, const double *r_lsf,
                    const double *i_lsf, const double &frscl, const double *lookup,
                    const int &ignore, const int &n_patterns, const double *pat);
double chi_square_of(double *x);
double func(const double &x);
void dfnc(const double &f0, double *x, double *g); // prints nothing
void frprmn(const int &n,
            double *p); // prints nothing; along a direction, the product's line search
// Errors of vector, 5 (nLines + n_patterns) values each.
void error_bounds(double *vector, double *errors);

} // namespace plain
