// SPDX-License-Identifier: BSD-3-Clause
// find_program.h -- where the programs that a program starts are
#pragma once

#include <string>

namespace tools {

// Whether a file is one that can be started.
bool is_program(const std::string &file);

// A program that stands beside this one, or else in PATH. Empty when there is none.
std::string find_program(const std::string &name);

// The fitter: the file of --varokel, or where find_program has it. Errors: bad_input when it is not
// there.
std::string find_fitter(const std::string &given);

} // namespace tools
