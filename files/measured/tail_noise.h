// SPDX-License-Identifier: BSD-3-Clause
// tail_noise.h -- the noise of an FID, from where its signal has decayed
#pragma once

#include "files/spectra/complex_signal.h"

#include <optional>

namespace tools {

struct noise_estimate {
    double sd = 0.0;             // of the real or imaginary part of a point [signal]
    double relative_error = 0.0; // of sd, one standard deviation
};

// Standard deviation of the real or imaginary part of the noise of a point: that of the third
// differences of the last quarter of the points before filled zeros, over sqrt(20). A line at f
// that is left there weighs (2 pi f dwell time)^3 as much as in the points: 0.02 % at 100 Hz and
// 12 kHz. The differences are correlated by -3/4, 3/10 and -1/20, so N points say it to
// sqrt(2.31 / N) / 2. White noise is assumed; of filtered noise it is an amount to compare alike
// files by.
//
// Returns nothing where fewer than 16 points are left, or all differences are 0.
std::optional<noise_estimate> tail_noise(const complex_signal &fid);

} // namespace tools
