// SPDX-License-Identifier: BSD-3-Clause
// noise_window.h -- a stretch of a spectrum that holds noise only, with its spread
#pragma once

#include "engine/fit_problem.h"

namespace engine {

struct noise_window {
    long long first = 0;             // first point
    long long stop = 0;              // one behind the last point
    double sd_re = 0.0, sd_im = 0.0; // about the mean of the stretch, as the fit computes it
};

noise_window noise_of_stretch(const complex_signal &spectrum, long long first, long long stop);

// A stretch of n/8 points (stepped by n/16) that holds noise only, and has the spread that the
// noise has on average: it is what the fit will take for the noise, of which it uses the real part.
//
// Method: stretches are taken from the quietest up, as long as the next one is no further above the
// median of those before than noise is. The median of all of them, about straight lines (the tail
// of a line slopes), is the level of the noise; the stretch is the one that is nearest to it about
// its mean in the real part. The quietest of all would be low, by 7 % with 1024 points and 15 %
// with 256.
//
// Notes:
//   1. Receivers suppress the edges of the band, where the noise is smaller than under the lines.
//      So the outermost n/8 points at each side count only if the inner stretches are all
//      more than three times as wide, that is, if there are lines in all of them.
//   2. Where every stretch holds signal, the level is that of the quietest ones, and too high.
noise_window noise_stretch(const complex_signal &spectrum);

} // namespace engine
