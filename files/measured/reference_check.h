// SPDX-License-Identifier: BSD-3-Clause
// reference_check.h -- whether an FID is a reference: one strong line, and not the data
#pragma once

#include "files/measured/spectrum_source.h"
#include "files/spectra/complex_signal.h"

#include <string>

namespace tools {

// Given:
//   water, data   FIDs of one dwell time; file names the water
//   facts         of the data
// Errors: bad_input when water is the data, or has many lines.
void refuse_no_reference(const complex_signal &water, const complex_signal &data,
                         const std::string &file, const signal_facts &facts);

} // namespace tools
