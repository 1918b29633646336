// SPDX-License-Identifier: BSD-3-Clause
// vectors.h -- element by element, over vectors held as two arrays
#pragma once

#include <complex>

namespace engine {

// n values of each array; out must not overlap the others.

// out += factor (re + i im)
void add_turned(int n, const double *re, const double *im, std::complex<double> factor,
                double *out_re, double *out_im);
// out += factor (re + i im)
void add_times(int n, const double *re, const double *im, double factor, double *out_re,
               double *out_im);
// out += first x + second y
void add_scaled(int n, const double *x, double first, const double *y, double second, double *out);
// re + i im times `by`, in place
void multiply(int n, double *re, double *im, const std::complex<double> *by);
// out = ((i + d) / n)^power (re + i im)
void times_time(int n, int power, double d, const double *re, const double *im, double *out_re,
                double *out_im);
void clear(int n, double *re, double *im);

} // namespace engine
