// SPDX-License-Identifier: BSD-3-Clause
// read_rda.h -- Siemens RDA files
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// A text header between ">>> Begin of header <<<" and ">>> End of header <<<", then points as
// little-endian float64 pairs: time fastest, then column, row and slice of the grid. DwellTime is
// in microseconds, MRFrequency in MHz.
// Errors: bad_input, naming file, line and item.
std::unique_ptr<spectrum_source> read_rda(const std::string &file);

} // namespace tools
