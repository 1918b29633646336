// SPDX-License-Identifier: BSD-3-Clause
// run_control.h -- the control files of a run: of its result and of its start
#pragma once

#include "files/results/exl_and_mat.h"
#include "files/results/run_result.h"

#include <string>
#include <vector>

namespace tools {

// The control file of the result: it must hold the values of this spectrum, since runs that share
// a working folder overwrite each other's.
void read_control(run_result &run, const std::vector<parameter_row> &values);

// The start file of a run; empty when it is not there any more. Errors: bad_input when `asked` is
// not there.
std::string start_file_of(const run_result &run, const std::string &asked);

// What its maker guessed and warned of stands behind the end of a start file.
void read_start_remarks(run_result &run, const std::string &file);

// The start values, for the quality before the fit in the points of the fit.
void read_start(run_result &run, const std::string &file);

} // namespace tools
