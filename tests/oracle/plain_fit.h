// SPDX-License-Identifier: BSD-3-Clause
// plain_fit.h -- the fit of lines as it is defined, over the module state of run/state.h
//
// The functions mean what those of the same name mean in src/model, src/minimize and src/errors;
// they print nothing and change no state but the parameters of frprmn and what it says of itself.
// Without patterns, lineshapes and reference lines.
#pragma once

#include <complex>
#include <vector>

namespace plain {

typedef std::vector<std::complex<double>> signal;

// Area, frequency [points], Gaussian width, phase [degrees] and Lorentzian width [points], in the
// order of a line's parameters, as a decay of that many points, of which those from `kept` on are
// zero.
signal decay(const double *line, int points, int kept);

double chi_square_of(const double *x);
void dfnc(double f0, const double *x, double *g);
void frprmn(const int &n, double *p); // along a direction, the product's line search
// Errors of vector, 5 nLines values each.
void error_bounds(const double *vector, double *errors);

} // namespace plain
