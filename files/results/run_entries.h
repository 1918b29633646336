// SPDX-License-Identifier: BSD-3-Clause
// run_entries.h -- entries of a run: names, values with errors and links, signs
#pragma once

#include "files/results/exl_and_mat.h"
#include "files/results/run_result.h"

#include <string>
#include <vector>

namespace tools {

// The names of a file, one a line up to a blank or comma; lines that begin with # are remarks.
// Errors: bad_input, naming the line, for a name that stands there twice or is not UTF-8.
std::vector<std::string> read_names(const std::string &file);

// Names of the entries: those of the file `asked` or of names.txt in the folder, of patterns that
// of their file, else numbers. Errors: bad_input for a file with other names than entries.
void name_entries(run_result &run, const std::string &asked);

// Whether all that a line of this type has is finite.
bool all_finite(int type, const parameter_row &row);

// The description with positive areas; the covariance of areas follows, a note says so.
void choose_signs(run_result &run);

// The covariance where the areas of these entries have the other sign. Nothing without one.
void turn_covariance(rebuilt_model &model, const std::vector<bool> &turned);

} // namespace tools
