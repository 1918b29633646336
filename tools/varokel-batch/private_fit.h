// SPDX-License-Identifier: BSD-3-Clause
// private_fit.h -- one fit in a folder of its own: prepared, started, harvested, removed
#pragma once

#include "files/base/file_descriptor.h"
#include "varokel-batch/measure_curves.h"

#include <string>
#include <vector>

#include <sys/types.h>

namespace tools {

// What all fits of a batch have in common.
struct fit_setting {
    std::string program;                    // varokel, absolute
    std::string patterns;                   // folder with writable copies, absolute
    std::vector<std::string> pattern_files; // their names
    curve_measure measure;                  // of the start file of the plan
};

// Makes the folder and fills it. Errors: bad_output, when there is no place, or no right to write.
void fill_fit_folder(const fit_setting &setting, const std::string &folder,
                     const std::string &spectrum, const std::string &start);

struct started_fit {
    pid_t process = -1;
    file_descriptor log; // what it prints; in memory, so that it is whole when the disk is full
};

// Starts the program in the folder, in a process group of its own, so that ctrl-C of a terminal
// does not reach it. It ends when this process does. Errors: bad_output when there is no process to
// be had.
started_fit start_fit(const fit_setting &setting, const std::string &folder);

struct harvest {
    fit_record record;
    std::string fit;      // RUN.fit, when asked for and whole
    std::string no_place; // not empty: the fit could not write, which is no fault of the spectrum
};

// Reads what the fit left. wait_status as waitpid has it; killed_after: seconds of the limit, when
// the fit was ended because of it.
harvest harvest_fit(const fit_setting &setting, const std::string &folder,
                    const file_descriptor &log, long long line, int wait_status,
                    double killed_after, bool with_fit);

// The folder and all files in it. Quiet: what cannot be removed stays.
void remove_fit(const std::string &folder);

} // namespace tools
