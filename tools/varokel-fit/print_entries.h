// SPDX-License-Identifier: BSD-3-Clause
// print_entries.h -- the entries of a fit on the terminal
#pragma once

#include "files/results/run_result.h"

#include <string>
#include <vector>

namespace tools {

// With blanks behind it up to the width.
std::string padded(const std::string &text, std::size_t width);

// The entries of a single fit with their errors, one standard deviation, and what is derived from
// them: a newcomer looks here first. derive: expressions, as derive_area takes them.
void print_entries(const run_result &run, const std::vector<std::string> &derive);

} // namespace tools
