// SPDX-License-Identifier: BSD-3-Clause
// linear_fit.h -- areas and phases of curves of known shape, by linear least squares
#pragma once

#include "files/spectra/complex_signal.h"

#include <complex>
#include <cstddef>
#include <vector>

namespace tools {

// sum_i conj(u_k[i]) u_l[i], for all pairs.
std::vector<std::complex<double>> inner_products(const std::vector<complex_signal> &curves);

// Area and phase of an entry, and what they hang on.
struct estimated_entry {
    std::size_t area_root = 0; // entry that the area follows, with this factor
    double area_factor = 1.0;
    bool area_known = false;
    double area = 0.0;          // overwritten unless known
    std::size_t phase_root = 0; // entry that the phase follows, at this distance [degrees]
    double phase_offset = 0.0;
    bool phase_known = false;
    double phase = 0.0; // [degrees], overwritten unless known
};

// Fits the sum of area exp(i phase) curve to data.
//
// Given:
//   products   inner products of the curves
//   overlap    sum_i conj(u_k[i]) data[i]
// Returned: area and phase of every entry; the roots whose area came out negative although their
//           phase was free, which got 1 % of the largest one.
// Notes:
//   1. Entries that share an unknown phase first get a complex amplitude each; the phase is the
//      argument of their sum, strong ones counting more. The areas are then fitted with it.
//   2. Inverted lines are found where their phase is known; a free phase makes areas positive.
std::vector<std::size_t> estimate_areas(const std::vector<std::complex<double>> &products,
                                        const complex_signal &overlap,
                                        std::vector<estimated_entry> &entries);

} // namespace tools
