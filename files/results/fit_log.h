// SPDX-License-Identifier: BSD-3-Clause
// fit_log.h -- what the program printed during a fit
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools {

struct run_result;

// What the log says about a step of the strategy.
struct step_log {
    int gradients = 0;       // one before each iteration, one more when the limit stopped it
    double scaled_chi = 0.0; // after it
};

struct fit_log {
    std::string version; // of the program
    std::vector<step_log> steps;
    bool singular = false;            // the matrix of the error bounds
    std::vector<std::string> remarks; // lines that warn, each once
};

fit_log read_fit_log(std::string_view text);

// Steps, version and remarks of what the program printed, into the run; `asked` names the file,
// else it is looked for in the folder. Errors: bad_input when `asked` is not there.
void read_log(run_result &run, const std::string &asked);

// Why a run has no results: what the checks of its start file refused, else what its log ends with.
std::string reason_of_log(const run_result &run);

} // namespace tools
