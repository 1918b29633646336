// SPDX-License-Identifier: BSD-3-Clause
// curve.h -- one curve of the model, alone: docs/model.md, equations 1 to 4
#pragma once

#include "engine/fit_problem.h"

#include "kernel/decay.h"

#include <span>

namespace engine {

// What an entry adds to the decay: a line, or what the decay of a pattern is multiplied by, which
// shifts and broadens it.
//
// Given:
//   p            frequency [points] from the left edge, widths [points], phase [degrees]; the area
//                is not read. A parameter that the type does not have is 0
//   factor       complex amplitude without that phase; of a line with phase 0 its area
//   extra_decay  per point, added to that of the Lorentzian width
kernel::decay decay_of(const values_of_entry &p, const acquisition &when, bool is_pattern,
                       std::complex<double> factor, double extra_decay = 0.0);

// Centred spectrum of an entry with area 1.
//
// Given:
//   pattern  decay of `points` values; empty for a line
// Errors: std::invalid_argument for points that no transform has; std::bad_alloc.
complex_signal unit_curve(const values_of_entry &p, const acquisition &when,
                          std::span<const std::complex<double>> pattern);

// A centred spectrum without the points of its decay that curves do not have: the first `ignored`
// ones and those from `kept` on. Errors: the same.
complex_signal cut_as_curves(const complex_signal &spectrum, const acquisition &when);

} // namespace engine
