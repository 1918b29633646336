// SPDX-License-Identifier: BSD-3-Clause
// command_line.h -- options of the companion programs, with their common habits
#pragma once

#include "common/option_parser.h"

#include <functional>
#include <string>

namespace tools {

// Gives app its --version; exit statuses and the example are the end of its --help. good names
// the statuses of a run without an error.
void common_options(option_parser &app, const std::string &example,
                    const std::string &good = "0 all right");

// Runs a program: its command line, and unless that asks for --help, --version or a completion
// (printed on standard output) or has a mistake (named on standard error, wrong_usage), its body.
// Returns the exit status: that of the body, or that of the error it ended with, whose text goes to
// standard error behind the program's name. Results that could not be written to standard output
// count as bad_output.
int run_tool(option_parser &app, int argc, const char *const *argv,
             const std::function<int()> &body);

} // namespace tools
