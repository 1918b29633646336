// SPDX-License-Identifier: BSD-3-Clause
// mirrored_axis.h -- whether start values explain more of a spectrum on the mirrored axis
#pragma once

#include "files/spectra/complex_signal.h"

#include <complex>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace tools {

// Sum of squares that the curves take away from data, each with a complex amplitude of its own:
// b^H G^-1 b, with G the inner products of the curves and b_k = sum_i conj(u_k[i]) data[i].
//
// Given:
//   curves     each complex[points.size()]
//   products   their inner products, as inner_products has them
//   points     where of data the curves stand
// Notes:
//   1. A millionth of the largest diagonal element is added to the diagonal: curves that are the
//      same explain as much as one.
double explained_energy(const std::vector<complex_signal> &curves,
                        const std::vector<std::complex<double>> &products,
                        const std::vector<std::size_t> &points, const complex_signal &data);

// The spectrum as it is with the axis turned round: point i becomes the conjugate of point n - i.
// Curves fit it as their mirror images fit the spectrum.
complex_signal mirrored(const complex_signal &spectrum);

struct axis_advice {
    double here = 0.0, mirrored = 0.0; // explained parts of the sum of squares of all points
};

// Advice when the mirrored axis explains more than twice as much, and more than noise would:
// ten times the squares that as many complex amplitudes take from noise of this variance
// (of one channel). Nothing else.
std::optional<axis_advice> advise_mirrored(const std::vector<complex_signal> &curves,
                                           const std::vector<std::complex<double>> &products,
                                           const std::vector<std::size_t> &points,
                                           const complex_signal &spectrum, double noise_variance);

} // namespace tools
