// SPDX-License-Identifier: BSD-3-Clause
// fit_options.h -- command line of varokel-fit
#pragma once

#include "files/measured/import_spectra.h"
#include "files/results/water_item.h"
#include "common/command_line.h"

#include <string>
#include <vector>

namespace tools {

struct fit_options {
    input_options input;
    spectrum_options spectrum;
    std::string peaks, output, program;
    std::vector<std::string> derive;
    water_options water;
    int jobs = 1;
    unsigned limit = 0;
    std::string method = "both"; // or exact, classic
    int starts = 0;
    bool report = true;
    bool look = false; // a page of what would be fitted, and no fit
};

// Own options, and those of the import in a group of their own.
void add_fit_options(option_parser &app, fit_options &own);

} // namespace tools
