// SPDX-License-Identifier: BSD-3-Clause
// ncr_mvb.h -- Cramer-Rao minimum variance bounds of the fitted parameters
//
// The arguments after nLines are those of fnc (model/chi_square.h), in its order.
#pragma once

#include "run/types.h"

// Error of every line and pattern parameter, docs/model.md equations 13 to 15.
//
// Given:
//   N        int                   5 (nLines + n_patterns)
//   sigma    double                noise standard deviation of the real part      [signal]
//   par      double[N]             fitted parameters, internal units; unchanged on return
//   fixpar   parameter_record[N]   fixed_to 0 = free
//   wre, wim double[ap]            a point counts when wre + wim is not 0
// Returned:
//   errpar   double[N]             2 sigma sqrt(Cov), unit of its parameter; a dependent parameter
//                                  has the error of the one it follows, a dependent line area that
//                                  error times the area ratio, a fixed one 0
//   nfitted  int                   free parameters
// Errors: a singular matrix gives infinite or not-a-number errors.
// Source: S. M. Kay, Fundamentals of Statistical Signal Processing: Estimation Theory, 1993, ch. 3.
void ncr_mvb(const int &N, const int &ap, const double &sigma, double *par,
             const parameter_record *fixpar, double *errpar, int &nfitted, const int &nLines,
             const int &td_ap_trunc, const int &npar, double *par_copy, const double *xre,
             const double *xim, double *yre, double *yim, double *wre, double *wim,
             const double *re_ref, const double *im_ref, double *r_lsf, double *i_lsf,
             const double &frscl, const double &phi_1, const int &n_patterns, const double *pat,
             const int &spec, const int &complex, const int &weighting_type, const int &single_line,
             const int &lsf_coefs, const int &ref_line, const int *fit_lsf, const double *lookup,
             const int &ignore);

// Derivative of the model spectrum with respect to par[index], dependent parameters following:
// a forward difference with the relative step 1e-7 (the absolute one for a parameter that is 0).
//
// Returned: dre, dim double[ap]; par as it was.
void f_new_complex_select(const int &ap, const int &index, const int &N, double *par, double *dre,
                          double *dim, const int &nLines, const int &td_ap_trunc, const int &npar,
                          double *par_copy, const parameter_record *fixpar, const double *xre,
                          const double *xim, double *yre, double *yim, double *wre, double *wim,
                          const double *re_ref, const double *im_ref, double *r_lsf, double *i_lsf,
                          const double &frscl, const double &phi_1, const int &n_patterns,
                          const double *pat, const int &spec, const int &complex,
                          const int &weighting_type, const int &single_line, const int &lsf_coefs,
                          const int &ref_line, const int *fit_lsf, const double *lookup,
                          const int &ignore);

// Element access with a message for an index outside the matrix; as in matrix_lib.h.
void push_2d_element(double *a, const int &n, const int &row, const int &col, const double &value);
double pop_2d_element(const double *a, const int &n, const int &row, const int &col);
