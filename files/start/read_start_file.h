// SPDX-License-Identifier: BSD-3-Clause
// read_start_file.h -- start value / fit control files of the three generations
#pragma once

#include "files/start/start_file.h"

namespace tools {

// The strategy lines of the block format are read, too, and names of entries where a file has them
// behind its end ("entry 3 PCr").
//
// Errors: bad_input, with file, line and the word that was found in place of the expected one.
start_file read_start_file(const std::string &file);
// The same for a text in storage; file is its name in messages.
start_file parse_start_file(const std::string &text, const std::string &file);

} // namespace tools
