// SPDX-License-Identifier: BSD-3-Clause
// fit_windows.h -- windows of a table of peaks and what the fit made of them
#pragma once

#include "files/results/run_result.h"

#include <string>
#include <vector>

namespace tools {

// Whether the parameter ended at an edge of its window.
bool is_at_edge(const optimum_record &optimum, const optimum_record::window &of);

// A window in the units that are shown: ppm for lines where they are known, else Hz (from the
// carrier; a shift for patterns), FWHM in Hz, degrees. An edge that is none is infinite.
struct shown_window {
    int entry = 0; // from 1
    const char *parameter = "", *unit = "";
    double low = 0.0, high = 0.0, value = 0.0;
    double sd = 0.0; // of the value, one standard deviation; none where it is not above 0
    bool active = false;
};

// Of an exact fit; values are as the fit has them, before equivalent signs are chosen.
std::vector<shown_window> shown_windows(const run_result &run);

} // namespace tools
