// SPDX-License-Identifier: BSD-3-Clause
// finish_fits.h -- the exact fit of spectra whose folders are prepared
#pragma once

#include "files/start/start_file.h"

#include "varokel-fit/run_fits.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

// A fit with the start file that its folder holds; none when there is a reason in why_not.
struct prepared_fit {
    planned_fit planned;
    std::optional<start_file> start;
    std::vector<std::string> guesses, warnings; // of the start values
    std::string not_exact;                      // set afterwards: why the exact fit has no result
    std::string search_failed; // set afterwards: what the log of a search without result ends with
};

// Fits each from its start file and, where searched, from the end of that search too, up to jobs at
// a time. Into its folder: result.par and optimum.json. What cannot be fitted stands in not_exact,
// and without a search in the why_not of the plan.
void finish_fits(std::vector<prepared_fit> &fits, bool searched, int starts, int jobs);

} // namespace tools
