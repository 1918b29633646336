// SPDX-License-Identifier: BSD-3-Clause
// run_tool.h -- how a companion program ends
#pragma once

#include <functional>

namespace tools {

// Runs the body of a program and returns its exit status: that of the body, or that of the error
// it ended with, whose text goes to standard error behind the program's name. Results that could
// not be written to standard output count as bad_output.
int run_tool(const char *program, const std::function<int()> &body);

} // namespace tools
