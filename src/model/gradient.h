// SPDX-License-Identifier: BSD-3-Clause
// gradient.h -- gradient of the chi-square with respect to the parameter vector
#pragma once

// One-sided difference quotient of the chi-square, one free parameter of a switched-on group at
// a time, over the module state.
//
// Given:
//   f0   double                        chi-square of x
//   x    double[5 N + 2 lsf_coefs]     point; changed during the call, restored before return
// Returned:
//   g    double[5 N + 2 lsf_coefs]     gradient; 0 for fixed, dependent and switched-off ones
// Notes:
//   1. On entry yre, yim must hold the model of x and par_copy must equal x; so they do on return.
//   2. The step is x / deriv_p; a parameter of magnitude 1e-7 or less is set to 1 / deriv_p.
//   3. A line whose start frequency lies at a point without weight 1 keeps gradient 0.
//   4. Prints the fit quality, and by verbose the gradient.
void dfnc(const double &f0, double *x, double *g);
