// SPDX-License-Identifier: BSD-3-Clause
// engine_problem.h -- problems for the tests of the engine
#pragma once

#include "engine/fit_problem.h"
#include "engine/model.h"

#include <vector>

namespace support {

// The problem in the module state as the engine has it: free parameters start at par, the fitted
// points are those with weights. Channels 0 to 2, weights 1.
engine::fit_problem engine_problem_of_state();

// Index in par of the parameter that a column moves.
int index_in_par(const engine::column &column);

struct made_up_line {
    double area, frequency, width; // Lorentzian, phase 0; frequency and width in points
};

// A line with area, frequency and width free, phase fixed.
engine::entry free_line(const made_up_line &line,
                        engine::line_type type = engine::line_type::lorentzian);

// Lines on `points` points, starts at the truth, white noise of noise_sd per channel from a seed;
// the spectrum is the engine's own model.
engine::fit_problem problem_with_lines(int points, const std::vector<made_up_line> &lines,
                                       double noise_sd, std::uint64_t seed);

// Puts the model of the problem at its starts, plus noise, into its spectrum.
void simulate(engine::fit_problem &problem, std::uint64_t seed);

} // namespace support
