// SPDX-License-Identifier: BSD-3-Clause
// tool_error.h -- what went wrong, for whom it has to be mended
#pragma once

#include <stdexcept>
#include <string>

namespace tools {

// Exit statuses of every companion program.
enum exit_status : int {
    all_right = 0,
    different = 1, // varokel-compare: they differ; else: some spectra were not fitted
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

// Refuse a file, an option, or a place in one. Errors: "PLACE: what", of the status that the name
// has.
[[noreturn]] inline void refuse_input(const std::string &place, const std::string &what) {
    throw tool_error(bad_input, place + ": " + what);
}
[[noreturn]] inline void refuse_usage(const std::string &place, const std::string &what) {
    throw tool_error(wrong_usage, place + ": " + what);
}
[[noreturn]] inline void refuse_output(const std::string &place, const std::string &what) {
    throw tool_error(bad_output, place + ": " + what);
}

} // namespace tools
