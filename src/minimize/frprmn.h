// SPDX-License-Identifier: BSD-3-Clause
// frprmn.h -- conjugate gradient minimizer
#pragma once

// Minimizes the chi-square over the first n values of p by conjugate gradients (Polak-Ribiere),
// over the module state: at most itmax iterations, fractional tolerance ftol, brent_itmax
// iterations a line search.
//
// Given:    n  dimension: npar + 2 lsf_coefs
// Returned: p  the minimum found; minimum, niter, ncom, pcom, xicom of run/state.h
// Source:   E. Polak, G. Ribiere, Rev. Fr. Inform. Rech. Oper. 16 (1969) 35-43;
//           W. H. Press et al., Numerical Recipes, 2nd ed. 1992, section 10.6.
void frprmn(const int &n, double *p);
