// SPDX-License-Identifier: BSD-3-Clause
// measure_curves.h -- figures of a fit that its curves tell: signal to noise, quality before it
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/batch/fit_record.h"

#include <string>
#include <utility>
#include <vector>

namespace tools {

// What of a start file these figures need.
struct curve_measure {
    explicit curve_measure(const start_file &start);

    std::size_t entries = 0;
    long long points = 0;
    // of the last step that fits something, within the spectrum: first and last point
    std::vector<std::pair<long long, long long>> intervals;
    int kept = 0; // points of the time domain that it takes
    // As the fit quality counts points: last minus first, of the intervals of the first step.
    long long width = 0;
    bool has_lineshape = false;  // measured, or with coefficients: only the fit has such a model
    complex_signal common_model; // of start values that all fits share; else empty
};

// Model of the values in a start file, in the points of time that the last step takes. patterns:
// folder of its pattern files. Empty when it has a lineshape, or a pattern cannot be read.
complex_signal model_of_start(const curve_measure &measure, const start_file &start,
                              const std::string &patterns);

// Highest magnitude of the points first to last.
double highest_point(const complex_signal &signal, long long first, long long last);

// Highest magnitude of the model (bytes of RUN.fit) in the intervals, and of each entry's own
// spectrum (bytes of RUN.nln0), over the noise of the real part. Bytes of another length leave
// not-a-numbers.
void measure_snr(const curve_measure &measure, const std::string &fit,
                 const std::string &components, fit_record &record);

// Root mean square of the residual of the start values over the noise, in the points of the last
// step. Not a number when it is not known.
//
// Given:
//   folder   of the fit, with spectrum.org, and start.par with its patterns
//   noise    standard deviation of the real part [signal]
// Notes:
//   1. The chi-square before that the fit writes counts other points, so the model of the
//      start file is computed here; with a measured lineshape or one with coefficients that cannot
//      be.
double quality_before_fit(const curve_measure &measure, const std::string &folder, double noise);

} // namespace tools
