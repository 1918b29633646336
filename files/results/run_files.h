// SPDX-License-Identifier: BSD-3-Clause
// run_files.h -- names and lines of the files of a run
#pragma once

#include <string>
#include <vector>

namespace tools {

bool is_file(const std::string &file);
std::string in_folder(const std::string &folder, const std::string &file);

// Parts of a line between separators, one more than there are of these.
std::vector<std::string> split(const std::string &line, char at);
// Errors: bad_input for a file that cannot be opened.
std::vector<std::string> lines_of(const std::string &file);

} // namespace tools
