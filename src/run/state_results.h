// SPDX-License-Identifier: BSD-3-Clause
// state_results.h -- with what outcome
//
// Owner  the driver (run/fit_spectrum.cpp) and, for minimum and niter, the minimizers.
// Valid  from the stage named; cf_non_int_main clears them.
#pragma once

extern double sigma, sigma_im; // noise sd of the real and the imaginary part  [signal]  stage 5
extern double scalefactor;     // mean magnitude per entry                     [signal]  stage 6
extern double chi_before;      // chi-square of the start values, unscaled signal        stage 6
extern double minimum;         // chi-square of the last minimization or evaluation
extern double chi_after;       // weighted chi-square after the fit                      stage 7
extern double true_chi;        // the same with unit weights                             stage 7
extern int dummy1;             // weighting_type while true_chi is computed
extern int niter;              // iterations of the last conjugate gradient run
extern int nfitted;            // free parameters, set with the error bounds
