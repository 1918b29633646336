// SPDX-License-Identifier: BSD-3-Clause
// centred_spectrum.h -- from a free induction decay to the spectrum that is fitted, and back
//
//   S[j] = (1/n) sum_k w_k x_k exp(-2 pi i (j - n/2) k / n),   w_0 = 1/2, w_k = 1 else
//
// The first point counts half because the decay jumps from 0 to it there and a Fourier sum
// converges to the middle of a jump: docs/model.md, equation 5. The area of a line is its amplitude
// in the decay at time 0.
#pragma once

#include "engine/fit_problem.h"

#include <span>

namespace engine {

// fid      any number of points, cut at `points` or filled with zeros up to it
// points   a power of two from 2 to 2^24
// Errors: std::invalid_argument for other numbers of points; std::bad_alloc.
complex_signal spectrum_of_fid(std::span<const std::complex<double>> fid, int points);

// Undoes that.
complex_signal fid_of_spectrum(std::span<const std::complex<double>> spectrum);

} // namespace engine
