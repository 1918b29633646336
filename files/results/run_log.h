// SPDX-License-Identifier: BSD-3-Clause
// run_log.h -- the log of a run: steps and remarks, or why it has no results
#pragma once

#include "files/results/run_result.h"

#include <string>

namespace tools {

// Steps, version and remarks of what the program printed, into the run; `asked` names the file,
// else it is looked for in the folder. Errors: bad_input when `asked` is not there.
void read_log(run_result &run, const std::string &asked);

// Why a run has no results: what the checks of its start file refused, else what its log ends with.
std::string reason_of_log(const run_result &run);

} // namespace tools
