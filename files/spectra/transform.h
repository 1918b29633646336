// SPDX-License-Identifier: BSD-3-Clause
// transform.h -- Fourier transform of the companion programs, and the spectrum that a fit reads
#pragma once

#include <complex>
#include <vector>

namespace tools {

typedef std::vector<std::complex<double>> complex_signal;

bool is_power_of_two(long long n);

// In place, X[j] = sum_k x[k] exp(-2 pi i j k / n), unscaled. n is a power of two.
void forward_transform(complex_signal &x);

// The centred spectrum of an FID: point 0 multiplied by first_point_weight, forward transform,
// divided by n, rotated left by n/2 (the carrier is at point n/2).
//
// Notes:
//   1. Weight 0.5 makes the spectrum that a fit reads: the trapezoidal rule at the jump of a causal
//      signal, which leaves no constant offset. The area of a line is then its FID amplitude at
//      time 0.
//   2. Weight 1 is for patterns, whose first point the model halves itself.
complex_signal centred_spectrum(complex_signal fid, double first_point_weight);

// Undoes centred_spectrum: the FID that it turns into this spectrum.
complex_signal fid_of_centred_spectrum(complex_signal spectrum, double first_point_weight);

} // namespace tools
