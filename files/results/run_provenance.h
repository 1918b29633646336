// SPDX-License-Identifier: BSD-3-Clause
// run_provenance.h -- where the data and the numbers of a run come from
#pragma once

#include "files/results/run_result.h"

namespace tools {

// Program, command, source and, when asked for, the digests of the files.
void note_provenance(run_result &run, bool hashes);

} // namespace tools
