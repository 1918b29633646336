// SPDX-License-Identifier: BSD-3-Clause
// water_amounts.h -- a water reference into the sidecars of the spectra of a fit
#pragma once

#include "files/start/peak_table.h"

#include "varokel-fit/fit_options.h"

#include <string>
#include <vector>

namespace tools {

// Reads the water and adds the item "water_reference" to the sidecars NAME.json in a folder.
// Returns what to say about it, a sentence each. Errors: bad_input.
std::vector<std::string> add_water(const fit_options &own, const amount_rows &rows,
                                   const std::string &folder,
                                   const std::vector<std::string> &names);

} // namespace tools
