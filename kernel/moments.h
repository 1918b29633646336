// SPDX-License-Identifier: BSD-3-Clause
// moments.h -- moments over the time of the product of two complex signals
#pragma once

namespace kernel {

inline constexpr int most_moments = 5;

// Adds sum_i t[i]^m conj(a[i]) b[i] for m = 0 ... moments - 1.
//
// Given:
//   n                       a multiple of 8 (padded_values of kernel/sums.h)
//   moments                 1 to most_moments
//   t                       double[n]
//   a_re, a_im, b_re, b_im  double[n]
// Returned:
//   re, im                  double[moments]
// Notes:
//   Eight partial sums, term i in number i mod 8: the same bits on every machine.
void add_moments(int n, int moments, const double *t, const double *a_re, const double *a_im,
                 const double *b_re, const double *b_im, double *re, double *im);

} // namespace kernel
