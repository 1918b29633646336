// SPDX-License-Identifier: BSD-3-Clause
// report_details.h -- tables of the page of a fit that are unfolded when they are asked for
#pragma once

#include "files/results/run_result.h"

#include <string>

namespace tools {

// Markup; empty where there is nothing to tell.
std::string windows_table(const run_result &run); // of the table of peaks
std::string correlations_table(const run_result &run);
std::string steps_of(const run_result &run);
std::string provenance_of(const run_result &run);

} // namespace tools
