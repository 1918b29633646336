// SPDX-License-Identifier: BSD-3-Clause
// simulated_files.h -- simulated spectra as a spectrum, as FIDs, as NIfTI-MRS
#pragma once

#include "files/base/output_file.h"
#include "varokel-simulate/simulate_options.h"
#include "varokel-simulate/simulated_model.h"

#include <string>
#include <vector>

namespace tools {

// Names and bytes of what is asked for, without --truth. format: as format_of_output has it.
// Errors: bad_input when the noise window lies behind the points and FIDs are asked for, which have
// none there.
std::vector<output_file> simulated_files(const simulate_options &options,
                                         const simulated_model &model, const std::string &format);

} // namespace tools
