// SPDX-License-Identifier: BSD-3-Clause
// water_amounts.h -- a water reference into the sidecars of the spectra of a fit
#pragma once

#include "files/start/peak_table.h"

#include "varokel-fit/fit_options.h"

#include <string>
#include <vector>

namespace tools {

// Whether option and table ask for amounts, before the long work. Errors: wrong_usage when one of
// them does and the other does not; bad_input for rows that do not go together.
void check_amounts(const fit_options &own, const peak_table &table);

// Reads the water and adds the item "water_reference" to the sidecars NAME.json in a folder.
// Returns what to say about it, a sentence each. Errors: bad_input.
std::vector<std::string> add_water(const fit_options &own, const amount_rows &rows,
                                   const std::string &folder,
                                   const std::vector<std::string> &names);

} // namespace tools
