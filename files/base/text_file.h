// SPDX-License-Identifier: BSD-3-Clause
// text_file.h -- a text file, whole
#pragma once

#include <string>

namespace tools {

// Contents of a file; `expected` says in messages what should be there, such as "a table of peaks".
// Errors: bad_input when it is not there, a folder, or cannot be read.
std::string read_text_file(const std::string &file, const std::string &expected);

} // namespace tools
