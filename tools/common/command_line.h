// SPDX-License-Identifier: BSD-3-Clause
// command_line.h -- options of the companion programs, with their common habits
#pragma once

#include "common/option_parser.h"

#include <optional>
#include <string>

namespace tools {

// Gives app its --version; exit statuses and the example are the end of its --help. good names
// the statuses of a run without an error.
void common_options(option_parser &app, const std::string &example,
                    const std::string &good = "0 all right");

// Parses the command line. Returns nothing when the program shall go on, else its exit status:
// all_right after --help or --version (printed on standard output), wrong_usage after a mistake
// (named on standard error).
std::optional<int> parse_command_line(option_parser &app, int argc, const char *const *argv);

} // namespace tools
