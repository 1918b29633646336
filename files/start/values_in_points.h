// SPDX-License-Identifier: BSD-3-Clause
// values_in_points.h -- parameters of a start file in the units of the engine
#pragma once

#include "files/start/start_file.h"

#include "engine/fit_problem.h"

namespace tools {

// Points of the engine in one unit of a start file.
double points_of_unit(int quantity, int type, double hz_per_point);

// Both have the five parameters in the same order.
constexpr engine::quantity quantity_of(int q) {
    return static_cast<engine::quantity>(q);
}

engine::values_of_entry values_in_points(const start_entry &entry, double hz_per_point);

// The same of a curve with phase 0: what the type does not have is 0, a Gaussian width positive,
// since it enters squared.
engine::values_of_entry shape_in_points(const start_entry &entry, double hz_per_point);

} // namespace tools
