// SPDX-License-Identifier: BSD-3-Clause
// report_page.h -- the report of one or more fitted spectra as a page, and its static picture
#pragma once

#include "results/derived_area.h"
#include "results/run_result.h"

#include <string>
#include <vector>

namespace tools {

struct reported_run {
    run_result run;
    std::vector<derived_area> derived;
};

// Errors: none for a run without results, which gets a section that says why.
std::string report_page(const std::vector<reported_run> &runs);

// Data, fit, components and residual in the fitted range, phases taken off.
std::string report_picture(const run_result &run);

// Real part of a signal of the run as the pictures show it.
std::vector<double> shown_curve(const run_result &run, const complex_signal &signal);

} // namespace tools
