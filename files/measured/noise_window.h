// SPDX-License-Identifier: BSD-3-Clause
// noise_window.h -- a stretch of a spectrum that holds noise only, with its spread
#pragma once

#include "files/spectra/transform.h"

namespace tools {

struct noise_window {
    long long first = 0;             // first point
    long long stop = 0;              // one behind the last point
    double sd_re = 0.0, sd_im = 0.0; // about the mean of the stretch, as the fit computes it
};

noise_window noise_of_stretch(const complex_signal &spectrum, long long first, long long stop);

// The stretch of n/8 points (stepped by n/16) with the smallest spread about its mean, which is
// what the fit will take for the noise: the slope of a line's tail counts there, so it counts here.
//
// Notes:
//   1. Receivers suppress the edges of the band, where the noise is smaller than under the lines.
//      So the outermost n/8 points at each side count only if the inner stretches are all
//      more than three times as wide, that is, if there are lines in all of them.
//   2. The smallest of several leans low by a few per cent; a stretch that is known is better.
noise_window quietest_stretch(const complex_signal &spectrum);

} // namespace tools
