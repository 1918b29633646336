// SPDX-License-Identifier: BSD-3-Clause
// search_process.h -- a search from the making of its folder to its removal
#pragma once

#include "varokel-batch/private_fit.h"
#include "varokel-batch/stop_switch.h"

#include <optional>
#include <string>

namespace tools {

struct search_result {
    harvest found;
    std::optional<start_file> end; // the values where it ended, when they are asked for and there
};

struct search_options {
    double limit = 0.0;    // seconds; 0: none
    bool with_fit = false; // RUN.fit
    bool with_end = false; // the values as a start file
};

// Waits for its end. None when the switch was set meanwhile: the process is ended then, and nothing
// is left. Errors: bad_output when there is no place or no process, or when its results could not
// be written.
std::optional<search_result> run_search(const fit_setting &setting, const std::string &folder,
                                        long long line, const std::string &spectrum,
                                        const std::string &start, const search_options &options,
                                        const stop_switch &stop);

} // namespace tools
