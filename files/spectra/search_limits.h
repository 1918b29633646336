// SPDX-License-Identifier: BSD-3-Clause
// search_limits.h -- what the search of varokel takes: docs/limits.md
//
// The fitter holds every start file against the same numbers in storage of its own
// (src/run/capacity.h). The engine has none of them but the number of points.
#pragma once

#include "kernel/transform_plan.h"

namespace tools::search_limits {

inline constexpr int points = kernel::transform_plan::most_points; // a power of two
inline constexpr int pattern_points = 4096; // of a spectrum to which patterns are fitted
inline constexpr int entries = 49;          // lines and patterns
inline constexpr int parameters = 350;      // five of each entry, two of a lineshape coefficient
inline constexpr int steps = 19;            // of the strategy
inline constexpr int intervals = 9;         // of a step
// Sizes of its storage, above what a fit takes: a file with more is damaged.
inline constexpr int stored_patterns = 4096;
inline constexpr int stored_coefficients = 4096;
inline constexpr int pattern_name = 199; // bytes

} // namespace tools::search_limits
