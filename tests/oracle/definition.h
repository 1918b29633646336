// SPDX-License-Identifier: BSD-3-Clause
// definition.h -- the model by its definition, in extended precision
//
// Sums of exp, cos and sin point by point, and the discrete Fourier transform as a double sum.
// Shares nothing with src/model but the module state that says which model is meant. For tests:
// slow (n^2), plain, and accurate to about 1e-18 n.
#pragma once

#include <complex>
#include <vector>

namespace definition {

typedef long double real;
typedef std::complex<long double> value;
typedef std::vector<value> signal;

// X[j] = (1/n) sum_k x[k] exp(-2 pi i j k / n)
signal transform(const signal &x);

// Parameters with all dependent ones filled in, from the free ones of x: equation by equation as
// docs/model.md has them. x has 5 N + 2 lsf_coefs values.
std::vector<real> linked(const std::vector<real> &x);

// Model spectrum of the linked parameters p, ap points.
signal model(const std::vector<real> &p);

// The spectrum of entry k (1-based) alone, p as in model.
signal component(const std::vector<real> &p, int k);

// Weighted sum of squares of the present data, weights, weighting_type and complex.
real chi_square(const signal &y);

// Analytic derivative of the model by parameter i of x (a line or pattern parameter), the
// dependent parameters following.
signal derivative(const std::vector<real> &x, int i);

// The derivatives by the free parameters (fixed_to == 0), in increasing order.
std::vector<signal> derivatives(const std::vector<real> &x);

// Fisher matrix of parameters with these derivatives, points and channels as the weights and
// complex say.
std::vector<std::vector<real>> fisher(const std::vector<signal> &rows);

// Inverse of a symmetric positive definite matrix (Cholesky). Empty when it is not definite.
std::vector<std::vector<real>> inverse(const std::vector<std::vector<real>> &a);

std::vector<real> widened(const double *x, int n);

} // namespace definition
