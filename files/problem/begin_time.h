// SPDX-License-Identifier: BSD-3-Clause
// begin_time.h -- the begin time that would explain a misfit
//
// An FID that is measured from a time T after the excitation on has a first-order phase: a line at
// the frequency f is turned by 360 degrees f T. A model without it, whose lines share their phase,
// leaves a misfit.
#pragma once

#include "engine/optimum.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

struct begin_time_hint {
    double seconds = 0.0;   // of the first point after the excitation, above 0
    double explained = 0.0; // share of what the sum of squares is above the noise's, 0.5 to 1
    bool several = false;   // a longer begin time does so as well
};

// Longest begin time that is looked for [s].
inline constexpr double longest_begin_time = 5e-3;

// The shortest begin time that takes away more than half of what the residual has beyond the noise.
// The lines are fitted once more, each with a phase of its own; where these phases lie on a
// straight line of the frequency, the fit with the links of the problem and the slope as
// first-order phase is held against the one without.
//
// Given:
//   problem  without first-order phase
//   without  its optimum
//   watch    ends the search for a begin time, too
// Returned: none where that is not so, for an optimum that is no misfit, for fewer than two lines
//   (entries that are patterns do not count), and where the watch says no.
// Errors: none.
std::optional<begin_time_hint> suggest_begin_time(const engine::fit_problem &problem,
                                                  const engine::optimum &without,
                                                  engine::model_workspace &workspace,
                                                  const engine::search_watch &watch);

// The one with the median time. Given: at least one.
begin_time_hint middle_of(std::vector<begin_time_hint> hints);

// "a begin time of 1.2 ms would explain 96 % of the misfit: --begin-time 0.0012".
std::string begin_time_text(const begin_time_hint &hint);

} // namespace tools
