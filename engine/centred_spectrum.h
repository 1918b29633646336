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

#include "kernel/transform_plan.h"

#include <span>

namespace engine {

// w_0. A stored pattern has whole: the model halves its first point once it is shaped.
inline constexpr double half = 0.5, whole = 1.0;

// fid      any number of points, cut at `points` or filled with zeros up to it
// points   1, 2, 4 ... 2^24
// Errors: std::invalid_argument for other numbers of points; std::bad_alloc.
complex_signal spectrum_of_fid(std::span<const std::complex<double>> fid, int points,
                               double first_point_weight = half);
// The same with a plan for so many points.
complex_signal spectrum_of_fid(const kernel::transform_plan &plan,
                               std::span<const std::complex<double>> fid,
                               double first_point_weight = half);

// Undoes that. Errors: the same.
complex_signal fid_of_spectrum(std::span<const std::complex<double>> spectrum,
                               double first_point_weight = half);
// The same with a plan for as many points as the spectrum has.
complex_signal fid_of_spectrum(const kernel::transform_plan &plan,
                               std::span<const std::complex<double>> spectrum,
                               double first_point_weight);

} // namespace engine
