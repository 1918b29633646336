// SPDX-License-Identifier: BSD-3-Clause
// start_problem.h -- between start files and the problems of the engine
//
// A start file says values in Hz, links by a pair of values, and a strategy; a problem says points,
// factors and offsets, and what is free. docs/file_formats/start_value_file.md has the one,
// engine/fit_problem.h the other.
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/start/start_file.h"
#include "files/start/values_in_points.h"

#include "engine/fit_problem.h"

#include <array>
#include <span>
#include <string>
#include <vector>

namespace tools {

enum class freedom {
    by_links,   // what has no link is free, as the fitter counts parameters for its bounds
    by_strategy // of these, what some step of the strategy frees; windows hold
};

// What a problem takes beside the start file.
struct problem_data {
    complex_signal spectrum;              // centred, as measured
    double noise_sd = 1.0;                // of a channel
    std::vector<complex_signal> patterns; // decays, in the order of the pattern entries
    complex_signal measured_lineshape;    // FID, of fit mode 2
};

// The problem that the last step which fits anything has. Errors: none; what a problem cannot be is
// told by the engine.
engine::fit_problem problem_of(const start_file &start, problem_data data, freedom free);

// Why the engine cannot fit this file, with what can; empty when it can.
std::string why_not_exact(const start_file &start);

// The decays of a file's patterns, looked for in folders in this order.
// Errors: bad_input for what is not there or cannot be read.
std::vector<complex_signal> patterns_of(const start_file &start,
                                        const std::vector<std::string> &folders);

// Standard deviation of the real part in the file's noise window, about its mean, as the fitter has
// it; 1 for an empty window. [signal]
double noise_sd_of(const start_file &start, const complex_signal &spectrum);

// The file with other values: its parameters and the values that its links are made of.
start_file with_values(const start_file &start,
                       std::span<const engine::values_of_entry> values_in_points,
                       std::span<const std::complex<double>> lineshape);

// Values of a file in points.
std::vector<engine::values_of_entry> values_in_points(const start_file &start);

} // namespace tools
