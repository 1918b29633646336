// SPDX-License-Identifier: BSD-3-Clause
// combine_coils.h -- one FID from those of several receive coils
//
//   y = s^H Psi^-1 x / (s^H Psi^-1 s)
//
// s: sensitivities of the coils, Psi: covariance of their noise. Of all linear combinations that
// keep the signal this has the least noise (P. B. Roemer et al., Magn. Reson. Med. 16 (1990)
// 192-225; of spectra by their first points: M. A. Brown, ibid. 52 (2004) 1207-1213; of whitened
// spectra by their first singular vector: C. T. Rodgers, M. D. Robson, ibid. 63 (2010) 881-891).
#pragma once

#include "files/spectra/complex_signal.h"

#include <complex>
#include <utility>
#include <vector>

namespace tools {

// Covariance of the noise of coils, row-major; a coil's own variance where there are fewer than
// four samples a coil, or where the whole cannot be inverted.
struct coil_noise {
    std::vector<std::complex<double>> covariance; // coils x coils
    bool diagonal = false;
    long long first = 0, stop = 0; // of the stretch of the centred spectrum that it is of
};

// Given:
//   fids   [average][coil]  FIDs of one length, 8 points or more
// Notes:
//   1. The noise is that of a stretch of the spectra that is free of signal in all coils.
coil_noise noise_of_coils(const std::vector<std::vector<complex_signal>> &fids);

// The weights of x in y. Sensitivities are the first eigenvector of the whitened coils over the
// first eighth of the FIDs. They have a mean square of 1, so y has the scale of the mean coil, and
// y has the phase of the coil with the largest sensitivity.
//   coils  [coil]  FIDs, means over the averages
std::vector<std::complex<double>> weights_of_coils(const std::vector<complex_signal> &coils,
                                                   const coil_noise &noise);

// sum over the coils of weight times FID; all FIDs are of one length, with a weight each.
complex_signal combined_fid(const std::vector<complex_signal> &coils,
                            const std::vector<std::complex<double>> &weights);

// Highest magnitude of the spectrum over the standard deviation of a channel in a stretch of it.
double signal_to_noise(const complex_signal &fid, long long first, long long stop);

} // namespace tools
