// SPDX-License-Identifier: BSD-3-Clause
// water_areas.h -- water.f64 of a batch: the area of the water of each spectrum, by its number
//
// Pairs of little-endian float64, area and its error of one standard deviation [signal]; not a
// number where a spectrum has no water. What they are for stands in item "water" of the manifest.
#pragma once

#include "files/batch/batch_plan.h"

#include <string>
#include <vector>

namespace tools {

struct water_area {
    double area, error; // one standard deviation
};

// Errors: bad_output.
void write_water_areas(const std::string &file, const std::vector<water_area> &areas);

// Those of a plan with water; empty for one without. Errors: bad_input for another length.
std::vector<water_area> read_water_areas(const batch_plan &plan);

} // namespace tools
