// SPDX-License-Identifier: BSD-3-Clause
// output_file.h -- result files: nothing lost, nothing half written
#pragma once

#include <string>
#include <vector>

namespace tools {

struct output_file {
    std::string name;
    std::string bytes;
};

// Writes all files, each under another name beside its place and then renamed, so that a reader
// never meets half of one.
//
// Given:
//   files    what is to be written where
//   inputs   files that were read; none of them is ever overwritten
//   force    true: existing files are replaced
// Errors: bad_output when a file exists and force is false, when it is one of the inputs, or when
//         it cannot be written; all this is found before the first rename.
void write_files(const std::vector<output_file> &files, const std::vector<std::string> &inputs,
                 bool force);

} // namespace tools
