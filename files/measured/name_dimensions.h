// SPDX-License-Identifier: BSD-3-Clause
// name_dimensions.h -- what the FIDs of a file without named dimensions are
#pragma once

#include "files/measured/spectrum_source.h"

#include <string>

namespace tools {

// Names the dimensions of a file that only says how many FIDs it has.
//
// Given:
//   text   "DIM_COIL=4,DIM_DYN": names as NIfTI-MRS has them, with their numbers of FIDs, the one
//          that changes fastest first; one of them without a number has what is left
//   from   who says so, for messages
// Notes:
//   1. A known step of time goes to the last dimension that is not of coils.
// Errors: wrong_usage for a text that is none, for numbers that do not go with those of the file,
//         and for a file with dimensions of its own.
void name_dimensions(spectrum_source &source, const std::string &text, const std::string &from);

} // namespace tools
