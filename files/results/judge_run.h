// SPDX-License-Identifier: BSD-3-Clause
// judge_run.h -- what a reader of a fit should know before its numbers
#pragma once

#include "files/results/run_result.h"

namespace tools {

// Limits of the report's judgement. Percentages are of one standard deviation, as the field's
// rule of thumb has them: above 20 % a value is uncertain, above 50 % it is hardly there.
static constexpr double far_search = 1.0; // bounds from the optimum; then the search is spoken of
static constexpr double amber_percent = 20.0, red_percent = 50.0;

enum class fit_status {
    converged,
    at_limit, // of its iterations, or a random search
    fitted,   // how the last step ended is not known
    not_fitted
};
const char *status_text(fit_status status);
const char *status_meaning(fit_status status);

struct fit_judgement {
    fit_status status;
    std::string reason; // empty for converged
};

fit_judgement judge_status(const run_result &run);

// Appends to run.warnings: limits of iterations, quality, noise, errors, odd parameters, and what
// log and sidecar say.
void judge_run(run_result &run);

} // namespace tools
