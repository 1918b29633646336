// SPDX-License-Identifier: BSD-3-Clause
// align_averages.h -- frequency and phase of repeated FIDs, before their mean
//
// Of each FID d the frequency f and the phase phi are those that bring it nearest to the mean r of
// all, by least squares in the time domain (J. Near et al., Magn. Reson. Med. 73 (2015) 44-50).
// Since a turn changes no magnitude, that is where |sum_k conj(d_k) r_k exp(-2 pi i f k)| is
// largest: a transform finds the place, whatever the start.
#pragma once

#include "files/spectra/complex_signal.h"

#include <vector>

namespace tools {

struct average_shift {
    double frequency = 0.0; // that the FID was turned by [cycles per point]
    double phase = 0.0;     // [degrees]
    bool aligned = false;   // false: too weak to be aligned, left as it was
};

// Turns them in place; returns by how much.
//
// Given:
//   fids   of one length, 8 points or more
//   most   largest shift of frequency [cycles per point]
// Notes:
//   1. Points are those in which the mean stands above its noise, a sixteenth at least.
//   2. An FID whose product with the mean is below four times its noise stays: noise that is turned
//      towards the mean would look like signal.
//   3. Shifts have a mean of 0, so the axis stays where it was.
std::vector<average_shift> align_averages(std::vector<complex_signal> &fids, double most);

// Of FIDs of one length, one at least.
complex_signal mean_of(const std::vector<complex_signal> &fids);

} // namespace tools
