// SPDX-License-Identifier: BSD-3-Clause
// show_start.h -- start values for a reader: the resolved model, and its names
#pragma once

#include "files/start/make_start.h"

#include <string>

namespace tools {

// Every parameter, free, fixed or tied to whom, in ppm, Hz and points; counts and limits; steps.
std::string explained(const start_result &result, const table_axis &axis);

// Names of the entries of a start file, one a line, as the report reads them.
std::string names_text(const start_file &start);

} // namespace tools
