// SPDX-License-Identifier: BSD-3-Clause
// tool_error.h -- how a companion program ends, and how it says why
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace tools {

// Exit statuses of every companion program. Only varokel-compare uses different.
enum exit_status : int {
    all_right = 0,
    different = 1,
    wrong_usage = 2,
    bad_input = 3, // unreadable or invalid
    bad_output = 4 // cannot be written
};

// An error that ends the program. The text names the file and the item, says what was expected,
// and what the user can do.
class tool_error : public std::runtime_error {
  public:
    tool_error(exit_status status, const std::string &text)
        : std::runtime_error(text), status_(status) {}
    exit_status status() const { return status_; }

  private:
    exit_status status_;
};

// Runs the body of a program and returns its exit status: that of the body, or that of the error
// it ended with, whose text goes to standard error behind the program's name. Results that could
// not be written to standard output count as bad_output.
int run_tool(const char *program, const std::function<int()> &body);

} // namespace tools
