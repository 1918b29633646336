// SPDX-License-Identifier: BSD-3-Clause
// verdict.h -- what may be said of a fit, and why
#pragma once

#include "engine/covariance.h"
#include "engine/search.h"

#include <string>
#include <vector>

namespace engine {

// In the order of their weight: the first that holds is the verdict, all that hold are reasons.
enum class finding {
    not_finished,   // the expected decrease is not used up
    degenerate,     // entries whose parameters cannot be told apart, or that are nothing
    several_minima, // another minimum is as good, with other areas
    moved,          // a line changed or took the place of another, or left the fitted points
    misfit,         // the residual is larger than the noise, or not white
    noise_wrong,    // the residual is smaller than the noise
    at_bound,       // parameters that stand at the edge of their window
    optimum
};
const char *name_of(finding what);

// number: expected decrease [noise_sd^2] for not_finished; difference of the sums of squares
// [noise_sd^2] for several_minima, both as told_by has them; quality_of, or the larger of the two
// whiteness figures, for misfit; quality_of for noise_wrong; else the number of entries.
struct reason {
    finding what;
    double number;
    std::vector<int> entries; // from 0
    std::string text;         // one sentence without the entries' names
};

struct verdict {
    finding what = finding::optimum;
    std::vector<reason> reasons; // empty for optimum
};

// Limits of the verdict; sums of squares and their differences are held against them as told_by has
// them.
struct verdict_limits {
    static constexpr double expected_decrease =
        1e-4;                                // [noise_sd^2], every parameter within 0.01 bound
    static constexpr double same_good = 4.0; // difference of two minima [noise_sd^2]
    static constexpr double misfit_quality = 1.5;
    static constexpr double noise_quality = 0.7;
    static constexpr double whiteness = 5.0; // standard deviations of runs test and lag 1
    // A line is at the place of another when it ended this much nearer to it than to its own;
    // places count as two when they are this many widths apart.
    static constexpr double at_place = 0.25;
    static constexpr double places_apart = 2.0;
    // A residual below either is not looked at for its shape. With a sum of squares of 1
    // [noise_sd^2] nothing that is left in it moves a parameter by its error; numbers of four bytes
    // are rounded by up to 2^-24 of each, in a decay more where it is larger.
    static constexpr double seen = 1.0;
    static constexpr double stored = 0x1p-23; // of the root mean square of the data
};

// Of white noise, both figures are normal with mean 0 and standard deviation 1: how much too few
// runs of one sign the residual has, and its correlation from one point to the next times the root
// of their number.
// Source: A. Wald, J. Wolfowitz, Ann. Math. Statist. 11 (1940) 147-162; G. E. P. Box, G. M.
//   Jenkins, Time Series Analysis, Holden-Day 1976, section 2.1.6.
struct whiteness {
    double runs, lag_1;
};
whiteness whiteness_of(const model &of, std::span<const double> residual);

// A sum of squares over the points of a spectrum, or a difference of two, as the measurement tells
// it: where zeros fill the decay, n points say what m that were measured do, m/n of the sum. What
// zeros do not fill stays as it is. [noise_sd^2]
double told_by(const model &of, double squares);

// Root of the reduced chi-square: sqrt(sum of squares / degrees of freedom), where points of a cut
// decay count for what they tell, and so do the squares of one that zeros fill: 1 when the residual
// is noise. Above the root mean square per point, which tables show.
double quality_of(const model &of, double sum_of_squares);

// Everything but several_minima, which needs other minima: add_minimum adds that.
verdict judge(const model &of, const minimum &found, const entry_covariance &covariance,
              std::span<const double> residual, std::span<const double> start);
void add_minimum(verdict &to, double difference, std::vector<int> entries);

} // namespace engine
