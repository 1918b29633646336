// SPDX-License-Identifier: BSD-3-Clause
// ran_minimize.h -- random search with narrowing around the best vector found
#pragma once

#include "run/types.h"

// Own 15-bit generator, the same sequence on every platform: a linear congruential one,
// state = 214013 state + 2531011 mod 2^32, of which bits 16 to 30 are given (0 ... 32767).
void seed_random(unsigned seed);
int random_15_bit();

// Searches the parameter ranges of fixpar (coefficients: -2 to 2) for a smaller chi-square.
//
// Given:
//   N, K        int     samples of a pass; passes of small improvement (below 0.05 %) until the end
//   par         double[npar + 2 lsf_coefs]   start vector, inside the ranges of its free ones
//   par_bu      double[same]                 overwritten
//   amp_fit ... voigt_fit   a parameter is searched when its fixed_to is 0 and its switch not 0
//   lsf_fit_enable          1 = the coefficients are searched
//   par_ranges              3 = the ranges of dependent parameters follow the result
//   others as for fnc
// Returned: par, the best vector; fixpar ranges when par_ranges is 3.
// Errors:   a start vector outside its ranges ends the run with status 1.
// Notes:
//   1. The generator is seeded by nLines: the same input gives the same search.
//   2. Every message comes whatever verbose says.
void Ran_ML_Minimize(const int &N, const int &K, const int &ap, const int &nLines,
                     const int &td_ap_trunc, const int &npar, double *par, double *par_bu,
                     double *par_copy, parameter_record *fixpar, const double *xre,
                     const double *xim, double *yre, double *yim, double *wre, double *wim,
                     const double *re_ref, const double *im_ref, double *r_lsf, double *i_lsf,
                     const double &frscl, const double &phi_1, const int &n_patterns,
                     const double *pat, const int &spec, const int &complex,
                     const int &weighting_type, const int &single_line, const int &lsf_coefs,
                     const int &ref_line, const int *fit_lsf, const double *lookup,
                     const int &ignore, const int &amp_fit, const int &freq_fit,
                     const int &width_fit, const int &phase_fit, const int &voigt_fit,
                     const int &lsf_fit_enable, const int &par_ranges);

// Prints npar + 2 lsf_coefs values of v.
void ShowVector(const int &npar, const int &lsf_coefs, const double *v);
void CopyVector(const int &n, const double *src, double *dst);
