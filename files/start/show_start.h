// SPDX-License-Identifier: BSD-3-Clause
// show_start.h -- start values for a reader: the resolved model, and the table of peaks
#pragma once

#include "files/start/make_start.h"

#include <string>
#include <vector>

namespace tools {

// Every parameter, free, fixed or tied to whom, in ppm, Hz and points; counts and limits; steps.
std::string explained(const start_result &result, const table_axis &axis);

// A table that gives the start values back. In ppm where the axis knows them; without a spectrum
// (given is false) the table says points, hertz per point, phi_1 and noise itself.
//
// Notes: parameters that a line type does not have become "-"; what is lost by it is said in lost.
std::string table_text(const start_file &start, const table_axis &axis, bool given,
                       std::vector<std::string> &lost);

// Names of the entries of a start file, one a line, as the report reads them.
std::string names_text(const start_file &start);

} // namespace tools
