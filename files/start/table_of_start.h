// SPDX-License-Identifier: BSD-3-Clause
// table_of_start.h -- start values as the table of peaks that gives them back
#pragma once

#include "files/start/start_file.h"
#include "files/start/spectrum_facts.h"

#include <string>
#include <vector>

namespace tools {

// A table that gives the start values back. In ppm where the axis knows them; without a spectrum
// (given is false) the table says points, hertz per point, phi_1 and noise itself.
//
// Notes: parameters that a line type does not have become "-"; what is lost by it is said in lost.
std::string table_text(const start_file &start, const table_axis &axis, bool given,
                       std::vector<std::string> &lost);

// The fewest digits that give the same single.
std::string single_digits(double value);

} // namespace tools
