// SPDX-License-Identifier: BSD-3-Clause
// run_files.h -- names and lines of the files of a run, and the runs of a folder
#pragma once

#include "files/base/input_file.h"

#include <string>
#include <vector>

namespace tools {

// Parts of a line between separators, one more than there are of these.
std::vector<std::string> split(const std::string &line, char at);
// expected: what the file should be, for messages. Errors: bad_input for one that cannot be opened.
std::vector<std::string> lines_of(const std::string &file,
                                  const std::string &expected = "the lines of a fit");

// The spectra of a folder, in natural order: every NAME with a NAME.exl, or with a NAME.bin and its
// sidecar NAME.json. Errors: bad_input for a folder that cannot be read.
std::vector<std::string> spectra_of_folder(const std::string &folder);

} // namespace tools
