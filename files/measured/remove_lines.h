// SPDX-License-Identifier: BSD-3-Clause
// remove_lines.h -- takes the lines of a stretch of frequencies, such as residual water, out of an
// FID
//
// The FID is described as a sum of damped oscillations a_k z_k^m, whose z_k are the eigenvalues of
// the shift within the signal space of its Hankel matrix; those in the stretch are subtracted
// (H. Barkhuijsen, R. de Beer, D. van Ormondt, J. Magn. Reson. 73 (1987) 553-557; of water: W. W.
// F. Pijnappel et al., ibid. 97 (1992) 122-134). The signal space is found by iterating on a few
// vectors, with products by transforms (N. Halko, P. G. Martinsson, J. A. Tropp, SIAM Rev. 53
// (2011) 217-288).
#pragma once

#include "files/spectra/complex_signal.h"

#include "kernel/transform_plan.h"

#include <complex>
#include <vector>

namespace tools {

struct oscillation {
    double frequency = 0.0; // from the carrier [cycles per point], -0.5 to 0.5
    double damping = 0.0;   // of the amplitude, per point
    std::complex<double> amplitude;
};

// Oscillations that describe an FID together, strongest first.
//
// Given:
//   fid     complex[n], 16 points or more; up to 8192 of them are used to find frequencies
//   order   how many, at most a quarter of the points
// Notes:
//   1. The same FID gives the same bits: the vectors begin from a fixed sequence.
//   2. What would grow is kept at its first amplitude.
std::vector<oscillation> oscillations_of(const complex_signal &fid, int order);

// Subtracts the lines from the first points of an FID, which has at least so many.
void subtract_lines(complex_signal &fid, std::size_t measured,
                    const std::vector<oscillation> &lines);

// Subtracts those from low to high [cycles per point] from the FID, and returns them.
//   measured   points before zeros that were filled in; what follows stays as it is
std::vector<oscillation> remove_lines(complex_signal &fid, std::size_t measured, double low,
                                      double high, int order);

struct removed_stretch_lines {
    std::vector<oscillation> lines;
    int order = 0;                // of the description of the FID
    double left_over_noise = 0.0; // root mean square of what is left in the stretch, per channel
    double taken = 0.0;           // of the power of the FID, as a share
    double added = 0.0; // when all orders added to the power of the FID, and it stays as it was:
                        // the least of it, as a share
};

// Takes the lines from low to high [cycles per point] out of an FID: with the order that is asked
// for, else (0) with the first of 25, 40 and 60 that leaves no more than twice the noise there, or
// the one that leaves least. Lines that overlap nearly cancel, and those of them outside the
// stretch stay: what takes more power in than out is no removal, and is not done.
//   plan       of the spectrum, at least as long as the FID
//   measured   points before zeros that were filled in
removed_stretch_lines remove_stretch(const kernel::transform_plan &plan, complex_signal &fid,
                                     std::size_t measured, double low, double high, int asked);

} // namespace tools
