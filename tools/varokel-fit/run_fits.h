// SPDX-License-Identifier: BSD-3-Clause
// run_fits.h -- the fitter as a program, each fit in a folder of its own
#pragma once

#include <string>
#include <vector>

namespace tools {

// What is run: program and arguments in a folder, with standard output and standard error into a
// file there.
struct program_call {
    std::vector<std::string> words;
    std::string folder, log;
};

// One fit.
struct planned_fit {
    std::string folder, name; // of the spectrum, without ending
    std::string why_not;      // set: there is no start file, and this is why
};

// Runs the fits that have a start file, up to jobs at a time; what goes wrong stands at the end of
// the fit's run.log, where the report looks for it. limit: seconds, after which a fit is stopped;
// 0: none. done is called in the order of the list.
// Errors: bad_output when a process cannot be started; interrupted when the user ends the program.
void run_fits(const std::string &program, const std::vector<planned_fit> &fits, int jobs,
              unsigned limit,
              void (*done)(const planned_fit &fit, std::size_t number, std::size_t of));

// Runs one program to its end. Returns its exit status, 128 + N when signal N ended it.
int run_program(const program_call &call);

// From here on SIGINT, SIGTERM and SIGHUP end the fits, and then this program by an error.
void watch_for_interrupts();

// Number of the signal that came since, 0 without one.
int interrupted_by();

} // namespace tools
