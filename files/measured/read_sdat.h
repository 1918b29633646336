// SPDX-License-Identifier: BSD-3-Clause
// read_sdat.h -- Philips SPAR/SDAT pairs
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// file is either of the pair; the other one stands beside it with the same stem.
//
// Notes:
//   1. Points are VAX F floats: 16-bit words in little-endian order, the first with sign, exponent
//      (excess 128) and the leading fraction bits. A value is 0.1f (binary) times 2^(e - 128),
//      a quarter of what the same bits mean in IEEE 754.
//   2. Rows (item "rows") are separate FIDs, such as repetitions.
//   3. The stored sense of frequency is opposite.
// Errors: bad_input, naming file, line and item.
std::unique_ptr<spectrum_source> read_sdat(const std::string &file);

} // namespace tools
