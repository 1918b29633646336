// SPDX-License-Identifier: BSD-3-Clause
// removed_signal.h -- the lines that the import took out of the FID, as a spectrum
#pragma once

#include "files/results/run_result.h"

namespace tools {

// The spectrum of the lines that "lines_removed" of the sidecar lists, such as residual water, with
// as many points as the data: data and this together are the spectrum before the removal. Empty
// when nothing was removed, when the sidecar does not say where the lines stood (hz_from_carrier),
// and when the data have a number of points that no import makes.
// Errors: bad_input, with file and item, for lines that no import writes.
complex_signal removed_signal(const run_result &run);

} // namespace tools
