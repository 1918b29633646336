// SPDX-License-Identifier: BSD-3-Clause
// noise_window.h -- a stretch of a spectrum that holds noise only, with its spread
#pragma once

#include "engine/fit_problem.h"

#include <utility>
#include <vector>

namespace engine {

struct noise_window {
    long long first = 0;             // first point
    long long stop = 0;              // one behind the last point
    double sd_re = 0.0, sd_im = 0.0; // about the mean of the stretch, as the fit computes it
};

// The spread of points first to stop - 1 of the spectrum, one at least.
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

struct measured_stretch {
    long long first, stop; // first point, one behind the last
    double variance,
        variance_re; // of a channel about a straight line; of the real one about its mean
};

// The same for spectra that share a window, of one length: what is quiet in one of them may hold
// the lines of the others. Variances are taken over the level of each spectrum's own noise and
// averaged, so that strong and weak spectra count alike, and noise less: of 64 spectra a stretch
// that is 3 % above the others holds signal. A stretch in which any one spectrum stands above its
// noise further than noise ever does is out, unless that leaves none. Of a single spectrum it is
// the one of noise_stretch.
class shared_stretch_search {
  public:
    void add(const complex_signal &spectrum);
    // Spectra that said something: not those without spread, such as a voxel of zeros.
    long long spectra() const { return spectra_; }
    // First point and one behind the last; without spectra both are 0.
    std::pair<long long, long long> stretch() const;

  private:
    long long points_ = 0, spectra_ = 0;
    std::vector<measured_stretch> sums_; // of relative variances
    std::vector<double> largest_;        // relative variance of all spectra, by stretch
};

} // namespace engine
