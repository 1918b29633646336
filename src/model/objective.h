// SPDX-License-Identifier: BSD-3-Clause
// objective.h -- the model and its chi-square over the module state, in short calls
//
// The long argument lists of chi_square.h with the run's own variables.
#pragma once

#include "run/types.h"

// Chi-square of parameter vector x (5 N + 2 lsf_coefs doubles; dependent values are filled in).
// Leaves the model of x in yre/yim and x in par_copy.
double chi_square_of(double *x);

// Chi-square along the search line: of pcom + x xicom (the first ncom values; the rest is 0).
double func(const double &x);

// Model of vector p into re, im (ap points each, cleared first): the curve of each entry by its
// own parameters, links not applied.
void ParToSignal(const double *p, double *re, double *im);

// The curve of entry k (1-based) of vector p alone, as spectrum, into re, im (ap points), with its
// first n_ignore points in time at zero.
void component_of(const double *p, const int &k, const int &n_ignore, double *re, double *im);
