// SPDX-License-Identifier: BSD-3-Clause
// spectra_of_folder.h -- the spectra of a folder, in the order in which people count
#pragma once

#include <string>
#include <vector>

namespace tools {

// Orders names so that series_2 comes before series_10.
bool in_natural_order(const std::string &a, const std::string &b);

// The spectra of a folder, in natural order: every NAME with a NAME.exl, or with a NAME.bin and its
// sidecar NAME.json. Errors: bad_input for a folder that cannot be read.
std::vector<std::string> spectra_of_folder(const std::string &folder);

} // namespace tools
