// SPDX-License-Identifier: BSD-3-Clause
// exl_and_mat.h -- the .exl, .mat and .err of a fit
#pragma once

#include "files/results/fitted_entries.h"

#include <string>
#include <vector>

namespace tools {

// The values of a .mat or the errors of a .err. Errors: bad_input, naming file and line; `rows` is
// how many entries there must be.
std::vector<parameter_row> matrix_of(const std::string &file, std::size_t rows);

struct spreadsheet_row : linked_entry {
    parameter_row value, error;
};

// The entries of a .exl; its command and figures go into the run. Errors: bad_input, naming
// file and line.
std::vector<spreadsheet_row> read_spreadsheet(const std::string &file, run_result &run);

} // namespace tools
