// SPDX-License-Identifier: BSD-3-Clause
// equivalent_signs.h -- one of the two descriptions that every curve has
//
// A line of area A and phase p is the line of area -A and phase p + 180 degrees. Where areas and
// phases are free a search may end at either. Shown is the one with a positive sum of areas; where
// the start values ask for inverted lines, the one that is like them.
#pragma once

#include <vector>

namespace tools {

// Links as in start files: 0 free, the own number (from 1) fixed, another number tied to that
// entry.
struct signed_entry {
    int area_link = 0, phase_link = 0;
    double area = 0.0;       // of the fit
    double start_area = 0.0; // 0 where it is not known
};

// Entries whose area is to be negated and whose phase is to be turned by 180 degrees. Entries that
// are tied by area or phase turn together, and only where none of their phases and areas is fixed
// (but for areas of 0). Sums that are no finite numbers turn nothing.
std::vector<bool> entries_to_turn(const std::vector<signed_entry> &entries);

// The same phase in (-180, 180] degrees.
double principal_phase(double degrees);

} // namespace tools
